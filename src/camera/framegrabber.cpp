#include "camera/framegrabber.h"

#include <algorithm>
#include <cmath>
#include <new>
#include <set>
#include <utility>
#include <vector>

#include "analysis/autoflash.h"
#include "analysis/autofocus.h"
#include "archive/archive.h"
#include "base/numbers.h"
#include "movie/framesource.h"
#include "movie/zzmovie.h"
#include "settings/log.h"
#include "settings/settings.h"

namespace tarnvisor {

namespace {

constexpr const char* kSection = "ueyeP";
constexpr uint32_t kNewFrame = 6;
constexpr int32_t kFewestBuffers = 4;
constexpr double kAnalogueGain = 1.6;
constexpr int32_t kShortestStrobe = 50;              // microseconds; no strobe can be shorter
constexpr double kLongExposure = 10000.0;            // microseconds
constexpr double kLeastRate = 0.1;                   // frames a second
constexpr double kFastRate = 99.0;                   // frames a second: no time is left for the long one
constexpr int64_t kReserveBytes = int64_t{1} << 28;  // of blocks that wait for a slow disc
constexpr int32_t kMostReserve = 240;

// Each value with its key, in the order of the fields.
template <typename Settings, typename Whole, typename Number>
void forEachKey(Settings& s, Whole whole, Number number) {
  whole("whitelevel", s.whitelevel);
  whole("blacklevel", s.blacklevel);
  whole("gain", s.gain);
  whole("DualMonitor", s.dualMonitor);
  whole("InputChannel", s.inputChannel);
  whole("grabLeft", s.grabLeft);
  whole("grabTop", s.grabTop);
  whole("grabwidth", s.grabWidth);
  whole("grabHeight", s.grabHeight);
  whole("IPstepx", s.ipStepX);
  whole("IPstepy", s.ipStepY);
  whole("zoomx", s.zoomX);
  whole("zoomy", s.zoomY);
  whole("CameraType", s.cameraType);
  whole("ShowErrors", s.showErrors);
  whole("grabcolour", s.grabColour);
  whole("flashduration", s.flashDuration);
  whole("redlevel", s.redLevel);
  whole("greenlevel", s.greenLevel);
  whole("bluelevel", s.blueLevel);
  whole("binning", s.binning);
  whole("grabfullsize", s.grabFullSize);
  whole("grabfixedpixelsz", s.grabFixedPixelSize);
  whole("grabarea", s.grabArea);
  whole("usergrabwidth", s.userGrabWidth);
  whole("usergrabHeight", s.userGrabHeight);
  whole("bouncecount2", s.bounceCount);
  whole("exposure", s.exposure);
  whole("gainboost", s.gainBoost);
  whole("gamma", s.gamma);
  number("fps", s.fps);
  whole("LUTorg", s.lutOrigin);
  whole("LUTenabled", s.lutEnabled);
  whole("nostrobe", s.noStrobe);
  whole("pixclk", s.pixelClock);
  whole("softtrigger", s.softTrigger);
  whole("disabletrigger", s.disableTrigger);
  whole("flessEN", s.flickerless);
  whole("flessh", s.flickerlessHeight);
  number("flessfps", s.flickerlessFps);
  number("flessx", s.flickerlessX);
  whole("usrexptracksflash", s.exposureTracksFlash);
}

// The camera and all that hangs on it.
class Grabber final : public FrameSource {
 public:
  Grabber() {
    hub.requeue = [this](uint8_t* block) {
      if (driver) driver->requeue(block);
    };
  }

  bool open();
  void close();
  bool grab();
  void freeze();
  uint32_t checkFrame();
  bool record(CZZMovie& movie, int32_t skip, const Rect& part);
  void endRecording();
  void setRole(CameraRole role, double value, const char* failure);
  double rateInUse() const { return state.set.flickerless ? state.set.flickerlessFps : state.set.fps; }
  // None is left for a long one: all that the rate allows, where 0 would be taken for the shortest.
  double longestExposure() {
    const auto range = rangeOf(CameraRole::Exposure);
    return range ? range->high : 0.0;
  }
  // The strobe's end is told from the exposure's, and without a strobe the exposure is the flash.
  void sendFlashAgain() const {
    if (driver && state.flashUs > 0) fgSetFlash(state.flashUs, true);
  }
  std::optional<CameraRange> rangeOf(CameraRole role);
  void applyGain();
  void setClock();

  int32_t colourset() const override { return kGrey; }
  double rate() const override { return state.actualFps / (std::max(0, skipFrames) + 1); }
  bool isProgressive() const override { return true; }
  void setTarget(CZZMovie* movie, const Rect& window) override {
    if (movie) fgAllocbufs(movie->slots, window.width(), window.height());
    if (movie)
      fgRecordMovie(*movie, skipFrames, window.left, window.top, window.width(), window.height());
    else
      fgStopRecording(recordMovie);
  }

  GrabberState state;
  std::unique_ptr<CameraDriver> driver;
  FrameHub hub;
  CZZMovie* recordMovie = nullptr;
  std::unique_ptr<CZZchildimage> recImage;  // the part of a picture that is recorded
  int32_t skipFrames = 0;
  CameraOpener opener;
  std::function<void(const std::string&)> onError;
  std::string failure;  // of the last recording; written by the hub's thread, read after it ended
  FrameHub::Counts checked;

 private:
  int32_t wantedFlash() const { return flashControl.on ? flashControl.flash : state.set.flashDuration; }
  void takeDriversWords();
  void chooseArea();
  bool makeBuffers();
  bool addBuffers(int32_t count);
  bool add(const FrameHub::Frame& frame, Point corner);
  void takeLost(const std::string& why);
  std::vector<std::unique_ptr<uint8_t[]>> blocks;
  std::set<CameraRole> missing;  // that were told of
  std::set<std::string> told;
};

Grabber& grabber() {
  static Grabber one;
  return one;
}

std::optional<CameraRange> Grabber::rangeOf(CameraRole role) {
  if (!driver) return std::nullopt;
  const auto range = driver->range(role);
  if (!range && missing.insert(role).second) logPrintf("the camera has no %s\n", nameOf(role));
  return range;
}

void Grabber::setRole(CameraRole role, double value, const char* words) {
  if (!rangeOf(role)) return;
  const Outcome done = driver->set(role, value);
  if (done) return;
  logPrintf("%s%s\n", words, done.why().c_str());
  if (state.set.showErrors && onError && told.insert(words).second) onError(words + done.why());
}

void Grabber::takeDriversWords() {
  const CameraInfo info = driver->info();
  logPrintf("camera ID=%i sn=%.16s model=%.16s\n", 0, info.serial.c_str(), info.model.c_str());
}

// The whole sensor, or the part of it that was asked for.
void Grabber::chooseArea() {
  GrabberSettings& set = state.set;
  if (!set.grabFullSize) logPrintf("!grabfullsize not implemented\n");
  set.grabFullSize = 1;
  const Size sensor = driver->sensor();
  Rect area{0, 0, sensor.width, sensor.height};
  int32_t width = 0, height = 0;
  if (set.flickerless && set.flickerlessHeight > 0) {
    width = sensor.width;
    height = std::min(set.flickerlessHeight, sensor.height);
  } else if (set.grabArea && set.userGrabWidth <= sensor.width && set.userGrabHeight <= sensor.height) {
    width = set.userGrabWidth;
    height = set.userGrabHeight;
  }
  width = width / 4 * 4;
  height = height / 2 * 2;
  if (width > 0 && height > 0) {
    const int32_t x = (sensor.width - width) / 2, y = (sensor.height - height) / 2;
    area = {x, y, x + width, y + height};
  }
  if (area != driver->area())
    if (const Outcome done = driver->setArea(area); !done)
      logPrintf("set roi failed %s\n", done.why().c_str());
  area = driver->area();
  state.imageWidth = area.width();
  state.imageHeight = area.height();
  logPrintf("using AOI %ix%i\n", state.imageWidth, state.imageHeight);
}

bool Grabber::addBuffers(int32_t count) {
  for (int32_t i = 0; i < count; ++i) {
    std::unique_ptr<uint8_t[]> block(new (std::nothrow) uint8_t[static_cast<size_t>(state.bufferSize)]);
    if (!block) return false;
    if (const Outcome done = driver->announce(block.get(), state.bufferSize); !done) {
      logPrintf("announce buffer %i failed=%s\n", static_cast<int32_t>(blocks.size()), done.why().c_str());
      return false;
    }
    blocks.push_back(std::move(block));
  }
  return true;
}

bool Grabber::makeBuffers() {
  logPrintf("set up buffers\n");
  state.bufferCount = std::max(kFewestBuffers, driver->bufferCount()) + kFewestBuffers;
  logPrintf("BufferCount=%i\n", state.bufferCount);
  state.bufferSize = driver->bufferSize();
  logPrintf("BufferSize=%i\n", static_cast<int32_t>(std::min<int64_t>(state.bufferSize, INT32_MAX)));
  if (state.bufferSize < 1 || !addBuffers(state.bufferCount)) return false;
  logPrintf("Buffers announced\n");
  hub.begin(state.bufferCount);
  return true;
}

bool Grabber::open() {
  logPrintf("fginit ueye...");
  GrabberSettings& set = state.set;
  state = {.set = set};
  set.load();
  missing.clear();
  told.clear();
  std::string why;
  driver = opener ? opener(set.camera, why) : openCamera(set.camera, why);
  if (!driver) {
    logPrintf("no cameras found\n");
    state = {.set = set};
    state.lostWords = why;
    return false;
  }
  takeDriversWords();
  if (!set.binning) {
    logPrintf("binning not implemented\n");
  } else if (const Outcome binned = driver->set(CameraRole::Binning, 2);
             !rangeOf(CameraRole::Binning) || !binned) {
    set.binning = 0;
    logPrintf("set binning failed %s\n", binned.why().c_str());
  } else {
    logPrintf("set binning\n");
  }
  logPrintf("forcing softrigger\n");
  if (set.softTrigger == -1) set.softTrigger = 1;
  chooseArea();
  logPrintf("mono\n");
  if (set.softTrigger) logPrintf("softtrigger\n");
  setRole(CameraRole::SoftwareTrigger, set.softTrigger ? 1 : 0, "set trigger failed=");
  setClock();
  fgSetFps(rateInUse());
  logPrintf("set gamma NOT IMPLEMENTED\n");
  logPrintf("LUT NOT IMPLEMENTED\n");
  applyGain();
  fgSetBoost(set.gainBoost);
  if (!makeBuffers()) {
    state.lostWords = "There is not enough memory for the camera's pictures.";
    close();
    return false;
  }
  state.liveImage = std::make_unique<CZZchildimage>(state.imageWidth, state.imageHeight, blocks.front().get(),
                                                    state.imageWidth);
  std::fill_n(blocks.front().get(), state.bufferSize, uint8_t{0});
  fgSetZoom(set.zoomX, set.zoomY);
  state.recording = state.stopFlag = false;
  state.ready = true;
  flashControl.loadSettings();
  focusControl.loadSettings();
  fgSetFlash(set.flashDuration, true);
  flashControl.start(std::max(1.0, state.actualFps));
  logPrintf("fginit ok\n");
  return true;
}

void Grabber::close() {
  logPrintf("fgterm...");
  freeze();
  endRecording();
  hub.end();
  recImage.reset();
  state.liveImage.reset();
  if (driver) driver->revokeAll();
  driver.reset();
  blocks.clear();
  if (state.ready) {
    state.set.store();
    flashControl.storeSettings();
    focusControl.storeSettings();
  }
  state.ready = false;
  logPrintf("fgterm ok\n");
}

void Grabber::setClock() {
  if (!rangeOf(CameraRole::PixelClock)) return;
  const auto done = driver->set(CameraRole::PixelClock, state.set.pixelClock);
  if (!done) return void(logPrintf("set pixelclk %i failed %s\n", state.set.pixelClock, done.why().c_str()));
  logPrintf("pixclk=%i.actual=%f\n", state.set.pixelClock,
            driver->value(CameraRole::PixelClock).value_or(state.set.pixelClock));
}

// The setting counts in hundredths above the camera's own factor.
void Grabber::applyGain() {
  const auto range = rangeOf(CameraRole::Gain);
  if (!range) return;
  const double factor = state.set.gain > 0 ? state.set.gain / 100.0 * kAnalogueGain : range->low;
  setRole(CameraRole::Gain, std::clamp(factor, range->low, range->high), "set gain failed=");
}

bool Grabber::grab() {
  if (state.grabbing) return true;
  if (!driver && !state.lostWords.empty() && !fginit()) return true;
  if (!driver) return true;
  logPrintf("fggrab\n");
  hub.drain();
  hub.begin(static_cast<int32_t>(blocks.size()));
  checked = {};
  state.fieldCount = state.shownFrames = 0;
  fgSetFps(rateInUse());
  flashControl.start(std::max(1.0, state.actualFps));
  fgSetFlash(wantedFlash(), true);
  if (!state.set.noStrobe) setRole(CameraRole::Strobe, 1, "strobe failed=");
  fgSetFlash(wantedFlash(), true);
  const Outcome started = driver->start(hub);
  logPrintf("fggrab capture=%i\n", started ? 0 : 1);
  if (!started) {
    takeLost(started.why());
    return false;
  }
  state.grabbing = true;
  setRole(CameraRole::MirrorLeftRight, 1, "mirror leftright failed ");
  setRole(CameraRole::MirrorUpDown, 1, "mirror updown failed ");
  logPrintf("set gamma NOT IMPLEMENTED\n");
  applyGain();
  return true;
}

void Grabber::freeze() {
  if (state.grabbing && driver) {
    driver->stop();
    setRole(CameraRole::Strobe, 0, "strobe failed=");
    hub.drain();
    checkFrame();  // the last that came is the one to keep
    logPrintf("fgFreeze. fieldcount=%i\n", state.fieldCount);
  }
  state.grabbing = false;
}

void Grabber::takeLost(const std::string& why) {
  logPrintf("camera lost: %s\n", why.c_str());
  const bool wasRecording = state.recording;
  state.lostWords = why;
  if (driver) driver->stop();
  hub.drain();
  state.grabbing = false;
  // The picture on the screen stays; it lies in a block.
  driver.reset();
  if (wasRecording) state.stopFlag = true;
}

uint32_t Grabber::checkFrame() {
  if (!state.grabbing || !driver) return 0;
  const auto frame = hub.newest();
  if (frame) {
    CZZchildimage& live = *state.liveImage;
    state.fieldCount = frame->fields;
    live.pixels = frame->block;
    live.frameNumber = frame->fields;
    if (live.width != frame->width || live.height != frame->height || live.stride != frame->stride) {
      const CZZchildimage shape(frame->width, frame->height, frame->block, frame->stride);
      live.width = shape.width;
      live.height = shape.height;
      live.stride = shape.stride;
      live.rowBytes = shape.rowBytes;
    }
    ++state.shownFrames;
  }
  if (hub.hasEnded() && !state.stopFlag) {
    state.stopFlag = true;
    freeze();
  }
  if (const auto why = hub.lostCamera()) takeLost(*why);
  if (!frame || !driver) return frame ? kNewFrame : 0;
  flashControl.frame(*state.liveImage);
  fgSetFlash(wantedFlash(), false);
  return kNewFrame;
}

bool Grabber::add(const FrameHub::Frame& frame, Point corner) {
  if (corner.x + recImage->width > frame.width || corner.y + recImage->height > frame.height) return false;
  recImage->frameNumber = frame.fields;
  recImage->stride = frame.stride;
  recImage->pixels = frame.block + static_cast<ptrdiff_t>(corner.y) * frame.stride + corner.x;
  try {
    return recordMovie->addFrame(*recImage, 0) >= 0;
  } catch (const ArchiveException& e) {
    failure = e.what();
    return false;
  }
}

bool Grabber::record(CZZMovie& movie, int32_t skip, const Rect& part) {
  const int64_t perBlock = std::max<int64_t>(1, state.bufferSize);
  const auto wanted = static_cast<int32_t>(std::min<int64_t>(kMostReserve, kReserveBytes / perBlock));
  const auto present = static_cast<int32_t>(blocks.size());
  if (driver && wanted > present) {
    if (!addBuffers(wanted - present)) logPrintf("%i buffers\n", static_cast<int32_t>(blocks.size()));
    hub.addBlocks(static_cast<int32_t>(blocks.size()) - present);
  }
  recordMovie = &movie;
  failure.clear();
  state.stopFlag = false;
  state.recording = true;
  hub.startRecording(skip, [this, corner = Point{part.left, part.top}](const FrameHub::Frame& frame) {
    return add(frame, corner);
  });
  return fggrab(true);
}

void Grabber::endRecording() {
  if (state.recording) hub.stopRecording();
  state.recording = false;
  recordMovie = nullptr;
}

}  // namespace

void GrabberSettings::load() {
  forEachKey(
      *this, [](const char* key, int32_t& value) { value = settings.getInt(kSection, key, value); },
      [](const char* key, double& value) { value = settings.getDouble(kSection, key, value); });
  if (!(fps >= kLeastRate)) fps = kLeastRate;
  camera = settings.getString(kSection, "camera", camera);
}

void GrabberSettings::store() const {
  forEachKey(
      *this, [](const char* key, const int32_t& value) { settings.setInt(kSection, key, value); },
      [](const char* key, const double& value) { settings.setDouble(kSection, key, value); });
  settings.setString(kSection, "camera", camera);
}

const GrabberState& fgState() { return grabber().state; }
void fgSetOnNews(std::function<void()> onNews) { grabber().hub.onNews = std::move(onNews); }

void fgSetFrameListener(std::function<void(const FrameHub::Frame&)> listener) {
  grabber().hub.onFrame = std::move(listener);
}

bool fginit() {
  if (grabber().driver || grabber().state.ready) fgterm();
  return grabber().open();
}

bool fgterm() {
  grabber().close();
  return true;
}

bool fggrab(bool /*capture*/) { return grabber().grab(); }

bool fgFreeze() {
  grabber().freeze();
  return true;
}

uint32_t fgCheckFrame() { return grabber().checkFrame(); }

void fgOpenWith(CameraOpener opener) { grabber().opener = std::move(opener); }
void fgSetOnError(std::function<void(const std::string&)> onError) { grabber().onError = std::move(onError); }

bool fgReopen() {
  const bool ran = grabber().state.grabbing;
  fgterm();
  return fginit() && (!ran || fggrab(true));
}

bool fgAllocbufs(int32_t /*count*/, int32_t width, int32_t height) {
  Grabber& g = grabber();
  if (!g.state.liveImage) return false;
  g.recImage =
      std::make_unique<CZZchildimage>(width, height, g.state.liveImage->pixels, g.state.liveImage->stride);
  logPrintf("fgAllocbufs. new recimage ok\n");
  return true;
}

bool fgRecordMovie(CZZMovie& movie, int32_t skipFrames, int32_t left, int32_t top, int32_t width,
                   int32_t height) {
  Grabber& g = grabber();
  if (!g.recImage || g.recImage->width != width || g.recImage->height != height) {
    if (!g.recImage || !fgAllocbufs(movie.slots, width, height)) {
      logPrintf("fgRecordMovie. recimage==null!\n");
      return false;
    }
  }
  return g.record(movie, skipFrames, Rect{left, top, left + width, top + height});
}

bool fgStopRecording(const CZZMovie* movie) {
  if (!movie || movie != grabber().recordMovie) return true;
  grabber().endRecording();
  logPrintf("fgStopRecording:\n");
  return true;
}

void fgDrain() { grabber().hub.drain(); }

// The movie is stopped here: the views are told next.
bool fgTakeStopFlag() {
  Grabber& g = grabber();
  if (!std::exchange(g.state.stopFlag, false)) return false;
  if (g.recordMovie) g.recordMovie->stopRecording();
  return true;
}

FrameSource* fgSource() { return grabber().state.ready ? &grabber() : nullptr; }
void fgSetSkip(int32_t skipFrames) { grabber().skipFrames = std::max(0, skipFrames); }
FrameHub::Counts fgCounts() { return grabber().hub.counts(); }
std::string fgRecordingFailure() { return grabber().failure; }

namespace {

// The light lasts for so long of the exposure: what its end is told from is the end of that.
void setStrobe(Grabber& g, int32_t microseconds) {
  const auto range = g.rangeOf(CameraRole::StrobeEnd);
  if (!range) return;
  if (g.state.set.exposureTracksFlash)
    fgSetExposure(truncated(microseconds + std::max(range->step, 0.0)), false);
  g.setRole(CameraRole::StrobeStart, 0, "flash start failed=");
  const double end = std::clamp<double>(microseconds - g.state.exposureUs, range->low, range->high);
  if (const Outcome done = g.driver->set(CameraRole::StrobeEnd, end); !done)
    logPrintf("flash end=%f failed=%s\n", end, done.why().c_str());
  g.state.flashUs = microseconds;
}

}  // namespace

int32_t fgSetFlash(int32_t microseconds, bool force) {
  Grabber& g = grabber();
  if (!g.driver || (microseconds == g.state.flashUs && !force)) return g.state.flashUs;
  if (g.state.set.noStrobe || !g.rangeOf(CameraRole::StrobeEnd)) {
    if (microseconds > 0) fgSetExposure(microseconds, false);
    g.state.flashUs = microseconds;
  } else if (microseconds > kShortestStrobe) {
    setStrobe(g, microseconds);
  }
  return g.state.flashUs;
}

int32_t fgSetExposure(int32_t microseconds, bool force) {
  Grabber& g = grabber();
  if (!g.driver || (!force && microseconds == g.state.exposureUs)) return g.state.flashUs;
  double sent = microseconds;
  const bool isFree =
      g.state.set.exposureTracksFlash || g.state.set.noStrobe || !g.rangeOf(CameraRole::StrobeEnd);
  if (!isFree) sent = g.rateInUse() <= kFastRate ? kLongExposure : g.longestExposure();
  g.setRole(CameraRole::Exposure, sent, "set exp failed=");
  g.state.exposureUs = truncated(g.driver->value(CameraRole::Exposure).value_or(sent));
  return g.state.flashUs;
}

double fgSetFps(double framesPerSecond) {
  Grabber& g = grabber();
  if (!g.state.set.flickerless) g.state.set.fps = framesPerSecond;
  if (!g.driver) return g.state.actualFps;
  g.setRole(CameraRole::FrameRate, framesPerSecond, "set fps failed=");
  g.state.actualFps = g.driver->value(CameraRole::FrameRate).value_or(framesPerSecond);
  logPrintf("fps:%f -> %f\n", framesPerSecond, g.state.actualFps);
  fgSetExposure(g.state.set.exposure, true);
  g.sendFlashAgain();
  return g.state.actualFps;
}

void fgSetPixelClock(int32_t megahertz) {
  Grabber& g = grabber();
  if (megahertz == g.state.set.pixelClock) return;
  g.state.set.pixelClock = megahertz;
  g.setClock();
}

int32_t fgGetPixelClockRange(int32_t& low, int32_t& high, int32_t& step) {
  const CameraRange range = grabber().rangeOf(CameraRole::PixelClock).value_or(CameraRange{});
  low = truncated(range.low);
  high = truncated(range.high);
  step = truncated(range.step);
  const auto now = grabber().driver ? grabber().driver->value(CameraRole::PixelClock) : std::nullopt;
  return now ? truncated(*now) : grabber().state.set.pixelClock;
}

void fgSetZoom(int32_t x, int32_t y) {
  grabber().state.set.zoomX = std::max(1, x);
  grabber().state.set.zoomY = std::max(1, y);
}

int32_t fgAlignedLeft(int32_t left) {
  const int32_t step = 4 * grabber().state.set.zoomX;
  return left / step * step;
}

bool fgSetBinning() {
  GrabberState& state = grabber().state;
  if (state.recording) return state.set.binning != 0;
  const bool on = !state.set.binning;
  state.set.binning = on ? 1 : 0;
  const bool ran = state.grabbing;
  fgterm();
  state.set.store();
  const bool opened = fginit();
  if ((state.set.binning != 0) == on)
    for (int32_t* size :
         {&state.set.grabWidth, &state.set.grabHeight, &state.set.userGrabWidth, &state.set.userGrabHeight})
      *size = on ? *size / 2 : *size * 2;
  if (opened && state.set.grabArea) {
    state.set.store();
    fgReopen();
  }
  if (opened && ran) fggrab(true);
  return state.set.binning != 0;
}

double fgSetADCgain(double gain) {
  Grabber& g = grabber();
  g.state.set.gain = truncated(gain);
  g.applyGain();
  return g.state.set.gain;
}

bool fgSetBoost(int32_t boost) {
  grabber().state.set.gainBoost = boost;
  logPrintf("NOT IMPLEMENTED setBoost=%i\n", boost);
  return false;
}

void fgSetFlickerless(bool on) {
  grabber().state.set.flickerless = on ? 1 : 0;
  grabber().state.set.store();
}

int32_t fgSetManualFlash(int32_t microseconds) {
  grabber().state.set.flashDuration = microseconds;
  flashControl.setFlash(microseconds);
  return fgSetFlash(microseconds, false);
}

int32_t fgSetManualExposure(int32_t microseconds) {
  grabber().state.set.exposure = microseconds;
  fgSetExposure(microseconds, true);
  grabber().sendFlashAgain();
  return grabber().state.flashUs;
}

void fgSetStrobeUse(bool none, bool exposureTracksFlash) {
  GrabberState& state = grabber().state;
  state.set.noStrobe = none ? 1 : 0;
  state.set.exposureTracksFlash = exposureTracksFlash ? 1 : 0;
  if (state.grabbing) grabber().setRole(CameraRole::Strobe, none ? 0 : 1, "strobe failed=");
  fgSetExposure(state.set.exposure, true);
  fgSetFlash(state.flashUs, true);
}

void fgSetGrabSize(int32_t width, int32_t height, bool whole) {
  GrabberSettings& set = grabber().state.set;
  set.userGrabWidth = width;
  set.userGrabHeight = height;
  set.grabArea = whole ? 0 : 1;
  set.store();
}

void fgSetCamera(const std::string& id) {
  grabber().state.set.camera = id;
  grabber().state.set.store();
}

void fgSetShowErrors(bool on) {
  grabber().state.set.showErrors = on ? 1 : 0;
  grabber().state.set.store();
}

bool fgDriverInfo(int32_t index, std::string& text) {
  if (index != 0 || !grabber().driver) return false;
  const CameraInfo info = grabber().driver->info();
  text = "ueye-" + info.serial + " " + info.model;
  return true;
}

const char* fgBoardName(int32_t index) { return index == 0 ? "ueyezz" : index == 1 ? "ueye" : "unknown"; }

std::string fgFrameCheck() {
  Grabber& g = grabber();
  const FrameHub::Counts now = g.hub.counts();
  const int64_t lost = now.lost - g.checked.lost, came = now.frames - g.checked.frames;
  g.checked = now;
  if (lost == 0) return {};
  return format("%lld of %lld frames of the camera did not arrive.", static_cast<long long>(lost),
                static_cast<long long>(lost) + static_cast<long long>(came));
}

}  // namespace tarnvisor

#include "camera/framegrabber.h"

#include <algorithm>
#include <new>
#include <utility>

#include "analysis/autofocus.h"
#include "archive/archive.h"
#include "base/text.h"
#include "grabber.h"
#include "settings/log.h"

namespace tarnvisor {

namespace {

constexpr uint32_t kNewFrame = 6;
constexpr int32_t kFewestBuffers = 4;
constexpr int64_t kReserveBytes = int64_t{1} << 28;  // of blocks that wait for a slow disc
constexpr int32_t kMostReserve = 240;

}  // namespace

Grabber& grabber() {
  static Grabber one;
  return one;
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
    const int32_t x = fgAlignedLeft((sensor.width - width) / 2), y = (sensor.height - height) / 2;
    area = {x, y, x + width, y + height};
  }
  if (area != driver->area())
    if (const Outcome done = driver->setArea(area); !done) fail("area", "set roi failed " + done.why());
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
      fail("buffer",
           format("announce buffer %i failed=%s", static_cast<int32_t>(blocks.size()), done.why().c_str()));
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
    fail("binning", "set binning failed " + binned.why());
  } else {
    logPrintf("set binning\n");
  }
  fgSetZoom(set.zoomX, set.zoomY);
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
  // Before the first frame, which may be recorded; some cameras take it only while they run.
  const auto mirror = [this] {
    setRole(CameraRole::MirrorLeftRight, 1, "mirror leftright failed ");
    setRole(CameraRole::MirrorUpDown, 1, "mirror updown failed ");
  };
  mirror();
  const Outcome started = driver->start(hub);
  logPrintf("fggrab capture=%i\n", started ? 0 : 1);
  if (!started) {
    takeLost(started.why());
    return false;
  }
  state.grabbing = true;
  mirror();
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

// Of a camera that does not tell its rate: what came in the time since the first.
void Grabber::takeRateOfFrames() {
  constexpr double kLongEnough = 0.5;  // seconds
  const FrameHub::Counts came = hub.counts();
  const double seconds = came.lastSeconds - came.firstSeconds;
  if (seconds > kLongEnough) state.actualFps = (came.fields * 0.5 - 1) / seconds;
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
    if (missing.contains(CameraRole::FrameRate)) takeRateOfFrames();
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

const GrabberState& fgState() { return grabber().state; }
void fgSetOnNews(std::function<void()> onNews) { grabber().hub.onNews = std::move(onNews); }

void fgSetFrameListener(FrameHub::Listener listener) { grabber().hub.setListener(std::move(listener)); }

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
  const CZZchildimage* live = g.state.liveImage.get();
  g.recImage.reset(live ? new (std::nothrow) CZZchildimage(width, height, live->pixels, live->stride)
                        : nullptr);
  logPrintf(g.recImage ? "fgAllocbufs. new recimage ok\n" : "fgAllocbufs. new recimage exception!\n");
  return g.recImage != nullptr;
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

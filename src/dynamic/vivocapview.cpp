#include "dynamic/vivocapview.h"

#include <algorithm>
#include <cmath>

#include "app/basicapp.h"
#include "base/clock.h"
#include "base/text.h"
#include "dynamic/commandids.h"
#include "dynamic/texts.h"
#include "framework/timetext.h"
#include "host/host.h"
#include "imagedoc/texts.h"
#include "settings/settings.h"

namespace tarnvisor {

namespace {

constexpr int32_t kPlaybackTimer = 1234;
constexpr int32_t kTimersApart = 100000;  // between the timers of two views

int32_t nextTimer() {
  static int32_t views = 0;
  return kPlaybackTimer + kTimersApart * (views++ % 20000);
}

}  // namespace

CVivoCapView::CVivoCapView(CVivoCapDoc& document)
    : ZBasicView(document), doc(document), timer(theApp().loop, nextTimer()), spot(document) {}

const CommandTableBase& CVivoCapView::commandTable() {
  using V = CVivoCapView;
  static const CommandTable<V> table(
      {
          {cmd::PlaySequence,
           "&play image sequence",
           &V::play,
           &V::hasMovie,
           &V::playsOnce,
           {.tip = "Play",
            .status = "Plays the video once at its true rate, or stops it.",
            .keys = "Ctrl+Space",
            .icon = "play"}},
          {cmd::LoopSequence,
           "&Loop",
           &V::loop,
           &V::hasMovie,
           &V::isLooping,
           {.tip = "Loop",
            .status = "Plays the video again and again, or stops it.",
            .keys = "Ctrl+L",
            .icon = "loop"}},
          {cmd::CalculateFcf,
           "Calculate &FCF",
           &V::calculateFcf,
           &V::canMeasureFlow,
           {.tip = "Calculate FCF",
            .status = "Measures functional capillary flow and density of the selected images.",
            .icon = "flow",
            .asks = true}},
          {cmd::PlaybackSkip,
           "&Playback frame skip...",
           &V::playbackSkip,
           &V::hasMovie,
           {.tip = "Playback period", .status = "Sets the time from image to image while the video plays."}},
          {cmd::PlayFaster,
           "play &faster",
           &V::faster,
           &V::isPlaying,
           {.tip = "Faster",
            .status = "Doubles the step from image to image while the video plays.",
            .keys = "Ctrl+Up"}},
          {cmd::PlaySlower,
           "play &slower",
           &V::slower,
           &V::isPlaying,
           {.tip = "Slower",
            .status = "Halves the step from image to image while the video plays.",
            .keys = "Ctrl+Down"}},
          {cmd::EditMovementRegions,
           "Edit AMC regions",
           &V::editMovementRegions,
           &V::hasMovie,
           &V::editsMovementRegions,
           {.tip = "Edit regions",
            .status = "Draws the rectangles that movement correction compares; choose it again to leave."}},
          {cmd::DrawVelocityLines,
           "Draw lines for &velocities",
           &V::drawVelocityLines,
           &V::hasMovie,
           {.tip = "Lines for velocities",
            .status =
                "Takes the tool for lines along capillaries, and leaves the regions of movement correction."}},
          {cmd::DrawDensityLines,
           "Draw lines for capillary &density",
           &V::drawDensityLines,
           &V::hasMovie,
           {.tip = "Lines for capillary density",
            .status = "Takes the tool for lines over all perfused capillaries, for their density."}},
          {cmd::MoveByHand,
           "Correct &Movement (drag image)",
           &V::pullByHand,
           &V::hasMovie,
           &V::pulls,
           {.tip = "Manual Movement correction. Drag with mouse",
            .status = "Drag the image into place: it and all that follow are moved; with Shift it alone."}},
          {cmd::TrackByHand,
           "&Track movement",
           &V::trackByHand,
           &V::hasMovie,
           &V::tracks,
           {.tip = "Track movement",
            .status =
                "Follow a feature with the button held, image after image: what it moves is taken off."}},
          {cmd::FlyingSpotWindow,
           "Fl&ying Spot",
           &V::toggleSpot,
           &V::hasMovie,
           &V::showsSpot,
           {.tip = "Flying Spot",
            .status = "Sets a velocity for each image by a spot that goes with the blood."}},
          {cmd::ChartFlyingSpot,
           "Chart flying spot velocities",
           &V::chartSpot,
           &V::hasSpotVelocities,
           {.tip = "create chart of flying spot velocities",
            .status = "Opens a chart of the velocities that were set for the images."}},
          {cmd::MarkIn,
           "Mark in",
           &V::markIn,
           &V::hasMovie,
           {.tip = "Mark in", .status = "Begins the selection with the image shown.", .keys = "I"}},
          {cmd::MarkOut,
           "Mark out",
           &V::markOut,
           &V::hasMovie,
           {.tip = "Mark out", .status = "Ends the selection with the image shown.", .keys = "O"}},
          {cmd::SelectAllImages,
           "Select all images",
           &V::selectAllImages,
           &V::hasPart,
           {.tip = "Select all images", .status = "Makes the selection the whole movie."}},
          {cmd::StepForward,
           "step one frame/field forwards",
           &V::stepForward,
           &V::hasMovie,
           {.tip = "Step forwards",
            .status = "Shows the next image.",
            .keys = "Ctrl+Right",
            .icon = "step-forward"}},
          {cmd::StepBack,
           "step one frame/field back",
           &V::stepBack,
           &V::hasMovie,
           {.tip = "Step back",
            .status = "Shows the image before.",
            .keys = "Ctrl+Left",
            .icon = "step-back"}},
      },
      &ZBasicView::commandTable(), {{&V::hasMovie, "This needs a video."}});
  return table;
}

std::vector<StatusPane> CVivoCapView::panes() const {
  std::vector<StatusPane> all = ZBasicView::panes();
  if (!hasMovie()) {
    for (const char* name : {"image", "field", "time"}) all.push_back({name, ""});
    return all;
  }
  const MinuteTime time(doc.timeOf(doc.currentIndex()));
  all.push_back({"image", format("Image# %03i/%03i", doc.currentIndex(), doc.imageCount())});
  all.push_back({"field", format("Field# %3li", static_cast<long>(doc.theImage()->frameNumber))});
  all.push_back({"time", format("%02i:%05.2f", time.minutes, time.hundredths / 100.0)});
  return all;
}

void CVivoCapView::draw(Canvas& canvas) {
  ZBasicView::draw(canvas);
  if (const CDim* line = selectedLine(); line && showsSpot()) {
    constexpr int32_t kHalf = 4;
    const Point at = toWindow(spot.placeOn(*line)) + pictureShift();
    for (const Pen& pen : {Pen{0, 3, false}, Pen{0xffff, 1, false}}) {
      canvas.setPen(pen);
      canvas.ellipse({at.x - kHalf, at.y - kHalf, at.x + kHalf + 1, at.y + kHalf + 1});
    }
  }
  std::string words = playStep > 1 ? format(">>x%1i", playStep) : "";
  // What is seen then is an image before it.
  if (hasMovie() && !doc.movie->hasReadShown()) words = format(text::kUnreadImage, doc.currentIndex());
  if (words.empty()) return;
  canvas.setFont("Arial", 120);
  canvas.text({6, 6}, words, 0x000000);
  canvas.text({5, 5}, words, 0xffffff);
}

void CVivoCapView::wheel(const WheelEvent& event) {
  if (!event.shift || !hasMovie()) return ZBasicView::wheel(event);
  goTo(std::clamp(doc.currentIndex() - event.steps, 0, doc.imageCount() - 1));
}

bool CVivoCapView::keyDown(const KeyEvent& event) {
  if (event.key == Key::Escape && byHand != ByHand::Off) {
    dragging ? cancelDrag() : setByHand(ByHand::Off);
    return true;
  }
  if (event.key == Key::Escape && isPlaying()) {
    stopPlayback();
    return true;
  }
  return moveByKey(event) || ZBasicView::keyDown(event);
}

// Marks that are selected are moved by the arrows.
bool CVivoCapView::moveByKey(const KeyEvent& event) {
  if (!hasMovie()) return false;
  const CZZMovie::Range selection = doc.selection();
  const bool marksAreSelected = !doc.currentDims().selection(selected).empty();
  const int32_t last = doc.imageCount() - 1, apart = event.shift ? 10 : 1;
  const auto move = [&](int32_t index) {
    goTo(std::clamp(index, 0, last));
    return true;
  };
  switch (event.key) {
    case Key::Home:
      return move(event.control ? selection.first : 0);
    case Key::End:
      return move(event.control ? selection.last - 1 : last);
    case Key::Left:
      return !marksAreSelected && move(doc.currentIndex() - apart);
    case Key::Right:
      return !marksAreSelected && move(doc.currentIndex() + apart);
    case Key::Space:
      play();
      return true;
    default:
      return false;
  }
}

// --- the selection

void CVivoCapView::selectImages(int32_t first, int32_t last) {
  if (hasMovie() && !doc.isBusy()) (void)doc.select(first, last);
}

// An end that would leave no images takes the other with it.
void CVivoCapView::markIn() {
  const int32_t shown = doc.currentIndex(), last = doc.selection().last;
  selectImages(shown, shown < last ? last : -1);
}
void CVivoCapView::markOut() {
  const int32_t shown = doc.currentIndex(), first = doc.selection().first;
  selectImages(shown >= first ? first : -1, shown + 1);
}
void CVivoCapView::selectAllImages() { selectImages(-1, -1); }

// --- the sequence

// With the tool for rectangles in hand.
void CVivoCapView::editMovementRegions() {
  takeTool(kToolNone);  // a shape that is begun belongs to the list that is left
  doc.editMovementRegions();
  if (doc.editsMovementRegions()) takeTool(kToolDust);
}

void CVivoCapView::drawLines(const char* key, Tool usual) {
  if (doc.editsMovementRegions()) editMovementRegions();
  const int32_t wanted = settings.getInt("auto", key, usual);
  takeTool(wanted >= kToolCounting && wanted <= kToolFreehandArea ? wanted : usual);
}

CView::Timeline CVivoCapView::timeline() const {
  const CZZMovie::Range range = doc.selection();
  return {doc.imageCount(), doc.currentIndex(), range.first, range.last, doc.imagesPerSecond()};
}

void CVivoCapView::goTo(int32_t index) {
  if (!hasMovie() || doc.isBusy()) return;
  const int32_t before = doc.currentIndex();
  const bool moves = dragging && index != before;
  if (moves && tracks()) moveShown(Point{} - dragged);
  doc.showImage(index);
  if (moves && pulls()) {
    pulled = {};
    pullShown();
  }
  spot.moved(doc.currentIndex() - before, selectedLine());
  redrawNow();
}

const CDim* CVivoCapView::selectedLine() const {
  const CDimList& dims = doc.currentDims();
  return dims.isValid(selected) ? &dims.at(selected) : nullptr;
}

bool CVivoCapView::thumbnail(int32_t index, int32_t width, Size& size, std::vector<uint32_t>& pixels) {
  if (!hasMovie() || index < 0 || index >= doc.imageCount() || width < 1) return false;
  CZZimage each;
  doc.movie->getImage(index, each);
  if (each.empty()) return false;
  const int64_t rows = int64_t{each.frameHeight()} * width / each.width;
  size = {width, static_cast<int32_t>(std::clamp<int64_t>(rows, 1, 4 * int64_t{width}))};
  pixels.resize(static_cast<size_t>(size.width) * static_cast<size_t>(size.height));
  const bool colour = each.colourset == kColour;
  uint32_t* to = pixels.data();
  for (int32_t y = 0; y < size.height; ++y) {
    const uint8_t* row = each.row(static_cast<int32_t>(int64_t{y} * each.height / size.height));
    for (int32_t x = 0; x < size.width; ++x) {
      const uint8_t* p = row + int64_t{x} * each.width / size.width * each.bytesPerPixel;
      *to++ = colour ? 0xff000000u | uint32_t{p[2]} << 16 | uint32_t{p[1]} << 8 | p[0]
                     : 0xff000000u | uint32_t{p[0]} * 0x010101u;
    }
  }
  return true;
}

// --- movement corrected by hand

void CVivoCapView::setByHand(ByHand wanted) {
  cancelDrag();
  byHand = wanted;
  updateCursor();
}

Cursor CVivoCapView::wantedCursor() const {
  if (byHand == ByHand::Off) return ZBasicView::wantedCursor();
  return dragging ? Cursor::ClosedHand : Cursor::OpenHand;
}

Point CVivoCapView::pictureShift() const {
  if (!dragging || !pulls()) return {};
  const auto inWindow = [&](int32_t v) { return static_cast<int32_t>(int64_t{v} * zoomnum / zoomden); };
  return {inWindow(pulled.x), inWindow(pulled.y)};
}

// Rows of fields count twice.
Point CVivoCapView::draggedBy(Point windowPoint) const {
  const Point by = windowPoint - dragStart;
  const auto inFrame = [&](int32_t v) { return static_cast<int32_t>(int64_t{v} * zoomden / zoomnum); };
  const int32_t y = inFrame(by.y);
  return {inFrame(by.x), doc.theImage()->isField() ? y / 2 * 2 : y};
}

// The image shown comes to where the mouse is.
void CVivoCapView::pullShown() {
  const Point by = dragged - pulled;
  pulled = dragged;
  if (by != Point{}) moveShown(by);
}

void CVivoCapView::beginDrag(Point windowPoint) {
  dragStart = windowPoint;
  dragged = pulled = {};
  dragging = true;
  site().captureMouse(true);
}

void CVivoCapView::mouseDown(const MouseEvent& event) {
  if (byHand == ByHand::Off || event.button != MouseButton::Left || !hasMovie())
    return ZBasicView::mouseDown(event);
  site().setFocus();
  if (!dragging) beginDrag(event.at);
  updateCursor();
}

void CVivoCapView::mouseDouble(const MouseEvent& event) {
  byHand == ByHand::Off ? ZBasicView::mouseDouble(event) : mouseDown(event);
}

void CVivoCapView::mouseMove(const MouseEvent& event) {
  ZBasicView::mouseMove(event);
  if (!dragging) return;
  if (event.button != MouseButton::Left) return cancelDrag();  // its release was lost
  dragged = draggedBy(event.at);
  if (pulls()) pullShown();
}

void CVivoCapView::mouseUp(const MouseEvent& event) {
  if (!dragging || event.button != MouseButton::Left) return ZBasicView::mouseUp(event);
  mouseMove(event);  // the last place may have come with the release alone
  endDrag(!event.shift);
}

// The images that follow the one shown, to the end of the selection, moved along with it.
void CVivoCapView::endDrag(bool alsoRest) {
  const Point by = tracks() ? Point{} - dragged : dragged;
  const int32_t shown = doc.currentIndex();
  const CZZMovie::Range rest{shown + 1, alsoRest ? doc.selection().last : shown + 1};
  if (by != Point{}) {
    if (tracks()) moveShown(by);
    if (rest.first < rest.last) doc.moveImages(rest, by);
    doc.appendNotes(format(text::kMovedByHand, shown, std::max(rest.first, rest.last), by.x, by.y) +
                    text::kLineEnd);
  }
  scrollTo(scrollPosition() - pictureShift());  // it stays where it was pulled, as far as that goes
  dragging = false;
  site().captureMouse(false);
  updateCursor();
  redraw();
}

// The image shown goes back to where it was.
void CVivoCapView::cancelDrag() {
  if (!dragging) return;
  if (pulls() && hasMovie()) moveShown(Point{} - pulled);
  dragging = false;
  site().captureMouse(false);
  updateCursor();
}

// --- playback

// The document's period is cut to milliseconds; unless the user chose another, the rate itself counts.
double CVivoCapView::tickSeconds() const {
  const double exact = 1 / doc.imagesPerSecond();
  return !doc.choosesPeriod && exact > 0 ? exact : std::max(1, doc.playPeriod) * 0.001;
}

void CVivoCapView::restartClock(double nowSeconds) {
  startedAt = nowSeconds;
  ticksDone = 0;
}

void CVivoCapView::startPlayback(bool loops) {
  if (!hasMovie()) return;
  looping = loops;
  playStep = 1;
  if (!loops && doc.currentIndex() >= doc.imageCount() - 1) goTo(0);
  restartClock(steadySeconds());
  // More often than images are due, so that each is shown when it is.
  const int32_t period = std::clamp(static_cast<int32_t>(tickSeconds() * 250), 1, 20);
  timer.start(period, [this] { tick(steadySeconds()); });
}

// What was dragged so far stays.
void CVivoCapView::stopPlayback() {
  if (dragging) endDrag(false);
  byHand = ByHand::Off;
  updateCursor();
  timer.stop();
  feed.pause();
  looping = false;
  playStep = 1;
  redraw();
}

void CVivoCapView::tick(double nowSeconds) {
  if (!isPlaying() || !hasMovie()) return stopPlayback();
  const auto due = static_cast<int64_t>((nowSeconds - startedAt) / tickSeconds() + 1e-9);
  if (due <= ticksDone) return;
  const int64_t late = due - ticksDone;
  ticksDone = due;
  const int32_t last = doc.imageCount() - 1;
  const int64_t step = doc.currentIndex() + int64_t{playStep};
  const int64_t wanted = doc.currentIndex() + late * playStep;
  if (step > last || (looping && wanted > last)) {  // past the end is the start
    if (!looping) stopPlayback();                   // first, as a drag ends with the last image
    goTo(0);
    if (!isPlaying()) return;
    feed.sample(*doc.theImage(), doc.currentIndex());
    return restartClock(startedAt + static_cast<double>(due) * tickSeconds());
  }
  goTo(static_cast<int32_t>(std::min<int64_t>(wanted, last)));
  feed.sample(*doc.theImage(), doc.currentIndex());
}

void CVivoCapView::play() { isPlaying() ? stopPlayback() : startPlayback(false); }
void CVivoCapView::loop() { isPlaying() ? stopPlayback() : startPlayback(true); }

void CVivoCapView::faster() {
  playStep = std::min(playStep * 2, 1 << 20);
  restartClock(steadySeconds());
  redraw();
}

void CVivoCapView::slower() {
  playStep = std::max(1, playStep / 2);
  restartClock(steadySeconds());
  redraw();
}

void CVivoCapView::playbackSkip() {
  int32_t period = doc.playPeriod;
  Form form("Playback");
  form.add("milliseconds from image to image", period, {1, 60000, {}});
  if (!host().forms.run(form)) return;
  doc.choosesPeriod = doc.choosesPeriod || period != doc.playPeriod;
  doc.playPeriod = period;
  restartClock(steadySeconds());
}

}  // namespace tarnvisor

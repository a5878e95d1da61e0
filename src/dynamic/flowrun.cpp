#include "flowrun.h"

#include <algorithm>
#include <climits>

#include "app/asked.h"
#include "app/basicapp.h"
#include "app/processstate.h"
#include "archive/archive.h"
#include "base/files.h"
#include "base/text.h"
#include "dynamic/fcfdoc.h"
#include "dynamic/texts.h"
#include "dynamic/vivocapdoc.h"
#include "framework/documenttype.h"
#include "host/host.h"
#include "imagedoc/texts.h"
#include "movie/movieoutput.h"

namespace tarnvisor {

namespace {

constexpr int64_t kMostPlaces = int64_t{1} << 26;

bool isCorrected(CZZMovie& movie, const CZZMovie::Range& range) {
  for (int32_t i = range.first; i < range.last; ++i)
    if (movie.recordOf(i).xOrigin != 0 || movie.recordOf(i).yOrigin != 0) return true;
  return false;
}

// What of a range a movement correction left out, in words; empty for nothing.
std::string uncorrectedPart(CVivoCapDoc& video, const CZZMovie::Range& range) {
  if (!isCorrected(*video.movie, range)) return "";
  const CZZMovie::Range corrected = video.correctedImages();
  std::string which;
  if (range.first < corrected.first) which = format("before %i", corrected.first);
  if (range.last > corrected.last)
    which += (which.empty() ? "" : " and ") + format("from %i on", corrected.last);
  return which.empty() ? which : format("The images %s %s", which.c_str(), text::kPartlyUncorrected);
}

// A user may correct the rest first; a script goes on.
bool agreesTo(const std::string& flaw) {
  if (flaw.empty()) return true;
  if (!isUnattended())
    return host().messages.show(flaw + text::kMeasureAllTheSame, Buttons::YesNo, Icon::Careful) ==
           Answer::Yes;
  host().messages.show(flaw);
  return true;
}

// What was measured lends its scale and its stations; subject and exam come with the command.
void takeBelongings(ZBasicDoc& made, const ZBasicDoc& of) {
  made.takeScale(of);
  made.capturetime = of.capturetime;
  made.stationId = of.stationId;
  made.stationIdFirst = of.stationIdFirst;
}

}  // namespace

// --- a range

Outcome FlowRange::mayMeasure(CZZMovie& movie, const CZZMovie::Range& selection, int32_t imagesAtOnce) {
  if (movie.image().colourset != kGrey) return Outcome::failure(text::kGreyOnly);
  if (selection.size() < kFewestImages) return Outcome::failure("Three images at least must be selected.");
  if (std::min(selection.size(), imagesAtOnce) > FlowStatistics::kMostImages)
    return Outcome::failure(
        format("No more than %i images can be measured at once.", FlowStatistics::kMostImages));
  const CZZMovie::Extents extents = movie.frameExtents(selection.first, selection.last);
  if (extents.width < 1 || extents.width > kMostPlaces / extents.height)
    return Outcome::failure("The images lie too far apart for one frame.");
  return Outcome::success();
}

bool FlowRange::begin(CZZMovie& walked, const CZZMovie::Range& wanted) {
  movie = &walked;
  range = wanted;
  at = range.first;
  const CZZimage& form = movie->image();
  rowsApart = form.isField() ? 2 : 1;
  const CZZMovie::Extents extents = movie->frameExtents(range.first, range.last);
  corner = {static_cast<int32_t>(extents.x), static_cast<int32_t>(extents.y)};
  const auto moved = Size{static_cast<int32_t>(extents.width) - form.width,
                          static_cast<int32_t>(extents.height) - form.frameHeight()};
  everywhere = {corner.x + moved.width, corner.y + moved.height, corner.x + form.width,
                corner.y + form.frameHeight()};
  if (everywhere.isEmpty()) everywhere = {};
  if (!statistics.begin(static_cast<int32_t>(extents.width), form.height + moved.height / rowsApart))
    return false;
  statistics.accumulateFirst(read(at++, images[0]));
  return true;
}

FlowStatistics::Placed FlowRange::read(int32_t index, CZZimage& into) {
  const CZZimage& form = movie->image();
  movie->getImage(index, into);
  if (!movie->hasRead() || into.empty() || into.width != form.width || into.height != form.height ||
      into.bytesPerPixel != 1)
    throw ArchiveException(format("image %i can't be read", index));
  const FrameRecord& record = movie->recordOf(index);
  return {&into, {record.xOrigin - corner.x, (record.yOrigin - corner.y) / rowsApart}};
}

bool FlowRange::step() {
  std::array<FlowStatistics::Placed, 2> next;
  size_t count = 0;
  for (; count < next.size() && at < range.last; ++count) next[count] = read(at++, images[count]);
  statistics.accumulateNext(std::span(next).first(count));
  return at < range.last;
}

// --- FCF

FlowRun::FlowRun(CVivoCapDoc& measured, int32_t framesOfChunk) : video(measured), frames(framesOfChunk) {
  const CZZMovie::Range all = video.selection();
  position = first = chunkEnd = all.first;
  last = all.last;
  makesMovie = frames > 0;
  if (frames < 0) frames = last - first;
}

bool FlowRun::prepare() {
  if (const Outcome may = FlowRange::mayMeasure(*video.movie, {first, last}, frames); !may) {
    video.report(may.why());
    return false;
  }
  const std::string flaw = uncorrectedPart(video, {first, last});
  if (!agreesTo(flaw)) return false;
  const std::string stem = video.stemOfTitle();
  if (makesMovie) {
    const std::string folder = video.workFolder();
    if (folder.empty()) return false;
    std::string name = folder + stem + ".fcf.mve";
    if (fileExists(name) || compressoutput) name = freeMovieName(folder + stem + ".fcf");
    pictures = std::make_unique<CZZMovie>();
    // Before it is recorded: an AVI has its rate from its first frame on.
    pictures->rate = std::max(1, static_cast<int32_t>(video.imagesPerSecond() * 1000 / frames));
    pictures->scale = 1000;
    const CZZimage& form = *video.theImage();
    // A recording's rows are whole words.
    if (!pictures->record(static_cast<int32_t>((int64_t{last} - first + frames - 1) / frames), name, 0, 0,
                          (form.width + 3) / 4 * 4, form.frameHeight(), false)) {
      video.report(name + " can't be recorded: " + pictures->failure());
      return false;
    }
    recording = TemporaryFile(pictures->fileName);
  }
  map = dynamic_cast<fcfdoc*>(process.fcfTemplate->newDocument());
  if (!map) return false;
  takeBelongings(*map, video);
  map->setTitle(stem + "-FCF");
  map->appendNotes("fcf of " + (video.pathName().empty() ? video.moviePath : video.pathName()) +
                   text::kLineEnd);
  // A run may have found that nothing moved.
  if (!isCorrected(*video.movie, {first, last}) && video.movementRecords().empty())
    map->appendNotes(std::string(text::kNotCorrected) + text::kLineEnd);
  if (!flaw.empty()) map->appendNotes(flaw + text::kLineEnd);
  if (video.theImage()->isField()) map->appendNotes(std::string(text::kOfFields) + text::kLineEnd);
  return true;
}

// The user may have closed it.
bool FlowRun::isMapOpen() const {
  const auto& open = theApp().documents.documents();
  return std::ranges::find(open, static_cast<CDocument*>(map)) != open.end();
}

Job::Progress FlowRun::progress() const {
  const auto next = static_cast<int32_t>(std::min(int64_t{position} + frames, int64_t{last}));
  return {format("processing images %i to %i", position, next),
          (measuring ? range.position() : position) - first, last - first};
}

bool FlowRun::step() {
  if (!isMapOpen()) return false;
  if (!measuring) return beginChunk();
  if (range.step()) return true;
  return finishChunk() && position < last;
}

bool FlowRun::beginChunk() {
  chunkEnd = std::min(int64_t{position} + frames, int64_t{last});
  if (chunkEnd - position < FlowRange::kFewestImages) {
    map->appendNotes(
        format("images from %i on are left out: a range needs three%s", position, text::kLineEnd));
    return false;
  }
  if (!range.begin(*video.movie, {position, chunkEnd})) throw std::bad_alloc();
  measuring = true;
  return true;
}

bool FlowRun::finishChunk() {
  FlowMaps maps;
  if (!range.finish(maps) || !map->takeMaps(std::move(maps), range.origin(), range.shared()))
    throw std::bad_alloc();
  measuring = false;
  map->writeFcdRow();
  addToMovie();
  position = chunkEnd;
  ++chunks;
  return true;
}

// The part that all images of the chunk show, at the place where it lies.
void FlowRun::addToMovie() {
  if (!pictures) return;
  const Rect part = map->roiOrWhole();
  const Point origin = map->imageOrigin();
  const CZZimage& form = pictures->image();
  CZZimage picture(form.width, form.height, static_cast<int32_t>(int64_t{2} * position / frames));
  if (picture.empty()) throw std::bad_alloc();
  picture.fill(0);
  const int32_t columns = std::min(part.width(), picture.width),
                rows = std::min(part.height(), picture.height);
  for (int32_t y = 0; y < rows; ++y)
    std::copy_n(map->image->row(part.top - origin.y + y) + part.left - origin.x, columns, picture.row(y));
  picture.xOrigin = part.left;
  picture.setYOrigin(part.top);
  (void)pictures->addFrame(picture, 0);
}

void FlowRun::finishMovie() {
  pictures->stopRecording();
  auto* made =
      process.videoTemplate ? dynamic_cast<CVivoCapDoc*>(process.videoTemplate->newDocument()) : nullptr;
  if (!made || !pictures->isOpen())
    return video.report("The movie of FCF could not be made: " + pictures->failure());
  takeBelongings(*made, video);
  made->setTitle(video.stemOfTitle() + "-FCF");
  made->appendNotes("mve fcf of " + (video.pathName().empty() ? video.moviePath : video.pathName()) +
                    text::kLineEnd);
  pictures->shared = 0;
  made->adoptMovie(std::move(pictures), std::move(recording), video.imagesPerSecond() / frames);
}

void FlowRun::end(bool) {
  if (chunks > 0 && pictures) finishMovie();
  if (!isMapOpen()) return;
  if (chunks == 0) return process.fcfTemplate->discard(*map);
  map->setModified();
  map->updateAllViews();
  theApp().documents.activate(*map);
}

// --- speed

SpeedRun::SpeedRun(CVivoCapDoc& measured, double least, double factor)
    : video(measured), images(measured.selection()), threshold(least), gain(factor) {}

bool SpeedRun::prepare() {
  Outcome may = FlowRange::mayMeasure(*video.movie, images, images.size());
  try {
    if (may && !range.begin(*video.movie, images)) may = Outcome::failure(text::kNoMemory);
  } catch (const ArchiveException& problem) {
    may = Outcome::failure(problem.what());
  }
  if (!may) video.report(may.why());
  return static_cast<bool>(may);
}

Job::Progress SpeedRun::progress() const {
  return {range.position() < images.last
              ? format("processing image %i of range %i to %i", range.position(), images.first, images.last)
              : std::string("final calculation"),
          range.position() - images.first, images.size()};
}

bool SpeedRun::step() { return range.step(); }

void SpeedRun::end(bool cancelled) {
  if (cancelled) return;
  FlowMaps maps;
  auto speed = std::make_unique<CZZimage>();
  if (!range.finish(maps) || !speed->setSize(maps.width, maps.height)) return video.report(text::kNoMemory);
  showSpeed(maps, threshold, gain, *speed);
  speed->xOrigin = range.origin().x;
  speed->setYOrigin(range.origin().y);
  video.openImage(std::move(speed), format("SpeedBy-rms%1ito%1i", images.first, images.last));
}

}  // namespace tarnvisor

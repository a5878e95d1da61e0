#include "linescanrun.h"

#include <algorithm>

#include "base/clock.h"
#include "base/text.h"
#include "dynamic/texts.h"

namespace tarnvisor {

namespace {

constexpr double kWhile = 0.02;  // seconds that a step lasts

}  // namespace

LinescanRun::LinescanRun(CVivoCapDoc& video, Lines wanted, bool fields, std::function<void(Lines)> whenDone)
    : doc(video),
      lines(std::move(wanted)),
      range(video.selection()),
      perImage(fields ? 2 : 1),
      after(std::move(whenDone)) {}

bool LinescanRun::prepare() {
  const auto samples = static_cast<uint32_t>(range.size() * perImage);
  for (Line& line : lines) {
    line.rows =
        newVector(kWordRowsCode, samples, static_cast<uint16_t>(line.pixels.points() * line.pixels.across()));
    if (!line.rows) return false;
    line.stored.assign(samples, 0);
    const Rect& box = line.pixels.bounds();
    bounds = bounds.isEmpty() ? box
                              : Rect{std::min(bounds.left, box.left), std::min(bounds.top, box.top),
                                     std::max(bounds.right, box.right), std::max(bounds.bottom, box.bottom)};
  }
  return true;
}

Job::Progress LinescanRun::progress() const { return {title(), at, range.size()}; }

bool LinescanRun::step() {
  for (const double end = steadySeconds() + kWhile; at < range.size(); ++at) {
    if (steadySeconds() > end) return true;
    sampleImage(range.first + at);
  }
  return false;
}

// Of the image only the rows that the lines need are read.
void LinescanRun::sampleImage(int32_t index) {
  CZZMovie& movie = *doc.movie;
  const CZZimage& form = movie.form();
  const FrameRecord& record = movie.recordOf(index);
  const int32_t step = form.isField() ? 2 : 1;
  const int32_t above = wrapSub(bounds.top, record.yOrigin), below = wrapSub(bounds.bottom, record.yOrigin);
  // From an even row on, so that the fields stay apart.
  const int32_t first = std::clamp(above / step, 0, form.height) & ~1;
  const int32_t last = std::clamp(below / step + 2, first, form.height);
  if (first == last) return;
  const uint8_t* pixels = movie.rowsOf(index, first, last, each);
  if (!pixels) {
    ++unread;
    return;
  }
  CZZchildimage part(form.width, last - first, const_cast<uint8_t*>(pixels), form.stride, index,
                     form.interlace, form.colourset);
  part.xOrigin = record.xOrigin;
  part.setYOrigin(record.yOrigin + first * step);
  for (Line& line : lines)
    for (int32_t sample = 0; sample < perImage; ++sample) {
      const auto row = static_cast<uint32_t>(at * perImage + sample);
      using R = ScanLine::Rows;
      const R which = perImage == 1 ? R::All : sample == 0 ? R::FirstField : R::SecondField;
      const CdataVect::Own place = line.rows->getArray(row);
      line.stored[row] = line.pixels.sample(part, *place, which);
    }
}

void LinescanRun::end(bool cancelled) {
  if (cancelled) return;
  if (unread > 0) doc.report(format(text::kUnreadForWidths, unread));
  after(std::move(lines));
}

}  // namespace tarnvisor

#include "linescanrun.h"

#include <algorithm>

#include "base/clock.h"
#include "base/parallel.h"
#include "base/text.h"
#include "dynamic/texts.h"

namespace tarnvisor {

namespace {

constexpr double kWhile = 0.02;  // seconds that a step lasts
constexpr int32_t kImagesAtOnce = 8;

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
  samplers.resize(doc.movie->sharesRows() ? static_cast<size_t>(parallelThreads()) : 1);
  for (Sampler& sampler : samplers)
    for (const Line& line : lines) sampler.lines.push_back(line.pixels);
  return true;
}

Job::Progress LinescanRun::progress() const { return {title(), at, range.size()}; }

bool LinescanRun::step() {
  const double end = steadySeconds() + kWhile;
  while (at < range.size() && steadySeconds() <= end) {
    const auto those = static_cast<int32_t>(samplers.size()) * kImagesAtOnce;
    const int32_t until = std::min(range.size(), at + (samplers.size() > 1 ? those : 1));
    parallelFor(static_cast<int64_t>(samplers.size()), 1, [&](int64_t begin, int64_t finish) {
      for (int64_t by = begin; by < finish; ++by)
        for (auto i = at + static_cast<int32_t>(by); i < until; i += static_cast<int32_t>(samplers.size()))
          sampleImage(i, samplers[static_cast<size_t>(by)]);
    });
    at = until;
  }
  return at < range.size();
}

// Of the image only the rows that the lines need are read.
void LinescanRun::sampleImage(int32_t place, Sampler& by) {
  const int32_t index = range.first + place;
  CZZMovie& movie = *doc.movie;
  const CZZimage& form = movie.form();
  const FrameRecord& record = movie.recordOf(index);
  const int32_t step = form.isField() ? 2 : 1;
  const int32_t above = wrapSub(bounds.top, record.yOrigin), below = wrapSub(bounds.bottom, record.yOrigin);
  // From an even row on, so that the fields stay apart.
  const int32_t first = std::clamp(above / step, 0, form.height) & ~1;
  const int32_t last = std::clamp(below / step + 2, first, form.height);
  if (first == last) return;
  const uint8_t* pixels = movie.rowsOf(index, first, last, by.each);
  if (!pixels) {
    ++by.unread;
    return;
  }
  CZZchildimage part(form.width, last - first, const_cast<uint8_t*>(pixels), form.stride, index,
                     form.interlace, form.colourset);
  part.xOrigin = record.xOrigin;
  part.setYOrigin(record.yOrigin + first * step);
  for (size_t i = 0; i < lines.size(); ++i)
    for (int32_t sample = 0; sample < perImage; ++sample) {
      const auto row = static_cast<uint32_t>(place * perImage + sample);
      using R = ScanLine::Rows;
      const R which = perImage == 1 ? R::All : sample == 0 ? R::FirstField : R::SecondField;
      const CdataVect::Own to = lines[i].rows->getArray(row);
      lines[i].stored[row] = by.lines[i].sample(part, *to, which);
    }
}

void LinescanRun::end(bool cancelled) {
  if (cancelled) return;
  int32_t unread = 0;
  for (const Sampler& sampler : samplers) unread += sampler.unread;
  if (unread > 0) doc.report(format(text::kUnreadForWidths, unread));
  after(std::move(lines));
}

}  // namespace tarnvisor

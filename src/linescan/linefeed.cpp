#include "linescan/linefeed.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "app/asked.h"
#include "base/text.h"
#include "linescan/texts.h"

namespace tarnvisor {

namespace {

constexpr const char* kTaken = "Another window's line is being scanned.";
constexpr const char* kOtherMethod =
    "The method in \"CBV calculation parameters\" is another: two lines are for the delay between them, one line is for all else.";
constexpr const char* kOnePlace =
    "Both lines have their middle at one place: there is no delay between them.";
constexpr const char* kRowsLost =
    "%lld rows of the linescan were lost, and their places are empty: the program was kept waiting for too long.";
constexpr const char* kNoFirst = "Choose the measuring line first.";

Point middleOf(std::span<const Point> path) {
  return path.empty() ? Point{}
                      : Point{(path.front().x + path.back().x) / 2, (path.front().y + path.back().y) / 2};
}

}  // namespace

bool samplesFields(const ZlineScanDoc& scan, const ImageFacts& images) {
  return scan.useinterlace && !images.areFields;
}

// A line is set with half an image's time, which counts twice where only one of a frame's fields is sampled.
ZlineScanDoc::LineFacts lineFacts(const ZlineScanDoc& scan, const ImageFacts& images,
                                  const std::string& name) {
  const bool isWhole = scan.useinterlace && images.areFields;
  return {images.period * (isWhole ? 1.0 : 0.5), images.xScale, images.unit, name};
}

LineFeed::~LineFeed() { drop(); }

void LineFeed::drop() {
  finish();
  if (ZlineScanDoc* scan = theLinescan()) scan->release(this);
  giveQueue(nullptr);
  first = second = {};
  firstRow = secondRow = nullptr;
}

void LineFeed::sampleElsewhere(int32_t images, Sampler other) {
  imagesThatWait = images;
  sampler = std::move(other);
}

void LineFeed::giveQueue(std::shared_ptr<LineQueue> queue) {
  rows = std::move(queue);
  if (sampler) sampler(rows);
}

bool LineFeed::isFeeding() const { return theLinescan() && theLinescan()->isOf(this); }

std::string LineFeed::take(std::span<const Point> path, int32_t across, bool isSecond,
                           const ImageFacts& images, const std::string& name, const CDocument& video) {
  ScanLine line(path, across, images.xScale / images.yScale);
  if (line.isEmpty()) return text::kLineTooLong;
  if (isSecond && first.isEmpty()) return kNoFirst;
  // What is refused leaves the line before at work.
  ZlineScanDoc* scan = openLinescan();
  if (!scan) return text::kLinescansOff;
  if (scan->isTaken() && !scan->isOf(this)) return kTaken;
  if (isSecond) {
    if (scan->velocity.cbvmethod != kTwoLines) return kOtherMethod;
    const Point at = middleOf(path);
    distance = std::hypot((static_cast<double>(at.x) - middle.x) * images.xScale,
                          (static_cast<double>(at.y) - middle.y) * images.yScale);
    if (!(distance > 0)) return kOnePlace;
  }
  if (!isUnattended() && !scan->traces.items.empty() && !scan->saveModified())
    return "The linescan that is open was kept.";
  giveQueue(nullptr);
  facts = images;
  (isSecond ? second : first) = std::move(line);
  if (!isSecond) {
    middle = middleOf(path);
    second = {};
    lineName = name;
  }
  return begin(*scan, video);
}

std::string LineFeed::begin(ZlineScanDoc& scan, const CDocument& video) {
  scan.beginOf(video);
  scan.setTitle(lineName);
  const ZlineScanDoc::LineFacts line = lineFacts(scan, facts, lineName);
  if (scan.velocity.cbvmethod == kTwoLines) {
    if (second.isEmpty()) return {};  // it waits for the other
    const auto places = scan.settwolines(this, first.points() * first.across(),
                                         second.points() * second.across(), distance, line);
    firstRow = places.first;
    secondRow = places.second;
    if (!firstRow || !secondRow) return text::kNoLinescan;
  } else {
    firstRow = scan.setline(this, first.points(), first.across(), line);
    secondRow = nullptr;
    if (!firstRow) return text::kNoLinescan;
  }
  scan.startCapture();
  giveQueue(std::make_shared<LineQueue>(first, second, samplesFields(scan, facts), imagesThatWait));
  return {};
}

void LineFeed::sample(const CZZimage& image, int64_t number) {
  if (!rows) return;
  rows->sample(image, number);
  takeUp();
}

void LineFeed::takeUp() {
  if (!rows || rows->isEmpty()) return;
  ZlineScanDoc* scan = theLinescan();
  if (!scan || !scan->isOf(this)) return giveQueue(nullptr);
  scan->startCapture();
  const TraceBatch batch(*scan);
  for (; !rows->isEmpty(); rows->pop()) store(*scan);
}

// The rows of the oldest image that waits.
void LineFeed::store(ZlineScanDoc& scan) {
  constexpr int64_t kMostPassedOver = 1 << 20;
  const int64_t number = rows->number();
  const int64_t passedOver = lastNumber >= 0 && number > lastNumber ? number - lastNumber - 1 : 0;
  lastNumber = number;
  scan.skiplines(static_cast<int32_t>(std::min(passedOver, kMostPassedOver)) * rows->rowsAnImage);
  for (int32_t field = 0; field < rows->rowsAnImage; ++field) {
    const LineQueue::Row row = rows->row(field);
    if (!row.inside) {
      scan.skiplines(1);
      continue;
    }
    rows->first.put(row.first, *firstRow);
    if (secondRow) rows->second.put(row.second, *secondRow);
    scan.linesample(1);
  }
}

void LineFeed::finish() {
  takeUp();
  const int64_t lost = rows && isFeeding() ? rows->takeLost() : 0;
  if (lost > 0) theLinescan()->report(format(kRowsLost, static_cast<long long>(lost)));
}

void LineFeed::pause() {
  finish();
  lastNumber = -1;
  if (ZlineScanDoc* scan = theLinescan(); scan && scan->isOf(this)) scan->stopCapture();
}

}  // namespace tarnvisor

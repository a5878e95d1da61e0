#include "imagedoc/imagetests.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <memory>

#include "analysis/profile.h"
#include "app/basicapp.h"
#include "base/clock.h"
#include "base/files.h"
#include "base/numbers.h"
#include "base/text.h"
#include "host/host.h"
#include "imagedoc/commandids.h"
#include "imagedoc/levelchart.h"
#include "imagedoc/texts.h"
#include "imagedoc/zbasicdoc.h"

namespace tarnvisor {

namespace {

constexpr const char* kVignetteHead = "file,device,av1,min1,max1,%,av2,min2,max2,%,captured,now";
constexpr const char* kAutocalHead =
    "file,device,y,av,min,threshold,length,nlefts,left,right,maxcontrast%,mincontrast%,captured,now";
constexpr int32_t kLineType = 1;
constexpr size_t kMostEdges = 256;

// A time without commas, which part the columns; empty when it isn't known.
std::string cellOf(int64_t seconds) {
  if (seconds == 0) return {};
  const LocalTime t = localTime(seconds);
  return format("%04i-%02i-%02i %02i:%02i:%02i", t.year, t.month + 1, t.day, t.hour, t.minute, t.second);
}

std::string cellOf(const std::string& words) {
  if (words.find_first_of(",\"\r\n") == std::string::npos) return words;
  std::string quoted = "\"";
  for (const char c : words) quoted += c == '"' ? "\"\"" : std::string(1, c);
  return quoted + "\"";
}

// The points are the image's own.
int32_t addLine(ZBasicDoc& document, Point from, Point to) {
  const Point origin = document.imageOrigin();
  const int32_t index = document.addDimension(from + origin, kLineType);
  document.addPointToDimension(index, to + origin);
  return index;
}

// To the table and the notes. False when the table couldn't be written.
bool keepRecord(ZBasicDoc& document, const char* file, const char* head, const std::string& record) {
  const bool written = appendRecord(withSeparator(theApp().dataFolder) + file, head, record);
  document.appendNotes(record + text::kLineEnd);
  document.setModified();
  document.updateAllViews();
  return written;
}

std::string fileCells(const ZBasicDoc& document) {
  return cellOf(document.imagefile) + "," + cellOf(document.stationIdFirst);
}

std::string timeCells(const ZBasicDoc& document) {
  return cellOf(int64_t{document.capturetime}) + "," + cellOf(currentTime());
}

}  // namespace

bool appendRecord(const std::string& path, const std::string& head, const std::string& record) {
  std::error_code error;
  const auto lengthBefore = std::filesystem::file_size(path, error);
  const bool isNew = static_cast<bool>(error) || lengthBefore == 0;
  struct Close {
    void operator()(std::FILE* f) const { std::fclose(f); }
  };
  std::unique_ptr<std::FILE, Close> file(std::fopen(path.c_str(), "ab"));
  const std::string lines = (isNew ? head + "\n" : std::string()) + record + "\n";
  const bool opened = file != nullptr;
  bool written = opened && std::fwrite(lines.data(), 1, lines.size(), file.get()) == lines.size();
  if (opened && std::fclose(file.release()) != 0) written = false;
  if (written) return true;
  if (opened) std::filesystem::resize_file(path, isNew ? 0 : lengthBefore, error);
  host().messages.show("Could not write " + path + ".");
  return false;
}

bool vignetteTest(ZBasicDoc& document) {
  constexpr int32_t kInset = 5;
  if (!document.hasImage()) return false;
  const int32_t right = document.theImage()->width - kInset;
  const int32_t bottom = document.theImage()->frameHeight() - kInset;
  std::string record = fileCells(document);
  const std::array<std::array<Point, 2>, 2> diagonals{
      {{{{kInset, bottom}, {right, kInset}}}, {{{kInset, kInset}, {right, bottom}}}}};
  for (const auto& [from, to] : diagonals) {
    const int32_t index = addLine(document, from, to);
    showGreyLevelProfile(document, index);
    const LevelSummary s =
        summaryOf(levelsAlong(*document.theImage(), document.currentDims().at(index).points));
    const double percent = s.maximum > 0 ? s.minimum * 100 / s.maximum : 0.0;
    record += format(",%.1f,%.0f,%.0f,%.1f", s.mean, s.minimum, s.maximum, percent);
  }
  // The chart came to the front; the image is what the user works on.
  if (document.type()) theApp().documents.activate(document);
  return keepRecord(document, "vignette.csv", kVignetteHead, record + "," + timeCells(document));
}

RuledRow measureRuledRow(std::span<const uint8_t> levels) {
  RuledRow row;
  if (levels.empty()) return row;
  int64_t sum = 0;
  for (const uint8_t v : levels) sum += v;
  row.mean = static_cast<double>(sum) / static_cast<double>(levels.size());
  row.minimum = *std::min_element(levels.begin(), levels.end());
  row.threshold = truncated(row.mean);
  for (size_t x = 0; x < levels.size();) {
    int32_t highest = 0;
    for (; x < levels.size() && levels[x] > row.threshold; ++x)
      highest = std::max<int32_t>(highest, levels[x]);
    if (x == levels.size()) break;
    if (row.leftEdges.size() < kMostEdges) row.leftEdges.push_back(static_cast<int32_t>(x));
    int32_t lowest = levels[x++];
    for (; x < levels.size() && levels[x] < row.threshold; ++x) lowest = std::min<int32_t>(lowest, levels[x]);
    if (highest == 0) continue;
    const double ratio = lowest * 100.0 / highest;
    row.smallestRatio = std::min(row.smallestRatio, ratio);
    row.largestRatio = std::max(row.largestRatio, ratio);
  }
  return row;
}

bool autocalTest(ZBasicDoc& document, int32_t y) {
  if (!document.hasImage()) return false;
  const CZZimage& image = *document.theImage();
  if (y < 0 || y >= image.frameHeight()) return false;
  std::vector<uint8_t> levels;
  levels.reserve(static_cast<size_t>(image.width));
  for (int32_t x = 0; x < image.width; ++x) levels.push_back(truncatedToByte(greyLevelAt(image, {x, y})));
  const RuledRow row = measureRuledRow(levels);
  const int32_t first = row.leftEdges.empty() ? 0 : row.leftEdges.front();
  const int32_t last = row.leftEdges.empty() ? 0 : row.leftEdges.back();
  const std::string record =
      fileCells(document) +
      format(",%i,%.2f,%i,%i,%i,%i,%i,%i,%.1f,%.1f,", y, row.mean, row.minimum, row.threshold, last - first,
             static_cast<int32_t>(row.leftEdges.size()), first, last, row.smallestRatio, row.largestRatio) +
      timeCells(document);
  if (!row.leftEdges.empty()) addLine(document, {first, y}, {last, y});
  const bool written = keepRecord(document, "autocal.csv", kAutocalHead, record);
  if (const CommandRow* notes = document.commands()->find(cmd::Notes)) notes->execute(document);
  return written;
}

}  // namespace tarnvisor

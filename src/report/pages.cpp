#include "report/pages.h"

#include <algorithm>
#include <numeric>
#include <optional>

#include "app/basicapp.h"
#include "base/clock.h"
#include "base/files.h"
#include "base/text.h"
#include "base/version.h"
#include "drawing/partcanvas.h"
#include "drawing/textmeasure.h"
#include "drawing/textwrap.h"
#include "host/host.h"
#include "settings/fingerprint.h"

namespace tarnvisor {

namespace {

constexpr int32_t kBody = 90, kHeading = 115, kTitle = 160, kFoot = 70;  // tenths of a point
constexpr Colour kInk = 0, kFaint = 0x606060, kHeadingInk = 0x703000, kCaution = 0x0000b0, kRule = 0xb0b0b0;
constexpr double kWidestColumn = 0.42;  // of the page

std::string footOfToday() {
  return programTitle() + "  ·  settings " + settingsFingerprint().substr(0, 12) + "  ·  " +
         longDateTime(currentTime()) + "  ·  Measurements, not a diagnosis";
}

}  // namespace

ReportPages::ReportPages(PrintJob& target, std::string footWords, int32_t total)
    : job(target), foot(std::move(footWords)), pages(total), page(target.pageSize()) {
  useFont(kFoot);
  footLine = line;
  useFont(kBody);
}

ReportPages::~ReportPages() { writeFoot(); }

void ReportPages::useFont(int32_t tenthsOfPoint) {
  job.canvas().setFont("", tenthsOfPoint);
  line = TextMeasure::of(job.canvas()).line;
}

int32_t ReportPages::bottom() const { return page.height - 2 * footLine; }

void ReportPages::rule(int32_t at, Colour colour) {
  const int32_t thick = std::max(1, static_cast<int32_t>(job.pixelsPerInch() / 144));
  if (draws()) job.canvas().fill({0, at, page.width, at + thick}, colour);
}

void ReportPages::writeFoot() {
  if (!draws()) return;
  useFont(kFoot);
  rule(page.height - footLine * 3 / 2, kRule);
  const std::string words = format("page %i of %i", number, pages);
  const int32_t top = page.height - footLine, right = page.width - job.canvas().textSize(words).width;
  job.canvas().text({0, top}, wrapped(job.canvas(), foot, right - footLine).front(), kFaint);
  job.canvas().text({right, top}, words, kFaint);
}

void ReportPages::newPage() {
  if (y == begin) return;
  writeFoot();
  if (draws() && !job.nextPage()) gaveUp = true;
  ++number;
  y = 0;
  useFont(kBody);
  writeWhose();
  begin = y;
}

void ReportPages::writeWhose() {
  if (whose.empty()) return;
  if (draws()) job.canvas().text({0, y}, wrapped(job.canvas(), whose, page.width).front(), kFaint);
  y += line * 5 / 4;
  rule(y, kRule);
  y += line / 2;
}

void ReportPages::needs(int32_t height) {
  if (y + height > bottom()) newPage();
}

void ReportPages::gap() {
  if (y > begin) y += line / 2;
}

void ReportPages::write(const std::string& text, int32_t left, int32_t right, Colour colour) {
  const int32_t height = line;
  for (const std::string& each : linesOf(text))
    for (const std::string& piece : wrapped(job.canvas(), each, right - left)) {
      needs(height);
      if (draws()) job.canvas().text({left, y}, piece, colour);
      y += height;
    }
}

void ReportPages::title(const std::string& words) {
  useFont(kTitle);
  write(words, 0, page.width, kHeadingInk);
  y += line / 4;
  rule(y, kHeadingInk);
  useFont(kBody);
  y += line / 2;
}

void ReportPages::heading(const std::string& words, int32_t below) {
  gap();
  needs(2 * line + std::max(below, 4 * line));
  useFont(kHeading);
  write(words, 0, page.width, kHeadingInk);
  useFont(kBody);
  y += line / 4;
}

void ReportPages::paragraph(const std::string& text) { write(text, 0, page.width, kInk); }
void ReportPages::caution(const std::string& text) { write(text, 0, page.width, kCaution); }

void ReportPages::facts(const std::vector<SideFact>& all) {
  int32_t left = 0;
  for (const SideFact& fact : all) left = std::max(left, job.canvas().textSize(fact.name).width + line);
  // The same in most blocks.
  left = std::clamp(left, page.width / 5, page.width / 3);
  for (const SideFact& fact : all) {
    if (linesOf(fact.value).empty()) continue;
    needs(line);
    const int32_t top = y, first = number;
    write(fact.name, 0, left - line / 2, kFaint);
    const int32_t below = y, last = number;
    // Beside its name, as long as that is on one page.
    if (first == last) y = top;
    write(std::string(trimmed(fact.value)), left, page.width, fact.isCaution ? kCaution : kInk);
    if (number == last) y = std::max(y, below);
  }
}

// --- tables

// A column is as wide as its widest cell, within reason; the first stands in each block again.
std::vector<ReportPages::Block> ReportPages::blocksOf(const ReportTable& shown, size_t rows) {
  const auto widest = static_cast<int32_t>(page.width * kWidestColumn);
  std::vector<Block> blocks(1);
  int32_t used = 0;
  for (size_t column = 0; column < shown.columns.size(); ++column) {
    int32_t width = job.canvas().textSize(shown.columns[column].heading).width;
    for (size_t row = 0; row < rows; ++row)
      width = std::max(width, job.canvas().textSize(shown.rows[row][column]).width);
    width = std::min(width, widest) + line;
    if (used + width > page.width && blocks.back().columns.size() > 1) {
      const int32_t first = blocks.front().widths.front();
      blocks.push_back({{0}, {first}});
      used = first;
    }
    blocks.back().columns.push_back(column);
    blocks.back().widths.push_back(width);
    used += width;
  }
  return blocks;
}

void ReportPages::writeCells(const ReportTable& shown, const Block& block,
                             const std::vector<const Cells*>& parts) {
  struct Piece {
    int32_t left;
    Colour ink;
    std::vector<std::string> lines;
    bool isNumber;
    int32_t width;
  };
  std::vector<Piece> pieces;
  size_t lines = 1;
  int32_t left = 0;
  for (const Cells* cells : parts)
    for (size_t i = 0; i < block.columns.size(); ++i) {
      const ReportTable::Column& column = shown.columns[block.columns[i]];
      const std::string words = replaced(cells ? (*cells)[block.columns[i]] : column.heading, '\n', ' ');
      const int32_t width = block.widths[i] - line;
      pieces.push_back(
          {left, cells ? kInk : kFaint, wrapped(job.canvas(), words, width), column.isNumber, width});
      lines = std::max(lines, pieces.back().lines.size());
      left += block.widths[i] + (i + 1 == block.columns.size() ? line : 0);
    }
  // No cell is higher than a page.
  lines = std::min(lines, static_cast<size_t>(std::max(1, bottom() / line)));
  needs(static_cast<int32_t>(lines) * line);
  for (const Piece& piece : pieces)
    for (size_t k = 0; draws() && k < std::min(lines, piece.lines.size()); ++k) {
      const int32_t room = piece.width - job.canvas().textSize(piece.lines[k]).width;
      job.canvas().text({piece.left + (piece.isNumber ? room : 0), y + static_cast<int32_t>(k) * line},
                        piece.lines[k], piece.ink);
    }
  y += static_cast<int32_t>(lines) * line;
}

void ReportPages::writeBlock(const ReportTable& shown, const Block& block, size_t rows) {
  constexpr size_t kFewRows = 6;  // stay below each other
  const int32_t width = std::accumulate(block.widths.begin(), block.widths.end(), 0);
  const size_t most =
      rows > kFewRows ? static_cast<size_t>(std::max(1, (page.width + 2 * line) / (width + line))) : 1;
  const size_t below = (rows + most - 1) / most;
  const size_t parts = below == 0 ? 1 : (rows + below - 1) / below;
  const auto head = [&] {
    needs(3 * line);
    writeCells(shown, block, std::vector<const Cells*>(parts, nullptr));
    rule(y, kRule);
    y += line / 4;
  };
  head();
  for (size_t row = 0; row < below; ++row) {
    const int32_t before = number;
    needs(line);
    if (number != before) head();
    std::vector<const Cells*> beside;
    for (size_t at = row; at < rows; at += below) beside.push_back(&shown.rows[at]);
    writeCells(shown, block, beside);
  }
}

void ReportPages::table(const ReportTable& shown, size_t most) {
  if (shown.columns.empty()) return;
  gap();
  const size_t rows = std::min(most, shown.rows.size());
  needs(line * (static_cast<int32_t>(std::min<size_t>(rows, 4)) + 3));
  if (!shown.title.empty()) paragraph(shown.title);
  const std::vector<Block> blocks = blocksOf(shown, rows);
  for (size_t i = 0; i < blocks.size(); ++i) {
    if (i > 0) gap();
    writeBlock(shown, blocks[i], rows);
  }
  if (rows < shown.rows.size()) paragraph(format("... and %zu more", shown.rows.size() - rows));
}

// Of the page's width where that isn't too high; no picture of few pixels fills the page.
Size ReportPages::sizeOf(Size window, double mostOfHeight) const {
  constexpr double kLargestPixel = 1.0 / 48;  // inches
  const double width = std::min({double(page.width), window.width * job.pixelsPerInch() * kLargestPixel,
                                 mostOfHeight * bottom() * window.width / window.height});
  return {std::max(1, static_cast<int32_t>(width)),
          std::max(1, static_cast<int32_t>(width * window.height / window.width))};
}

void ReportPages::picture(Size window, double mostOfHeight, const std::function<void(Canvas&)>& draw) {
  if (window.width < 1 || window.height < 1) return;
  gap();
  const Size size = sizeOf(window, mostOfHeight);
  needs(size.height);
  if (draws()) {
    {
      PartCanvas part(job.canvas(), {0, y, size.width, y + size.height}, window);
      draw(part);
    }
    useFont(kBody);
  }
  y += size.height;
  gap();
}

// --- where it goes

namespace {

// A4 at the screen's pixels, a page below the other.
class PagesOfPicture final : public PrintJob {
 public:
  static constexpr Size kPage{794, 1123};
  explicit PagesOfPicture(Canvas& canvas) : picture(canvas) { (void)nextPage(); }
  Size pageSize() const override { return kPage; }
  double pixelsPerInch() const override { return 96; }
  Canvas& canvas() override { return *page; }
  bool nextPage() override {
    page.reset();
    const int32_t top = begun++ * kPage.height;
    const Rect place{0, top, kPage.width, top + kPage.height};
    picture.fill(place, 0xffffff);
    page.emplace(picture, place, kPage);
    return true;
  }
  int32_t count() const { return begun; }

 private:
  Canvas& picture;
  std::optional<PartCanvas> page;
  int32_t begun = 0;
};

// The same pages with a margin: what can be printed on reaches to the paper's edge.
class Inset final : public PrintJob {
 public:
  explicit Inset(PrintJob& whole)
      : job(whole), margin(static_cast<int32_t>(whole.pixelsPerInch() * kInches)) {
    const Size size = job.pageSize();
    if (std::min(size.width, size.height) < 8 * margin) margin = 0;
    lay();
  }
  Size pageSize() const override {
    return {job.pageSize().width - 2 * margin, job.pageSize().height - 2 * margin};
  }
  double pixelsPerInch() const override { return job.pixelsPerInch(); }
  Canvas& canvas() override { return *page; }
  bool nextPage() override {
    page.reset();
    const bool begun = job.nextPage();
    lay();
    return begun;
  }

 private:
  static constexpr double kInches = 0.35;
  void lay() {
    const Size size = pageSize();
    page.emplace(job.canvas(), Rect{margin, margin, margin + size.width, margin + size.height}, size);
  }
  PrintJob& job;
  int32_t margin;
  std::optional<PartCanvas> page;
};

void drawReport(PrintJob& whole, const ReportContent& content) {
  if (whole.pageSize().width < 1 || whole.pageSize().height < 1) return;
  Inset job(whole);
  const std::string foot = footOfToday();
  const auto count = [&](int32_t total) {
    ReportPages pages(job, foot, total);
    content(pages);
    return pages.count();
  };
  count(count(0));
}

}  // namespace

Outcome writeReport(const std::string& path, const std::string& title, const std::vector<std::string>& kinds,
                    const ReportContent& content) {
  if (std::ranges::find(kinds, lowerCase(extensionOf(path))) == kinds.end())
    return Outcome::failure(path + ": it is written as " + joined(kinds, " or "));
  if (Outcome may = theApp().documents.mayOutputTo(path); !may) return may;
  if (equalIgnoringCase(extensionOf(path), "pdf"))
    return host().printer.writePdf(path, title, [&](PrintJob& job) { drawReport(job, content); });
  // How many pages there are is known once they were drawn.
  int32_t room = 1, count = 1;
  const auto write = [&](const std::string& to) {
    const Size size{PagesOfPicture::kPage.width, PagesOfPicture::kPage.height * room};
    return host().pictures.write(to, size, [&](Canvas& canvas) {
      PagesOfPicture job(canvas);
      drawReport(job, content);
      count = job.count();
    });
  };
  const TemporaryFolder trial("report");
  if (Outcome drawn = write(trial.file("pages." + extensionOf(path))); !drawn) return drawn;
  room = count;
  return write(path);
}

}  // namespace tarnvisor

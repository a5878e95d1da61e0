#include "report/pages.h"

#include <algorithm>
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
  if (y == 0) return;
  writeFoot();
  if (draws() && !job.nextPage()) gaveUp = true;
  ++number;
  y = 0;
  useFont(kBody);
}

void ReportPages::needs(int32_t height) {
  if (y + height > bottom()) newPage();
}

void ReportPages::gap() {
  if (y > 0) y += line / 2;
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

void ReportPages::heading(const std::string& words, int32_t linesBelow) {
  gap();
  needs(line * (linesBelow + 2));
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
  left = std::min(left, page.width / 3);
  for (const SideFact& fact : all) {
    if (linesOf(fact.value).empty()) continue;
    needs(line);
    const int32_t top = y, first = number;
    write(fact.name, 0, left - line / 2, kFaint);
    const int32_t below = y, last = number;
    // Beside its name, as long as that is on one page.
    if (first == last) y = top;
    write(fact.value, left, page.width, fact.isCaution ? kCaution : kInk);
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
                             const std::vector<std::string>* cells) {
  std::vector<std::vector<std::string>> pieces;
  size_t lines = 1;
  for (size_t i = 0; i < block.columns.size(); ++i) {
    const ReportTable::Column& column = shown.columns[block.columns[i]];
    const std::string& words = cells ? (*cells)[block.columns[i]] : column.heading;
    pieces.push_back(wrapped(job.canvas(), replaced(words, '\n', ' '), block.widths[i] - line));
    lines = std::max(lines, pieces.back().size());
  }
  lines = std::min(lines, static_cast<size_t>(std::max(1, bottom() / line)));
  needs(static_cast<int32_t>(lines) * line);
  int32_t left = 0;
  for (size_t i = 0; i < pieces.size(); ++i) {
    const bool isNumber = shown.columns[block.columns[i]].isNumber;
    for (size_t k = 0; draws() && k < std::min(lines, pieces[i].size()); ++k) {
      const int32_t room = block.widths[i] - line - job.canvas().textSize(pieces[i][k]).width;
      job.canvas().text({left + (isNumber ? room : 0), y + static_cast<int32_t>(k) * line}, pieces[i][k],
                        cells ? kInk : kFaint);
    }
    left += block.widths[i];
  }
  y += static_cast<int32_t>(lines) * line;
}

void ReportPages::writeBlock(const ReportTable& shown, const Block& block, size_t rows) {
  const auto head = [&] {
    needs(3 * line);
    writeCells(shown, block, nullptr);
    rule(y, kRule);
    y += line / 4;
  };
  head();
  for (size_t row = 0; row < rows; ++row) {
    const int32_t before = number;
    if (y + line > bottom()) newPage();
    if (number != before) head();
    writeCells(shown, block, &shown.rows[row]);
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

void ReportPages::picture(Size window, double mostOfHeight, const std::function<void(Canvas&)>& draw) {
  if (window.width < 1 || window.height < 1) return;
  gap();
  // No picture of few pixels fills the page.
  constexpr double kLargestPixel = 1.0 / 48;  // inches
  const double most = std::min({double(page.width), window.width * job.pixelsPerInch() * kLargestPixel,
                                mostOfHeight * bottom() * window.width / window.height});
  const auto width = std::max(1, static_cast<int32_t>(most));
  const auto height = std::max(1, static_cast<int32_t>(most * window.height / window.width));
  needs(height);
  if (draws()) {
    {
      PartCanvas part(job.canvas(), {0, y, width, y + height}, window);
      draw(part);
    }
    useFont(kBody);
  }
  y += height;
  gap();
}

// --- where it goes

namespace {

// A4 at the screen's pixels, a page below the other.
class PagesOfPicture final : public PrintJob {
 public:
  static constexpr Size kPage{794, 1123};
  explicit PagesOfPicture(Canvas& canvas) : picture(canvas) { (void)nextPage(); }
  Size pageSize() const override { return {kPage.width - 2 * kMargin, kPage.height - 2 * kMargin}; }
  double pixelsPerInch() const override { return 96; }
  Canvas& canvas() override { return *page; }
  bool nextPage() override {
    page.reset();
    const int32_t top = begun++ * kPage.height;
    picture.fill({0, top, kPage.width, top + kPage.height}, 0xffffff);
    const Rect place{kMargin, top + kMargin, kPage.width - kMargin, top + kPage.height - kMargin};
    page.emplace(picture, place, Size{place.width(), place.height()});
    return true;
  }
  int32_t count() const { return begun; }

 private:
  static constexpr int32_t kMargin = 38;
  Canvas& picture;
  std::optional<PartCanvas> page;
  int32_t begun = 0;
};

void drawReport(PrintJob& job, const ReportContent& content) {
  if (job.pageSize().width < 1 || job.pageSize().height < 1) return;
  const std::string foot = footOfToday();
  const auto count = [&](int32_t total) {
    ReportPages pages(job, foot, total);
    content(pages);
    return pages.count();
  };
  count(count(0));
}

}  // namespace

Outcome writeReport(const std::string& path, const std::string& title, const ReportContent& content) {
  if (Outcome may = theApp().documents.mayOutputTo(path); !may) return may;
  if (equalIgnoringCase(extensionOf(path), "pdf"))
    return host().printer.writePdf(path, title, [&](PrintJob& job) { drawReport(job, content); });
  // How many pages there are is known once they were drawn.
  int32_t room = 1, count = 1;
  const auto write = [&] {
    const Size size{PagesOfPicture::kPage.width, PagesOfPicture::kPage.height * room};
    return host().pictures.write(path, size, [&](Canvas& canvas) {
      PagesOfPicture job(canvas);
      drawReport(job, content);
      count = job.count();
    });
  };
  Outcome done = write();
  if (done && count > room) {
    room = count;
    done = write();
  }
  return done;
}

}  // namespace tarnvisor

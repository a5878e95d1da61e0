// The pages of a report: headings, lines, tables and pictures down an A4 page and on over the next ones, with
// a foot below each. Drawn on a printer's canvas alone.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "base/outcome.h"
#include "framework/reportpart.h"
#include "host/printer.h"

namespace tarnvisor {

class ReportPages {
 public:
  // total: the pages that there will be, for the foot; 0 draws nothing and only counts them.
  ReportPages(PrintJob& target, std::string footWords, int32_t total);
  ~ReportPages();
  ReportPages(const ReportPages&) = delete;
  ReportPages& operator=(const ReportPages&) = delete;

  // Whose the pages are that begin from now on, in one line above each: sheets get mixed.
  void beginPagesOf(std::string words) { whose = std::move(words); }
  void title(const std::string& words);
  // Stays with some lines of what follows it, or with so much of it, in pixels.
  void heading(const std::string& words, int32_t below = 0);
  void paragraph(const std::string& text);
  void caution(const std::string& text);  // what a reader must not overlook
  void facts(const std::vector<SideFact>& all);
  // In blocks of columns where it is wider than the page, and in parts side by side where it is narrow. More
  // rows than `most` are counted, and told.
  void table(const ReportTable& shown, size_t most);
  // A picture of a window of that size, at most as high as that share of the page; on the next page where it
  // doesn't fit. draw takes coordinates of the window.
  int32_t heightOf(Size window, double mostOfHeight) const { return sizeOf(window, mostOfHeight).height; }
  void picture(Size window, double mostOfHeight, const std::function<void(Canvas&)>& draw);
  void gap();
  void newPage();  // unless this one is empty
  int32_t count() const { return number; }
  // Of what stands on a page, in pixels of a screen: what fills its window is given this width.
  static constexpr int32_t kScreenWidth = 900;

 private:
  struct Block {
    std::vector<size_t> columns;
    std::vector<int32_t> widths;
  };
  void useFont(int32_t tenthsOfPoint);
  void write(const std::string& text, int32_t left, int32_t right, Colour colour);
  std::vector<Block> blocksOf(const ReportTable& shown, size_t rows);
  void writeBlock(const ReportTable& shown, const Block& block, size_t rows);
  using Cells = std::vector<std::string>;
  // Rows of parts that stand side by side; null for the heading.
  void writeCells(const ReportTable& shown, const Block& block, const std::vector<const Cells*>& parts);
  Size sizeOf(Size window, double mostOfHeight) const;
  void needs(int32_t height);  // turns the page where it isn't there
  int32_t bottom() const;
  void rule(int32_t at, Colour colour);
  void writeFoot();
  void writeWhose();
  bool draws() const { return pages > 0 && !gaveUp; }

  PrintJob& job;
  std::string foot;
  int32_t pages;
  Size page;
  std::string whose;
  int32_t begin = 0;  // of what is written on the page, below whose it is
  int32_t y = 0, line = 1, footLine = 1;
  int32_t number = 1;
  bool gaveUp = false;
};

// What a report consists of, written page by page: called once to count the pages, and again for each
// drawing.
using ReportContent = std::function<void(ReportPages&)>;
// As pdf, or as a picture of all pages below each other, as the path's ending names it. What the program, its
// settings and the day were stands in the foot. Files in use are refused.
[[nodiscard]] Outcome writeReport(const std::string& path, const std::string& title,
                                  const std::vector<std::string>& kinds, const ReportContent& content);

}  // namespace tarnvisor

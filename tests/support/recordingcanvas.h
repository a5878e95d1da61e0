// A canvas that writes down each call as one line of text.
#pragma once

#include "base/text.h"
#include "host/canvas.h"
#include "host/host.h"
#include "support/testing.h"

namespace tarnvisor {

class RecordingCanvas : public Canvas {
 public:
  std::vector<std::string> calls;
  std::vector<uint32_t> lastPixels;  // of the block drawn last
  bool printer = false;

  void setPen(const Pen& pen) override {
    calls.push_back(format("pen %x width %i%s", pen.colour, pen.width, pen.dashed ? " dashed" : ""));
  }
  void polyline(std::span<const Point> points) override { record("polyline", points); }
  void polygon(std::span<const Point> points) override { record("polygon", points); }
  void rectangle(const Rect& r) override { record("rectangle", r); }
  void ellipse(const Rect& r) override { record("ellipse", r); }
  void point(Point at) override { record("point", std::span(&at, 1)); }
  void text(Point at, const std::string& words, Colour colour) override {
    calls.push_back(format("text %i,%i %x \"%s\"", at.x, at.y, colour, words.c_str()));
  }
  void fill(const Rect& r, Colour colour) override {
    calls.push_back(format("fill %i,%i-%i,%i %x", r.left, r.top, r.right, r.bottom, colour));
  }
  void fillPolygon(std::span<const Point> points, Colour) override { record("fillpolygon", points); }
  void pixels(const PixelBlock& block, const Rect& r) override {
    lastPixels.clear();
    for (int32_t y = 0; y < block.height; ++y)
      lastPixels.insert(lastPixels.end(), block.first + y * block.stride,
                        block.first + y * block.stride + block.width);
    calls.push_back(
        format("pixels %ix%i %i,%i-%i,%i", block.width, block.height, r.left, r.top, r.right, r.bottom));
  }
  void setFont(const std::string& family, int32_t tenthsOfPoint) override {
    calls.push_back(format("font \"%s\" %i", family.c_str(), tenthsOfPoint));
  }
  Size textSize(const std::string& words) const override {
    return {7 * static_cast<int32_t>(words.size()), 16};
  }
  bool isPrinter() const override { return printer; }
  void setClip(const Rect& r) override { record("clip", r); }

 private:
  void record(const char* what, std::span<const Point> points) {
    std::string line = what;
    for (const Point& p : points) line += format(" %i,%i", p.x, p.y);
    calls.push_back(line);
  }
  void record(const char* what, const Rect& r) {
    calls.push_back(format("%s %i,%i-%i,%i", what, r.left, r.top, r.right, r.bottom));
  }
};

// A printer that keeps its pages.
class RecordingJob final : public PrintJob {
 public:
  explicit RecordingJob(Size size) : page(size), pages(1) {}
  Size pageSize() const override { return page; }
  double pixelsPerInch() const override { return 254; }
  Canvas& canvas() override { return pages.back(); }
  bool nextPage() override {
    if (static_cast<int>(pages.size()) >= mostPages) return false;
    pages.emplace_back();
    return true;
  }
  // The texts of a page, without where they stand.
  std::vector<std::string> texts(size_t index) const {
    std::vector<std::string> found;
    for (const std::string& call : pages[index].calls)
      if (call.starts_with("text ") && call.find(" 0 \"") != std::string::npos)
        found.push_back(call.substr(call.find('"') + 1, call.rfind('"') - call.find('"') - 1));
    return found;
  }
  Size page;
  std::vector<RecordingCanvas> pages;
  int mostPages = 100;
};

}  // namespace tarnvisor

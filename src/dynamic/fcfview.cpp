#include "dynamic/fcfview.h"

#include <algorithm>

#include "analysis/profile.h"
#include "base/text.h"
#include "image/palette.h"

namespace tarnvisor {

namespace {
constexpr int32_t kMargin = 12;
constexpr Size kLegend{204, 72};
constexpr Size kLegendRoom{kLegend.width + 2 * kMargin, kLegend.height + 2 * kMargin};
}  // namespace

std::vector<StatusPane> fcfview::panes() const {
  std::vector<StatusPane> all = ZBasicView::panes();
  const bool isOver = doc.hasImage() && doc.theImage()->frameRect().contains(position);
  for (StatusPane& pane : all)
    if (pane.name == "pixel" && isOver)
      pane.text =
          format("pixel=%3li gain=%f",
                 static_cast<long>(greyLevelAt(*doc.theImage(), position - doc.imageOrigin())), doc.gain);
  all.push_back({"value", isOver ? format("%s=%.4f %s", fcfdoc::nameOf(doc.viewShown),
                                          doc.shownValueAt(position), fcfdoc::unitOf(doc.viewShown))
                                 : std::string()});
  all.push_back({"fcd", doc.hasMaps() ? format("FCD=%.2f%% threshold=%.2f", doc.figures().fcd, doc.threshold)
                                      : std::string()});
  return all;
}

void fcfview::draw(Canvas& canvas) {
  ZBasicView::draw(canvas);
  if (doc.hasImage() && doc.hasMaps()) drawLegend(canvas);
}

// On a picture the scale takes a quarter at most.
bool fcfview::hidesPicture() const {
  const Size picture = ZBasicView::contentSize();
  return 4 * int64_t{kLegend.width} * kLegend.height > int64_t{picture.width} * picture.height;
}

Size fcfview::contentSize() const {
  const Size picture = ZBasicView::contentSize();
  if (!doc.hasImage() || !doc.hasMaps() || !hidesPicture()) return picture;
  return {std::max(picture.width, kLegendRoom.width), picture.height + kLegendRoom.height};
}

// Where its window leaves room beside the picture or below; else at the bottom left.
Point fcfview::legendCorner(Size panel) const {
  const Size picture = ZBasicView::contentSize(), area = windowSize();
  if (hidesPicture()) return Point{kMargin, picture.height + kMargin} - scrollPosition();
  if (area.width - picture.width >= kLegendRoom.width) return {picture.width + kMargin, kMargin};
  if (area.height - picture.height >= kLegendRoom.height) return {kMargin, picture.height + kMargin};
  return {kMargin, area.height - kMargin - panel.height};
}

// The map's name and unit over a bar of its colours, with the values at their ends.
void fcfview::drawLegend(Canvas& canvas) const {
  constexpr int32_t kInside = 6, kLength = 192, kThickness = 12;
  constexpr Colour kPanel = 0x202020, kInk = 0xffffff;
  canvas.setFont("", 90);
  const std::string name = format("%s [%s]", fcfdoc::nameOf(doc.viewShown), fcfdoc::unitOf(doc.viewShown));
  const std::string greatest = format("%.3g", 255 / doc.gain);
  const Size words = canvas.textSize(name), last = canvas.textSize(greatest);
  const Size panel{std::max(kLength, words.width) + 2 * kInside, 2 * words.height + kThickness + 4 * kInside};
  const Point corner = legendCorner(panel);
  canvas.fill({corner.x, corner.y, corner.x + panel.width, corner.y + panel.height}, kPanel);
  const int32_t left = corner.x + kInside, top = corner.y + 2 * kInside + words.height;
  canvas.text({left, corner.y + kInside}, name, kInk);
  const Palette& palette = doc.theImage()->header().palette;
  for (int32_t x = 0; x < kLength; ++x) {
    const PaletteEntry& level = palette[static_cast<size_t>(x * 255 / (kLength - 1))];
    canvas.fill({left + x, top, left + x + 1, top + kThickness},
                static_cast<Colour>(level.red | level.green << 8 | level.blue << 16));
  }
  canvas.text({left, top + kThickness + kInside}, "0", kInk);
  canvas.text({left + kLength - last.width, top + kThickness + kInside}, greatest, kInk);
}

}  // namespace tarnvisor

#include "dynamic/fcfview.h"

#include <algorithm>

#include "base/text.h"
#include "image/palette.h"
#include "imagedoc/levelchart.h"

namespace tarnvisor {

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

// At the bottom left: the map's name and unit over a bar of its colours, with the values at their ends.
void fcfview::drawLegend(Canvas& canvas) const {
  constexpr int32_t kMargin = 12, kInside = 6, kLength = 192, kThickness = 12;
  constexpr Colour kPanel = 0x202020, kInk = 0xffffff;
  canvas.setFont("", 90);
  const std::string name = format("%s [%s]", fcfdoc::nameOf(doc.viewShown), fcfdoc::unitOf(doc.viewShown));
  const std::string greatest = format("%.3g", 255 / doc.gain);
  const Size words = canvas.textSize(name), last = canvas.textSize(greatest);
  const int32_t inner = std::max(kLength, words.width);
  const int32_t bottom = windowSize().height - kMargin;
  const Rect panel{kMargin, bottom - 2 * words.height - kThickness - 4 * kInside,
                   kMargin + inner + 2 * kInside, bottom};
  canvas.fill(panel, kPanel);
  const int32_t left = panel.left + kInside, top = panel.top + 2 * kInside + words.height;
  canvas.text({left, panel.top + kInside}, name, kInk);
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

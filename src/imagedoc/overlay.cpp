#include "imagedoc/overlay.h"

#include <array>
#include <cmath>

#include "base/text.h"
#include "imagedoc/grid.h"
#include "imagedoc/zbasicdoc.h"
#include "settings/settings.h"

namespace tarnvisor {

namespace {

constexpr Colour kRoiColour = 0xffff;
constexpr Colour kTargetColour = 0xff;
constexpr int32_t kTargetHalf = 20;
constexpr Colour kOriginColour = 0xff00;
constexpr int32_t kOriginHalf = 5;

void drawDimensions(Canvas& canvas, const ZBasicDoc& document, int32_t selected) {
  if (canvas.isPrinter())
    canvas.setFont(settings.getString("settings", "overlayfont", "Arial"),
                   settings.getInt("settings", "overlayptsz", 100));
  const bool labels = drawsLabels();
  for (int32_t i = 0; i < kListCount; ++i)
    if (i != document.currentlist) document.dimlists[static_cast<size_t>(i)].draw(canvas, -1, labels);
  document.currentDims().draw(canvas, selected, labels);
  if (!document.loopDensityText().empty())
    drawLoopStretches(canvas, document.dimlists[kNailfoldList], document.loopScale());
}

}  // namespace

bool drawsLabels() { return settings.getInt("settings", "marklabels", 1) != 0; }
void setDrawsLabels(bool on) { settings.setInt("settings", "marklabels", on); }

void drawGappedCross(Canvas& canvas, Point at, int32_t halfSize, Colour colour) {
  canvas.setPen({colour, 1, false});
  const auto arm = [&](int32_t dx, int32_t dy) {
    const std::array<Point, 2> ends{{at + Point{dx * halfSize, dy * halfSize}, at + Point{dx, dy}}};
    canvas.polyline(ends);
  };
  arm(-1, 0);
  arm(1, 0);
  arm(0, -1);
  arm(0, 1);
}

void drawOverlays(ZoomCanvas& canvas, const ZBasicDoc& document, int32_t selected, const Rect& visible) {
  if (document.gridshow) drawGrid(canvas, document, visible);
  if (!document.roi.isEmpty()) {
    canvas.setPen({kRoiColour, 1, false});
    document.hasCircularRoi() ? canvas.ellipse(document.roi) : canvas.rectangle(document.roi);
  }
  if (document.showtarget) drawGappedCross(canvas, document.target, kTargetHalf, kTargetColour);
  drawGappedCross(canvas, document.imageoffset, kOriginHalf, kOriginColour);
  drawDimensions(canvas, document, selected);
}

ScaleBar scaleBarFor(const ZBasicDoc& document, int32_t zoomnum, int32_t zoomden, int32_t windowWidth) {
  constexpr int32_t kNarrowestWindow = 40;
  const double unitsPerPixel = document.scale().x * zoomden / zoomnum;  // of the window
  const double longest = unitsPerPixel * windowWidth / 4;
  if (windowWidth < kNarrowestWindow || !std::isfinite(longest) || longest < 1e-100) return {};
  const double power = std::pow(10.0, std::floor(std::log10(longest)));
  ScaleBar bar;
  // One step less than the power too: its logarithm may have been rounded up.
  for (const double factor : {0.5, 1.0, 2.0, 5.0, 10.0})
    if (factor * power <= longest) bar.units = factor * power;
  bar.pixels = static_cast<int32_t>(std::lround(bar.units / unitsPerPixel));
  bar.label = format("%g %s", bar.units, document.unitName().c_str());
  return bar;
}

void drawScaleBar(Canvas& canvas, const ScaleBar& bar, const Rect& area) {
  if (bar.units <= 0) return;
  constexpr Colour kPanel = 0x202020, kInk = 0xffffff;
  canvas.setFont("", 90);
  const Size words = canvas.textSize(bar.label);
  // On paper as large as beside the same words on the screen.
  const int32_t fine = std::max(1, words.height / 14);
  const int32_t margin = 12 * fine, inside = 6 * fine, thickness = 4 * fine;
  const int32_t inner = std::max(bar.pixels, words.width);
  const Rect panel{area.right - margin - inner - 2 * inside,
                   area.bottom - margin - words.height - thickness - 3 * inside, area.right - margin,
                   area.bottom - margin};
  canvas.fill(panel, kPanel);
  const int32_t middle = panel.left + panel.width() / 2;
  canvas.text({middle - words.width / 2, panel.top + inside}, bar.label, kInk);
  const int32_t left = middle - bar.pixels / 2;
  const int32_t bottom = panel.bottom - inside;
  canvas.fill({left, bottom - thickness, left + bar.pixels, bottom}, kInk);
}

void drawBeside(Canvas& canvas, Point at, const std::string& words, Size window) {
  constexpr int32_t kAway = 18, kInside = 4;
  constexpr Colour kPanel = 0x202020, kInk = 0xffffff;
  canvas.setFont("", 90);
  const Size size = canvas.textSize(words);
  const Size panel{size.width + 2 * kInside, size.height + 2 * kInside};
  const auto placed = [](int32_t mouse, int32_t length, int32_t room) {
    return mouse + kAway + length <= room ? mouse + kAway : std::max(0, mouse - kAway - length);
  };
  const Point corner{placed(at.x, panel.width, window.width), placed(at.y, panel.height, window.height)};
  canvas.fill({corner.x, corner.y, corner.x + panel.width, corner.y + panel.height}, kPanel);
  canvas.text(corner + Point{kInside, kInside}, words, kInk);
}

}  // namespace tarnvisor

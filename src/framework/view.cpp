#include "framework/view.h"

#include "framework/document.h"

namespace tarnvisor {

namespace {
constexpr int32_t kWheelLines = 3;
}

ViewSite& CView::site() const {
  static ViewSite nowhere;
  return windowSite ? *windowSite : nowhere;
}

bool CView::isBusy() const { return shownDocument.isBusy(); }
bool CView::refuses(int32_t command) const { return shownDocument.refuses(command); }
std::string CView::whyOff(int32_t command, const char* usual) const {
  return shownDocument.whyOff(command, usual);
}

void CView::attach(ViewSite* newSite) { windowSite = newSite; }

void CView::setWindowSize(Size size) {
  window = size;
  onSize();
  contentChanged();
}

void CView::scrollTo(Point wanted) {
  const Size content = contentSize();
  const bool centres = centresContent() && content != Size{};
  const auto kept = [&](int32_t at, int32_t extent, int32_t room) {
    return extent > room ? std::clamp(at, 0, extent - room) : centres ? -((room - extent) / 2) : 0;
  };
  scroll = {kept(wanted.x, content.width, window.width), kept(wanted.y, content.height, window.height)};
  site().scrollChanged();
  redraw();
}

void CView::wheel(const WheelEvent& event) {
  const int32_t distance = -event.steps * kWheelLines * lineStep();
  scrollTo(event.shift ? Point{scroll.x + distance, scroll.y} : Point{scroll.x, scroll.y + distance});
}

bool CView::keyDown(const KeyEvent& event) {
  switch (event.key) {
    case Key::Left:
      scrollTo({scroll.x - lineStep(), scroll.y});
      return true;
    case Key::Right:
      scrollTo({scroll.x + lineStep(), scroll.y});
      return true;
    case Key::Up:
      scrollTo({scroll.x, scroll.y - lineStep()});
      return true;
    case Key::Down:
      scrollTo({scroll.x, scroll.y + lineStep()});
      return true;
    case Key::PageUp:
      scrollTo({scroll.x, scroll.y - window.height});
      return true;
    case Key::PageDown:
      scrollTo({scroll.x, scroll.y + window.height});
      return true;
    case Key::Home:
      scrollTo({0, 0});
      return true;
    case Key::End:
      scrollTo({scroll.x, contentSize().height});
      return true;
    default:
      return false;
  }
}

ReportPart CView::reportPart() {
  ReportPart part{.hasPicture = hasPicture(),
                  .fillsWindow = contentSize() == Size{} || contentSize() == window};
  if (const SidePanel* panel = sidePanel()) part.facts = panel->facts();
  return part;
}

// What has no size of its own, or fills its window, is as large as that.
Size CView::pictureSize(int32_t times) const {
  const Size content = contentSize();
  return content == Size{} || content == window ? Size{window.width * times, window.height * times} : content;
}

void CView::drawPicture(Canvas& canvas, Size size, const PictureWish&) {
  const Size shown = window;
  const Point at = scroll;
  window = size;
  scroll = {};
  draw(canvas);
  window = shown;
  scroll = at;
}

}  // namespace tarnvisor

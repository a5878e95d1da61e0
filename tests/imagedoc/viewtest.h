// An image view in a window that only takes notes, and the mouse over it in image pixels.
#pragma once

#include "imagedoc/zbasicview.h"
#include "support/imagedoctest.h"

namespace tarnvisor {

struct NotingSite final : ViewSite {
  Size frame;
  bool captured = false;
  Cursor cursor = Cursor::Arrow;
  void captureMouse(bool on) override { captured = on; }
  void setCursor(Cursor wanted) override { cursor = wanted; }
  void resizeFrame(Size size) override { frame = size; }
};

class ViewTest : public ImageDocTest {
 protected:
  void SetUp() override {
    ImageDocTest::SetUp();
    tool = kToolNone;
  }
  void TearDown() override {
    if (view) view->attach(nullptr);
    tool = kToolNone;
  }

  ZBasicDoc& show(int32_t width = 200, int32_t height = 160) {
    if (view) view->attach(nullptr);
    ZBasicDoc& d = makeImage(width, height);
    view = static_cast<ZBasicView*>(d.views().front().get());
    view->attach(&site);
    view->setWindowSize({width, height});
    d.setModified(false);
    return d;
  }

  MouseEvent at(Point p, MouseButton button = MouseButton::Left, bool shift = false) const {
    return {view->toWindow(p), button, shift, false};
  }
  void down(Point p, MouseButton button = MouseButton::Left) { view->mouseDown(at(p, button)); }
  void move(Point p, MouseButton button = MouseButton::Left) { view->mouseMove(at(p, button)); }
  void up(Point p, MouseButton button = MouseButton::Left) { view->mouseUp(at(p, button)); }
  void click(Point p, bool shift = false) {
    view->mouseDown(at(p, MouseButton::Left, shift));
    up(p);
  }
  void pull(const std::vector<Point>& path) {
    down(path.front());
    for (size_t i = 1; i < path.size(); ++i) move(path[i]);
    up(path.back());
  }
  void doubleClick(Point p) {
    click(p);
    view->mouseDouble(at(p));
    up(p);
  }
  bool key(Key k) { return view->keyDown({k, false, false}); }

  std::string pane(const std::string& name) const {
    for (const StatusPane& p : view->panes())
      if (p.name == name) return p.text;
    return "no such pane";
  }
  bool isViewCommandEnabled(const std::string& command) const {
    return view->commands()->find(std::string_view(command))->enabled(*view);
  }
  bool isTicked(const std::string& command) const {
    return view->commands()->find(std::string_view(command))->ticked(*view);
  }

  NotingSite site;
  ZBasicView* view = nullptr;
};

}  // namespace tarnvisor

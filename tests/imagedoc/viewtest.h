// An image view in a window that only takes notes, and the mouse over it told in words.
#pragma once

#include "imagedoc/zbasicview.h"
#include "support/imagedoctest.h"

namespace tarnvisor {

struct NotingSite final : ViewSite {
  Size frame;
  bool captured = false;
  int32_t drawings = 0;
  void redraw() override { ++drawings; }
  Cursor cursor = Cursor::Arrow;
  void captureMouse(bool on) override { captured = on; }
  void setCursor(Cursor wanted) override { cursor = wanted; }
  void resizeFrame(Size size) override { frame = size; }
};

class ImageView : public ImageDocument {
 protected:
  void SetUp() override {
    ImageDocument::SetUp();
    tool = kToolNone;
  }
  void TearDown() override {
    if (view) view->attach(nullptr);
    tool = kToolNone;
  }

  ZBasicDoc& show(Size image = {200, 160}, Size window = {200, 160}) {
    if (view) view->attach(nullptr);
    ZBasicDoc& d = makeImage(image.width, image.height);
    view = static_cast<ZBasicView*>(d.views().front().get());
    view->attach(&site);
    view->setWindowSize(window);
    d.setModified(false);
    return d;
  }

  // Words in order: "click", "shift", "double", "down", "move", "up", each before any number of places "x,y"
  // in image pixels, "ctrldown" and "shiftdown" with those keys held; and the keys "Escape", "Enter",
  // "Delete", each true if the view had a use for it.
  bool play(const std::string& script) {
    bool used = false;
    std::string verb;
    for (const std::string& word : split(script, ' ')) {
      Point p;
      if (std::sscanf(word.c_str(), "%d,%d", &p.x, &p.y) == 2)
        act(verb, {view->toWindow(p), MouseButton::Left, verb.starts_with("shift"), verb == "ctrldown"});
      else if (word == "Escape" || word == "Enter" || word == "Delete")
        used = key(word == "Escape" ? Key::Escape : word == "Enter" ? Key::Enter : Key::Delete);
      else
        verb = word;
    }
    return used;
  }
  void act(const std::string& verb, const MouseEvent& event) {
    if (verb == "click" || verb == "shift" || verb.ends_with("down")) view->mouseDown(event);
    if (verb == "double") view->mouseDouble(event);
    if (verb == "move") view->mouseMove(event);
    if (!verb.ends_with("down") && verb != "move") view->mouseUp(event);
  }
  bool key(Key k) { return view->keyDown({k, false, false}); }

  // What isn't 0 or empty of tool, drag mode and ROI; then the current list's dimensions: the fifth letter of
  // the kind, "*" before the one selected in the view, "+" before those that the user toggled.
  std::string state() const {
    const ZBasicDoc& d = view->imageDocument();
    std::string text;
    if (tool) text += format("tool%i ", tool);
    if (view->dragmode) text += format("drag%i ", view->dragmode);
    if (!d.roi.isZero()) text += format("roi%i,%i,%i,%i ", d.roi.left, d.roi.top, d.roi.right, d.roi.bottom);
    for (int32_t i = 0; i < d.currentDims().size(); ++i) {
      const CDim& dim = d.currentDims().at(i);
      text += std::string(i == view->selected ? "*" : "") + (dim.selected ? "+" : "");
      text += dim.classRecord().name[4];
      for (const Point& p : dim.points) text += format("%i,%i ", p.x, p.y);
    }
    return std::string(trimmed(text));
  }
  // All texts, "|" between.
  std::string panes() const {
    std::string all;
    for (const StatusPane& p : view->panes()) all += (p.name == "position" ? "" : "|") + p.text;
    return all;
  }
  const CommandRow& command(const std::string& text) const { return *view->commands()->find(text); }
  bool canRun(const std::string& text) const { return command(text).enabled(*view); }
  bool isTicked(const std::string& text) const { return command(text).ticked(*view); }

  NotingSite site;
  ZBasicView* view = nullptr;
};

}  // namespace tarnvisor

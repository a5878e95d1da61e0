// A view: how a document is shown, headless. A window draws it through draw() and feeds it mouse and keys as
// plain records; it holds everything that a view knows, its scroll position included. A test hosts the same
// view.
//
// Window coordinates: pixels of the area that the view draws in, its top left being (0, 0).
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "base/geometry.h"
#include "base/lengthunits.h"
#include "framework/command.h"
#include "framework/reportpart.h"
#include "framework/scripttarget.h"
#include "host/canvas.h"

namespace tarnvisor {

class CDocument;
class SidePanel;

enum class MouseButton { None, Left, Middle, Right };

struct MouseEvent {
  Point at;                                // window coordinates; may lie outside while the mouse is captured
  MouseButton button = MouseButton::Left;  // the one that changed; of a move the one held down, or None
  bool shift = false;
  bool control = false;
};

struct WheelEvent {
  Point at;
  int32_t steps = 0;  // positive away from the user
  bool shift = false;
  bool control = false;
};

enum class Key {
  Other,
  Escape,
  Enter,
  Delete,
  Left,
  Right,
  Up,
  Down,
  PageUp,
  PageDown,
  Home,
  End,
  Plus,
  Minus,
  Space
};

struct KeyEvent {
  Key key = Key::Other;
  bool shift = false;
  bool control = false;
};

enum class Cursor {
  Arrow,
  Cross,
  OpenHand,
  ClosedHand,
  Hand,  // that points
  Move,
  SizeAcross,
  SizeUpDown,
  SizeFalling,  // from the top left to the bottom right
  SizeRising,
  Wait
};

// What a view asks of its window. A view without a window has one that does nothing.
class ViewSite {
 public:
  virtual ~ViewSite() = default;
  virtual void redraw() {}         // soon; many calls make one drawing
  virtual void redrawNow() {}      // before it returns
  virtual void scrollChanged() {}  // the position, the content's size or what is shown of it
  virtual void panesChanged() {}   // the status texts
  virtual void setCursor(Cursor) {}
  virtual void captureMouse(bool) {}  // moves and the release come in even from outside
  virtual void setFocus() {}
  // Makes the frame as large as this content needs, as far as the main window has room.
  virtual void resizeFrame(Size) {}
};

struct StatusPane {
  std::string name;  // "position", "zoom"...: the same pane keeps its name
  std::string text;
};

// Of a picture of a view that fills whatever window it gets.
inline constexpr Size kPlainWindow{960, 600};

// What goes into a picture of a view.
struct PictureWish {
  int32_t times = 1;  // pixels across one of the view's content
  bool overlays = true;
  bool scaleBar = false;
};

class CView : public CommandTarget, public ScriptTarget {
 public:
  explicit CView(CDocument& shown) : shownDocument(shown) {}
  CDocument& document() const { return shownDocument; }
  // As long as its document is: its window passes no mouse and no keys on, but for Escape, which ends the
  // work.
  bool isBusy() const override;
  bool refuses(int32_t command) const override;
  std::string whyOff(int32_t command, const char* usual) const override;
  const CDocument* documentOfCommands() const override { return &shownDocument; }

  // --- told by the document and the window: what changed, so that a view keeps what it has made of the rest
  enum class Change { All, Pixels, Marks, Selection };
  virtual void onUpdate(Change) { redraw(); }
  virtual void onActivate() {}    // its window came to the front
  void attach(ViewSite* window);  // null when the window goes
  void setWindowSize(Size size);
  Size windowSize() const { return window; }
  void redrawNow() { site().redrawNow(); }  // before it returns
  // Draws what the window shows.
  virtual void draw(Canvas&) {}
  // On a dark desktop its window is dark too; pages and pictures stay as they are. Not for what shows pixels.
  virtual bool followsTheme() const { return false; }
  virtual void mouseDown(const MouseEvent&) {}
  virtual void mouseMove(const MouseEvent&) {}
  virtual void mouseLeft() {}  // the window, no button being held
  virtual void mouseUp(const MouseEvent&) {}
  virtual void mouseDouble(const MouseEvent&) {}
  // Scrolls, unless a view has its own use for the wheel.
  virtual void wheel(const WheelEvent& event);
  // False when the view has no use for the key; the arrow and page keys scroll.
  virtual bool keyDown(const KeyEvent& event);

  // --- what the window shows beside the drawing
  virtual std::vector<StatusPane> panes() const { return {}; }

  // What the dock beside the windows shows while this one is in front; null for nothing. The view's own.
  virtual SidePanel* sidePanel() { return nullptr; }
  // Where there are several; the first is that one.
  virtual std::vector<SidePanel*> sidePanels() {
    SidePanel* only = sidePanel();
    return only ? std::vector{only} : std::vector<SidePanel*>{};
  }

  // --- scrolling: the content's pixel that lies at the window's top left
  virtual Size contentSize() const { return {}; }  // nothing to scroll over with (0, 0)
  Point scrollPosition() const { return scroll; }
  void scrollTo(Point wanted);  // kept within the content
  // What is smaller than the window lies in its middle: the scroll position is then less than 0.
  virtual bool centresContent() const { return false; }
  virtual int32_t lineStep() const { return 16; }

  // --- a sequence that the window shows a bar for
  struct Timeline {
    int32_t count = 0;  // images; 0 for no sequence
    int32_t current = 0;
    int32_t first = 0, last = 0;  // the selection, half-open
    double imagesPerSecond = 0;
  };
  virtual Timeline timeline() const { return {}; }
  virtual void goTo(int32_t) {}
  virtual void selectImages(int32_t /*first*/, int32_t /*last*/) {}  // half-open; nothing without images
  // A small picture of an image of the sequence, as wide as told, 32-bit rows without gaps; false for none.
  virtual bool thumbnail(int32_t /*index*/, int32_t /*width*/, Size& /*size*/,
                         std::vector<uint32_t>& /*pixels*/) {
    return false;
  }

  // --- as a picture file: all of the content, however far it is scrolled
  virtual bool hasPicture() const { return true; }
  virtual bool hasOverlays() const { return false; }  // they, and a scale bar, may be left out
  virtual PictureWish usualPicture() const { return {}; }
  virtual Size pictureSize(int32_t times) const;
  virtual PixelSize pixelSize() const { return {}; }  // of its content
  virtual void drawPicture(Canvas& canvas, Size size, const PictureWish& wish);

  // --- in a report: by itself the picture, if there is one, and the facts of the panel beside it
  virtual ReportPart reportPart();

  // Whether the place of its window is kept in the profile, for the next one of its class.
  virtual bool keepsPlace() const { return false; }

 protected:
  ViewSite& site() const;
  void redraw() { site().redraw(); }
  virtual void onSize() {}
  // To be called when contentSize() changed.
  void contentChanged() { scrollTo(scroll); }

 private:
  CDocument& shownDocument;
  ViewSite* windowSite = nullptr;
  Size window{640, 400};
  Point scroll;
};

}  // namespace tarnvisor

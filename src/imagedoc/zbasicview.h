// ZBasicView: shows a ZBasicDoc's image with its overlays and turns the mouse into document operations.
//
// Screen position = image position * zoomnum / zoomden, in integers, less the scroll position. All positions
// of the mouse go to image pixels first.
#pragma once

#include <string>
#include <vector>

#include "app/inputs.h"
#include "host/printer.h"
#include "imagedoc/zbasicdoc.h"
#include "imagedoc/zoomcanvas.h"

namespace tarnvisor {

class PicturePainter;

// What the mouse does, chosen from the menu and shared by all views.
enum Tool : int32_t {
  kToolNone = 0,      // select and drag a dimension, or drag to draw the ROI
  kToolDrag = 1,      // dragging the selected dimension
  kToolPan = 4,       // dragging moves the scroll position
  kToolRoi = 5,       // dragging draws the ROI
  kToolMoveRoi = 6,   // dragging inside the ROI moves it
  kToolOrigin = 7,    // click sets imageoffset
  kToolCounting = 8,  // each click adds a point
  kToolLines = 9,
  kToolPolyline = 10,
  kToolFreehand = 11,
  kToolCrosshair = 12,  // click sets and shows the target
  kToolCircle = 13,
  kToolPolygon = 14,
  kToolFreehandArea = 15,
  kToolTrace = 16,  // click traces capillaries
  kToolDust = 18,   // two corners of a rectangle in list 8
};
extern int32_t tool;

class ZBasicView : public CView, public AutoLoadSink {
 public:
  explicit ZBasicView(ZBasicDoc& document);
  ~ZBasicView() override;
  ZBasicDoc& imageDocument() const { return doc; }
  void loadImageFile(const std::string& path) override { (void)doc.adoptImageFile(path); }

  // --- zbasicview.cpp: the view's life, zoom, status texts
  void onUpdate() override;
  void onActivate() override;
  Size contentSize() const override;
  std::vector<StatusPane> panes() const override;
  Point toImage(Point window) const;
  Point toWindow(Point imagePoint) const;
  // The ratio steps; each comes back exactly.
  void zoomIn();
  void zoomOut();
  // The whole image in a window of that size, within 1/13 and 13.
  void fitTo(Size area);
  // A step of the zoom that keeps the image point under a window point where it is.
  void zoomAbout(Point window, bool in);

  // --- zbasicview_mouse.cpp
  void mouseDown(const MouseEvent& event) override;
  void mouseMove(const MouseEvent& event) override;
  void mouseUp(const MouseEvent& event) override;
  void mouseDouble(const MouseEvent& event) override;
  void wheel(const WheelEvent& event) override;
  bool keyDown(const KeyEvent& event) override;

  // --- zbasicview_draw.cpp
  void draw(Canvas& canvas) override;

  // --- zbasicview_commands.cpp
  const CommandTableBase* commands() const override;

  int32_t zoomnum = 1;
  int32_t zoomden = 1;
  int32_t selected = -1;        // in the current list; -1 for none
  int32_t secondselected = -1;  // likewise
  Point position;               // last mouse position in image pixels
  struct Rubber {
    Point from, to;  // image pixels
  } rubber;
  enum DragMode : int32_t { kNoDrag = 0, kLineRubber = 1, kRectRubber = 2, kPolylineRubber = 9 };
  int32_t dragmode = kNoDrag;
  bool showsScaleBar = false;

 private:
  ZBasicDoc& doc;
  std::unique_ptr<PicturePainter> painter;
};

}  // namespace tarnvisor

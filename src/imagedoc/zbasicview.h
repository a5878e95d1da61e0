// ZBasicView: shows a ZBasicDoc's image with its overlays and turns the mouse into document operations.
//
// Screen position = image position * zoomnum / zoomden, in integers, less the scroll position, counted from
// the image's first pixel. All positions of the mouse go to the parent frame's pixels first, in which ROI and
// marks are, and while list 7 is current down to multiples of 8.
#pragma once

#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "app/inputs.h"
#include "drawing/zoomcanvas.h"
#include "imagedoc/handles.h"
#include "imagedoc/markspanel.h"
#include "imagedoc/zbasicdoc.h"
#include "linescan/linefeed.h"

namespace tarnvisor {

class PicturePainter;

// What the mouse does, chosen from the menu and shared by all views.
enum Tool : int32_t {
  kToolNone = 0,      // select, drag and alter dimensions and the ROI
  kToolDrag = 1,      // dragging the selected dimension, or a part of it
  kToolPan = 4,       // dragging moves the scroll position
  kToolRoi = 5,       // dragging draws the ROI
  kToolMoveRoi = 6,   // dragging the ROI's border or a part of it
  kToolOrigin = 7,    // click sets imageoffset
  kToolCounting = 8,  // each click adds a point
  kToolLines = 9,
  kToolPolyline = 10,
  kToolFreehand = 11,
  kToolCrosshair = 12,  // click sets and shows the target
  kToolCircle = 13,
  kToolPolygon = 14,
  kToolFreehandArea = 15,
  kToolTrace = 16,   // click traces capillaries
  kToolDust = 18,    // two corners of a rectangle in list 8
  kToolReview = 19,  // click takes a mark away, or adds one
};
// One for the process. The internal values 1 and 6 stand only while a button is held.
extern int32_t tool;

// Whose review was begun last: a click in another document is no correction. Only compared.
extern const ZBasicDoc* reviewed;

class ZBasicView : public CView, public AutoLoadSink {
 public:
  explicit ZBasicView(ZBasicDoc& document);
  ~ZBasicView() override;
  ZBasicDoc& imageDocument() const { return doc; }
  void loadImageFile(const std::string& path) override;
  bool isUntouched() const override;

  // --- zbasicview.cpp: the view's life, selection, zoom
  void onUpdate(Change what) override;
  void onActivate() override;
  Size contentSize() const override;
  // Between the window and the parent frame. Coordinates saturate; neither needs an image.
  Point toImage(Point windowPoint) const;
  Point toWindow(Point imagePoint) const;
  // The ratio steps from 1:1; each comes back exactly, and from between the steps it is the next. A step that
  // 32 bits can't hold is not taken: in beyond some 18, out beyond some 1/75.
  void zoomIn();
  void zoomOut();
  // The whole image in a window of that size, within 1/13 and 13, and so again whenever either changes its
  // size, until the zoom is set otherwise. Nothing without an image or area.
  void fitTo(Size area);
  // A step of the zoom that keeps the image point under a window point where it is, as far as it can be
  // scrolled there.
  void zoomAbout(Point windowPoint, bool in);
  bool centresContent() const override { return hasFrame; }

  // --- markspanel.h
  SidePanel* sidePanel() override { return &marks; }
  void takeList(int32_t list);
  void selectMarks(std::span<const size_t> rows);  // and no others

  // --- zbasicview_panes.cpp
  // "position", "pixel", "dimension", "list", "roi", "loops" and "focus" where they are wanted,
  // "magnification", "zoom", in that order; one that has nothing to say is empty.
  std::vector<StatusPane> panes() const override;

  // --- zbasicview_mouse.cpp
  void mouseDown(const MouseEvent& event) override;
  void mouseMove(const MouseEvent& event) override;
  void mouseLeft() override;
  void mouseUp(const MouseEvent& event) override;
  void mouseDouble(const MouseEvent& event) override;
  void wheel(const WheelEvent& event) override;
  bool keyDown(const KeyEvent& event) override;

  // --- zbasicview_draw.cpp
  void draw(Canvas& canvas) override;
  bool hasPicture() const override { return doc.hasImage(); }
  bool hasOverlays() const override { return true; }
  PictureWish usualPicture() const override { return {.scaleBar = showsScaleBar}; }
  Size pictureSize(int32_t times) const override;
  PixelSize pixelSize() const override { return doc.pixelSize(); }
  void drawPicture(Canvas& canvas, Size size, const PictureWish& wish) override;

  // --- zbasicview_report.cpp
  ReportPart reportPart() override;

  // --- zbasicview_commands.cpp
  static const CommandTableBase& commandTable();
  const CommandTableBase* commands() const override { return &commandTable(); }
  std::string whyOff(int32_t command, const char* usual) const override;

  int32_t zoomnum = 1;
  int32_t zoomden = 1;
  int32_t selected = -1;        // in the current list; -1 for none
  int32_t secondselected = -1;  // likewise
  Point position;               // last mouse position in the parent frame
  struct Rubber {
    Point from, to;  // in the parent frame
  } rubber;
  enum DragMode : int32_t { kNoDrag = 0, kLineRubber = 1, kRectRubber = 2, kPolylineRubber = 9 };
  int32_t dragmode = kNoDrag;
  bool showsScaleBar = false;

 protected:
  void onSize() override;
  void setZoom(int32_t num, int32_t den);  // by hand
  virtual Cursor wantedCursor() const;
  // How far the picture is drawn out of its place, with the marks where they are in their frame.
  virtual Point pictureShift() const { return {}; }
  // Whether a press would take hold of what lies under it.
  virtual bool takesHold() const { return tool == kToolNone; }
  void updateCursor();
  // In hand, whatever was before.
  void takeTool(int32_t wanted);
  LineFeed feed;  // of the view's measuring lines; who shows image after image samples them

 private:
  // What a held button does.
  enum class Grip {
    None,
    Scroll,
    Dimension,
    Part,  // of a dimension
    MoveRoi,
    ReshapeRoi,
    MayDrawRoi,
    DrawRoi,
    Band,  // that selects
    FirstCorner,
    Freehand
  };

  // zbasicview.cpp
  uint64_t changesWhenLoaded = 0;
  bool hasImage() const { return doc.hasImage(); }
  bool hasSelection() const { return doc.currentDims().isValid(selected); }
  bool hasAnySelection() const { return !doc.currentDims().selection(selected).empty(); }
  void clearSelections() { selected = secondselected = -1; }
  void selectionChanged();
  void checkSelections();
  void showFirst();
  void keepFitted();
  void takeStep(bool in);
  Point windowCentre() const { return {windowSize().width / 2, windowSize().height / 2}; }
  Rect banded() const { return Rect{rubber.from.x, rubber.from.y, rubber.to.x, rubber.to.y}.normalised(); }

  // zbasicview_panes.cpp
  mutable std::optional<double> focusShown;  // measured when it is first told, of the image as it is
  std::string focusText() const;

  // zbasicview_mouse.cpp
  void takePosition(Point windowPoint);
  Aim aimAt(Point windowPoint) const;  // within five pixels of the window
  Point withinImage(Point imagePoint) const;
  void hold(Grip wanted);
  void releaseGrip();
  void cancelGrip();
  void beginScroll(const MouseEvent& event);
  void press(const MouseEvent& event);
  void pressWithoutTool(const MouseEvent& event);
  void pressHandle();
  void beginRoi(Point from, bool chosen);
  void meet(const Handle& under);
  void endGrip(const MouseEvent& event);
  void endDragDimension();
  void endReshape(std::vector<std::unique_ptr<CDim>> shapes);
  void selectBand(const Rect& band);
  void walkOn(Point windowPoint);
  bool nudge(const KeyEvent& event);
  bool escape();
  // What is in hand, as it would be if the button went up here: the dimensions that move, change or grow, and
  // the ROI.
  std::vector<std::unique_ptr<CDim>> dimensionsToBe() const;
  Rect roiToBe() const;
  bool holdsRoi() const { return grip == Grip::MoveRoi || grip == Grip::ReshapeRoi || grip == Grip::DrawRoi; }
  Point draggedBy() const { return position - rubber.from; }
  // One step of Undo.
  template <class Work>
  void edit(const Work& work) {
    {
      const ZBasicDoc::Change change(doc);
      work();
      doc.setModified();
    }
    doc.updateAllViews(Change::Marks);
  }

  // zbasicview_draw.cpp
  void drawRejected(Canvas& zoomed) const;
  void drawHovered(Canvas& canvas, Canvas& zoomed) const;
  void drawInHand(Canvas& canvas, Canvas& zoomed) const;
  std::string figures() const;

  // zbasicview_shapes.cpp: dimensions that grow click by click
  static int32_t shapeType();
  bool growsByClicks() const { return drawnWith == kToolPolyline || drawnWith == kToolPolygon; }
  bool isShapeAlive() const;
  void clickShape();
  void beginShape();
  void addShapePoint();
  void addFreehandPoint();
  void finishShape();
  void abandonShape();
  std::unique_ptr<CDim> takeShapeBack();
  bool holdsFound(int32_t list) const;
  void keepCountApart();
  void traceCapillaries();

  // zbasicview_commands.cpp
  template <int32_t T>
  void choose() {
    chooseTool(T);
  }
  template <int32_t T>
  bool isChosen() const {
    return tool == T;
  }
  void chooseTool(int32_t wanted);
  void chooseDustTool();
  bool editsDustMask() const { return tool == kToolDust && doc.currentlist != kAmcList; }
  void runOnDocument(int32_t command);
  void zoomInCommand() { zoomAbout(windowCentre(), true); }
  void zoomOutCommand() { zoomAbout(windowCentre(), false); }
  void fitCommand() { fitTo(windowSize()); }
  void actualSize();
  void toggleScaleBar();
  bool hasScaleBar() const { return showsScaleBar; }
  void deleteSelected();
  void selectAll();
  bool hasMarks() const { return !doc.currentDims().items.empty() && !doc.currentDims().hidden; }
  void switchList();
  void setLineWidth();
  void rotateSelected();
  void copy();
  void paste();
  void pastePicture(std::span<const uint8_t> bitmap);
  void imageResults();
  bool hasImageResults() const;
  void dimensionList();
  void histogram();
  void greyLevel();
  bool canShowGreyLevel() const { return hasImage() && hasSelection(); }
  bool canScan() const;
  bool isScanned() const { return feed.isFeeding(); }
  bool isScannedTwice() const { return feed.isTwo(); }
  void takeMeasuringLine();
  void takeSecondMeasuringLine();
  void takeLine(bool isSecond);
  void linescanWindow();
  void vignetteCommand();
  void autocalCommand();
  void printCommand();
  void previewCommand();

  // zbasicview_widths.cpp
  bool hasLines() const;
  void widthMethod();
  void findCapillaryWidth();
  void measureNailfoldLoops();

  ZBasicDoc& doc;
  MarksPanel marks{*this};
  std::unique_ptr<PicturePainter> painter;
  bool hasFrame = false;           // a window told its size
  bool wasShown = false;           // the first image has met its frame
  bool isFitted = true;            // the user set no other zoom
  std::pair<Size, Size> metFrame;  // the window and the image that were fitted last
  int32_t shownList = 0;           // the selections' list

  Grip grip = Grip::None;
  MouseButton gripButton = MouseButton::None;
  Point pressedAt;         // window coordinates
  Point pressedScroll;     // the scroll position then
  Point mouseAt;           // likewise, wherever it was last
  bool roiChosen = false;  // the ROI is drawn by its tool, so that an empty one is meant
  bool bandAdds = false;   // to what is selected
  Handle held, hovered;
  bool wasSelected = false;  // what was pressed, before that
  Cursor cursor = Cursor::Arrow;

  const CDim* drawn = nullptr;  // the shape that grows, at `selected`; only compared
  int32_t drawnWith = kToolNone;
  bool changedBefore = false;     // the document, when it began
  uint64_t changesWhenGrown = 0;  // the document's count at its last point

  int32_t measuresHere = -1;  // the list that measures were sent to
  int32_t countKept = -1;     // the list that they were sent away from
};

}  // namespace tarnvisor

// CVivoCapView: shows the current image of a video as the image view does, moves along the sequence and plays
// it. Playback keeps the true rate: a tick that comes late moves on by as many images as are due.
#pragma once

#include <vector>

#include "dynamic/flyingspot.h"
#include "dynamic/versionspanel.h"
#include "dynamic/vivocapdoc.h"
#include "framework/messageloop.h"
#include "imagedoc/zbasicview.h"

namespace tarnvisor {

class CVivoCapView : public ZBasicView {
 public:
  explicit CVivoCapView(CVivoCapDoc& document);
  CVivoCapDoc& video() const { return doc; }

  // Beside those of an image: "image", "field", "time".
  std::vector<StatusPane> panes() const override;
  void draw(Canvas& canvas) override;
  void wheel(const WheelEvent& event) override;  // with Shift along the sequence
  bool keyDown(const KeyEvent& event) override;
  void mouseDown(const MouseEvent& event) override;
  void mouseMove(const MouseEvent& event) override;
  void mouseUp(const MouseEvent& event) override;
  void mouseDouble(const MouseEvent& event) override;
  static const CommandTableBase& commandTable();
  const CommandTableBase* commands() const override { return &commandTable(); }

  std::vector<SidePanel*> sidePanels() override { return {sidePanel(), &versions}; }
  Timeline timeline() const override;
  void goTo(int32_t index) override;
  void selectImages(int32_t first, int32_t last) override;
  bool thumbnail(int32_t index, int32_t width, Size& size, std::vector<uint32_t>& pixels) override;

  bool isPlaying() const { return timer.isRunning(); }
  bool isLooping() const { return looping; }
  void startPlayback(bool loop);
  void stopPlayback();
  // One tick of the playback timer, at a time of the steady clock.
  void tick(double nowSeconds);

  int32_t playStep = 1;

 protected:
  Cursor wantedCursor() const override;
  bool takesHold() const override { return byHand == ByHand::Off && ZBasicView::takesHold(); }
  Point pictureShift() const override;  // as far as it is being pulled

 private:
  bool hasMovie() const { return doc.hasMovie(); }
  bool playsOnce() const { return isPlaying() && !looping; }
  double tickSeconds() const;
  void restartClock(double nowSeconds);
  bool canMeasureFlow() const { return doc.canMeasureFlow(); }
  void calculateFcf() { doc.calculateFcf(); }
  void play();
  void loop();
  void playbackSkip();
  void editMovementRegions();
  bool editsMovementRegions() const { return doc.editsMovementRegions(); }
  // Takes the tool of the settings that such lines are drawn with.
  void drawLines(const char* key, Tool usual);
  void drawVelocityLines() { drawLines("linetype", kToolLines); }
  void drawDensityLines() { drawLines("FCDtype", kToolFreehand); }
  void faster();
  void slower();
  bool hasPart() const { return doc.hasMovie() && doc.selection().size() < doc.imageCount(); }
  bool moveByKey(const KeyEvent& event);
  void markIn();
  void markOut();
  void selectAllImages();
  void stepForward() { goTo(doc.currentIndex() + 1); }
  void stepBack() { goTo(doc.currentIndex() - 1); }

  // Movement corrected by dragging: the image is pulled into place, or what it shows is followed.
  enum class ByHand { Off, Pulls, Tracks };
  void setByHand(ByHand wanted);
  void pullByHand() { setByHand(byHand == ByHand::Pulls ? ByHand::Off : ByHand::Pulls); }
  void trackByHand() { setByHand(byHand == ByHand::Tracks ? ByHand::Off : ByHand::Tracks); }
  bool pulls() const { return byHand == ByHand::Pulls; }
  bool tracks() const { return byHand == ByHand::Tracks; }
  Point draggedBy(Point windowPoint) const;
  void pullShown();
  void moveShown(Point by) { doc.moveImages({doc.currentIndex(), doc.currentIndex() + 1}, by); }
  void beginDrag(Point windowPoint);
  void endDrag(bool alsoRest);
  void cancelDrag();

  void toggleSpot() {
    spot.toggle();
    redraw();
  }
  void chartSpot() { doc.chartSpotVelocities(); }
  bool hasSpotVelocities() const { return doc.hasSpotVelocities(); }
  bool showsSpot() const { return spot.isOn(); }
  const CDim* selectedLine() const;

  CVivoCapDoc& doc;
  VersionsPanel versions{doc};
  Timer timer;  // runs while it plays
  bool looping = false;
  double startedAt = 0;
  int64_t ticksDone = 0;
  FlyingSpot spot;
  ByHand byHand = ByHand::Off;
  bool dragging = false;
  Point dragStart;        // window coordinates
  Point dragged, pulled;  // since then, in frame pixels; and what of it the image shown has got
};

}  // namespace tarnvisor

// CMarker: a flag on the time axis of a chart, a small box with a short text on a pole, with a longer note
// behind it. CImageMarker also names the picture that was taken at that moment. Sizes are in characters and
// text lines, so that a marker is as readable on paper as on a screen.
//
// A marker may go at any time: who keeps a pointer to one watches (MarkerWatcher). All on the main thread.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "archive/archive.h"
#include "drawing/textmeasure.h"
#include "host/canvas.h"

namespace tarnvisor {

class CMarker : public ArchiveObject {
 public:
  static constexpr double kNoTime = -1.0;  // not placed on any chart

  CMarker() = default;
  CMarker(const CMarker&) = default;
  CMarker& operator=(const CMarker&) = default;
  ~CMarker() override;  // tells the watchers

  static const ArchiveClass& archiveClass();
  const ArchiveClass& classRecord() const override { return archiveClass(); }
  void serialize(Archive& archive) override;

  virtual std::unique_ptr<CMarker> Clone() const;
  virtual void Open() {}  // shows what the marker refers to: nothing for a plain one

  // The box from (x, y), the label in it and the pole at its right edge. On a screen each line of the label
  // is cut to boxwidth characters and as many lines are drawn as the box has; on a printer all of it is.
  void Draw(Canvas& canvas, int32_t x, int32_t y) const;
  Size boxSize(const TextMeasure& measure) const;  // pixels
  int32_t poleLength(const TextMeasure& measure) const;
  // The box becomes as wide as the text, unless that is empty.
  void SetLabel(const std::string& words);
  // All fields of CMarker; a file name is not compared.
  bool operator==(const CMarker& other) const;

  uint16_t id = 0;
  std::string text;       // the note, several lines
  std::string label;      // the short text in the box
  double time = kNoTime;  // seconds on the chart's axis
  uint16_t boxwidth = 2;  // average characters; drawn one wider
  uint16_t boxheight = 1;
  uint16_t pole = 3;  // lines
};

class CImageMarker : public CMarker {
 public:
  CImageMarker() = default;
  // Asks the main window to save the present frame under this name, and notes the name in the text.
  explicit CImageMarker(std::string imageFile);
  static const ArchiveClass& archiveClass();
  const ArchiveClass& classRecord() const override { return archiveClass(); }
  void serialize(Archive& archive) override;

  std::unique_ptr<CMarker> Clone() const override;  // asks nothing
  void Open() override;                             // asks the main window to open the picture

  std::string filename;
};

// The road to the main window, which may be another process (charts/markerlink.h).
class MarkerLink {
 public:
  virtual ~MarkerLink() = default;
  // False when no main window is there.
  virtual bool freezeSave(const std::string& path) = 0;  // save the present frame as this file
  virtual bool autoLoad(const std::string& path) = 0;    // open this picture
};
// Borrowed, process-wide; null for the program's own. Returns the one before, null for that.
MarkerLink* setMarkerLink(MarkerLink* link);

// Told of every marker that goes, while it lives.
class MarkerWatcher {
 public:
  MarkerWatcher();
  MarkerWatcher(const MarkerWatcher&) = delete;
  MarkerWatcher& operator=(const MarkerWatcher&) = delete;
  virtual ~MarkerWatcher();
  // The marker is half gone: only its address may be used.
  virtual void markerGone(const CMarker& marker) = 0;
};

// Markers and their list, in the registry of stored classes.
void registerMarkers();

}  // namespace tarnvisor

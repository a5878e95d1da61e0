// A simulated finger before a video camera: the nailfold of nailfold.h, with columns of red cells and gaps of
// plasma moving along its capillaries, skin that sways, drifts and jumps, a focus that drifts, light that
// flickers, fresh noise in every frame, and dust that stays where it is on the camera's window. All of it is
// known beforehand.
//
// Frames are reached in any order: each depends on the settings and its number alone, and comes out the same
// on every machine and with any number of threads. One video may be rendered from by several threads.
//
// Coordinates: pixel centres at whole numbers, x to the right, y downward, frame rows also where fields are
// made. One pixel is one micrometre.
#pragma once

#include <limits>
#include <memory>
#include <string>

#include "image/zzimage.h"
#include "synth/fingersettings.h"
#include "synth/vessel.h"

namespace tarnvisor {

class FingerBlood;
class FingerCourse;
class FingerScene;

struct FingerCapillary {
  bool hairpin = false;
  double velocity = 0;            // um/s, mean over time
  std::vector<VesselPoint> line;  // the middle line at frame 0, in the blood's direction
  std::vector<double> arc;        // by point: pixels along the line from its first point on
};

class FingerVideo {
 public:
  using Settings = FingerVideoSettings;

  // Makes all that the frames have in common. Empty when the still's size or field is out of range or memory
  // is short.
  explicit FingerVideo(const Settings& settings);
  ~FingerVideo();
  FingerVideo(const FingerVideo&) = delete;
  FingerVideo& operator=(const FingerVideo&) = delete;

  bool empty() const { return !scene; }
  const Settings& settings() const { return set; }  // each number within its range
  int32_t frames() const { return set.frames; }

  // Gives the target the video's size, colours and field, the frame's number and origin 0, and draws the
  // frame into it. With still.interlace not 0 the even images are field one and the odd ones field two, each
  // of its own moment. False, with the target as it was, for a frame from outside 0..frames() - 1, an empty
  // video, a child image of another shape, and without memory.
  [[nodiscard]] bool render(int32_t frame, CZZimage& target) const;

  // Of frame 0, in frame pixels and for all skin that the frames may come to show: capillaries may lie partly
  // or wholly outside the frame. areaPixels is the frame's.
  const NailfoldTruth& truth() const { return still; }
  const std::vector<FingerCapillary>& capillaries() const { return course; }  // as in truth()
  // A frame from outside counts as the nearest one inside. Empty videos have no velocities.
  FrameTruth truthOf(int32_t frame) const;

  // Comma-separated, a header row first, lines end in "\n".
  // A row for each frame of first up to, but without, end, as far as there are such frames.
  std::string truthTable(int32_t first = 0, int32_t end = std::numeric_limits<int32_t>::max()) const;
  std::string capillaryTable() const;  // a row for each point of each capillary's middle line

 private:
  void makeTruth();
  std::vector<float> patternsAt(const FrameTruth& moment) const;
  bool shape(int32_t frame, CZZimage& target) const;

  Settings set;
  std::unique_ptr<FingerCourse> time;
  std::unique_ptr<FingerScene> scene;  // null when empty
  std::unique_ptr<FingerBlood> blood;
  std::vector<FingerCapillary> course;
  NailfoldTruth still;
};

// Videos to demonstrate and test with: 640 x 480, 60 frames a second, 5 seconds.
FingerVideo::Settings flowingFinger(uint64_t seed = 1);  // constant velocity, skin at rest, little noise
FingerVideo::Settings pulsingFinger(uint64_t seed = 1);  // the velocity pulses with the heart
FingerVideo::Settings shakingFinger(uint64_t seed = 1);  // movement of every kind, flicker, focus drift, dust

}  // namespace tarnvisor

// autoflashcontrol: holds the brightness of a live picture by the time that the light flashes, or by the
// exposure where there is no flash. Tissue may leave the field at any moment: then the last setting that gave
// a good picture comes back, and an empty field is not chased with light.
#pragma once

#include <cstdint>

#include "base/geometry.h"
#include "image/zzimage.h"

namespace tarnvisor {

class autoflashcontrol {
 public:
  enum Method : int32_t {
    // Each frame adds a share of the error. Slow, for it is cut to whole microseconds: it stalls below the
    // target where a share is less than one, stays with a dark picture, and swings where the picture follows
    // late.
    kByShares = 0,
    // The light goes to where the target stands in proportion, and the next frames up to the one that shows
    // it
    // are waited for. Within a twentieth of the target it drifts with the time constant `rc`, so that the
    // pulse is not evened out.
    kByProportion = 1
  };
  // Frames between a setting and the first that shows it: no camera takes more.
  static constexpr int32_t kLongestDelay = 4;

  // Section "autoflashcontrol"; a key that is missing gives the value of a new control.
  void loadSettings();
  void storeSettings() const;
  // To be called when frames begin to come, at that many a second, above 0.
  void start(double framesPerSecond);
  // Measures and steps: `flash` is then what the light is to be set to. Nothing unless `on`.
  void frame(const CZZimage& image);
  // The same for a brightness that was measured.
  void step(int32_t measured);
  void setFlash(int32_t microseconds);

  Rect roi;
  double lines = 8;  // rows that are measured
  uint8_t on = 1;
  int32_t brightness = 0;  // measured, grey levels
  int32_t target = 170;
  int32_t goodError = 15;
  int32_t noTissue = 30;  // what is darker is an empty field
  int32_t flash = 500;    // microseconds
  int32_t flashMin = 40;
  int32_t flashMax = 5000;
  int32_t lastGood = 500;
  double rc = 4.0;  // seconds
  double gain = 10.0;
  double k = 0;  // weight of a frame
  int32_t method = kByShares;

 private:
  void stepByShares();
  void stepByProportion();
  void stepInTheDark();
  bool waitsForLight();
  void change(double microseconds);

  struct Course {
    double exact = 500;  // flash with its fraction
    bool waits = false;  // for the first frame that shows a change
    int32_t frames = 0;  // since that change, or with an empty field
    int32_t before = 0;  // brightness that the change was made of
    double expected = 0;
    bool tries = false;  // whether more light shows tissue
    bool wasGood = false;
  } course;
  double rate = 30;
};

// One for the process: that of the camera.
extern autoflashcontrol flashControl;

}  // namespace tarnvisor

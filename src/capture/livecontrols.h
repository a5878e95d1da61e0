// The small windows beside the live picture: the camera's input, a slider of the light, auto brightness and
// auto focus. They stay open while frames run, show what holds now, and open again where they were.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>

#include "analysis/autoflash.h"
#include "analysis/autofocus.h"
#include "host/form.h"

namespace tarnvisor {

class LiveControls {
 public:
  enum Which : int32_t { Video, Brightness, AutoBrightness, AutoFocus };
  static constexpr size_t kCount = 4;

  // Those that were open when the live picture was last.
  void open();
  void toggle(Which which);
  bool isShown(Which which) const;
  // Their places and which are open; section "fgip" and its neighbours.
  void storePlaces() const;
  // Of the pictures on the screen, in words.
  void showRate(std::string words) { rate = std::move(words); }

 private:
  void show(Which which);
  Form videoForm();
  Form brightnessForm();
  Form autoBrightnessForm();
  Form autoFocusForm();
  void read();  // what holds now
  void takeVideo();
  void takeBrightness();
  void applyAutoBrightness();
  void applyAutoFocus();

  // What the forms show; the camera's own values are set from them.
  struct Input {
    int32_t flash = 0, exposure = 0, gain = 0;
    double fps = 0;
    int32_t tracksFlash = 0, noStrobe = 0;
    bool operator==(const Input&) const = default;
  };
  Input input, shown;
  int32_t slider = 0;
  std::string rate, actual, measured, lastGood, flashNow, focusNow;
  autoflashcontrol flash;
  autofocuscontrol focus;
  int32_t flashOn = 1, focusOn = 1, boxPercent = 50;
  std::array<std::unique_ptr<OpenForm>, kCount> forms;
};

}  // namespace tarnvisor

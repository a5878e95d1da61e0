// The velocity input of the program: the channel on a sound input that this computer's settings name, and the
// instrument's serial line, where there is one.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "app/basicapp.h"
#include "sound/auxiliary.h"
#include "sound/flo1.h"

namespace tarnvisor {

inline constexpr const char* kNoVelocityInput = "The velocity input is not available.";

class DopplerInput final : public VelocityInput {
 public:
  // Where no opener is given the settings of this computer decide.
  explicit DopplerInput(CBasicApp& application, FLO1::Opener opener = nullptr);
  ~DopplerInput() override;

  void setAddress(int32_t) override {}  // of an instrument on a card; kept in the settings alone
  void initialise(int32_t channels) override;
  bool isReady() const override { return flo1.initialised; }
  int32_t availableSamples() override;
  int32_t read(std::span<int16_t> buffer) override;
  void stop() override { flo1.stop(); }
  bool wakesTheLoop() override { return !flo1.blockready(); }
  void chooseHardware() override;

  bool endsByItself() const;  // a file, whose end is no failure

  // Null without a serial line. Another may be put in its place.
  std::unique_ptr<AuxiliarySource> auxiliary;
  int32_t auxiliaryChannels = 1;
  std::function<void(const std::string& why)> onLost;  // nothing comes any more
  FLO1 flo1;

 private:
  CBasicApp& app;
};

// The one of the running program; null where there is none.
DopplerInput* dopplerInput();

}  // namespace tarnvisor

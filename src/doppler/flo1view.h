// Cflo1View: the window of the velocity input, which shows what comes while it comes.
#pragma once

#include "app/inputs.h"
#include "doppler/flo1doc.h"
#include "framework/messageloop.h"

namespace tarnvisor {

class Cflo1View final : public ZcommonFLOView, public VelocitySink {
 public:
  explicit Cflo1View(Cflo1Doc& shown);
  ~Cflo1View() override;
  bool isRecording() const override { return doc.running != 0; }
  void takeSamples(std::span<const int16_t> samples) override;
  void start() override;
  void stop() override;
  void onUpdate(Change what) override;
  std::vector<StatusPane> panes() const override;

 private:
  void showNewest();
  void keepInSight();
  Cflo1Doc& live;
  Timer watch;              // asks after an input that gives nothing
  int64_t lastNumber = -1;  // of the block taken last
  bool wasRunning = false;
  double shownExtent = 0;  // of the spectra, displayed
};

}  // namespace tarnvisor

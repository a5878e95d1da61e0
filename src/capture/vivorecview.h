// CVivoRecView: the window of a recording: the live picture while it records, then the video.
#pragma once

#include <vector>

#include "capture/vivorecdoc.h"
#include "dynamic/vivocapview.h"
#include "framework/messageloop.h"

namespace tarnvisor {

class CVivoRecView final : public CVivoCapView {
 public:
  static constexpr int32_t kShowTimer = 34119, kShowMs = 250;

  explicit CVivoRecView(CVivoRecDoc& document);
  void onUpdate(Change what) override;
  void draw(Canvas& canvas) override;
  std::vector<StatusPane> panes() const override;
  static const CommandTableBase& commandTable();
  const CommandTableBase* commands() const override { return &commandTable(); }

 private:
  void stop();
  CVivoRecDoc& doc;
  Timer showTimer;
};

}  // namespace tarnvisor

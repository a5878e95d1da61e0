// Rows of a simulated finger as one frame sees them: skin and blood at that moment's focus, moved with the
// skin, also between pixels. For one thread, from one row of the frame on to the next lower one.
#pragma once

#include <array>
#include <span>
#include <vector>

#include "synth/fingerscene.h"

namespace tarnvisor {

class MovedRows {
 public:
  explicit MovedRows(const FingerScene& scene);  // which must outlive this

  // The moment whose rows come next; asks for no memory. The patterns (darkening left by the red cells, as
  // the scene's pattern spans tell) are read until the last of them.
  void begin(const FrameTruth& moment, std::span<const float> patterns);
  void moveTo(int32_t frameY);
  // Of the row moved to, frame width values: the skin's brightness, and the share of its light that blood
  // takes, of the most that it can.
  const float* skin() const { return movedSkin; }
  const float* blood() const { return movedBlood; }

 private:
  // One row of the canvas.
  struct Line {
    int32_t row = -1;
    std::vector<float> skin;
    std::vector<float> blood;
  };
  const Line& line(int32_t canvasRow);
  void fillSkin(Line& line) const;
  void fillBlood(Line& line) const;
  void between(const std::array<const float*, 4>& lines, std::vector<float>& down, std::vector<float>& out);

  const FingerScene& scene;
  std::span<const float> patterns;
  FingerScene::Focus focus;
  int32_t left = 0;  // canvas column and row that the frame's first pixel shows, before the fraction
  int32_t top = 0;
  bool whole = true;  // no fraction either way
  std::array<float, 4> weightsX{};
  std::array<float, 4> weightsY{};
  std::array<Line, 4> lines;  // by canvas row modulo 4
  std::vector<float> down;
  std::vector<float> skinRow;
  std::vector<float> bloodRow;
  const float* movedSkin = nullptr;
  const float* movedBlood = nullptr;
};

}  // namespace tarnvisor

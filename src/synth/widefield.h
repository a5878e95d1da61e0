// Wide-field nailfold stills in colour as clinics take them: nail, cuticle, pale band and vascular bed, the
// distal row of capillary loops and the rows behind it. What is there is known: every loop of the distal row,
// the row's curve, which side the nail lies on. Lengths in micrometres.
#pragma once

#include <memory>
#include <span>
#include <vector>

#include "image/zzimage.h"

namespace tarnvisor {

enum class FoldKind {
  Healthy,
  Sharp,     // a good lens near by: a small field, dark loops
  Soft,      // slightly out of focus throughout
  Rarefied,  // half of the loops lost, a denser row behind
  Sparse,    // one or two loops a millimetre
  Giant,     // giant loops and haemorrhages among the others
  Bushy,     // ramified and crooked loops
  Gaps,      // stretches without any loop
  Slanted,   // the row runs askew to the limbs and leaves the field at a side
  LateRed,   // loops stand far out in the pale band
  StainedCuticle,
  RedNail,
  Glare,
  Hair,
  ProximalOnly,  // from here on nothing can be counted
  DistalOnly,
  Bare,  // skin without a loop
  Grey,
  Blurred,
  Noise,
  Pale  // little red; brown loops whose limbs soon dip out of focus, as a contact lens shows them. Counted
};
inline constexpr size_t kFoldKinds = static_cast<size_t>(FoldKind::Pale) + 1;
const char* nameOf(FoldKind kind);
bool canBeCounted(FoldKind kind);

struct WideField {
  FoldKind kind = FoldKind::Healthy;
  uint64_t seed = 1;
  int32_t width = 1280;  // 1..4096
  int32_t height = 1024;
  double pixelSize = 2.61;  // 0.2..20
  double extraBlur = 0;     // Gaussian sigma on top of the kind's own
  double exposure = 1;      // the light's factor
  double warmth = 0;        // -0.3..0.3: red light more, blue light less
  int32_t quality = 75;     // of JPEG, 1..100; 0 leaves the losses out
};

struct FoldPoint {
  double x = 0, y = 0;  // image pixels; a pixel's centre is a whole number
};

struct FoldLoop {
  FoldPoint apex;
  double width = 0;  // over the outer edges, micrometres
  bool faint = false;
};

struct WideFieldTruth {
  std::vector<FoldLoop> loops;  // of the distal row that lie in the field, along it
  std::vector<FoldPoint> row;   // what of its curve lies in the field
  double rowLength = 0;         // millimetres
  FoldPoint distal;             // a step of length 1 towards the nail
  double densityPerMm() const { return rowLength > 0 ? static_cast<double>(loops.size()) / rowLength : 0.0; }
};

// The same parameters give the same pixels on every machine. Null when the size is out of range or memory is
// short. Size and scale change the view of the same finger alone.
[[nodiscard]] std::unique_ptr<CZZimage> renderWideField(const WideField& field, WideFieldTruth& truth);

}  // namespace tarnvisor

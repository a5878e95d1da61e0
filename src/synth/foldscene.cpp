#include "synth/foldscene.h"

#include <algorithm>
#include <cmath>

#include "synth/random.h"

namespace tarnvisor {

namespace {

enum Stream : uint64_t { tissueStream = 1u << 22, rowStream, loopStream };

struct RowPlan {
  double density = 9;   // loops a millimetre
  double behind = 1.0;  // density of the rows behind, of this one's
  double blood = 0.08;  // optical density of a clear limb
  double faint = 0.33;  // share of faint loops
  double giant = 0, bushy = 0;
  double twisted = 0;  // share of loops whose limbs cross
  double bleedings = 0;
  double gaps = 0;           // share of the row without loops
  double firstBehind = 250;  // how far the second row stands behind
};

struct Plan {
  FoldTissue tissue;
  RowPlan row;
};

Plan commonPlan(uint64_t seed) {
  Random random(seed, tissueStream);
  Plan plan;
  FoldTissue& t = plan.tissue;
  t.row = random.between(-350, 150);
  t.slope = random.between(-180, 180);
  t.bend = random.between(-60, 160);
  t.pale = random.between(120, 480);
  t.cuticle = random.between(200, 700);
  t.rise = random.between(300, 900);
  t.bed = random.between(0.25, 0.55);
  t.brown = random.between(0.1, 0.35);
  t.nailRed = random.between(0, 0.3);
  t.skin = random.between(0.25, 0.5);
  t.glints = random.between(2, 25);
  t.blur = random.between(3.5, 6.5);
  t.unevenBlur = random.between(0, 4);
  t.light = random.between(95, 205);
  t.noise = random.between(1.5, 4);
  t.turn = random.unit();
  RowPlan& r = plan.row;
  r.density = random.between(7, 10.5);
  r.behind = random.between(0.9, 1.3);
  r.blood = random.between(0.16, 0.34);
  r.faint = random.between(0.15, 0.4);
  r.firstBehind = random.between(200, 400);
  return plan;
}

void makeDiseased(RowPlan& row, Random& random, double low, double high) {
  row.density = random.between(low, high);
  row.behind = random.between(1.1, 2.0);
  row.blood = random.between(0.18, 0.4);
  row.firstBehind = random.between(300, 900);
}

// As 48 fields of a contact lens with automatic white balance had it: colours, noise and contrast are theirs.
void makePale(FoldTissue& tissue, Random& random) {
  tissue.bed = random.between(0.06, 0.22);
  tissue.onset = random.between(0, 600);
  tissue.brown *= 0.4;
  tissue.nailRed = 0;
  tissue.glints *= 0.6;
  tissue.light = random.between(150, 190);
  tissue.blur = random.between(4, 8);
  tissue.unevenBlur = 0;
  tissue.noise = random.between(3.5, 5);
  tissue.bloodRed = random.between(0.38, 0.65);
  tissue.bloodBlue = random.between(1.0, 1.3);
  tissue.dip = random.between(14, 26);
  tissue.blotches = random.between(0.04, 0.10);
  tissue.colourNoise = random.between(7, 10);
  tissue.sharpened = random.between(0.3, 0.9);
  tissue.tint = 0.25;
}

Plan planOf(FoldKind kind, uint64_t seed) {
  Plan plan = commonPlan(seed);
  FoldTissue& t = plan.tissue;
  RowPlan& r = plan.row;
  Random random(seed, tissueStream + 100 + static_cast<uint64_t>(kind));
  switch (kind) {
    case FoldKind::Sharp:
      t.blur = 2.5;
      t.unevenBlur = 1;
      r.blood = random.between(0.3, 0.5);
      t.slope *= 0.7;
      t.row = random.between(-300, 0);
      break;
    case FoldKind::Soft:
      t.blur = random.between(7, 10);
      break;
    case FoldKind::Rarefied:
      makeDiseased(r, random, 2.5, 5);
      break;
    case FoldKind::Sparse:
      makeDiseased(r, random, 1, 2);
      break;
    case FoldKind::Giant:
      makeDiseased(r, random, 3, 5.5);
      r.giant = 0.35;
      r.bleedings = 4;
      break;
    case FoldKind::Bushy:
      makeDiseased(r, random, 3, 6);
      r.bushy = 0.4;
      r.bleedings = 1;
      break;
    case FoldKind::Gaps:
      makeDiseased(r, random, 6, 9);
      r.gaps = 0.35;
      break;
    case FoldKind::Slanted:
      t.slope = random.sign() * random.between(300, 650);
      break;
    case FoldKind::LateRed:
      t.onset = random.between(350, 550);
      t.pale = random.between(120, 300);
      break;
    case FoldKind::StainedCuticle:
      t.brown = random.between(0.4, 0.6);
      t.stain = random.between(0.35, 0.6);
      break;
    case FoldKind::RedNail:
      t.nailRed = random.between(0.7, 1.0);
      break;
    case FoldKind::Glare:
      t.glare = true;
      t.glints = 60;
      break;
    case FoldKind::Hair:
      t.hair = true;
      break;
    case FoldKind::ProximalOnly:
      t.row = -4000;
      break;
    case FoldKind::DistalOnly:
      t.row = 4000;
      break;
    case FoldKind::Bare:
      r.density = r.behind = 0;
      break;
    case FoldKind::Blurred:
      t.blur = random.between(22, 35);
      break;
    case FoldKind::Pale:
      makePale(t, random);
      r.blood = random.between(0.35, 0.7);
      r.faint = random.between(0.2, 0.45);
      r.twisted = 0.45;
      break;
    default:
      break;
  }
  return plan;
}

class Layout {
 public:
  Layout(FoldKind kind, uint64_t seed, double farthest)
      : plan(planOf(kind, seed)), random(seed, loopStream), reach(farthest), scene{plan.tissue, {}, {}, {}} {
    tilt = random.between(-0.12, 0.12);
  }
  FoldScene lay() {
    layRow(0, plan.row.density, true);
    double behind = plan.row.firstBehind;
    for (int32_t i = 0; behind < 2 * reach && i < 24; ++i) {
      layRow(behind, plan.row.density * plan.row.behind, false);
      behind += random.between(180, 330);
    }
    if (plan.tissue.hair) layHair();
    return std::move(scene);
  }

 private:
  void layRow(double behind, double density, bool distal) {
    if (density <= 0) return;
    const double mean = 1000 / density;
    double gapEnd = -1e9;
    for (double u = -reach + random.between(0, mean); u < reach;
         u += std::max(55.0, mean * random.between(0.45, 1.55))) {
      const double chance = random.unit();
      if (plan.row.gaps > 0 && u > gapEnd && chance < plan.row.gaps * mean / 900) {
        gapEnd = u + random.between(500, 1000);
        u = distal ? gapEnd : u;
      }
      const double jitter = std::clamp(60 * random.normal(), -110.0, 110.0);
      layLoop(u, plan.tissue.rowAt(u) + behind + jitter * (distal ? 1 : 1.3), distal, behind);
    }
  }

  void layLoop(double u, double v, bool distal, double behind) {
    const double kind = random.unit();
    const bool giant = kind < plan.row.giant, bushy = !giant && kind < plan.row.giant + plan.row.bushy;
    const bool faint = random.unit() < plan.row.faint && !giant && !bushy;
    const double deep = std::min(behind / 2500, 0.5);
    const double density = plan.row.blood * random.between(0.75, 1.3) * (faint ? 0.28 : 1) * (1 - deep);
    const double width = giant ? random.between(60, 140) : random.between(26, 48);
    const double length = random.between(150, 480) * (distal ? 1 : 0.8);
    if (bushy)
      layBush(u, v, density);
    else
      layHairpin(u, v, width, length, density, giant, std::min(behind / 500, 0.9));
    if (distal) scene.loops.push_back({u, v, width, faint});
    if (distal && random.unit() < plan.row.bleedings * 0.06)
      scene.bleedings.push_back({u + random.between(-150, 150), v - random.between(-60, 250),
                                 random.between(50, 180), plan.row.blood * random.between(0.8, 1.6)});
  }

  // Limbs sway; one of them is often out of sight; deep down both are.
  void layHairpin(double u, double v, double width, double length, double density, bool giant,
                  double sunk = 0) {
    const double radius = giant ? width * random.between(0.18, 0.3) : random.between(4.5, 7);
    const double half = std::max(width / 2 - radius, radius);
    const double lean = tilt + 0.12 * random.normal();
    const double sway = random.between(-0.25, 0.25) * width, phase = random.unit();
    const double waist = giant ? random.between(0.3, 0.7) : random.between(0.6, 1.1);
    const double hidden = random.unit();
    const double left = hidden < 0.2 ? 0.15 : 1.0, right = hidden > 0.8 ? 0.15 : 1.0;
    // No kind but those with twisted limbs draws for it: the others stay as they are.
    const bool mayTwist = plan.row.twisted > 0;
    const double turns = mayTwist && random.unit() < plan.row.twisted ? random.between(0.3, 0.9) : 0;
    const double beads = mayTwist ? random.between(0.1, 0.4) : 0, bead = mayTwist ? random.unit() : 0;
    FoldVessel vessel;
    constexpr int32_t kSteps = 16;
    const auto put = [&](double side, double down) {
      const double along = down / length;
      const double squeeze =
          down < half ? 1.0 : waist + (1 - waist) * expMinus((down - half) / (1.2 * width));
      const double across = side * half * squeeze * (turns > 0 ? sineOfTurns(0.25 + turns * along) : 1) +
                            sway * sineOfTurns(phase + 2 * along) * std::min(1.0, 2 * along);
      const double share = side < 0 ? left : right;
      const double fade = std::clamp(2.4 * (1 - along), 0.0, 1.0);
      vessel.push_back({u + across + lean * down, v + down, radius * (side < 0 ? 0.85 : 1.15),
                        density * fade * (1 - (1 - share) * std::min(1.0, along * 6)) *
                            (1 + beads * sineOfTurns(bead + 0.5 * side + down / 70)),
                        std::clamp(2 * along - 0.15, sunk, 1.0)});
    };
    for (int32_t i = kSteps; i > 0; --i) put(-1, half + (length - half) * i / kSteps);
    for (int32_t i = 0; i <= 8; ++i) {
      const double turn = 0.25 * (i / 4.0 - 1);
      put(sineOfTurns(turn), half * (1 - sineOfTurns(turn + 0.25)));
    }
    for (int32_t i = 1; i <= kSteps; ++i) put(1, half + (length - half) * i / kSteps);
    scene.vessels.push_back(std::move(vessel));
  }

  void layBush(double u, double v, double density) {
    const int32_t branches = 3 + static_cast<int32_t>(random.unit() * 3);
    for (int32_t i = 0; i < branches; ++i) {
      const double sideways = (i - 0.5 * (branches - 1)) * random.between(14, 24);
      layHairpin(u + sideways, v + std::abs(sideways) * random.between(0.2, 1.2), random.between(22, 34),
                 random.between(90, 200), density, false);
    }
  }

  // A stray hair is no blood: it is told by its density below zero.
  void layHair() {
    FoldVessel hair;
    const double slope = random.between(-0.6, 0.6), bend = random.between(-150, 150),
                 v = random.between(-250, 250);
    for (int32_t i = -20; i <= 20; ++i) {
      const double u = reach * i / 20;
      hair.push_back({u, plan.tissue.row + v + slope * u + bend * i * i / 400.0, 22, -0.9});
    }
    scene.vessels.push_back(std::move(hair));
  }

  Plan plan;
  Random random;
  double reach;
  FoldScene scene;
  double tilt = 0;
};

}  // namespace

FoldScene foldSceneOf(FoldKind kind, uint64_t seed, double reach) { return Layout(kind, seed, reach).lay(); }

}  // namespace tarnvisor

// How the two laws of auto brightness answer a step: brightness follows the light in proportion and some
// frames late, as in a camera. Printed are the frames until it is within 5 % of the target for good, and how
// far it goes beyond the target after it had come within 5 % (or crossed it), in percent of the target.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <deque>

#include "analysis/autoflash.h"

namespace tarnvisor {
namespace {

struct Answer {
  int frames = 0;  // -1: not within a minute
  double swing = 0;
  int last = 0;
};

Answer answerOf(int32_t method, double rate, int delay, double right) {
  autoflashcontrol control;
  control.method = method;
  control.start(rate);
  std::deque<double> underWay(static_cast<size_t>(delay), 500.0);
  Answer answer{.frames = -1};
  const int wanted = control.target;
  bool came = false, below = false;
  const int all = static_cast<int>(60 * rate);
  for (int frame = 0; frame < all; ++frame) {
    const double light = underWay.front();
    underWay.pop_front();
    const int level = static_cast<int>(std::min(255.0, 2 + (wanted - 2) * light / right));
    if (frame == 0) below = level < wanted;
    const bool isNear = std::abs(level - wanted) <= 0.05 * wanted;
    came = came || isNear || (level < wanted) != below;
    if (came) answer.swing = std::max(answer.swing, 100.0 * std::abs(level - wanted) / wanted);
    if (!isNear) answer.frames = -1;
    if (isNear && answer.frames < 0) answer.frames = frame;
    answer.last = level;
    control.step(level);
    underWay.push_back(control.flash);
  }
  return answer;
}

void print() {
  std::printf("%6s %5s %9s | %21s | %21s\n", "", "", "", "by shares", "by proportion");
  std::printf("%6s %5s %9s | %6s %7s %6s | %6s %7s %6s\n", "rate", "delay", "right us", "frames", "swing%",
              "level", "frames", "swing%", "level");
  for (const double rate : {15.0, 30.0, 98.0})
    for (const int delay : {1, 2, 3, 4})
      for (const double right : {45.0, 120.0, 300.0, 450.0, 550.0, 800.0, 1500.0, 4500.0}) {
        const Answer shares = answerOf(autoflashcontrol::kByShares, rate, delay, right);
        const Answer proportion = answerOf(autoflashcontrol::kByProportion, rate, delay, right);
        std::printf("%6.0f %5d %9.0f | %6d %7.1f %6d | %6d %7.1f %6d\n", rate, delay, right, shares.frames,
                    shares.swing, shares.last, proportion.frames, proportion.swing, proportion.last);
      }
}

}  // namespace
}  // namespace tarnvisor

int main() { tarnvisor::print(); }

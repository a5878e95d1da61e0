// Our operations beside OpenCV's on the same 2048 x 1536 still, both on one thread, in one run: for each the
// median of many runs, taken in turns so that both see the same machine. OpenCV writes into a second image
// where ours work in place, and its sums at the borders differ; the work is the same in kind and size.
#include <algorithm>
#include <array>
#include <cstdio>
#include <functional>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#include <vector>

#include "analysis/blur.h"
#include "analysis/darkregions.h"
#include "analysis/finder.h"
#include "analysis/kernelfilter.h"
#include "analysis/loops.h"
#include "analysis/lulu.h"
#include "analysis/windowfilter.h"
#include "base/clock.h"
#include "base/parallel.h"
#include "benchimage.h"
#include "synth/widefield.h"
#include "timing.h"

namespace tarnvisor {
namespace {

volatile int64_t sink;

using bench::median;
using bench::milliseconds;

void row(const char* name, const std::function<void()>& ours, const std::function<void()>& theirs = {}) {
  std::vector<double> mine, other;
  for (int warm = 0; warm < 3; ++warm) {
    ours();
    if (theirs) theirs();
  }
  const double start = steadySeconds();
  while (mine.size() < 15 || (steadySeconds() - start < 1.5 && mine.size() < 401)) {
    mine.push_back(milliseconds(ours));
    if (theirs) other.push_back(milliseconds(theirs));
  }
  if (theirs)
    std::printf("%-34s %9.3f %9.3f %8.2f\n", name, median(mine), median(other), median(other) / median(mine));
  else
    std::printf("%-34s %9.3f %9s %8s\n", name, median(mine), "-", "-");
  std::fflush(stdout);
}

class Peers {
 public:
  Peers() : original(bench::nailfold()) {
    ours.copyImage(*original);
    source =
        cv::Mat(ours.height, ours.width, CV_8UC1, original->pixels, static_cast<size_t>(original->stride));
    target = source.clone();
    binary.copyImage(*original);
    binary.binarise(155, 0, 255);
    cv::threshold(source, darkIsSet, 154, 255, cv::THRESH_BINARY_INV);
  }

  void run() {
    std::printf("%-34s %9s %9s %8s\n", "2048 x 1536 grey, one thread", "ours ms", "OpenCV ms", "ratio");
    windows();
    kernels();
    measures();
    loops();
    onlyOurs();
  }

 private:
  void windows() {
    const auto low = [this](int32_t w) { windowFilter(ours, WindowMode::LowPass, ours, Rect{}, w); };
    row(
        "box mean 7 x 7", [&] { low(7); },
        [&] {
          cv::blur(source, target, {7, 7});
        });
    row(
        "box mean 101 x 101", [&] { low(101); },
        [&] {
          cv::blur(source, target, {101, 101});
        });
    row(
        "Gaussian sigma 1", [&] { gaussianBlur(ours, 1.0f); },
        [&] {
          cv::GaussianBlur(source, target, {7, 7}, 1.0);
        });
    row(
        "Gaussian sigma 5", [&] { gaussianBlur(ours, 5.0f); },
        [&] {
          cv::GaussianBlur(source, target, {31, 31}, 5.0);
        });
  }

  void kernels() {
    const std::vector<int32_t> apex = apexKernel({});
    const cv::Mat apexFloat = kernelOf(apex, 29) / 1000.0f;
    row(
        "kernel 29 x 29", [&] { filterNxN(ours, apex, 29, 0.5, 128); },
        [&] { cv::filter2D(source, target, -1, apexFloat); });
    const std::vector<int32_t> sharpen = {0, -1, 0, -1, 5, -1, 0, -1, 0};
    const cv::Mat sharpenFloat = kernelOf(sharpen, 3);
    row(
        "kernel 3 x 3", [&] { filter3x3(ours, std::span<const int32_t, 9>(sharpen.data(), 9), 1.0, 0); },
        [&] { cv::filter2D(source, target, -1, sharpenFloat); });
    row(
        "kernel 3 x 3, factor 0.9",
        [&] { filter3x3(ours, std::span<const int32_t, 9>(sharpen.data(), 9), 0.9, 0); },
        [&] { cv::filter2D(source, target, -1, sharpenFloat * 0.9f); });
    row(
        "minimum 3 x 3", [&] { min3x3(ours); }, [&] { cv::erode(source, target, cv::Mat()); });
  }

  void measures() {
    row(
        "minimum and maximum",
        [&] {
          int32_t least = 0, most = 0;
          original->statistics(Rect{}, nullptr, &least, &most);
          sink = least + most;
        },
        [&] {
          double least = 0, most = 0;
          cv::minMaxLoc(source, &least, &most);
          sink = static_cast<int64_t>(least + most);
        });
    row(
        "histogram",
        [&] {
          std::array<uint32_t, 256> counts{};
          original->countLevels({0, 0, original->width, original->height}, counts);
          sink = counts[128];
        },
        [&] {
          const int bins = 256;
          const float range[] = {0, 256};
          const float* ranges = range;
          const int channel = 0;
          cv::Mat counts;
          cv::calcHist(&source, 1, &channel, cv::Mat(), counts, 1, &bins, &ranges);
          sink = static_cast<int64_t>(counts.at<float>(128));
        });
    row(
        "components with statistics", [&] { sink = static_cast<int64_t>(DarkRegions(binary).size()); },
        [&] {
          cv::Mat labels, statistics, centroids;
          sink = cv::connectedComponentsWithStats(darkIsSet, labels, statistics, centroids, 4);
        });
    row(
        "copy", [&] { ours.copyImage(*original); }, [&] { source.copyTo(target); });
  }

  // A whole finder beside what others begin one with: how much each pixel is a ridge, at three scales.
  void loops() {
    constexpr double kPixel = 1.6;
    WideFieldTruth truth;
    const auto still = renderWideField({.width = 2048, .height = 1536, .pixelSize = kPixel}, truth);
    cv::Mat grey, smooth, xx, yy, xy, half, ridge;
    cv::cvtColor(
        cv::Mat(still->height, still->width, CV_8UC3, still->pixels, static_cast<size_t>(still->stride)),
        grey, cv::COLOR_BGR2GRAY);
    grey.convertTo(grey, CV_32F);
    row(
        "nailfold loops, Hessian 3 scales",
        [&] {
          sink = static_cast<int64_t>(findLoops(*still, {kPixel, {}}).loops.size());
        },
        [&] {
          ridge = cv::Mat::zeros(grey.size(), CV_32F);
          for (const double sigma : {2.5, 5.0, 10.0}) {
            cv::GaussianBlur(grey, smooth, {}, sigma);
            cv::Sobel(smooth, xx, CV_32F, 2, 0);
            cv::Sobel(smooth, yy, CV_32F, 0, 2);
            cv::Sobel(smooth, xy, CV_32F, 1, 1);
            half = (xx - yy) / 2;
            cv::magnitude(half, xy, half);
            cv::max(ridge, ((xx + yy) / 2 + half) * (sigma * sigma), ridge);
          }
        });
  }

  void onlyOurs() {
    row("high pass 101", [&] { windowFilter(ours, WindowMode::HighPass, ours, Rect{}, 101); });
    row("low pass 1501", [&] { windowFilter(ours, WindowMode::LowPass, ours, Rect{}, 1501); });
    row("L3", [&] { lowerLulu(ours); });
    row("U3", [&] { upperLulu(ours); });
    row("findcaps, whole", [&] {
      ours.copyImage(*original);
      sink = static_cast<int64_t>(findcaps(ours, Rect{}, {}, {}).regions.size());
    });
    std::printf("(findcaps found %lld regions)\n", static_cast<long long>(sink));
    setParallelThreads(0);
    row("findcaps, whole, all cores", [&] {
      ours.copyImage(*original);
      sink = static_cast<int64_t>(findcaps(ours, Rect{}, {}, {}).regions.size());
    });
  }

  static cv::Mat kernelOf(const std::vector<int32_t>& cells, int size) {
    cv::Mat kernel(size, size, CV_32F);
    for (int i = 0; i < size * size; ++i)
      kernel.at<float>(i / size, i % size) = static_cast<float>(cells[static_cast<size_t>(i)]);
    return kernel;
  }

  std::unique_ptr<CZZimage> original;
  CZZimage ours, binary;
  cv::Mat source, target, darkIsSet;
};

}  // namespace
}  // namespace tarnvisor

int main() {
  tarnvisor::setParallelThreads(1);
  cv::setNumThreads(1);
  tarnvisor::Peers().run();
  return 0;
}

// The rows of a line, or of two, on their way from the thread that has the images to the one that stores
// them. One thread samples and one takes; neither waits for the other, and sampling makes no memory.
#pragma once

#include <atomic>
#include <cstdint>
#include <span>
#include <vector>

#include "linescan/scanline.h"

namespace tarnvisor {

class LineQueue {
 public:
  // The rows of as many images as there is room for, at least of one and at most of so many. `fields`: two
  // rows an image. The second line may be empty.
  LineQueue(ScanLine first, ScanLine second, bool fields, int32_t images);

  // --- by the thread that has the images
  // By its number in the sequence. Without room the image's rows are lost, which counts.
  void sample(const CZZimage& image, int64_t number);

  // --- by the thread that takes them
  struct Row {
    bool inside = false;  // else the lines do not lie in the image, and there are no levels
    std::span<const uint8_t> first, second;
  };
  bool isEmpty() const { return taken == put.load(std::memory_order_acquire); }
  // Of the oldest image that waits.
  int64_t number() const { return numbers[place(taken)]; }
  Row row(int32_t field) const;
  void pop() { taken.store(taken + 1, std::memory_order_release); }
  int64_t takeLost() { return lostRows.exchange(0); }  // rows, since the last call

  const ScanLine first, second;
  const int32_t rowsAnImage;

 private:
  size_t place(uint64_t image) const { return static_cast<size_t>(image % numbers.size()); }
  size_t beginOf(size_t at, int32_t field) const {
    return (at * static_cast<size_t>(rowsAnImage) + static_cast<size_t>(field)) * bytesARow;
  }
  const size_t bytesARow;
  // Of each image that may wait.
  std::vector<int64_t> numbers;
  std::vector<uint8_t> inside;  // rowsAnImage for each
  std::vector<uint8_t> levels;
  std::atomic<uint64_t> put = 0, taken = 0;  // images so far
  std::atomic<int64_t> lostRows = 0;
};

}  // namespace tarnvisor

// Where an image writes a histogram or a profile: an indexed store of numbers. Data vectors implement it; so
// does the plain one below.
#pragma once

#include <cstddef>
#include <vector>

namespace tarnvisor {

class IndexedStore {
 public:
  virtual ~IndexedStore() = default;
  // Makes room for count numbers, all 0. False when there is no memory; the store is then unchanged.
  virtual bool setSize(size_t count) = 0;
  virtual void setValue(size_t index, double value) = 0;
};

class NumberStore final : public IndexedStore {
 public:
  bool setSize(size_t count) override {
    values.assign(count, 0.0);
    return true;
  }
  void setValue(size_t index, double value) override { values[index] = value; }
  std::vector<double> values;
};

}  // namespace tarnvisor

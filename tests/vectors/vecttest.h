// Building vectors from lists, and looking at them, for the tests of this room.
#pragma once

#include "support/testing.h"
#include "vectors/rowvect.h"

namespace tarnvisor::vecttest {

using Values = std::vector<double>;

template <class Vect>
Vect of(const Values& values, uint16_t width = 1) {
  Vect vect(static_cast<uint32_t>(values.size() / width), width);
  for (size_t i = 0; i < values.size(); ++i)
    vect.data[i] = static_cast<std::remove_reference_t<decltype(*vect.data)>>(values[i]);
  return vect;
}

// All items, through the abstract interface.
inline Values all(const CdataVect& vect) {
  Values values(uint64_t{vect.size} * vect.width);
  for (uint32_t i = 0; i < values.size(); ++i) vect.getval(i, values[i]);
  return values;
}

template <class Work>
std::string errors(Work work) {
  ::testing::internal::CaptureStderr();
  work();
  return ::testing::internal::GetCapturedStderr();
}

// The same numbers each time, below a limit.
inline Values noise(size_t count, uint32_t limit, uint32_t seed = 1) {
  Values values(count);
  for (double& value : values) {
    seed = seed * 1664525u + 1013904223u;
    value = (seed >> 8) % limit;
  }
  return values;
}

}  // namespace tarnvisor::vecttest

// The one parallel loop. The work is cut into contiguous pieces whose results must not depend on where the
// cuts fall, so that one thread and many give the same bits.
#pragma once

#include <cstdint>
#include <functional>

namespace tarnvisor {

// Threads that a loop may use: 0 (the default) for all cores.
void setParallelThreads(int count);
int parallelThreads();

// Calls work(begin, end) over pieces of [0, count), each at least grain long unless count is shorter. Small
// loops run in the caller. Returns when all pieces are done. An exception ends the process: work must not
// throw.
void parallelFor(int64_t count, int64_t grain, const std::function<void(int64_t, int64_t)>& work);

}  // namespace tarnvisor

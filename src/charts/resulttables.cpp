#include "charts/resulttables.h"

namespace tarnvisor {

namespace {

constexpr ColumnRecord kChart[] = {
    {0, 1, "filename", 20, 0, 0}, {1, 1, "trace", 15, 0, 0},    {2, 1, "start", 10, 10, 2},
    {3, 1, "end", 10, 10, 2},     {4, 1, "average", 10, 10, 2}, {5, 1, "max", 10, 10, 2},
    {6, 1, "min", 10, 10, 2},     {7, 1, "% used", 10, 10, 0},  {8, 1, "Sum", 11, 11, 1}};

}  // namespace

const ResultTable kChartResults{11016, "Chart Results", kChart};

}  // namespace tarnvisor

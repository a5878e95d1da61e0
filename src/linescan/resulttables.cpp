#include "linescan/resulttables.h"

namespace tarnvisor {

namespace {

// In record order; what is shown follows the first numbers.
constexpr ColumnRecord kCapillary[] = {
    {9, 1, "filename", 40, 0, 0}, {10, 1, "units", 6, 0, 0},   {0, 1, "line", 5, 3, 0},
    {6, 1, "length", 8, 7, 2},    {1, 1, "diameter", 9, 7, 2}, {2, 1, "velocity", 9, 7, 0},
    {3, 1, "flow", 9, 7, 0},      {4, 1, "x", 6, 5, 1},        {5, 1, "y", 6, 5, 1},
    {7, 1, "av r", 10, 5, 2},     {8, 1, "%good", 10, 5, 1}};

constexpr ColumnRecord kLinescan[] = {{0, 1, "filename", 40, 0, 0}, {1, 1, "trace", 40, 0, 0},
                                      {2, 1, "line", 5, 5, 0},      {3, 1, "x", 10, 7, 3},
                                      {4, 1, "dx", 10, 7, 3},       {5, 1, "dy", 10, 7, 3},
                                      {6, 1, "velocity", 10, 7, 3}, {7, 1, "average", 10, 7, 3}};

}  // namespace

const ResultTable kCapillaryResults{11113, "Capillary Measurement Results", kCapillary};
const ResultTable kLinescanResults{11112, "Linescan slope velocities", kLinescan};

}  // namespace tarnvisor

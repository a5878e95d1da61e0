#include "dynamic/resulttables.h"

namespace tarnvisor {

namespace {

constexpr ColumnRecord kFlow[] = {
    {0, 1, "filename", 20, 0, 0}, {1, 1, "units", 6, 0, 0},    {2, 1, "width", 8, 7, 2},
    {3, 1, "height", 8, 7, 2},    {4, 1, "area", 10, 7, 0},    {5, 1, "FCF", 8, 7, 3},
    {6, 1, "FCD (%)", 8, 7, 3},   {7, 1, "flux", 8, 7, 3},     {8, 1, "conc", 8, 7, 3},
    {9, 1, "threshold", 8, 7, 1}, {10, 1, "rms av.", 8, 7, 3}, {11, 1, "rms area", 9, 8, 3}};

}  // namespace

const ResultTable kFlowResults{11029, "Functional Capillary Flow and Density Results", kFlow};

}  // namespace tarnvisor

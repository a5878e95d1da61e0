#include "imagedoc/resulttables.h"

namespace tarnvisor {

namespace {

constexpr ColumnRecord kImage[] = {{0, 1, "filename", 20, 0, 0},
                                   {1, 1, "units", 6, 0, 0},
                                   {2, 1, "ROI w", 8, 7, 1},
                                   {3, 1, "ROI h", 8, 7, 1},
                                   {4, 1, "ROI area", 10, 7, 0},
                                   {5, 1, "Av. Level", 9, 7, 2},
                                   {6, 1, "min", 5, 4, 0},
                                   {7, 1, "max", 5, 4, 0},
                                   {8, 1, "list", 5, 2, 0},
                                   {9, 1, "N", 4, 4, 0},
                                   {10, 1, "total L", 9, 7, 1},
                                   {11, 1, "Av. L", 8, 7, 1},
                                   {12, 1, "total Area", 12, 11, 0},
                                   {13, 1, "Av. Area", 9, 9, 1},
                                   {14, 1, "density (%)", 13, 12, 2},
                                   {15, 1, "Count density", 15, 8, 3},
                                   {16, 1, "Dim count density", 21, 8, 3},
                                   {17, 1, "Linear density", 15, 8, 3},
                                   {18, 1, "Tortuosity0", 11, 8, 3},
                                   {19, 1, "Tortuosity1", 11, 8, 4},
                                   {20, 1, "Tort1 curves", 12, 8, 3}};

constexpr ColumnRecord kVoronoi[] = {
    {0, 1, "filename", 20, 0, 0}, {1, 1, "units", 6, 0, 0},     {2, 1, "ROI w", 8, 7, 1},
    {3, 1, "ROI h", 8, 7, 1},     {4, 1, "ROI area", 10, 7, 0}, {5, 1, "#caps", 6, 4, 0},
    {6, 1, "density", 8, 6, 2},   {7, 1, "#regions", 9, 7, 0},  {8, 1, "Av Area", 9, 8, 1},
    {9, 1, "#NN", 5, 4, 0},       {10, 1, "Av NN", 8, 7, 1},    {11, 1, "Av Krogh", 10, 9, 1}};

constexpr ColumnRecord kDiameter[] = {{0, 1, "filename", 20, 0, 0},
                                      {1, 1, "units", 6, 0, 0},
                                      {2, 1, "line", 5, 5, 0},
                                      {3, 1, "width", 8, 7, 1}};

constexpr ColumnRecord kNailfold[] = {
    {0, 1, "filename", 20, 0, 0},    {1, 1, "units", 6, 0, 0},       {2, 1, "line", 5, 5, 0},
    {3, 1, "apex width", 10, 7, 1},  {4, 1, "loop width", 10, 7, 1}, {5, 1, "left width", 10, 7, 1},
    {6, 1, "right width", 10, 7, 1}, {7, 1, "x", 8, 7, 2},           {8, 1, "y", 8, 7, 2},
    {9, 1, "density", 8, 7, 2},      {10, 1, "fit", 8, 7, 3},        {11, 1, "cord", 8, 7, 2}};

// -1 is what can't be told.
constexpr ColumnRecord kLoops[] = {
    {0, 1, "filename", 20, 0, 0},       {1, 1, "verdict", 12, 0, 0},        {2, 1, "row mm", 8, 6, 2},
    {3, 1, "loops", 6, 4, 0},           {4, 1, "clear", 6, 4, 0},           {5, 1, "per mm", 8, 6, 2},
    {6, 1, "+- per mm", 9, 6, 2},       {7, 1, "central per mm", 14, 6, 0}, {8, 1, "giant", 6, 4, 0},
    {9, 1, "widest apex um", 14, 7, 1}, {10, 1, "avascular %", 11, 6, 0}};

constexpr ColumnRecord kLoopMeasures[] = {
    {0, 1, "filename", 20, 0, 0},   {1, 1, "kind", 6, 0, 0},        {2, 1, "loop", 5, 4, 0},
    {3, 1, "x", 8, 6, 0},           {4, 1, "y", 8, 6, 0},           {5, 1, "apex width", 10, 7, 1},
    {6, 1, "limb width", 10, 7, 1}, {7, 1, "other limb", 10, 7, 1}, {8, 1, "length", 8, 7, 1},
    {9, 1, "tortuosity", 10, 7, 3}, {10, 1, "to next", 8, 7, 1}};

}  // namespace

const ResultTable kImageResults{11038, "Image Results", kImage};
const ResultTable kVoronoiResults{0, "Voronoi-Results", kVoronoi};
const ResultTable kDiameterResults{11023, "Diameter Calculation Results", kDiameter};
const ResultTable kNailfoldResults{11066, "Nailfold Capillary loop measurements", kNailfold};
const ResultTable kLoopResults{0, "Nailfold Loops", kLoops};
const ResultTable kLoopMeasureResults{0, "Nailfold Loop Measures", kLoopMeasures};

}  // namespace tarnvisor

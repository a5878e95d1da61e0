// A chart on paper, for all kinds of charts.
#pragma once

#include <functional>

#include "charts/chartdoc.h"
#include "host/printer.h"

namespace tarnvisor {

// Draws a chart in an area of a canvas.
using DrawChart = std::function<void(Canvas&, const Rect&)>;

// The page: when it was printed, the document's title, whose it is, the chart below.
void printChart(PrintJob& job, const ZchartDoc& document, const DrawChart& draw);

}  // namespace tarnvisor

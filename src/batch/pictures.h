// Pictures and pages without a display: a view as its window would show it, and what is printed as a PDF
// file.
#pragma once

#include <functional>
#include <string>

#include "base/outcome.h"
#include "framework/view.h"
#include "host/printer.h"

namespace tarnvisor {

// What is drawn, in the format that the path's ending names (png, jpg, bmp, svg, pdf). On failure an old file
// of that name stays as it was.
Outcome savePicture(const std::string& path, Size size, PixelSize pixel,
                    const std::function<void(Canvas&)>& draw);
// The whole content of a view at its zoom, overlays included; in the format that the path's ending names
// (png, jpg, bmp). On failure an old file of that name stays as it was.
Outcome saveSnapshot(CView& view, const std::string& path);
// A4 pages at 300 pixels an inch.
Outcome printToPdf(const std::string& title, const Printer::Draw& draw, const std::string& path);

}  // namespace tarnvisor

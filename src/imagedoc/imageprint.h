// The printed page of an image: a header, the image at a whole scale, and the notes in what space remains,
// which go on over as many pages as they need.
#pragma once

#include <string>
#include <vector>

#include "host/printer.h"

namespace tarnvisor {

class ZBasicDoc;

void printImage(PrintJob& job, ZBasicDoc& document);

// The header's lines. scale: pixels of the page for one of the image.
std::vector<std::string> printheader(const ZBasicDoc& document, int32_t scale, double pixelsPerInch);
// How many pixels of the page one of the image takes, at least 1.
int32_t printScale(Size image, Size room);

}  // namespace tarnvisor

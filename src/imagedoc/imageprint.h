// The printed page of an image: a header, the image at a whole scale, and the notes in what space remains.
#pragma once

#include "host/printer.h"

namespace tarnvisor {

class ZBasicDoc;

void printImage(PrintJob& job, ZBasicDoc& document);

}  // namespace tarnvisor

#include "imagedoc/imageprint.h"

namespace tarnvisor {

void printImage(PrintJob&, ZBasicDoc&) {}

}  // namespace tarnvisor

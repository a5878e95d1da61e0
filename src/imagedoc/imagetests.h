// Two tests of the optics on one image: the fall of brightness towards the corners, and the contrast along a
// ruled target. Each appends a record to a table in the data folder and to the document's notes.
#pragma once

#include <cstdint>

namespace tarnvisor {

class ZBasicDoc;

bool vignetteTest(ZBasicDoc& document);
// y: the row that is looked at.
bool autocalTest(ZBasicDoc& document, int32_t y);

}  // namespace tarnvisor

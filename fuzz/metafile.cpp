// Bytes as a metafile, played on a canvas that counts what it is asked to draw.
#include "drawing/metafile.h"

#include <cstdlib>

#include "countingcanvas.h"

using namespace tarnvisor;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  constexpr size_t kMostDrawn = 200'000;
  CountingCanvas canvas;
  playMetafile({data, size}, canvas, {-5, 3, 2000, 1500}, 0x808080);
  if (canvas.drawn > kMostDrawn) std::abort();
  return 0;
}

#include "image/stillimport.h"
#include "imagebytes.h"

using namespace tarnvisor;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const BytesAsFile file(data, size);
  CZZimage image;
  (void)stillPages(file.path());
  (void)importStill(file.path(), 0, image);
  return 0;
}

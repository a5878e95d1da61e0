#include "image/imagefile.h"
#include "imagebytes.h"

using namespace tarnvisor;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const BytesAsFile file(data, size);
  CZZimage image, clip;
  std::string why;
  (void)loadBmp(image, file.path(), why);
  if (size > 14) loadBitmapBytes(clip, {data + 14, size - 14}, true);
  return 0;
}

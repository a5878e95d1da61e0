#include "image/imagefile.h"
#include "imagebytes.h"

using namespace tarnvisor;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const BytesAsFile file(data, size);
  CZZimage image;
  std::string why;
  (void)loadTiff(image, file.path(), why);
  return 0;
}

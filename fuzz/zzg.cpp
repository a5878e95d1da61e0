#include "image/imagefile.h"
#include "imagebytes.h"

using namespace tarnvisor;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const BytesAsFile file(data, size);
  CZZimage image;
  std::string why;
  (void)loadZzg(image, file.path(), why);
  for (int32_t interlace = 0; interlace < 3; ++interlace) {
    CZZimage target(40, 30, 1, interlace, interlace == 1 ? kColour : kGrey);
    loadZzgRegion(target, file.path(), {3, 2, 33, 25});
  }
  if (!image.empty()) {
    image.statistics({1, 1, 9, 9}, nullptr, nullptr, nullptr);
    image.makeChild({-3, -3, 5, 5});
  }
  return 0;
}

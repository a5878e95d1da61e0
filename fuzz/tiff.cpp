#include "host/host.h"
#include "image/imagefile.h"
#include "imagebytes.h"

using namespace tarnvisor;

namespace {
struct Silence final : Messages {
  Answer show(const std::string&, Buttons, Icon) override { return Answer::Ok; }
};
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static Silence silence;
  static const Host nobody = host();
  static Host quiet{silence,           nobody.choosers, nobody.forms,     nobody.clipboard, nobody.windows,
                    nobody.waitCursor, nobody.printer,  nobody.processes, nobody.pictures};
  static const HostScope scope(quiet);
  const BytesAsFile file(data, size);
  CZZimage image;
  loadTiff(image, file.path());
  return 0;
}

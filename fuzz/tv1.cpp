// Bytes as an image document, opened as a user would, without its pixel file.
#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "app/basicapp.h"
#include "exams/examselection.h"
#include "host/host.h"
#include "imagedoc/zbasicdoc.h"
#include "measure/dimlist.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace tarnvisor;
  static CBasicApp app;
  static const ExamSelection exams(app);
  registerDimensionClasses();
  const int handle = ::memfd_create("tv1", MFD_CLOEXEC);
  if (handle < 0 || ::write(handle, data, size) != static_cast<ssize_t>(size)) std::abort();
  ZBasicDoc document;
  document.silent = 1;
  const std::string path = "/proc/self/fd/" + std::to_string(handle);
  document.setPathName(path);
  if (document.onOpenDocument(path)) {
    // What was read can be measured, moved and copied.
    const Rect area = document.roiOrWhole();
    for (CDimList& list : document.dimlists) {
      (void)list.countIn(area, document.hasCircularRoi());
      (void)list.totalLengthIn(area, false, 1.0, 1.0);
    }
    ZBasicDoc copy;
    copy.silent = 1;
    if (!copy.copyFrom(document)) std::abort();
  }
  ::close(handle);
  return 0;
}

// Bytes as the list of versions beside a video. What was read is written again, and read.
#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <string>

#include "base/files.h"
#include "dynamic/movieversions.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace tarnvisor;
  const int handle = ::memfd_create("versions", MFD_CLOEXEC);
  if (handle < 0 || ::write(handle, data, size) != static_cast<ssize_t>(size)) std::abort();
  MovieVersions versions;
  if (versions.read("/proc/self/fd/" + std::to_string(handle))) {
    const TemporaryFolder folder("fuzz");
    MovieVersions again;
    if (!versions.write(folder.file("again")) || !again.read(folder.file("again"))) std::abort();
    if (again.all().size() != versions.all().size()) std::abort();
  }
  ::close(handle);
  return 0;
}

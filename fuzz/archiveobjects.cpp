// A dimension list by reference, then whatever references and texts follow it.
#include <cstddef>

#include "measure/dimlist.h"

using namespace tarnvisor;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  registerDimensionClasses();
  MemoryStream memory({data, data + size});
  Archive archive(memory, Archive::Direction::Loading);
  try {
    const auto list = archive.readOwned<CDimList>();
    std::vector<Archive::Loaded> others;
    while (archive.remaining() > 0) {
      others.push_back(archive.readObject(nullptr));
      archive.readString();
    }
  } catch (const ArchiveException&) {
  }
  return 0;
}

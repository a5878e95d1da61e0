// Bytes as a document of capillary flow, opened as a user would, with the same bytes as its maps.
#include <cstdint>
#include <cstdlib>
#include <span>
#include <string>

#include "app/basicapp.h"
#include "base/files.h"
#include "dynamic/fcfdoc.h"
#include "exams/examselection.h"
#include "measure/dimlist.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace tarnvisor;
  static CBasicApp app;
  static const ExamSelection exams(app);
  static const TemporaryFolder folder("fuzz-fcf");
  registerDimensionClasses();
  const std::string path = folder.file("x.zzfcf");
  for (const std::string& file : {path, folder.file("x.zzrawfcf")})
    if (!replaceFile(file, std::span(data, size))) std::abort();
  fcfdoc document;
  document.silent = 1;
  document.setPathName(path);
  if (!document.onOpenDocument(path)) return 0;
  document.recomputeFcf();
  (void)document.shownValueAt({0, 0});
  if (document.hasMaps() && !document.hasImage()) std::abort();
  return 0;
}

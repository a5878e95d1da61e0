// Bytes as a result table's file, then all that reads a table.
#include <cstdint>

#include "app/basicapp.h"
#include "archive/archive.h"
#include "exams/examselection.h"
#include "results/resultview.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace tarnvisor;
  static CBasicApp app;
  static const ExamSelection exams(app);
  registerResultClasses();
  CResultDoc document;
  try {
    MemoryStream stream({data, data + size});
    Archive archive(stream, Archive::Direction::Loading);
    document.serialize(archive);
  } catch (const ArchiveException&) {
    return 0;
  }
  const CResultView view(document);
  (void)view.contentSize();
  (void)document.asText();
  (void)document.selectionText();
  document.addrow({"f", "u", {1.5, -2.5}});
  return 0;
}

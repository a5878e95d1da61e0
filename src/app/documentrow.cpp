#include "app/documentrow.h"

#include <algorithm>

#include "base/text.h"

namespace tarnvisor {

bool gateOpen(DocumentRow::Gate gate) {
  const bool image = process.tarnvisorEnabled;
  switch (gate) {
    case DocumentRow::Gate::Image:
      return image;
    case DocumentRow::Gate::Live:
      return image && process.fgAvailable;
    case DocumentRow::Gate::ImageOrVelocity:
      return image || process.floEnabled;
    case DocumentRow::Gate::Velocity:
      return process.floEnabled && process.flo1Available;
    case DocumentRow::Gate::Dynamic:
      return image && process.dynamicChannel();
  }
  return false;
}

std::string openFilter(std::span<const DocumentRow> table) {
  std::vector<const FileKind*> kinds;
  for (const DocumentRow& row : table)
    if (row.classes.faceOf)
      for (const FileKind& kind : row.classes.faceOf().files)
        if (*kind.openWords && std::ranges::find(kinds, &kind) == kinds.end()) kinds.push_back(&kind);
  std::ranges::stable_sort(kinds, {}, &FileKind::openPlace);
  std::string all, each;
  for (const bool ofOthers : {false, true})
    for (const FileKind* kind : kinds)
      if (kind->ofOthers == ofOthers) all += (all.empty() ? "*" : ";*") + std::string(kind->ending);
  for (const FileKind* kind : kinds) each += format("%s|*%s|", kind->openWords, kind->ending);
  return "ZZ files|" + all + "|" + each + "All files (*.*)|*.*||";
}

}  // namespace tarnvisor

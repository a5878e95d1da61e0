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

namespace {

// The patterns of a filter's parts, in their order.
void addPatterns(const std::string& filter, std::vector<std::string>& patterns) {
  const std::vector<std::string> parts = split(filter, '|');
  for (size_t i = 1; i < parts.size(); i += 2)
    for (const std::string& pattern : split(parts[i], ';'))
      if (std::ranges::find(patterns, pattern) == patterns.end()) patterns.push_back(pattern);
}

std::string joined(const std::vector<std::string>& patterns) {
  std::string all;
  for (const std::string& pattern : patterns) all += (all.empty() ? "" : ";") + pattern;
  return all;
}

}  // namespace

std::string openFilter(std::span<const DocumentRow> table) {
  std::vector<const FileKind*> kinds;
  std::string imported;
  for (const DocumentRow& row : table) {
    if (*row.classes.importFilter) imported += std::string(row.classes.importFilter) + "|";
    if (row.classes.faceOf)
      for (const FileKind& kind : row.classes.faceOf().files)
        if (*kind.openWords && std::ranges::find(kinds, &kind) == kinds.end()) kinds.push_back(&kind);
  }
  std::ranges::stable_sort(kinds, {}, &FileKind::openPlace);
  std::vector<std::string> own;
  std::string each;
  for (const bool ofOthers : {false, true})
    for (const FileKind* kind : kinds)
      if (kind->ofOthers == ofOthers) own.push_back("*" + std::string(kind->ending));
  for (const FileKind* kind : kinds) each += format("%s|*%s|", kind->openWords, kind->ending);
  std::vector<std::string> all = own;
  addPatterns(imported, all);
  return "Everything Tarnvisor reads|" + joined(all) + "|" + imported + "ZZ files|" + joined(own) + "|" +
         each + "All files (*.*)|*.*||";
}

}  // namespace tarnvisor

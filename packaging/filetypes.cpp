// Writes what the desktop is told of the system's kinds of file, from their own rows: the desktop entry, made
// from the one beside this file, and the description of the MIME types. usage: filetypes TEMPLATE.desktop
// OUTPUT.desktop OUTPUT.xml
#include <cstdio>
#include <set>

#include "assembly/assembly.h"
#include "base/files.h"
#include "base/text.h"

namespace {

using namespace tarnvisor;

std::string mimeType(const FileKind& kind, const char* icon) {
  std::string text =
      format("  <mime-type type=\"%s\">\n    <comment>%s</comment>\n", kind.mimeType, kind.mimeComment);
  text += kind.mimeWeight == 50
              ? format("    <glob pattern=\"*%s\"/>\n", kind.ending)
              : format("    <glob pattern=\"*%s\" weight=\"%i\"/>\n", kind.ending, kind.mimeWeight);
  return text + format("    <icon name=\"tarnvisor-%s\"/>\n  </mime-type>\n", icon);
}

}  // namespace

int main(int argc, char** argv) {
  const auto entry = argc == 4 ? readWholeText(argv[1]) : std::nullopt;
  if (!entry) {
    std::fputs("usage: filetypes TEMPLATE.desktop OUTPUT.desktop OUTPUT.xml\n", stderr);
    return 2;
  }
  std::string opened, described;
  std::set<std::string> seen;
  for (const DocumentRow& row : documentTable()) {
    if (!row.classes.faceOf || !row.classes.makeDocument) continue;
    const DocumentFace& face = row.classes.faceOf();
    for (const FileKind& kind : face.files) {
      if (!*kind.mimeType || !seen.insert(kind.mimeType).second) continue;
      if (kind.opens) opened += std::string(kind.mimeType) + ";";
      if (*kind.mimeComment) described += mimeType(kind, face.icon);
    }
  }
  constexpr std::string_view kMark = "@MIME_TYPES@";
  std::string filled = *entry;
  if (const size_t at = filled.find(kMark); at != std::string::npos) filled.replace(at, kMark.size(), opened);
  const Outcome desktop = replaceFile(argv[2], std::string_view(filled));
  const Outcome mime = replaceFile(
      argv[3],
      std::string_view("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                       "<mime-info xmlns=\"http://www.freedesktop.org/standards/shared-mime-info\">\n" +
                       described + "</mime-info>\n"));
  for (const Outcome* done : {&desktop, &mime})
    if (!*done) std::fprintf(stderr, "%s\n", done->why().c_str());
  return desktop && mime ? 0 : 1;
}

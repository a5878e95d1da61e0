#include "frame/hdrfileopendlg.h"

#include "host/host.h"
#include "movie/rawheader.h"
#include "settings/settings.h"

namespace tarnvisor {

HdrFileOpenDlg::HdrFileOpenDlg()
    : request{"Open Cytoscan file", "cytoscan files (*.*)|*.*||", "", settings.getString("hdr", "header", ""),
              &headerOf} {}

std::string HdrFileOpenDlg::headerOf(const std::string& path) {
  const std::string headerPath = isRawFile(path) ? rawHeaderBeside(path) : path;
  RawHeader header;
  if (headerPath.empty())
    return "No header: " + std::to_string(header.width) + " by " + std::to_string(header.height) +
           " pixels, as many images as there are.";
  const Outcome read = readRawHeader(headerPath, header);
  return read ? header.text : read.why();
}

std::optional<std::string> HdrFileOpenDlg::run() const {
  const auto path = host().choosers.openFile(request);
  return path && !path->empty() ? path : std::nullopt;
}

}  // namespace tarnvisor

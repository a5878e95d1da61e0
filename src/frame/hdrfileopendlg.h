// The chooser of raw frames: beside the files it shows the header of the one that is selected.
#pragma once

#include <optional>
#include <string>

#include "host/choosers.h"

namespace tarnvisor {

class HdrFileOpenDlg {
 public:
  // Opens in the folder, or on the file, of key `header` of section "hdr".
  HdrFileOpenDlg();

  // What the text field shows of a file: its header with the line ends as blanks, or why it is none.
  static std::string headerOf(const std::string& path);
  // Nothing when the user cancels.
  std::optional<std::string> run() const;

 private:
  FileRequest request;
};

}  // namespace tarnvisor

// The command line, and the manual's pages.
#pragma once

#include <string>
#include <vector>

#include "app/basicapp.h"

namespace tarnvisor {

// The manual's page for the document in front (null for none), "results.html" for a result table; its first
// page where there is no such page. Empty where no manual lies beside the program or in its share folder.
std::string helpPage(const CDocument* front);

struct CommandLine {
  // What the application is given: nothing, a file, or "/x FILE".
  std::string forApplication;
  std::vector<std::string> otherFiles;  // absolute
  std::string dataFolder;
  std::string profile;
  int exitCode = -1;    // 0 or above: end at once with it, after printing the message
  std::string message;  // on standard output for 0, otherwise on standard error
};
// Paths are made absolute, since the start changes the working folder.
CommandLine parseCommandLine(const std::vector<std::string>& arguments);

}  // namespace tarnvisor

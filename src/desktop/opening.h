// Files that come in from outside: dropped on the window or named on the command line; and the manual's
// pages.
#pragma once

#include <string>
#include <vector>

#include "app/basicapp.h"

namespace tarnvisor {

// Whether a file holds a still that opens as a new image document, by its ending.
bool isStill(const std::string& path);
// The document of a file, or a new image document of a still. Null after the user was told why not.
CDocument* openFileOrStill(CBasicApp& app, const std::string& path);

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

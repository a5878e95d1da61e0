#include "desktop/opening.h"

#include <algorithm>
#include <array>

#include "app/inputs.h"
#include "base/commit.h"
#include "base/files.h"
#include "base/text.h"
#include "base/version.h"
#include "host/host.h"
#include "settings/profile.h"

namespace tarnvisor {

namespace {

constexpr const char* kUsage =
    "usage: tarnvisor [options] [file...]\n"
    "       tarnvisor [options] /a FILE | /m FILE | /P FILE\n"
    "  /a FILE         export a video as uncompressed AVI, then close\n"
    "  /m FILE         correct the movement of a video, save it, then close\n"
    "  /P FILE         build the nailfold panorama of a video\n"
    "  --data FOLDER   a data folder in place of the profile's\n"
    "  --profile FILE  a profile in place of the program's own\n"
    "  --help, --version\n"
    "Without windows, tarnvisor-batch does the same from a script.\n";

bool isSwitch(const std::string& argument) {
  return argument.size() == 2 && argument[0] == '/' && std::isalpha(static_cast<unsigned char>(argument[1]));
}

}  // namespace

std::string helpPage(const CDocument* front) {
  const std::string page =
      std::string(front && front->type() ? front->type()->face().helpPage : "index") + ".html";
  const std::string& beside = installedFolder();
  for (const std::string& folder :
       {beside + "help/", beside + "../share/tarnvisor/help/", beside + "../../help/"})
    for (const std::string& name : {page, std::string("index.html")})
      if (fileExists(folder + name)) return absolutePath(folder + name);
  return {};
}

CommandLine parseCommandLine(const std::vector<std::string>& arguments) {
  CommandLine line;
  const auto end = [&](int code, const std::string& message) {
    line.exitCode = code;
    line.message = message;
    return line;
  };
  std::vector<std::string> files;
  std::string letter;
  bool onlyFiles = false;
  for (size_t i = 0; i < arguments.size(); ++i) {
    const std::string& argument = arguments[i];
    if (!onlyFiles && argument == "--help") return end(0, kUsage);
    if (!onlyFiles && argument == "--version")
      return end(0, "tarnvisor " + versionText() + " (commit " + programCommit() + ")\n");
    if (!onlyFiles && argument == "--") {
      onlyFiles = true;
    } else if (!onlyFiles && (argument == "--data" || argument == "--profile")) {
      if (++i == arguments.size()) return end(2, argument + " needs a value\n");
      (argument == "--data" ? line.dataFolder : line.profile) = absolutePath(arguments[i]);
    } else if (!onlyFiles && argument.size() > 1 && argument[0] == '-') {
      return end(2, "unknown option " + argument + "\n" + kUsage);
    } else if (!onlyFiles && files.empty() && isSwitch(argument)) {
      letter = argument;
    } else if (!onlyFiles && files.empty() && argument.size() > 3 && argument[2] == ' ' &&
               isSwitch(argument.substr(0, 2))) {
      letter = argument.substr(0, 2);
      files.push_back(absolutePath(argument.substr(3)));
    } else if (!argument.empty()) {
      files.push_back(absolutePath(argument));
    }
  }
  if (!letter.empty()) {
    if (files.size() > 1) return end(2, letter + " takes one file\n" + std::string(kUsage));
    line.forApplication = letter + " " + (files.empty() ? "" : files[0]);
    return line;
  }
  if (!files.empty()) {
    line.forApplication = files[0];
    files.erase(files.begin());
  }
  line.otherFiles = std::move(files);
  return line;
}

}  // namespace tarnvisor

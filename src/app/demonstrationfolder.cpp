#include "app/demonstrationfolder.h"

#include <cstdlib>

#include "base/files.h"

namespace tarnvisor {

std::string demonstrationFolder() {
  const auto variable = [](const char* name) {
    const char* value = std::getenv(name);
    return std::string(value ? value : "");
  };
  const std::string given = variable("XDG_DATA_HOME");
  const std::string home = given.empty() ? variable("HOME") + "/.local/share" : given;
  return withSeparator(home) + "tarnvisor/demonstration/";
}

bool isDemonstration(const std::string& dataFolder) { return dataFolder == demonstrationFolder(); }

}  // namespace tarnvisor

#include "settings/fingerprint.h"

#include <algorithm>

#include "base/checksum.h"
#include "base/text.h"
#include "settings/settings.h"

namespace tarnvisor {

namespace {
bool isOneOf(std::string_view word, std::initializer_list<std::string_view> words) {
  return std::ranges::any_of(words, [&](std::string_view each) { return equalIgnoringCase(each, word); });
}
}  // namespace

std::string settingsFingerprint() {
  std::string counted;
  for (const auto& [section, key, value] : settings.entries()) {
    if (isOneOf(section, {"MainWindow", "WINDOWSZ", "directories", "Recent File List"}) ||
        isOneOf(key, {"directory", "database", "left",       "top",     "right",   "bottom",  "w",    "h",
                      "wleft",     "wtop",     "wright",     "wbottom", "show",    "showcmd", "minx", "miny",
                      "maxx",      "maxy",     "showtarget", "targetx", "targety", "gridshow"}))
      continue;
    counted.append(section).append("/").append(key).append("=").append(value).append("\n");
  }
  return sha256(counted);
}

}  // namespace tarnvisor

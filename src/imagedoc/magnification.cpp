#include "imagedoc/magnification.h"

#include <cstdlib>
#include <utility>

#include "base/clock.h"
#include "base/text.h"
#include "settings/log.h"
#include "settings/settings.h"

namespace tarnvisor {

namespace {

std::string sectionOf(int32_t number) { return format("mag%1i", number); }

// Times outgrow 32 bits, so they are kept as text.
int64_t readTime(const std::string& section, const std::string& key, int64_t missing) {
  const std::string text = settings.getString(section, key, "");
  return text.empty() ? missing : std::strtoll(text.c_str(), nullptr, 10);
}

void readEntry(const std::string& section, const std::string& noName, MagnificationEntry& entry) {
  for (const auto& [key, value] : {std::pair{"magx", &entry.magx}, std::pair{"magy", &entry.magy}}) {
    const double stored = settings.getDouble(section, key, *value);
    if (isScale(stored)) *value = stored;
  }
  entry.magname = settings.getString(section, "magname", noName);
  entry.magdate = readTime(section, "magdate", entry.magdate);
}

void writeEntry(const std::string& section, const MagnificationEntry& entry) {
  settings.setDouble(section, "magx", entry.magx);
  settings.setDouble(section, "magy", entry.magy);
  settings.setString(section, "magname", entry.magname);
  settings.setString(section, "magdate", format("%lld", static_cast<long long>(entry.magdate)));
}

// The section number of a list index; -1 when there is none.
int32_t findSection(int32_t index) {
  const char* problem = nullptr;
  if (index < 0 || index >= magnificationCount()) problem = "bad index >= nmags";
  if (index >= MAXMAGS) problem = "bad index >= MAXMAGS";
  int32_t live = 0;
  for (int32_t number = 0; !problem && number < MAXMAGS; ++number)
    if (settings.getInt(sectionOf(number), "valid", 0) != 0 && live++ == index) return number;
  logPrintf("not found:%s\n", problem ? problem : "");
  return -1;
}

}  // namespace

void readDefaultMagnification(MagnificationEntry& entry) { readEntry("settings", "default", entry); }
void writeDefaultMagnification(const MagnificationEntry& entry) { writeEntry("settings", entry); }

int32_t magnificationCount() { return settings.getInt("settings", "nmags", 0); }

void addMagnification(const MagnificationEntry& entry) {
  const int32_t number = settings.getInt("settings", "nextmag", 0);
  writeEntry(sectionOf(number), entry);
  settings.setInt(sectionOf(number), "valid", 1);
  settings.setInt("settings", "nmags", magnificationCount() + 1);
  settings.setInt("settings", "nextmag", number + 1);
}

bool readMagnification(int32_t index, MagnificationEntry& entry) {
  const int32_t number = findSection(index);
  if (number >= 0) readEntry(sectionOf(number), "no name", entry);
  return number >= 0;
}

bool removeMagnification(int32_t index) {
  const int32_t number = findSection(index);
  if (number < 0) return false;
  settings.setInt(sectionOf(number), "valid", 0);
  settings.setInt("settings", "nmags", magnificationCount() - 1);
  return true;
}

std::string magnificationLine(const MagnificationEntry& entry) {
  const std::string date = entry.magdate > 0 ? longDateTime(entry.magdate) : "never set";
  return format("%8.3f %8.3f %-25s %s", entry.magx, entry.magy, entry.magname.c_str(), date.c_str());
}

}  // namespace tarnvisor

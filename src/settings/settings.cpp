#include "settings/settings.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <map>
#include <optional>
#include <string_view>
#include <thread>
#include <vector>

#include "base/files.h"
#include "base/text.h"
#include "settings/log.h"

namespace tarnvisor {

CSettingsFile settings;
CSettingsFile hwSettings;

namespace {

// A profile is small; a file beyond this is no profile and reads as if it were missing.
constexpr uint64_t kLongestProfile = 16u << 20;

// The name between the brackets of a section's line.
std::optional<std::string_view> sectionName(std::string_view line) {
  line = trimmed(line);
  if (line.empty() || line.front() != '[') return std::nullopt;
  const size_t end = line.find(']');
  return trimmed(line.substr(1, end == std::string_view::npos ? end : end - 1));
}

struct KeyLine {
  std::string_view key;
  std::string_view value;
};
std::optional<KeyLine> keyOf(std::string_view line) {
  const std::string_view body = trimmed(line);
  const size_t equals = line.find('=');
  if (body.empty() || body.front() == ';' || equals == std::string_view::npos) return std::nullopt;
  return KeyLine{trimmed(line.substr(0, equals)), trimmed(line.substr(equals + 1))};
}

// Calls visit(line, start, end) for each line of the text; end is past the line's end mark. Stops on true.
template <class Visit>
void eachLine(std::string_view text, Visit visit) {
  for (size_t start = 0; start < text.size();) {
    const size_t mark = text.find('\n', start);
    const size_t end = mark == std::string_view::npos ? text.size() : mark + 1;
    if (visit(text.substr(start, end - start), start, end)) return;
    start = end;
  }
}

// Where a key's line lies in the text, or where it would be put: behind the last line of its section that
// isn't blank, or at the end. A section that stands in several places is one.
struct Place {
  bool sectionFound = false;
  bool keyFound = false;
  size_t start = 0;
  size_t end = 0;
  std::string_view value;
};
Place findKey(std::string_view text, const std::string& section, const std::string& key) {
  Place place;
  place.start = place.end = text.size();
  bool inside = false;
  const std::string_view mark = "\xef\xbb\xbf";  // some editors begin a text with it
  eachLine(text, [&](std::string_view line, size_t start, size_t end) {
    if (start == 0 && line.starts_with(mark)) line.remove_prefix(mark.size());
    if (const auto name = sectionName(line)) {
      inside = equalIgnoringCase(*name, section);
      if (inside && !place.sectionFound) place.start = place.end = end;
      place.sectionFound = place.sectionFound || inside;
    } else if (inside) {
      if (const auto entry = keyOf(line); entry && equalIgnoringCase(entry->key, key)) {
        place = {true, true, start, end, entry->value};
        return true;
      }
      if (!trimmed(line).empty()) place.start = place.end = end;
    }
    return false;
  });
  return place;
}

std::string_view withoutQuotes(std::string_view value) {
  const bool quoted =
      value.size() > 1 && value.front() == value.back() && (value.front() == '"' || value.front() == '\'');
  return quoted ? value.substr(1, value.size() - 2) : value;
}

std::optional<std::string> readValue(const std::string& file, const std::string& section,
                                     const std::string& key) {
  const auto text = readWholeText(file, kLongestProfile);
  if (!text) return std::nullopt;
  const Place place = findKey(*text, section, key);
  if (!place.keyFound) return std::nullopt;
  return std::string(withoutQuotes(place.value).substr(0, CSettingsFile::kLongestValue));
}

// Blanks at the ends of a value, and quotes around it, survive only inside quotes of their own.
std::string quotedWhereNeeded(const std::string& value) {
  return withoutQuotes(trimmed(value)) == value ? value : '"' + value + '"';
}

// A line's text can't hold a line end; such a value would become lines of its own.
std::string onOneLine(std::string value) {
  return replaced(replaced(std::move(value), '\n', ' '), '\r', ' ');
}

// Holds other programs' writes to files of the same folder off while a profile is read, changed and replaced,
// so that two writers keep each other's keys. The folder is locked, as the file itself is replaced. Where it
// can't be locked, or a stuck program keeps it, the write goes on without.
class FolderLock {
 public:
  explicit FolderLock(const std::string& file) {
    const std::string folder = folderOf(file);
    handle = ::open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (handle < 0) return;
    for (int tries = 0; tries < 200 && ::flock(handle, LOCK_EX | LOCK_NB) != 0; ++tries) {
      if (errno != EWOULDBLOCK && errno != EINTR) return;
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
  }
  ~FolderLock() {
    if (handle >= 0) ::close(handle);
  }
  FolderLock(const FolderLock&) = delete;
  FolderLock& operator=(const FolderLock&) = delete;

 private:
  int handle = -1;
};

// The text with a value put in its place.
void putValue(std::string& text, const std::string& section, const std::string& key,
              const std::string& value) {
  const std::string end = text.find("\r\n") != std::string::npos ? "\r\n" : "\n";
  const Place place = findKey(text, section, key);
  std::string insertion = key + "=" + quotedWhereNeeded(onOneLine(value)) + end;
  if (!place.sectionFound) insertion = "[" + section + "]" + end + insertion;
  if (place.start > 0 && text[place.start - 1] != '\n') insertion = end + insertion;
  text.replace(place.start, place.end - place.start, insertion);
}

}  // namespace

CSettingsFile::Entry CSettingsFile::entryOf(std::string section, std::string key, double value) {
  return {std::move(section), std::move(key), format("%f", value)};
}
CSettingsFile::Entry CSettingsFile::entryOf(std::string section, std::string key, int32_t value) {
  return {std::move(section), std::move(key), format("%i", value)};
}

void CSettingsFile::set(const std::vector<Entry>& values) {
  if (file.empty()) return;
  const FolderLock lock(file);
  std::string text;
  if (fileExists(file)) {
    auto present = readWholeText(file, kLongestProfile);
    if (!present) return;  // unreadable: better a lost write than a lost profile
    text = std::move(*present);
  }
  const std::string before = text;
  for (const Entry& each : values) putValue(text, each.section, each.key, each.value);
  if (text == before) return;
  if (const Outcome done = replaceFile(file, std::string_view(text), AtomicFile::Flush::Later); !done)
    logPrintf("%s\n", done.why().c_str());
}

int32_t CSettingsFile::getInt(const std::string& section, const std::string& key, int32_t missing) const {
  const auto value = readValue(file, section, key);
  // Numbers beyond 32 bits wrap, as an unsigned value that was stored comes back with its bits.
  return value ? static_cast<int32_t>(std::strtoll(value->c_str(), nullptr, 10)) : missing;
}

double CSettingsFile::getDouble(const std::string& section, const std::string& key, double missing) const {
  const double value = std::strtod(getString(section, key, format("%f", missing)).c_str(), nullptr);
  return std::isfinite(value) ? value : missing;
}

std::string CSettingsFile::getString(const std::string& section, const std::string& key,
                                     const std::string& missing) const {
  return readValue(file, section, key).value_or(missing.substr(0, kLongestValue));
}

std::vector<CSettingsFile::Entry> CSettingsFile::entries() const {
  const auto text = readWholeText(file, kLongestProfile);
  std::map<std::pair<std::string, std::string>, std::string> found;
  std::string section;
  eachLine(text.value_or(std::string()), [&](std::string_view line, size_t, size_t) {
    if (const auto name = sectionName(line))
      section = lowerCase(*name);
    else if (const auto each = keyOf(line))
      found.try_emplace({section, lowerCase(each->key)}, withoutQuotes(each->value));  // the first counts
    return false;
  });
  std::vector<Entry> all;
  all.reserve(found.size());
  for (const auto& [name, value] : found) all.push_back({name.first, name.second, value});
  return all;
}

void CSettingsFile::setInt(const std::string& section, const std::string& key, int32_t value) {
  set({entryOf(section, key, value)});
}
void CSettingsFile::setUnsigned(const std::string& section, const std::string& key, uint32_t value) {
  set({{section, key, format("%u", value)}});
}
void CSettingsFile::setDouble(const std::string& section, const std::string& key, double value) {
  set({entryOf(section, key, value)});
}
void CSettingsFile::setString(const std::string& section, const std::string& key, const std::string& value) {
  set({{section, key, value}});
}

}  // namespace tarnvisor

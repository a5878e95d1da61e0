// Any bytes as a profile: every read answers, and a write changes its own line only.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "base/files.h"
#include "base/text.h"
#include "settings/settings.h"

namespace {

using namespace tarnvisor;

struct Folder {
  Folder() {
    // In memory where there is such a folder: every write is flushed to disc.
    const std::string root = folderExists("/dev/shm") ? "/dev/shm" : std::filesystem::temp_directory_path();
    std::string pattern = root + "/tarnvisor-fuzz-XXXXXX";
    if (!::mkdtemp(pattern.data())) std::abort();
    path = withSeparator(pattern);
  }
  ~Folder() {
    std::error_code error;
    std::filesystem::remove_all(path, error);
  }
  std::string path;
};

void require(bool good) {
  if (!good) std::abort();
}

// The lines without the blanks at their ends, where the line end differs.
std::vector<std::string> linesOf(const std::string& text) {
  std::vector<std::string> lines;
  for (const std::string& line : split(text, '\n')) lines.emplace_back(trimmed(line));
  if (text.empty() || text.back() == '\n') lines.pop_back();
  return lines;
}

// After is before with one line "key=..." put in the place of one of that key, or added, perhaps with its
// section's line.
void requireOneChange(const std::string& before, const std::string& after, const std::string& key) {
  const auto isKey = [&](const std::string& line) {
    const size_t equals = line.find('=');
    return equals != std::string::npos &&
           equalIgnoringCase(trimmed(std::string_view(line).substr(0, equals)), key);
  };
  auto a = linesOf(before);
  auto b = linesOf(after);
  size_t start = 0;
  while (start < a.size() && start < b.size() && a[start] == b[start]) ++start;
  size_t end = 0;
  while (end + start < a.size() && end + start < b.size() && a[a.size() - 1 - end] == b[b.size() - 1 - end])
    ++end;
  const size_t lost = a.size() - start - end;
  const size_t gained = b.size() - start - end;
  require(lost <= 1 && gained <= 2);
  require(lost == 0 || (isKey(a[start]) && gained == 1 && isKey(b[start])));
  require(gained < 2 || isKey(b[start]) || isKey(b[start + 1]));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const Folder folder;
  const std::string file = folder.path + "a.ini";
  CSettingsFile store(file);
  const std::string before(reinterpret_cast<const char*>(data), size);
  std::FILE* out = std::fopen(file.c_str(), "wb");
  if (!out) std::abort();
  std::fwrite(data, 1, size, out);
  std::fclose(out);

  (void)store.getInt("Settings", "fgmode", 1);
  (void)store.getDouble("Settings", "red", 0.299);
  require(store.getString("directories", "recorddir", "").size() <= CSettingsFile::kLongestValue);

  const std::string value = size > 0 ? before.substr(0, data[0] % 32) : "";
  store.setString("Settings", "fgmode", value);
  requireOneChange(before, readWholeText(file).value_or(""), "fgmode");
  require(store.getString("SETTINGS", "FGMODE", "?") == replaced(replaced(value, '\n', ' '), '\r', ' '));
  return 0;
}

#include "app/recentfiles.h"

#include <algorithm>

#include "base/files.h"
#include "base/text.h"
#include "settings/settings.h"

namespace tarnvisor {

namespace {

constexpr const char* kSection = "Recent File List";

std::string keyOf(int index) { return format("File%i", index + 1); }

// Only what changed: each write makes the profile anew.
void store(const std::vector<std::string>& files) {
  for (int i = 0; i < kRecentFiles; ++i) {
    const std::string wanted = static_cast<size_t>(i) < files.size() ? files[static_cast<size_t>(i)] : "";
    if (settings.getString(kSection, keyOf(i), "") != wanted) settings.setString(kSection, keyOf(i), wanted);
  }
}

}  // namespace

std::vector<std::string> recentFiles() {
  std::vector<std::string> files;
  for (int i = 0; i < kRecentFiles; ++i) {
    std::string path = settings.getString(kSection, keyOf(i), "");
    if (!path.empty() && std::ranges::find(files, path) == files.end()) files.push_back(std::move(path));
  }
  return files;
}

void addRecentFile(const std::string& path) {
  if (path.empty() || path.size() > CSettingsFile::kLongestValue) return;
  std::vector<std::string> files = recentFiles();
  std::erase(files, path);
  files.insert(files.begin(), path);
  if (files.size() > kRecentFiles) files.resize(kRecentFiles);
  store(files);
}

void removeRecentFile(const std::string& path) {
  std::vector<std::string> files = recentFiles();
  if (std::erase(files, path) > 0) store(files);
}

std::string recentFileLabel(const std::vector<std::string>& files, size_t index) {
  const std::string name = fileNameOf(files[index]);
  const auto same = std::ranges::count_if(files, [&](const auto& f) { return fileNameOf(f) == name; });
  std::string words;
  for (const char c : same > 1 ? files[index] : name)
    words += c == '&' ? std::string("&&") : std::string(1, c);
  return format("%s%zu %s", index < 9 ? "&" : "", index + 1, words.c_str());
}

}  // namespace tarnvisor

// The files opened last, kept in the profile: section "Recent File List", keys File1 to File20, newest first.
#pragma once

#include <string>
#include <vector>

namespace tarnvisor {

inline constexpr int kRecentFiles = 20;

// Absolute paths, newest first, at most kRecentFiles.
std::vector<std::string> recentFiles();
// Puts a path in front. One that the profile can't hold whole is left out.
void addRecentFile(const std::string& path);
void removeRecentFile(const std::string& path);
// How menus show the file at an index: its number, of which the first nine have it underlined, and its name,
// with its folder where another of the files has the same name.
std::string recentFileLabel(const std::vector<std::string>& files, size_t index);

}  // namespace tarnvisor

#include "settings/profile.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>

#include "base/files.h"
#include "base/text.h"
#include "settings/log.h"
#include "settings/settings.h"

namespace tarnvisor {

namespace fs = std::filesystem;

namespace {

std::string profileFolder;
std::string programFileFolder;

std::vector<std::string> profilesIn(const std::string& folder) {
  std::vector<std::string> names;
  std::error_code error;
  fs::directory_iterator entry(folder.empty() ? "." : folder, error);
  for (; !error && entry != fs::directory_iterator(); entry.increment(error))
    if (entry->path().extension() == ".ini") names.push_back(entry->path().stem().string());
  std::sort(names.begin(), names.end());
  return names;
}

std::string userConfigurationFolder() {
  const char* configuration = std::getenv("XDG_CONFIG_HOME");
  if (configuration && *configuration) return withSeparator(configuration) + "tarnvisor/";
  const char* home = std::getenv("HOME");
  return home && *home ? withSeparator(home) + ".config/tarnvisor/" : std::string();
}

bool isWritable(const std::string& folder) {
  return ::access(folder.empty() ? "." : folder.c_str(), W_OK) == 0;
}

// The stores and the log of one base path, without extension.
void useBase(const std::string& base, const std::string& profile) {
  hwSettings.setPath(base + ".HW");
  setLogFile(base + ".log");
  settings.setPath(profile);
}

}  // namespace

const std::string& programFolder() { return profileFolder; }
const std::string& installedFolder() { return programFileFolder; }

bool selectProfile(const std::string& programPath, bool askForDialog, ProfileFace* face) {
  if (programPath.empty() || programPath.size() > kMaxPath) return true;  // keys give their defaults
  programFileFolder = folderOf(programPath);
  const std::string name = withoutExtension(fileNameOf(programPath));
  profileFolder = programFileFolder;
  if (!isWritable(profileFolder)) {
    const std::string own = userConfigurationFolder();
    if (!own.empty() && makeFolderPath(own)) profileFolder = own;
  }
  const std::string base = profileFolder + name;
  const std::string def = programFileFolder + name + ".def";
  if (profilesIn(profileFolder).empty())
    if (const Outcome made = copyFile(def, base + ".ini"); !made) logPrintf("%s\n", made.why().c_str());
  std::string profile = base + ".ini";
  if (askForDialog && face && !profilesIn(profileFolder).empty()) {
    ProfileDialog dialog(profileFolder, name, def);
    if (!face->run(dialog)) return false;
    profile = dialog.pathOf(dialog.selected());
  }
  useBase(base, profile);
  return true;
}

bool selectProfileFile(const std::string& programPath, const std::string& profilePath) {
  programFileFolder = folderOf(programPath);
  profileFolder = folderOf(profilePath);
  if (!fileExists(profilePath))
    if (const Outcome made = copyFile(withoutExtension(programPath) + ".def", profilePath); !made)
      logPrintf("%s\n", made.why().c_str());
  useBase(withoutExtension(profilePath), profilePath);
  return true;
}

void rememberFolder(const std::string& path) {
  const std::string folder = folderOf(path);
  settings.setString("settings", "directory", folder.empty() ? workingFolder() : folder);
}

std::string rememberedFolder() { return settings.getString("settings", "directory", "./"); }

ProfileDialog::ProfileDialog(std::string profileFolderPath, std::string name, std::string def)
    : folder(std::move(profileFolderPath)), ownName(std::move(name)), defPath(std::move(def)) {
  for (const std::string& profile : profilesIn(folder))
    list.push_back(profile == ownName ? kNormal : profile);
}

std::string ProfileDialog::pathOf(const std::string& profile) const {
  return folder + (profile.empty() || profile == kNormal ? ownName : profile) + ".ini";
}

void ProfileDialog::select(const std::string& profile) {
  if (std::find(list.begin(), list.end(), profile) != list.end()) choice = profile;
}

bool ProfileDialog::addCopy(const std::string& newName) {
  const bool bad =
      newName.empty() || newName.find('/') != std::string::npos || newName.find('\0') != std::string::npos;
  if (bad || newName == kNormal || fileExists(pathOf(newName))) return false;
  if (!copyFile(pathOf(choice), pathOf(newName))) return false;
  list.push_back(newName);
  choice = newName;
  return true;
}

// Renaming over an older backup replaces it.
bool ProfileDialog::moveToBackup(const std::string& profile) const {
  const std::string path = pathOf(profile);
  return std::rename(path.c_str(), (withoutExtension(path) + ".bak").c_str()) == 0;
}

bool ProfileDialog::remove() {
  if (choice == kNormal || !moveToBackup(choice)) return false;
  std::erase(list, choice);
  choice = kNormal;
  return true;
}

bool ProfileDialog::resetToDefault() {
  if (!fileExists(defPath)) return false;  // there would be nothing to put in its place
  if (fileExists(pathOf(choice)) && !moveToBackup(choice)) return false;
  return static_cast<bool>(copyFile(defPath, pathOf(choice)));
}

}  // namespace tarnvisor

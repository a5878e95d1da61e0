// Opening and creating the subject database of the data folder.
#include "app/basicapp.h"
#include "base/files.h"
#include "base/version.h"
#include "host/host.h"
#include "settings/log.h"
#include "settings/settings.h"

namespace tarnvisor {

namespace {

constexpr const char* kDatabaseName = "tarn.db";

// The nearest folder above with a database; empty for none.
std::string dataFolderAround(const std::string& folder) {
  for (std::string path = withSeparator(absolutePath(folder)); path.size() > 1;) {
    path.pop_back();
    path = folderOf(path);
    if (fileExists(path + kDatabaseName)) return path;
  }
  return {};
}

// A database within a data folder would be an empty one beside the records that it seems to hold. Nothing
// when the user cancels.
std::optional<std::string> meantFolder(const std::optional<std::string>& chosen) {
  if (!chosen || chosen->empty() || fileExists(withSeparator(*chosen) + kDatabaseName)) return chosen;
  const std::string around = dataFolderAround(*chosen);
  if (around.empty()) return chosen;
  switch (host().messages.show("This lies within the data folder " + around + ". Use " + around + "?",
                               Buttons::YesNoCancel, Icon::Question)) {
    case Answer::Yes:
      return around;
    case Answer::No:
      return chosen;
    default:
      return std::nullopt;
  }
}

}  // namespace

bool CBasicApp::openDatabase() {
  dbPath = settings.getString("Settings", "database", "");
  if (!fileExists(dbPath)) {
    const auto folder = meantFolder(
        host().choosers.chooseFolder("Open or create a new data folder\ncurrently " + dbPath, dbPath));
    dbPath = folder ? withSeparator(*folder) + kDatabaseName : std::string();
    settings.setString("Settings", "database", dbPath);
    logPrintf("choose db=%s\n", dbPath.c_str());
  }
  return openDatabaseFile();
}

bool CBasicApp::openDatabaseIn(const std::string& folder) {
  const std::string full = withSeparator(isAbsolutePath(folder) ? folder : workingFolder() + folder);
  dbPath = full + kDatabaseName;
  if (!makeFolderPath(full)) {
    host().messages.show("The data folder can't be made: " + full, Buttons::Ok, Icon::Error);
    dataFolder = full;
    db.reset();
    return false;
  }
  return openDatabaseFile();
}

void CBasicApp::chooseDataFolder() {
  const auto folder = meantFolder(
      host().choosers.chooseFolder("Open or create a new data folder\ncurrently " + dbPath, dataFolder));
  if (!folder || folder->empty() || (db && sameFolder(*folder, dataFolder))) return;
  if (!documents.closeAll() || !useDataFolder(*folder)) return;
  settings.setString("Settings", "database", dbPath);
}

bool CBasicApp::useDataFolder(const std::string& folder) {
  const std::string before = dataFolder;
  closeDatabase();
  if (!openDatabaseIn(folder)) {
    dbPath.clear();
    dataFolder.clear();
    if (!before.empty()) openDatabaseIn(before);
    return false;
  }
  logPrintf("choose db=%s\n", dbPath.c_str());
  if (onDataFolderChanged) onDataFolderChanged();
  host().windows.refreshBars();
  return true;
}

bool CBasicApp::openDatabaseFile() {
  dataFolder = folderOf(dbPath);
  db.reset();
  if (dbPath.empty()) return true;
  std::string problem;
  db = SubjectDatabase::open(dbPath, dataFolder, kVersion, problem);
  if (!db) host().messages.show(problem, Buttons::Ok, Icon::Error);
  return db != nullptr;
}

}  // namespace tarnvisor

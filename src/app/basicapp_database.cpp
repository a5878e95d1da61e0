// Opening and creating the subject database of the data folder.
#include "app/basicapp.h"
#include "base/files.h"
#include "base/version.h"
#include "host/host.h"
#include "settings/log.h"
#include "settings/settings.h"

namespace tarnvisor {

bool CBasicApp::openDatabase() {
  dbPath = settings.getString("Settings", "database", "");
  if (!fileExists(dbPath)) {
    const auto folder =
        host().choosers.chooseFolder("Open or create a new data folder\ncurrently " + dbPath, dbPath);
    dbPath = folder ? withSeparator(*folder) + "tarn.db" : std::string();
    settings.setString("Settings", "database", dbPath);
    logPrintf("choose db=%s\n", dbPath.c_str());
  }
  return openDatabaseFile();
}

bool CBasicApp::openDatabaseIn(const std::string& folder) {
  const std::string full = withSeparator(isAbsolutePath(folder) ? folder : workingFolder() + folder);
  dbPath = full + "tarn.db";
  if (!makeFolderPath(full)) {
    host().messages.show("The data folder can't be made: " + full, Buttons::Ok, Icon::Error);
    dataFolder = full;
    db.reset();
    return false;
  }
  return openDatabaseFile();
}

void CBasicApp::chooseDataFolder() {
  const auto folder =
      host().choosers.chooseFolder("Open or create a new data folder\ncurrently " + dbPath, dataFolder);
  if (!folder || folder->empty() || (db && sameFolder(*folder, dataFolder))) return;
  if (!documents.closeAll()) return;
  const std::string before = dataFolder;
  closeDatabase();
  if (!openDatabaseIn(*folder)) {
    dbPath.clear();
    dataFolder.clear();
    if (!before.empty()) openDatabaseIn(before);
    return;
  }
  settings.setString("Settings", "database", dbPath);
  logPrintf("choose db=%s\n", dbPath.c_str());
  if (onDataFolderChanged) onDataFolderChanged();
  host().windows.refreshBars();
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

// Keeps copies of the changed documents beside the data, so that a crash or a power cut costs no more than
// the last minute's work, and offers them at the next start. It touches neither a document nor its file.
// Key `autosave` of section `Settings`: how many seconds of work may be lost at most; 0 for no copies.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "app/basicapp.h"
#include "framework/unsaved.h"

namespace tarnvisor {

class AutoSave {
 public:
  // Borrows the application, whose documents it must outlive. A clean end: no copies stay.
  explicit AutoSave(CBasicApp& application);
  ~AutoSave();
  AutoSave(const AutoSave&) = delete;
  AutoSave& operator=(const AutoSave&) = delete;

  // Copies what changed since the last turn, and takes away the copies of what is saved. In a data folder
  // that it sees for the first time it offers what was left there. To be called each turnMs(), whatever
  // dialog is open.
  void turn();
  static int32_t turnMs();
  void waitUntilWritten() const;
  // The change count of the document that is safe; 0 without a copy.
  uint64_t written(const CDocument& document) const;

 private:
  struct Kept {
    int32_t id;
    uint64_t asked = 0;    // the change count of the last copy
    double notBefore = 0;  // seconds of the steady clock
  };
  void followDataFolder();
  void copyChanged();
  void copy(CDocument& document, Kept& as);
  void forget(const CDocument& document);
  void tellProblem();
  void offerLeft();
  void restore(const std::vector<LeftCopy>& wanted);
  CDocument* open(const LeftCopy& left);

  CBasicApp& app;
  std::string shared;  // the folder of all runs; empty before the first turn
  std::unique_ptr<UnsavedCopies> copies;
  std::map<const CDocument*, Kept> kept;
  int32_t lastId = 0;
  bool toldProblem = false;
};

}  // namespace tarnvisor

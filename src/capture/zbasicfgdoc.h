// ZBasicfgDoc: the live picture as a document. Its image is the camera's newest one, as long as the camera
// runs, and a copy of the last one when it is frozen: then it is measured, processed and saved like any
// still. A save makes an image document of its own, so that the live picture never owns a file and the next
// save never goes over the one before.
#pragma once

#include <cstdint>
#include <string>

#include "base/clock.h"
#include "base/files.h"
#include "imagedoc/zbasicdoc.h"
#include "linescan/imagefacts.h"

namespace tarnvisor {

class ZBasicfgDoc : public ZBasicDoc {
 public:
  // Opens the camera; false, and the user told, when there is none.
  bool onNewDocument() override;
  void onCloseDocument() override;
  // A still of the picture as it is, with the parameters that it was taken by in its notes.
  bool onSaveDocument(const std::string& path) override;
  bool save() override { return saveAs(); }
  void beforeClosing() override;
  bool wantsCopy() const override { return isModified() && !isLive(); }
  void setPathName(const std::string& path) override;
  std::string defaultPathName() const override;
  DocumentType* storedType() const override;

  CZZimage* theImage() override;
  bool holdsPixels() const override { return !isLive(); }
  bool refuses(int32_t command) const override;
  std::string whyOff(int32_t command, const char* usual) const override;
  ImageFacts imageFacts() const override;
  double standardPixels() const override { return binned ? 0.5 : 1.0; }

  bool isLive() const;
  bool isFrozen() const { return frozen; }
  // False, after the user was told, when the camera can't be started.
  [[nodiscard]] bool start();
  void freeze();
  // A user froze it: a picture that closing asks about.
  void keepFrozen();
  // What the picture was taken by, for its notes.
  std::string inputParameters() const;
  // The folder and name of recordings with the time: "<folder>/<base>-261122131500".
  static std::string automaticStem(const char* timePattern, int64_t seconds = currentTime());
  // Under the automatic name with a number, or under a name without an ending.
  [[nodiscard]] bool saveStill(const std::string& stem);

  int32_t timerN = 0;    // timed saves; 0 for one
  int32_t timerint = 2;  // seconds between them
  int32_t frameSkip = 0;
  std::string saveName;  // of the last timed save

  bool automatic = false;  // a save asks nothing

 private:
  void describe();
  bool followBinning();  // true when it changed
  void followCamera();
  void keepPicture();
  bool offersToOpen(const std::string& path);
  bool frozen = false;
  uint64_t keptAt = 0;       // changeCount() when a user froze it
  int32_t binned = 0;        // whether the scale is that of two by two pixels
  int32_t openedUnder = -1;  // exam
  std::string unfiledFor;  // the subject whose live pictures are saved without an examination, as was agreed
  Size whole;              // of the pictures that the region is drawn on
};

// The name as it stands where no file has it, else with a letter behind the stem, then with a number.
TakenName takeLetterName(const std::string& stem, const std::string& ending);

}  // namespace tarnvisor

// CVivoRecDoc: records a sequence of the live picture. While it records, the frames go to a movie that nobody
// else looks at; when it stops, the document is a video like any other, around that movie.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "app/inputs.h"
#include "capture/sequencesettings.h"
#include "dynamic/vivocapdoc.h"

namespace tarnvisor {

class ZBasicfgDoc;

class CVivoRecDoc final : public CVivoCapDoc, public RecorderSink {
 public:
  bool onNewDocument() override;
  void onCloseDocument() override;
  bool onSaveDocument(const std::string& path) override;  // stops first
  void beforeClosing() override;                          // the same
  bool wantsCopy() const override { return isModified() && !recordingNow; }
  DocumentType* storedType() const override;
  std::string defaultPathName() const override;
  CZZimage* theImage() override;
  bool holdsPixels() const override { return !recordingNow; }
  bool refuses(int32_t command) const override;
  std::string whyOff(int32_t command, const char* usual) const override;

  // --- as the frame sees it
  bool isRecording() const override { return recordingNow != 0; }
  // Nothing without a live view. While it records it stops; a recording that was not saved is kept, and the
  // next goes to a new document.
  void startRecording() override;
  void stopRecording() override;

  // Of the present or last recording.
  int32_t framesRecorded() const;
  // What is left of the last one, and where, in words.
  std::string keptWords() const;
  void editSettings() override;
  void allocateMemory();

  uint8_t recordingNow = 0;

  static const CommandTableBase& commandTable();
  const CommandTableBase* commands() const override { return &commandTable(); }

 private:
  void takeFromLive(ZBasicfgDoc& live, const Rect& source);
  TakenName takeRecordingName() const;
  bool begin(const Rect& source);
  bool hasRoomFor(const SequenceSettings& wanted, const Rect& source);
  void noteCounts();
  void saveRecording(const std::string& stem);
  void tellOfLosses(const std::string& failure);
  bool isIdle() const { return !recordingNow; }
  std::unique_ptr<CZZMovie> recordingMovie;
  bool begun = false;         // frames came to it, or could have
  SequenceSettings sequence;  // of the present recording
  Rect recordedPart;          // of the live picture
  CZZchildimage shownPart{0, 0, nullptr, 0};
  int32_t recordedFrames = 0;
};

// The document of the open live view; null for none.
ZBasicfgDoc* liveDocument();
// What a recording takes: the live document's region of interest, or its whole picture.
Rect liveSource();

}  // namespace tarnvisor

// What a DICOM file tells beside its pixels.
#pragma once

#include <string>

namespace tarnvisor {

// Texts are UTF-8; an empty one is not written.
struct DicomFacts {
  std::string subjectId;
  std::string surname, name;
  std::string studyId, studyDescription;
  std::string study;      // what tells this study from all others; empty: it is one of its own
  std::string studyTime;  // "2025-09-02 14:05:00", universal time
  std::string seriesDescription;
  std::string comments;
  double pixelWidth = 0, pixelHeight = 0;  // micrometres; 0: in pixels
  bool isCalibrated = false;               // by something of known length in the picture itself
  double frameSeconds = 0;                 // from picture to picture; 0 for a still
};

// As a value of a DICOM file can hold it: what separates values or parts of a name becomes a blank, control
// characters go, and no more than `most` characters stay.
std::string dicomText(const std::string& text, size_t most);
// "2.25." and a number that nobody else has.
std::string freshDicomUid();
// The same for the same words, and nobody else's.
std::string dicomUidOf(const std::string& words);
// The digits of a time as DICOM takes them: 8 for a day, then 6; empty for no time.
std::string dicomDate(const std::string& time);
std::string dicomClock(const std::string& time);

}  // namespace tarnvisor

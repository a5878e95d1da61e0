// Pictures of other programs that hold more than pixels: which are sequences, and what a document tells those
// programs of itself.
#pragma once

#include <memory>
#include <string>

#include "dicom/dicomfacts.h"
#include "image/stillsequence.h"

namespace tarnvisor {

class ZBasicDoc;

// Whether a file holds several pictures that are shown one after the other.
bool isSequenceFile(const std::string& path);
// Whether it holds one that an image document shows, or several of different sizes.
bool isPictureFile(const std::string& path);
inline constexpr const char* kPictureFilter =
    "Pictures|*.zzg;*.bmp;*.tif;*.tiff;*.png;*.jpg;*.jpeg;*.gif;*.webp;*.pgm;*.ppm;*.pnm;*.jp2;*.dcm";
inline constexpr const char* kSequenceFilter = "Sequences (DICOM, TIFF)|*.dcm;*.tif;*.tiff";

// A sequence, or the one picture of a DICOM file. Null where it can't be read; why tells.
std::unique_ptr<StillSequence> openPictures(const std::string& path, std::string& why);

// Subject, exam and scale of a document; of a scale whose unit is no length none. A field has half the rows.
DicomFacts dicomFactsOf(const ZBasicDoc& document);
// Lets the user see and change who is named; false on Cancel.
[[nodiscard]] bool askDicomFacts(DicomFacts& facts);

}  // namespace tarnvisor

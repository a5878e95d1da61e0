// The data set is written by the library, without its pixels: they go behind it picture by picture, since
// theirs is the greatest of the tags.
#include "dicom/dicomwriter.h"

#include <dcmtk/config/osconfig.h>
#include <dcmtk/dcmdata/dctk.h>

#include <cerrno>
#include <cstring>

#include "base/bytes.h"
#include "base/clock.h"
#include "base/files.h"
#include "base/text.h"
#include "base/version.h"
#include "image/imagefile.h"

namespace tarnvisor {

namespace {

constexpr size_t kShort = 16, kLong = 64;  // characters of a value

void put(DcmDataset& set, const DcmTagKey& tag, const std::string& text) {
  if (!text.empty()) set.putAndInsertOFStringArray(tag, OFString(text.data(), text.size()));
}
void putNumber(DcmDataset& set, const DcmTagKey& tag, Uint16 number) { set.putAndInsertUint16(tag, number); }

// A decimal number has 16 characters at most.
std::string decimal(double value) { return format("%.10g", value); }

void putSubject(DcmDataset& set, const DicomFacts& facts) {
  set.insertEmptyElement(DCM_PatientBirthDate);
  set.insertEmptyElement(DCM_PatientSex);
  const std::string name = dicomText(facts.surname, kLong / 2) + "^" + dicomText(facts.name, kLong / 2 - 1);
  set.putAndInsertString(DCM_PatientName, name == "^" ? "" : name.c_str());
  set.putAndInsertString(DCM_PatientID, dicomText(facts.subjectId, kLong).c_str());
}

void putStudy(DcmDataset& set, const DicomFacts& facts) {
  set.insertEmptyElement(DCM_ReferringPhysicianName);
  set.insertEmptyElement(DCM_AccessionNumber);
  set.putAndInsertString(DCM_StudyID, dicomText(facts.studyId, kShort).c_str());
  set.putAndInsertString(DCM_StudyDate, dicomDate(facts.studyTime).c_str());
  set.putAndInsertString(DCM_StudyTime, dicomClock(facts.studyTime).c_str());
  put(set, DCM_TimezoneOffsetFromUTC, "+0000");
  put(set, DCM_StudyDescription, dicomText(facts.studyDescription, kLong));
  put(set, DCM_SeriesDescription, dicomText(facts.seriesDescription, kLong));
  constexpr size_t kComments = 10240;
  put(set, DCM_ImageComments, dicomText(facts.comments, kComments));
  // A file that names another subject than the exam's is of another study.
  put(set, DCM_StudyInstanceUID,
      facts.study.empty() ? freshDicomUid()
                          : dicomUidOf(facts.study + "\n" + facts.subjectId + "\n" + facts.studyId));
  put(set, DCM_SeriesInstanceUID, freshDicomUid());
  put(set, DCM_SOPInstanceUID, freshDicomUid());
  put(set, DCM_SeriesNumber, "1");
  put(set, DCM_InstanceNumber, "1");
  set.insertEmptyElement(DCM_PatientOrientation);
  set.insertEmptyElement(DCM_Laterality);
}

void putMaker(DcmDataset& set) {
  put(set, DCM_Modality, "OT");
  put(set, DCM_ConversionType, "WSD");
  put(set, DCM_Manufacturer, "Tarnvisor");
  put(set, DCM_SoftwareVersions, versionText());
  put(set, DCM_SecondaryCaptureDeviceManufacturer, "Tarnvisor");
}

// Rows first; in millimetres.
void putSpacing(DcmDataset& set, const DicomFacts& facts) {
  if (!(facts.pixelWidth > 0) || !(facts.pixelHeight > 0)) return;
  const std::string spacing = decimal(facts.pixelHeight / 1000) + "\\" + decimal(facts.pixelWidth / 1000);
  put(set, DCM_NominalScannedPixelSpacing, spacing);
  put(set, DCM_PixelSpacing, spacing);
  if (!facts.isCalibrated) return;
  put(set, DCM_PixelSpacingCalibrationType, "FIDUCIAL");
  put(set, DCM_PixelSpacingCalibrationDescription, "measured on an object of known size");
}

void putSequence(DcmDataset& set, const DicomFacts& facts, int32_t frames) {
  put(set, DCM_NumberOfFrames, std::to_string(frames));
  put(set, DCM_FrameTime, decimal(facts.frameSeconds * 1000));
  set.putAndInsertTagKey(DCM_FrameIncrementPointer, DCM_FrameTime);
  put(set, DCM_BurnedInAnnotation, "NO");
}

void putPictures(DcmDataset& set, Size size, bool colour) {
  putNumber(set, DCM_SamplesPerPixel, colour ? 3 : 1);
  put(set, DCM_PhotometricInterpretation, colour ? "RGB" : "MONOCHROME2");
  if (colour) putNumber(set, DCM_PlanarConfiguration, 0);
  putNumber(set, DCM_Rows, static_cast<Uint16>(size.height));
  putNumber(set, DCM_Columns, static_cast<Uint16>(size.width));
  putNumber(set, DCM_BitsAllocated, 8);
  putNumber(set, DCM_BitsStored, 8);
  putNumber(set, DCM_HighBit, 7);
  putNumber(set, DCM_PixelRepresentation, 0);
  if (colour) return;
  put(set, DCM_PresentationLUTShape, "IDENTITY");
  put(set, DCM_RescaleIntercept, "0");
  put(set, DCM_RescaleSlope, "1");
  put(set, DCM_RescaleType, "US");
}

const char* kindOf(bool colour, bool many) {
  return !many    ? UID_SecondaryCaptureImageStorage
         : colour ? UID_MultiframeTrueColorSecondaryCaptureImageStorage
                  : UID_MultiframeGrayscaleByteSecondaryCaptureImageStorage;
}

// "OB", two bytes of nothing, and the length, which is even.
bool writePixelHead(std::FILE* file, uint32_t bytes) {
  uint8_t head[12] = {0xe0, 0x7f, 0x10, 0x00, 'O', 'B'};
  putLittle(head + 8, bytes);
  return std::fwrite(head, 1, sizeof head, file) == sizeof head;
}

}  // namespace

std::unique_ptr<DicomWriter> DicomWriter::create(const std::string& path, const DicomFacts& facts, Size size,
                                                 bool colour, int32_t frames, std::string& why) {
  constexpr uint64_t kMostBytes = 0xfffffffe;
  const uint64_t bytes = static_cast<uint64_t>(size.width) * static_cast<uint64_t>(size.height) *
                         (colour ? 3 : 1) * static_cast<uint64_t>(frames);
  if (!dcmDataDict.isDictionaryLoaded()) {
    why = "the DICOM dictionary of the installed library is missing.";
    return nullptr;
  }
  if (size.width < 1 || size.height < 1 || size.width > UINT16_MAX || size.height > UINT16_MAX ||
      bytes > kMostBytes || frames < 1) {
    why = "a DICOM file can't hold that much: it takes sides of up to 65535 pixels and 4 GB of them.";
    return nullptr;
  }
  DcmFileFormat whole;
  DcmDataset& set = *whole.getDataset();
  put(set, DCM_SpecificCharacterSet, "ISO_IR 192");
  const bool many = facts.frameSeconds > 0;
  put(set, DCM_SOPClassUID, kindOf(colour, many));
  putSubject(set, facts);
  putStudy(set, facts);
  putMaker(set);
  putSpacing(set, facts);
  putPictures(set, size, colour);
  if (many) putSequence(set, facts, frames);
  const OFCondition saved = whole.saveFile(path.c_str(), EXS_LittleEndianExplicit);
  if (saved.bad()) {
    why = saved.text();
    return nullptr;
  }
  std::unique_ptr<DicomWriter> made(new DicomWriter);
  made->file.reset(std::fopen(path.c_str(), "abe"));
  made->extent = size;
  made->colours = colour;
  made->frames = frames;
  made->row.resize(static_cast<size_t>(size.width) * (colour ? 3 : 1));
  if (!made->file || !writePixelHead(made->file.get(), static_cast<uint32_t>(bytes + bytes % 2))) {
    why = std::strerror(errno);
    return nullptr;
  }
  return made;
}

bool DicomWriter::fail() {
  if (trouble.empty()) trouble = format("writing failed: %s", std::strerror(errno));
  return false;
}

// Red comes first there.
bool DicomWriter::write(const uint8_t* rows, int32_t stride) {
  if (failed() || !file || written >= frames) return false;
  for (int32_t y = 0; y < extent.height; ++y) {
    std::copy_n(rows + int64_t{y} * stride, row.size(), row.data());
    for (size_t x = 0; colours && x < row.size(); x += 3) std::swap(row[x], row[x + 2]);
    if (std::fwrite(row.data(), 1, row.size(), file.get()) != row.size()) return fail();
  }
  ++written;
  return true;
}

bool DicomWriter::close() {
  if (!file) return !failed();
  const uint64_t bytes = row.size() * static_cast<uint64_t>(extent.height) * static_cast<uint64_t>(frames);
  if (written < frames && trouble.empty())
    trouble = format("%i of %i pictures were written.", written, frames);
  if (bytes % 2 && std::fputc(0, file.get()) == EOF) fail();
  if (std::fclose(file.release()) != 0) fail();
  return !failed();
}

Outcome exportDicom(const CZZimage& image, const DicomFacts& facts, const std::string& path) {
  if (image.empty()) return Outcome::failure("there is no picture");
  CZZimage shown;
  if (!makeShown(image, shown)) return Outcome::failure("there is not enough memory");
  AtomicFile file(path);
  if (!file.isOpen()) return file.commit();
  file.releaseToWriterByName();
  std::string why;
  const auto writer = DicomWriter::create(file.temporaryPath(), facts, {shown.width, shown.height},
                                          shown.colourset == kColour, 1, why);
  if (!writer) return Outcome::failure(path + ": " + why);
  if (!writer->write(shown.pixels, shown.stride) || !writer->close())
    return Outcome::failure(path + ": " + writer->why());
  return file.commit();
}

}  // namespace tarnvisor

#include "dicom/dicomreader.h"

#include <dcmtk/config/osconfig.h>
#include <dcmtk/dcmdata/dccodec.h>
#include <dcmtk/dcmdata/dcfcache.h>
#include <dcmtk/dcmdata/dcpixseq.h>
#include <dcmtk/dcmdata/dcpxitem.h>
#include <dcmtk/dcmdata/dcrledrg.h>
#include <dcmtk/dcmdata/dctk.h>
#include <dcmtk/dcmjpeg/djdecode.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <new>

#include "base/bytes.h"
#include "base/files.h"
#include "base/numbers.h"
#include "base/text.h"
#include "image/decodedstill.h"
#include "image/jpegcheck.h"

namespace tarnvisor {

namespace {

constexpr const char* kDamaged = "it is damaged or was cut off.";

// The library knows its decoders process-wide.
void registerDecoders() {
  static const bool registered = [] {
    OFLog::configure(OFLogger::OFF_LOG_LEVEL);
    DcmRLEDecoderRegistration::registerCodecs();
    DJDecoderRegistration::registerCodecs(EDC_photometricInterpretation, EUC_default, EPC_colorByPixel);
    return true;
  }();
  static_cast<void>(registered);
}

std::string textOf(DcmItem& set, const DcmTagKey& tag) {
  OFString value;
  if (set.findAndGetOFStringArray(tag, value).bad()) return {};
  return std::string(trimmed(std::string_view(value.c_str(), value.size())));
}

int32_t numberOf(DcmItem& set, const DcmTagKey& tag, int32_t missing) {
  Uint16 value = 0;
  return set.findAndGetUint16(tag, value).good() ? value : missing;
}

int32_t framesOf(DcmItem& set) {
  Sint32 frames = 1;
  return set.findAndGetSint32(DCM_NumberOfFrames, frames).good() ? frames : 1;
}

// How the pixels lie in a picture that came out of the file.
struct PixelForm {
  int32_t rows = 0, columns = 0, samples = 1, allocated = 8, stored = 8, highBit = 7, frames = 1;
  bool isSigned = false, isInverted = false, isYbr = false, isByPlane = false;

  size_t pixels() const { return static_cast<size_t>(rows) * static_cast<size_t>(columns); }
  uint64_t bytes() const {
    return uint64_t{pixels()} * static_cast<uint64_t>(samples) * static_cast<uint64_t>(allocated / 8);
  }
  bool isWide() const { return stored > 8; }
};

PixelForm formOf(DcmItem& set) {
  PixelForm form;
  form.rows = numberOf(set, DCM_Rows, 0);
  form.columns = numberOf(set, DCM_Columns, 0);
  form.samples = numberOf(set, DCM_SamplesPerPixel, 1);
  form.allocated = numberOf(set, DCM_BitsAllocated, 0);
  form.stored = numberOf(set, DCM_BitsStored, form.allocated);
  form.highBit = numberOf(set, DCM_HighBit, form.stored - 1);
  form.frames = framesOf(set);
  form.isSigned = numberOf(set, DCM_PixelRepresentation, 0) != 0;
  form.isByPlane = form.samples == 3 && numberOf(set, DCM_PlanarConfiguration, 0) == 1;
  const std::string kind = textOf(set, DCM_PhotometricInterpretation);
  form.isInverted = kind == "MONOCHROME1";
  form.isYbr = kind == "YBR_FULL";
  return form;
}

// Why pictures of that form are not shown; empty where they are.
std::string flawOf(const PixelForm& form, const std::string& kind, bool isPacked, uint64_t fileBytes) {
  const bool isGrey = form.samples == 1 && kind.starts_with("MONOCHROME");
  const bool isColour = form.samples == 3 && form.allocated == 8 && form.stored == 8 &&
                        (kind == "RGB" || kind == "YBR_FULL" || (isPacked && kind.starts_with("YBR_")));
  if (!isGrey && !isColour)
    return format("its kind of pixels (%s) is not known.", kind.empty() ? "none is told" : kind.c_str());
  if ((form.allocated != 8 && form.allocated != 16) || form.stored < 1 || form.stored > form.allocated ||
      form.highBit < form.stored - 1 || form.highBit >= form.allocated)
    return format("pixels of %i bits in %i are not known.", form.stored, form.allocated);
  if (!isPossibleStill(form.columns, form.rows) || form.frames < 1) return "it is damaged or too large.";
  if (isPacked ? static_cast<int64_t>(form.pixels()) > mostPixels(fileBytes)
               : form.bytes() > fileBytes / static_cast<uint64_t>(form.frames))
    return "it holds fewer pixels than it tells of.";
  return {};
}

uint8_t roundedToByte(double v) { return truncatedToByte(v + 0.5); }

void takeYbr(const uint8_t* from, size_t step, uint8_t* bgr) {
  const double y = from[0], cb = from[step] - 128.0, cr = from[2 * step] - 128.0;
  bgr[0] = roundedToByte(y + 1.772 * cb);
  bgr[1] = roundedToByte(y - 0.344136 * cb - 0.714136 * cr);
  bgr[2] = roundedToByte(y + 1.402 * cr);
}

void takeColours(const PixelForm& form, const std::vector<uint8_t>& bytes, DecodedStill& still) {
  const size_t pixels = form.pixels();
  const size_t step = form.isByPlane ? pixels : 1, apart = form.isByPlane ? 1 : 3;
  still.samples.resize(pixels * 3);
  uint8_t* to = still.samples.data();
  for (size_t i = 0; i < pixels; ++i, to += 3) {
    const uint8_t* from = bytes.data() + i * apart;
    if (form.isYbr) {
      takeYbr(from, step, to);
    } else {
      to[0] = from[2 * step];
      to[1] = from[step];
      to[2] = from[0];
    }
  }
}

// What is stored of a sample, moved so that the smallest possible is 0.
uint16_t levelOf(const PixelForm& form, uint32_t sample) {
  const uint32_t all = (1u << form.stored) - 1;
  uint32_t level = sample >> (form.highBit + 1 - form.stored) & all;
  if (form.isSigned) level ^= 1u << (form.stored - 1);
  return static_cast<uint16_t>(form.isInverted ? all - level : level);
}

void takeGrey(const PixelForm& form, const std::vector<uint8_t>& bytes, DecodedStill& still) {
  const size_t pixels = form.pixels();
  const bool isTwoBytes = form.allocated == 16;
  if (form.isWide())
    still.wide.resize(pixels);
  else
    still.samples.resize(pixels);
  for (size_t i = 0; i < pixels; ++i) {
    uint16_t sample = bytes[isTwoBytes ? 2 * i : i];
    if (isTwoBytes) std::memcpy(&sample, bytes.data() + 2 * i, sizeof sample);  // in the machine's order
    const uint16_t level = levelOf(form, sample);
    if (form.isWide())
      still.wide[i] = level;
    else
      still.samples[i] =
          static_cast<uint8_t>(form.stored == 8 ? level : level * 255 / ((1 << form.stored) - 1));
  }
}

class DicomSequence final : public DecodedSequence {
 public:
  // False where it can't be read.
  bool open(const std::string& path, std::string& why) {
    registerDecoders();
    why = kDamaged;
    if (!dcmDataDict.isDictionaryLoaded()) {
      why = "the DICOM dictionary of the installed library is missing.";
      return false;
    }
    const OFCondition loaded = whole.loadFile(path.c_str());
    std::error_code error;
    const uint64_t fileBytes = std::filesystem::file_size(path, error);
    if (!knowsCoding()) {
      why = unknownCoding();
      return false;
    }
    if (loaded.bad() || error) {
      if (whole.getDataset()->card() == 0) why = "it is no DICOM file.";
      return false;
    }
    why = take(fileBytes);
    return why.empty();
  }
  int32_t frames() const override { return form.frames; }
  Size size() const override { return {form.columns, form.rows}; }
  int32_t colourset() const override { return form.samples == 3 ? kColour : kGrey; }
  const ToldScale& scale() const override { return told; }
  std::string subject() const override { return patientId; }
  std::vector<std::string> remarks() const override {
    std::vector<std::string> lines = facts;
    for (const std::string& line : DecodedSequence::remarks()) lines.push_back(line);
    return lines;
  }

 protected:
  bool decode(int32_t index, DecodedStill& still) override {
    DcmDataset& set = *whole.getDataset();
    bytes.resize(static_cast<size_t>(form.bytes() + form.bytes() % 2));
    Uint32 fragment = 0;
    OFString kind;
    if (isPacked && !isRle && isDamagedFrame(static_cast<uint32_t>(index))) return false;
    if (pixels
            ->getUncompressedFrame(&set, static_cast<Uint32>(index), fragment, bytes.data(),
                                   static_cast<Uint32>(bytes.size()), kind, &cache)
            .bad())
      return false;
    PixelForm present = form;
    present.isYbr = kind == "YBR_FULL";
    if (isPacked) present.isByPlane = isRle && form.isByPlane;
    still.width = form.columns;
    still.height = form.rows;
    still.channels = form.samples;
    if (form.samples == 3)
      takeColours(present, bytes, still);
    else
      takeGrey(present, bytes, still);
    return true;
  }

 private:
  std::string codingName() { return textOf(*whole.getMetaInfo(), DCM_TransferSyntaxUID); }
  bool knowsCoding() {
    const std::string uid = codingName();
    return uid.empty() || DcmXfer(uid.c_str()).getXfer() != EXS_Unknown;
  }
  std::string unknownCoding() {
    const std::string uid = codingName();
    return "its transfer syntax" + (uid.empty() ? "" : " (" + uid + ")") + " is not known.";
  }

  // Frames that lie in one piece each; the library's decoder fills what it can't read, without a word.
  bool isDamagedFrame(uint32_t index) {
    DcmPixelSequence* pieces = nullptr;
    const DcmRepresentationParameter* any = nullptr;
    E_TransferSyntax coding = EXS_Unknown;
    pixels->getOriginalRepresentationKey(coding, any);
    if (pixels->getEncapsulatedRepresentation(coding, any, pieces).bad() || !pieces) return false;
    std::vector<uint8_t> codes;
    for (unsigned long i = 1; i < pieces->card(); ++i) {  // the first one is the table of places
      if (form.frames > 1 &&
          (pieces->card() != static_cast<unsigned long>(form.frames) + 1 || i != index + 1ul))
        continue;
      DcmPixelItem* piece = nullptr;
      Uint8* held = nullptr;
      if (pieces->getItem(piece, i).bad() || piece->getUint8Array(held).bad() || !held) return false;
      codes.insert(codes.end(), held, held + piece->getLength());
    }
    return isDamagedJpeg(codes);
  }

  // The words of what is wrong.
  std::string take(uint64_t fileBytes) {
    DcmDataset& set = *whole.getDataset();
    DcmElement* element = nullptr;
    if (set.findAndGetElement(DCM_PixelData, element).bad() ||
        !(pixels = dynamic_cast<DcmPixelData*>(element)))
      return set.card() > 0 ? "it holds no picture." : kDamaged;
    const DcmXfer coding(set.getOriginalXfer());
    isPacked = coding.isEncapsulated();
    isRle = coding.getXfer() == EXS_RLELossless;
    form = formOf(set);
    if (std::string flaw = flawOf(form, textOf(set, DCM_PhotometricInterpretation), isPacked, fileBytes);
        !flaw.empty())
      return flaw;
    if (isPacked && !canDecode(set)) return unknownCoding();
    if (!set.convertToUTF8().good()) facts.emplace_back("its texts are not in a character set that is known");
    readFacts(set);
    DecodedStill first;
    if (!decode(0, first)) return kDamaged;
    if (form.isSigned) lowest = -(1 << (form.stored - 1));
    if (form.isInverted) {
      lowest += (1 << form.stored) - 1;
      direction = -1;
    }
    if (form.isWide()) findRange();
    return {};
  }

  bool canDecode(DcmDataset& set) {
    return DcmCodecList::canChangeCoding(set.getOriginalXfer(), EXS_LittleEndianExplicit);
  }

  void readFacts(DcmDataset& set) {
    patientId = textOf(set, DCM_PatientID);
    const std::string name = textOf(set, DCM_PatientName);
    if (!patientId.empty() || !name.empty())
      facts.push_back(format("DICOM patient: %s %s", patientId.c_str(), replaced(name, '^', ' ').c_str()));
    const std::string date = textOf(set, DCM_StudyDate), study = textOf(set, DCM_StudyDescription),
                      series = textOf(set, DCM_SeriesDescription);
    if (!date.empty() || !study.empty()) facts.push_back("DICOM study: " + date + " " + study);
    if (!series.empty()) facts.push_back("DICOM series: " + series);
    readSpacing(set);
    readRate(set);
  }

  // Rows first, in millimetres. What was measured at the object goes before what the detector saw.
  void readSpacing(DcmDataset& set) {
    readSpacingOf(set);
    // Of many pictures the spacing may stand with what all of them share.
    DcmItem *shared = nullptr, *measures = nullptr;
    if (!told.isTold() && set.findAndGetSequenceItem(DCM_SharedFunctionalGroupsSequence, shared).good() &&
        shared->findAndGetSequenceItem(DCM_PixelMeasuresSequence, measures).good())
      readSpacingOf(*measures);
  }

  void readSpacingOf(DcmItem& set) {
    const std::pair<DcmTagKey, const char*> tags[] = {
        {DCM_PixelSpacing, "DICOM PixelSpacing"},
        {DCM_ImagerPixelSpacing, "DICOM ImagerPixelSpacing"},
        {DCM_NominalScannedPixelSpacing, "DICOM NominalScannedPixelSpacing"}};
    for (const auto& [tag, name] : tags) {
      Float64 row = 0, column = 0;
      if (set.findAndGetFloat64(tag, row, 0).bad() || set.findAndGetFloat64(tag, column, 1).bad()) continue;
      if (!isPixelSize(row * 1000) || !isPixelSize(column * 1000)) {
        told.doubt = std::string(name) + " tells no size of a pixel that can be believed.";
        continue;
      }
      told.x = column * 1000;
      told.y = row * 1000;
      told.source = name;
      told.doubt.clear();
      return;
    }
  }

  void readRate(DcmDataset& set) {
    Float64 milliseconds = 0;
    Sint32 perSecond = 0;
    if (set.findAndGetFloat64(DCM_FrameTime, milliseconds).good() && milliseconds > 0)
      told.interval = milliseconds / 1000;
    else if (set.findAndGetSint32(DCM_CineRate, perSecond).good() && perSecond > 0)
      told.interval = 1.0 / perSecond;
  }

  DcmFileFormat whole;
  DcmPixelData* pixels = nullptr;
  DcmFileCache cache;
  PixelForm form;
  bool isPacked = false, isRle = false;
  std::vector<uint8_t> bytes;
  std::vector<std::string> facts;
  std::string patientId;
  ToldScale told;
};

bool hasDicomHead(const std::string& path) {
  std::array<char, 132> head{};
  std::FILE* file = std::fopen(path.c_str(), "rbe");
  if (!file) return false;
  const bool whole = std::fread(head.data(), 1, head.size(), file) == head.size();
  std::fclose(file);
  return whole && std::string_view(head.data() + 128, 4) == "DICM";
}

// All but the pixels.
bool loadFacts(const std::string& path, DcmFileFormat& whole) {
  registerDecoders();
  return whole
      .loadFileUntilTag(path.c_str(), EXS_Unknown, EGL_noChange, DCM_MaxReadLength, ERM_autoDetect,
                        DCM_PixelData)
      .good();
}

}  // namespace

bool isDicomFile(const std::string& path) {
  const std::string ending = lowerCase(extensionOf(path));
  return ending == "dcm" || ending == "dicom" || hasDicomHead(path);
}

int32_t dicomFrames(const std::string& path) {
  DcmFileFormat whole;
  return loadFacts(path, whole) ? framesOf(*whole.getDataset()) : 0;
}

std::string dicomSubject(const std::string& path) {
  DcmFileFormat whole;
  if (!loadFacts(path, whole)) return {};
  (void)whole.getDataset()->convertToUTF8();
  return textOf(*whole.getDataset(), DCM_PatientID);
}

std::unique_ptr<StillSequence> openDicom(const std::string& path, std::string& why) {
  try {
    auto made = std::make_unique<DicomSequence>();
    if (!made->open(path, why)) return nullptr;
    return made;
  } catch (const std::bad_alloc&) {
    why = "there is not enough memory.";
    return nullptr;
  }
}

}  // namespace tarnvisor

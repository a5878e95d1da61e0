// New and opened documents: settings, and the search for the pixel file.
#include <cmath>
#include <filesystem>

#include "app/asked.h"
#include "app/basicapp.h"
#include "base/clock.h"
#include "base/files.h"
#include "base/numbers.h"
#include "base/text.h"
#include "dicom/dicomreader.h"
#include "drawing/metafile.h"
#include "host/host.h"
#include "image/stillimport.h"
#include "image/tiffbound.h"
#include "imagedoc/magnification.h"
#include "imagedoc/otherpictures.h"
#include "imagedoc/processing.h"
#include "imagedoc/texts.h"
#include "imagedoc/zbasicdoc.h"
#include "settings/profile.h"
#include "settings/settings.h"

namespace tarnvisor {

namespace {
struct ListKeys {
  const char* letter;  // of the section "dimlist_"; null for none
  Colour colour;
};
// The areas for movement correction take their colour from the dust marks' section.
constexpr ListKeys kListKeys[kListCount] = {{"0", 255},      {"1", 0x80ff},     {"2", 0xff00},
                                            {"3", 0xff6464}, {"N", 0xa0a0},     {"V", 0xff0000},
                                            {"K", 0xa07878}, {nullptr, 0x8000}, {"D", 0xff00ff}};
}  // namespace

void ZBasicDoc::loadListSettings() {
  for (size_t i = 0; i < kListCount; ++i) {
    CDimList& list = dimlists[i];
    const std::string section = std::string("dimlist_") + (kListKeys[i].letter ? kListKeys[i].letter : "D");
    if (kListKeys[i].letter) list.width = settings.getInt(section, "width", list.width);
    list.colour =
        static_cast<Colour>(settings.getInt(section, "colour", static_cast<int32_t>(kListKeys[i].colour)));
  }
}

void ZBasicDoc::loadSettings() {
  imageoffset = {};
  roi = roicircle = {};
  setCurrentList(kPlainList);
  target.x = settings.getInt("settings", "targetx", target.x);
  target.y = settings.getInt("settings", "targety", target.y);
  showtarget = settings.getInt("settings", "showtarget", showtarget);
  calibrated = settings.getInt("settings", "calibrated", calibrated);
  userunits = settings.getString("settings", "userunits", userunits);
  gridstyle = settings.getInt("grid", "gridstyle", gridstyle);
  gridunits = settings.getInt("grid", "gridunits", gridunits);
  gridshow = settings.getInt("grid", "gridshow", gridshow);
  gridspacing = settings.getDouble("grid", "grid spacing", gridspacing);
  gridcolour = static_cast<Colour>(settings.getInt("grid", "grid colour", static_cast<int32_t>(gridcolour)));
  userfilename = settings.getString("grid", "userfielname", userfilename);
  loadListSettings();
  readProcessingSettings();
  MagnificationEntry standard{0, 0, magname, 0};
  readDefaultMagnification(standard);
  if (isScale(standard.magx)) magx = standard.magx;
  if (isScale(standard.magy)) magy = standard.magy;
  // The switch is one of all images, and was perhaps set by another whose scale is not this one's.
  if (!isScale(standard.magx) || !isScale(standard.magy)) calibrated = 0;
  magname = standard.magname;
  magindex = static_cast<int32_t>(standard.magdate);
  loadGridMetafile();
}

void ZBasicDoc::deleteContents() {
  for (auto* lists : {&dimlists, &rejected})
    for (CDimList& list : *lists) list.removeAll();
  currentlist = kPlainList;
  image.reset();
  unrepaired.reset();
  forgetUndo();
  imagefile.clear();
  importedFrom.clear();
  ownsImageFile = false;
  imagedirty = 0;
  capturetime = 0;
  notes.clear();
  forgetResult();
  gridmetafile.clear();
}

bool ZBasicDoc::onNewDocument() {
  if (!CdbDocument::onNewDocument()) return false;
  loadSettings();
  return true;
}

bool ZBasicDoc::onOpenDocument(const std::string& path) {
  loadSettings();
  if (!loadFrom(path)) return false;
  isBound = 1;
  if (const LeftCopy* left = openingFrom(); left && !left->second.empty()) {
    if (!loadImage(left->second)) return false;
  } else if (!imagefile.empty() && !resolveImageFile(path)) {
    return false;
  }
  recogniseResult();
  return true;
}

std::vector<std::string> ZBasicDoc::filesInUse() const { return {pathName(), imagePath(), importedFrom}; }

std::string ZBasicDoc::imagePath() const {
  if (imagefile.empty() || !folderOf(imagefile).empty()) return imagefile;
  return folderOf(linkTarget(pathName())) + imagefile;
}

// The file where the document names it, then beside the document (both may have moved together) and beside
// what a link to the document leads to, then where the user says.
bool ZBasicDoc::resolveImageFile(const std::string& documentPath) {
  std::string path = imagefile;
  if (folderOf(path).empty() || !hasPixelsAt(path)) path = folderOf(documentPath) + fileNameOf(imagefile);
  if (!hasPixelsAt(path)) path = folderOf(linkTarget(documentPath)) + fileNameOf(imagefile);
  if (!hasPixelsAt(path)) {
    if (silent) return false;
    host().messages.show(filledIn(text::kCannotFindImage, imagefile), Buttons::Ok, Icon::Warning);
    const auto chosen =
        host().choosers.openFile({"Open image", text::kImageFilter, "", folderOf(documentPath)});
    if (!chosen) return false;
    path = *chosen;
    setModified();
  }
  const bool changed = isModified();  // the user chose the file, which may then be anybody's
  if (!loadOwnPixels(path)) return false;
  rememberImageFile(path, linkTarget(documentPath));
  ownsImageFile = !changed;
  imagedirty = isSaveUnfinished(path);
  setModified(changed);
  return true;
}

void ZBasicDoc::afterImageLoaded() {
  setColourset(colourset);
  theImage()->blackZero = zeroasblack;
  if (process.dustMaskEnabled) removeDust();
}

bool ZBasicDoc::loadImage(const std::string& path, const Rect& rect) {
  if (!holdsPixels()) {
    report(title() + " takes no picture: it shows what it was measured from.");
    return false;
  }
  const bool part = !rect.isEmpty();
  auto fresh = part ? nullptr : std::make_unique<CZZimage>();
  CZZimage* into = part ? theImage() : fresh.get();
  std::string why;
  if (!into || !into->load(path, rect, &why)) {
    report(
        format("%s\n%s%s", text::kCouldNotLoadImage, path.c_str(), (why.empty() ? why : "\n" + why).c_str()));
    return false;
  }
  if (!why.empty()) tellOfFlaw(path, why, Icon::Error);
  if (fresh) {
    image = std::move(fresh);
    image->xOrigin = originx;
    image->yOrigin = originy;
  }
  unrepaired.reset();
  afterImageLoaded();
  updateAllViews();
  return true;
}

// Of pixels that were read all the same: told now, and to whoever reads the notes later.
void ZBasicDoc::tellOfFlaw(const std::string& path, const std::string& flaw, Icon icon) {
  host().messages.show(path + "\n" + flaw, Buttons::Ok, icon);
  const std::string line = fileNameOf(path) + ": " + flaw + text::kLineEnd;
  if (notes.find(line) == std::string::npos) appendNotes(line);
}

bool ZBasicDoc::readImageFile(const std::string& path) {
  const std::string asRead = fileStamp(path);
  if (!loadImage(path)) return false;
  imageStamp = asRead;
  return true;
}

bool ZBasicDoc::adoptImageFile(const std::string& path) {
  originx = originy = 0;
  if (!readImageFile(path)) return false;
  std::error_code error;
  imagefile = std::filesystem::absolute(path, error).string();
  if (error) imagefile = path;
  ownsImageFile = false;
  imagedirty = 0;
  setTitle(withoutExtension(fileNameOf(path)));
  setModified();
  return true;
}

// A scale that the file tells is this document's alone: new images go on with the default one.
void ZBasicDoc::takeToldScale(const ToldScale& told) {
  if (!told.doubt.empty()) appendNotes(told.doubt + text::kLineEnd);
  if (!told.isTold()) return;
  magx = told.x;
  magy = told.y;
  magname = told.source;
  magindex = static_cast<int32_t>(currentTime());
  userunits = "um";
  calibrated = 1;
  appendNotes(format("scale %.6g x %.6g um/pixel by %s", magx, magy, told.source.c_str()) + text::kLineEnd);
}

void ZBasicDoc::takeTold(const StillSequence& pictures) {
  for (const std::string& line : pictures.remarks()) appendNotes(line + text::kLineEnd);
  subjectOfFile = pictures.subject();
  takeToldScale(pictures.scale());
}

// The scale stays this document's: its measures were made by it.
void ZBasicDoc::tellOfOtherScale(const std::string& path, const ToldScale& told) {
  constexpr double kSame = 1e-3;
  if (!told.isTold()) return;
  const PixelSize mine = pixelSize();
  const auto agrees = [](double theirs, double own) { return std::abs(theirs - own) <= kSame * theirs; };
  if (agrees(told.x, mine.x) && agrees(told.y, mine.y)) return;
  const std::string words =
      format("%s tells %.6g x %.6g um/pixel by %s: the scale of this document stays, %.6g x %.6g %s/pixel.",
             fileNameOf(path).c_str(), told.x, told.y, told.source.c_str(), scale().x, scale().y,
             unitName().c_str());
  appendNotes(words + text::kLineEnd);
  host().messages.show(words);
}

bool ZBasicDoc::mayTakeFrom(const std::string& path) {
  if (!isDicomFile(path)) return true;
  const std::string subject = dicomSubject(path);
  if (!agreesToSubject(path, subject)) return false;
  if (!subject.empty() && hasImage() && subject != measuredFor().subject)
    appendNotes(fileNameOf(path) + " names the subject " + subject + text::kLineEnd);
  return true;
}

bool ZBasicDoc::importDicom(const std::string& path) {
  const WaitScope wait;
  std::string why;
  const auto pictures = openPictures(path, why);
  auto first = std::make_unique<CZZimage>();
  if (!pictures || !pictures->read(0, *first)) {
    report(path + " can't be read: " + (why.empty() ? "it is damaged." : why));
    return false;
  }
  setTitle(withoutExtension(fileNameOf(path)));
  appendNotes("Import " + fileNameOf(path) + text::kLineEnd);
  if (pictures->frames() > 1)
    appendNotes(format("the first of %i pictures", pictures->frames()) + text::kLineEnd);
  takeTold(*pictures);
  takeImage(std::move(first));
  importedFrom = absolutePath(path);
  return true;
}

bool ZBasicDoc::onImportFile(const std::string& path) {
  if (isDicomFile(path)) return importDicom(path);
  if (loadsAsItStands(path)) {
    if (!adoptImageFile(path)) return false;
    takeToldScale(stillScale(path, 0));
    return true;
  }
  const WaitScope wait;
  int32_t page = 1;
  const int32_t pages = stillPages(path);
  if (pages > 1) {
    Form form("Import");
    form.addNote(format("%s has %i pages.", fileNameOf(path).c_str(), pages))
        .add("Page", page, {1.0, static_cast<double>(pages), {}});
    if (!asked(form)) return false;
  }
  auto decoded = std::make_unique<CZZimage>();
  std::string flaw;
  if (const Outcome done = importStill(path, page - 1, *decoded, &flaw); !done) {
    report(done.why());
    return false;
  }
  const std::string ofPages = pages > 1 ? format(" page %i", page) : std::string();
  setTitle(withoutExtension(fileNameOf(path)) + ofPages);
  appendNotes("Import " + fileNameOf(path) + ofPages + text::kLineEnd);
  takeToldScale(stillScale(path, page - 1));
  // Images that are not shown are no flaw of the one that is.
  if (!flaw.empty()) tellOfFlaw(path, flaw, flaw == kDamagedPicture ? Icon::Error : Icon::Information);
  takeImage(std::move(decoded));
  importedFrom = absolutePath(path);
  return true;
}

void ZBasicDoc::takeImage(std::unique_ptr<CZZimage> pixels) {
  image = std::move(pixels);
  unrepaired.reset();
  forgetUndo();
  forgetResult();
  originx = originy = 0;
  imagefile.clear();
  ownsImageFile = false;
  imagedirty = 1;
  afterImageLoaded();
  setModified();
  updateAllViews();
}

void ZBasicDoc::loadGridMetafile() {
  constexpr uint64_t kLongestDrawing = 64u << 20;
  gridmetafile.clear();
  if (gridstyle != 2 && gridstyle != 3) return;
  const std::string path = gridstyle == 2 ? installedFolder() + "chalkley.wmf" : userfilename;
  const auto bytes = readWholeFile(path, kLongestDrawing);
  if (!bytes) return;
  const auto drawing = metafileOf(*bytes);
  gridmetafile.assign(drawing.begin(), drawing.end());
}

}  // namespace tarnvisor

// Saving: the pixels first, where they changed or are trimmed to the ROI, then the document. When the
// document can't be written, an image file that was replaced comes back and the document in memory is as it
// was. A save that is killed before the new pixels take their place is finished by the next opening.
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <filesystem>
#include <functional>

#include "app/asked.h"
#include "app/basicapp.h"
#include "app/processstate.h"
#include "base/files.h"
#include "base/geometry.h"
#include "base/text.h"
#include "host/host.h"
#include "image/imagefile.h"
#include "imagedoc/texts.h"
#include "imagedoc/zbasicdoc.h"
#include "settings/log.h"
#include "settings/settings.h"

namespace tarnvisor {

namespace {

constexpr const char* kWholeForm = ".zzg";  // gives back any image

// Where the new content of a pixel file waits until the document of that save count is written. The count
// tells at opening whether the two belong together.
// The process tells apart programs that save the same document.
std::string waitingFile(const std::string& path, int32_t count) {
  return format("%s~new%i-%i.%s", withoutExtension(path).c_str(), count, static_cast<int>(::getpid()),
                extensionOf(path).c_str());
}

struct Waiting {
  std::string path;
  bool isAtWork = false;  // another program that runs is about to put it in place
  std::filesystem::file_time_type time;
};

// What of such a name follows the count: nothing, as earlier versions wrote, or the process.
bool isAtWork(std::string_view process) {
  int32_t id = 0;
  if (process.size() < 2 ||
      std::from_chars(&process[1], process.data() + process.size(), id).ec != std::errc())
    return false;
  return id > 0 && id != ::getpid() && (::kill(id, 0) == 0 || errno == EPERM);
}

// All that wait for that save, the newest first.
std::vector<Waiting> waitingFiles(const std::string& path, int32_t count) {
  const std::string start = format("%s~new%i", fileNameOf(withoutExtension(path)).c_str(), count);
  const std::string end = "." + extensionOf(path);
  std::vector<Waiting> all;
  std::error_code error;
  const std::string folder = folderOf(path);
  for (std::filesystem::directory_iterator at(folder.empty() ? "." : folder, error), last;
       !error && at != last; at.increment(error)) {
    const std::string name = at->path().filename().string();
    if (!name.starts_with(start) || !name.ends_with(end) || name.size() < start.size() + end.size()) continue;
    const std::string_view process =
        std::string_view(name).substr(start.size(), name.size() - start.size() - end.size());
    std::error_code gone;
    if (process.empty() || process[0] == '-')
      all.push_back({folder + name, isAtWork(process), at->last_write_time(gone)});
  }
  std::ranges::sort(all, std::greater(), &Waiting::time);
  return all;
}

}  // namespace

// What a save did to the pixels' side, to be undone when the document's own file can't be written.
struct ZBasicDoc::PixelSave {
  TakenName taken;      // the image file that the document will name
  std::string file;     // that; empty when nothing was written
  std::string written;  // where its new content waits until the document is written
  std::string oldImagefile;
  std::string oldNotes;
  int32_t oldDirty = 0;
  bool oldOwns = false;
  int32_t count;             // the save count of the document that is to come
  bool holdsPixels = false;  // those in memory, not a copy of the file before
  bool trimmed = false;
  Rect cut;         // what the trim left, in the coordinates of before
  Point oldOrigin;  // of the image
  bool moved = false;

  explicit PixelSave(const ZBasicDoc& d)
      : oldImagefile(d.imagefile),
        oldNotes(d.notes),
        oldDirty(d.imagedirty),
        oldOwns(d.ownsImageFile),
        count(wrapAdd(d.saveCount, 1)) {
    // What a save left that was killed before its document would seem to belong to this one.
    if (oldImagefile.empty()) return;
    for (const Waiting& left : waitingFiles(d.imagePath(), count))
      if (!left.isAtWork) ::unlink(left.path.c_str());
  }
  void aimAt(TakenName name) {
    taken = std::move(name);
    file = taken.path();
    written = waitingFile(file, count);
  }
  bool finish() const { return file.empty() || std::rename(written.c_str(), file.c_str()) == 0; }
  void abandon() const {
    if (!written.empty()) ::unlink(written.c_str());
  }
};

bool ZBasicDoc::isSaveUnfinished(const std::string& path) const {
  return !waitingFiles(path, saveCount).empty();
}

bool ZBasicDoc::hasPixelsAt(const std::string& path) const {
  return fileExists(path) || isSaveUnfinished(path);
}

// Where the folder can't be written the pixels are read where they wait, and the next save writes them.
bool ZBasicDoc::loadOwnPixels(const std::string& path) {
  const std::vector<Waiting> all = waitingFiles(path, saveCount);
  if (all.empty()) return readImageFile(path);
  if (all.front().isAtWork) return readImageFile(all.front().path);
  const std::string& waiting = all.front().path;
  logPrintf("the last save of %s was cut short: its pixels are those of %s\n", path.c_str(), waiting.c_str());
  const bool finished = std::rename(waiting.c_str(), path.c_str()) == 0;
  return readImageFile(finished ? path : waiting);
}

bool ZBasicDoc::saveImage(const std::string& path, const Rect& rect) {
  std::string why;
  if (theImage() && theImage()->save(path, rect, &why)) return true;
  report(format("%s\n%s", text::kErrorSavingImage, (why.empty() ? path : why).c_str()));
  return false;
}

bool ZBasicDoc::exportImage(const std::string& path) {
  if (!theImage()) return false;
  Outcome exported = theApp().documents.mayOutputTo(path);
  if (exported) exported = exportStill(*theImage(), path, pixelSize());
  if (!exported) report(format("%s\n%s", text::kErrorSavingImage, exported.why().c_str()));
  return static_cast<bool>(exported);
}

// What a trimmed save keeps: the ROI as far as the image goes, of a mosaic from the corner of a cell on, so
// that its colours stay where they are, and of a field whole rows.
Rect ZBasicDoc::trimmedRect() const {
  Rect held = theImage()->clipToImage(roi);
  if (held.isEmpty()) return {};
  if (theImage()->colourset == kBayer) {
    held.left -= held.left % 2;
    held.top -= held.top % 2;
  }
  const Point origin = imageOrigin();
  return Rect{held.left, frameRow(held.top), held.right, frameRow(held.bottom)}.offsetBy(origin.x, origin.y);
}

// Whether a trimmed save would take pixels from the file that the document has: from that time on nobody has
// them.
bool ZBasicDoc::trimLosesPixels(const std::string& documentPath) const {
  return sameFile(documentPath, pathName()) && hasPixelsAt(imagePath()) &&
         trimmedRect() != theImage()->frameRect();
}

// Whether the ROI alone is to be saved; cancelled when the user abandons the save. Over the document's own
// file it is only where somebody said so.
bool ZBasicDoc::askTrim(const std::string& documentPath, bool& trim, bool& cancelled) {
  cancelled = false;
  trim = false;
  if (roi.isEmpty() || keepwhole) return true;
  const bool loses = trimLosesPixels(documentPath);
  if (silent || process.quietMode) {
    trim = silent && !loses;
    if (loses)
      logPrintf("%s keeps the whole image: nobody was asked about the region\n", documentPath.c_str());
    return true;
  }
  if (loses && !isUnattended()) {
    const Answer answer = host().messages.show(filledIn(text::kSaveRegionOnly, imagePath()),
                                               Buttons::YesNoCancel, Icon::Careful);
    trim = answer == Answer::Yes;
    cancelled = answer == Answer::Cancel;
    return !cancelled;
  }
  int32_t choice = 0;
  Form form("ROI or whole image");
  form.addNote("A region of interest is set. What is to be saved?")
      .addChoice("Save", choice, {"Whole image", "ROI"});
  cancelled = !host().forms.run(form);
  trim = choice == 1;
  if (loses && !trim && !cancelled)
    logPrintf("%s keeps the whole image: the region alone was not asked for\n", documentPath.c_str());
  return !cancelled;
}

// The pixel file of a document: its own name with that ending. Only the file that this document wrote before
// is written over; any other that is there is somebody else's.
TakenName ZBasicDoc::takePixelFile(const std::string& documentPath, const std::string& extension) const {
  return {withoutExtension(documentPath), extension, ownsImageFile ? imagePath() : std::string()};
}

// A bare name where the file lies in the document's folder, so that both can move together. Links to either
// are no places that move.
void ZBasicDoc::rememberImageFile(const std::string& full, const std::string& documentPath) {
  const std::string lies = linkTarget(full);
  imagefile = sameFolder(folderOf(lies), folderOf(documentPath)) ? fileNameOf(lies) : full;
}

// A picture that the document was made around comes to lie beside it, byte for byte: from now on the document
// has a file of its own to write over.
bool ZBasicDoc::copyAdoptedFile(const std::string& from, const std::string& documentPath, PixelSave& saved) {
  saved.aimAt(takePixelFile(documentPath, "." + extensionOf(from)));
  const auto bytes = readWholeFile(from);
  const Outcome copied = bytes ? replaceFile(saved.written, std::span<const uint8_t>(*bytes))
                               : Outcome::failure(from + " can't be read");
  if (!copied) report(format("%s\n%s", text::kErrorSavingImage, copied.why().c_str()));
  return static_cast<bool>(copied);
}

// In the form of the setting, or in the own one where that would not give back what is shown.
bool ZBasicDoc::writePixels(const std::string& documentPath, PixelSave& saved) {
  if (saved.trimmed) saved.cut = trimmedRect();
  if (saved.trimmed && saved.cut.isEmpty()) {
    report(format("%s\nThe region of interest lies outside the image.", text::kErrorSavingImage));
    return false;
  }
  const std::string wanted = settings.getString("settings", "imagetype", ".bmp");
  const std::string flaw = formatFlaw(wanted, *theImage(), saved.cut);
  saved.aimAt(takePixelFile(documentPath, flaw.empty() ? wanted : kWholeForm));
  if (!mayReplace(saved.file)) {
    report(format("%s\n%s is protected against writing.", text::kErrorSavingImage, saved.file.c_str()));
    return false;
  }
  if (!saveImage(saved.written, saved.cut)) return false;
  if (!flaw.empty() && !endsWithIgnoringCase(imagefile, kWholeForm))
    appendNotes(
        format("Pixels stored as %s: %s %s.%s", kWholeForm, wanted.c_str(), flaw.c_str(), text::kLineEnd));
  return true;
}

bool ZBasicDoc::savePixels(const std::string& documentPath, PixelSave& saved) {
  bool cancelled = false;
  if (!askTrim(documentPath, saved.trimmed, cancelled)) return false;
  const std::string present = imagePath();
  // Another program put other pixels there: that file is its own now, and those of this document are in
  // memory alone.
  const bool isAsRead = !imageStamp.empty() && fileStamp(present) == imageStamp;
  ownsImageFile = ownsImageFile && isAsRead;
  if (!saved.trimmed && !imagedirty && isAsRead) {
    // With a ROI the whole image is written too; what its own file holds need not be written over. A document
    // of another name gets pixels of its own: the one that it was would change those under it.
    const bool stays = (roi.isEmpty() && sameFile(documentPath, pathName())) ||
                       sameFile(takePixelFile(documentPath, "." + extensionOf(present)).path(), present);
    if (ownsImageFile && stays) {
      rememberImageFile(present, documentPath);
      return true;
    }
    if (!copyAdoptedFile(present, documentPath, saved)) return false;
  } else {
    if (!writePixels(documentPath, saved)) return false;
    saved.holdsPixels = true;
  }
  imagedirty = 0;
  ownsImageFile = true;
  rememberImageFile(saved.file, documentPath);
  if (!saved.trimmed) return true;
  saved.oldOrigin = {theImage()->xOrigin, theImage()->yOrigin};
  move(wrapSub(0, saved.cut.left), wrapSub(0, saved.cut.top));
  theImage()->xOrigin = theImage()->yOrigin = 0;
  saved.moved = true;
  return true;
}

// What is in memory becomes what was stored: the part alone.
void ZBasicDoc::cutToTrim(const PixelSave& saved) {
  image->xOrigin = saved.oldOrigin.x;
  image->yOrigin = saved.oldOrigin.y;
  auto part = std::make_unique<CZZimage>();
  if (!part->copyFromRect(*image, saved.cut)) return;
  part->blackZero = image->blackZero;
  image = std::move(part);
  unrepaired.reset();
  forgetUndo();
  updateAllViews();
}

bool ZBasicDoc::onSaveDocument(const std::string& path) {
  PixelSave saved(*this);
  bool done = !hasImage() || savePixels(linkTarget(path), saved);
  const std::string asWritten = fileStamp(saved.written);
  done = done && storeBound(path);
  if (!done) {
    saved.abandon();
  } else if (!saved.finish()) {  // they wait for the next opening
    report(format("%s\n%s", text::kErrorSavingImage, saved.file.c_str()));
    done = false;
  }
  if (done) {
    if (!saved.file.empty()) imageStamp = asWritten;
    storeResult(path);
    savedroi = saved.trimmed;
    if (saved.holdsPixels && unrepaired) repairIsStored = true;
    tellUndoSaved();
    if (saved.trimmed) cutToTrim(saved);
    return true;
  }
  if (saved.moved) {
    move(saved.cut.left, saved.cut.top);
    theImage()->xOrigin = saved.oldOrigin.x;
    theImage()->yOrigin = saved.oldOrigin.y;
  }
  imagefile = saved.oldImagefile;
  notes = saved.oldNotes;
  imagedirty = saved.oldDirty;
  ownsImageFile = saved.oldOwns;
  return false;
}

bool ZBasicDoc::save() {
  const std::string before = pathName();
  savedroi = 0;
  if (!CdbDocument::save()) return false;
  if (!savedroi || pathName() != before) return true;
  // What is on screen is now what was stored.
  savedroi = 0;
  const std::string path = pathName();
  const bool opened = onOpenDocument(path);
  updateAllViews();
  return opened;
}

}  // namespace tarnvisor

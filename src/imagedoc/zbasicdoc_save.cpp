// Saving: the pixels first, where they changed or are trimmed to the ROI, then the document. When the
// document can't be written, an image file that was replaced comes back and the document in memory is as it
// was.
#include <unistd.h>

#include <cstdio>

#include "base/files.h"
#include "base/text.h"
#include "host/host.h"
#include "imagedoc/texts.h"
#include "imagedoc/zbasicdoc.h"
#include "settings/settings.h"

namespace tarnvisor {

// What a save did to the pixels' side, to be undone when the document's own file can't be written.
struct ZBasicDoc::PixelSave {
  std::string file;  // the image file written; empty for none
  std::string kept;  // where the one it replaced is kept meanwhile; empty for none
  std::string oldImagefile;
  int32_t oldDirty = 0;
  bool oldOwns = false;
  bool trimmed = false;
  Point corner;  // of the trimmed ROI
  Point oldOrigin;

  void keepPresent() {
    if (!fileExists(file)) return;
    kept = file + ".kept";
    ::unlink(kept.c_str());
    // A second name for the old bytes: the new file replaces only the first.
    if (::link(file.c_str(), kept.c_str()) == 0) return;
    const auto bytes = readWholeFile(file);
    if (!bytes || !replaceFile(kept, std::span<const uint8_t>(*bytes))) kept.clear();
  }
  void forget() {
    if (!kept.empty()) ::unlink(kept.c_str());
    kept.clear();
  }
  void restore() {
    if (!kept.empty())
      std::rename(kept.c_str(), file.c_str());
    else if (!file.empty())
      ::unlink(file.c_str());
    kept.clear();
  }
};

bool ZBasicDoc::saveImage(const std::string& path, const Rect& rect) {
  if (theImage() && theImage()->save(path, rect)) return true;
  report(format("%s\n%s", text::kErrorSavingImage, path.c_str()));
  return false;
}

// Whether the ROI alone is to be saved; cancelled when the user abandons the save.
bool ZBasicDoc::askTrim(bool& trim, bool& cancelled) {
  cancelled = false;
  trim = false;
  if (roi.isEmpty() || keepwhole) return true;
  trim = silent != 0;
  if (silent) return true;
  int32_t choice = 0;
  Form form("ROI or whole image");
  form.addNote("A region of interest is set. What is to be saved?")
      .addChoice("Save", choice, {"Whole image", "ROI"});
  cancelled = !host().forms.run(form);
  trim = choice == 1;
  return !cancelled;
}

// The pixel file of a document: its own name with the ending of the setting. Only .zzg keeps a mosaic. A file
// that some other program or person put there is never written over.
std::string ZBasicDoc::pixelFileFor(const std::string& documentPath, const std::string& wanted) const {
  const std::string extension = theImage()->colourset == kBayer ? ".zzg" : wanted;
  const std::string stem = withoutExtension(documentPath);
  std::string path = stem + extension;
  if (ownsImageFile) return path;
  for (int number = 1; fileExists(path); ++number)
    path = format("%s-%i%s", stem.c_str(), number, extension.c_str());
  return path;
}

// A bare name where the file lies in the document's folder, so that both can move together.
void ZBasicDoc::rememberImageFile(const std::string& full, const std::string& documentPath) {
  imagefile = sameFolder(folderOf(full), folderOf(documentPath)) ? fileNameOf(full) : full;
}

// A picture from elsewhere comes to lie beside the document that is made around it, byte for byte.
bool ZBasicDoc::copyAdoptedFile(const std::string& from, const std::string& documentPath, PixelSave& saved) {
  saved.file = pixelFileFor(documentPath, "." + extensionOf(from));
  const auto bytes = readWholeFile(from);
  const Outcome copied = bytes ? replaceFile(saved.file, std::span<const uint8_t>(*bytes))
                               : Outcome::failure(from + " can't be read");
  if (!copied) {
    report(format("%s\n%s", text::kErrorSavingImage, copied.why().c_str()));
    saved.file.clear();
    return false;
  }
  ownsImageFile = true;
  rememberImageFile(saved.file, documentPath);
  return true;
}

bool ZBasicDoc::savePixels(const std::string& documentPath, PixelSave& saved) {
  bool cancelled = false;
  if (!askTrim(saved.trimmed, cancelled)) return false;
  const std::string present = imagePath();
  if (!saved.trimmed && !imagedirty && fileExists(present)) {
    if (!ownsImageFile && !sameFolder(folderOf(present), folderOf(documentPath)))
      return copyAdoptedFile(present, documentPath, saved);
    rememberImageFile(present, documentPath);
    return true;
  }
  saved.file = pixelFileFor(documentPath, settings.getString("settings", "imagetype", ".bmp"));
  saved.keepPresent();
  if (!saveImage(saved.file, saved.trimmed ? roi : Rect{})) {
    saved.forget();
    saved.file.clear();
    return false;
  }
  imagedirty = 0;
  ownsImageFile = true;
  rememberImageFile(saved.file, documentPath);
  if (saved.trimmed) shiftForTrim(roi.topLeft(), saved);
  return true;
}

void ZBasicDoc::shiftForTrim(const Point& corner, PixelSave& saved) {
  saved.corner = corner;
  saved.oldOrigin = {theImage()->xOrigin, theImage()->yOrigin};
  move(-corner.x, -corner.y);
  theImage()->xOrigin = theImage()->yOrigin = 0;
}

bool ZBasicDoc::onSaveDocument(const std::string& path) {
  PixelSave saved;
  saved.oldImagefile = imagefile;
  saved.oldDirty = imagedirty;
  saved.oldOwns = ownsImageFile;
  bool done = true;
  if (hasImage()) done = savePixels(path, saved);
  done = done && CdbDocument::onSaveDocument(path);
  if (done) {
    saved.forget();
    savedroi = saved.trimmed;
    return true;
  }
  saved.restore();
  if (saved.trimmed && !saved.file.empty()) {
    move(saved.corner.x, saved.corner.y);
    theImage()->xOrigin = saved.oldOrigin.x;
    theImage()->yOrigin = saved.oldOrigin.y;
  }
  imagefile = saved.oldImagefile;
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

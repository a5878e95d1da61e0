// What of a document that is not saved is copied for the next run: its archive, and its pixels where no file
// of its own holds them.
#include <memory>
#include <new>
#include <tuple>

#include "archive/archive.h"
#include "base/checksum.h"
#include "base/files.h"
#include "base/text.h"
#include "imagedoc/zbasicdoc.h"

namespace tarnvisor {

namespace {

constexpr const char* kWholeForm = ".zzg";  // gives back any image

std::string checksumOf(const CZZimage& image) {
  std::string rows = format("%i %i %i %i ", image.width, image.height, image.interlace, image.colourset);
  for (int32_t y = 0; y < image.height; ++y)
    rows.append(reinterpret_cast<const char*>(image.row(y)), static_cast<size_t>(image.rowBytes));
  return sha256(rows);
}

}  // namespace

// A save brings the result up to date and hides what is only shown while it is edited.
void ZBasicDoc::storeCopy(Archive& archive) {
  const auto before = std::tuple(resultText, countedList, countedFrom, originx, originy);
  const int32_t amcHidden = dimlists[kAmcList].hidden, dustHidden = dimlists[kDustList].hidden;
  CdbDocument::storeCopy(archive);
  dimlists[kAmcList].hidden = amcHidden;
  dimlists[kDustList].hidden = dustHidden;
  std::tie(resultText, countedList, countedFrom, originx, originy) = before;
}

// Those of a movie are in its file.
bool ZBasicDoc::arePixelsUnsaved() const {
  return image && !image->empty() && image.get() == theImage() &&
         (imagedirty || imageStamp.empty() || fileStamp(imagePath()) != imageStamp);
}

void ZBasicDoc::tellUnsaved(UnsavedCopy& copy) {
  CdbDocument::tellUnsaved(copy);
  copy.facts["ownsimage"] = ownsImageFile ? "1" : "0";
  copy.facts["imagestamp"] = imageStamp;
  copy.facts["importedfrom"] = importedFrom;
  copy.facts["zeroasblack"] = zeroasblack ? "1" : "0";
  if (!arePixelsUnsaved()) return;
  const auto pixels = std::make_shared<CZZimage>();
  if (!pixels->copyImage(*image)) throw std::bad_alloc();
  copy.second = {kWholeForm, [pixels] { return checksumOf(*pixels); },
                 [pixels](const std::string& path) {
                   std::string why;
                   return pixels->save(path, {}, &why) ? Outcome::success() : Outcome::failure(why);
                 }};
}

void ZBasicDoc::takeUnsaved(const LeftCopy& left) {
  CdbDocument::takeUnsaved(left);
  importedFrom = left.fact("importedfrom");
  zeroasblack = left.fact("zeroasblack") == "1";
  if (theImage()) theImage()->blackZero = zeroasblack;
  ownsImageFile = left.fact("ownsimage") == "1" && (ownsImageFile || !left.second.empty());
  if (left.second.empty()) return;
  imageStamp = left.fact("imagestamp");
  imagedirty = 1;
}

}  // namespace tarnvisor

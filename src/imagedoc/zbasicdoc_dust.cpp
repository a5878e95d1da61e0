// Dust on the sensor: list 8 holds its rectangles, a file of their own (.dm) keeps them between documents.
#include "app/processstate.h"
#include "base/files.h"
#include "host/host.h"
#include "imagedoc/texts.h"
#include "imagedoc/zbasicdoc.h"
#include "measure/dimrect.h"
#include "settings/profile.h"
#include "settings/settings.h"

namespace tarnvisor {

namespace {

std::string dustMaskPath() {
  const std::string name = settings.getString("dustmask", "filename", "dustmask.dm");
  return isAbsolutePath(name) ? name : programFolder() + name;
}

// A file beside the profile is kept by name only, so that both can move together.
void rememberDustMask(const std::string& path) {
  const bool beside = sameFolder(folderOf(path), programFolder());
  settings.setString("dustmask", "filename", beside ? fileNameOf(path) : path);
}

Rect boundsOf(const CDim& mark) {
  if (mark.points.empty()) return {};
  const Point a = mark.points.front();
  const Point b = mark.points.back();
  return Rect{a.x, a.y, b.x, b.y}.normalised();
}

}  // namespace

bool ZBasicDoc::usesDustMask() const { return process.dustMaskEnabled != 0; }

bool ZBasicDoc::loadDustMask(const std::string& path) {
  const Outcome loaded = loadDimList(path, dimlists[kDustList]);
  if (!loaded) report(loaded.why());
  hideLists();
  return static_cast<bool>(loaded);
}

// Repairs every mark in the image.
void ZBasicDoc::removeDust() {
  if (!isGreyImage() || !fileExists(dustMaskPath()) || !loadDustMask(dustMaskPath())) return;
  if (!keepUnrepaired()) return;
  for (const auto& mark : dimlists[kDustList].items) {
    const Rect bounds = boundsOf(*mark);
    if (bounds.isEmpty()) continue;  // an empty rectangle would mean the whole image
    theImage()->flattenFromEdges(bounds);
  }
  appendNotes(text::kRemoveDust + roiText());
  setModified();
  updateAllViews();
}

// The image as it is, for the filter's end; false, and the user told, without memory. A movie's images are
// read again.
bool ZBasicDoc::keepUnrepaired() {
  if (unrepaired || image.get() != theImage()) return true;
  auto copy = std::make_unique<CZZimage>();
  if (!copy->copyImage(*image)) {
    report("There is not enough memory.");
    return false;
  }
  unrepaired = std::move(copy);
  repairIsStored = false;
  return true;
}

void ZBasicDoc::setDustMaskFlag(int32_t on) {
  process.dustMaskEnabled = on;
  settings.setInt("settings", "dustmask", on);
}

void ZBasicDoc::useDustMask() {
  const Change change(*this, Change::Alters::Pixels);
  if (!change.isReady()) return;
  setDustMaskFlag(!process.dustMaskEnabled);
  if (!process.dustMaskEnabled) return putBackDust();
  if (hasImage() && fileExists(dustMaskPath()))
    removeDust();
  else if (hasImage())
    report("There is no dust mask: " + dustMaskPath());
}

void ZBasicDoc::putBackDust() {
  if (!unrepaired) return;
  image = std::move(unrepaired);
  image->blackZero = zeroasblack;
  if (repairIsStored) imagedirty = 1;
  appendNotes(std::string(text::kPutBackDust) + text::kLineEnd);
  setModified();
  setColourset(colourset);
  updateAllViews();
}

void ZBasicDoc::saveDustMask() {
  if (dimlists[kDustList].items.empty()) return report("There are no dust marks to save.");
  const auto path = host().choosers.saveFile({"Save Dust Mask", text::kDustFilter, ".dm", dustMaskPath()});
  if (!path || path->empty()) return;
  const Outcome saved = saveDimList(*path, dimlists[kDustList]);
  if (saved)
    rememberDustMask(*path);
  else
    report(saved.why());
}

void ZBasicDoc::loadDustMaskCommand() {
  const auto path = host().choosers.openFile({"Load dust mask", text::kDustFilter, ".dm", dustMaskPath()});
  if (!path || path->empty()) return;
  const Change change(*this);
  if (!loadDustMask(*path)) return;
  rememberDustMask(*path);
  updateAllViews();
}

void ZBasicDoc::editDustMask() {
  currentlist = kDustList;
  dimlists[kDustList].hidden = 0;
  updateAllViews();
}

void ZBasicDoc::removeSingleDustMark() {
  runStep(text::kRemoveDust, StepArea::Roi, [](CZZimage& mark) { mark.flattenFromEdges({}); });
}

}  // namespace tarnvisor

// Undo, of one level: a command says beforehand that it changes the document, and what it changed is kept.
#include <algorithm>
#include <array>
#include <optional>
#include <tuple>
#include <utility>

#include "app/processstate.h"
#include "imagedoc/dimdoc.h"
#include "imagedoc/zbasicdoc.h"
#include "settings/settings.h"

namespace tarnvisor {

namespace {

using D = ZBasicDoc;

// What Undo keeps beside pixels, lists and notes. How things are shown, and where the next mark goes, is not
// in it.
constexpr std::tuple kKeptFields{
    &D::target,    &D::imageoffset, &D::roi,        &D::roicircle,   &D::magx,       &D::magy,
    &D::magname,   &D::magindex,    &D::calibrated, &D::userunits,   &D::originx,    &D::originy,
    &D::imagefile, &D::colourset,   &D::resultText, &D::countedList, &D::countedFrom};

template <class... Members>
auto valuesFor(const std::tuple<Members...>&) {
  return std::tuple<
      std::optional<std::remove_reference_t<decltype(std::declval<D&>().*std::declval<Members>())>>...>();
}
using KeptValues = decltype(valuesFor(kKeptFields));
constexpr size_t kFieldCount = std::tuple_size_v<KeptValues>;

// Calls work with each field's member pointer and its kept value.
template <class Work>
void forEachField(KeptValues& values, const Work& work) {
  [&]<size_t... I>(std::index_sequence<I...>) { (work(std::get<I>(kKeptFields), std::get<I>(values)), ...); }
  (std::make_index_sequence<kFieldCount>());
}

}  // namespace

// One side of a change. Before the change it holds everything; kept, only what the change altered.
struct ZBasicDoc::UndoState {
  explicit UndoState(const ZBasicDoc& doc)
      : notes(doc.notes),
        imagedirty(doc.imagedirty),
        modified(doc.isModified()),
        ownsImageFile(doc.ownsImageFile),
        imageStamp(doc.imageStamp),
        dustMask(process.dustMaskEnabled) {
    for (size_t i = 0; i < kListCount; ++i) lists[i] = doc.dimlists[i].clone();
    forEachField(fields, [&](auto member, auto& value) { value = doc.*member; });
  }

  // Lets go of what the document still holds alike. False when nothing is left.
  bool keepWhatDiffers(const ZBasicDoc& doc) {
    bool any = pixels || notes != doc.notes || dustMask != process.dustMaskEnabled;
    for (size_t i = 0; i < kListCount; ++i) {
      const CDimList& now = doc.dimlists[i];
      if (lists[i]->hasSameItems(now) && lists[i]->width == now.width) lists[i].reset();
      any = any || lists[i];
    }
    forEachField(fields, [&](auto member, auto& value) {
      if (*value == doc.*member) value.reset();
      any = any || value;
    });
    if (dustMask == process.dustMaskEnabled) dustMask.reset();
    notesHere = doc.notes;
    changesHere = doc.changeCount();
    return any;
  }

  void exchange(ZBasicDoc& doc) {
    for (size_t i = 0; i < kListCount; ++i) {
      if (!lists[i]) continue;
      std::swap(doc.dimlists[i].items, lists[i]->items);
      std::swap(doc.dimlists[i].width, lists[i]->width);
      std::swap(doc.dimlists[i].hidden, lists[i]->hidden);
      doc.dimlists[i].selectedindex = -1;
    }
    const int32_t calibratedBefore = doc.calibrated;
    const std::string unitsBefore = doc.userunits;
    const std::string fileBefore = doc.imagefile;
    forEachField(fields, [&](auto member, auto& value) {
      if (value) std::swap(doc.*member, *value);
    });
    if (doc.calibrated != calibratedBefore) settings.setInt("settings", "calibrated", doc.calibrated);
    if (doc.userunits != unitsBefore) settings.setString("settings", "userunits", doc.userunits);
    if (doc.imagefile != fileBefore) {
      std::swap(doc.ownsImageFile, ownsImageFile);
      std::swap(doc.imageStamp, imageStamp);
    }
    if (dustMask) {
      const int32_t now = process.dustMaskEnabled;
      setDustMaskFlag(*dustMask);
      dustMask = now;
    }
    if (pixels) {
      std::swap(doc.image, doc.undoimage);
      std::swap(doc.unrepaired, unrepaired);
      std::swap(doc.repairIsStored, repairIsStored);
      doc.image->blackZero = doc.zeroasblack;
    }
    exchangeNotes(doc.notes);
    std::swap(doc.imagedirty, imagedirty);
    // Something else may have changed since, which must still be saved.
    const bool untouched = doc.changeCount() == changesHere;
    const bool here = doc.isModified();
    doc.setModified(modified || !untouched);
    modified = here;
    changesHere = doc.changeCount();
  }

  // The command's own words go, what was written after them stays.
  void exchangeNotes(std::string& now) {
    if (now.starts_with(notesHere)) {
      now = notes + now.substr(notesHere.size());
      std::swap(notes, notesHere);
    }
    now += "undo\r\n";
  }

  // The file now holds the present side.
  void saved() {
    modified = true;
    imagedirty = imagedirty || pixels;
  }

  std::array<std::unique_ptr<CDimList>, kListCount> lists;
  KeptValues fields;
  std::string notes, notesHere;
  int32_t imagedirty;
  bool modified;
  bool ownsImageFile;
  std::string imageStamp;
  std::optional<int32_t> dustMask;
  uint64_t changesHere = 0;  // the document's count when it came to the present side
  bool pixels = false;       // undoimage is the other side's image
  std::unique_ptr<CZZimage> unrepaired;
  bool repairIsStored = false;
};

// Here, where what they make and end is known whole.
void ZBasicDoc::forgetPixels() {
  image.reset();
  unrepaired.reset();
  repairIsStored = false;
  forgetUndo();
}

ZBasicDoc::ZBasicDoc() : undoimage(std::make_unique<CZZimage>()) {}
ZBasicDoc::~ZBasicDoc() { forgetDimensionsOf(*this); }

ZBasicDoc::Change::Change(ZBasicDoc& document, Alters what)
    : doc(document), before(std::make_unique<UndoState>(document)) {
  // An image that isn't the document's own, of a movie, is brought back by reading it again.
  if (what != Alters::Pixels || !doc.image || doc.image.get() != doc.theImage()) return;
  const auto copyOf = [](const CZZimage& original) {
    auto copy = std::make_unique<CZZimage>();
    return copy->copyImage(original) ? std::move(copy) : nullptr;
  };
  pixels = copyOf(*doc.image);
  if (doc.unrepaired) before->unrepaired = copyOf(*doc.unrepaired);
  before->repairIsStored = doc.repairIsStored;
  before->pixels = true;
  if (pixels && !before->unrepaired == !doc.unrepaired) return;
  doc.report("There is not enough memory.");
  before.reset();
}

ZBasicDoc::Change::~Change() {
  doc.dropStaleResult();
  if (!before || !before->keepWhatDiffers(doc)) return;
  if (before->pixels)
    doc.undoimage = std::move(pixels);
  else
    doc.undoimage->reset();
  doc.undoState = std::move(before);
}

void ZBasicDoc::Change::abandon() { before.reset(); }

bool ZBasicDoc::canUndo() const { return undoState != nullptr; }

void ZBasicDoc::undo() {
  undoState->exchange(*this);
  setColourset(colourset);
  updateAllViews();
}

void ZBasicDoc::forgetUndo() {
  undoState.reset();
  undoimage->reset();
}

void ZBasicDoc::tellUndoSaved() {
  if (undoState) undoState->saved();
}

}  // namespace tarnvisor

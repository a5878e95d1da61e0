// Undo and Redo: a command says beforehand that it changes the document, and what it changed is kept.
#include <algorithm>
#include <array>
#include <functional>
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

// The lists, and behind them what was rejected in each.
constexpr size_t kAllLists = size_t{2} * kListCount;
const CDimList& listAt(const D& doc, size_t i) {
  return i < kListCount ? doc.dimlists[i] : doc.rejected[i - kListCount];
}
CDimList& listAt(D& doc, size_t i) { return const_cast<CDimList&>(listAt(std::as_const(doc), i)); }

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
    for (size_t i = 0; i < kAllLists; ++i) lists[i] = listAt(doc, i).clone();
    forEachField(fields, [&](auto member, auto& value) { value = doc.*member; });
  }

  // Lets go of what the document still holds alike. False when nothing is left.
  bool keepWhatDiffers(const ZBasicDoc& doc) {
    bool any = image || notes != doc.notes || dustMask != process.dustMaskEnabled;
    for (size_t i = 0; i < kAllLists; ++i) {
      const CDimList& now = listAt(doc, i);
      if (lists[i]->hasSameItems(now) && lists[i]->width == now.width) lists[i].reset();
      any = any || lists[i];
    }
    forEachField(fields, [&](auto member, auto& value) {
      if (*value == doc.*member) value.reset();
      any = any || value;
    });
    if (dustMask == process.dustMaskEnabled) dustMask.reset();
    notesHere = doc.notes;
    return any;
  }

  // What the user changed by mouse and keys.
  std::string words() const {
    if (std::ranges::any_of(lists, [](const auto& list) { return list != nullptr; })) return "marks";
    constexpr size_t kRegion = 2;
    static_assert(std::get<kRegion>(kKeptFields) == &D::roi);
    return std::get<kRegion>(fields) ? "region" : "";
  }

  void exchange(ZBasicDoc& doc) {
    for (size_t i = 0; i < kAllLists; ++i) {
      if (!lists[i]) continue;
      CDimList& now = listAt(doc, i);
      std::swap(now.items, lists[i]->items);
      std::swap(now.width, lists[i]->width);
      std::swap(now.hidden, lists[i]->hidden);
      now.selectedindex = -1;
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
    if (image) {
      std::swap(doc.image, image);
      std::swap(doc.unrepaired, unrepaired);
      std::swap(doc.repairIsStored, repairIsStored);
      doc.image->blackZero = doc.zeroasblack;
    }
    if (image || notes != notesHere) exchangeNotes(doc.notes);
    if (turn) turn(std::exchange(isDone, !isDone));
    std::swap(doc.imagedirty, imagedirty);
    const bool here = doc.isModified();
    doc.setModified(modified);
    modified = here;
  }

  // The command's own words go, what was written after them stays.
  void exchangeNotes(std::string& now) {
    if (now.starts_with(notesHere)) {
      now = notes + now.substr(notesHere.size());
      std::swap(notes, notesHere);
    }
    now += "undo\r\n";
  }

  uint64_t bytes() const {
    uint64_t all = notes.size() + notesHere.size();
    for (const CZZimage* pixels : {image.get(), unrepaired.get()})
      if (pixels) all += static_cast<uint64_t>(pixels->stride) * static_cast<uint64_t>(pixels->height);
    for (const auto& list : lists) {
      if (!list) continue;
      for (const auto& item : list->items) all += sizeof(CDim) + item->points.size() * sizeof(Point);
    }
    return all;
  }

  std::array<std::unique_ptr<CDimList>, kAllLists> lists;
  KeptValues fields;
  std::string notes, notesHere;
  int32_t imagedirty;
  bool modified;
  bool ownsImageFile;
  std::string imageStamp;
  std::optional<int32_t> dustMask;
  std::unique_ptr<CZZimage> image;  // null where both sides have the same pixels
  std::unique_ptr<CZZimage> unrepaired;
  bool repairIsStored = false;
  std::function<void(bool back)> turn;
  bool isDone = true;
};

void ZBasicDoc::rememberStep(const std::string& what, std::function<void(bool back)> turn) {
  auto step = std::make_unique<UndoState>(*this);
  step->keepWhatDiffers(*this);
  step->turn = std::move(turn);
  history.add(
      std::move(step), [](const auto& state) { return state->bytes(); }, what);
  changesKnown = changeCount();
}

// Here, where what they make and end is known whole.
void ZBasicDoc::forgetPixels() {
  image.reset();
  unrepaired.reset();
  repairIsStored = false;
  forgetUndo();
}

ZBasicDoc::ZBasicDoc() = default;
ZBasicDoc::~ZBasicDoc() { forgetDimensionsOf(*this); }

ZBasicDoc::Change::Change(ZBasicDoc& document, Alters what) : doc(document), outer(document.openChange) {
  if (!outer) {
    doc.tellUntrackedChanges();
    before = std::make_unique<UndoState>(doc);
    doc.openChange = this;
  }
  UndoState* kept = stateBefore();
  // An image that isn't the document's own, of a movie, is brought back by reading it again.
  if (!kept || what != Alters::Pixels || kept->image || !doc.image || doc.image.get() != doc.theImage())
    return;
  const auto copyOf = [](const CZZimage& original) {
    auto copy = std::make_unique<CZZimage>();
    return copy->copyImage(original) ? std::move(copy) : nullptr;
  };
  kept->image = copyOf(*doc.image);
  if (doc.unrepaired) kept->unrepaired = copyOf(*doc.unrepaired);
  kept->repairIsStored = doc.repairIsStored;
  if (kept->image && !kept->unrepaired == !doc.unrepaired) return;
  doc.report("There is not enough memory.");
  kept->image.reset();
  before.reset();
  lacksMemory = true;
}

ZBasicDoc::Change::~Change() {
  doc.dropStaleResult();
  if (outer) return;
  doc.openChange = nullptr;
  if (before && before->keepWhatDiffers(doc)) {
    const std::string what = before->words();
    doc.history.add(
        std::move(before), [](const auto& state) { return state->bytes(); }, what);
  }
  doc.changesKnown = doc.changeCount();
}

ZBasicDoc::UndoState* ZBasicDoc::Change::stateBefore() const {
  return outer ? outer->stateBefore() : before.get();
}

const CZZimage* ZBasicDoc::Change::imageBefore() const {
  const UndoState* kept = stateBefore();
  return kept ? kept->image.get() : nullptr;
}

void ZBasicDoc::Change::abandon() { before.reset(); }

const CZZimage* ZBasicDoc::undoimage() const {
  return history.canUndo() ? history.toUndo().back().entry->image.get() : nullptr;
}

// The only change swaps there and back, by Undo as well.
bool ZBasicDoc::canUndo() const {
  return !openChange && (history.canUndo() || (history.size() == 1 && history.canRedo()));
}

bool ZBasicDoc::canRedo() const { return !openChange && history.canRedo(); }

void ZBasicDoc::undo() {
  if (canUndo()) turnHistory(history.canUndo() ? &History<Turn>::undo : &History<Turn>::redo);
}

void ZBasicDoc::redo() {
  if (canRedo()) turnHistory(&History<Turn>::redo);
}

void ZBasicDoc::turnHistory(void (History<Turn>::*way)(const std::function<Turn(Turn)>&)) {
  tellUntrackedChanges();
  (history.*way)([this](Turn state) {
    state->exchange(*this);
    return state;
  });
  changesKnown = changeCount();
  setColourset(colourset);
  updateAllViews();
}

void ZBasicDoc::forgetUndo() { history.clear(); }

// What no Change tells of must be saved as well, wherever Undo and Redo lead.
void ZBasicDoc::tellUntrackedChanges() {
  if (changeCount() != changesKnown && isModified())
    for (auto* way : {&history.toUndo(), &history.toRedo()})
      for (auto& state : *way) state.entry->modified = true;
  changesKnown = changeCount();
}

// The file now holds what the document does: all else that there is to go to differs from it.
void ZBasicDoc::tellUndoSaved() {
  for (auto* way : {&history.toUndo(), &history.toRedo()}) {
    bool otherPixels = false;
    for (auto state = way->rbegin(); state != way->rend(); ++state) {
      otherPixels = otherPixels || state->entry->image;
      state->entry->modified = true;
      state->entry->imagedirty = state->entry->imagedirty || otherPixels;
    }
  }
}

}  // namespace tarnvisor

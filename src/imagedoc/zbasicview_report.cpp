// What an image tells in a report, beside its picture: what its numbers are worth, and its marks.
#include "base/text.h"
#include "imagedoc/zbasicview.h"

namespace tarnvisor {

namespace {

// Another list is current, and again the one before.
class CurrentList {
 public:
  CurrentList(ZBasicDoc& document, int32_t list) : doc(document), before(document.currentlist) {
    doc.currentlist = list;
  }
  ~CurrentList() { doc.currentlist = before; }
  CurrentList(const CurrentList&) = delete;
  CurrentList& operator=(const CurrentList&) = delete;

 private:
  ZBasicDoc& doc;
  int32_t before;
};

std::string nameOfList(int32_t list) {
  const std::string name = listName(list);
  return format("List %i", list) + (name.empty() ? "" : ", " + name);
}

}  // namespace

ReportPart ZBasicView::reportPart() {
  ReportPart part{.hasPicture = hasPicture(), .facts = marks.facts(), .notes = doc.notes};
  if (!doc.hasImage())
    part.facts.push_back(
        {"Picture", "its pixels are missing" + (doc.imagefile.empty() ? "" : ": " + doc.imagefile), true});
  for (int32_t list = 0; list < kListCount; ++list) {
    const CDimList& dims = doc.dimlists[static_cast<size_t>(list)];
    if (dims.items.empty()) continue;
    const CurrentList shown(doc, list);
    if (doc.isReviewed()) part.facts.push_back({nameOfList(list) + " reviewed", doc.reviewWords()});
    // What moves and repairs a picture measures nothing in it.
    if (list == kAmcList || list == kDustList) continue;
    const std::string counted = doc.kindsCounted(list);
    std::string title =
        nameOfList(list) + ": " +
        (counted.empty() ? format("%zu mark%s", dims.items.size(), dims.items.size() == 1 ? "" : "s")
                         : counted);
    if (dims.hidden) title += "; not shown in the picture";
    part.tables.push_back(tableOf(marks, std::move(title)));
  }
  return part;
}

}  // namespace tarnvisor

// The ordered owner of dimensions with one colour and one width for those that are added to it. Indices that
// an operation takes are the caller's duty unless told.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "base/outcome.h"
#include "measure/dim.h"

namespace tarnvisor {

class CDimList : public ArchiveObject {
 public:
  // What add makes of a type; any other is a line.
  enum Type : int32_t {
    kPoint = 0,
    kLine = 1,
    kPolyline = 2,
    kFreehand = 3,
    kCircle = 4,
    kPolygon = 5,
    kRect = 6
  };

  static const ArchiveClass& archiveClass();
  const ArchiveClass& classRecord() const override { return archiveClass(); }
  // The items only. What was in the list goes; after an exception the items read so far are in it.
  void serialize(Archive& archive) override;

  int32_t size() const { return static_cast<int32_t>(items.size()); }
  bool isValid(int32_t index) const { return index >= 0 && index < size(); }
  CDim& at(int32_t index) { return *items[static_cast<size_t>(index)]; }
  const CDim& at(int32_t index) const { return *items[static_cast<size_t>(index)]; }

  // The new item's index, which becomes selectedindex.
  int32_t add(Point point, int32_t type);
  // Adds a Clone; its index. Nothing is selected by it.
  int32_t insert(const CDim& dim);
  // The point's index; -1 without memory or without such an item.
  int32_t addPointTo(int32_t index, Point point);
  // selectedindex drops by one if it was at that index, and only then.
  void remove(int32_t index);
  void removeAll();
  // Of an item and all that the user selected: what a command takes that works on the selection. An index of
  // no item adds none.
  std::vector<int32_t> selection(int32_t index) const;
  void clearSelection();
  // The same items, in the same order; not the selection.
  bool hasSameItems(const CDimList& other) const;
  // Everything but the selection by the user.
  std::unique_ptr<CDimList> clone() const;

  int32_t countIn(const Rect& rect, bool circle) const;
  int32_t countPointsIn(const Rect& rect, bool circle) const;  // items of one point
  double totalLength(double sx, double sy) const;
  double totalLengthIn(const Rect& rect, bool circle, double sx, double sy) const;
  double totalArea(double sx, double sy) const;
  double totalAreaIn(const Rect& rect, bool circle, double sx, double sy) const;
  double totalTortuosity0() const;
  double totalTortuosity1(double sx, double sy, int32_t& curves);  // refills the lines' breaks
  double length(int32_t index, double sx, double sy) const { return at(index).Length(sx, sy); }
  double lengthX(int32_t index, double sx) const { return at(index).LengthX(sx); }
  double lengthY(int32_t index, double sy) const { return at(index).LengthY(sy); }

  // Nothing if hidden. selectedIndex: drawn as selected; -1 for none. Labels: number and label of each.
  void draw(Canvas& canvas, int32_t selectedIndex, bool withLabels = true) const;
  // The first item within reach of a place, looking from the one after startIndex round to startIndex itself.
  // It becomes selectedindex, -1 when there is none.
  int32_t hit(double x, double y, double reach, int32_t startIndex);
  // The nearest within reach, of several alike the first; -1 for none. The second looks at selection(index)
  // alone.
  int32_t nearest(double x, double y, double reach) const;
  int32_t nearestSelected(double x, double y, double reach, int32_t index) const;
  // The nearest item within reach flips its selection; selectedindex becomes it, or -1.
  int32_t toggleSelect(double x, double y, double reach);

  void offset(int32_t dx, int32_t dy);
  // The item's first point goes to the point; all selected items go along.
  void drag(int32_t index, Point point);
  // Turns the item about its Centre so that its first point comes to lie towards the point, and each selected
  // item about its own Centre by the same angle (radians, as CDim::Rotate).
  void rotateByPoint(int32_t index, Point point);
  void rotate(int32_t index, double angle);
  void scale(int32_t numerator, int32_t denominator);
  // Items with nothing left are removed.
  void clip(const Rect& rect, bool circle);

  int32_t width = 1;
  Colour colour = CDim::kDefaultColour;
  bool hidden = false;  // suppresses drawing only
  std::vector<std::unique_ptr<CDim>> items;
  int32_t selectedindex = -1;

 private:
  int32_t append(std::unique_ptr<CDim> item);
  int32_t nearestOf(double x, double y, double reach, const std::function<bool(int32_t)>& isAsked) const;
  double sumOf(const std::function<double(CDim&)>& measure) const;
  void withSelected(int32_t index, const std::function<void(CDim&)>& work);
};

// A file that is one list's stored form (".dm" dust masks). On failure the list, or the old file, is
// unchanged and the words name the file.
Outcome loadDimList(const std::string& path, CDimList& list);
Outcome saveDimList(const std::string& path, CDimList& list);

}  // namespace tarnvisor

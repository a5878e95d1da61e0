// Correcting what a finder marked: what the user takes away is kept apart, so that it is not found again, and
// what the user adds or moves is told by its colour, so that it stays.
#include <algorithm>
#include <cmath>
#include <map>
#include <numbers>

#include "app/processstate.h"
#include "base/text.h"
#include "host/host.h"
#include "imagedoc/overlay.h"
#include "imagedoc/texts.h"
#include "imagedoc/zbasicdoc.h"
#include "measure/dimline.h"

namespace tarnvisor {

namespace {

constexpr Colour kByHand = 0x00c000;
constexpr const char* kRejected = "rejected: ";
constexpr const char* kReviewed = "reviewed by hand: ";
constexpr double kUsualRadius = 10;  // pixels, of a circle that is added where there is none to go by
constexpr double kNearLoop = 40;     // micrometres from an apex

bool isCircle(const CDim& mark) { return kindOf(mark) == std::string_view("circle"); }
bool isPoint(const CDim& mark) { return mark.points.size() == 1; }
bool isByHand(const std::unique_ptr<CDim>& mark) { return mark->colour == kByHand; }

struct Spot {
  double x = 0, y = 0, radius = 0;
};

Spot spotOf(const CDim& mark) {
  Point middle;
  Spot spot;
  mark.Centre(middle, spot.x, spot.y);
  if (isCircle(mark)) spot.radius = std::sqrt(mark.Area(1, 1) / std::numbers::pi);
  return spot;
}

double apart(const Spot& a, const Spot& b) { return std::hypot(a.x - b.x, a.y - b.y); }

// Of a point one sees the number beside it (CDim::Draw) rather than its cross.
int32_t numberUnder(const CDimList& list, const Aim& aim) {
  constexpr double kGap = 4, kCharacter = 8, kLine = 17;  // of the text, on the screen
  for (int32_t i = 0; i < list.size(); ++i) {
    if (!isPoint(list.at(i))) continue;
    const Point at = list.at(i).points[0];
    const double x = aim.x - at.x, y = aim.y - at.y;
    const double width = kGap + kCharacter * static_cast<double>(format("%i", i + 1).size()) * aim.pixel;
    if (x >= 0 && x <= width && y >= 0 && y <= kLine * aim.pixel) return i;
  }
  return -1;
}

// The mark whose middle is nearest, of those that the aim lies in or near, else the one whose number it lies
// on; -1 for none.
int32_t markUnder(const CDimList& list, const Aim& aim) {
  int32_t nearest = -1;
  double least = 0;
  for (int32_t i = 0; i < list.size(); ++i) {
    const CDim& mark = list.at(i);
    if (!isCircle(mark) && !isPoint(mark)) continue;
    const Spot spot = spotOf(mark);
    const double distance = apart(spot, {aim.x, aim.y});
    // A point is small, and its loop is not.
    const double reach = isPoint(mark) ? 2.2 * aim.reach : aim.reach;
    if (distance > spot.radius + reach || (nearest >= 0 && distance >= least)) continue;
    nearest = i;
    least = distance;
  }
  return nearest >= 0 || !drawsLabels() ? nearest : numberUnder(list, aim);
}

void moveMark(CDimList& from, int32_t index, CDimList& to) {
  to.items.push_back(std::move(from.items[static_cast<size_t>(index)]));
  to.items.back()->selected = false;
  from.remove(index);
}

double medianRadius(const CDimList& list) {
  std::vector<double> radii;
  for (const auto& mark : list.items)
    if (isCircle(*mark)) radii.push_back(spotOf(*mark).radius);
  if (radii.empty()) return kUsualRadius;
  const auto middle = radii.begin() + static_cast<ptrdiff_t>(radii.size() / 2);
  std::ranges::nth_element(radii, middle);
  return std::max(1.0, *middle);
}

// --- how rejected marks are stored: as the label of a mark without points, which measures nothing

std::string wordsOfRejected(const CDimList& marks) {
  std::string words = kRejected;
  for (const auto& mark : marks.items) {
    words += format("%s %x", kindOf(*mark), mark->colour);
    for (const Point p : mark->points) words += format(" %i,%i", p.x, p.y);
    words += ";";
  }
  return words;
}

void takeRejected(const std::string& words, CDimList& marks) {
  for (const std::string& told : split(words.substr(std::string_view(kRejected).size()), ';')) {
    char kind[16] = {};
    unsigned colour = 0;
    int used = 0;
    if (std::sscanf(told.c_str(), " %15s %x%n", kind, &colour, &used) != 2) continue;
    const bool round = kind == std::string_view("circle");
    const char* rest = told.c_str() + used;
    int32_t index = -1;
    for (Point p; std::sscanf(rest, " %i,%i%n", &p.x, &p.y, &used) == 2; rest += used)
      index = index < 0 ? marks.add(p, round ? CDimList::kCircle : CDimList::kPoint)
                        : (marks.addPointTo(index, p), index);
    if (index >= 0) marks.at(index).colour = colour;
  }
}

}  // namespace

// The carriers live until all lists are stored, since an archive tells objects apart by their address, and
// leave the lists even where a write fails.
void ZBasicDoc::storeLists(Archive& archive) {
  struct Carried {
    std::vector<std::unique_ptr<CDim>>& items;
    std::vector<std::unique_ptr<CDim>>& carriers;
    ~Carried() {
      carriers.push_back(std::move(items.back()));
      items.pop_back();
    }
  };
  std::vector<std::unique_ptr<CDim>> carriers;
  carriers.reserve(kListCount);
  for (size_t list = 0; list < kListCount; ++list) {
    if (rejected[list].items.empty()) {
      dimlists[list].serialize(archive);
      continue;
    }
    auto carrier = std::make_unique<CDimLine>();
    carrier->label = wordsOfRejected(rejected[list]);
    dimlists[list].items.push_back(std::move(carrier));
    const Carried carried{dimlists[list].items, carriers};
    dimlists[list].serialize(archive);
  }
}

void ZBasicDoc::takeRejectedMarks() {
  for (size_t list = 0; list < kListCount; ++list) {
    rejected[list].items.clear();
    std::erase_if(dimlists[list].items, [&](const auto& mark) {
      if (!mark->points.empty() || !mark->label.starts_with(kRejected)) return false;
      takeRejected(mark->label, rejected[list]);
      return true;
    });
  }
}

// What the finder put there has its list's colour, and ends of a diameter side by side.
bool ZBasicDoc::isFound(const CDim& mark) const {
  return isCircle(mark) && mark.colour == currentDims().colour && mark.points.size() > 1 &&
         mark.points[0].y == mark.points[1].y;
}

bool ZBasicDoc::holdsCounted(int32_t list) const {
  const auto place = static_cast<size_t>(list);
  return list == countedList || list == countedBefore || !rejected[place].items.empty() ||
         std::ranges::any_of(dimlists[place].items, isByHand);
}

// Marks of loops are told by their colours (loopmarks.h).
void ZBasicDoc::tellByHand(CDim& mark) const {
  if (currentlist == kNailfoldList && isPoint(mark) && tellsLoops()) {
    mark.colour = currentDims().colour;
    mark.label.clear();
  } else if (isCircle(mark) && holdsCounted(currentlist)) {
    mark.colour = kByHand;
  }
}

// What was drawn by hand goes altogether, what was found is kept as rejected.
void ZBasicDoc::takeAway(int32_t index) {
  CDimList& dims = currentDims();
  isByHand(dims.items[static_cast<size_t>(index)])
      ? dims.remove(index)
      : moveMark(dims, index, rejected[static_cast<size_t>(currentlist)]);
}

void ZBasicDoc::deleteMarks(int32_t index) {
  const bool isReview = currentlist == kNailfoldList ? tellsLoops() : holdsCounted(currentlist);
  const std::vector<int32_t> chosen = currentDims().selection(index);
  for (auto i = chosen.rbegin(); i != chosen.rend(); ++i) {
    const CDim& mark = currentDims().at(*i);
    isReview && (isCircle(mark) || isPoint(mark)) ? takeAway(*i) : currentDims().remove(*i);
  }
}

void ZBasicDoc::reviewAt(const Aim& aim) {
  if (!hasImage()) return;
  const bool ofLoops = currentlist == kNailfoldList;
  CDimList& dims = currentDims();
  CDimList& away = rejected[static_cast<size_t>(currentlist)];
  {
    const Change change(*this);
    if (const int32_t taken = markUnder(dims, aim); taken >= 0) {
      takeAway(taken);
    } else if (const int32_t back = markUnder(away, aim); back >= 0) {
      moveMark(away, back, dims);
    } else {
      const Point at{static_cast<int32_t>(std::lround(aim.x)), static_cast<int32_t>(std::lround(aim.y))};
      const Point radius{ofLoops ? 0 : static_cast<int32_t>(std::lround(medianRadius(dims))), 0};
      const int32_t added = addDimension(at - radius, ofLoops ? CDimList::kPoint : CDimList::kCircle);
      if (!ofLoops) {
        addPointToDimension(added, at + radius);
        dims.at(added).colour = kByHand;
      }
    }
    dims.selectedindex = -1;
    recountReviewed();
    setModified();
  }
  updateAllViews(CView::Change::Marks);
}

// Told once in the notes, as it now is.
void ZBasicDoc::recountReviewed() {
  if (currentlist == kNailfoldList) {
    followLoops();
  } else if (const std::string density = densityOf(currentlist); !density.empty()) {
    resultText = density;
    countedList = currentlist;
    countedFrom = countingBasis(currentlist);
  }
  const size_t last = notes.rfind(kReviewed);
  if (last != std::string::npos && notes.find('\n', last) == notes.size() - 1) notes.erase(last);
  appendNotes(kReviewed + reviewWords() + "; " + resultText + roiText());
}

std::string ZBasicDoc::reviewWords() const {
  const auto byHand = std::ranges::count_if(currentDims().items, isByHand);
  const size_t away = rejected[static_cast<size_t>(currentlist)].items.size();
  if (currentlist == kNailfoldList) {
    const auto isDrawn = [](const LoopMark& loop) { return loop.kind == LoopMark::Kind::Drawn; };
    const auto added = std::ranges::count_if(loopMarksOf(currentDims()).loops, isDrawn);
    return format("%zu rejected, %i added or moved", away, static_cast<int>(added));
  }
  return format("%zu rejected, %i added or moved", away, static_cast<int>(byHand));
}

bool ZBasicDoc::isReviewed() const {
  return !rejected[static_cast<size_t>(currentlist)].items.empty() ||
         std::ranges::any_of(currentDims().items, isByHand);
}

void ZBasicDoc::findAgain() {
  if (currentlist == kNailfoldList) return findLoopsAnew(true);
  if (!hasImage()) return;
  if (roiOrWhole().isEmpty())
    return report("The region lies outside the image: there is nothing to find in.");
  tellFinderLimits();
  {
    const WaitScope wait;
    CZZimage working;
    const Change change(*this);
    if (!copyForFinder(working)) return report("There is not enough memory.");
    std::erase_if(currentDims().items, [&](const auto& mark) { return isFound(*mark) && isCounted(*mark); });
    currentDims().selectedindex = -1;
    std::vector<Spot> known;
    for (const CDimList* list : {&currentDims(), &rejected[static_cast<size_t>(currentlist)]})
      for (const auto& mark : list->items)
        if (isCircle(*mark) || isPoint(*mark)) known.push_back(spotOf(*mark));
    const auto kept = currentDims().items.size();
    markFound(working, roi);
    auto& items = currentDims().items;
    const auto isKnown = [&](const auto& mark) {
      const Spot found = spotOf(*mark);
      return std::ranges::any_of(
          known, [&](const Spot& spot) { return apart(found, spot) < std::max(found.radius, spot.radius); });
    };
    items.erase(std::remove_if(items.begin() + static_cast<ptrdiff_t>(kept), items.end(), isKnown),
                items.end());
    currentDims().selectedindex = -1;
    reportDensity(capillariesIn(currentlist));
    setModified();
  }
  updateAllViews(CView::Change::Marks);
  host().messages.show(resultLines() + (isReviewed() ? "\n" + reviewWords() : ""));
}

// --- what a count is made of

std::string ZBasicDoc::kindsCounted(int32_t list) const {
  std::map<std::string, int> kinds;
  for (const auto& mark : dimlists[static_cast<size_t>(list)].items)
    if (isCounted(*mark)) ++kinds[kindOf(*mark)];
  std::string words;
  for (const auto& [kind, count] : kinds)
    words += format("%s%i %s%s", words.empty() ? "" : ", ", count, kind.c_str(), count == 1 ? "" : "s");
  return words;
}

// A line that measures something counts as a capillary where it lies among them, or instead of them.
void ZBasicDoc::offerToLeaveOut() {
  const auto isMeasure = [&](const auto& mark) {
    return isCounted(*mark) && !isCircle(*mark) && !isPoint(*mark);
  };
  auto& items = currentDims().items;
  if (process.quietMode || !host().choosers.asksSomebody() || std::ranges::none_of(items, isMeasure)) return;
  size_t to = kPlainList;
  while (to < kFcdList && !dimlists[to].items.empty()) ++to;
  if (static_cast<int32_t>(to) == currentlist ||
      host().messages.show(
          format("%s are counted as capillaries. Move what is no circle to list %zu, so that "
                 "it does not count?",
                 kindsCounted(currentlist).c_str(), to),
          Buttons::YesNo, Icon::Question) != Answer::Yes)
    return;
  const Change change(*this);
  for (int32_t i = 0; i < currentDims().size();)
    isMeasure(items[static_cast<size_t>(i)]) ? moveMark(currentDims(), i, dimlists[to]) : void(++i);
  setModified();
}

}  // namespace tarnvisor

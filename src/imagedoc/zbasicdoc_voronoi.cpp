// How the marks of the current list share the tissue: the Voronoi region of each, the Krogh circle of the
// same area and the links between neighbours, worked out by the program qvoronoi; and the row of the table
// "Voronoi-Results".
#include <algorithm>
#include <cstdio>

#include "analysis/voronoi.h"
#include "base/files.h"
#include "base/numbers.h"
#include "base/text.h"
#include "host/host.h"
#include "imagedoc/resulttables.h"
#include "imagedoc/zbasicdoc.h"
#include "results/resultdoc.h"
#include "settings/log.h"
#include "settings/profile.h"

namespace tarnvisor {

namespace {

constexpr uint64_t kLongestOutput = uint64_t{1} << 26;
constexpr int32_t kFewestMarks = 4;

// Where the measure counts.
struct Area {
  Rect image;
  Rect working;
  bool circle;
};

// The marks, then the bounding sites.
std::vector<PlanePoint> centresOf(const CDimList& marks) {
  std::vector<PlanePoint> centres;
  centres.reserve(marks.items.size() + 4);
  for (const auto& mark : marks.items) {
    Point ignored;
    PlanePoint centre;
    mark->Centre(ignored, centre.x, centre.y);
    centres.push_back(centre);
  }
  return centres;
}

// The exit code; -1 when there is no such program. It is looked for beside this one first, then by name.
int32_t runProgram(const std::string& sites, const std::string& output) {
  const std::string installed = installedFolder() + "qvoronoi";
  const std::string program = fileExists(installed) ? installed : "qvoronoi";
  const std::string commandLine = '"' + program + "\" Pp i o TI \"" + sites + "\" TO \"" + output + '"';
  logPrintf("%s\n", commandLine.c_str());
  return host().processes.run({program, "Pp", "i", "o", "TI", sites, "TO", output});
}

// The regions that lie in the area with their Krogh circles, and the neighbours of which one has a region.
void fillLists(ZBasicDoc& doc, const VoronoiDiagram& diagram, std::span<const PlanePoint> sites, size_t marks,
               const Area& area) {
  CDimList& regions = doc.dimlists[kVoronoiList];
  CDimList& circles = doc.dimlists[kKroghList];
  CDimList& links = doc.dimlists[kNearestList];
  const auto shape = [](CDimList& list, int32_t type, std::span<const Point> points,
                        const std::string& label) -> CDim& {
    CDim& dim = list.at(list.add(points.front(), type));
    for (const Point& p : points.subspan(1)) dim.AddPoint(p);
    dim.label = label;
    return dim;
  };
  std::vector<bool> kept(sites.size(), false);
  for (size_t i = 0; i < std::min(diagram.regionCount(), sites.size()); ++i) {
    const std::vector<Point> outline = keptRegion(diagram, i, area.image, area.working, area.circle);
    if (outline.empty()) continue;
    kept[i] = true;
    const std::string label = format("%i", static_cast<int32_t>(i + 1));
    CDim& region = shape(regions, CDimList::kPolygon, outline, label);
    region.Close();
    // In pixels: the scale comes in only when the circles are measured.
    shape(circles, CDimList::kCircle, kroghCircle(sites[i], region.Area(1.0, 1.0)), label);
  }
  const auto siteAt = [&](size_t i) { return Point{truncated(sites[i].x), truncated(sites[i].y)}; };
  for (const auto& edge : diagram.edges) {
    const auto a = static_cast<size_t>(edge[0]);  // a negative one is beyond all marks
    const auto b = static_cast<size_t>(edge[1]);
    if (a >= marks || b >= marks || !(kept[a] || kept[b])) continue;
    const Point ends[] = {siteAt(a), siteAt(b)};
    shape(links, CDimList::kLine, ends, format("%i %i", edge[0] + 1, edge[1] + 1));
  }
  links.hidden = regions.hidden = false;
}

void addRow(ZBasicDoc& doc, const Area& area) {
  const Scale s = doc.scale();
  const CDimList& regions = doc.dimlists[kVoronoiList];
  const CDimList& circles = doc.dimlists[kKroghList];
  const CDimList& links = doc.dimlists[kNearestList];
  const double size = doc.roiArea();
  const double caps = doc.currentDims().countIn(area.working, area.circle);
  addResultRow(kVoronoiResults,
               recordOf(kVoronoiResults, doc.title(), doc.unitName(),
                        {{"ROI w", area.working.width() * s.x},
                         {"ROI h", area.working.height() * s.y},
                         {"ROI area", size},
                         {"#caps", caps},
                         {"density", caps * 1000000 / size},
                         {"#regions", double(regions.size())},
                         {"Av Area", regions.totalArea(s.x, s.y) / regions.size()},
                         {"#NN", double(links.size())},
                         {"Av NN", links.totalLength(s.x, s.y) / links.size()},
                         // The circles' diameters are horizontal, so that this takes in the scale of x alone.
                         {"Av Krogh", circles.totalLength(s.x, s.y) / circles.size()}}),
               &doc);
}

// What went to qvoronoi and came from it, for people; it is never read again, and none is missed.
void leaveForPeople(const std::string& sites, const std::optional<std::string>& output) {
  (void)replaceFile(programFolder() + "cappts.txt", std::string_view(sites), AtomicFile::Flush::Later);
  const std::string place = programFolder() + "voronoi.txt";
  if (output)
    (void)replaceFile(place, std::string_view(*output), AtomicFile::Flush::Later);
  else
    std::remove(place.c_str());
}

// What qvoronoi makes of the sites; empty after the user was told that there is no such program, or no place
// for its files. They lie in a folder of this run, since others of the same profile may go on beside it.
std::optional<std::string> outputFor(ZBasicDoc& doc, const std::string& sites) {
  const TemporaryFolder exchange("voronoi");
  const std::string sitesFile = exchange.file("cappts.txt");
  const std::string outputFile = exchange.file("voronoi.txt");
  if (!replaceFile(sitesFile, std::string_view(sites), AtomicFile::Flush::Later)) {
    doc.report("Unable to create pts file");
    return std::nullopt;
  }
  const bool started = runProgram(sitesFile, outputFile) != -1;
  const auto output = started ? readWholeText(outputFile, kLongestOutput) : std::nullopt;
  leaveForPeople(sites, output);
  if (!started) {
    doc.report("Unable run qvoronoi");
    return std::nullopt;
  }
  return output.value_or("");
}

}  // namespace

void ZBasicDoc::calculateVoronoiRegions() {
  const WaitScope wait;
  const Area area{theImage()->frameRect(), roiOrWhole(), hasCircularRoi()};
  const bool isOwn = currentlist >= kNearestList && currentlist <= kKroghList;
  const CDimList& source = isOwn ? dimlists[kPlainList] : currentDims();
  if (source.countIn(area.working, area.circle) < kFewestMarks)
    return report("There are fewer than four marks in the region of interest: they have no Voronoi regions.");
  const Change change(*this);
  if (isOwn) setCurrentList(kPlainList);
  for (const int32_t list : {kNearestList, kVoronoiList, kKroghList})
    dimlists[static_cast<size_t>(list)].removeAll();
  setModified();
  updateAllViews();

  std::vector<PlanePoint> sites = centresOf(currentDims());
  const size_t marks = sites.size();
  const auto bounding = boundingSites(area.working, {area.image.width(), area.image.height()});
  const auto output = outputFor(*this, sitesText(sites, bounding));
  if (!output) return;
  for (const Point& site : bounding) sites.push_back({double(site.x), double(site.y)});
  const auto diagram = readVoronoi(*output);
  if (!diagram) return report("qvoronoi gave no Voronoi regions: the table has no row of this image.");
  fillLists(*this, *diagram, sites, marks, area);
  // Over no shapes there is no mean.
  if (dimlists[kVoronoiList].items.empty() || dimlists[kNearestList].items.empty())
    report(
        "No mark has neighbours and a whole Voronoi region in the region of interest: the table has no row "
        "of this image.");
  else
    addRow(*this, area);
  updateAllViews();
}

}  // namespace tarnvisor

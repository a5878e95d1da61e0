#include "dynamic/versionspanel.h"

#include <cmath>
#include <limits>

#include "base/clock.h"
#include "base/files.h"
#include "base/text.h"
#include "dynamic/vivocapdoc.h"

namespace tarnvisor {

namespace {

enum Column : size_t { kNumber, kWhat, kMadeOf, kImages, kSize, kMade };
enum Action : size_t { kGoTo, kCompare, kDelete };

constexpr double kMegabyte = 1e6;

// In an order that texts sort by.
std::string dateOf(int64_t seconds) {
  const LocalTime at = localTime(seconds);
  return format("%04i-%02i-%02i %02i:%02i", at.year, at.month + 1, at.day, at.hour, at.minute);
}

}  // namespace

std::vector<SideFact> VersionsPanel::facts() const {
  if (!doc.hasMovie()) return {};
  const MovieVersions& versions = doc.movieVersions();
  const MovieVersion* shown = versions.ofFile(doc.movie->fileName);
  const std::string folder = doc.homeFolder();
  return {{"Shown", shown                    ? format("%i: %s", shown->number, shown->what.c_str())
                    : versions.all().empty() ? "original"
                                             : "none of these"},
          {"Free on the disc", sizeInWords(freeDiscBytes(folder.empty() ? workingFolder() : folder))}};
}

std::vector<SidePanel::Column> VersionsPanel::columns() const {
  return {{"No", true},
          {"Made by"},
          {"Of", true, {}, false, false},
          {"Images", true, {}, false, false},
          {"Size", true, "MB", true, false},
          {"Date"}};
}

size_t VersionsPanel::rowCount() const { return doc.movieVersions().all().size(); }

double VersionsPanel::number(size_t row, size_t column) const {
  const MovieVersion& version = doc.movieVersions().all()[row];
  switch (column) {
    case kNumber:
      return version.number;
    case kMadeOf:
      return version.madeOf > 0 ? version.madeOf : std::numeric_limits<double>::quiet_NaN();
    case kImages:
      return version.images;
    case kSize:
      return static_cast<double>(fileSize(version.file)) / kMegabyte;
    default:
      return std::numeric_limits<double>::quiet_NaN();
  }
}

std::string VersionsPanel::cell(size_t row, size_t column) const {
  const MovieVersion& version = doc.movieVersions().all()[row];
  if (column == kWhat) return version.what;
  if (column == kMade) return dateOf(version.made);
  if (column == kSize && !fileExists(version.file)) return "away";
  const double value = number(row, column);
  return std::isnan(value) ? "" : format(column == kSize ? "%.1f" : "%.0f", value);
}

bool VersionsPanel::isSelected(size_t row) const {
  return doc.movieVersions().all()[row].number == (chosen != 0 ? chosen : doc.currentVersion());
}

void VersionsPanel::select(std::span<const size_t> rows) {
  chosen = rows.size() == 1 ? doc.movieVersions().all()[rows[0]].number : 0;
}

std::vector<std::string> VersionsPanel::actions() const { return {"Go to", "Compare", "Delete..."}; }

bool VersionsPanel::canAct(size_t action) const {
  if (doc.isBusy() || chosen == 0 || chosen == doc.currentVersion()) return false;
  return action != kDelete || doc.mayDeleteVersion(chosen);
}

void VersionsPanel::act(size_t action) {
  const int32_t number = chosen;
  if (action != kCompare) chosen = 0;
  const Outcome done = action == kGoTo      ? doc.goToVersion(number)
                       : action == kCompare ? doc.compareVersion(number)
                                            : doc.deleteVersion(number);
  if (!done) doc.report(done.why());
}

}  // namespace tarnvisor

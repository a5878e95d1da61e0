#include "results/studysummary.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <map>
#include <set>

#include "app/asked.h"
#include "app/basicapp.h"
#include "base/files.h"
#include "base/text.h"
#include "exams/resultfigures.h"
#include "host/host.h"
#include "report/distribution.h"
#include "report/distributionchart.h"
#include "report/pages.h"

namespace tarnvisor {

namespace {

constexpr size_t kMostOutliers = 30;

struct Quantity {
  std::string name, table;
  std::vector<const StudyMeasure*> measures;  // with a number
  std::vector<double> values;                 // theirs
  size_t missing = 0, noNumbers = 0;
};

// In the order in which they come. Of different tables they are different ones.
std::vector<Quantity> quantitiesOf(const std::vector<StudyMeasure>& measures) {
  std::vector<Quantity> all;
  std::map<std::pair<std::string, std::string>, size_t> places;
  for (const StudyMeasure& measure : measures) {
    const bool tellsUnit = measure.quantity.ends_with("(" + measure.unit + ")");
    const std::string name = wordsOf({measure.quantity, 0, tellsUnit ? "" : measure.unit});
    const auto [place, isNew] = places.emplace(std::pair(measure.table, name), all.size());
    if (isNew) all.push_back({.name = name, .table = measure.table});
    Quantity& quantity = all[place->second];
    if (const auto value = numberOf(measure.value)) {
      quantity.measures.push_back(&measure);
      quantity.values.push_back(*value);
    } else {
      ++(measure.value.empty() ? quantity.missing : quantity.noNumbers);
    }
  }
  return all;
}

std::string shown(double value) { return std::isnan(value) ? std::string("none") : format("%.4g", value); }

class Sites {
 public:
  const std::string& of(const StudyMeasure& measure) {
    const auto [place, isNew] = known.emplace(std::pair(measure.subject, measure.exam), "not told");
    const SubjectDatabase* db = theApp().db.get();
    if (!isNew || !db) return place->second;
    char* end = nullptr;
    const long exam = std::strtol(measure.exam.c_str(), &end, 10);
    if (measure.exam.empty() || *end != '\0') return place->second;
    if (const auto row = db->exam(measure.subject, static_cast<int32_t>(exam)); row && !row->site.empty())
      place->second = row->site;
    return place->second;
  }

 private:
  std::map<std::pair<std::string, std::string>, std::string> known;
};

void writeNumbers(ReportPages& pages, const Quantity& quantity, const Distribution& d) {
  std::string count = format("%zu", d.count);
  if (quantity.missing) count += format("; %zu missing", quantity.missing);
  if (quantity.noNumbers) count += format("; %zu that are no numbers", quantity.noNumbers);
  pages.facts({{"n", count}});
  if (d.count == 1) pages.facts({{"Value", shown(d.mean)}});
  if (d.count < 2) return;
  pages.facts({{"Mean, deviation", shown(d.mean) + ", " + shown(d.deviation)},
               {"Median, quartiles",
                shown(d.median) + ", " + shown(d.lowerQuartile) + " and " + shown(d.upperQuartile)},
               {"Range", shown(d.least) + " to " + shown(d.most)}});
}

void writeOutliers(ReportPages& pages, const Quantity& quantity, const Distribution& d) {
  ReportTable table{
      .title = format("Outliers, outside %s to %s", shown(d.lowerFence).c_str(), shown(d.upperFence).c_str()),
      .columns = {{"Subject"}, {"Exam"}, {"Document"}, {"Mark"}, {"Value", true}}};
  for (size_t i = 0; i < quantity.values.size(); ++i) {
    const StudyMeasure& of = *quantity.measures[i];
    if (d.isOutlier(quantity.values[i]))
      table.rows.push_back({of.subject, of.exam, of.document, of.mark, of.value});
  }
  if (table.rows.empty())
    pages.facts({{"Outliers", "none"}});
  else
    pages.table(table, kMostOutliers);
}

// Nothing where all are of one site.
void writeSites(ReportPages& pages, const Quantity& quantity, Sites& sites) {
  std::map<std::string, std::pair<std::string, std::vector<double>>> groups;  // by how sites are compared
  for (size_t i = 0; i < quantity.values.size(); ++i) {
    const std::string& site = sites.of(*quantity.measures[i]);
    auto& [shownSite, values] =
        groups.try_emplace(foldedName(site), site, std::vector<double>()).first->second;
    values.push_back(quantity.values[i]);
  }
  if (groups.size() < 2) return;
  ReportTable table{
      .title = "By site",
      .columns = {
          {"Site"}, {"n", true}, {"Mean", true}, {"Deviation", true}, {"Median", true}, {"Quartiles"}}};
  for (const auto& [folded, group] : groups) {
    const auto& [site, values] = group;
    const Distribution d = distributionOf(values);
    table.rows.push_back({site, format("%zu", d.count), shown(d.mean), shown(d.deviation), shown(d.median),
                          shown(d.lowerQuartile) + " and " + shown(d.upperQuartile)});
  }
  pages.table(table, table.rows.size());
}

void writeQuantity(ReportPages& pages, const Quantity& quantity, Sites& sites) {
  constexpr Size kChart{ReportPages::kScreenWidth, 230};
  constexpr size_t kFewest = 3;  // have a distribution
  const Distribution d = distributionOf(quantity.values);
  const bool hasChart = d.count >= kFewest && d.most > d.least;
  pages.heading(
      quantity.name + (quantity.table.empty() ? ", as documents tell it" : ", of " + quantity.table),
      hasChart ? pages.heightOf(kChart, 1) * 3 / 2 : 0);
  writeNumbers(pages, quantity, d);
  if (hasChart)
    pages.picture(kChart, 1,
                  [&](Canvas& canvas) { drawDistribution(canvas, kChart, quantity.values, quantity.name); });
  if (d.count > 1) writeOutliers(pages, quantity, d);
  writeSites(pages, quantity, sites);
}

const std::vector<std::string>& scopes() {
  static const std::vector<std::string> all{"open tables", "and those of the subject",
                                            "and those of all subjects"};
  return all;
}

void writeHead(ReportPages& pages, const StudyWish& wish, const std::vector<StudyMeasure>& measures,
               const std::string& missing) {
  std::set<std::string> subjects;
  std::set<std::pair<std::string, std::string>> exams;
  for (const StudyMeasure& measure : measures) {
    subjects.insert(measure.subject);
    exams.emplace(measure.subject, measure.exam);
  }
  pages.title("Study summary");
  const bool isOpenOnly = wish.scope == StudyScope::OpenTables;
  pages.facts({{"Tables", (isOpenOnly ? "" : "open tables ") + scopes()[static_cast<size_t>(wish.scope)]},
               {"Results", wish.quantities.empty() ? "all" : wish.quantities},
               {"Subjects", format("%zu", subjects.size())},
               {"Examinations", format("%zu", exams.size())},
               {"Left out", missing, true}});
  pages.gap();
  pages.paragraph(
      "Quartiles lie between neighbouring values in proportion; outliers lie more than one and a half times the "
      "quartiles' distance beyond them. Each measure counts by itself, also several of one subject.");
}

}  // namespace

Outcome writeStudySummary(const std::string& path, const StudyWish& wish, std::string& missing) {
  std::vector<StudyMeasure> measures;
  if (Outcome found = gatherStudy(wish, measures, missing); !found) return found;
  const std::vector<Quantity> quantities = quantitiesOf(measures);
  Sites sites;
  return writeReport(path, "Study summary", {"pdf", "png"}, [&](ReportPages& pages) {
    writeHead(pages, wish, measures, missing);
    for (const Quantity& quantity : quantities) writeQuantity(pages, quantity, sites);
  });
}

void studySummaryCommand() {
  const auto path = host().choosers.saveFile(
      {"Study summary", "Portable Document Format (*.pdf)|*.pdf|Pictures (*.png)|*.png||", ".pdf",
       "study.pdf"});
  if (!path || path->empty()) return;
  int32_t scope = 0;
  std::string quantities;
  Form form("Study summary");
  form.addChoice("Tables", scope, scopes());
  form.add("Results", quantities).offering(knownQuantities());
  form.addNote(
      "Tables of subjects are those that were saved; what documents tell as their result goes with them.\n"
      "Results are named as in the tables, several with commas between them; all where none is named.");
  if (!asked(form)) return;
  std::string missing;
  Outcome done = Outcome::success();
  {
    const WaitScope wait;
    done = writeStudySummary(*path, {.scope = static_cast<StudyScope>(scope), .quantities = quantities},
                             missing);
  }
  if (!done)
    host().messages.show(done.why(), Buttons::Ok, Icon::Warning);
  else
    host().messages.notice({"Wrote " + fileNameOf(*path)});
  if (done && !missing.empty()) host().messages.show(missing);
}

}  // namespace tarnvisor

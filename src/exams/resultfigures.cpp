#include "exams/resultfigures.h"

#include <algorithm>
#include <cstdlib>
#include <map>

#include "app/asked.h"
#include "app/basicapp.h"
#include "base/files.h"
#include "base/text.h"
#include "exams/dbdocument.h"
#include "exams/examselection.h"
#include "exams/subjectdirectory.h"
#include "framework/documenttype.h"
#include "host/host.h"

namespace tarnvisor {

namespace {

constexpr double kSecondsOfDay = 86400;

// All of the text; nothing where it is no number.
std::optional<double> numberIn(std::string_view text) {
  const std::string all(trimmed(text));
  char* end = nullptr;
  const double value = std::strtod(all.c_str(), &end);
  const bool isOne = !all.empty() && *end == '\0' && all.find_first_of("0123456789") != std::string::npos;
  return isOne ? std::optional(value) : std::nullopt;
}

bool hasDigit(std::string_view text) { return text.find_first_of("0123456789") != std::string_view::npos; }

// "Velocity 512.1 um/s in ..."; a number with its error, "6.8 +- 1.4 per mm", is of what the line is about.
// Nothing else without words before the number.
std::optional<ResultFigure> figureIn(std::string_view piece, const std::string& about) {
  std::vector<std::string> words = split(trimmed(piece), ' ');
  std::erase(words, "");
  const auto number =
      std::ranges::find_if(words, [](const auto& word) { return numberIn(word).has_value(); });
  const bool hasError = words.size() > 3 && number == words.begin() && words[1] == "+-" && !about.empty();
  if (number == words.end() || (number == words.begin() && !hasError)) return std::nullopt;
  ResultFigure figure;
  if (hasError) figure.quantity = about;
  const auto join = [](std::string& to, const std::string& word) { to += (to.empty() ? "" : " ") + word; };
  for (auto word = words.begin(); word != number; ++word)
    if (*word != "=") join(figure.quantity, *word);
  figure.value = *numberIn(*number);
  if (figure.quantity.ends_with(':')) figure.quantity.pop_back();
  for (auto word = number + (hasError ? 3 : 1);
       word != words.end() && *word != "in" && *word != "by" && *word != "on"; ++word)
    join(figure.unit, *word);
  return figure.quantity.empty() ? std::nullopt : std::optional(figure);
}

// Without the remarks in brackets that have numbers of their own: "low (only 1.68 mm of the row can be
// seen)".
std::string withoutRemarks(std::string line) {
  for (size_t begin = line.find('('); begin != std::string::npos; begin = line.find('(', begin)) {
    const size_t end = std::min(line.find(')', begin), line.size() - 1);
    if (hasDigit(std::string_view(line).substr(begin, end - begin)))
      line.erase(begin, end + 1 - begin);
    else
      begin = end;
  }
  return line;
}

}  // namespace

std::vector<ResultFigure> figuresIn(const std::string& result) {
  std::vector<ResultFigure> figures;
  for (const std::string& whole : split(result, '\n')) {
    const std::string line = withoutRemarks(whole);
    const std::vector<std::string> pieces = split(line, ',');
    const size_t colon = line.find(':');
    const std::string about = colon == std::string::npos ? "" : std::string(trimmed(line.substr(0, colon)));
    if (about.ends_with("refused")) continue;  // it tells why, and no result
    for (size_t i = 0; i < pieces.size(); ++i) {
      const auto alone = numberIn(pieces[i]);
      const bool isNamed =
          alone && i + 1 < pieces.size() && !hasDigit(pieces[i + 1]) && !trimmed(pieces[i + 1]).empty();
      if (isNamed)
        figures.push_back({std::string(trimmed(pieces[i + 1])), *alone, ""});
      else if (auto figure = figureIn(pieces[i], about))
        figures.push_back(std::move(*figure));
    }
  }
  return figures;
}

std::vector<ResultFigure> figuresOf(const ExamRow& exam, const ResultRow& result) {
  std::vector<ResultFigure> figures = figuresIn(result.result);
  const bool lacksUnits =
      std::ranges::any_of(figures, [](const auto& figure) { return figure.unit.empty(); });
  if (!lacksUnits) return figures;
  const auto document =
      CdbDocument::readAlone(theApp().dataFolder + exam.folder + kSeparator + result.filename);
  for (ResultFigure& figure : figures)
    if (document && figure.unit.empty()) figure.unit = document->unitOfResult(figure.quantity);
  return figures;
}

std::string shownResult(const std::string& result, const std::vector<ResultFigure>& figures) {
  if (figures == figuresIn(result)) return std::string(trimmed(split(result + "\n", '\n').front()));
  std::string words;
  for (const ResultFigure& figure : figures)
    words += format("%s%s %.4g %s", words.empty() ? "" : ", ", figure.quantity.c_str(), figure.value,
                    figure.unit.c_str());
  return words;
}

std::vector<MeanFigure> meansOf(const std::vector<std::vector<ResultFigure>>& documents) {
  std::map<std::string, MeanFigure> found;
  for (const std::vector<ResultFigure>& figures : documents)
    for (const ResultFigure& figure : figures) {
      MeanFigure& sum =
          found.try_emplace(wordsOf(figure), MeanFigure{{figure.quantity, 0, figure.unit}, 0}).first->second;
      sum.mean.value += figure.value;
      ++sum.count;
    }
  std::vector<MeanFigure> means;
  for (auto& [words, figure] : found) {
    figure.mean.value /= figure.count;
    means.push_back(std::move(figure));
  }
  return means;
}

std::string wordsOf(const ResultFigure& figure) {
  return figure.quantity + (figure.unit.empty() ? "" : " (" + figure.unit + ")");
}

std::vector<Course> coursesOf(const std::string& subject, const std::optional<std::string>& site) {
  const SubjectDatabase* db = theApp().db.get();
  if (!db) return {};
  std::vector<ExamRow> exams = db->examsOf(subject);
  if (site)
    std::erase_if(exams, [&](const ExamRow& exam) { return foldedName(exam.site) != foldedName(*site); });
  std::ranges::stable_sort(exams, {}, &ExamRow::created);
  const bool isOfOneSite = std::ranges::all_of(
      exams, [&](const ExamRow& exam) { return foldedName(exam.site) == foldedName(exams.front().site); });
  std::map<std::string, Course> found;
  for (const ExamRow& exam : exams) {
    const double day =
        static_cast<double>(secondsOf(exam.created) - secondsOf(exams.front().created)) / kSecondsOfDay;
    std::vector<std::vector<ResultFigure>> figures;
    for (const ResultRow& result : db->resultsOf(exam.id)) figures.push_back(figuresOf(exam, result));
    for (const MeanFigure& figure : meansOf(figures)) {
      Course& course = found[wordsOf(figure.mean)];
      if (course.values.empty())
        course = {figure.mean.quantity,
                  figure.mean.unit,
                  subject,
                  isOfOneSite ? exams.front().site : "all sites",
                  localDay(exams.front().created),
                  {}};
      course.values.push_back({day, figure.mean.value});
    }
  }
  std::vector<Course> courses;
  courses.reserve(found.size());
  for (auto& [words, course] : found) courses.push_back(std::move(course));
  return courses;
}

namespace {

// At first that of the selected exam, and of all in scripts. Fingers differ: one at the first exam and
// another at the next would look like a change.
class SiteChoice {
 public:
  explicit SiteChoice(const ExamSelection& selected) {
    std::map<std::string, std::string> known;  // by how they are compared
    std::string here;
    for (const ExamRow& exam : theApp().db->examsOf(selected.subjectId())) {
      known.try_emplace(foldedName(exam.site), exam.site);
      if (exam.id == selected.examId() && !isUnattended()) here = foldedName(exam.site);
    }
    for (const auto& [folded, site] : known) {
      if (folded == here) chosen = static_cast<int32_t>(names.size());
      names.push_back(site);
    }
    if (chosen < 0) chosen = static_cast<int32_t>(names.size());
    names.emplace_back("all sites");
  }
  void addTo(Form& form) {
    if (isAsked()) form.addChoice("Site", chosen, names);
  }
  // Nothing where the site has none.
  std::optional<Course> of(const Course& all) const {
    if (!isAsked() || static_cast<size_t>(chosen) + 1 == names.size()) return all;
    const std::string& name = names[static_cast<size_t>(chosen)];
    std::vector<Course> there = coursesOf(all.subject, name);
    const auto same = std::ranges::find_if(
        there, [&](const Course& each) { return each.quantity == all.quantity && each.unit == all.unit; });
    if (same == there.end()) return std::nullopt;
    return std::move(*same);
  }

 private:
  bool isAsked() const { return names.size() > 2; }
  std::vector<std::string> names;
  int32_t chosen = -1;
};

}  // namespace

void runCourse() {
  const ExamSelection& selected = theExams();
  const std::vector<Course> courses = coursesOf(selected.subjectId());
  if (courses.empty()) {
    host().messages.show(selected.subjectId().empty()
                             ? std::string("No subject is selected.")
                             : format("No saved document of %s has a result.", selected.subjectId().c_str()),
                         Buttons::Ok, Icon::Warning);
    return;
  }
  std::vector<std::string> names;
  names.reserve(courses.size());
  for (const Course& course : courses) names.push_back(wordsOf({course.quantity, 0, course.unit}));
  // At first the density that most exams have.
  const auto likely = std::ranges::max_element(courses, {}, [](const Course& course) {
    return std::pair(course.quantity.ends_with("density"), course.values.size());
  });
  auto wanted = static_cast<int32_t>(likely - courses.begin());
  Form form("Course of results");
  form.addNote(selected.words());
  form.addChoice("Result", wanted, names);
  SiteChoice site(selected);
  site.addTo(form);
  if (!asked(form)) return;
  const auto course = site.of(courses[static_cast<size_t>(wanted)]);
  if (!course) {
    host().messages.show("No saved document of that site has this result.", Buttons::Ok, Icon::Warning);
    return;
  }
  CDocument* fresh = process.xyChartTemplate ? process.xyChartTemplate->newDocument() : nullptr;
  auto* taker = dynamic_cast<CourseTaker*>(fresh);
  if (!taker || !taker->takeCourse(*course))
    host().messages.show("The chart can't be made.", Buttons::Ok, Icon::Error);
  else
    fresh->setModified(false);  // it can be made again at any time
}

}  // namespace tarnvisor

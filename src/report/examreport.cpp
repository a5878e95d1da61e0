#include "report/examreport.h"

#include <algorithm>
#include <map>

#include "app/asked.h"
#include "app/basicapp.h"
#include "app/unseen.h"
#include "base/files.h"
#include "base/text.h"
#include "exams/dbdocument.h"
#include "exams/examselection.h"
#include "exams/resultfigures.h"
#include "exams/subjectdirectory.h"
#include "host/host.h"
#include "report/pages.h"

namespace tarnvisor {

namespace {

constexpr size_t kMostRows = 24;                              // of a table
constexpr double kPictureHeight = 0.48, kChartHeight = 0.85;  // of the page, at most

struct ReportedExam {
  ExamRow row;
  std::vector<ResultRow> documents;
};

std::string pathOf(const ExamRow& exam, const std::string& filename) {
  return withSeparator(theApp().dataFolder + exam.folder) + filename;
}

std::string siteOf(const ExamRow& exam) {
  const std::string site(trimmed(exam.site));
  return site.empty() ? "site not told" : site;
}

std::string placeOf(const ExamRow& exam) { return siteOf(exam) + ", " + localDay(exam.created); }

// In order of the sites as they first occur, and of time within each.
std::vector<ReportedExam> inOrder(std::vector<ExamRow> exams) {
  std::ranges::stable_sort(exams, {}, &ExamRow::created);
  std::map<std::string, size_t> sites;  // their order, by how they are compared
  for (const ExamRow& exam : exams) sites.try_emplace(foldedName(exam.site), sites.size());
  std::ranges::stable_sort(exams, {}, [&](const ExamRow& exam) { return sites.at(foldedName(exam.site)); });
  std::vector<ReportedExam> all;
  for (ExamRow& exam : exams) {
    std::vector<ResultRow> documents = theApp().db->resultsOf(exam.id);
    all.push_back({std::move(exam), std::move(documents)});
  }
  return all;
}

class ExamReport {
 public:
  ExamReport(std::string subject, const std::vector<ExamRow>& exams)
      : id(std::move(subject)), reported(inOrder(exams)) {}

  void write(ReportPages& pages) {
    problems.clear();
    writeHead(pages);
    const std::string name = fullNameOf(theApp().db->readSubject(id));
    const std::string whose = name.empty() ? id : id + ", " + name;
    for (size_t i = 0; i < reported.size(); ++i) {
      pages.beginPagesOf(whose + ", " + placeOf(reported[i].row));
      // The first stands below the head.
      if (i > 0) pages.newPage();
      writeExam(pages, reported[i]);
    }
    pages.beginPagesOf(whose);
    writeCourses(pages);
  }
  const std::vector<std::string>& whatIsLeft() const { return problems; }

 private:
  void tell(ReportPages& pages, const std::string& words) {
    problems.push_back(words);
    pages.caution(words);
  }
  void writeHead(ReportPages& pages) const;
  void writeExam(ReportPages& pages, const ReportedExam& exam);
  void writeUnstored(ReportPages& pages, const ReportedExam& exam);
  void writeDocument(ReportPages& pages, const ReportedExam& exam, const ResultRow& result);
  void writeCourses(ReportPages& pages) const;
  std::string id;
  std::vector<ReportedExam> reported;
  std::vector<std::string> problems;
};

void ExamReport::writeHead(ReportPages& pages) const {
  const SubjectDatabase& db = *theApp().db;
  const auto subject = db.readSubject(id);
  const PersonRow person = db.person(id);
  pages.title("Examination report");
  std::vector<SideFact> facts{{"Subject", id},
                              {"Name", fullNameOf(subject)},
                              {"Born", person.born},
                              {"Sex", person.sex.empty() ? std::string() : sexInWords(person.sex)},
                              {"About the subject", subject ? subject->comments : std::string()}};
  pages.facts(facts);
  if (reported.size() < 2) return;
  ReportTable list{.title = "",
                   .columns = {{"Examination", true}, {"Date"}, {"Site"}, {"Documents", true}, {"Comment"}}};
  for (const auto& [row, documents] : reported)
    list.rows.push_back({format("%i", row.id), localDay(row.created), siteOf(row),
                         format("%zu", documents.size()), row.comment});
  pages.table(list, list.rows.size());
}

void ExamReport::writeExam(ReportPages& pages, const ReportedExam& exam) {
  const ExamRow& row = exam.row;
  pages.heading(placeOf(row));
  pages.facts({{"Examination", format("%i", row.id)}, {"Comment", row.comment}});
  writeUnstored(pages, exam);
  if (exam.documents.empty()) pages.paragraph("No document of this examination is saved.");
  for (const ResultRow& document : exam.documents) writeDocument(pages, exam, document);
}

// The report tells what is stored, so that it can be made again; what is not stored is named.
void ExamReport::writeUnstored(ReportPages& pages, const ReportedExam& exam) {
  for (const CDocument* open : theApp().documents.documents()) {
    const auto* document = dynamic_cast<const CdbDocument*>(open);
    if (!document || document->isFromElsewhere() ||
        document->measuredFor() != CdbDocument::Owner{id, exam.row.id})
      continue;
    if (document->needsPath() && !document->isModified()) continue;  // made again at any time
    if (document->needsPath())
      tell(pages, document->title() + " is open and was never saved: it is not in this report.");
    else if (document->isModified())
      tell(pages,
           document->title() + " is open with changes that are not saved: this report shows what is stored.");
  }
}

// A view that fills any window gets one of the page's width.
Size windowOf(CView& view, bool fillsWindow) {
  if (!fillsWindow) return view.pictureSize(1);
  constexpr int32_t kWidth = ReportPages::kScreenWidth;
  Size window{kWidth, kWidth * 2 / 5};
  view.setWindowSize(window);
  // Many strips don't fit into that.
  window.height = std::clamp(view.contentSize().height, window.height, kWidth);
  view.setWindowSize(window);
  return window;
}

// Its folder is the exam's, which everybody knows.
std::string whyLeftOut(const std::string& name, const std::string& path, const std::string& whynot) {
  const std::string first = split(whynot, '\n').front();
  return first.starts_with(path) ? name + first.substr(path.size()) : name + " could not be opened: " + first;
}

// Of a document that opened all the same: it may be cut off.
std::string inItsFolder(std::string words, const std::string& folder) {
  for (size_t at = 0; !folder.empty() && (at = words.find(folder)) != std::string::npos;)
    words.erase(at, folder.size());
  return replaced(std::move(words), '\n', ' ');
}

void ExamReport::writeDocument(ReportPages& pages, const ReportedExam& exam, const ResultRow& result) {
  std::string whynot;
  const std::unique_ptr<CDocument> document = openUnseen(pathOf(exam.row, result.filename), whynot);
  if (!document) {
    pages.heading(result.filename);
    tell(pages, whyLeftOut(result.filename, pathOf(exam.row, result.filename), whynot));
    return pages.facts({{"Result as noted", result.result}});
  }
  const auto* bound = dynamic_cast<const CdbDocument*>(document.get());
  if (bound && !bound->patientId.empty() && bound->patientId != id) {
    pages.heading(result.filename);
    return tell(pages, result.filename + " is a document of " + bound->patientId + ", and is left out.");
  }
  CView& view = *document->views().front();
  const ReportPart part = view.reportPart();
  const Size window = part.hasPicture ? windowOf(view, part.fillsWindow) : Size{};
  const double most = part.fillsWindow ? kChartHeight : kPictureHeight;
  pages.heading(result.filename, part.hasPicture ? pages.heightOf(window, most) : 0);
  if (!whynot.empty()) tell(pages, inItsFolder(whynot, folderOf(pathOf(exam.row, result.filename))));
  if (part.hasPicture)
    pages.picture(window, most, [&](Canvas& canvas) {
      view.drawPicture(canvas, window, {.times = 1, .overlays = true, .scaleBar = true});
    });
  const std::string& words = bound ? bound->resultText : result.result;
  const bool isTold = std::ranges::any_of(part.facts, [&](const auto& fact) { return fact.value == words; });
  pages.facts({{"Result", isTold ? std::string() : words}});
  pages.facts(part.facts);
  for (const ReportTable& table : part.tables) pages.table(table, kMostRows);
  if (trimmed(part.notes).empty()) return;
  pages.gap();
  pages.facts({{"Notes", part.notes}});
}

// A site's own: the mean of fingers that change from one exam to the next is no course.
void ExamReport::writeCourses(ReportPages& pages) const {
  std::map<std::string, std::string> sites;  // by how they are compared
  for (const ReportedExam& exam : reported) sites.try_emplace(foldedName(exam.row.site), exam.row.site);
  constexpr Size kCourse{ReportPages::kScreenWidth, ReportPages::kScreenWidth * 3 / 10};
  bool isFirst = true;
  for (const auto& [folded, site] : sites) {
    std::vector<Course> courses = coursesOf(id, site);
    std::erase_if(courses, [](const Course& course) { return course.values.size() < 2; });
    const DocumentType* type = process.xyChartTemplate;
    if (courses.empty() || !type || !type->canOpen()) continue;
    if (isFirst) pages.newPage();
    if (isFirst) pages.title("Course over time");
    isFirst = false;
    pages.heading("Site: " + (trimmed(site).empty() ? std::string("not told") : site),
                  pages.heightOf(kCourse, 1));
    for (const Course& course : courses) {
      const std::unique_ptr<CDocument> chart = type->classes().makeDocument();
      auto* taker = dynamic_cast<CourseTaker*>(chart.get());
      if (!taker || !taker->takeCourse(course)) continue;
      chart->addView(type->classes().makeView(*chart));
      CView& view = *chart->views().front();
      view.setWindowSize(kCourse);
      pages.picture(kCourse, 1, [&](Canvas& canvas) { view.drawPicture(canvas, kCourse, {}); });
    }
  }
}

}  // namespace

Outcome writeExamReport(const std::string& path, const std::string& subject,
                        const std::vector<ExamRow>& exams, std::vector<std::string>& left) {
  ExamReport report(subject, exams);
  Outcome done = writeReport(path, "Examination report of " + subject, {"pdf"},
                             [&](ReportPages& pages) { report.write(pages); });
  left = report.whatIsLeft();
  return done;
}

void examReportCommand() {
  const ExamSelection& selected = theExams();
  const SubjectDatabase* db = theApp().db.get();
  std::vector<ExamRow> exams;
  if (db && !selected.subjectId().empty()) exams = db->examsOf(selected.subjectId());
  if (exams.empty()) {
    host().messages.show(selected.subjectId().empty()
                             ? std::string("No subject is selected.")
                             : format("%s has no examination.", selected.subjectId().c_str()),
                         Buttons::Ok, Icon::Warning);
    return;
  }
  const std::string offered = (selected.hasExam() ? selected.folder() : theApp().dataFolder) + "report-" +
                              replaced(selected.subjectId(), kSeparator, '_') + ".pdf";
  const auto path = host().choosers.saveFile(
      {"Exam report", "Portable Document Format (*.pdf)|*.pdf||", ".pdf", offered, {}, selected.words()});
  if (!path || path->empty()) return;
  int32_t scope = selected.hasExam() ? 0 : 1;
  Form form("Exam report");
  form.addNote(selected.words());
  form.addChoice("Scope", scope, {"the selected examination", "all examinations of the subject"});
  form.addNote("The report tells what is stored: save what is to be in it.");
  if (!asked(form)) return;
  if (scope == 0) std::erase_if(exams, [&](const ExamRow& exam) { return exam.id != selected.examId(); });
  if (exams.empty()) {
    host().messages.show("No examination is selected.", Buttons::Ok, Icon::Warning);
    return;
  }
  std::vector<std::string> left;
  Outcome done = Outcome::success();
  {
    const WaitScope wait;
    done = writeExamReport(*path, selected.subjectId(), exams, left);
  }
  if (!done) {
    host().messages.show(done.why(), Buttons::Ok, Icon::Warning);
    return;
  }
  host().messages.notice({"Wrote " + fileNameOf(*path)});
  std::string lines;
  for (const std::string& line : left) lines += "\n" + line;
  // The report is there, and says so too; a script learns that it lacks something.
  if (!left.empty())
    host().messages.show("The report was written.\n" + lines.substr(1), Buttons::Ok, Icon::Warning);
}

}  // namespace tarnvisor

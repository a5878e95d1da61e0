#include "db/subjectdatabase.h"

#include <algorithm>
#include <unordered_map>

#include "base/text.h"
#include "db/schema.h"
#include "settings/log.h"

namespace tarnvisor {

// Every statement of the system, to the letter: other programs are known to look for them in traces.
namespace sql {
constexpr const char* kIsOurs = "SELECT name FROM sqlite_master WHERE type='table' AND name='info';";
constexpr const char* kInfo = "SELECT * FROM info;";
constexpr const char* kUpgrade1 = "ALTER TABLE patients ADD COLUMN lastused TEXT;";
constexpr const char* kUpgrade2 = "UPDATE info SET dbversion=2 WHERE dbversion=1;";
constexpr const char* kReadSubject = "SELECT * FROM patients WHERE id=?;";
constexpr const char* kAllSubjects = "SELECT id FROM patients ORDER BY lastused DESC;";
constexpr const char* kNewSubject = "INSERT INTO patients ( id, lastused ) VALUES ( ?444, datetime('now') );";
constexpr const char* kUpdateSubject =
    "UPDATE patients SET name=?111, surname=?222, comments=?333, lastused=datetime('now') WHERE id=?444;";
constexpr const char* kTouchSubject = "UPDATE patients SET lastused=datetime('now') WHERE id=?111;";
constexpr const char* kRecentSubjects = "SELECT id FROM patients ORDER BY lastused DESC limit 30;";
constexpr const char* kSearchSubjects =
    "SELECT id FROM patients WHERE id LIKE ? ORDER BY lastused DESC limit 30;";
constexpr const char* kPersons =
    "create table if not exists persons ( id TEXT PRIMARY KEY, born TEXT, sex TEXT );";
constexpr const char* kPerson = "SELECT born, sex FROM persons WHERE id=?;";
constexpr const char* kAllPersons = "SELECT id, born, sex FROM persons;";
constexpr const char* kSetPerson =
    "INSERT OR REPLACE INTO persons ( id, born, sex ) VALUES ( ?111, ?222, ?333 );";
constexpr const char* kSummaries =
    "SELECT patients.id, name, surname, last, count FROM patients LEFT JOIN "
    "( SELECT patientid, max(created) AS last, count(*) AS count FROM exams GROUP BY patientid ) AS done "
    "ON done.patientid=patients.id ORDER BY lastused DESC;";
constexpr const char* kNewExam =
    "INSERT INTO exams ( patientid, created, site, comment, folder )VALUES ( ?222, datetime('now'), ?444, ?555, ?666 );";
constexpr const char* kItsId = "SELECT last_insert_rowid();";
constexpr const char* kExamsOfSubject = "SELECT * FROM exams WHERE patientid=?111;";
constexpr const char* kExamOfSubject = "SELECT * FROM exams WHERE patientid=?111 AND id=?222;";
constexpr const char* kExam = "SELECT * FROM exams WHERE id=?111;";
constexpr const char* kExamInFolder = "SELECT id FROM exams WHERE folder=?;";
constexpr const char* kExamsWithDocument =
    "SELECT exams.id FROM exams JOIN results ON results.examid=exams.id WHERE exams.folder=?111 AND results.filename=?222;";
constexpr const char* kResultsOfExam = "SELECT * FROM results WHERE examid=?111;";
constexpr const char* kResultOfDocument = "SELECT * FROM results WHERE examid=?111 AND filename=?222;";
constexpr const char* kNewResult =
    "INSERT INTO results ( examid, created, filename, result ) VALUES ( ?111, datetime('now'), ?333, ?444 );";
constexpr const char* kUpdatedResult =
    "UPDATE results SET result=?111,created=datetime('now') WHERE examid=?222 AND filename=?333;";
}  // namespace sql

namespace {

ExamRow examRow(const SqliteStatement& s) {
  return {s.integer(0), s.text(1), s.text(2), s.text(3), s.text(4), s.text(5)};
}
ResultRow resultRow(const SqliteStatement& s) {
  return {s.integer(0), s.integer(1), s.text(2), s.text(3), s.text(4)};
}

std::vector<std::string> firstColumns(SqliteStatement& statement) {
  std::vector<std::string> texts;
  while (statement.step()) texts.push_back(statement.text(0));
  return texts;
}

}  // namespace

std::unique_ptr<SubjectDatabase> SubjectDatabase::open(const std::string& path, const std::string& dataFolder,
                                                       const int32_t (&programVersion)[4],
                                                       std::string& problem) {
  logPrintf("opening db=%s folder=%s\n", path.c_str(), dataFolder.c_str());
  std::unique_ptr<SubjectDatabase> opened(new SubjectDatabase(path, dataFolder));
  if (!opened->database.isOpen()) logPrintf("opendb failed\n");
  if (opened->database.isOpen() && opened->prepareSchema(dataFolder, programVersion)) return opened;
  problem = path + ": " + opened->database.error();
  return nullptr;
}

std::optional<bool> SubjectDatabase::isOurs() const {
  SqliteStatement s(database, sql::kIsOurs);
  const bool found = s.step();
  return s.failed() ? std::nullopt : std::optional(found);
}

// Programs that make one database at the same moment wait for one another: the first makes all tables.
bool SubjectDatabase::prepareSchema(const std::string& dataFolder, const int32_t (&programVersion)[4]) {
  std::optional<bool> ours = isOurs();
  if (ours == false) {
    const bool alone = database.execute("BEGIN IMMEDIATE;").empty();
    if (alone) ours = isOurs();
    if (ours == false) createTables(dataFolder, programVersion);
    if (alone && !database.execute("COMMIT;").empty()) return false;
  }
  if (ours == true) upgrade();
  return ours.has_value();
}

void SubjectDatabase::upgrade() {
  int32_t version = 0;
  {
    SqliteStatement info(database, sql::kInfo);
    if (!info.step()) {
      logPrintf("error getting db version\n");
      return;
    }
    version = info.integer(0);
  }
  logPrintf("open db version=%i\n", version);
  if (version > kSchemaVersion) logPrintf("thisdb version=%i\n", kSchemaVersion);
  if (version >= kSchemaVersion) return;
  logPrintf("add lastused col\n");
  database.execute(sql::kUpgrade1);
  logPrintf("update dbversion=2\n");
  database.execute(sql::kUpgrade2);
}

// An error doesn't stop the next statement.
void SubjectDatabase::createTables(const std::string& dataFolder, const int32_t (&v)[4]) {
  std::vector<std::string> statements(std::begin(sql::kTables), std::end(sql::kTables));
  // The folder is pasted in, not bound: with a quote in its name this one statement fails.
  statements.push_back(
      format("insert into info ( dbversion, tarnversion, created, folder ) values ( %i, ", kSchemaVersion) +
      "'" + sql::versionText(v) + "'" + ", datetime('now'),'" + dataFolder + "' );");
  for (const std::string& statement : statements) {
    logPrintf("%s\n", statement.c_str());
    const std::string problem = database.execute(statement);
    if (!problem.empty()) logPrintf("%s\n", problem.c_str());
  }
}

bool SubjectDatabase::write(SqliteStatement& statement, const char* what) {
  if (statement.run()) return true;
  logPrintf("%s could not be written to the database: %s\n", what, database.error().c_str());
  return false;
}

std::string SubjectDatabase::description() const {
  SqliteStatement info(database, sql::kInfo);
  if (!info.step()) return {};
  return "\r\nVer:" + info.text(0) + "\r\nTarn:" + info.text(1) + "\r\nCreated:" + info.text(2) +
         "\r\nFolder:" + place;
}

std::vector<std::string> SubjectDatabase::allSubjects() const {
  SqliteStatement s(database, sql::kAllSubjects);
  return firstColumns(s);
}

std::optional<std::string> SubjectDatabase::subjectSpeltLike(const std::string& id) const {
  const std::vector<std::string> all = allSubjects();
  if (std::ranges::find(all, id) != all.end()) return std::nullopt;
  const auto alike = std::ranges::find_if(all, [&](const auto& known) { return isSameName(known, id); });
  return alike == all.end() ? std::nullopt : std::optional(*alike);
}

std::optional<SubjectRow> SubjectDatabase::readSubject(const std::string& id) const {
  SqliteStatement s(database, sql::kReadSubject);
  if (!s.bindFirst(id).step()) return std::nullopt;
  return SubjectRow{s.text(0), s.text(1), s.text(2), s.text(3)};
}

bool SubjectDatabase::newSubject(const std::string& id) {
  SqliteStatement s(database, sql::kNewSubject);
  return write(s.bind(444, id), "the subject");
}

bool SubjectDatabase::updateSubject(const std::string& id, const std::string& name,
                                    const std::string& surname, const std::string& comments) {
  SqliteStatement s(database, sql::kUpdateSubject);
  return write(s.bind(111, name).bind(222, surname).bind(333, comments).bind(444, id), "the subject");
}

bool SubjectDatabase::touchSubject(const std::string& id) {
  SqliteStatement s(database, sql::kTouchSubject);
  return write(s.bind(111, id), "the subject");
}

// Without their table nobody is told of.
PersonRow SubjectDatabase::person(const std::string& id) const {
  SqliteStatement s(database, sql::kPerson);
  return s.bindFirst(id).step() ? PersonRow{s.text(0), s.text(1)} : PersonRow();
}

bool SubjectDatabase::setPerson(const std::string& id, const PersonRow& person) {
  if (const std::string problem = database.execute(sql::kPersons); !problem.empty())
    logPrintf("%s\n", problem.c_str());
  SqliteStatement s(database, sql::kSetPerson);
  return write(s.bind(111, id).bind(222, person.born).bind(333, person.sex), "the subject");
}

std::vector<SubjectSummary> SubjectDatabase::summaries() const {
  std::unordered_map<std::string, PersonRow> persons;
  SqliteStatement all(database, sql::kAllPersons);
  while (all.step()) persons[all.text(0)] = {all.text(1), all.text(2)};
  std::vector<SubjectSummary> rows;
  SqliteStatement s(database, sql::kSummaries);
  while (s.step())
    rows.push_back({s.text(0), s.text(1), s.text(2), persons[s.text(0)], s.text(3), s.integer(4)});
  return rows;
}

std::vector<std::string> SubjectDatabase::recentSubjects() const {
  SqliteStatement s(database, sql::kRecentSubjects);
  return firstColumns(s);
}

std::vector<std::string> SubjectDatabase::searchSubjects(const std::string& prefix) const {
  SqliteStatement s(database, sql::kSearchSubjects);
  return firstColumns(s.bindFirst(prefix + "%"));
}

SubjectDatabase::Alone::Alone(SubjectDatabase& db)
    : database(db.database), begun(database.execute("BEGIN IMMEDIATE;").empty()) {}

SubjectDatabase::Alone::~Alone() {
  if (begun) database.execute("COMMIT;");
}

int32_t SubjectDatabase::newExam(const std::string& subject, const std::string& site,
                                 const std::string& comment, const std::string& folder) {
  SqliteStatement s(database, sql::kNewExam);
  if (!write(s.bind(222, subject).bind(444, site).bind(555, comment).bind(666, folder), "the exam"))
    return -1;
  SqliteStatement id(database, sql::kItsId);
  return id.step() ? id.integer(0) : -1;
}

std::vector<ExamRow> SubjectDatabase::examsOf(const std::string& subject) const {
  std::vector<ExamRow> rows;
  SqliteStatement s(database, sql::kExamsOfSubject);
  s.bind(111, subject);
  while (s.step()) rows.push_back(examRow(s));
  return rows;
}

std::optional<ExamRow> SubjectDatabase::exam(const std::string& subject, int32_t id) const {
  SqliteStatement s(database, sql::kExamOfSubject);
  if (!s.bind(111, subject).bind(222, id).step()) return std::nullopt;
  return examRow(s);
}

std::optional<ExamRow> SubjectDatabase::exam(int32_t id) const {
  SqliteStatement s(database, sql::kExam);
  if (!s.bind(111, id).step()) return std::nullopt;
  return examRow(s);
}

std::vector<int32_t> SubjectDatabase::examsIn(const std::string& folder) const {
  std::vector<int32_t> ids;
  SqliteStatement s(database, sql::kExamInFolder);
  s.bindFirst(folder);
  while (s.step()) ids.push_back(s.integer(0));
  return ids;
}

std::vector<int32_t> SubjectDatabase::examsWithDocument(const std::string& folder,
                                                        const std::string& filename) const {
  std::vector<int32_t> ids;
  SqliteStatement s(database, sql::kExamsWithDocument);
  s.bind(111, folder).bind(222, filename);
  while (s.step()) ids.push_back(s.integer(0));
  return ids;
}

std::vector<ResultRow> SubjectDatabase::resultsOf(int32_t exam) const {
  std::vector<ResultRow> rows;
  SqliteStatement s(database, sql::kResultsOfExam);
  s.bind(111, exam);
  while (s.step()) rows.push_back(resultRow(s));
  return rows;
}

std::optional<ResultRow> SubjectDatabase::resultOf(int32_t exam, const std::string& filename,
                                                   bool* failed) const {
  SqliteStatement s(database, sql::kResultOfDocument);
  const bool found = s.bind(111, exam).bind(222, filename).step();
  if (failed) *failed = s.failed();
  if (!found) return std::nullopt;
  return resultRow(s);
}

bool SubjectDatabase::insertResult(int32_t exam, const std::string& filename, const std::string& result) {
  SqliteStatement s(database, sql::kNewResult);
  return write(s.bind(111, exam).bind(333, filename).bind(444, result), "the result");
}

bool SubjectDatabase::updateResult(int32_t exam, const std::string& filename, const std::string& result) {
  SqliteStatement s(database, sql::kUpdatedResult);
  return write(s.bind(111, result).bind(222, exam).bind(333, filename), "the result");
}

}  // namespace tarnvisor

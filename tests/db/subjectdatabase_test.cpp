#include "db/subjectdatabase.h"

#include <sqlite3.h>

#include "base/text.h"
#include "support/logcapture.h"

namespace tarnvisor {
namespace {

constexpr int32_t kProgram[4] = {4, 60, 0, 0};
const char* const kTime = "[0-9]{4}-[0-9]{2}-[0-9]{2} [0-9]{2}:[0-9]{2}:[0-9]{2}";
// The schema, as each line of the creation's log.
const std::string kTables =
    "create table info ( dbversion INTEGER, tarnversion TEXT, created TEXT, folder TEXT );\n"
    "create table patients ( id TEXT PRIMARY KEY, name TEXT, surname TEXT, comments TEXT, lastused TEXT );\n"
    "create table exams ( id integer primary key, patientid TEXT, created TEXT, site TEXT, comment TEXT, folder TEXT );\n"
    "create table results ( id integer primary key, examid integer, created TEXT, filename TEXT, result TEXT );\n";

// The waits of the database for another's lock: none takes time, and the next one does something.
class SteppedWaits {
 public:
  SteppedWaits() {
    files.zName = "stepped";
    files.xSleep = [](sqlite3_vfs*, int microseconds) {
      if (const auto now = std::exchange(next, {})) now();
      return microseconds;
    };
    sqlite3_vfs_register(&files, 1);
  }
  ~SteppedWaits() {
    sqlite3_vfs_unregister(&files);
    next = {};
  }
  static inline std::function<void()> next;

 private:
  sqlite3_vfs files = *sqlite3_vfs_find(nullptr);
};

class Subjects : public ::testing::Test {
 protected:
  std::string path() const { return folder.file("tarn.db"); }
  void open(const std::string& dataFolder = "/data/") {
    db.reset();
    capture.emplace();
    problem.clear();
    db = SubjectDatabase::open(path(), dataFolder, kProgram, problem);
  }
  // A second connection's view of the file.
  void put(const std::string& statements) { EXPECT_EQ(SqliteDatabase(path()).execute(statements), ""); }
  std::string get(const std::string& query) {
    SqliteDatabase other(path());
    SqliteStatement s(other, query.c_str());
    return s.step() ? s.text(0) : "-";
  }
  // The log behind its first line.
  std::string log() const {
    const std::string text = capture->text();
    const std::string opening = "opening db=" + path() + " folder=";
    EXPECT_EQ(text.substr(0, opening.size()), opening);
    return text.substr(text.find('\n') + 1);
  }

  SteppedWaits waits;
  TempFolder folder;
  std::string problem;
  std::optional<LogCapture> capture;
  std::unique_ptr<SubjectDatabase> db;
};

TEST_F(Subjects, NewDatabaseIsMadeByTheKnownStatements) {
  open();
  ASSERT_NE(db, nullptr);
  EXPECT_EQ(
      log(),
      kTables +
          "insert into info ( dbversion, tarnversion, created, folder ) values ( 2, '04.60.00.00', datetime('now'),'/data/' );\n");
  EXPECT_THAT(
      db->description(),
      MatchesRegex("\r\nVer:2\r\nTarn:04.60.00.00\r\nCreated:" + std::string(kTime) + "\r\nFolder:/data/"));
  EXPECT_EQ(get("select count(*) from info;"), "1");
  open("/moved/");
  EXPECT_THAT(db->description(), EndsWith("\r\nFolder:/moved/")) << "where it lies, not where it was made";
  open();
  EXPECT_EQ(log(), "open db version=2\n") << "opened again, it is only read";
}

TEST_F(Subjects, ADatabaseThatAnotherProgramIsMakingIsWaitedFor) {
  SqliteDatabase other(path());
  ASSERT_EQ(other.execute("BEGIN IMMEDIATE; create table info ( dbversion INTEGER );"), "");
  waits.next = [&] {
    EXPECT_EQ(other.execute("create table patients ( id TEXT PRIMARY KEY, lastused TEXT ); COMMIT;"), "");
  };
  open();
  ASSERT_NE(db, nullptr);
  EXPECT_EQ(log(), "error getting db version\n") << "it makes no second set of tables";
}

TEST_F(Subjects, ApostropheInTheFolderLosesOnlyTheInfoRow) {
  open("/O'Neill/");
  ASSERT_NE(db, nullptr);
  EXPECT_THAT(log(), HasSubstr(",'/O'Neill/' );\nnear \"Neill\": syntax error\n"));
  EXPECT_EQ(db->description(), "");
  EXPECT_TRUE(db->newSubject("a"));
  EXPECT_EQ(db->newExam("a", "s", "c", "f"), 1);
  EXPECT_TRUE(db->insertResult(1, "x.tv1", "r"));
  open();
  EXPECT_EQ(log(), "error getting db version\n");
  EXPECT_NE(db, nullptr);
}

TEST_F(Subjects, OlderSchemaIsUpgradedAndANewerOneUsedAsItStands) {
  const std::string old =
      "create table info ( dbversion INTEGER, tarnversion TEXT, created TEXT, folder TEXT );create table patients ( id TEXT PRIMARY KEY, name TEXT, surname TEXT, comments TEXT );insert into info values ( 1, '04.50.00.00', '2019-01-01 10:00:00', 'd' );insert into patients values ( 'p', 'Ann', 'Lee', 'c' );";
  put(old);
  open();
  ASSERT_NE(db, nullptr);
  EXPECT_EQ(log(), "open db version=1\nadd lastused col\nupdate dbversion=2\n");
  EXPECT_EQ(get("select dbversion from info;"), "2");
  EXPECT_EQ(db->readSubject("p")->surname, "Lee");
  EXPECT_TRUE(db->touchSubject("p"));
  EXPECT_THAT(get("select lastused from patients;"), MatchesRegex(kTime));
  put("update info set dbversion=3;");
  open();
  ASSERT_NE(db, nullptr);
  EXPECT_EQ(log(), "open db version=3\nthisdb version=2\n");
  EXPECT_EQ(get("select dbversion from info;"), "3");
}

TEST_F(Subjects, TablesAreMadeInAFileOfOthersWithoutInfo) {
  put("create table theirs ( x ); insert into theirs values ( 5 );create table exams ( id integer primary key, patientid TEXT, created TEXT, site TEXT, comment TEXT, folder TEXT );");
  open();
  ASSERT_NE(db, nullptr);
  EXPECT_THAT(log(), HasSubstr("folder TEXT );\ntable exams already exists\ncreate table results"));
  EXPECT_TRUE(db->insertResult(1, "a", "b")) << "an error doesn't stop the next statement";
  EXPECT_EQ(get("select x from theirs;"), "5");
}

TEST_F(Subjects, FileThatIsNoDatabaseIsRefusedAndLeftAlone) {
  const std::string junk(4096, 'x');
  ASSERT_TRUE(replaceFile(path(), std::string_view(junk)));
  open();
  EXPECT_EQ(db, nullptr);
  EXPECT_EQ(problem, path() + ": file is not a database");
  EXPECT_EQ(readWholeText(path()), junk);
  std::filesystem::remove(path());
  ASSERT_TRUE(makeFolderPath(path()));
  open();
  EXPECT_EQ(db, nullptr);
  EXPECT_EQ(problem, path() + ": unable to open database file");
  EXPECT_EQ(log(), "opendb failed\n");
}

TEST_F(Subjects, DamagedPagesGiveNoDataAndNoCrash) {
  open();
  for (int i = 0; i < 120; ++i) db->newSubject(format("subject %i with a name to fill the pages", i));
  db.reset();
  std::string bytes = readWholeText(path()).value_or("");
  ASSERT_GT(bytes.size(), 3 * 4096u);
  for (size_t i = 4096; i < bytes.size(); i += 7) bytes[i] = static_cast<char>(i * 31);
  ASSERT_TRUE(replaceFile(path(), std::string_view(bytes)));
  open();
  ASSERT_NE(db, nullptr) << "the first page is whole";
  EXPECT_THAT(db->recentSubjects(), IsEmpty());
  EXPECT_FALSE(db->newSubject("new"));
  EXPECT_THAT(log(), HasSubstr("the subject could not be written to the database: "));
}

TEST_F(Subjects, AreMadeThenFilledIn) {
  open();
  EXPECT_FALSE(db->readSubject("O'Neill; drop"));
  EXPECT_TRUE(db->newSubject("O'Neill; drop"));
  EXPECT_EQ(db->readSubject("O'Neill; drop")->name, "");
  EXPECT_FALSE(db->newSubject("O'Neill; drop")) << "ids are unique";
  EXPECT_TRUE(db->updateSubject("O'Neill; drop", "\xe9", "B'", "c\r\nd"));
  const auto row = db->readSubject("O'Neill; drop");
  EXPECT_EQ(std::tie(row->name, row->surname, row->comments), std::make_tuple("\xe9", "B'", "c\r\nd"));
  EXPECT_TRUE(db->updateSubject("nobody", "n", "s", "c"));
  EXPECT_FALSE(db->readSubject("nobody")) << "an update makes no row";
}

TEST_F(Subjects, AreOfferedByLastUseNewestFirstAndAtMost30) {
  open();
  for (int i = 1; i <= 31; ++i) {
    db->newSubject(format("S%02i", i));
    put(format("update patients set lastused='2020-01-%02i 00:00:00' where id='S%02i';", i, i));
  }
  const auto recent = db->recentSubjects();
  ASSERT_EQ(recent.size(), 30u);
  EXPECT_EQ(recent.front(), "S31");
  EXPECT_EQ(recent.back(), "S02");
  EXPECT_EQ(db->searchSubjects("s"), recent) << "the case of letters counts for nothing";
  EXPECT_THAT(db->searchSubjects("S1"),
              ElementsAre("S19", "S18", "S17", "S16", "S15", "S14", "S13", "S12", "S11", "S10"));
  EXPECT_THAT(db->searchSubjects("1"), IsEmpty()) << "from the beginning of the id";
  db->touchSubject("S01");
  EXPECT_EQ(db->recentSubjects().front(), "S01");
}

TEST_F(Subjects, HaveExams) {
  open();
  EXPECT_EQ(db->newExam("a", "left ring", "cold", "a-left_ring"), 1);
  EXPECT_EQ(db->newExam("b", "", "", ""), 2);
  EXPECT_EQ(db->newExam("a", "right", "", "a-right"), 3);
  const auto rows = db->examsOf("a");
  ASSERT_EQ(rows.size(), 2u);
  const ExamRow& e = rows[0];
  EXPECT_EQ(std::tie(e.patient, e.site, e.comment, e.folder),
            std::make_tuple("a", "left ring", "cold", "a-left_ring"));
  EXPECT_THAT(e.created, MatchesRegex(kTime));
  EXPECT_EQ(rows[1].id, 3);
  EXPECT_EQ(db->exam("a", 3)->folder, "a-right");
  EXPECT_FALSE(db->exam("b", 3)) << "an exam of another subject";
  EXPECT_EQ(db->exam(2)->patient, "b");
  EXPECT_FALSE(db->exam(-1));
}

TEST_F(Subjects, HaveOneResultAFileAndExam) {
  open();
  EXPECT_TRUE(db->insertResult(1, "x.tv1", "first"));
  EXPECT_TRUE(db->insertResult(2, "x.tv1", "other exam"));
  EXPECT_FALSE(db->resultOf(1, "y.tv1"));
  put("update results set created='2000-01-01 00:00:00';");
  EXPECT_TRUE(db->updateResult(1, "x.tv1", "second"));
  const auto rows = db->resultsOf(1);
  ASSERT_EQ(rows.size(), 1u);
  EXPECT_EQ(rows[0].result, "second");
  EXPECT_GT(rows[0].created, "2020");
  EXPECT_EQ(db->resultOf(2, "x.tv1")->result, "other exam");
  EXPECT_EQ(db->resultOf(2, "x.tv1")->created, "2000-01-01 00:00:00");
}

TEST_F(Subjects, AreWrittenOnceAnotherProgramsLockIsReleased) {
  open();
  SqliteDatabase other(path());
  EXPECT_EQ(other.execute("BEGIN EXCLUSIVE; insert into patients ( id ) values ( 'theirs' );"), "");
  waits.next = [&] { EXPECT_EQ(other.execute("COMMIT;"), ""); };
  EXPECT_TRUE(db->newSubject("ours"));
  EXPECT_TRUE(db->readSubject("theirs"));
}

TEST_F(Subjects, WriteThatStaysLockedOutIsReportedAndLogged) {
  open();
  SqliteDatabase other(path());
  ASSERT_EQ(other.execute("BEGIN EXCLUSIVE;"), "");
  EXPECT_FALSE(db->newSubject("ours"));
  EXPECT_THAT(log(), HasSubstr("the subject could not be written to the database: database is locked\n"));
  ASSERT_EQ(other.execute("ROLLBACK;"), "");
  EXPECT_TRUE(db->newSubject("ours"));
}

TEST_F(Subjects, TheTableOfPersonsIsMadeByTheFirstThatIsWritten) {
  open();
  ASSERT_TRUE(db->newSubject("anna") && db->newSubject("ben"));
  EXPECT_EQ(db->person("anna"), PersonRow());
  EXPECT_EQ(get("SELECT name FROM sqlite_master WHERE name='persons';"), "-");
  EXPECT_TRUE(db->setPerson("anna", {"1970-02-03", "f"}));
  open();
  EXPECT_EQ(db->person("anna"), (PersonRow{"1970-02-03", "f"}));
  EXPECT_EQ(get("SELECT dbversion FROM info;"), "2");
  put("insert into exams (patientid, created) values ('anna', '2020-01-01'), ('anna', '2021-01-01');"
      "update patients set lastused='2000-01-01' where id='ben';");
  const std::vector<SubjectSummary> all = db->summaries();
  ASSERT_EQ(all.size(), 2u);
  EXPECT_EQ(all[0].lastExam, "2021-01-01");
  EXPECT_EQ(all[0].person.sex, "f");
  EXPECT_EQ(all[1].exams, 0);
}

}  // namespace
}  // namespace tarnvisor

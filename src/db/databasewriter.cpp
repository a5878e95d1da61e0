#include "db/databasewriter.h"

#include "base/text.h"
#include "db/schema.h"

namespace tarnvisor {

DatabaseWriter::DatabaseWriter(const std::string& databasePath, const std::string& created,
                               const int32_t (&v)[4])
    : path(databasePath), file(databasePath) {
  if (file.temporaryPath().empty()) return;
  file.releaseToWriterByName();
  database.emplace(file.temporaryPath());
  if (!database->isOpen()) {
    problem = database->error();
    return;
  }
  // Nobody else knows the file yet, and one that is not finished goes.
  for (const char* begin : {"PRAGMA journal_mode=OFF;", "PRAGMA synchronous=OFF;", "BEGIN;"}) run(begin);
  for (const char* table : sql::kTables) run(table);
  SqliteStatement info(
      *database, "INSERT INTO info ( dbversion, tarnversion, created, folder ) VALUES ( ?1, ?2, ?3, '' );");
  info.bind(1, SubjectDatabase::kSchemaVersion).bind(2, sql::versionText(v)).bind(3, created);
  run(info);
  subject.emplace(*database,
                  "INSERT INTO patients ( id, lastused ) VALUES ( ?1, ?2 ) "
                  "ON CONFLICT (id) DO UPDATE SET lastused=max(lastused, excluded.lastused);");
  exam.emplace(
      *database,
      "INSERT INTO exams ( id, patientid, created, site, comment, folder ) VALUES ( ?1, ?2, ?3, ?4, ?5, ?6 );");
  result.emplace(*database,
                 "INSERT INTO results ( examid, created, filename, result ) VALUES ( ?1, ?2, ?3, ?4 );");
}

void DatabaseWriter::run(const std::string& statement) {
  if (const std::string wrong = database->execute(statement); problem.empty()) problem = wrong;
}

void DatabaseWriter::run(SqliteStatement& statement) {
  if (!statement.run() && problem.empty()) problem = database->error();
  statement.again();
}

void DatabaseWriter::addSubject(const std::string& id, const std::string& lastUsed) {
  if (subject) run(subject->bind(1, id).bind(2, lastUsed));
}

void DatabaseWriter::addExam(const ExamRow& row) {
  if (!exam) return;
  exam->bind(1, row.id).bind(2, row.patient).bind(3, row.created);
  run(exam->bind(4, row.site).bind(5, row.comment).bind(6, row.folder));
}

void DatabaseWriter::addResult(int32_t ofExam, const std::string& created, const std::string& filename,
                               const std::string& words) {
  if (result) run(result->bind(1, ofExam).bind(2, created).bind(3, filename).bind(4, words));
}

Outcome DatabaseWriter::finish() {
  subject.reset();
  exam.reset();
  result.reset();
  if (database && database->isOpen()) run("COMMIT;");
  database.reset();
  if (!problem.empty()) return Outcome::failure(path + ": " + problem);
  return file.commit();
}

}  // namespace tarnvisor

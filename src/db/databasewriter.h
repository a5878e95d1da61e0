// Writes a subject database as a whole, in one transaction and with ids and times that are given: equal rows
// in equal order make equal files.
#pragma once

#include <optional>
#include <string>

#include "base/files.h"
#include "base/outcome.h"
#include "db/sqlite.h"
#include "db/subjectdatabase.h"

namespace tarnvisor {

class DatabaseWriter {
 public:
  // The file appears, or replaces one, at finish(). created: as the database writes times. Its folder stays
  // untold, since it can be moved.
  DatabaseWriter(const std::string& path, const std::string& created, const int32_t (&programVersion)[4]);
  DatabaseWriter(const DatabaseWriter&) = delete;
  DatabaseWriter& operator=(const DatabaseWriter&) = delete;

  // One that is there already keeps the later of both times.
  void addSubject(const std::string& id, const std::string& lastUsed);
  void addExam(const ExamRow& exam);
  void addResult(int32_t exam, const std::string& created, const std::string& filename,
                 const std::string& result);
  // Fails with words where anything before could not be written; a file of that name is then as it was.
  [[nodiscard]] Outcome finish();

 private:
  void run(const std::string& statement);
  void run(SqliteStatement& statement);
  std::string path, problem;
  AtomicFile file;
  std::optional<SqliteDatabase> database;
  std::optional<SqliteStatement> subject, exam, result;
};

}  // namespace tarnvisor

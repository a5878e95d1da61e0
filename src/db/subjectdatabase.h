// The subject database tarn.db of a data folder: subjects, their exams and the result of each saved document.
// It holds names and text only; removing it loses the index, not the documents. docs/formats/database.md
// tells the schema.
//
// Statements stand alone; one that fails is no data, and a write that fails is logged.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "db/sqlite.h"

namespace tarnvisor {

struct SubjectRow {
  std::string id, name, surname, comments;
};
struct PersonRow {
  std::string born;  // "1970-02-03"
  std::string sex;   // "f", "m" or "x"
  bool operator==(const PersonRow&) const = default;
};
// A subject as one of a long list.
struct SubjectSummary {
  std::string id, name, surname;
  PersonRow person;
  std::string lastExam;  // when the newest was made; empty without one
  int32_t exams = 0;
};
struct ExamRow {
  int32_t id = -1;
  std::string patient, created, site, comment, folder;  // folder: a name below the data folder
};
struct ResultRow {
  int32_t id = -1;
  int32_t exam = -1;
  std::string created, filename, result;
};

class SubjectDatabase {
 public:
  static constexpr int32_t kSchemaVersion = 2;

  // Opens, creates the tables where there are none, or brings an older schema up to date; all of it logged.
  // Null when it can't be opened, with the words to show in problem.
  static std::unique_ptr<SubjectDatabase> open(const std::string& path, const std::string& dataFolder,
                                               const int32_t (&programVersion)[4], std::string& problem);

  // Four lines about the database, each begun by "\r\n"; the folder is the one it lies in now.
  std::string description() const;

  std::optional<SubjectRow> readSubject(const std::string& id) const;
  // A subject whose id differs by its capitals alone; nothing where there is the id itself.
  std::optional<std::string> subjectSpeltLike(const std::string& id) const;
  [[nodiscard]] bool newSubject(const std::string& id);  // the details come by updateSubject
  [[nodiscard]] bool updateSubject(const std::string& id, const std::string& name, const std::string& surname,
                                   const std::string& comments);
  // Of one about whom nothing was told all is empty. Their table is made by the first that is written.
  PersonRow person(const std::string& id) const;
  [[nodiscard]] bool setPerson(const std::string& id, const PersonRow& person);
  bool touchSubject(const std::string& id);
  std::vector<std::string> allSubjects() const;                              // the last used first
  std::vector<SubjectSummary> summaries() const;                             // likewise
  std::vector<std::string> recentSubjects() const;                           // likewise, at most 30
  std::vector<std::string> searchSubjects(const std::string& prefix) const;  // likewise

  // Holds other programs' writes off for its life, so that what was asked still holds when it is written.
  class Alone {
   public:
    explicit Alone(SubjectDatabase& db);
    ~Alone();
    Alone(const Alone&) = delete;
    Alone& operator=(const Alone&) = delete;

   private:
    SqliteDatabase& database;
    bool begun;
  };

  // The new exam's id; -1 when it could not be written.
  [[nodiscard]] int32_t newExam(const std::string& subject, const std::string& site,
                                const std::string& comment, const std::string& folder);
  std::vector<ExamRow> examsOf(const std::string& subject) const;
  std::optional<ExamRow> exam(const std::string& subject, int32_t id) const;
  std::optional<ExamRow> exam(int32_t id) const;
  std::vector<int32_t> examsIn(const std::string& folder) const;  // of any subject

  // Exams may share a folder; each of these has a result of that file.
  std::vector<int32_t> examsWithDocument(const std::string& folder, const std::string& filename) const;

  std::vector<ResultRow> resultsOf(int32_t exam) const;
  // failed tells a database that could not be asked from one that has no such row.
  std::optional<ResultRow> resultOf(int32_t exam, const std::string& filename, bool* failed = nullptr) const;
  // Why the last write failed.
  std::string error() const { return database.error(); }
  [[nodiscard]] bool insertResult(int32_t exam, const std::string& filename, const std::string& result);
  [[nodiscard]] bool updateResult(int32_t exam, const std::string& filename, const std::string& result);

 private:
  SubjectDatabase(const std::string& path, std::string dataFolder)
      : database(path), place(std::move(dataFolder)) {}
  std::optional<bool> isOurs() const;  // nothing when it could not be asked
  bool prepareSchema(const std::string& dataFolder, const int32_t (&programVersion)[4]);
  void createTables(const std::string& dataFolder, const int32_t (&programVersion)[4]);
  void upgrade();
  bool write(SqliteStatement& statement, const char* what);
  SqliteDatabase database;
  std::string place;  // where it is now, which may be another place than where it was made
};

}  // namespace tarnvisor

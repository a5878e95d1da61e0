// Who there is: all subjects of the database as a list to search and to sort, and what is told of a person.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "db/subjectdatabase.h"

namespace tarnvisor {

// A date of birth as it is kept ("1970-02-03"), of one that was typed so or as "3.2.1970"; an empty text
// stays empty. Nothing for what is no date, or lies in the future.
std::optional<std::string> dateOfBirth(const std::string& typed);

// First name and surname; empty for nobody.
std::string fullNameOf(const std::optional<SubjectRow>& subject);

// All subjects of the database as a list to search and to sort.
class SubjectDirectory {
 public:
  static const std::vector<std::string>&
  columns();  // "Id", "Surname", "First name", "Born", "Sex", "Last exam"
  void read();
  // Those in which each of the words is found: in id, surname, first name or date of birth.
  void filter(const std::string& words);
  void sort(size_t column, bool descending);
  size_t count() const { return shown.size(); }
  size_t countOfAll() const { return rows.size(); }
  const std::string& id(size_t row) const { return rows[shown[row]].subject.id; }
  std::string cell(size_t row, size_t column) const { return cellOf(rows[shown[row]], column); }
  int find(const std::string& id) const;  // its row; -1 when it is not shown

 private:
  struct Row {
    SubjectSummary subject;
    std::string sought;  // what words are looked for in
  };
  void arrange();
  static std::string cellOf(const Row& row, size_t column);
  std::vector<Row> rows;  // the last used first
  std::vector<size_t> shown;
  std::string wanted;
  std::optional<size_t> sortedBy;
  bool descends = false;
};

// The sexes as they are kept (PersonRow), the one that is not told first, and in words.
const std::vector<std::string>& sexes();
std::string sexInWords(const std::string& sex);
// A time of the database as seconds since 1970; 0 for what is none.
int64_t secondsOf(const std::string& utc);
// Its day, here; what is no time as it stands.
std::string localDay(const std::string& utc);
std::string localMinute(const std::string& utc);  // "2025-03-14 12:41"

}  // namespace tarnvisor

// How result tables look: one column's format, the tables of all kinds of results, and the text of a number.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "archive/object.h"

namespace tarnvisor {

// A column of a static table.
struct ColumnRecord {
  uint16_t column;   // the place at which it is shown and at which its cell lies in a row
  uint16_t visible;  // 1 shown
  const char* title;
  uint16_t width;       // in average character widths
  uint16_t fieldwidth;  // of the number; 0 for a text
  uint16_t decimals;
};

// A column of a document. Its place in the document's list, not `column`, says which part of a record it
// shows.
class Ccolformat : public ArchiveObject {
 public:
  Ccolformat() = default;
  explicit Ccolformat(const ColumnRecord& record);
  static const ArchiveClass& archiveClass();
  const ArchiveClass& classRecord() const override { return archiveClass(); }
  void serialize(Archive& archive) override;

  uint16_t column = 0;
  uint16_t visible = 1;
  std::string title;
  uint16_t width = 0;
  uint16_t fieldwidth = 0;
  uint16_t decimals = 0;
};

// A kind of result, described in the room that measures it. Its place in memory tells kinds apart.
struct ResultTable {
  int32_t id;  // of the window title among the system's texts; 0 where it has none
  const char* title;
  std::span<const ColumnRecord> columns;
};

// Whose measurement a row is; nobody's as it stands.
struct ResultOwner {
  std::string subject = {};
  int32_t exam = -1;
  std::string folder = {};  // of that exam: its name, or where the measured document lies; empty when unknown
  bool isElsewhere = false;  // the exam of that number in the open database is another
  bool operator==(const ResultOwner&) const = default;
};

std::string examLabel(const ResultOwner& owner);  // the exam as a cell; empty for none

// What a row of a table says. The first two columns of the list take the texts, column k from 2 on takes
// value k - 2; a value that is lacking counts as 0, and what is no number leaves the cell empty.
struct ResultRecord {
  std::string filename;
  std::string units;
  std::vector<double> values;
  ResultOwner owner = {};
};
// A record whose values are named by their columns' titles, in any order. A name that the table lacks is a
// fault of the program.
struct NamedValue {
  std::string_view column;
  double value;
};
ResultRecord recordOf(const ResultTable& table, std::string filename, std::string units,
                      const std::vector<NamedValue>& values);

// "%*.*f", with exact ties rounded away from zero, as users of these tables have always seen them: 37.25 in a
// field of 5 with one decimal is " 37.3".
std::string resultNumber(double value, int width, int decimals);
// With three significant digits, for a number of which those decimals would show nothing but zeros; empty for
// all others.
std::string smallNumber(double value, int decimals);

}  // namespace tarnvisor

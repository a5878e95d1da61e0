// What stands beside the picture of a document, as data: facts, a line each, and a table whose rows are
// things in the document, a picture's marks for one. A dock shows it; a test reads it.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace tarnvisor {

struct SideFact {
  std::string name, value;
  bool isCaution = false;  // what a reader of the numbers must not overlook
  int32_t mends = 0;       // the command that mends what it tells; 0 for none
};

class SidePanel {
 public:
  struct Column {
    std::string heading;
    bool isNumber = false;
    std::string unit = {};  // "um"; empty for none
    bool isSummed = false;  // its sum says something
    bool hasMean = true;    // so does its mean
  };
  struct Group {  // of rows, of which one is shown at a time
    std::string name;
    size_t rows = 0;
    bool isShown = true;  // drawn in the picture
  };

  virtual ~SidePanel() = default;
  // In words, of the rows: "Marks".
  virtual std::string title() const = 0;
  virtual std::vector<SideFact> facts() const = 0;

  // None where all rows are shown.
  virtual std::vector<Group> groups() const { return {}; }
  virtual size_t currentGroup() const { return 0; }
  virtual void chooseGroup(size_t /*group*/) {}
  virtual void showGroup(size_t /*group*/, bool /*shown*/) {}

  // Whether things have their numbers and labels in the picture.
  virtual bool showsLabels() const { return true; }
  virtual void showLabels(bool /*shown*/) {}

  virtual std::vector<Column> columns() const = 0;
  virtual size_t rowCount() const = 0;
  virtual std::string cell(size_t row, size_t column) const = 0;
  virtual double number(size_t row, size_t column) const = 0;  // of a column of numbers; NaN for none

  virtual bool isSelected(size_t row) const = 0;
  virtual void select(std::span<const size_t> rows) = 0;

  // What buttons below the table do with the rows that are selected.
  virtual std::vector<std::string> actions() const { return {}; }
  virtual bool canAct(size_t /*action*/) const { return false; }
  virtual void act(size_t /*action*/) {}
};

}  // namespace tarnvisor

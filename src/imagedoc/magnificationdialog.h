// The dialog "Magnification", without its face: the document's scale, and the table it can be taken from and
// added to.
#pragma once

#include <string>
#include <vector>

#include "imagedoc/magnification.h"

namespace tarnvisor {

class ZBasicDoc;
class MagnificationDialog;

class MagnificationFace {
 public:
  virtual ~MagnificationFace() = default;
  virtual bool run(MagnificationDialog& dialog) = 0;  // true for OK
};

class MagnificationDialog {
 public:
  explicit MagnificationDialog(const ZBasicDoc& document);

  const std::vector<std::string>& rows() const { return lines; }  // "%8.3f %8.3f %-25s %s" each
  std::string unitText() const { return unit; }                   // beside both scales
  std::string defaultLine() const;                                // below "Current default settings:"

  void addToList();          // the fields' values, dated now
  void select(int32_t row);  // into the fields
  void remove(int32_t row);
  void setAsDefault(int32_t row);

  // With the face if there is one, otherwise as a form whose "action" and "row" do what the buttons do. True
  // for OK.
  bool run();

  // Whether the fields hold a scale that somebody gave: by a change of a number, or from the table.
  bool isGiven() const;
  bool isOfTable() const { return wasSelected; }

  MagnificationEntry entry;  // what the fields hold
  static MagnificationFace* face;

 private:
  void refresh();
  bool runForm();
  MagnificationEntry inTable() const;
  std::vector<std::string> lines;
  std::string unit;
  MagnificationEntry before;
  double tablePixels;  // of one of the document's
  bool wasSelected = false;
};

}  // namespace tarnvisor

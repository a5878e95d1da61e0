// What the strip under the menus says, whatever window is in front: whose examination it is, what it holds,
// and what a reader of the document in front must know.
#pragma once

#include <cstdint>
#include <string>

namespace tarnvisor {

class CDocument;

struct PatientStrip {
  std::string subject;   // "P-104  Anna Berg", "no subject selected"
  std::string exam;      // "left ring finger, 2026-11-22 21:50", "no exam selected"
  std::string holdings;  // "11 documents, 9 results"; empty without an exam
  std::string document;  // of the one in front: "hand.tv1: changed"; empty for none
  std::string caution;   // of it: "not calibrated"
  int32_t mends = 0;     // the command that mends what the caution tells; 0 for none
  std::string place;     // "demonstration" where the data are that; else empty
  bool hasExam = false;
};

// Asks the database anew only after refresh().
class PatientStripModel {
 public:
  PatientStripModel();
  ~PatientStripModel();
  PatientStripModel(const PatientStripModel&) = delete;
  PatientStripModel& operator=(const PatientStripModel&) = delete;
  const PatientStrip& of(const CDocument* front);

 private:
  void readExam();
  PatientStrip strip;
  bool isStale = true;
};

}  // namespace tarnvisor

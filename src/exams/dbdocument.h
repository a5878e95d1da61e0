// CdbDocument: the base of all documents that belong to an exam. A document is bound at its first save to the
// exam that is selected then, and stays bound to it.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>

#include "framework/document.h"

namespace tarnvisor {

// What a judgement (CdbDocument::judgementOfResult) begins with: "low" of "low: 3 of 20 images could not be
// aligned". Worst first; others are no judgement.
struct Quality {
  const char* word;
  bool isWorthALook;
};
inline constexpr Quality kQualities[] = {{"refused", true}, {"no reading", true}, {"unreliable", true},
                                         {"low", true},     {"fair", false},      {"by hand", false},
                                         {"good", false}};
// Null for none of them.
const Quality* qualityOf(std::string_view judgement);
inline const char* qualityWord(std::string_view judgement) {
  const Quality* quality = qualityOf(judgement);
  return quality ? quality->word : "";
}

class CdbDocument : public CDocument {
 public:
  bool onNewDocument() override;
  // Binds, writes or updates the row of the results table, then saves.
  bool onSaveDocument(const std::string& path) override;
  std::string defaultPathName() const override;
  void serialize(Archive& archive) override;
  // The exam, other than the document's own, that has a document at this path; -1 for none.
  int32_t otherExamWith(const std::string& path) const;
  // Its subject has its exam in the open database, and it lies in that exam's folder if it has a file: the
  // exam of that number of a copied data folder, or of another clinic's, may be another.
  bool belongsHere() const;
  // Bound to an exam that is not, or not known to be, the one of that number here.
  bool isFromElsewhere() const { return examIdOfDoc >= 0 && !belongsHere(); }
  // Whose it is or will be: the one it is bound to, else the exam that was selected when it was made, as long
  // as no other is selected, else what is selected.
  struct Owner {
    std::string subject;
    int32_t exam = -1;
    bool operator==(const Owner&) const = default;
  };
  Owner owner() const;
  // What a file holds beside its pixels and images, unseen; null where it can't be read.
  static std::unique_ptr<CdbDocument> readAlone(const std::string& path);
  // What a number of its result text is told in; empty where nobody knows.
  virtual std::string unitOfResult(const std::string& /*quantity*/) const { return {}; }
  // How far its result can be believed: one of kQualities, then why. Empty
  // where nothing judged it.
  virtual std::string judgementOfResult() const { return {}; }
  // The subject whom the file that it was made of names, where that is another one; empty otherwise.
  std::string otherSubject() const;
  // Whose the document in a file of this kind is; nobody's for a file that can't be read.
  Owner ownerInFile(const std::string& path) const;
  // Whose its results are: the one it is bound to, else the one that its file names, else the one that was
  // selected when it was made.
  Owner measuredFor() const;
  std::string whoseWords() const override;
  // That exam's folder: its name below the data folder; of a document from elsewhere where the document lies.
  // Empty when unknown.
  std::string examFolder() const;
  std::string exportPath(const std::string& ending) const override;  // a document without a place: its exam's
  // What a command of another document made is of that one's subject and exam.
  void madeFrom(const CDocument& source) override;
  StepResult tell(const std::string& what) override;  // "result"

  // Binds the document if it isn't, and brings its row in the results table up to date.
  void storeResult(const std::string& path);
  // Writes resultText to the row, unless it is empty. Also for a result that changes without a save.
  void updateResult(const std::string& path);
  // The document's path without its extension, the suffix added, with blanks made "-".
  std::string setBaseFileName(const std::string& suffix) const;

  int32_t saveCount = 0;     // rises with each store
  std::string patientId;     // subject at binding
  int32_t examIdOfDoc = -1;  // exam at binding; -1 when unbound
  std::string userLabel;     // the user's name, refreshed at each save
  std::string resultText;
  int32_t isBound = 0;         // also 1 after loading
  std::string stationId;       // the workstation, set at binding
  std::string stationIdFirst;  // the workstation of the first save
  // Whom the file of another program names that this was made of; not stored. Who selected another subject is
  // asked before the document becomes that one's.
  std::string subjectOfFile;
  // Asked before pixels of a file that names a subject come into a document of another one's.
  bool agreesToSubject(const std::string& path, const std::string& fileSubject) const;

  // Another subject or exam is selected.
  virtual void onSelectionChanged() {}
  // Bound to nothing any more: what comes next is of what is selected now.
  void forgetOwner();

 protected:
  // Of a name that nobody gives: the wanted folder, or that of the own exam where the wanted one is another
  // exam's. Asks once whose the document is to be; nothing, and the user told, where that is not answered.
  std::optional<std::string> folderForUnnamed(const std::string& wanted);
  // A new document, or one around a file of another kind, is of what is selected now.
  void noteMadeHere();
  // Whether what is made now may lie there without a question: in the selected exam's folder, or, while none
  // is selected, in no exam's.
  bool isFolderOfSelection(const std::string& folder) const;
  // Binds the document and writes its file, without the row. On failure it is bound as before.
  [[nodiscard]] bool storeBound(const std::string& path);

 private:
  using Binding = std::tuple<int32_t, std::string, int32_t, std::string, std::string>;
  bool isBoundToExam() const { return isBound && examIdOfDoc >= 0; }
  void bindTo(const Owner& owner);
  // What was selected when the document was made; it has no subject of its own before its first save.
  std::string madeFor;
  int32_t madeUnder = -1;
  Owner notOf;  // somebody else's exam, which it was said not to be of
  std::optional<Owner> askOwner();
  std::optional<Owner> ownerByHistory();
  bool mayBecome(const Owner& owner);
  int32_t strangerIn(const std::string& folder, const Owner& next) const;
  bool mayLieIn(const std::string& folder, const Owner& next) const;
  bool mayTakePlaceOf(const std::string& path, const Owner& next) const;
  int32_t examHere() const;
  bool liesInItsExam(const std::string& path) const;
  bool isExamKnown() const;    // a subject of that id has an exam of that number here
  bool isOfElsewhere = false;  // made from a document that doesn't belong here
  bool toldForeign = false;    // that its exam is not of this database
  void tellOfRow(bool written, const std::string& name);
};

// A subject and the site of its exam, for a title: "S-1, left ring". The subject alone where the open
// database doesn't have that exam of it.
std::string examWords(const std::string& subject, int32_t exam);
// All of them for a page: "Subject S-1, Ann Lee; exam 3 of 2025-03-14, left ring". Of one from elsewhere id
// and number alone.
std::string pageWords(const CdbDocument::Owner& owner, bool isFromElsewhere);

// "exam 3 of subject S-1", "subject S-1" or "no subject".
std::string ownerWords(const CdbDocument::Owner& of);

// What identifies the person and the machine: key `user` and key `station` of section `Settings` where a
// laboratory sets them, otherwise the login's and the computer's name.
std::string currentUserLabel();
std::string currentStationId();

}  // namespace tarnvisor

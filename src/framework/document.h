// A document: what a file holds, with its views. Headless; a window shows a view of it.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "framework/command.h"
#include "framework/job.h"
#include "framework/scripttarget.h"
#include "framework/unsaved.h"
#include "framework/view.h"
#include "host/choosers.h"

namespace tarnvisor {

class Archive;
class DocumentType;

class CDocument : public CommandTarget, public ScriptTarget {
 public:
  CDocument();
  ~CDocument() override;
  CDocument(const CDocument&) = delete;
  CDocument& operator=(const CDocument&) = delete;

  // The name in the window's title: the file's name once there is a file.
  const std::string& title() const { return windowTitle; }
  void setTitle(std::string text) { windowTitle = std::move(text); }
  const std::string& pathName() const { return filePath; }  // absolute; empty before the first save
  virtual void setPathName(const std::string& path);        // also takes the title from it
  void forgetPathName() { filePath.clear(); }               // so that the next save asks for one
  // The files that the document is, or goes on reading or was made from: no output may replace them.
  virtual std::vector<std::string> filesInUse() const { return {filePath}; }
  // The file of another kind that it was made from; empty for none. No output replaces that either.
  const std::string& source() const { return sourceFile; }
  // What a reader of its numbers must know: "not calibrated"; empty for nothing.
  virtual std::string caution() const { return {}; }
  // The command that mends it; 0 for none.
  virtual int32_t cautionCommand() const { return 0; }
  bool isModified() const { return modified; }
  void setModified(bool on = true) {
    modified = on;
    if (on) ++changes;
  }
  // Rises each time that something changed.
  uint64_t changeCount() const { return changes; }

  // The type that made the document; null for one made without (a temporary).
  DocumentType* type() const { return documentType; }
  // The type whose ending the document's files have.
  virtual DocumentType* storedType() const { return documentType; }

  // Each returns false after telling the user why, and then leaves no half-made file. Paths are absolute: a
  // document stores names of other files, and finds them beside its own.
  [[nodiscard]] virtual bool onNewDocument();
  [[nodiscard]] virtual bool onOpenDocument(const std::string& path);
  [[nodiscard]] virtual bool onSaveDocument(const std::string& path);
  // Fills a new document from a file of another kind, which stays as it is and is never written over.
  [[nodiscard]] virtual bool onImportFile(const std::string& path);
  // Empties the document, also before a load.
  virtual void deleteContents() {}
  virtual void serialize(Archive& archive) = 0;
  // What the document answers to beside the file kinds its type opens: text to show when something failed.
  virtual void report(const std::string& words);
  // Whose it is, for the first line of forms that file something of it; empty for a kind that is nobody's.
  virtual std::string whoseWords() const { return {}; }
  // Asks for the file of an export. Nothing when the user cancels.
  std::optional<std::string> askExportPath(FileRequest request) const;
  // A file went out of the document, or why it did not.
  void tellExported(const Outcome& done, const std::string& path);
  // Whether the last save took the place of a file.
  bool hasReplacedFile() const { return replacedFile; }

  // Saves under the present path, or asks for one. False when the user cancels or the save fails.
  virtual bool save();
  bool saveAs();
  // Whether a save has to ask for a path.
  bool needsPath() const { return filePath.empty() || !missing.empty(); }
  // The path that the user wants to save as; nothing when they cancel.
  std::optional<std::string> askForPath();
  // A path with the ending of the document's kind: one that has another would be taken for another kind of
  // file, or written over one.
  std::string withOwnEnding(const std::string& path) const;
  // The path that Save As offers.
  virtual std::string defaultPathName() const;
  // What an export is offered as: beside the file, or by the title alone.
  virtual std::string exportPath(const std::string& ending) const;
  // The file came from a server, to a place where nobody keeps anything.
  void noteFetched() { fetchedAs = filePath; }
  bool isFetched() const { return !fetchedAs.empty() && fetchedAs == filePath; }
  // Asks whether to save a changed document. False when the user cancels, or a wanted save fails.
  [[nodiscard]] bool saveModified();
  // How that question names it.
  const std::string& nameToSave() const { return filePath.empty() ? windowTitle : filePath; }
  // Ends what still changes it, before its changes are asked about.
  virtual void beforeClosing() {}

  // --- what the next run finds should this one fall over (framework/unsaved.h)
  // Whether a copy is wanted of it as it is now.
  virtual bool wantsCopy() const { return modified; }
  // Of what is not saved. The document stays as it is. Nothing where it can't be stored.
  [[nodiscard]] std::optional<UnsavedCopy> copyOfUnsaved();

  // Stays open when a script goes on to the next exam.
  virtual bool collectsOverExams() const { return false; }
  // Told of the document whose command made this new one.
  virtual void madeFrom(const CDocument& /*source*/) {}
  // Called once, before the document is destroyed.
  virtual void onCloseDocument() {}

  // Views belong to the document, which deletes them on closing.
  void addView(std::unique_ptr<CView> view);
  const std::vector<std::unique_ptr<CView>>& views() const { return viewList; }
  void updateAllViews(CView::Change what = CView::Change::All);

  // Begins a long work on the document; one that is at work already is left alone, and the new one dropped.
  void start(std::unique_ptr<Job> job);
  // The same, ended when it returns.
  void runToEnd(std::unique_ptr<Job> job);
  bool isBusy() const override { return atWork != nullptr; }
  // Asks before something goes with a job that is stopped; false when the user wants it to go on.
  [[nodiscard]] bool mayStopWork() const;
  // As by Cancel; the job has ended when it returns.
  void stopWork();
  // Drives the job for a moment. Its end may close the document.
  void goOnWorking();
  const CDocument* documentOfCommands() const override { return this; }

  static const CommandTableBase& commandTable();
  const CommandTableBase* commands() const override { return &commandTable(); }
  void saveCommand() { save(); }
  void saveAsCommand() { saveAs(); }

 protected:
  // Called before the views hear of a change: what the document derives from its contents follows them here.
  virtual void beforeUpdate() {}
  // The two halves of opening and saving that a document with more than one file puts its own work around.
  [[nodiscard]] bool loadFrom(const std::string& path);
  [[nodiscard]] bool storeTo(const std::string& path);
  // For a load that could read only a part of the file: why. The document opens, and never goes over that
  // file.
  void tookOnlyAPart(std::string why) { missing = std::move(why); }
  const std::string& whatIsMissing() const { return missing; }

  // Writes what a save would write, and leaves the document as it is.
  virtual void storeCopy(Archive& archive) { serialize(archive); }
  // What the document knows beside its archive: facts by names of its own, and maybe a second file.
  virtual void tellUnsaved(UnsavedCopy& copy);
  // Takes that back, once the copy is loaded.
  virtual void takeUnsaved(const LeftCopy& left);
  // While the document opens from a copy in place of its file; null otherwise.
  const LeftCopy* openingFrom() const { return unsaved; }

 private:
  friend class DocumentType;
  [[nodiscard]] bool mayGoOver(const std::string& path);
  [[nodiscard]] bool mayOfferFolder(const std::string& folder);
  void finishWork();
  [[nodiscard]] bool restore(const LeftCopy& from);
  std::unique_ptr<JobAtWork> atWork;
  const LeftCopy* unsaved = nullptr;
  std::string windowTitle;
  std::string filePath, fetchedAs;
  std::string sourceFile;
  std::string stamp;    // of the file, as it was read or written last
  std::string missing;  // why only a part of the file could be read; empty for all of it
  bool modified = false;
  bool replacedFile = false;
  uint64_t changes = 0;
  DocumentType* documentType = nullptr;
  std::vector<std::unique_ptr<CView>> viewList;
};

}  // namespace tarnvisor

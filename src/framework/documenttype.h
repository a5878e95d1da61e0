// A document type binds a resource string to the classes of its document and view, and owns its open
// documents. The manager holds the registered types in the order in which a file's extension is matched.
#pragma once

#include <array>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "base/outcome.h"
#include "framework/document.h"
#include "framework/menu.h"

namespace tarnvisor {

// A kind of file, as choosers and the desktop know it.
struct FileKind {
  const char* ending = "";       // ".tv1"
  const char* openWords = "";    // in the list of Open: "Images (*.tv1)"; empty: not offered there
  int openPlace = 100;           // in that list; what has the same one keeps the order of the document table
  bool ofOthers = false;         // not of this system's making: stands last among "ZZ files"
  const char* mimeType = "";     // told to the desktop; empty for none
  const char* mimeComment = "";  // empty where the desktop knows the type by itself
  int mimeWeight = 50;           // below 50 where others use the ending too
  bool opens = true;             // the program opens such a file when it is given one
};

// What the program does when it is started with "/x FILE": commands posted once the file is open.
struct StartSwitch {
  char letter;
  std::vector<int32_t> commands;
};

// How a kind of document meets people and the desktop: tables that lie in the room of the kind.
struct DocumentFace {
  std::vector<const CommandTableBase*>
      tables;                          // of its document and of its view, without their base classes'
  std::vector<Menu> menus;             // none: those without a document
  std::vector<PopupMenu> popups;       // the first opens at the mouse
  std::vector<ToolBarGroup> toolBars;  // kinds may name the same group; it is shown once
  std::vector<int32_t> keysOnly;       // commands that answer to their keys though no menu holds them
  std::vector<FileKind> files;
  std::vector<StartSwitch> startSwitches;
  void (*exportStudy)() = nullptr;   // of the kind that holds results: those of a whole study into a file
  void (*studySummary)() = nullptr;  // likewise, their distributions
  void (*readSettings)() = nullptr;  // what the kind keeps of the profile beside its documents, read anew
  const char* icon = "document";     // of its windows, and of its files on the desktop
  const char* helpPage = "index";    // in help/, without ending
};

struct DocumentClass {
  int32_t id = 0;
  // Seven fields separated by line feeds: window title, document name, name for File New, filter name, filter
  // extension, and the type's identifier and name in the desktop's registry of file types.
  const char* resource = "";
  const char* documentName = "";
  const char* viewName = "";
  const char* frameName = "";
  // Both may be null: such a type stands in the table and opens nothing.
  std::unique_ptr<CDocument> (*makeDocument)() = nullptr;
  std::unique_ptr<CView> (*makeView)(CDocument&) = nullptr;
  // Whether a file that no type claims can be brought into a new document of this one; null for none.
  bool (*imports)(const std::string& path) = nullptr;
  const char* importFilter = "";  // of those files, for a chooser: words and patterns, without the end
  const DocumentFace& (*faceOf)() = nullptr;  // null for a type without one
};

class DocumentType {
 public:
  explicit DocumentType(const DocumentClass& facts);
  ~DocumentType();

  int32_t id() const { return facts.id; }
  const DocumentClass& classes() const { return facts; }
  const DocumentFace& face() const;
  const std::string& field(size_t index) const { return fields[index]; }
  const std::string& documentName() const { return fields[1]; }
  const std::string& filterName() const { return fields[3]; }
  const std::string& filterExtension() const { return fields[4]; }  // with its dot; empty: matches no file
  bool canOpen() const { return facts.makeDocument != nullptr; }
  bool matches(const std::string& path) const;

  // A new empty document with a view, titled by its kind and a number. Null when it can't be made.
  CDocument* newDocument();
  // The document of a file: the open one, activated, or a new one. Null after the user was told why, also for
  // a file of another kind: opened as this one it would be saved over.
  CDocument* openDocument(const std::string& path);
  // A new document filled from a file of another kind. Null after the document told the user why.
  CDocument* importDocument(const std::string& path);
  // A changed document from the copy that an earlier run left of it. Null after the user was told why.
  CDocument* restoreDocument(const LeftCopy& left);
  const std::vector<std::unique_ptr<CDocument>>& documents() const { return open; }
  CDocument* findOpen(const std::string& path) const;
  // Destroys a document without asking.
  void discard(CDocument& document);
  // Whether a message loop goes on with what its documents begin.
  bool drivesJobs() const;
  // A document of this type was saved there.
  void tellSaved(const CDocument& document, const std::string& path) const;
  class DocumentManager* owner() const {
    return manager;
  }

 private:
  friend class DocumentManager;
  std::unique_ptr<CDocument> make();
  CDocument* keep(std::unique_ptr<CDocument> document);

  DocumentClass facts;
  std::array<std::string, 7> fields;
  std::vector<std::unique_ptr<CDocument>> open;
  int made = 0;
  class DocumentManager* manager = nullptr;
};

// While a document's command or its job runs, new documents are told of it.
class WorkOf {
 public:
  explicit WorkOf(const CDocument* working);
  ~WorkOf();
  WorkOf(const WorkOf&) = delete;
  WorkOf& operator=(const WorkOf&) = delete;

 private:
  class DocumentManager* manager;
  const CDocument* before = nullptr;
};

class DocumentManager {
 public:
  // Takes over the type; it takes part in matching files from now on.
  DocumentType* registerType(std::unique_ptr<DocumentType> type);
  // A type that others own and that matches no file, but whose documents count among the open ones.
  void attach(DocumentType& type);
  void detach(DocumentType& type);
  const std::vector<std::unique_ptr<DocumentType>>& types() const { return registered; }
  DocumentType* typeFor(const std::string& path) const;      // the first registered that matches
  DocumentType* importerFor(const std::string& path) const;  // the first that imports it

  // The document in front: the one opened or activated last.
  CDocument* active() const { return order.empty() ? nullptr : order.back(); }
  void activate(CDocument& document);
  // All open documents, the one in front last.
  const std::vector<CDocument*>& documents() const { return order; }

  // The open document that has that file in use; null for none.
  CDocument* userOf(const std::string& path) const;
  // The files that a stored document is, by its path; set by those who know how to read it without a window.
  std::function<std::vector<std::string>(const std::string& path)> filesOfStored;
  // Exports, pictures and pages ask before they write: refused in words for a file that is in use.
  [[nodiscard]] Outcome mayOutputTo(const std::string& path) const;

  // Closes after asking about its work and its changes; false when the user keeps it open.
  bool close(CDocument& document);
  // Asks about the work and the changes of all; then closes all, or none.
  bool closeAll();
  // Asks about the changes of all, of several by one form. True when each is saved or given up; none has
  // closed yet.
  [[nodiscard]] bool settleChanges();
  // Whether the work of all documents may be stopped.
  [[nodiscard]] bool mayStopWork() const;
  // Asks about each as closing does, and closes none yet; false when one is to stay.
  [[nodiscard]] bool mayCloseAllOf(const DocumentType& type) const;
  void discardAllOf(DocumentType& type);
  // Destroys all without asking, while what they work with still stands.
  void discardAll();

  // Goes on with the jobs of the documents; true while there are some.
  bool turnJobs();
  // Whether somebody calls turnJobs() until it returns false; null: nobody.
  std::function<bool()> drivesJobs;
  // Told of each document opened, activated or closed (windows).
  std::function<void()> onChange;
  // Told of each document that was saved or is about to close: nothing of it is left to lose.
  std::function<void(const CDocument&)> onSettled;
  // Told of each file that a document was saved to.
  std::function<void(const std::string& path)> onSaved;

 private:
  friend class DocumentType;
  friend class WorkOf;
  const CDocument* atWork = nullptr;  // whose command runs
  bool closeWhoseWorkMayStop(CDocument& document);
  bool settleByForm(const std::vector<CDocument*>& changed);
  std::string storedHolderOf(const std::string& path) const;
  void opened(CDocument& document);
  void closing(CDocument& document);
  std::vector<CDocument*> order;  // before the types, whose documents leave it as they go
  std::vector<std::unique_ptr<DocumentType>> registered;
};

}  // namespace tarnvisor

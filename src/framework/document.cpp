#include "framework/document.h"

#include <cerrno>
#include <cstring>

#include "archive/archive.h"
#include "base/files.h"
#include "base/text.h"
#include "framework/commandids.h"
#include "framework/documenttype.h"
#include "host/host.h"

namespace tarnvisor {

CDocument::CDocument() = default;
CDocument::~CDocument() = default;

const CommandTableBase& CDocument::commandTable() {
  static const CommandTable<CDocument> table{
      {cmd::FileSave,
       "&Save",
       &CDocument::saveCommand,
       {.tip = "Save", .status = "Saves the document in front.", .keys = "Ctrl+S", .icon = "save"}},
      {cmd::FileSaveAs,
       "Save &As...",
       &CDocument::saveAsCommand,
       {.tip = "Save as",
        .status = "Saves the document in front under a new name.",
        .keys = "Ctrl+Shift+S",
        .icon = "save-as"}},
  };
  return table;
}

void CDocument::setPathName(const std::string& path) {
  filePath = absolutePath(path);
  windowTitle = fileNameOf(filePath);
}

bool CDocument::onNewDocument() {
  deleteContents();
  setModified(false);
  filePath.clear();
  return true;
}

void CDocument::start(std::unique_ptr<Job> job) {
  if (atWork) return;
  if (!documentType || !documentType->drivesJobs()) return runToEnd(std::move(job));
  atWork = std::make_unique<JobAtWork>(*this, std::move(job));
}

void CDocument::runToEnd(std::unique_ptr<Job> job) {
  if (atWork) return;
  atWork = std::make_unique<JobAtWork>(*this, std::move(job));
  atWork->toEnd();
  finishWork();
}

bool CDocument::mayStopWork() const {
  if (!atWork || !documentType->drivesJobs()) return true;
  const std::string lost = atWork->lostIfStopped();
  return lost.empty() ||
         host().messages.show(lost + " Stop it?", Buttons::YesNo, Icon::Careful) == Answer::Yes;
}

void CDocument::stopWork() {
  if (!atWork) return;
  atWork->stop();
  finishWork();
}

void CDocument::goOnWorking() {
  if (atWork && !atWork->slice()) finishWork();
}

void CDocument::finishWork() {
  const std::unique_ptr<JobAtWork> done = std::move(atWork);
  done->finish();
}

void CDocument::report(const std::string& words) { host().messages.show(words, Buttons::Ok, Icon::Error); }

std::optional<std::string> CDocument::askExportPath(FileRequest request) const {
  request.whose = whoseWords();
  return host().choosers.saveFile(request);
}

void CDocument::tellExported(const Outcome& done, const std::string& path) {
  if (!done) return report(done.why());
  host().messages.notice({"Exported " + fileNameOf(path), "Open folder",
                          [path] { host().windows.openWithDesktop(folderOf(absolutePath(path))); }});
}

bool CDocument::loadFrom(const std::string& named) {
  const std::string& path = unsaved ? unsaved->file : named;
  std::FILE* file = fileExists(path) ? std::fopen(path.c_str(), "rbe") : nullptr;
  if (!file) {
    report(format("%s can't be opened: %s", path.c_str(), std::strerror(fileExists(path) ? errno : ENOENT)));
    return false;
  }
  deleteContents();
  missing.clear();
  stamp = unsaved ? unsaved->fact("stamp") : fileStamp(path);
  bool loaded = false;
  try {
    FileStream stream(file);
    Archive archive(stream, Archive::Direction::Loading);
    serialize(archive);
    if (archive.remaining() > 0 && missing.empty())
      throw ArchiveException("it is a document of another kind, or of a later version");
    loaded = true;
  } catch (const ArchiveException& problem) {
    deleteContents();
    report(format("%s can't be opened: %s.", path.c_str(), problem.what()));
  } catch (const std::bad_alloc&) {
    deleteContents();
    report(format("%s can't be opened: there is not enough memory.", path.c_str()));
  }
  std::fclose(file);
  setModified(false);
  return loaded;
}

void CDocument::tellUnsaved(UnsavedCopy& copy) {
  copy.ending = storedType() ? storedType()->filterExtension() : std::string();
  copy.facts["title"] = windowTitle;
  copy.facts["path"] = filePath;
  copy.facts["stamp"] = stamp;
  copy.facts["source"] = sourceFile;
  copy.facts["missing"] = missing;
}

void CDocument::takeUnsaved(const LeftCopy& from) {
  windowTitle = from.fact("title");
  sourceFile = from.fact("source");
  missing = from.fact("missing");
}

std::optional<UnsavedCopy> CDocument::copyOfUnsaved() {
  UnsavedCopy copy;
  try {
    MemoryStream stream;
    Archive archive(stream, Archive::Direction::Storing);
    storeCopy(archive);
    archive.close();
    copy.archive = stream.takeBytes();
    tellUnsaved(copy);
  } catch (const std::exception&) {
    return std::nullopt;
  }
  copy.count = changes;
  return copy;
}

// Opened as its own file would be, so that it finds beside that what belongs to it.
bool CDocument::restore(const LeftCopy& from) {
  unsaved = &from;
  const bool opened = onOpenDocument(filePath.empty() ? from.file : filePath);
  if (opened) takeUnsaved(from);
  unsaved = nullptr;
  if (opened) setModified();
  return opened;
}

bool CDocument::onImportFile(const std::string& path) {
  report(path + " can't be brought into a document of this kind.");
  return false;
}

bool CDocument::onOpenDocument(const std::string& path) { return loadFrom(path); }

// A file that this document does not hold whole is kept: one of another kind, or more than could be read of
// it.
bool CDocument::mayGoOver(const std::string& path) {
  if (!fileExists(path)) return true;
  if (withOwnEnding(path) != path)
    report(path + " is not saved over: it is a file of another kind.");
  else if (!missing.empty() && sameFile(path, filePath))
    report(path + " holds more than could be read of it. Choose another name.");
  else
    return stamp.empty() || stamp == fileStamp(path) || !sameFile(path, filePath) ||
           host().messages.show(path + " was changed since it was opened. Save over those changes?",
                                Buttons::YesNo, Icon::Careful) == Answer::Yes;
  return false;
}

bool CDocument::storeTo(const std::string& path) {
  if (!mayGoOver(path)) return false;
  AtomicFile file(path);
  Outcome done = Outcome::success();
  try {
    if (file.isOpen()) {
      FileStream stream(file.file());
      Archive archive(stream, Archive::Direction::Storing);
      serialize(archive);
      archive.close();
    }
    done = file.commit();
  } catch (const ArchiveException& problem) {
    done = Outcome::failure(problem.what());
  } catch (const std::bad_alloc&) {
    done = Outcome::failure("there is not enough memory");
  }
  if (!done) {
    report(format("%s could not be saved: %s", path.c_str(), done.why().c_str()));
    return false;
  }
  missing.clear();
  stamp = fileStamp(path);
  replacedFile = file.hasReplaced();
  setModified(false);
  if (documentType) documentType->tellSaved(*this, path);
  return true;
}

bool CDocument::onSaveDocument(const std::string& path) { return storeTo(path); }

bool CDocument::save() { return needsPath() ? saveAs() : onSaveDocument(filePath); }

std::string CDocument::defaultPathName() const {
  return windowTitle + (storedType() ? storedType()->filterExtension() : std::string());
}

std::string CDocument::withOwnEnding(const std::string& path) const {
  const std::string ending = storedType() ? storedType()->filterExtension() : std::string();
  return ending.empty() || endsWithIgnoringCase(path, ending) ? path : path + ending;
}

// A chooser would begin elsewhere without a word where the folder has gone.
bool CDocument::mayOfferFolder(const std::string& folder) {
  if (folder.empty() || folderExists(folder)) return true;
  switch (host().messages.show("The folder of " + windowTitle + " is missing: " + folder +
                                   ". Make it again? (No: choose another one.)",
                               Buttons::YesNoCancel, Icon::Question)) {
    case Answer::Yes:
      if (makeFolderPath(folder)) return true;
      report("The folder can't be made: " + folder);
      return false;
    case Answer::No:
      return true;
    default:
      return false;
  }
}

std::string CDocument::exportPath(const std::string& ending) const {
  return withoutExtension(filePath.empty() || isFetched() ? title() : filePath) + ending;
}

std::optional<std::string> CDocument::askForPath() {
  FileRequest request;
  request.title = "Save As";
  if (const DocumentType* stored = storedType()) {
    request.defaultExtension = stored->filterExtension();
    request.filter = stored->filterName() + "|*" + request.defaultExtension + "||";
  }
  request.initialPath = filePath.empty() ? defaultPathName() : filePath;
  if (!mayOfferFolder(folderOf(request.initialPath))) return std::nullopt;
  const auto chosen = askExportPath(std::move(request));
  if (!chosen || chosen->empty()) return std::nullopt;
  const std::string path = absolutePath(withOwnEnding(*chosen));
  // The chooser asked about the name that was typed, not about this one.
  if (path != absolutePath(*chosen) && fileExists(path) &&
      host().messages.show(path + " already exists. Replace it?", Buttons::YesNo, Icon::Warning) !=
          Answer::Yes)
    return std::nullopt;
  return path;
}

bool CDocument::saveAs() {
  const auto path = askForPath();
  if (!path || !onSaveDocument(*path)) return false;
  setPathName(*path);
  updateAllViews();
  return true;
}

bool CDocument::saveModified() {
  beforeClosing();
  if (!modified) return true;
  switch (
      host().messages.show("Save changes to " + nameToSave() + "?", Buttons::YesNoCancel, Icon::Question)) {
    case Answer::Yes:
      stopWork();  // no other job begins meanwhile, a save neither
      return save();
    case Answer::No:
      return true;
    default:
      return false;
  }
}

void CDocument::addView(std::unique_ptr<CView> view) { viewList.push_back(std::move(view)); }

void CDocument::updateAllViews(CView::Change what) {
  beforeUpdate();
  for (const auto& view : viewList) view->onUpdate(what);
}

}  // namespace tarnvisor

#include "framework/documenttype.h"

#include <algorithm>
#include <filesystem>
#include <set>
#include <utility>

#include "base/files.h"
#include "base/text.h"
#include "host/host.h"

namespace tarnvisor {

DocumentType::DocumentType(const DocumentClass& classFacts) : facts(classFacts) {
  const std::vector<std::string> parts = split(facts.resource, '\n');
  for (size_t i = 0; i < fields.size() && i < parts.size(); ++i) fields[i] = parts[i];
}

DocumentType::~DocumentType() {
  while (!open.empty()) discard(*open.back());
  if (manager) manager->detach(*this);
}

const DocumentFace& DocumentType::face() const {
  static const DocumentFace none;
  return facts.faceOf ? facts.faceOf() : none;
}

bool DocumentType::matches(const std::string& path) const {
  return !filterExtension().empty() && equalIgnoringCase("." + extensionOf(path), filterExtension());
}

bool DocumentType::drivesJobs() const { return manager && manager->drivesJobs && manager->drivesJobs(); }

std::unique_ptr<CDocument> DocumentType::make() {
  if (!canOpen()) {
    host().messages.show(format("%s documents can't be opened in this version.", documentName().c_str()),
                         Buttons::Ok, Icon::Warning);
    return nullptr;
  }
  auto document = facts.makeDocument();
  if (!document) return nullptr;
  document->documentType = this;
  return document;
}

CDocument* DocumentType::keep(std::unique_ptr<CDocument> document) {
  CDocument& kept = *open.emplace_back(std::move(document));
  if (facts.makeView) kept.addView(facts.makeView(kept));
  if (manager) manager->opened(kept);
  return &kept;
}

CDocument* DocumentType::newDocument() {
  auto document = make();
  if (!document) return nullptr;
  document->setTitle(format("%s%i", documentName().c_str(), ++made));
  if (!document->onNewDocument()) return nullptr;
  if (manager && manager->atWork) document->madeFrom(*manager->atWork);
  return keep(std::move(document));
}

CDocument* DocumentType::findOpen(const std::string& path) const {
  std::error_code error;
  for (const auto& document : open)
    if (!document->pathName().empty() && std::filesystem::equivalent(document->pathName(), path, error))
      return document.get();
  return nullptr;
}

CDocument* DocumentType::openDocument(const std::string& given) {
  // A link's target is the document: its movie, its pixels and its exam lie there.
  const std::string asGiven = absolutePath(given), target = linkTarget(asGiven);
  const std::string path = matches(target) ? target : asGiven;
  if (CDocument* present = findOpen(path)) {
    if (manager) manager->activate(*present);
    return present;
  }
  if (!matches(path)) {
    host().messages.show(
        format("%s is not opened as %s: it is a file of another kind.", path.c_str(), documentName().c_str()),
        Buttons::Ok, Icon::Error);
    return nullptr;
  }
  auto document = make();
  if (!document) return nullptr;
  // Known before the load, since a document finds its other files beside its own.
  document->setPathName(path);
  return document->onOpenDocument(path) ? keep(std::move(document)) : nullptr;
}

CDocument* DocumentType::importDocument(const std::string& path) {
  auto document = make();
  if (!document) return nullptr;
  document->setTitle(format("%s%i", documentName().c_str(), ++made));
  document->sourceFile = absolutePath(path);
  return document->onNewDocument() && document->onImportFile(absolutePath(path)) ? keep(std::move(document))
                                                                                 : nullptr;
}

CDocument* DocumentType::restoreDocument(const LeftCopy& left) {
  auto document = make();
  if (!document) return nullptr;
  if (const std::string path = left.fact("path"); !path.empty()) document->setPathName(path);
  return document->restore(left) ? keep(std::move(document)) : nullptr;
}

void DocumentType::tellSaved(const CDocument& document, const std::string& path) const {
  if (manager && manager->onSettled) manager->onSettled(document);
  if (manager && manager->onSaved) manager->onSaved(path);
}

void DocumentType::discard(CDocument& document) {
  const auto at = std::find_if(open.begin(), open.end(), [&](const auto& d) { return d.get() == &document; });
  if (at == open.end()) return;
  document.atWork.reset();  // it works on what goes now
  document.onCloseDocument();
  if (manager) manager->closing(document);
  std::erase_if(open, [&](const auto& d) { return d.get() == &document; });
  if (manager && manager->onChange) manager->onChange();
}

DocumentType* DocumentManager::registerType(std::unique_ptr<DocumentType> type) {
  type->manager = this;
  return registered.emplace_back(std::move(type)).get();
}

void DocumentManager::attach(DocumentType& type) { type.manager = this; }
void DocumentManager::detach(DocumentType& type) { type.manager = nullptr; }

DocumentType* DocumentManager::typeFor(const std::string& path) const {
  for (const auto& type : registered)
    if (type->matches(path)) return type.get();
  return nullptr;
}

DocumentType* DocumentManager::importerFor(const std::string& path) const {
  for (const auto& type : registered)
    if (type->classes().imports && type->classes().imports(path)) return type.get();
  return nullptr;
}

void DocumentManager::activate(CDocument& document) {
  std::erase(order, &document);
  opened(document);
}

void DocumentManager::opened(CDocument& document) {
  order.push_back(&document);
  if (onChange) onChange();
}

void DocumentManager::closing(CDocument& document) {
  if (onSettled) onSettled(document);
  std::erase(order, &document);
  if (atWork == &document) atWork = nullptr;
}

CDocument* DocumentManager::userOf(const std::string& path) const {
  const auto uses = [&path](const CDocument* document) {
    const auto isIt = [&path](const std::string& file) { return sameFile(file, path); };
    return isIt(document->source()) || std::ranges::any_of(document->filesInUse(), isIt);
  };
  const auto found = std::ranges::find_if(order, uses);
  return found == order.end() ? nullptr : *found;
}

Outcome DocumentManager::mayOutputTo(const std::string& path) const {
  const CDocument* user = userOf(path);
  if (user)
    return Outcome::failure(path + " is in use by the open document " + user->title() +
                            ": choose another name");
  const std::string holder = storedHolderOf(path);
  return holder.empty()
             ? Outcome::success()
             : Outcome::failure(path + " belongs to the stored document " + holder + ": choose another name");
}

// Documents hold names as they are: only one with the name somewhere in it is worth reading. What names other
// files is small, unlike movies.
std::string DocumentManager::storedHolderOf(const std::string& path) const {
  constexpr uint64_t kLongest = 32u << 20;
  std::string holder;
  if (!filesOfStored || !fileExists(path)) return holder;
  const std::string name = fileNameOf(path), folder = folderOf(absolutePath(path));
  (void)walkFolder(folder, Depth::Own, [&](const std::filesystem::directory_entry& entry) {
    const std::string beside = entry.path().string();
    const auto text =
        typeFor(beside) && !sameFile(beside, path) ? readWholeText(beside, kLongest) : std::nullopt;
    if (!text || text->find(name) == std::string::npos) return Outcome::success();
    const auto isIt = [&](const std::string& file) { return sameFile(file, path); };
    if (!std::ranges::any_of(filesOfStored(beside), isIt)) return Outcome::success();
    holder = fileNameOf(beside);
    return Outcome::failure(holder);  // found
  });
  return holder;
}

WorkOf::WorkOf(const CDocument* working)
    : manager(working && working->type() ? working->type()->owner() : nullptr) {
  if (manager) before = std::exchange(manager->atWork, working);
}

WorkOf::~WorkOf() {
  if (manager) manager->atWork = before;
}

bool DocumentManager::turnJobs() {
  const std::vector<CDocument*> all = order;
  // The end of a job may close documents, and begin the next job.
  for (CDocument* document : all)
    if (std::ranges::count(order, document) > 0) document->goOnWorking();
  return std::ranges::any_of(order, [](const CDocument* document) { return document->isBusy(); });
}

bool DocumentManager::mayStopWork() const {
  const std::vector<CDocument*> all = order;
  return std::ranges::all_of(all, [](const CDocument* document) { return document->mayStopWork(); });
}

bool DocumentManager::close(CDocument& document) {
  return document.mayStopWork() && closeWhoseWorkMayStop(document);
}

bool DocumentManager::closeWhoseWorkMayStop(CDocument& document) {
  document.stopWork();
  if (!document.saveModified()) return false;
  document.type()->discard(document);
  return true;
}

bool DocumentManager::closeAll() {
  if (!mayStopWork() || !settleChanges()) return false;
  const std::vector<CDocument*> settled = order;
  while (CDocument* front = active()) {
    front->stopWork();
    // The end of its work may have made another.
    if (std::ranges::count(settled, front) == 0 && !front->saveModified()) return false;
    front->type()->discard(*front);
  }
  return true;
}

bool DocumentManager::settleChanges() {
  std::vector<CDocument*> changed(order.rbegin(), order.rend());
  for (CDocument* document : changed) document->beforeClosing();
  std::erase_if(changed, [](const CDocument* document) { return !document->isModified(); });
  if (changed.size() > 1 && host().choosers.asksSomebody()) return settleByForm(changed);
  return std::ranges::all_of(changed, [this](CDocument* document) {
    activate(*document);
    return document->saveModified();
  });
}

bool DocumentManager::settleByForm(const std::vector<CDocument*>& changed) {
  enum Choice : int32_t { SaveAll, SaveTicked, DiscardAll, Cancel };
  int32_t choice = Cancel;
  std::vector<int32_t> ticks(changed.size(), 1);
  Form form("Save changes?");
  std::set<std::string> whose;
  for (const CDocument* document : changed) whose.insert(document->whoseWords());
  whose.erase("");
  for (const std::string& words : whose) form.addNote(words);
  form.addNote(format("%zu documents have changed. Those that are not saved close without their changes.",
                      changed.size()));
  for (size_t i = 0; i < ticks.size(); ++i) {
    const std::string owner = whose.size() > 1 ? changed[i]->whoseWords() : "";
    form.addCheck(changed[i]->nameToSave() + (owner.empty() ? "" : " - " + owner), ticks[i]);
  }
  form.endWith("Do", choice, {"Save all", "Save ticked", "Discard all", "Cancel"});
  if (!host().forms.run(form) || choice == Cancel) return false;
  for (size_t i = 0; i < ticks.size(); ++i) {
    if (choice == DiscardAll || (choice == SaveTicked && !ticks[i])) continue;
    activate(*changed[i]);
    changed[i]->stopWork();
    if (!changed[i]->save()) return false;
  }
  return true;
}

void DocumentManager::discardAll() {
  while (CDocument* front = active()) front->type()->discard(*front);
}

bool DocumentManager::mayCloseAllOf(const DocumentType& type) const {
  const std::vector<CDocument*> all = order;
  return std::ranges::all_of(all, [&type](CDocument* document) {
    return document->type() != &type || (document->mayStopWork() && document->saveModified());
  });
}

void DocumentManager::discardAllOf(DocumentType& type) {
  while (!type.documents().empty()) type.discard(*type.documents().back());
}

}  // namespace tarnvisor

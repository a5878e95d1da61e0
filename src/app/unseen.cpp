#include "app/unseen.h"

#include "app/basicapp.h"
#include "base/files.h"
#include "host/nullhost.h"

namespace tarnvisor {

namespace {

// Who is told nothing, and loses nothing by an answer.
struct Nobody final : NullHost {
  std::string told;
  bool asksSomebody() const override { return false; }
  Answer show(const std::string& text, Buttons buttons, Icon) override {
    told += (told.empty() ? "" : "\n") + text;
    return buttons == Buttons::Ok ? Answer::Ok : buttons == Buttons::YesNo ? Answer::No : Answer::Cancel;
  }
};

}  // namespace

std::unique_ptr<CDocument> openUnseen(const std::string& path, std::string& heard) {
  const DocumentType* type = theApp().documents.typeFor(path);
  if (!fileExists(path)) {
    heard = "the file is not there";
    return nullptr;
  }
  if (!type || !type->canOpen() || !type->classes().makeView) {
    heard = "no kind of document opens it";
    return nullptr;
  }
  Nobody nobody;
  const HostScope unseen(nobody.ports);
  std::unique_ptr<CDocument> document = type->classes().makeDocument();
  document->setPathName(path);
  if (!document->onOpenDocument(path)) {
    heard = nobody.told.empty() ? "it can't be read" : nobody.told;
    return nullptr;
  }
  heard = nobody.told;
  document->addView(type->classes().makeView(*document));
  document->updateAllViews();
  return document;
}

}  // namespace tarnvisor

// A row of the document table: a kind of document behind its channels.
#pragma once

#include <memory>
#include <span>
#include <string>

#include "app/processstate.h"
#include "framework/documenttype.h"

namespace tarnvisor {

// Each room describes its kinds by such rows; assembly/ puts them in their order.
struct DocumentRow {
  enum class Gate { Image, Live, ImageOrVelocity, Velocity, Dynamic };
  Gate gate;
  DocumentClass classes;
  DocumentType* ProcessState::*keptAs = nullptr;  // null when no reference is kept
  bool registered = true;                         // takes part in matching files
};
// Whether a row's channels are on.
bool gateOpen(DocumentRow::Gate gate);

// The filter of Open: all that is read, what is brought in, all files of the system, each kind, all files. A
// channel that is off leaves it as it is.
std::string openFilter(std::span<const DocumentRow> table);

// The makers that a row names.
template <class Document>
std::unique_ptr<CDocument> makeDocument() {
  return std::make_unique<Document>();
}
template <class Document, class View>
std::unique_ptr<CView> makeView(CDocument& document) {
  return std::make_unique<View>(static_cast<Document&>(document));
}
inline constexpr const char* kChildFrame = "CMDIChildWnd";

}  // namespace tarnvisor

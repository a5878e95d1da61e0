// A document that is opened to be looked at, without a window and without a question: small pictures,
// reports.
#pragma once

#include <memory>
#include <string>

#include "framework/document.h"

namespace tarnvisor {

// With its view; what the file holds, whether or not it is open in a window too. Null where it can't be
// opened. `heard` is what a user would have been told: why it can't, or what is wrong with it.
std::unique_ptr<CDocument> openUnseen(const std::string& path, std::string& heard);

}  // namespace tarnvisor

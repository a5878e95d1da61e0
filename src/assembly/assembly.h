// The one place that names every kind of document: the document table in the order in which files are
// matched, and the classes that are stored by reference.
#pragma once

#include <span>

#include "app/documentrow.h"

namespace tarnvisor {

std::span<const DocumentRow> documentTable();
void registerStoredClasses();

}  // namespace tarnvisor

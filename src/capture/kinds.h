// The kinds of document that a camera makes, for the document table.
#pragma once

#include "app/documentrow.h"

namespace tarnvisor {

DocumentRow liveKind();
DocumentRow recorderKind();

}  // namespace tarnvisor

// The kinds of document of this room.
#pragma once

#include "app/documentrow.h"

namespace tarnvisor {

DocumentRow linescanKind();
DocumentRow liveLinescanKind();

}  // namespace tarnvisor

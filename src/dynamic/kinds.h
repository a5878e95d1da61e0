// The kinds of document of this room, with their faces.
#pragma once

#include "app/documentrow.h"

namespace tarnvisor {

DocumentRow videoKind();
DocumentRow aviKind();
DocumentRow fcfKind();

}  // namespace tarnvisor

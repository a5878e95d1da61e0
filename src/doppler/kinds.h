// The kind of document of this room, with its face.
#pragma once

#include "app/documentrow.h"

namespace tarnvisor {

DocumentRow flo1Kind();

}  // namespace tarnvisor

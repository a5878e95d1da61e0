#include "imagedoc/zbasicdoc.h"

namespace tarnvisor {

bool ZBasicDoc::trace(Point) { return hasImage(); }

}  // namespace tarnvisor

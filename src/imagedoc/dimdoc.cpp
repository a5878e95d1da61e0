#include "imagedoc/dimdoc.h"

namespace tarnvisor {

void showDimensionList(ZBasicDoc&) {}
void refreshDimensionList(ZBasicDoc&) {}

}  // namespace tarnvisor

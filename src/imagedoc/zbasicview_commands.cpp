// The commands of the image view.
#include "imagedoc/zbasicview.h"

namespace tarnvisor {

const CommandTableBase* ZBasicView::commands() const { return nullptr; }

}  // namespace tarnvisor

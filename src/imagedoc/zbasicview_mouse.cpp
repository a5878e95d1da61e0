// The mouse and keys in the image view.
#include "imagedoc/zbasicview.h"

namespace tarnvisor {

void ZBasicView::mouseDown(const MouseEvent&) {}
void ZBasicView::mouseMove(const MouseEvent&) {}
void ZBasicView::mouseUp(const MouseEvent&) {}
void ZBasicView::mouseDouble(const MouseEvent&) {}
void ZBasicView::wheel(const WheelEvent& event) { CView::wheel(event); }
bool ZBasicView::keyDown(const KeyEvent& event) { return CView::keyDown(event); }

}  // namespace tarnvisor

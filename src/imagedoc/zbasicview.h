// ZBasicView: the view of a still image, as far as it lives without a window: it takes image files that
// another program asks to show.
#pragma once

#include "app/inputs.h"
#include "imagedoc/zbasicdoc.h"

namespace tarnvisor {

class ZBasicView : public CView, public AutoLoadSink {
 public:
  explicit ZBasicView(ZBasicDoc& document) : CView(document), imageDocument(document) {}
  void loadImageFile(const std::string& path) override { (void)imageDocument.adoptImageFile(path); }

 private:
  ZBasicDoc& imageDocument;
};

}  // namespace tarnvisor

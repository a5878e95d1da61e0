// fcfview: shows a map of functional capillary flow as the image view does, with the scale of its levels.
#pragma once

#include <vector>

#include "dynamic/fcfdoc.h"
#include "imagedoc/zbasicview.h"

namespace tarnvisor {

class fcfview : public ZBasicView {  // NOLINT(readability-identifier-naming): the name that tables know
 public:
  explicit fcfview(fcfdoc& document) : ZBasicView(document), doc(document) {}
  // Beside those of an image: "value", the map's own at the mouse, and "fcd".
  std::vector<StatusPane> panes() const override;
  void draw(Canvas& canvas) override;
  // With room below for the scale of a picture that it would hide.
  Size contentSize() const override;
  bool centresContent() const override { return false; }  // the scale lies beside the picture

 private:
  bool hidesPicture() const;
  Point legendCorner(Size panel) const;
  void drawLegend(Canvas& canvas) const;
  fcfdoc& doc;
};

}  // namespace tarnvisor

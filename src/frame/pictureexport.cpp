#include "frame/pictureexport.h"

#include "app/asked.h"
#include "app/basicapp.h"
#include "base/files.h"
#include "host/host.h"

namespace tarnvisor {

namespace {

constexpr const char* kFilter =
    "Pictures (*.png)|*.png|JPEG (*.jpg)|*.jpg|TIFF (*.tif)|*.tif|Scalable Vector Graphics (*.svg)|*.svg|"
    "Portable Document Format (*.pdf)|*.pdf||";

bool askWish(const CView& view, PictureWish& wish) {
  int32_t overlays = wish.overlays, scaleBar = wish.scaleBar;
  Form form("Export picture");
  form.add("Magnification", wish.times, {1, 8, {}}).withUnit("times");
  if (view.hasOverlays()) form.addCheck("Overlays", overlays).addCheck("Scale bar", scaleBar);
  if (!asked(form)) return false;
  wish.overlays = overlays != 0;
  wish.scaleBar = scaleBar != 0;
  return true;
}

}  // namespace

void exportPicture(CView& view) {
  CDocument& document = view.document();
  const auto path = document.askExportPath({"Export picture", kFilter, ".png", document.exportPath(".png")});
  if (!path || path->empty()) return;
  PictureWish wish = view.usualPicture();
  if (!askWish(view, wish)) return;
  Outcome done = theApp().documents.mayOutputTo(*path);
  const Size size = view.pictureSize(wish.times);
  if (done)
    done = host().pictures.write(*path, size, view.pixelSize() / wish.times,
                                 [&](Canvas& canvas) { view.drawPicture(canvas, size, wish); });
  document.tellExported(done, *path);
}

}  // namespace tarnvisor

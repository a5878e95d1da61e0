#include "desktop/thumbnails.h"

#include <QFileInfo>
#include <QImage>
#include <QPainter>

#include "app/unseen.h"
#include "desktop/paintercanvas.h"
#include "desktop/qttext.h"
#include "exams/dbdocument.h"
#include "framework/view.h"

namespace tarnvisor {

namespace {

constexpr Size kUsual{480, 320};          // of a view that fills its window
constexpr int64_t kMostPixels = 1 << 26;  // of a picture to be made small

int64_t writtenAt(const std::string& path) {
  return QFileInfo(toQt(path)).lastModified().toMSecsSinceEpoch();
}

QImage drawn(CView& view) {
  view.setWindowSize(kUsual);
  if (!view.hasPicture()) return {};
  const Size size = view.pictureSize(1);
  if (size.width < 1 || size.height < 1 || int64_t{size.width} * size.height > kMostPixels) return {};
  QImage picture(size.width, size.height, QImage::Format_RGB32);
  if (picture.isNull()) return {};
  picture.fill(Qt::white);
  QPainter painter(&picture);
  PainterCanvas canvas(painter);
  view.drawPicture(canvas, size, {});
  return picture;
}

}  // namespace

const Thumbnail* Thumbnails::known(const std::string& path) const {
  const auto made = pictures.find(path);
  return made == pictures.end() || made->second.written != writtenAt(path) ? nullptr : &made->second.seen;
}

const Thumbnail& Thumbnails::make(const std::string& path) {
  Made& made = pictures[path];
  made = {writtenAt(path), {}};
  std::string whynot;
  const std::unique_ptr<CDocument> document = openUnseen(path, whynot);
  if (!document) return made.seen;
  if (const auto* judged = dynamic_cast<const CdbDocument*>(document.get()))
    made.seen.quality = qualityWord(judged->judgementOfResult());
  if (const QImage picture = drawn(*document->views().front()); !picture.isNull())
    made.seen.picture =
        QPixmap::fromImage(picture.scaled(largest, Qt::KeepAspectRatio, Qt::SmoothTransformation));
  return made.seen;
}

}  // namespace tarnvisor

#include "desktop/icons.h"

#include <QFile>
#include <QIconEngine>
#include <QPainter>
#include <QPixmapCache>
#include <QSvgRenderer>

// Outside of the namespace, as the macro asks. The resources lie in a static library.
static void initialiseIconResources() { Q_INIT_RESOURCE(icons); }

namespace tarnvisor {

namespace {

constexpr double kDisabledOpacity = 0.35;

QString resourcePath(const std::string& name) {
  initialiseIconResources();
  return ":/icons/" + QString::fromStdString(name) + ".svg";
}

QByteArray drawing(const std::string& name) {
  QFile file(resourcePath(name));
  return !name.empty() && file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// Draws from the vectors at each size that is asked for, in device pixels.
class DrawingEngine final : public QIconEngine {
 public:
  explicit DrawingEngine(QByteArray svgText) : svg(std::move(svgText)) {}

  void paint(QPainter* painter, const QRect& rect, QIcon::Mode mode, QIcon::State state) override {
    if (mode != QIcon::Disabled) return draw(*painter, rect);
    const qreal scale = painter->device()->devicePixelRatioF();
    painter->drawPixmap(rect, scaledPixmap(rect.size() * scale, mode, state, scale));
  }

  QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State state) override {
    return scaledPixmap(size, mode, state, 1.0);
  }

  // size is in device pixels already.
  QPixmap scaledPixmap(const QSize& size, QIcon::Mode mode, QIcon::State, qreal) override {
    const QString key = QString("tarnvisor-icon-%1-%2-%3-%4-%5")
                            .arg(qHash(svg), 0, 16)
                            .arg(svg.size())
                            .arg(size.width())
                            .arg(size.height())
                            .arg(mode == QIcon::Disabled);
    QPixmap result;
    if (QPixmapCache::find(key, &result)) return result;
    result = QPixmap(size);
    result.fill(Qt::transparent);
    if (!result.isNull()) {
      QPainter painter(&result);
      draw(painter, QRect(QPoint(), size));
      // Dimmed as a whole: where lines cross they are no darker.
      painter.setCompositionMode(QPainter::CompositionMode_DestinationIn);
      if (mode == QIcon::Disabled)
        painter.fillRect(result.rect(), QColor::fromRgbF(0, 0, 0, kDisabledOpacity));
    }
    QPixmapCache::insert(key, result);
    return result;
  }

  QIconEngine* clone() const override { return new DrawingEngine(*this); }
  QString key() const override { return "tarnvisor"; }

 private:
  void draw(QPainter& painter, const QRect& rect) const {
    QSvgRenderer renderer(svg);
    renderer.setAspectRatioMode(Qt::KeepAspectRatio);
    painter.setRenderHint(QPainter::Antialiasing);
    renderer.render(&painter, rect);
  }

  QByteArray svg;
};

QIcon iconOf(QByteArray svg) { return svg.isEmpty() ? QIcon() : QIcon(new DrawingEngine(std::move(svg))); }

}  // namespace

bool hasIcon(const std::string& name) { return !name.empty() && QFile::exists(resourcePath(name)); }

QIcon commandIcon(const std::string& name, const QPalette& palette) {
  QByteArray svg = drawing(name);
  svg.replace("currentColor", palette.color(QPalette::Active, QPalette::WindowText).name().toLatin1());
  return iconOf(std::move(svg));
}

QIcon programIcon() { return iconOf(drawing("tarnvisor")); }
QIcon documentIcon(const std::string& name) { return iconOf(drawing(name)); }

}  // namespace tarnvisor

#include "desktop/picturefile.h"

#include <QBuffer>
#include <QImageWriter>
#include <QPdfWriter>
#include <QSvgGenerator>

#include "base/files.h"
#include "base/text.h"
#include "desktop/paintercanvas.h"
#include "desktop/qttext.h"
#include "drawing/metafilecanvas.h"
#include "image/imagefile.h"

namespace tarnvisor {

namespace {

constexpr int32_t kLargestSide = 16384;
constexpr int kScreenPixelsPerInch = 96;
constexpr int kPagePixelsPerInch = 300;

// What a drawing on a device left behind: empty when all is well.
using Draw = std::function<void(Canvas&)>;

// Null without memory.
QImage drawn(Size size, const Draw& draw) {
  QImage picture(size.width, size.height, QImage::Format_RGB32);
  if (picture.isNull()) return picture;
  picture.fill(Qt::white);
  QPainter painter(&picture);
  PainterCanvas canvas(painter);
  draw(canvas);
  return picture;
}

QString writePixels(QIODevice& file, const std::string& kind, Size size, const Draw& draw) {
  const QImage picture = drawn(size, draw);
  if (picture.isNull()) return "there is not enough memory";
  QImageWriter writer(&file, kind.c_str());
  constexpr int kJpegQuality = 95;
  if (kind.starts_with("jp")) writer.setQuality(kJpegQuality);
  return writer.write(picture) ? QString() : writer.errorString();
}

// Not every installation of Qt writes this kind.
Outcome writeTiff(const std::string& path, const QImage& picture, PixelSize pixel) {
  CZZimage image(0, 0, -1, 0, kColour);
  if (picture.isNull() || !image.setColourset(kColour) ||
      !image.resizedata(picture.width(), picture.height(), 3))
    return Outcome::failure(path + " could not be written: there is not enough memory");
  for (int y = 0; y < picture.height(); ++y) {
    const auto* from = reinterpret_cast<const QRgb*>(picture.constScanLine(y));
    uint8_t* to = image.row(y);
    for (int x = 0; x < picture.width(); ++x, to += 3) {
      to[0] = static_cast<uint8_t>(qBlue(from[x]));
      to[1] = static_cast<uint8_t>(qGreen(from[x]));
      to[2] = static_cast<uint8_t>(qRed(from[x]));
    }
  }
  return exportStill(image, path, pixel);
}

QString drawOn(QPaintDevice& device, const Draw& draw) {
  QPainter painter;
  if (!painter.begin(&device)) return "it can't be drawn";
  {
    // Strokes stay strokes, and text needs no shadow.
    PainterCanvas canvas(painter, true);
    draw(canvas);
  }
  return painter.end() ? QString() : QString("it can't be drawn");
}

QString writeSvg(QIODevice& file, Size size, const Draw& draw) {
  QSvgGenerator generator;
  generator.setOutputDevice(&file);
  generator.setResolution(kScreenPixelsPerInch);
  generator.setSize(QSize(size.width, size.height));
  generator.setViewBox(QRect(0, 0, size.width, size.height));
  return drawOn(generator, draw);
}

QString writePdf(QIODevice& file, Size size, const Draw& draw) {
  QPdfWriter writer(&file);
  writer.setResolution(kScreenPixelsPerInch);
  const QSizeF inches(double(size.width) / kScreenPixelsPerInch, double(size.height) / kScreenPixelsPerInch);
  writer.setPageSize(QPageSize(inches, QPageSize::Inch, QString(), QPageSize::ExactMatch));
  writer.setPageMargins({});
  return drawOn(writer, draw);
}

QString writeMetafile(QIODevice& file, Size size, const Draw& draw) {
  QImage device(1, 1, QImage::Format_RGB32);
  QPainter painter(&device);
  PainterCanvas ruler(painter);
  MetafileCanvas canvas(ruler, size);
  draw(canvas);
  const std::vector<uint8_t> bytes = canvas.file();
  file.write(reinterpret_cast<const char*>(bytes.data()), static_cast<qint64>(bytes.size()));
  return {};
}

class PdfJob final : public PrintJob {
 public:
  PdfJob(QPdfWriter& target, QPainter& borrowed) : writer(target), page(borrowed, true) {}
  Size pageSize() const override { return {writer.width(), writer.height()}; }
  double pixelsPerInch() const override { return kPagePixelsPerInch; }
  Canvas& canvas() override { return page; }
  bool nextPage() override { return writer.newPage(); }

 private:
  QPdfWriter& writer;
  PainterCanvas page;
};

}  // namespace

Outcome writeWhole(const std::string& path, const std::function<QString(QIODevice&)>& make) {
  QBuffer made;
  made.open(QIODevice::WriteOnly);
  if (const QString problem = make(made); !problem.isEmpty())
    return Outcome::failure(path + " could not be written: " + fromQt(problem));
  const QByteArray& bytes = made.data();
  return replaceFile(path, std::string_view(bytes.constData(), static_cast<size_t>(bytes.size())));
}

Outcome writePages(const std::string& path, const std::string& title, const Printer::Draw& draw) {
  if (!equalIgnoringCase(extensionOf(path), "pdf"))
    return Outcome::failure(path + ": pages are written as pdf");
  return writeWhole(path, [&](QIODevice& file) -> QString {
    QPdfWriter writer(&file);
    writer.setResolution(kPagePixelsPerInch);
    writer.setPageSize(QPageSize(QPageSize::A4));
    writer.setTitle(toQt(title));
    QPainter painter;
    if (!painter.begin(&writer)) return "it can't be drawn";
    PdfJob job(writer, painter);
    draw(job);
    return painter.end() ? "" : "it can't be drawn";
  });
}

Outcome QtPictureWriter::write(const std::string& path, Size size, PixelSize pixel, const Draw& draw) {
  const std::string kind = lowerCase(extensionOf(path));
  const bool isTiff = kind == "tif" || kind == "tiff";
  const bool strokes = kind == "svg" || kind == "pdf" || kind == "wmf";
  if (!strokes && !isTiff && (kind.empty() || !QImageWriter::supportedImageFormats().contains(kind.c_str())))
    return Outcome::failure(path + ": pictures are written as png, jpg, tif, bmp, svg, pdf or wmf");
  if (size.width < 1 || size.height < 1 || size.width > kLargestSide || size.height > kLargestSide)
    return Outcome::failure(path + ": the view is too large for a picture");
  if (isTiff) return writeTiff(path, drawn(size, draw), pixel);
  return writeWhole(path, [&](QIODevice& file) {
    return kind == "wmf"   ? writeMetafile(file, size, draw)
           : kind == "svg" ? writeSvg(file, size, draw)
           : kind == "pdf" ? writePdf(file, size, draw)
                           : writePixels(file, kind, size, draw);
  });
}

}  // namespace tarnvisor

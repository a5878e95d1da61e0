// Pictures as files, drawn by Qt: pixels as png, jpg or bmp, strokes and letters as svg, pdf or wmf.
#pragma once

#include <QIODevice>
#include <functional>

#include "host/pictures.h"
#include "host/printer.h"

namespace tarnvisor {

// Replaces a file by what make writes, which returns words where it fails. It is made in memory first:
// writers of pictures and pages don't tell when the disc is full.
Outcome writeWhole(const std::string& path, const std::function<QString(QIODevice&)>& make);

// A4 pages at 300 pixels an inch, as a PDF file.
Outcome writePages(const std::string& path, const std::string& title, const Printer::Draw& draw);

class QtPictureWriter final : public PictureWriter {
 public:
  using PictureWriter::write;
  Outcome write(const std::string& path, Size size, PixelSize pixel,
                const std::function<void(Canvas&)>& draw) override;
};

}  // namespace tarnvisor

// The printer port, by Qt: the desktop's printers, or a PDF file where there is none.
#pragma once

#include <QPrinter>

#include "host/printer.h"

namespace tarnvisor {

class QtPrinter final : public Printer {
 public:
  static constexpr int kPixelsPerInch = 600;
  static constexpr const char* kNoSupport =
      "Current printer driver does not provide necessary support.";  // 11089

  bool print(const std::string& title, const Draw& draw) override;
  bool preview(const std::string& title, const Draw& draw) override;

  Outcome writePdf(const std::string& path, const std::string& title, const Draw& draw) override;

  // Draws the pages on a printer or file that has been chosen. False after telling the user why it failed.
  static bool drawOn(QPrinter& printer, const Draw& draw);
};

}  // namespace tarnvisor

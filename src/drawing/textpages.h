// Lines of text on the pages of a print job, a page at a time.
#pragma once

#include <string>

#include "host/printer.h"

namespace tarnvisor {

// Lines of text on the pages of a job, in average character widths.
class PrintContext {
 public:
  virtual ~PrintContext() = default;
  virtual int linesPerPage() const = 0;
  virtual int columnsPerLine() const = 0;
  virtual void beginPage() = 0;
  // column is the x position in average character widths.
  virtual void text(int line, int column, const std::string& words) = 0;
  virtual void endPage() = 0;
};

// The lines of a job, in its device's own font of 10 points.
class JobLines final : public PrintContext {
 public:
  explicit JobLines(PrintJob& target);
  int linesPerPage() const override;
  int columnsPerLine() const override;
  void beginPage() override;
  void text(int line, int column, const std::string& words) override;
  void endPage() override {}

 private:
  PrintJob& job;
  Size character;
  bool firstPage = true;
};

}  // namespace tarnvisor

// The port for printing: whole pages drawn on a canvas, and on top of it lines of text, a page at a time.
#pragma once

#include <functional>
#include <string>

#include "host/canvas.h"

namespace tarnvisor {

// A job under way. The first page has begun.
class PrintJob {
 public:
  virtual ~PrintJob() = default;
  virtual Size pageSize() const = 0;         // what can be printed on, in the canvas's pixels
  virtual double pixelsPerInch() const = 0;  // the same in both directions
  virtual Canvas& canvas() = 0;              // of the page that was begun last
  virtual bool nextPage() = 0;               // false when the printer gave up
};

class Printer {
 public:
  using Draw = std::function<void(PrintJob&)>;
  virtual ~Printer() = default;
  // Asks for a printer or file and draws. False when the user cancels, or after telling the user why it
  // failed.
  virtual bool print(const std::string& title, const Draw& draw) = 0;
  // Shows the pages; the user may print them from there. draw may be called any number of times.
  virtual bool preview(const std::string& title, const Draw& draw) = 0;
};

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

// The port for printing: whole pages drawn on a canvas.
#pragma once

#include <functional>
#include <string>

#include "base/outcome.h"
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
  // The pages as a PDF file of that name, A4 where no printer tells another size. Asks nothing; on failure an
  // old file of that name stays as it was.
  virtual Outcome writePdf(const std::string& path, const std::string& title, const Draw& draw) = 0;
};

}  // namespace tarnvisor

// The port for printing lines of text, a page at a time.
#pragma once

#include <string>

namespace tarnvisor {

class PrintContext {
 public:
  virtual ~PrintContext() = default;
  virtual int linesPerPage() const = 0;
  virtual int columnsPerLine() const = 0;  // in average character widths
  virtual void beginPage() = 0;
  // column is the x position in average character widths.
  virtual void text(int line, int column, const std::string& words) = 0;
  virtual void endPage() = 0;
};

}  // namespace tarnvisor

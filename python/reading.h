// What a document holds, taken out of the system: it stays when the document, or all of the system, has gone.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "image.h"
#include "measure.h"
#include "movie.h"
#include "traces/trace.h"

namespace tarnvisor {
class CDocument;
class ScriptProgram;
}  // namespace tarnvisor

namespace tarnvisor::python {

struct Table {
  struct Column {
    std::string title;
    bool isNumber;
  };
  std::vector<Column> columns;
  std::vector<std::vector<std::string>> rows;  // as they are shown, a cell for each column
};

struct DocumentContents {
  std::string path;  // empty for one that was never saved
  std::string kind;  // "image", "video", "chart"...
  std::string title, subject, site, notes, result;
  std::optional<int32_t> exam;
  std::string messages;  // what opening it had to say
  std::string unit;
  std::optional<Scale> scale;  // units a pixel
  std::shared_ptr<Image> image;
  std::shared_ptr<Movie> movie;
  std::vector<std::shared_ptr<DimensionList>> lists;
  std::vector<std::shared_ptr<ZZTrace>> traces;
  std::shared_ptr<Table> table;
};

// Within a turn. By the program's own way to a document of that file; one that runs and has it open gives it
// as it stands there, and has the same documents open afterwards. Throws Failure.
DocumentContents readDocument(const std::string& path);
// A copy of a document that goes on living.
DocumentContents copyOf(CDocument& document);

}  // namespace tarnvisor::python

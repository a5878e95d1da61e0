// What a document gives to a report, by its view: what the numbers are worth, its notes, and tables. Its
// picture is the one that the view draws for a picture file. The report knows no kind of document.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "framework/sidepanel.h"

namespace tarnvisor {

struct ReportTable {
  struct Column {
    std::string heading;  // with its unit
    bool isNumber = false;
  };
  std::string title;
  std::vector<Column> columns = {};
  std::vector<std::vector<std::string>> rows = {};  // a cell a column each
};

struct ReportPart {
  bool hasPicture = false;
  bool fillsWindow = false;  // the picture has no shape of its own
  std::vector<SideFact> facts = {};
  std::string notes = {};  // lines
  std::vector<ReportTable> tables = {};
};

// Its rows; columns that are empty throughout are left out.
ReportTable tableOf(const SidePanel& panel, std::string title);

}  // namespace tarnvisor

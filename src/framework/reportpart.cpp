#include "framework/reportpart.h"

namespace tarnvisor {

ReportTable tableOf(const SidePanel& panel, std::string title) {
  ReportTable table{.title = std::move(title)};
  const std::vector<SidePanel::Column> columns = panel.columns();
  table.rows.resize(panel.rowCount());
  for (size_t column = 0; column < columns.size(); ++column) {
    bool isEmpty = true;
    std::vector<std::string> cells;
    for (size_t row = 0; row < table.rows.size(); ++row) {
      cells.push_back(panel.cell(row, column));
      isEmpty = isEmpty && cells.back().empty();
    }
    if (isEmpty) continue;
    const auto& [heading, isNumber, unit, isSummed, hasMean] = columns[column];
    table.columns.push_back({heading, isNumber});
    if (!unit.empty()) table.columns.back().heading.append(" (").append(unit).append(")");
    for (size_t row = 0; row < cells.size(); ++row) table.rows[row].push_back(std::move(cells[row]));
  }
  return table;
}

}  // namespace tarnvisor

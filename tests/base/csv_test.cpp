#include "base/csv.h"

#include <gtest/gtest.h>

namespace tarnvisor {
namespace {

using Cells = std::vector<std::string>;

TEST(Csv, RowsKeepTheirCellsAndTheirLines) {
  std::vector<CsvRow> rows;
  ASSERT_TRUE(readCsv("\xEF\xBB\xBFkey, a\r\n\r\n\"x,\"\"\n#\",\nlast", rows));
  ASSERT_EQ(rows.size(), 3u);
  EXPECT_EQ(rows[0].cells, (Cells{"key", " a"}));
  EXPECT_EQ(rows[1].cells, (Cells{"x,\"\n#", ""}));
  EXPECT_EQ(rows[2].cells, (Cells{"last"}));
  EXPECT_EQ(rows[2].line, 5u);
}

TEST(Csv, WrongQuotesAreToldWithTheirLine) {
  std::vector<CsvRow> rows;
  EXPECT_EQ(readCsv("a\n\"b\n\n", rows).why(), "line 2: a quote that is not closed");
  EXPECT_EQ(readCsv("a\nb\"c\"", rows).why(), "line 2: a quote within a cell that does not begin with one");
  EXPECT_EQ(readCsv("\"a\"b", rows).why(), "line 1: text behind a closing quote");
}

}  // namespace
}  // namespace tarnvisor

#include "charts/exportform.h"

#include <gmock/gmock.h>

#include "support/testhost.h"

namespace tarnvisor {
namespace {

TEST(ExportDialog, ChangesNothingOnCancelAndOffersTheSelectionWhereThereIsOne) {
  TestHost host;
  CTextSettings how;
  ExportChoice choice;
  host.fills.push_back([](Form& form) {
    EXPECT_EQ(form.find("Range"), nullptr);
    EXPECT_EQ(form.find("Column delimiter")->choices.size(), 5u);
    EXPECT_THAT(form.find("Row delimiter")->choices,
                ElementsAre("cr/lf pair", "cr only", "lf only", "column delimiter", "none"));
    return false;
  });
  EXPECT_FALSE(askExport(how, choice, false));
  host.fill(
      {{"Range", "Selection"}, {"Traces", "All traces"}, {"Binary", "1"}, {"Column delimiter", "space"}});
  EXPECT_TRUE(askExport(how, choice, true));
  EXPECT_EQ(choice.selection, 1);
  EXPECT_EQ(choice.allTraces, 1);
  EXPECT_EQ(how.binary, 1);
  EXPECT_EQ(how.columnDelimiter(), " ");
}

}  // namespace
}  // namespace tarnvisor

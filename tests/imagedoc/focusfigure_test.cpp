#include "imagedoc/focusfigure.h"

#include "analysis/autofocus.h"
#include "viewtest.h"

namespace tarnvisor {
namespace {

class FocusFigure : public ImageView {
 protected:
  void TearDown() override {
    ImageView::TearDown();
    showsFocus = 0;
    focusControl = {};
  }
};

TEST_F(FocusFigure, IsToldOnceItIsEnabledAndFollowsTheImage) {
  ZBasicDoc& d = show({8, 8});
  d.image->fill(0);
  d.image->row(4)[4] = 10;
  EXPECT_THAT(panes(), Not(HasSubstr("focus=")));
  host.fill({{"gap", "2"}, {"method", "3"}, {"noise threshold", "0"}, {"Enable", "1"}});
  run("Focus measurement settings...");
  EXPECT_THAT(panes(), HasSubstr("|focus=  0.6|mag="));
  d.image->fill(0);
  view->onUpdate(CView::Change::Marks);
  EXPECT_THAT(panes(), HasSubstr("|focus=  0.6|")) << "measured only when the image changes";
  view->onUpdate(CView::Change::Pixels);
  EXPECT_THAT(panes(), HasSubstr("|focus=  0.0|"));
}

TEST_F(FocusFigure, SettingsAreStoredByOkAndReadAtTheStart) {
  show();
  host.fills.emplace_back([](Form& form) {
    EXPECT_EQ(form.title(), "Focus Measurement");
    EXPECT_EQ(form.find("box %")->value(), "50");
    EXPECT_NE(form.find("method")->take("8"), "");
    return false;
  });
  run("Focus measurement settings...");
  EXPECT_EQ(settings.getString("focus", "enable", "none"), "none");
  host.fill({{"box %", "57"}, {"Enable", "1"}});
  run("Focus measurement settings...");
  EXPECT_EQ(settings.getDouble("autofocuscontrol", "ROI", 0), 0.57);
  showsFocus = 0;
  focusControl = {};
  ASSERT_TRUE(start());
  EXPECT_EQ(showsFocus, 1);
  EXPECT_EQ(focusControl.boxFraction, 0.57);
}

}  // namespace
}  // namespace tarnvisor

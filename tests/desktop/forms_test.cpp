// Forms as dialogs.

#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QSlider>
#include <QTest>

#include "desktop/formdialog.h"
#include "support/testhost.h"

namespace tarnvisor {
namespace {

QLineEdit* line(FormDialog& dialog, size_t field) { return dynamic_cast<QLineEdit*>(dialog.editor(field)); }

void type(QLineEdit* edit, const char* text) {
  edit->selectAll();
  QTest::keyClicks(edit, text);
}

TEST(FormDialog, SaysBesideTheFieldWhatIsWrongAndTurnsOkOff) {
  int32_t area = 60;
  double angle = 1.5;
  Form form("Processing");
  form.add("&maximum area", area, {.low = 10, .high = 400}).add("angle", angle, {.wrong = "Too steep"});
  FormDialog dialog(form, nullptr);
  const std::tuple<size_t, const char*, const char*> cases[] = {
      {0, "9", "maximum area must be from 10 to 400."},
      {0, "10", ""},
      {0, "1.5", "maximum area must be a whole number."},
      {0, "x", "maximum area: \"x\" is not a number."},
      {0, "77", ""},
      {1, "2e", "angle: \"2e\" is not a number."},
      {1, " -2.5 ", ""}};
  for (const auto& [field, typed, words] : cases) {
    type(line(dialog, field), typed);
    EXPECT_EQ(dialog.wrongWords(field).toStdString(), words);
    EXPECT_EQ(dialog.okButton()->isEnabled(), *words == '\0') << typed;
    EXPECT_EQ(area, 60) << "nothing is stored before OK";
  }
  dialog.accept();
  EXPECT_EQ(area, 77);
  EXPECT_EQ(angle, -2.5);
}

TEST(FormDialog, KeepsEverythingOnCancelAndRefusesEnterWhileAValueIsWrong) {
  int32_t whole = 5;
  std::string text = "before";
  Form form("Title");
  form.add("whole", whole, {.low = 0}).add("text", text);
  FormDialog dialog(form, nullptr);
  type(line(dialog, 0), "-1");
  type(line(dialog, 1), "after");
  dialog.accept();
  EXPECT_NE(dialog.result(), QDialog::Accepted);
  dialog.reject();
  EXPECT_EQ(whole, 5);
  EXPECT_EQ(text, "before");
}

TEST(FormDialog, AStoredValueOutsideItsLimitsIsSaidAtOnce) {
  int32_t whole = 500;
  Form form("Title");
  form.add("whole", whole, {.low = 1, .high = 399, .wrong = "From 1 to 399"});
  const FormDialog dialog(form, nullptr);
  EXPECT_EQ(dialog.wrongWords(0), "From 1 to 399");
  EXPECT_FALSE(dialog.okButton()->isEnabled());
}

TEST(FormDialog, EveryKindOfFieldHasItsControl) {
  TestHost host;
  host.paths = {std::string("/data/mask.dm")};
  int32_t check = 0, choice = 1, colour = 0x0000ff;
  std::string notes = "one\r\ntwo", fixed = "fixed", path, name = "n";
  double shown = 1.0 / 3;
  Form form("Kinds");
  form.addNote("Words first").addCheck("&tick", check).addChoice("which", choice, {"2", "1", "0"});
  form.addColour("colour", colour).addLongText("notes", notes).addLongText("fixed", fixed, true);
  form.addFile("mask", path, "Masks|*.dm||").add("name", name).add("number", shown).setOkLabel("&Go");
  FormDialog dialog(form, nullptr);
  EXPECT_EQ(dialog.windowTitle(), "Kinds");
  EXPECT_EQ(dialog.okButton()->text(), "&Go");
  EXPECT_EQ(dialog.editor(0), nullptr);
  auto* tick = dynamic_cast<QCheckBox*>(dialog.editor(1));
  auto* list = dynamic_cast<QComboBox*>(dialog.editor(2));
  auto* box = dynamic_cast<QPlainTextEdit*>(dialog.editor(4));
  ASSERT_THAT((std::array<QWidget*, 4>{tick, list, box, line(dialog, 6)}), Each(Not(nullptr)));
  EXPECT_EQ(list->currentText(), "1");
  EXPECT_EQ(box->toPlainText(), "one\ntwo");
  EXPECT_TRUE(dynamic_cast<QPlainTextEdit*>(dialog.editor(5))->isReadOnly());
  tick->click();
  list->setCurrentIndex(2);
  for (QPushButton* button : dialog.findChildren<QPushButton*>())
    if (button->text() == "&Browse...") button->click();
  for (QLabel* label : dialog.findChildren<QLabel*>())
    if (label->text() == "name") {
      EXPECT_EQ(label->buddy(), dialog.editor(7));
    }
  dialog.accept();
  EXPECT_EQ(check, 1);
  EXPECT_EQ(choice, 2) << "taken by its words, not as a place";
  EXPECT_EQ(notes, "one\r\ntwo") << "an untouched text keeps its line ends";
  EXPECT_EQ(path, "/data/mask.dm");
  EXPECT_EQ(shown, 1.0 / 3) << "an untouched number keeps the digits that are not shown";
}

struct LiveForm : ::testing::Test {
  LiveForm() {
    form.add("low", low, {.low = -10, .high = 245}).add("gain", gain, {.low = 0.5, .high = 2.5});
    form.setOnChange([this] { seen.emplace_back(low, gain); });
  }
  int32_t low = 20;
  double gain = 1.0;
  std::vector<std::pair<int32_t, double>> seen;
  Form form{"Adjust"};
};

TEST_F(LiveForm, ManyMovesOfASliderAreToldAsOneChange) {
  FormDialog dialog(form, nullptr);
  const auto sliders = dialog.findChildren<QSlider*>();
  ASSERT_EQ(sliders.size(), 2);
  EXPECT_EQ(sliders[0]->value(), 30);
  EXPECT_EQ(sliders[1]->value(), 250) << "of a thousand steps";
  for (int place = 31; place <= 60; ++place) sliders[0]->setValue(place);
  EXPECT_EQ(low, 50) << "taken at once";
  EXPECT_TRUE(seen.empty());
  EXPECT_TRUE(QTest::qWaitFor([&] { return !seen.empty(); }, 60'000));
  EXPECT_EQ(seen, (std::vector<std::pair<int32_t, double>>{{50, 1.0}}));
  type(line(dialog, 1), "2.5");
  EXPECT_EQ(sliders[1]->value(), 1000);
  dialog.accept();
  EXPECT_EQ(seen.back(), (std::pair<int32_t, double>{50, 2.5})) << "what was pending is told at OK";
}

TEST_F(LiveForm, CancelPutsTheValuesBackAndTellsSo) {
  FormDialog dialog(form, nullptr);
  type(line(dialog, 0), "99");
  EXPECT_EQ(low, 99);
  type(line(dialog, 0), "999");
  EXPECT_EQ(low, 99) << "a wrong value is not taken";
  dialog.reject();
  EXPECT_EQ(low, 20);
  EXPECT_EQ(seen.back(), (std::pair<int32_t, double>{20, 1.0}));
}

}  // namespace
}  // namespace tarnvisor

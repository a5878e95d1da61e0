// Forms as dialogs.

#include <QAbstractItemView>
#include <QCheckBox>
#include <QComboBox>
#include <QCompleter>
#include <QLabel>
#include <QLineEdit>
#include <QMainWindow>
#include <QPlainTextEdit>
#include <QPointer>
#include <QPushButton>
#include <QSlider>
#include <QTest>

#include "desktop/dialogtest.h"
#include "desktop/formdialog.h"
#include "desktop/formwindow.h"

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

TEST(FormDialog, OffersWhatHoldsTheWordsTypedAndLeavesThemToTheUser) {
  std::string site;
  Form form("New Examination");
  form.add("Site", site).offering({"right ring finger", "left ring finger", "left thumb"});
  FormDialog dialog(form, nullptr);
  dialog.show();
  const QCompleter& offered = *dialog.findChild<QCompleter*>();
  QTest::keyClicks(line(dialog, 0), "Ring");
  EXPECT_EQ(offered.completionCount(), 2);
  EXPECT_EQ(line(dialog, 0)->text(), "Ring");
  QTest::keyClick(offered.popup(), Qt::Key_Down);
  QTest::keyClick(offered.popup(), Qt::Key_Return);
  dialog.accept();
  EXPECT_EQ(site, "right ring finger");
}

TEST(FormDialog, EndsByButtonsOfItsOwn) {
  int32_t rest = 0, verdict = 0;
  Form form("Result");
  form.addNote("diameter = 5.0 um").addCheck("the rest", rest);
  form.endWith("verdict", verdict, {"&Accept", "&Skip"});
  FormDialog dialog(form, nullptr);
  QStringList words;
  for (const QPushButton* each : dialog.findChildren<QPushButton*>()) words << each->text();
  EXPECT_EQ(words, QStringList({"&Accept", "&Skip"}));
  EXPECT_TRUE(dialog.okButton()->isDefault());
  dynamic_cast<QCheckBox*>(dialog.editor(1))->setChecked(true);
  dialog.findChildren<QPushButton*>().back()->click();
  EXPECT_EQ(dialog.result(), QDialog::Accepted);
  EXPECT_EQ(verdict, 1);
  EXPECT_EQ(rest, 1);
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

TEST(FormDialog, OpensWithItsFirstValueSelectedAndUnitsBeside) {
  double size = 4.5;
  Form form("Title");
  form.addNote("Words").add("size", size).withUnit("mm");
  FormDialog dialog(form, nullptr);
  dialog.show();
  EXPECT_EQ(line(dialog, 1)->selectedText(), "4.5");
  EXPECT_EQ(line(dialog, 1)->accessibleName(), "size");
  QStringList words;
  for (const QLabel* label : dialog.findChildren<QLabel*>()) words << label->text();
  EXPECT_TRUE(words.contains("mm"));
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

class StayingForm : public ::testing::Test {
 protected:
  StayingForm() { main->show(); }
  // A camera's: what it is set to, and what it says.
  FormWindow& open(FormEvents events) {
    Form form("Camera");
    form.add("exposure", exposure, {.low = 10, .high = 90}).addSlider("gain", gain, 0, 100);
    form.addReading("rate", rate).setOnChange([this] { ++changes; });
    shown = openFormWindow(std::move(form), std::move(events), main.get());
    window = main->findChildren<FormWindow*>().back();
    return *window;
  }
  QLineEdit* line(size_t field) const { return dynamic_cast<QLineEdit*>(window->editor(field)); }
  QString reading() const { return dynamic_cast<QLabel*>(window->editor(2))->text(); }
  QPushButton* button(const QString& words) const {
    for (QPushButton* each : window->findChildren<QPushButton*>())
      if (each->text() == words) return each;
    return nullptr;
  }
  // With the keyboard in this field, so that it can be edited.
  void enter(size_t field) {
    ASSERT_TRUE(QTest::qWaitForWindowActive(window));
    line(field)->setFocus();
    ASSERT_TRUE(QTest::qWaitFor([&] { return line(field)->hasFocus(); }, 60'000));
  }
  int32_t exposure = 20, gain = 5;
  std::string rate = "30.0";
  int changes = 0;
  std::unique_ptr<QMainWindow> main = std::make_unique<QMainWindow>();
  QPointer<FormWindow> window;
  std::unique_ptr<OpenForm> shown;
};

TEST_F(StayingForm, TakesEachRightValueAtOnceAndTellsIt) {
  open({});
  EXPECT_FALSE(window->isModal());
  EXPECT_EQ(window->windowType(), Qt::Tool);
  window->findChildren<QSlider*>().back()->setValue(60);
  EXPECT_EQ(gain, 60);
  EXPECT_EQ(line(1)->text(), "60");
  EXPECT_TRUE(QTest::qWaitFor([&] { return changes == 1; }, 60'000));
  type(line(0), "91");
  EXPECT_EQ(exposure, 20);
}

TEST_F(StayingForm, DoesNotGrowWithWhatItTells) {
  open({.onRefresh = [this] { rate = std::string(500, 'W'); }});
  ASSERT_TRUE(QTest::qWaitForWindowExposed(window));
  const int before = window->width();
  window->refresh();
  for (int turn = 0; turn < kManyTurns; ++turn) QApplication::processEvents();
  EXPECT_EQ(reading().size(), 500);
  EXPECT_EQ(window->width(), before);
}

TEST_F(StayingForm, RefreshShowsAllButWhatIsBeingEdited) {
  open({.onRefresh = [this] { rate = "29.5"; }});
  enter(0);
  type(line(0), "3");
  gain = 70;
  exposure = 40;
  shown->refresh();
  EXPECT_EQ(reading(), "29.5");
  EXPECT_EQ(line(1)->text(), "70");
  EXPECT_EQ(line(0)->text(), "3");
  QTest::keyClick(line(0), Qt::Key_Return);
  shown->refresh();
  EXPECT_EQ(line(0)->text(), "40");
  EXPECT_EQ(exposure, 40);
  EXPECT_TRUE(shown->isOpen()) << "Enter closes nothing";
}

TEST_F(StayingForm, ShownAnewNothingChangesAndNothingIsTold) {
  double third = 1.0 / 3;
  std::string notes = "a\r\nb";
  Form form("Exact");
  form.add("third", third).addLongText("notes", notes).setOnChange([this] { ++changes; });
  FormRows rows(form, FormRows::Takes::AtOnce);
  EXPECT_EQ(third, 1.0 / 3);
  third = 2.0 / 3;
  notes = "c\r\nd";
  rows.refresh(FormRows::Refreshes::All);
  rows.tellPending();
  EXPECT_EQ(third, 2.0 / 3);
  EXPECT_EQ(notes, "c\r\nd");
  EXPECT_EQ(dynamic_cast<QPlainTextEdit*>(rows.editor(1))->toPlainText(), "c\nd");
  EXPECT_EQ(changes, 0);
}

TEST_F(StayingForm, ALongTextWhoseTypingIsTakenBackIsStoredAsItWas) {
  std::string notes = "a\r\nb";
  Form form("Exact");
  form.addLongText("notes", notes);
  const FormRows rows(form, FormRows::Takes::AtOnce);
  auto* box = dynamic_cast<QPlainTextEdit*>(rows.editor(0));
  QTest::keyClicks(box, "x");
  EXPECT_EQ(notes, "xa\nb");
  box->undo();
  EXPECT_EQ(notes, "a\r\nb");
}

TEST_F(StayingForm, RefreshesByItselfWhileItIsOpen) {
  int refreshed = 0;
  open({.refreshMs = 1, .onRefresh = [&] { rate = std::to_string(++refreshed); }});
  EXPECT_TRUE(QTest::qWaitFor([&] { return refreshed > 2; }, 60'000));
  EXPECT_EQ(reading().toStdString(), rate);
  shown.reset();
  const int before = refreshed;
  for (int i = 0; i < kManyTurns; ++i) QCoreApplication::processEvents();
  EXPECT_EQ(refreshed, before);
}

TEST_F(StayingForm, AButtonThatTakesValuesIsOffWhileOneIsWrong) {
  int applied = 0, stopped = 0;
  open({.buttons = {{"Apply", [&] { exposure = 50, ++applied; }, true}, {"Stop", [&] { ++stopped; }}}});
  type(line(0), "5");
  EXPECT_FALSE(button("Apply")->isEnabled());
  button("Stop")->click();
  EXPECT_EQ(stopped, 1);
  type(line(0), "15");
  button("Apply")->click();
  EXPECT_EQ(applied, 1);
  EXPECT_EQ(line(0)->text(), "50");
}

TEST_F(StayingForm, TellsWhatIsPendingBeforeItCloses) {
  int seen = 0;
  open({.onClose = [&] { seen = changes; }});
  type(line(0), "30");
  window->close();
  EXPECT_EQ(seen, 1);
  EXPECT_FALSE(shown->isOpen());
}

TEST_F(StayingForm, TellsWhatIsPendingBeforeItShowsWhatHolds) {
  int seen = 0;
  open({.onRefresh = [&] { seen = changes; }});
  type(line(0), "30");
  shown->refresh();
  EXPECT_EQ(seen, 1);
}

TEST_F(StayingForm, WhatItCallsMayEndIt) {
  const auto ends = [this] { shown.reset(); };
  for (const char* by : {"Stop", "Close"}) {
    open({.onClose = ends, .buttons = {{"Stop", ends}}, .onRefresh = [] { FAIL() << "it is gone"; }});
    button(by)->click();
    EXPECT_EQ(shown, nullptr);
    EXPECT_FALSE(window->isVisible());
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_EQ(window, nullptr);
  }
  open({.onRefresh = ends});
  exposure = 40;
  shown->refresh();
  EXPECT_EQ(line(0)->text(), "20") << "its variables may have gone with it";
}

TEST_F(StayingForm, KeepsItsPlaceWhenTheMainWindowTakesItAway) {
  open({.place = Point{60, 40}});
  EXPECT_EQ(shown->place(), (Point{60, 40}));
  window->move(80, 90);
  main.reset();
  EXPECT_FALSE(shown->isOpen());
  EXPECT_EQ(shown->place(), (Point{80, 90}));
  shown->refresh();
}

}  // namespace
}  // namespace tarnvisor

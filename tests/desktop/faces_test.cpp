#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMainWindow>
#include <QRadioButton>
#include <QSvgRenderer>
#include <QTimer>
#include <QToolButton>
#include <QTreeWidget>

#include "charts/markereditor.h"
#include "desktop/dialogs.h"
#include "desktop/dialogtest.h"
#include "desktop/formwindow.h"
#include "desktop/icons.h"
#include "desktop/qtports.h"
#include "desktop/recordbar.h"
#include "desktop/shortcutlist.h"
#include "desktop/statuswindow.h"
#include "settings/profile.h"

namespace tarnvisor {
namespace {

using Faces = DialogTest;

TEST_F(Faces, AScaleThatCannotBeIsToldBesideItsField) {
  MagnificationDialog dialog(makeImage(4, 4));
  MagnificationWindow window(dialog, nullptr);
  for (const char* field : {"x scale", "y scale"}) {
    auto* edit = find<QLineEdit>(window, field);
    auto* wrong = find<QLabel>(window, (std::string(field) + " wrong").c_str());
    for (const auto& [text, words] : {std::pair{"0", "A scale must be above 0."},
                                      {"-1.5", "A scale must be above 0."},
                                      {"", "A scale is a number."},
                                      {"1,5", "A scale is a number."},
                                      {"nan", "A scale must be above 0."},
                                      {"2e9", "A scale is at most 1e9."},
                                      {" 1.68 ", ""}}) {
      edit->selectAll();
      QTest::keyClicks(edit, text);
      if (!*text) QTest::keyClick(edit, Qt::Key_Delete);
      EXPECT_EQ(wrong->text(), words) << text;
      EXPECT_EQ(isEnabled(window, "OK"), !*words) << text;
      EXPECT_EQ(isEnabled(window, "Add to list"), !*words) << text;
    }
  }
  EXPECT_EQ(dialog.entry.magx, 1.68);
  EXPECT_EQ(dialog.entry.magy, 1.68);
}

TEST_F(Faces, TheTableTakesAndGivesScales) {
  addMagnification({2.5, 3.5, "low", 0});
  addMagnification({0.25, 0.25, "high", 0});
  MagnificationDialog dialog(makeImage(4, 4));
  MagnificationWindow window(dialog, nullptr);
  window.show();
  auto* rows = find<QListWidget>(window);
  ASSERT_EQ(rows->count(), 2);
  EXPECT_TRUE(rows->item(0)->text().startsWith("   2.500    3.500 low                       "));
  for (const char* words : {"Select", "Remove", "Set as default"}) EXPECT_FALSE(isEnabled(window, words));

  rows->setCurrentRow(0);
  click(window, "Select");
  EXPECT_EQ(find<QLineEdit>(window, "y scale")->text(), "3.5");
  EXPECT_EQ(find<QLineEdit>(window, "name")->text(), "low");
  EXPECT_EQ(dialog.entry.magx, 2.5);
  click(window, "Set as default");
  EXPECT_EQ(find<QLabel>(window, "default")->text(), rows->item(0)->text());

  host.answers = {Answer::No, Answer::Yes};
  click(window, "Remove");
  EXPECT_EQ(magnificationCount(), 2);
  click(window, "Remove");
  EXPECT_EQ(magnificationCount(), 1);
  EXPECT_TRUE(rows->item(0)->text().contains("high"));

  find<QLineEdit>(window, "name")->setText("mine");
  click(window, "Add to list");
  ASSERT_EQ(rows->count(), 2);
  EXPECT_TRUE(rows->currentItem()->text().startsWith("   2.500    3.500 mine "));
}

TEST_F(Faces, OkGivesTheScaleToTheDocumentAndCancelDoesNot) {
  QWidget main;
  MagnificationTableFace face(&main);
  makeImage(4, 4);
  for (const auto& [words, magx] : {std::pair{"Cancel", 1.0}, {"OK", 1.68}}) {
    QTimer::singleShot(0, [words = words] {
      QWidget* top = QApplication::activeModalWidget();
      ASSERT_NE(top, nullptr);
      find<QLineEdit>(*top, "x scale")->setText("1.68");
      click(*top, words);
    });
    image()->magx = 1.0;
    MagnificationDialog dialog(*image());
    EXPECT_EQ(dialog.run(), words == std::string("OK"));
    EXPECT_EQ(dialog.entry.magx, magx);
  }
}

// The dialog's model on real files.
class FileProfiles final : public ProfileModel {
 public:
  explicit FileProfiles(ProfileDialog& profiles) : dialog(profiles) {}
  std::vector<std::string> names() const override { return dialog.names(); }
  std::string selected() const override { return dialog.selected(); }
  void select(const std::string& profile) override { dialog.select(profile); }
  Outcome addCopy(const std::string& name) override { return told(dialog.addCopy(name)); }
  Outcome remove() override { return told(dialog.remove()); }
  Outcome resetToDefault() override { return told(dialog.resetToDefault()); }

 private:
  static Outcome told(bool ok) { return ok ? Outcome::success() : Outcome::failure("not done"); }
  ProfileDialog& dialog;
};

TEST_F(Faces, ProfilesAreCopiedRemovedAndReset) {
  ASSERT_TRUE(replaceFile(folder.file("t.ini"), std::string_view("[a]\nb=1\n")));
  ASSERT_TRUE(replaceFile(folder.file("t.def"), std::string_view("[a]\nb=9\n")));
  ProfileDialog files(folder.path(), "t", folder.file("t.def"));
  FileProfiles model(files);
  ProfileWindow window(model, nullptr);
  auto* list = find<QListWidget>(window);
  EXPECT_EQ(list->currentItem()->text(), "normal");
  EXPECT_FALSE(isEnabled(window, "remove"));
  host.fill({{"New profile name", "My own"}});
  click(window, "Add copy");
  EXPECT_EQ(list->currentItem()->text(), "My own");
  EXPECT_EQ(readWholeText(folder.file("My own.ini")), "[a]\nb=1\n");
  host.fill({{"New profile name", "My own"}});
  click(window, "Add copy");
  EXPECT_EQ(host.messages.back(), "not done");
  host.answers = {Answer::Yes, Answer::No, Answer::Yes};
  click(window, "reset to default");
  EXPECT_EQ(readWholeText(folder.file("My own.ini")), "[a]\nb=9\n");
  click(window, "remove");
  EXPECT_EQ(list->currentItem()->text(), "My own");
  click(window, "remove");
  EXPECT_EQ(list->currentItem()->text(), "normal");
  EXPECT_FALSE(isEnabled(window, "remove"));
  EXPECT_EQ(list->findItems("My own", Qt::MatchExactly).size(), 0);
}

TEST_F(Faces, TheRecordBarShowsAndStoresTheProcessState) {
  process.recordDir = "/data/exam";
  process.baseName = "hand";
  process.direct2disc = 0;
  process.triggermovie = 1;
  CBasicMainFrame frame(*app);
  RecordBar bar(frame);
  bar.show();
  auto* dir = find<QLineEdit>(bar, "recorddir");
  EXPECT_EQ(dir->text(), "/data/exam");
  EXPECT_EQ(find<QLineEdit>(bar, "basename")->text(), "hand");
  EXPECT_FALSE(find<QCheckBox>(bar)->isChecked());
  const auto radios = bar.findChildren<QRadioButton*>();
  ASSERT_EQ(radios.size(), 2);
  EXPECT_TRUE(radios[0]->isChecked());
  radios[1]->click();
  find<QCheckBox>(bar)->click();
  const auto type = [](QLineEdit* edit, const char* words) {
    edit->selectAll();
    QTest::keyClicks(edit, words);
  };
  type(find<QLineEdit>(bar, "basename"), "toe");
  type(dir, "/data/other");
  EXPECT_EQ(frame.recordBar().recordDir, "/data/other") << "a recording reads what stands there";
  EXPECT_EQ(settings.getString("directories", "recorddir", ""), "/data/exam") << "not at each key";
  QTest::keyClick(dir, Qt::Key_Return);
  EXPECT_EQ(process.triggermovie, 0);
  EXPECT_EQ(settings.getString("directories", "recorddir", ""), "/data/other");
  EXPECT_EQ(settings.getString("directories", "basename", ""), "toe");
  EXPECT_EQ(settings.getInt("Dynamic settings", "direct2disc", 7), 1);
  EXPECT_EQ(settings.getInt("Dynamic settings", "triggermovie", 7), 0);
  (void)posted();
  find<QToolButton>(bar, "choose")->click();
  EXPECT_THAT(posted(), ElementsAre(4310));
}

TEST_F(Faces, TheStatusWindowAsksOnlyWhileItIsToBeSeen) {
  int asked = 0, other = 0;
  const auto counting = [](int& count) {
    return [&] { return std::vector<std::string>{"frame " + std::to_string(++count), "idle"}; };
  };
  StatusWindow window(counting(asked), nullptr), beside(counting(other), nullptr);
  EXPECT_EQ(asked, 0);
  window.show();
  EXPECT_EQ(find<QLabel>(window)->text(), "frame 1\nidle");
  EXPECT_TRUE(QTest::qWaitFor([&] { return asked >= 2; }, 60'000));
  window.hide();
  const int before = asked;
  beside.show();
  EXPECT_TRUE(QTest::qWaitFor([&] { return other >= 3; }, 60'000));
  EXPECT_EQ(asked, before);
}

TEST_F(Faces, ShortcutsAreFoundByWordsOfEitherColumn) {
  ShortcutList window({{"Zoom in", "Ctrl++"}, {"Zoom out", "Ctrl+-"}, {"Save", "Ctrl+S"}}, nullptr);
  window.show();
  auto* list = find<QTreeWidget>(window);
  for (const auto& [words, visible] :
       std::initializer_list<std::pair<const char*, QStringList>>{{"", {"Zoom in", "Zoom out", "Save"}},
                                                                  {"zoom", {"Zoom in", "Zoom out"}},
                                                                  {"out zoom", {"Zoom out"}},
                                                                  {"ctrl+s", {"Save"}},
                                                                  {"nothing", {}}}) {
    find<QLineEdit>(window)->setText(words);
    QStringList seen;
    for (int i = 0; i < 3; ++i)
      if (!list->topLevelItem(i)->isHidden()) seen << list->topLevelItem(i)->text(0);
    EXPECT_EQ(seen, visible) << words;
    EXPECT_EQ(list->isVisible(), !seen.isEmpty());
  }
}

// Of a drawing: the strongest opacity, and the lightness of the strongest pixel.
std::pair<int, int> strongest(const QIcon& icon, QIcon::Mode mode) {
  const QImage picture = icon.pixmap(QSize(24, 24), 1.0, mode).toImage();
  QColor best(0, 0, 0, 0);
  for (int y = 0; y < picture.height(); ++y)
    for (int x = 0; x < picture.width(); ++x)
      if (const QColor c = picture.pixelColor(x, y); c.alpha() > best.alpha()) best = c;
  return {best.alpha(), best.lightness()};
}

TEST(Icons, TakeTheTextColourAndDimWhenDisabled) {
  for (const int shade : {20, 235}) {
    QPalette palette;
    palette.setColor(QPalette::WindowText, QColor(shade, shade, shade));
    const QIcon icon = commandIcon("undo", palette);
    EXPECT_NEAR(strongest(icon, QIcon::Normal).second, shade, 3);
    EXPECT_GT(strongest(icon, QIcon::Normal).first, 200);
    EXPECT_LT(strongest(icon, QIcon::Disabled).first, 110);
  }
}

TEST(Icons, AreDrawnAnewForTheScaleOfTheScreen) {
  const QPixmap twice = commandIcon("grid", QPalette()).pixmap(QSize(24, 24), 2.0);
  EXPECT_EQ(twice.size(), QSize(48, 48));
  EXPECT_EQ(twice.devicePixelRatio(), 2.0);
  // Lines of 3.5 device pixels have full ink; blown up from 24 they would not.
  EXPECT_GT(qAlpha(twice.toImage().pixel(24, 7)), 250);
}

TEST(Icons, AllDrawingsAreValidAndLieWithinTheirSquare) {
  EXPECT_FALSE(hasIcon("no such icon"));
  EXPECT_FALSE(hasIcon(""));
  EXPECT_TRUE(commandIcon("no such icon", QPalette()).isNull());
  ASSERT_TRUE(hasIcon("find-capillaries"));
  EXPECT_FALSE(programIcon().isNull());
  EXPECT_FALSE(documentIcon("document").isNull());
  const QStringList all = QDir(":/icons").entryList({"*.svg"});
  EXPECT_GT(all.size(), 100);
  for (const QString& file : all) {
    QSvgRenderer drawing(":/icons/" + file);
    EXPECT_TRUE(drawing.isValid()) << file.toStdString();
    const QImage picture =
        commandIcon(file.chopped(4).toStdString(), QPalette()).pixmap(QSize(96, 96), 1.0).toImage();
    int ink = 0;
    int border = 0;
    for (int i = 0; i < 96 * 96; ++i) {
      const bool marked = qAlpha(picture.pixel(i % 96, i / 96)) > 20;
      ink += marked;
      border += marked && (i % 96 < 2 || i % 96 > 93 || i / 96 < 2 || i / 96 > 93);
    }
    EXPECT_GT(ink, 200) << file.toStdString();
    EXPECT_EQ(border, 0) << file.toStdString();
  }
}

class MarkerWindow : public Faces {
 protected:
  MarkerWindow() { main.show(); }
  ~MarkerWindow() override { MarkerEditor::shared().close(); }
  // Null while no marker is shown.
  FormWindow* window() const {
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    const auto all = main.findChildren<FormWindow*>();
    EXPECT_LE(all.size(), 1);
    return all.empty() ? nullptr : all.front();
  }
  QMainWindow main;
  QtForms forms;
  Host withForms{host, host, forms, host, host, host, host, host, host, host};
  const HostScope withWindows{withForms};
};

TEST_F(MarkerWindow, StaysThroughUpdatesAndGoesWithItsMarker) {
  auto first = std::make_unique<CMarker>();
  first->SetLabel("one");
  CMarker second;
  MarkerEditor::shared().open(*first);
  ASSERT_NE(window(), nullptr);
  EXPECT_EQ(window()->windowTitle(), "Edit Marker");
  EXPECT_TRUE(window()->isVisible());
  EXPECT_FALSE(window()->isModal());
  auto* label = qobject_cast<QLineEdit*>(window()->editor(1));
  ASSERT_NE(label, nullptr);
  EXPECT_EQ(label->text(), "one");
  label->setText("systole");
  EXPECT_EQ(first->label, "one") << "not before Update";
  click(*window(), "Update");
  EXPECT_EQ(first->label, "systole");
  EXPECT_EQ(first->boxwidth, 7);
  EXPECT_EQ(qobject_cast<QLineEdit*>(window()->editor(2))->text(), "7") << "shown anew";
  EXPECT_TRUE(window()->isVisible());

  window()->move(70, 50);
  MarkerEditor::shared().open(second);
  EXPECT_EQ(window()->pos(), QPoint(70, 50));
  first.reset();
  ASSERT_NE(window(), nullptr) << "another marker went";
  click(*window(), "Cancel");
  EXPECT_FALSE(MarkerEditor::shared().isOpen());
  {
    CMarker third;
    MarkerEditor::shared().open(third);
    EXPECT_NE(window(), nullptr);
  }
  EXPECT_EQ(window(), nullptr);
}

}  // namespace
}  // namespace tarnvisor

// The main window, driven by mouse, keys and menus.
#include <QAccessible>
#include <QDialog>
#include <QDropEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QMenuBar>
#include <QMimeData>
#include <QScrollArea>
#include <QScrollBar>
#include <QStatusBar>
#include <QTextBrowser>
#include <QToolBar>
#include <QTreeWidget>
#include <QUrl>
#include <QWheelEvent>

#include "base/text.h"
#include "desktop/dialogtest.h"
#include "desktop/icons.h"
#include "desktop/mainwindowtest.h"
#include "desktop/opening.h"
#include "imagedoc/commandids.h"
#include "imagedoc/resulttables.h"
#include "results/resultdoc.h"
#include "settings/profile.h"

namespace tarnvisor {
namespace {

// A view that writes down what comes in.
struct ProbeView final : CView {
  using CView::CView;
  std::vector<std::string> seen;
  Size content{1000, 300};
  void note(const char* what, const MouseEvent& e) {
    seen.push_back(format("%s %i,%i b%i%s%s", what, e.at.x, e.at.y, static_cast<int>(e.button),
                          e.shift ? " shift" : "", e.control ? " control" : ""));
  }
  void mouseDown(const MouseEvent& e) override { note("down", e); }
  void mouseUp(const MouseEvent& e) override { note("up", e); }
  void mouseMove(const MouseEvent& e) override { note("move", e); }
  void mouseDouble(const MouseEvent& e) override { note("double", e); }
  void wheel(const WheelEvent& e) override {
    seen.push_back(format("wheel %i%s%s", e.steps, e.shift ? " shift" : "", e.control ? " control" : ""));
  }
  bool keyDown(const KeyEvent& e) override {
    seen.push_back(format("key %i%s", static_cast<int>(e.key), e.shift ? " shift" : ""));
    return true;
  }
  void onActivate() override { seen.emplace_back("activate"); }
  Size contentSize() const override { return content; }
  std::vector<StatusPane> panes() const override {
    return {{"position", format("pos=%5i", scrollPosition().x)}, {"zoom", "zoom= 100%"}};
  }
  ViewSite& window() const { return site(); }
  void resized(Size now) {
    content = now;
    contentChanged();
  }
};

struct ProbeDocument final : CDocument {
  void serialize(Archive&) override {}
};

class ProgramWindow : public MainWindowTest {
 protected:
  // The menu that is shown under a title, and its entries' texts, "-" for separators.
  QMenu* menu(const QString& title) {
    for (QMenu* each : window().menuBar()->findChildren<QMenu*>(Qt::FindDirectChildrenOnly))
      if (each->title() == title) return each;
    return nullptr;
  }
  QStringList entries(const QString& title) {
    QStringList texts;
    Q_EMIT menu(title)->aboutToShow();
    for (const QAction* action : menu(title)->actions())
      texts << (action->isSeparator() ? "-" : action->text());
    return texts;
  }
  QAction* action(int32_t id) { return window().commandActions().action(id); }

  // A document of a kind of its own whose view is a probe.
  ProbeView& probe() {
    auto type = std::make_unique<DocumentType>(DocumentClass{
        1, "\nProbe\n\n\n\n\n", "", "", "", [] { return std::unique_ptr<CDocument>(new ProbeDocument); },
        [](CDocument& d) { return std::unique_ptr<CView>(new ProbeView(d)); }});
    CDocument* document = app->documents.registerType(std::move(type))->newDocument();
    settle();
    return static_cast<ProbeView&>(*document->views().front());
  }

  void drop(const std::vector<std::string>& paths) {
    QMimeData data;
    QList<QUrl> urls;
    for (const std::string& path : paths) urls << QUrl::fromLocalFile(QString::fromStdString(path));
    data.setUrls(urls);
    QDragEnterEvent enter({5, 5}, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(&window(), &enter);
    EXPECT_TRUE(enter.isAccepted());
    QDropEvent event({5, 5}, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(&window(), &event);
    EXPECT_TRUE(app->documents.documents().empty()) << "the giver of the files does not wait";
    settle();
  }
  std::string savedImage(const std::string& name) {
    ZBasicDoc& d = makeImage(40, 30);
    EXPECT_TRUE(d.onSaveDocument(folder.file(name)));
    process.imageTemplate->discard(d);
    return folder.file(name);
  }

  // Questions go to the test, windows are real.
  Host ports{host, host, host, host, windows, host, host, host, host, host};
  HostScope scope{ports};
};

TEST_F(ProgramWindow, EachDocumentHasAWindowThatFollowsIt) {
  ZBasicDoc& first = makeImage(40, 30);
  ZBasicDoc& second = makeImage(40, 30);
  EXPECT_EQ(windowOf(first).windowTitle(), "Image1[*]");
  EXPECT_EQ(windowOf(second).mdiArea()->activeSubWindow(), &windowOf(second));
  EXPECT_EQ(entries("&Window").mid(4), (QStringList{"&1 Image1", "&2 Image2"}));
  // To the front by mouse, by menu, by the program.
  windowOf(first).mdiArea()->setActiveSubWindow(&windowOf(first));
  EXPECT_EQ(app->documents.active(), &first);
  (void)entries("&Window");
  EXPECT_TRUE(menu("&Window")->actions().at(4)->isChecked());
  menu("&Window")->actions().at(5)->trigger();
  settle();
  EXPECT_EQ(app->documents.active(), &second);
  app->documents.activate(first);
  EXPECT_EQ(windowOf(first).mdiArea()->activeSubWindow(), &windowOf(first));

  first.setModified();
  window().updateSoon();
  settle();
  EXPECT_TRUE(windowOf(first).isWindowModified());
  EXPECT_FALSE(windowOf(second).isWindowModified());
  const QPointer<QMdiSubWindow> gone = &windowOf(second);
  process.imageTemplate->discard(second);
  settle();
  EXPECT_EQ(gone, nullptr);
}

TEST_F(ProgramWindow, MouseAndKeysReachTheViewAsRecords) {
  ProbeView& view = probe();
  QWidget* area = widgetOf(view.document()).viewport();
  view.seen.clear();
  QTest::mousePress(area, Qt::LeftButton, Qt::ShiftModifier, {10, 20});
  QTest::mouseMove(area, {30, 25});
  QTest::mouseRelease(area, Qt::LeftButton, Qt::ControlModifier, {-5, 25});
  QTest::mouseDClick(area, Qt::RightButton, {}, {3, 4});
  QTest::mousePress(area, Qt::MiddleButton, {}, {1, 2});
  std::erase_if(view.seen, [](const std::string& s) { return s.starts_with("move"); });
  EXPECT_EQ(view.seen, (std::vector<std::string>{"down 10,20 b1 shift", "up -5,25 b1 control",
                                                 "double 3,4 b3", "down 1,2 b2"}));
  view.seen.clear();
  const auto turn = [&](QPoint angle, Qt::KeyboardModifiers keys) {
    QWheelEvent event({5, 5}, {5, 5}, {}, angle, Qt::NoButton, keys, Qt::NoScrollPhase, false);
    QApplication::sendEvent(area, &event);
  };
  turn({0, 240}, Qt::ControlModifier);
  turn({0, -80}, {});
  turn({0, -80}, {});
  turn({120, 0}, {});
  QTest::keyClick(&widgetOf(view.document()), Qt::Key_Delete);
  QTest::keyClick(&widgetOf(view.document()), Qt::Key_PageDown);
  EXPECT_EQ(view.seen, (std::vector<std::string>{"wheel 2 control", "wheel -1", "wheel 1 shift",
                                                 format("key %i", static_cast<int>(Key::Delete)),
                                                 format("key %i", static_cast<int>(Key::PageDown))}));
}

TEST_F(ProgramWindow, ScrollBarsAndTheViewsPositionAreOne) {
  ProbeView& view = probe();
  ViewWidget& widget = widgetOf(view.document());
  windowOf(view.document()).resize(420, 260);
  EXPECT_EQ(view.windowSize(), (Size{widget.viewport()->width(), widget.viewport()->height()}));
  EXPECT_EQ(widget.horizontalScrollBar()->maximum(), 1000 - view.windowSize().width);
  widget.horizontalScrollBar()->setValue(123);
  EXPECT_EQ(view.scrollPosition().x, 123);
  view.scrollTo({77, 9});
  EXPECT_EQ(widget.horizontalScrollBar()->value(), 77);
  EXPECT_EQ(widget.verticalScrollBar()->value(), 9);
  view.resized({50, 50});
  QApplication::processEvents();
  EXPECT_FALSE(widget.horizontalScrollBar()->isVisible());
  EXPECT_EQ(view.windowSize().width, widget.largestViewport().width());
  // A frame as large as the content, within the main window.
  view.window().resizeFrame({300, 200});
  EXPECT_EQ(view.windowSize(), (Size{300, 200}));
  view.window().resizeFrame({30000, 200});
  EXPECT_EQ(windowOf(view.document()).width(), windowOf(view.document()).mdiArea()->viewport()->width());
}

TEST_F(ProgramWindow, PanesOfTheViewInFrontStandInTheStatusBarAndDontJump) {
  ProbeView& view = probe();
  const auto pane = [&](const char* name) { return window().statusBar()->findChild<QLabel*>(name); };
  settle();
  ASSERT_NE(pane("zoom"), nullptr);
  EXPECT_EQ(pane("zoom")->text(), "zoom= 100%");
  EXPECT_EQ(view.seen.front(), "activate");
  const int width = pane("position")->width();
  windowOf(view.document()).resize(420, 260);
  view.scrollTo({400, 0});
  view.window().panesChanged();
  EXPECT_TRUE(QTest::qWaitFor([&] { return pane("position")->text() == "pos=  400"; }, kLongestMs));
  EXPECT_GE(pane("position")->width(), width);
  app->documents.closeAll();
  EXPECT_TRUE(QTest::qWaitFor([&] { return !pane("zoom")->isVisible(); }, kLongestMs));
}

TEST_F(ProgramWindow, CommandsAreOnWhenSomebodyTakesThem) {
  settle();
  EXPECT_FALSE(action(cmd::FileSave)->isEnabled());
  EXPECT_FALSE(action(cmd::ZoomFit)->isEnabled());
  EXPECT_TRUE(action(cmd::FileOpen)->isEnabled());
  ZBasicDoc& image = makeImage(40, 30);
  EXPECT_TRUE(QTest::qWaitFor([&] { return action(cmd::FileSave)->isEnabled(); }, kLongestMs));
  EXPECT_FALSE(action(cmd::Undo)->isEnabled());
  const bool ticked = action(cmd::ShowCrosshair)->isChecked();
  EXPECT_EQ(ticked, image.showtarget != 0);
  action(cmd::ShowCrosshair)->trigger();
  settle();
  EXPECT_EQ(action(cmd::ShowCrosshair)->isChecked(), !ticked);
  EXPECT_NE(image.showtarget != 0, ticked);
  action(cmd::Negative)->trigger();
  settle();
  EXPECT_TRUE(action(cmd::Undo)->isEnabled());
  EXPECT_TRUE(windowOf(image).isWindowModified());
}

TEST_F(ProgramWindow, MenusAreTheTables) {
  EXPECT_TRUE(entries("&File").contains("&Open..."));
  const auto recent = [this] {
    (void)entries("&File");
    auto* list = menu("&File")->findChild<QMenu*>("recentFiles");
    Q_EMIT list->aboutToShow();
    return list->actions();
  };
  EXPECT_EQ(recent().front()->text(), "No recent files");
  ASSERT_TRUE(replaceFile(folder.file("a.tv1"), std::string_view()));
  settings.setString("Recent File List", "File1", folder.file("a.tv1"));
  settings.setString("Recent File List", "File2", "/data/b.tv1");
  const QList<QAction*> files = recent();
  ASSERT_EQ(files.size(), 2);
  EXPECT_EQ(files[0]->text(), "&1 a.tv1");
  EXPECT_TRUE(files[0]->isEnabled());
  EXPECT_EQ(files[1]->text(), "&2 b.tv1");
  EXPECT_FALSE(files[1]->isEnabled()) << "it is gone";
  EXPECT_EQ(action(cmd::FileSave)->toolTip(), "Save (Ctrl+S)\nThis needs an open document.");
  makeImage(40, 30).setModified();
  settle();
  EXPECT_EQ(action(cmd::FileSave)->toolTip(), "Save (Ctrl+S)");
  EXPECT_EQ(action(cmd::FileSave)->statusTip(), "Saves the document in front.");
}

TEST_F(ProgramWindow, EachNamedIconIsDrawn) {
  for (const auto& [id, words] : window().commandActions().directory().all())
    if (*words.icon) {
      EXPECT_TRUE(hasIcon(words.icon)) << words.icon;
    }
  for (const auto& type : app->documents.types()) EXPECT_TRUE(hasIcon(type->face().icon));
}

TEST_F(ProgramWindow, ExpertModeShowsTheToolBars) {
  auto* bar = window().findChild<QToolBar*>("Main");
  ASSERT_NE(bar, nullptr);
  const bool before = app->expertMode != 0;
  EXPECT_EQ(bar->isVisible(), before);
  action(cmd::ExpertMode)->trigger();
  settle();
  EXPECT_EQ(bar->isVisible(), !before);
}

TEST_F(ProgramWindow, EachShortcutWorksWhereverTheKeyboardIs) {
  ZBasicDoc& image = makeImage(40, 30);
  settle();
  (void)app->runCommand(cmd::ViewExams);
  auto* list = window().findChild<QTreeWidget*>("exams");
  ASSERT_NE(list, nullptr);
  std::vector<int32_t> triggered;
  window().commandActions().onTriggered = [&](int32_t id) { triggered.push_back(id); };
  for (QWidget* focus : {static_cast<QWidget*>(&widgetOf(image)), static_cast<QWidget*>(list)}) {
    focus->activateWindow();
    focus->setFocus();
    ASSERT_TRUE(QTest::qWaitForWindowActive(focus));
    for (const auto& [id, words] : window().commandActions().directory().all()) {
      QAction* shown = action(id);
      if (shown->shortcut().isEmpty() || !shown->isEnabled()) continue;
      triggered.clear();
      QTest::keySequence(focus, shown->shortcut());
      EXPECT_EQ(triggered, std::vector<int32_t>{id})
          << words.keys << " in " << focus->objectName().toStdString();
    }
  }
}

TEST_F(ProgramWindow, ClosingADocumentsWindowAsksWhenItHasChanged) {
  ZBasicDoc& d = makeImage(40, 30);
  d.setModified();
  host.answers = {Answer::Cancel, Answer::No};
  windowOf(d).close();
  settle();
  EXPECT_EQ(image(), &d);
  EXPECT_TRUE(windowOf(d).isVisible());
  windowOf(d).close();
  settle();
  EXPECT_EQ(image(), nullptr);
}

TEST_F(ProgramWindow, DocumentsThatFollowOthersCloseInAnyOrder) {
  std::vector<int> order{0, 1, 2, 3, 4};
  for (int turn = 0; turn < 10; ++turn) {
    std::rotate(order.begin(), order.begin() + 1, order.end());
    if (turn == 5) std::reverse(order.begin(), order.end());
    makeImage(40, 30).addDimension({3, 4}, 0);
    const ZBasicDoc* first = image();
    for (const int32_t id : {cmd::Histogram, cmd::DimensionListWindow, cmd::CalculateAverage}) {
      app->documents.activate(const_cast<ZBasicDoc&>(*first));
      (void)app->runCommand(id);
    }
    makeImage(20, 30);
    const std::vector<CDocument*> open = app->documents.documents();
    ASSERT_EQ(open.size(), order.size()) << "two images, histogram, dimension list, result table";
    for (const int i : order) {
      open[static_cast<size_t>(i)]->type()->discard(*open[static_cast<size_t>(i)]);
      QApplication::processEvents();
    }
  }
}

TEST_F(ProgramWindow, NothingClosesUnderADialog) {
  ZBasicDoc& d = makeImage(40, 30);
  windowOf(d).close();
  windows.closeMainFrame();
  QDialog dialog;
  laterBy(kManyTurns, dialog, [&] {
    EXPECT_EQ(image(), &d);
    EXPECT_TRUE(window().isVisible());
    dialog.reject();
  });
  dialog.exec();
  settle();
  EXPECT_EQ(image(), nullptr);
  EXPECT_FALSE(window().isVisible());
}

TEST_F(ProgramWindow, ADocumentOfAnotherExamThanTheSelectedSaysSo) {
  (void)app->db->newSubject("P-1");
  exams->selectSubject("P-1", "");
  ASSERT_TRUE(makeExamination("left ring", ""));
  ZBasicDoc& first = makeImage(40, 30);
  ASSERT_TRUE(first.onSaveDocument(app->dataFolder + "P-1-left_ring/a.tv1"));
  settle();
  EXPECT_EQ(windowOf(first).windowTitle(), "Image1 - P-1, left ring[*]");
  EXPECT_THAT(window().windowTitle().toStdString(), Not(HasSubstr("document of")));
  (void)app->db->newSubject("P-2");
  exams->selectSubject("P-2", "Ann");
  settle();
  EXPECT_THAT(window().windowTitle().toStdString(), StartsWith("P-2 Ann - document of P-1, left ring - "));
  makeImage(40, 30).subjectOfFile = "P-3";
  settle();
  EXPECT_THAT(window().windowTitle().toStdString(), StartsWith("P-2 Ann - document of P-3 - "));
  std::filesystem::copy(app->dataFolder + "P-1-left_ring", folder.file("copy"));
  exams->selectSubject("P-1", "");
  exams->selectExam(1, "P-1-left_ring");
  ASSERT_NE(app->openDocumentFile(folder.file("copy/a.tv1")), nullptr);
  settle();
  EXPECT_THAT(window().windowTitle().toStdString(), HasSubstr("document of P-1, from another folder - "));
}

TEST_F(ProgramWindow, AClickThatBringsAWindowToTheFrontDoesNothingElse) {
  ProbeView& first = probe();
  ViewWidget& behind = widgetOf(*app->documents.active());
  (void)makeImage(40, 30);
  settle();
  first.seen.clear();
  QTest::mouseClick(behind.viewport(), Qt::LeftButton, {}, {5, 5});
  settle();
  EXPECT_EQ(behind.view(), window().documentWindows().activeView());
  EXPECT_THAT(first.seen, ElementsAre("activate"));
  QTest::mouseClick(behind.viewport(), Qt::LeftButton, {}, {5, 5});
  EXPECT_THAT(first.seen, Contains("down 5,5 b1"));
}

TEST_F(ProgramWindow, StrayKeysMeetNoFieldWhileNothingIsOpen) {
  EXPECT_EQ(window().focusWidget(), window().centralWidget());
  ZBasicDoc& image = makeImage(40, 30);
  process.imageTemplate->discard(image);
  EXPECT_EQ(window().focusWidget(), window().centralWidget());
}

TEST_F(ProgramWindow, WithNothingOpenItSaysHowToBegin) {
  auto* page = window().findChild<QWidget*>("startPage");
  ASSERT_NE(page, nullptr);
  EXPECT_TRUE(page->isVisible());
  for (const int32_t id : {cmd::SelectSubject, cmd::FileOpen, cmd::Demonstration, cmd::HelpContents})
    EXPECT_NE(page->findChild<QPushButton*>(QString("start%1").arg(id)), nullptr) << id;
  ZBasicDoc& image = makeImage(40, 30);
  settle();
  EXPECT_FALSE(page->isVisible());
  ASSERT_TRUE(image.onSaveDocument(folder.file("hand.tv1")));
  process.imageTemplate->discard(image);
  settle();
  EXPECT_TRUE(page->isVisible());
  const auto buttons = page->findChildren<QPushButton*>();
  const auto recent = std::ranges::find(buttons, QString("hand.tv1"), &QPushButton::text);
  ASSERT_NE(recent, buttons.end());
  (*recent)->click();
  settle();
  EXPECT_TRUE(QTest::qWaitFor([this] { return app->documents.active() != nullptr; }, kLongestMs));
}

TEST_F(ProgramWindow, ARowThatWasAddedHasAWayToItsTable) {
  ZBasicDoc& image = makeImage(40, 30);
  ASSERT_NE(addResultRow(kImageResults, {}), nullptr);
  EXPECT_EQ(app->documents.active(), &image);
  EXPECT_EQ(host.notices.back(), "Row added to Image Results");
  host.lastNotice.follow();
  EXPECT_EQ(app->documents.active()->title(), "Image Results");
}

TEST_F(ProgramWindow, WhatWasDoneIsToldInALineWithItsLink) {
  bool followed = false;
  windows.ports.messages.notice({"Row added", "Show", [&] { followed = true; }});
  auto* line = window().findChild<QWidget*>("notice");
  EXPECT_TRUE(line->isVisible());
  EXPECT_EQ(line->findChild<QLabel*>()->text(), "Row added");
  line->findChild<QPushButton*>()->click();
  EXPECT_TRUE(QTest::qWaitFor([&] { return followed; }, kLongestMs));
  EXPECT_FALSE(line->isVisible());
  process.quietMode = 1;
  windows.ports.messages.notice({"Unseen"});
  process.quietMode = 0;
  EXPECT_FALSE(line->isVisible());
}

TEST_F(ProgramWindow, TheManualIsReadWithinTheProgram) {
  ASSERT_TRUE(makeFolderPath(folder.file("help")));
  const auto write = [this](const char* page, std::string_view text) {
    ASSERT_TRUE(replaceFile(folder.file("help/") + page, text));
  };
  write("index.html", "<nav>all</nav><table><tr><td><a href=\"image.html\">Images</a></td></tr></table>");
  write("image.html", "<h1>Images</h1><p>loops and loops</p>");
  makeImage(40, 30);
  action(cmd::HelpContents)->trigger();
  auto* help = window().findChild<QDialog*>("help");
  ASSERT_NE(help, nullptr);
  auto* text = help->findChild<QTextBrowser*>();
  EXPECT_THAT(text->toPlainText().toStdString(), HasSubstr("loops and loops"));
  auto* words = help->findChild<QLineEdit*>();
  words->setText("LOOPS");
  QTest::keyClick(words, Qt::Key_Return);
  EXPECT_EQ(text->textCursor().selectedText(), "loops");
  help->findChild<QListWidget*>()->setCurrentRow(0);
  EXPECT_EQ(text->source().fileName(), "index.html");
  EXPECT_THAT(text->toPlainText().toStdString(), Not(HasSubstr("all")));
  text->backward();
  EXPECT_EQ(text->source().fileName(), "image.html");
}

TEST_F(ProgramWindow, WhatTakesKeysHasANameForScreenReaders) {
  makeImage(40, 30);
  settle();
  for (QWidget* each : window().findChildren<QWidget*>()) {
    if (!each->isVisible() || each->focusPolicy() == Qt::NoFocus || !each->parentWidget()) continue;
    if (dynamic_cast<ViewWidget*>(each) || qobject_cast<QMdiArea*>(each) || qobject_cast<QScrollArea*>(each))
      continue;
    QAccessibleInterface* told = QAccessible::queryAccessibleInterface(each);
    EXPECT_FALSE(told && told->text(QAccessible::Name).isEmpty())
        << each->metaObject()->className() << " " << each->objectName().toStdString() << " in "
        << each->parentWidget()->metaObject()->className();
  }
}

TEST_F(ProgramWindow, FormsThatFileSomethingNameTheSubject) {
  app->db->newSubject("S-1");
  exams->selectSubject("S-1", "");
  ASSERT_TRUE(makeExamination("left", ""));
  ZBasicDoc& first = makeImage(40, 30);
  host.paths = {std::nullopt, std::nullopt};
  EXPECT_FALSE(first.saveAs());
  EXPECT_THAT(host.whoseIsSaved, StartsWith("Subject S-1; exam 1 of "));
  host.whoseIsSaved.clear();
  (void)app->runCommand(cmd::ExportPicture);
  EXPECT_THAT(host.whoseIsSaved, EndsWith(", left"));
  first.setModified();
  makeImage(40, 30).setModified();
  host.fills.push_back([](Form& form) {
    EXPECT_THAT(form.fields().front().label, StartsWith("Subject S-1; exam 1 of "));
    return false;
  });
  EXPECT_FALSE(app->documents.settleChanges());
  app->documents.discardAll();
}

TEST_F(ProgramWindow, TheRecordBarFollowsTheExamThatIsSelected) {
  app->db->newSubject("S-1");
  exams->selectSubject("S-1", "");
  for (const char* site : {"left", "right"}) ASSERT_TRUE(makeExamination(site, ""));
  (void)app->runCommand(cmd::ViewExams);
  frame->examList().select(0);
  auto* name = window().findChild<QLineEdit*>("basename");
  EXPECT_EQ(window().findChild<QLineEdit*>("recorddir")->text().toStdString(), process.recordDir);
  QTest::keyClicks(name, "x");
  EXPECT_EQ(process.recordDir, app->dataFolder + "S-1-left");
  EXPECT_THAT(window().windowTitle().toStdString(), StartsWith("S-1, S-1-left - "));
}

TEST_F(ProgramWindow, TheStatusWindowsCloseBoxTakesTheTickAway) {
  EXPECT_EQ(app->runCommand(cmd::StatusWindow), CommandResult::Done);
  settle();
  for (QWidget* each : QApplication::topLevelWidgets())
    if (each->windowTitle() == "Status") each->close();
  settle();
  EXPECT_FALSE(frame->bars().statusWindow);
}

TEST_F(ProgramWindow, WhatNeedsACameraSaysSo) {
  const auto* save = window().findChild<QAction*>(QString::number(cmd::SaveImage));
  ASSERT_NE(save, nullptr);
  EXPECT_THAT(save->statusTip().toStdString(), HasSubstr("needs the live video"));
}

TEST_F(ProgramWindow, AViewThatIsGoneTakesNoFilesOfOthers) {
  const std::string path = savedImage("other.tv1");
  app->receiveAutoLoad(path);
  ASSERT_NE(process.autoLoadView, nullptr);
  process.imageTemplate->discard(static_cast<ZBasicDoc&>(process.autoLoadView->document()));
  EXPECT_EQ(process.autoLoadView, nullptr) << "the next view may have its address";
}

TEST_F(ProgramWindow, ClosingTheProgramAsksForEachChangeBeforeAnythingGoes) {
  makeImage(40, 30).setModified();
  makeImage(40, 30).setModified();
  (void)makeImage(40, 30);
  host.fill({{"Do", "Cancel"}});
  EXPECT_FALSE(window().close());
  EXPECT_EQ(app->documents.documents().size(), 3u);
  EXPECT_EQ(settings.getInt("MainWindow", "w", -1), -1);
  window().showNormal();
  window().setGeometry(50, 60, 900, 700);
  host.fill({{"Do", "Discard all"}});
  EXPECT_TRUE(window().close());
  EXPECT_TRUE(app->documents.documents().empty());
  const std::pair<const char*, int> kept[] = {{"left", 50}, {"top", 60}, {"w", 900}, {"h", 700}};
  for (const auto& [key, value] : kept) EXPECT_EQ(settings.getInt("MainWindow", key, -1), value) << key;
}

TEST_F(ProgramWindow, ClosingTheProgramAsksBeforeItStopsASave) {
  struct Saving : Job {
    std::string title() const override { return "Saving"; }
    Progress progress() const override { return {}; }
    std::string lostIfStopped() const override { return "a is still being saved."; }
    bool step() override { return true; }
    void end(bool) override {}
  };
  ZBasicDoc& saved = makeImage(40, 30);
  saved.setModified(false);
  saved.start(std::make_unique<Saving>());
  host.answers = {Answer::No};
  EXPECT_FALSE(window().close());
  EXPECT_TRUE(saved.isBusy());
  host.answers = {Answer::Yes};
  EXPECT_TRUE(window().close());
  EXPECT_TRUE(app->documents.documents().empty());
}

TEST_F(ProgramWindow, TheWindowComesBackWhereItWasAndAMinimisedOneKeepsItsPlace) {
  EXPECT_TRUE(window().isMaximized()) << "the whole screen at first";
  window().showNormal();
  window().setGeometry(40, 30, 1000, 800);
  window().close();
  end();
  begin();
  EXPECT_EQ(window().geometry(), QRect(40, 30, 1000, 800));
  window().setGeometry(90, 90, 500, 400);
  window().showMinimized();
  window().close();
  EXPECT_EQ(settings.getInt("MainWindow", "left", -1), 40);
}

TEST_F(ProgramWindow, DroppedFilesOpenAndSeveralAreTiled) {
  const std::string first = savedImage("one.tv1");
  const std::string second = savedImage("two.tv1");
  drop({first, second});
  ASSERT_EQ(app->documents.documents().size(), 2u);
  const QRect a = windowOf(*app->documents.documents()[0]).geometry();
  const QRect b = windowOf(*app->documents.documents()[1]).geometry();
  EXPECT_FALSE(a.intersects(b));
  EXPECT_EQ(a.width() + b.width(), windowOf(*image()).mdiArea()->viewport()->width());
}

TEST_F(ProgramWindow, ADroppedStillBecomesAnImageDocumentAndAnythingElseIsSaid) {
  ZBasicDoc& d = makeImage(40, 30);
  const std::string still = folder.file("still.bmp");
  ASSERT_TRUE(d.saveImage(still));
  d.setModified(false);
  process.imageTemplate->discard(d);
  drop({still});
  ASSERT_NE(image(), nullptr);
  EXPECT_EQ(image()->theImage()->width, 40);
  ASSERT_TRUE(replaceFile(folder.file("broken.bmp"), std::string_view("BM?")));
  ASSERT_TRUE(replaceFile(folder.file("words.txt"), std::string_view("?")));
  const size_t told = host.messages.size();
  window().openFiles({folder.file("broken.bmp"), folder.file("words.txt")});
  EXPECT_EQ(app->documents.documents().size(), 1u);
  EXPECT_EQ(host.messages.size(), told + 2);
}

TEST_F(ProgramWindow, TheManualOpensAtThePageOfTheWindowInFront) {
  EXPECT_EQ(helpPage(nullptr), "");
  ASSERT_TRUE(makeFolderPath(folder.file("help")));
  for (const char* page : {"index.html", "image.html", "chart.html", "xy-chart.html"})
    ASSERT_TRUE(replaceFile(folder.file("help/") + page, std::string_view("<html>")));
  EXPECT_EQ(helpPage(nullptr), folder.file("help/index.html"));
  EXPECT_EQ(helpPage(&makeImage(4, 4)), folder.file("help/image.html"));
  EXPECT_EQ(helpPage(process.resultTemplate->newDocument()), folder.file("help/index.html"));
  for (const auto& [kind, page] : {std::pair{process.reviewTemplate, "help/chart.html"},
                                   {process.profileTemplate, "help/chart.html"},
                                   {process.xyChartTemplate, "help/xy-chart.html"}})
    EXPECT_EQ(helpPage(kind->newDocument()), folder.file(page));
}

TEST_F(ProgramWindow, AChartOpensWhereTheLastOneOfItsClassClosed) {
  const auto open = [] { return process.reviewTemplate->newDocument(); };
  CDocument* chart = open();
  ASSERT_NE(chart, nullptr);
  const QRect place(40, 30, 420, 310);
  windowOf(*chart).showNormal();
  windowOf(*chart).setGeometry(place);
  chart->setModified(false);
  ASSERT_TRUE(app->documents.close(*chart));
  EXPECT_EQ(settings.getInt("CReView", "left", 0), 40);
  EXPECT_EQ(settings.getInt("CReView", "bottom", 0), 340);
  EXPECT_EQ(settings.getInt("CReView", "showcmd", 0), 1);
  chart = open();
  CDocument* second = open();
  EXPECT_EQ(windowOf(*chart).geometry(), place);
  EXPECT_NE(windowOf(*second).geometry(), place) << "one would hide the other";
  // A place that no screen has is brought back.
  second->setModified(false);
  chart->setModified(false);
  ASSERT_TRUE(app->documents.close(*second));
  ASSERT_TRUE(app->documents.close(*chart));
  for (const auto& [key, value] :
       {std::pair{"left", 2'000'000'000}, {"right", 2'000'000'900}, {"top", -90'000}, {"bottom", -80'000}})
    settings.setInt("CReView", key, value);
  chart = open();
  EXPECT_TRUE(windowOf(*chart).parentWidget()->rect().contains(windowOf(*chart).geometry()));
}

}  // namespace
}  // namespace tarnvisor

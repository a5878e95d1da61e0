#include <QComboBox>
#include <QCompleter>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QTableWidget>
#include <QTimer>
#include <QTreeView>
#include <QTreeWidget>

#include "desktop/dialogs.h"
#include "desktop/dialogtest.h"
#include "exams/commandids.h"

namespace tarnvisor {
namespace {

class SubjectEntry : public DialogTest {
 protected:
  void SetUp() override {
    DialogTest::SetUp();
    for (const char* subject : {"S-1", "S-17", "T-2"}) {
      app->db->newSubject(subject);
      app->db->updateSubject(subject, std::string("name of ") + subject, "surname", "first\r\nsecond");
    }
  }
  void open() {
    window = std::make_unique<SubjectWindow>(dialog.emplace(), nullptr);
    window->show();
    id = find<QComboBox>(*window, "id")->lineEdit();
    name = find<QLineEdit>(*window, "name");
    surname = find<QLineEdit>(*window, "surname");
  }
  void type(const char* text) { QTest::keyClicks(id, text); }
  void key(Qt::Key k) { QTest::keyClick(id, k); }
  void typeWhole(const char* text) {
    id->selectAll();
    type(text);
  }
  std::string nameOf(const char* subject) { return app->db->readSubject(subject)->name; }

  std::optional<SubjectDialog> dialog;
  std::unique_ptr<SubjectWindow> window;
  QLineEdit* id = nullptr;
  QLineEdit* name = nullptr;
  QLineEdit* surname = nullptr;
};

TEST_F(SubjectEntry, OffersTheMatchesWhileTheTextStaysAsTyped) {
  open();
  auto* box = find<QComboBox>(*window, "id");
  EXPECT_EQ(box->count(), 3);
  EXPECT_EQ(id->maxLength(), 65535);
  type("S");
  EXPECT_EQ(box->count(), 2);
  EXPECT_EQ(id->text(), "S");
  EXPECT_EQ(name->text(), "");
  EXPECT_FALSE(isEnabled(*window, "Start New Examination"));
  EXPECT_TRUE(isEnabled(*window, "Add as new ID"));
  type("-1");  // a subject, and the beginning of another
  EXPECT_EQ(id->text(), "S-1");
  EXPECT_EQ(name->text(), "");
  EXPECT_TRUE(isEnabled(*window, "View Examinations"));
  EXPECT_FALSE(isEnabled(*window, "Add as new ID"));
  type("7");
  EXPECT_EQ(name->text(), "name of S-17");
  EXPECT_EQ(exams->subjectId(), "S-17");
}

TEST_F(SubjectEntry, AnIdThatBeginsAnotherIsTakenAsItWasTyped) {
  open();
  type("T");
  EXPECT_EQ(id->text(), "T");
  EXPECT_EQ(name->text(), "") << "T-2 is only offered";
  QTest::keyClick(find<QComboBox>(*window, "id"), Qt::Key_Return);  // which has the focus
  EXPECT_TRUE(window->isVisible());
  EXPECT_EQ(exams->subjectId(), "T");
}

TEST_F(SubjectEntry, EnterTakesTheTypedIdThoughAnotherStandsFirstInTheList) {
  ASSERT_TRUE(app->db->newSubject("12") && app->db->newSubject("123"));
  open();
  type("12");
  QWidget* list = QApplication::activePopupWidget();
  QTest::keyClick(list ? list : id, Qt::Key_Return);
  key(Qt::Key_Return);
  EXPECT_EQ(exams->subjectId(), "12");
}

TEST_F(SubjectEntry, AddsAnIdAndKeepsWhatWasTypedBefore) {
  open();
  type("New One");
  name->setFocus();
  QTest::keyClicks(name, "Ada");
  EXPECT_FALSE(isEnabled(*window, "Save / Update Details"));
  click(*window, "Add as new ID");
  EXPECT_EQ(id->text(), "New_One");
  ASSERT_TRUE(app->db->readSubject("New_One"));
  EXPECT_EQ(name->text(), "Ada");
  EXPECT_EQ(nameOf("New_One"), "");
  click(*window, "Save / Update Details");
  EXPECT_EQ(nameOf("New_One"), "Ada");
  EXPECT_FALSE(isEnabled(*window, "Save / Update Details"));
  QTest::keyClicks(name, " Byron");
  click(*window, "Start New Examination");  // unasked: the subject is new
  EXPECT_EQ(nameOf("New_One"), "Ada Byron");
  EXPECT_TRUE(isEnabled(*window, "Start New Examination"));
}

TEST_F(SubjectEntry, AsksBeforeChangedDetailsAreLeft) {
  const std::tuple<Answer, bool, const char*> cases[] = {{Answer::Cancel, true, "name of S-17"},
                                                         {Answer::No, false, "name of S-17"},
                                                         {Answer::Yes, false, "name of S-17 changed"}};
  for (const auto& [answer, stays, kept] : cases) {
    for (const bool byButton : {true, false}) {
      app->db->updateSubject("S-17", "name of S-17", "surname", "");
      exams->selectSubject("S-17", "");
      open();
      QTest::keyClicks(name, " changed");
      host.answers.push_back(answer);
      if (byButton)
        click(*window, "View Examinations");
      else
        QTest::keyClick(window.get(), Qt::Key_Escape);
      EXPECT_EQ(host.messages.back(), "Save changes to the details of S-17?");
      EXPECT_EQ(window->isVisible(), stays);
      EXPECT_EQ(nameOf("S-17"), kept);
      if (stays) {
        EXPECT_EQ(name->text(), "name of S-17 changed");
      }
    }
  }
}

TEST_F(SubjectEntry, AsksBeforeAnotherIdTakesThePlaceOfChangedDetails) {
  exams->selectSubject("S-17", "");
  open();
  QTest::keyClicks(surname, "!");
  host.answers.push_back(Answer::Cancel);
  typeWhole("T");
  EXPECT_EQ(id->text(), "S-17");
  EXPECT_EQ(surname->text(), "surname!");
  host.answers.push_back(Answer::Yes);
  typeWhole("T");
  type("-2");
  EXPECT_EQ(id->text(), "T-2");
  EXPECT_EQ(app->db->readSubject("S-17")->surname, "surname!");
  EXPECT_EQ(app->db->readSubject("T-2")->surname, "surname");
}

TEST_F(SubjectEntry, DetailsWithoutAnIdAreNotDroppedSilently) {
  open();
  QTest::keyClicks(name, "Ada");
  host.answers.push_back(Answer::Yes);
  QTest::keyClick(window.get(), Qt::Key_Escape);
  EXPECT_TRUE(window->isVisible());
  EXPECT_EQ(name->text(), "Ada");
}

TEST_F(SubjectEntry, EnterChoosesTheSubjectAndThenStarts) {
  open();
  type("S-1");
  key(Qt::Key_Return);
  EXPECT_TRUE(window->isVisible());
  EXPECT_EQ(name->text(), "name of S-1");
  key(Qt::Key_Return);
  EXPECT_FALSE(window->isVisible());
  EXPECT_EQ(window->result(), SubjectDialog::Result::StartNewExamination);
}

TEST_F(SubjectEntry, LineEndsOfOtherSystemsAreNoChange) {
  exams->selectSubject("T-2", "");
  open();
  EXPECT_FALSE(isEnabled(*window, "Save / Update Details"));
  QTest::keyClick(window.get(), Qt::Key_Escape);
  EXPECT_FALSE(window->isVisible());
}

TEST_F(SubjectEntry, AnIdBeyondThoseOfferedCountsOnceItIsTyped) {
  ASSERT_TRUE(app->db->newSubject("P-104"));
  for (int i = 0; i < 31; ++i) ASSERT_TRUE(app->db->newSubject("P-104" + std::to_string(i)));
  SqliteDatabase(app->dbPath).execute("update patients set lastused='2000-01-01' where id='P-104';");
  open();
  type("P-104");
  EXPECT_FALSE(isEnabled(*window, "Add as new ID"));
  key(Qt::Key_Return);
  EXPECT_EQ(exams->subjectId(), "P-104");
}

TEST_F(SubjectEntry, FindsASubjectByWordsOfItsDetailsAmongAll) {
  app->db->updateSubject("S-17", "Ada", "Löwe", "");
  ASSERT_TRUE(app->db->setPerson("S-17", {"1970-02-03", "f"}));
  open();
  auto* search = find<QLineEdit>(*window, "search");
  auto* list = find<QTreeView>(*window, "subjects");
  EXPECT_EQ(list->model()->rowCount(), 3);
  for (const char* words : {"ada LÖWE", "3.02.1970", "s-17"}) {
    search->clear();
    QTest::keyClicks(search, QString::fromUtf8(words));
    EXPECT_EQ(list->model()->rowCount(), 1) << words;
  }
  QTest::keyClick(search, Qt::Key_Return);
  EXPECT_EQ(exams->subjectId(), "S-17");
  EXPECT_EQ(find<QLineEdit>(*window, "born")->text(), "1970-02-03");
  search->clear();
  list->setCurrentIndex(list->model()->index(0, 0));
  QTest::keyClick(list, Qt::Key_Return);
  EXPECT_EQ(exams->subjectId(), list->model()->index(0, 0).data().toString().toStdString());
  EXPECT_TRUE(window->isVisible());
}

TEST_F(SubjectEntry, EscapeLeavesTheSelectionAsItWas) {
  exams->selectSubject("S-17", "Ada");
  ASSERT_TRUE(makeExamination("left", ""));
  const int32_t exam = exams->examId();
  open();
  typeWhole("T-2");
  key(Qt::Key_Return);
  QTest::keyClick(window.get(), Qt::Key_Escape);
  dialog->finish(window->result());
  EXPECT_EQ(exams->subjectId(), "S-17");
  EXPECT_EQ(exams->examId(), exam);
  EXPECT_EQ(process.recordDir, app->dataFolder + "S-17-left");
}

TEST_F(SubjectEntry, CancelAsksBeforeItStopsAnExamination) {
  exams->selectSubject("S-17", "Ada");
  ASSERT_TRUE(makeExamination("left", ""));
  open();
  host.answers.push_back(Answer::No);
  click(*window, "Cancel");
  EXPECT_EQ(host.messages.back(), "Stop working with S-17?");
  EXPECT_TRUE(window->isVisible());
  host.answers.push_back(Answer::Yes);
  click(*window, "Cancel");
  EXPECT_EQ(window->result(), SubjectDialog::Result::Cancel);
}

TEST_F(SubjectEntry, KeepsDateOfBirthAndSex) {
  exams->selectSubject("T-2", "");
  open();
  auto* born = find<QLineEdit>(*window, "born");
  QTest::keyClicks(born, "30.2.1970");
  click(*window, "Save / Update Details");
  EXPECT_EQ(host.messages.back(), "\"30.2.1970\" is no date of birth: write it as 1970-02-03 or 3.2.1970.");
  born->clear();
  QTest::keyClicks(born, "3.2.1970");
  find<QComboBox>(*window, "sex")->setCurrentText("female");
  click(*window, "Save / Update Details");
  EXPECT_EQ(app->db->person("T-2"), (PersonRow{"1970-02-03", "f"}));
  EXPECT_FALSE(isEnabled(*window, "Save / Update Details"));
}

TEST_F(SubjectEntry, TabGoesFromTheIdThroughTheDetailsToTheButtons) {
  exams->selectSubject("T-2", "");
  open();
  QStringList order;
  QWidget* at = id;
  QTest::keyClick(at, Qt::Key_Tab);
  for (int i = 0; i < 7 && window->focusWidget(); ++i) {
    auto* b = qobject_cast<QPushButton*>(window->focusWidget());
    order << (b ? b->text().remove('&') : QString(window->focusWidget()->metaObject()->className()));
    QTest::keyClick(window->focusWidget(), Qt::Key_Tab);
  }
  EXPECT_EQ(order.join(','),
            "QLineEdit,QLineEdit,QLineEdit,QComboBox,QPlainTextEdit,Start New Examination,View Examinations");
}

TEST_F(SubjectEntry, WithoutADatabaseThereIsNothingToTypeInto) {
  app->closeDatabase();
  open();
  EXPECT_EQ(find<QComboBox>(*window, "id")->count(), 0);
  EXPECT_FALSE(name->isEnabled());
  type("S-1");
  for (const char* words :
       {"Add as new ID", "Save / Update Details", "Start New Examination", "View Examinations"})
    EXPECT_FALSE(isEnabled(*window, words)) << words;
  EXPECT_EQ(find<QPlainTextEdit>(*window, "description")->toPlainText(), "");
}

TEST_F(SubjectEntry, RunsAsTheFaceOfTheCommand) {
  CBasicMainFrame frame(*app);
  QWidget main;
  DesktopDialogs dialogs(frame, &main);
  exams->selectSubject("T-2", "");
  QTimer::singleShot(0, [] {
    QWidget* top = QApplication::activeModalWidget();
    ASSERT_NE(top, nullptr);
    EXPECT_EQ(top->windowTitle(), "Select Subject");
    EXPECT_TRUE(find<QPlainTextEdit>(*top, "description")->toPlainText().startsWith("Ver:2\nTarn:"));
    click(*top, "Cancel");
  });
  (void)app->runCommand(cmd::SelectSubject);
  EXPECT_EQ(exams->subjectId(), "");
}

class ExamChoice : public DialogTest {
 protected:
  void SetUp() override {
    DialogTest::SetUp();
    app->db->newSubject("S-1");
    exams->selectSubject("S-1", "");
    ASSERT_TRUE(makeExamination("left", "the first"));
    ASSERT_TRUE(makeExamination("right", "two\nlines"));
    makeImage(20, 10);
    ASSERT_TRUE(image()->onSaveDocument(app->dataFolder + exams->examFolder() + "/shot.tv1"));
    process.imageTemplate->discard(*image());
  }
};

TEST_F(ExamChoice, ListsAResultThatIsWrittenMeanwhile) {
  CBasicMainFrame frame(*app);
  QWidget main;
  DesktopDialogs dialogs(frame, &main);
  (void)app->runCommand(cmd::ViewExams);
  makeImage(20, 10);
  ASSERT_TRUE(image()->onSaveDocument(theExams().folder() + "later.tv1"));
  auto* results = find<QTreeWidget>(main, "results");
  ASSERT_EQ(results->topLevelItemCount(), 2);
  EXPECT_EQ(results->topLevelItem(1)->text(2), "later.tv1");
}

TEST_F(ExamChoice, SelectsAnExamAndOpensItsResults) {
  CBasicMainFrame frame(*app);
  QWidget main;
  DesktopDialogs dialogs(frame, &main);
  EXPECT_FALSE(frame.examFace->isOpen());
  (void)app->runCommand(cmd::ViewExams);
  ASSERT_TRUE(frame.examFace->isOpen());
  QWidget* window = find<QTreeWidget>(main, "exams")->window();
  auto* examList = find<QTreeWidget>(*window, "exams");
  auto* results = find<QTreeWidget>(*window, "results");
  EXPECT_EQ(find<QLabel>(*window)->text(),
            "Subject S-1: " + QString::fromStdString(theExams().subjectName()));
  ASSERT_EQ(examList->topLevelItemCount(), 2);
  EXPECT_EQ(examList->currentItem()->text(1), "right");
  EXPECT_EQ(examList->currentItem()->text(3), "two lines");
  EXPECT_EQ(examList->currentItem()->toolTip(3), "two\nlines");
  EXPECT_GE(examList->columnWidth(4), examList->fontMetrics().horizontalAdvance("S-1-right"));
  ASSERT_EQ(results->topLevelItemCount(), 1);
  EXPECT_EQ(results->topLevelItem(0)->text(2), "shot.tv1");

  const auto clickRow = [](QTreeWidget* list, int row) {
    QTest::mouseClick(list->viewport(), Qt::LeftButton, {},
                      list->visualItemRect(list->topLevelItem(row)).center());
  };
  clickRow(examList, 0);
  EXPECT_EQ(theExams().examFolder(), "S-1-left");
  EXPECT_EQ(process.recordDir, app->dataFolder + "S-1-left");
  EXPECT_EQ(results->topLevelItemCount(), 0);
  clickRow(examList, 1);
  ASSERT_EQ(results->topLevelItemCount(), 1);

  const QPoint at = results->visualItemRect(results->topLevelItem(0)).center();
  clickRow(results, 0);
  EXPECT_EQ(image(), nullptr);
  QTest::mouseDClick(results->viewport(), Qt::LeftButton, {}, at);
  ASSERT_NE(image(), nullptr);
  EXPECT_EQ(image()->image->width, 20);
  EXPECT_EQ(host.calls.back(), "tile");
  process.imageTemplate->discard(*image());
  QTest::keyClick(results, Qt::Key_Return);
  EXPECT_NE(image(), nullptr);

  (void)posted();
  click(*window, "Select Subject");
  click(*window, "Close All");
  EXPECT_THAT(posted(), ElementsAre(32982, 32802));
  QTest::keyClick(window, Qt::Key_Escape);
  EXPECT_FALSE(frame.examFace->isOpen());
}

TEST_F(ExamChoice, ShowsAllExamsWithPicturesOfTheirDocuments) {
  CBasicMainFrame frame(*app);
  QWidget main;
  DesktopDialogs dialogs(frame, &main);
  ASSERT_TRUE(app->db->insertResult(theExams().examId(), "lost.tv1", "9, capillary density"));
  (void)app->runCommand(cmd::ExamsOfSubject);
  auto* table = find<QTableWidget>(main, "overview");
  ASSERT_EQ(table->rowCount(), 2);
  EXPECT_EQ(table->item(0, 1)->text(), "left");
  EXPECT_EQ(table->item(1, 3)->text(), "capillary density 9");
  auto* strip = qobject_cast<QListWidget*>(table->cellWidget(1, 4));
  ASSERT_EQ(strip->count(), 2);
  const auto middle = [strip](int row) {
    const QImage icon = strip->item(row)->icon().pixmap(128, 96).toImage();
    return icon.pixelColor(icon.width() / 2, icon.height() / 2).alpha();
  };
  EXPECT_TRUE(QTest::qWaitFor([&] { return middle(0) == 255; }, 60'000));
  EXPECT_THAT(host.messages, IsEmpty()) << "what can't be read has no picture, and no words";
  EXPECT_THAT(app->documents.documents(), IsEmpty());
  table->selectRow(0);
  EXPECT_EQ(theExams().examFolder(), "S-1-left");
  table->selectRow(1);
  const QPoint at = strip->visualItemRect(strip->item(0)).center();
  QTest::mouseClick(strip->viewport(), Qt::LeftButton, {}, at);
  QTest::mouseDClick(strip->viewport(), Qt::LeftButton, {}, at);
  EXPECT_TRUE(QTest::qWaitFor([&] { return image() != nullptr; }, 60'000));
}

}  // namespace
}  // namespace tarnvisor

// The ports to the desktop, the message loop among Qt's events, the command line.

#include <sys/resource.h>

#include <QClipboard>
#include <QDialog>
#include <QFileDialog>
#include <QImage>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QMimeData>
#include <QPlainTextEdit>
#include <csignal>

#include "base/version.h"
#include "desktop/dialogtest.h"
#include "desktop/opening.h"
#include "desktop/qthost.h"
#include "drawing/textpages.h"

namespace tarnvisor {
namespace {

TEST(QtFilters, PairsOfWordsAndPatternsBecomeQtsFilters) {
  EXPECT_EQ(qtFilters("ZZ files|*.tv1;*.dtv|Images (*.tv1)|*.tv1|All files (*.*)|*.*||"),
            (QStringList{"ZZ files (*.tv1 *.dtv)", "Images (*.tv1)", "All files (*)"}));
  EXPECT_TRUE(qtFilters("").isEmpty());
}

// What the message box of a question says, answered by a button or closed.
Answer answered(Buttons buttons, QMessageBox::StandardButton button, QString* title = nullptr) {
  QTimer::singleShot(0, [&] {
    auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
    ASSERT_NE(box, nullptr);
    if (title) {
      EXPECT_EQ(box->text(), "a <b>text</b>");
      *title = box->windowTitle();
    }
    if (button == QMessageBox::NoButton)
      box->close();
    else
      box->button(button)->click();
  });
  return QtMessages().show("a <b>text</b>", buttons, Icon::Question);
}

TEST(QtMessages, EachButtonIsItsAnswerAndClosingLosesNothing) {
  QString title;
  EXPECT_EQ(answered(Buttons::Ok, QMessageBox::Ok, &title), Answer::Ok);
  EXPECT_EQ(title, programTitle().c_str());
  EXPECT_EQ(answered(Buttons::YesNoCancel, QMessageBox::Yes), Answer::Yes);
  EXPECT_EQ(answered(Buttons::YesNoCancel, QMessageBox::No), Answer::No);
  EXPECT_EQ(answered(Buttons::YesNoCancel, QMessageBox::NoButton), Answer::Cancel);
  EXPECT_EQ(answered(Buttons::YesNo, QMessageBox::NoButton), Answer::No);
  EXPECT_EQ(answered(Buttons::OkCancel, QMessageBox::NoButton), Answer::Cancel);
  EXPECT_EQ(answered(Buttons::Ok, QMessageBox::NoButton), Answer::Ok);
}

TEST(QtChoosers, BeginWhereSomethingIsLeftOfAFolderThatIsGone) {
  TestHost host;
  const TempFolder folder;
  QTimer::singleShot(0, qApp, [&] {
    auto* dialog = qobject_cast<QFileDialog*>(QApplication::activeModalWidget());
    ASSERT_NE(dialog, nullptr);
    EXPECT_EQ(dialog->directory().absolutePath().toStdString() + "/", withSeparator(folder.path()));
    EXPECT_EQ(dialog->findChild<QLineEdit*>()->text(), "") << "no name that can't be chosen";
    dialog->reject();
  });
  EXPECT_FALSE(QtChoosers().chooseFolder("Data", folder.file("gone/tarn.db")));
}

TEST(QtChoosers, ShowWhatIsToldOfTheSelectedFile) {
  TestHost host;
  const TempFolder folder;
  ASSERT_TRUE(replaceFile(folder.file("a.hdr"), std::string_view("x")));
  QTimer::singleShot(0, qApp, [&] {
    auto* dialog = qobject_cast<QFileDialog*>(QApplication::activeModalWidget());
    ASSERT_NE(dialog, nullptr);
    auto* field = dialog->findChild<QPlainTextEdit*>("preview");
    ASSERT_NE(field, nullptr);
    Q_EMIT dialog->currentChanged(folder.file("a.hdr").c_str());
    EXPECT_EQ(field->toPlainText(), "told of a.hdr");
    Q_EMIT dialog->currentChanged(folder.path().c_str());
    EXPECT_EQ(field->toPlainText(), "");
    dialog->reject();
  });
  const auto told = [](const std::string& path) { return "told of " + fileNameOf(path); };
  EXPECT_FALSE(QtChoosers().openFile({"Open", "", "", folder.path(), told}));
}

TEST(QtChoosers, SayFirstWhoseTheFileIs) {
  TestHost host;
  const TempFolder folder;
  QTimer::singleShot(0, qApp, [&] {
    auto* dialog = qobject_cast<QFileDialog*>(QApplication::activeModalWidget());
    ASSERT_NE(dialog, nullptr);
    auto* whose = dialog->findChild<QLabel*>("whose");
    ASSERT_NE(whose, nullptr);
    EXPECT_TRUE(whose->isVisible());
    EXPECT_EQ(whose->y(), 0);
    dialog->reject();
  });
  EXPECT_FALSE(QtChoosers().saveFile({"Save As", "", "", folder.path(), {}, "Subject S-1"}));
}

TEST(QtWaitCursor, NestsAndMakesRoomForADialog) {
  QtWaitCursor wait;
  wait.begin();
  wait.begin();
  {
    const QtWaitCursor::Pause pause;
    EXPECT_EQ(QGuiApplication::overrideCursor()->shape(), Qt::ArrowCursor);
  }
  wait.end();
  EXPECT_EQ(QGuiApplication::overrideCursor()->shape(), Qt::WaitCursor);
  wait.end();
  wait.end();
  EXPECT_EQ(QGuiApplication::overrideCursor(), nullptr);
}

TEST(QtClipboard, TextAndOwnFormatsComeBackAndForeignDataDoesNot) {
  QtClipboard clipboard;
  clipboard.setText("a\tb\r\n");
  EXPECT_EQ(clipboard.text(), "a\tb\r\n");
  EXPECT_FALSE(clipboard.data("CDim"));
  EXPECT_FALSE(clipboard.bitmap());
  const std::vector<uint8_t> bytes{0, 1, 0xff, 0};
  EXPECT_EQ(clipboard.setData("CDim", bytes), ClipboardResult::Done);
  EXPECT_EQ(clipboard.data("CDim"), bytes);
  EXPECT_FALSE(clipboard.text());
  EXPECT_TRUE(QGuiApplication::clipboard()->mimeData()->hasFormat("application/x-tarnvisor-cdim"));
}

TEST(QtClipboard, APictureIsABitmapWithoutItsFileHeader) {
  struct Case {
    QImage::Format format;
    uint16_t bits;
    uint32_t colours;
  };
  const Case cases[] = {{QImage::Format_RGB32, 24, 0}, {QImage::Format_Grayscale8, 8, 256}};
  for (const Case& c : cases) {
    QImage picture(3, 2, c.format);
    picture.fill(c.bits == 24 ? Qt::red : Qt::gray);
    QGuiApplication::clipboard()->setImage(picture);
    const auto bytes = QtClipboard().bitmap();
    ASSERT_TRUE(bytes);
    ASSERT_EQ(bytes->size(), 40 + c.colours * 4 + (c.bits == 24 ? 12u : 4u) * 2);
    int32_t width = 0;
    uint16_t bits = 0;
    std::memcpy(&width, bytes->data() + 4, 4);
    std::memcpy(&bits, bytes->data() + 14, 2);
    EXPECT_EQ((*bytes)[0], 40);
    EXPECT_EQ(width, 3);
    EXPECT_EQ(bits, c.bits);
  }
}

TEST(QtPrinter, PagesGoToAFileAndAFileThatCantBeMadeIsSaid) {
  TestHost host;
  const TempFolder folder;
  const auto draw = [](PrintJob& job) {
    EXPECT_TRUE(job.canvas().isPrinter());
    EXPECT_EQ(job.pixelsPerInch(), 600);
    EXPECT_GT(job.pageSize().height, 5000);
    JobLines lines(job);
    EXPECT_GT(lines.linesPerPage(), 40);
    for (int page = 0; page < 3; ++page) {
      lines.beginPage();
      lines.text(1, 2, "words");
    }
    const uint32_t block = 0xff112233;
    job.canvas().pixels({&block, 1, 1, 1}, {100, 100, 900, 900});
  };
  const auto printTo = [&](const std::string& path) {
    QPrinter printer(QPrinter::HighResolution);
    printer.setResolution(600);
    printer.setOutputFormat(QPrinter::PdfFormat);
    printer.setOutputFileName(QString::fromStdString(path));
    return QtPrinter::drawOn(printer, draw);
  };
  EXPECT_TRUE(printTo(folder.file("pages.pdf")));
  const std::string pdf = readWholeText(folder.file("pages.pdf")).value_or("");
  EXPECT_EQ(pdf.substr(0, 5), "%PDF-");
  EXPECT_NE(pdf.find("/Count 3"), std::string::npos);
  EXPECT_FALSE(printTo(folder.file("missing/pages.pdf")));
  ASSERT_EQ(host.messages.size(), 1u);
  EXPECT_THAT(host.messages[0], testing::HasSubstr("missing/pages.pdf"));
  // As a full disc does: what is written beyond is refused.
  rlimit usual{};
  ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &usual), 0);
  const rlimit small{1024, usual.rlim_max};
  const auto onSignal = std::signal(SIGXFSZ, SIG_IGN);
  ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &small), 0);
  const bool printed = printTo(folder.file("pages.pdf"));
  ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &usual), 0);
  std::signal(SIGXFSZ, onSignal);
  EXPECT_FALSE(printed);
  EXPECT_THAT(host.messages.back(), testing::HasSubstr("pages.pdf could not be written"));
  EXPECT_EQ(readWholeText(folder.file("pages.pdf")), pdf) << "the file before stays";
}

TEST(QtLoop, CommandsTimersAndIdlePassesRunAmongQtsEvents) {
  MessageLoop loop;
  std::vector<int32_t> commands;
  int passes = 0, ticks = 0, events = 0, told = 0;
  loop.onCommand = [&](int32_t id) {
    commands.push_back(id);
    if (id == 1) loop.post(2);
  };
  loop.onIdle = [&](int32_t) { return ++passes < 200; };
  const QtLoop driven(loop, [&] { ++told; });
  loop.post(1);
  const Timer timer(loop, 7, 1, [&] { ++ticks; });
  QTimer other;
  QObject::connect(&other, &QTimer::timeout, [&] { ++events; });
  other.start(1);
  EXPECT_TRUE(commands.empty()) << "a posted command waits for its turn";
  // Passes are repeated while they ask for it, and Qt's own events have their share.
  EXPECT_TRUE(QTest::qWaitFor(
      [&] {
        return std::min({passes - 194, ticks, events, told}) > 5;
      },
      60'000))
      << passes << " passes, " << ticks << " ticks, " << events << " events, told " << told;
  EXPECT_EQ(commands, (std::vector<int32_t>{1, 2}));
}

TEST(QtLoop, AModalDialogStopsItUntilItCloses) {
  MessageLoop loop;
  int ran = 0, inside = -1;
  loop.onCommand = [&](int32_t) { ++ran; };
  const QtLoop driven(loop, {});
  QDialog dialog;
  QTimer::singleShot(0, [&] { loop.post(1); });
  laterBy(kManyTurns, dialog, [&] {
    inside = ran;
    dialog.reject();
  });
  dialog.exec();
  EXPECT_EQ(inside, 0);
  EXPECT_TRUE(QTest::qWaitFor([&] { return ran == 1; }, 60'000));
}

TEST(QtLoop, AWakeOfAnotherThreadIsATurnWithoutWaiting) {
  MessageLoop loop;
  int passes = 0;
  loop.onIdle = [&](int32_t) { return ++passes < 1; };
  const QtLoop driven(loop, {});
  ASSERT_TRUE(QTest::qWaitFor([&] { return passes > 0; }, 60'000));
  const int before = passes;
  std::thread([&] { loop.wakeFromAnyThread(); }).join();
  for (int i = 0; i < kManyTurns && passes == before; ++i) QCoreApplication::processEvents();
  EXPECT_GT(passes, before);
}

TEST(QtLoop, WakesMayComeWhileItEnds) {
  MessageLoop loop;
  std::atomic<bool> done = false;
  std::thread other([&] {
    while (!done) loop.wakeFromAnyThread();
  });
  for (int i = 0; i < 50; ++i) {
    const QtLoop driven(loop, {});
    QCoreApplication::processEvents();
  }
  done = true;
  other.join();
  loop.wakeFromAnyThread();
  EXPECT_FALSE(loop.isDriven());
}

TEST(CommandLine, FilesSwitchesAndOptionsAreToldApart) {
  const std::string here = workingFolder();
  const std::tuple<std::vector<std::string>, std::string, std::vector<std::string>, int> cases[] = {
      {{}, "", {}, -1},
      {{"/d/a.tv1"}, "/d/a.tv1", {}, -1},
      {{"a.tv1", "b.rst"}, here + "a.tv1", {here + "b.rst"}, -1},
      {{"/a", "v.dtv"}, "/a " + here + "v.dtv", {}, -1},
      {{"--data", "demo", "/m", "/v.dtv"}, "/m /v.dtv", {}, -1},
      {{"--", "-x.tv1"}, here + "-x.tv1", {}, -1},
      {{"/a", "v.dtv", "w.dtv"}, "", {}, 2},
      {{"--help"}, "", {}, 0},
      {{"--version"}, "", {}, 0},
      {{"--data"}, "", {}, 2},
      {{"--nonsense"}, "", {}, 2},
  };
  for (const auto& [arguments, forApplication, others, exitCode] : cases) {
    const CommandLine line = parseCommandLine(arguments);
    EXPECT_EQ(line.forApplication, forApplication);
    EXPECT_EQ(line.exitCode, exitCode);
    EXPECT_EQ(line.otherFiles, others);
    EXPECT_EQ(line.message.empty(), exitCode < 0);
  }
  EXPECT_EQ(parseCommandLine({"--data", "demo"}).dataFolder, here + "demo");
}

}  // namespace
}  // namespace tarnvisor

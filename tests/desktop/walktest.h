// The whole program with its real windows and dialogs, led by mouse and keys as a user would.
#pragma once

#include <QAbstractButton>
#include <QApplication>
#include <QComboBox>
#include <QDialog>
#include <QFileDialog>
#include <QLabel>
#include <QLineEdit>
#include <QMenuBar>
#include <QMessageBox>
#include <QPointer>
#include <QStandardPaths>
#include <QTimer>

#include "base/files.h"
#include "base/text.h"
#include "base/version.h"
#include "desktop/mainwindowtest.h"
#include "desktop/qttext.h"

namespace tarnvisor {

// Answers modal dialogs as they come up, in the order expected. One that nobody expects, or that is still
// there long after it was answered, fails the test and is closed.
class DialogAnswers {
 public:
  using Answering = std::function<void(QWidget&)>;
  DialogAnswers() {
    QObject::connect(&poll, &QTimer::timeout, &poll, [this] { look(); });
    poll.start(10);
  }
  ~DialogAnswers() {
    for (const Step& step : steps) ADD_FAILURE() << "a dialog never came up: " << step.title.toStdString();
  }
  // The title's beginning.
  void expect(const QString& title, Answering answer) { steps.push_back({title, std::move(answer)}); }
  // From now on any dialog may come.
  void answerAll(Answering answer) { always = std::move(answer); }

 private:
  struct Step {
    QString title;
    Answering answer;
  };

  void look() {
    QWidget* modal = QApplication::activeModalWidget();
    if (modal != shown) {
      shown = modal;
      since = steadySeconds();
      if (modal) QTimer::singleShot(0, modal, [this, modal] { answer(*modal); });
    } else if (modal && steadySeconds() - since > kLongestMs / 1000) {
      ADD_FAILURE() << "a dialog stays open: " << describe(*modal);
      closeHard(*modal);
    }
  }
  void answer(QWidget& modal) {
    if (always) return always(modal);
    if (steps.empty() || !modal.windowTitle().startsWith(steps.front().title)) {
      ADD_FAILURE() << "unexpected dialog: " << describe(modal);
      return closeHard(modal);
    }
    const Step step = std::move(steps.front());
    steps.pop_front();
    step.answer(modal);
  }
  static std::string describe(QWidget& modal) {
    const auto* box = qobject_cast<QMessageBox*>(&modal);
    return modal.windowTitle().toStdString() + (box ? ": " + box->text().toStdString() : "");
  }
  static void closeHard(QWidget& modal) {
    if (auto* dialog = qobject_cast<QDialog*>(&modal)) dialog->done(QDialog::Rejected);
    modal.close();
  }

  std::deque<Step> steps;
  Answering always;
  QTimer poll;
  QPointer<QWidget> shown;
  double since = 0;
};

class WalkTest : public MainWindowTest {
 protected:
  ViewWidget& widget() { return widgetOf(*app->documents.active()); }
  ZBasicView& view() { return static_cast<ZBasicView&>(*image()->views().front()); }

  // --- menus and keys

  static QString plain(QString words) { return words.remove('&').remove("..."); }
  // By mouse, through submenus; words as shown there or in the tool tip.
  void choose(const QStringList& path) {
    QWidget* bar = window().menuBar();
    for (const QString& words : path) {
      QAction* found = nullptr;
      for (QAction* each : bar->actions())
        if (plain(each->text()) == words || each->toolTip().section(" (", 0, 0) == words) found = each;
      ASSERT_NE(found, nullptr) << "not in the menu: " << words.toStdString();
      ASSERT_TRUE(found->isEnabled()) << words.toStdString();
      const QRect at = qobject_cast<QMenu*>(bar) ? static_cast<QMenu*>(bar)->actionGeometry(found)
                                                 : window().menuBar()->actionGeometry(found);
      QTest::mouseClick(bar, Qt::LeftButton, {}, at.center());
      if (found->menu()) {
        ASSERT_TRUE(QTest::qWaitFor([&] { return found->menu()->isVisible(); }, kLongestMs));
      }
      bar = found->menu();
    }
    settle();
  }
  void press(Qt::Key key, Qt::KeyboardModifiers modifiers = {}) {
    // A display without a window manager leaves menus and dialogs active when they have closed.
    window().activateWindow();
    EXPECT_TRUE(QTest::qWaitFor([this] { return QApplication::activeWindow() == &window(); }, kLongestMs));
    QWidget* to = app->documents.active() ? static_cast<QWidget*>(&widget()) : &window();
    QTest::keyClick(to, key, modifiers);
    settle();
  }

  // --- dialogs

  static QAbstractButton* button(QWidget& dialog, const QString& words) {
    for (QAbstractButton* each : dialog.findChildren<QAbstractButton*>())
      if (plain(each->text()) == words && each->isVisible()) return each;
    return nullptr;
  }
  static void click(QWidget& dialog, const QString& words) {
    QAbstractButton* found = button(dialog, words);
    ASSERT_NE(found, nullptr) << "no button " << words.toStdString();
    EXPECT_TRUE(found->isEnabled()) << words.toStdString();
    QTest::mouseClick(found, Qt::LeftButton);
  }
  // Types over what the field of that label holds.
  static void type(QWidget& dialog, const QString& label, const QString& words) {
    for (const QLabel* each : dialog.findChildren<QLabel*>())
      if (plain(each->text()) == label && each->buddy()) {
        each->buddy()->setFocus();
        QTest::keyClick(each->buddy(), Qt::Key_A, Qt::ControlModifier);
        return QTest::keyClicks(each->buddy(), words);
      }
    ADD_FAILURE() << "no field " << label.toStdString();
  }
  void expectOk(const QString& title) {
    answers.expect(title, [](QWidget& dialog) { click(dialog, "OK"); });
  }
  void expectForm(const QString& title, const std::vector<std::pair<QString, QString>>& values,
                  const QString& ok = "OK") {
    answers.expect(title, [values, ok](QWidget& dialog) {
      for (const auto& [label, words] : values) type(dialog, label, words);
      click(dialog, ok);
    });
  }
  // The dialog comes up in startsIn, unless that is empty; a name without a folder stays there.
  void expectFile(const QString& title, const std::string& path, const QString& ok,
                  const std::string& startsIn = "") {
    answers.expect(title, [path, ok, startsIn](QWidget& dialog) {
      if (!startsIn.empty()) {
        EXPECT_TRUE(sameFolder(fromQt(static_cast<QFileDialog&>(dialog).directory().path()), startsIn));
      }
      auto* name = dialog.findChild<QLineEdit*>("fileNameEdit");
      ASSERT_NE(name, nullptr);
      QTest::keyClick(name, Qt::Key_A, Qt::ControlModifier);
      QTest::keyClicks(name, toQt(path));
      click(dialog, ok);
    });
  }
  // Prints to a PDF file, whatever printers there are.
  void expectPrint(const std::string& path) {
    answers.expect("Print", [path](QWidget& dialog) {
      auto* printers = dialog.findChild<QComboBox*>("printers");
      auto* name = dialog.findChild<QLineEdit*>("filename");
      ASSERT_NE(printers, nullptr);
      ASSERT_NE(name, nullptr);
      if (!name->isEnabled()) printers->setCurrentIndex(printers->count() - 1);
      QTest::keyClick(name, Qt::Key_A, Qt::ControlModifier);
      QTest::keyClicks(name, toQt(path));
      click(dialog, "Print");
    });
  }
  // Keeps what a message box tells.
  void expectMessage() {
    answers.expect(programTitle().c_str(), [this](QWidget& dialog) {
      messages.push_back(static_cast<QMessageBox&>(dialog).text().toStdString());
      click(dialog, "OK");
    });
  }

  // --- the mouse on the image in front; image pixels

  QPoint at(Point imagePoint) {
    // The middle of the pixel, so that it comes back whatever the zoom.
    const Point from = view().toWindow(imagePoint), to = view().toWindow(imagePoint + Point{1, 1});
    return {(from.x + to.x) / 2, (from.y + to.y) / 2};
  }
  void click(Point p, Qt::KeyboardModifiers keys = {}) {
    QTest::mouseClick(widget().viewport(), Qt::LeftButton, keys, at(p));
  }
  // As the desktop sends it: the second press is told as a double click.
  void doubleClick(Point p) {
    click(p);
    QTest::mouseDClick(widget().viewport(), Qt::LeftButton, {}, at(p));
    QTest::mouseRelease(widget().viewport(), Qt::LeftButton, {}, at(p));
  }
  void drag(const std::vector<Point>& path) {
    QWidget* area = widget().viewport();
    QTest::mousePress(area, Qt::LeftButton, {}, at(path.front()));
    for (const Point& p : path) QTest::mouseMove(area, at(p));
    QTest::mouseRelease(area, Qt::LeftButton, {}, at(path.back()));
  }

  static std::vector<std::string> shapesOf(const CDimList& list) {
    std::vector<std::string> all;
    for (const auto& dim : list.items) {
      std::string line =
          format("%s %u %i '%s'", dim->classRecord().name, dim->colour, dim->width, dim->label.c_str());
      for (const Point& p : dim->points) line += format(" %i,%i", p.x, p.y);
      all.push_back(line);
    }
    return all;
  }
  // All that a saved image must bring back.
  static std::vector<std::string> contentOf(const ZBasicDoc& d) {
    std::vector<std::string> all{
        format("scale %.17g %.17g %s, %i %s", d.magx, d.magy, d.magname.c_str(), d.calibrated,
               d.userunits.c_str()),
        format("roi %i %i %i %i %i", d.roi.left, d.roi.top, d.roi.right, d.roi.bottom, d.hasCircularRoi()),
        format("target %i %i %i", d.target.x, d.target.y, d.showtarget), d.notes, d.resultText};
    for (size_t i = 0; i < d.dimlists.size(); ++i) {
      all.push_back(format("list %zu", i));
      for (std::string& line : shapesOf(d.dimlists[i])) all.push_back(std::move(line));
    }
    return all;
  }
  static bool isPdf(const std::string& path) {
    const auto bytes = readWholeText(path);
    return bytes && bytes->starts_with("%PDF") && bytes->size() > 10000;
  }
  static bool hasQvoronoi() { return !QStandardPaths::findExecutable("qvoronoi").isEmpty(); }

  HostScope scope{windows.ports};
  DialogAnswers answers;
  std::vector<std::string> messages;
};

}  // namespace tarnvisor

#include "desktop/helpwindow.h"

#include <QDesktopServices>
#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRegularExpression>
#include <QScreen>
#include <QSplitter>
#include <QToolTip>
#include <QVBoxLayout>

#include "desktop/qttext.h"

namespace tarnvisor {

namespace {

constexpr int kContentsWidth = 200;

QString wholeText(const QString& path) {
  QFile file(path);
  return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

// Pages without the line of links that the list beside them replaces, pictures no wider than the window.
class Page final : public QTextBrowser {
  QVariant loadResource(int type, const QUrl& name) override {
    const QString path = source().resolved(name).toLocalFile();
    if (type == QTextDocument::HtmlResource) {
      static const QRegularExpression links("<nav>.*</nav>", QRegularExpression::DotMatchesEverythingOption);
      // Elements that it does not know would run on within the text before.
      return wholeText(path)
          .remove(links)
          .replace("<figure>", "<p>")
          .replace("</figure>", "</p>")
          .replace("<figcaption>", "<br><i>")
          .replace("</figcaption>", "</i>");
    }
    // The pages' own style is for browsers: a line is as high as its picture times the spacing of lines.
    if (type == QTextDocument::StyleSheetResource)
      return QString("th, td { padding: 4px; } code, kbd, pre { font-family: monospace; }");
    if (type != QTextDocument::ImageResource) return QTextBrowser::loadResource(type, name);
    constexpr int kBesides = 48;
    const QImage picture(path);
    const int most = std::max(200, viewport()->width() - kBesides);
    return picture.width() > most ? picture.scaledToWidth(most, Qt::SmoothTransformation) : picture;
  }
};

}  // namespace

HelpWindow::HelpWindow(QWidget* parent)
    : QDialog(parent, Qt::Window), contents(new QListWidget), text(new Page), words(new QLineEdit) {
  setWindowTitle("Help");
  setObjectName("help");
  contents->setAccessibleName("Pages");
  text->setAccessibleName("Page");
  text->setOpenExternalLinks(true);
  words->setPlaceholderText("Search in this page");
  words->setAccessibleName("Search in this page");
  words->setClearButtonEnabled(true);
  const auto button = [](const char* name) {
    auto* made = new QPushButton(name);
    made->setAutoDefault(false);
    return made;
  };
  auto *back = button("&Back"), *forward = button("&Forward"), *next = button("Find &next"),
       *outside = button("Open in browser");
  back->setEnabled(false);
  forward->setEnabled(false);
  auto* bar = new QHBoxLayout;
  for (QWidget* each : std::initializer_list<QWidget*>{back, forward, words, next, outside})
    bar->addWidget(each, each == words ? 1 : 0);
  auto* both = new QSplitter;
  both->addWidget(contents);
  both->addWidget(text);
  both->setStretchFactor(1, 1);
  both->setSizes({kContentsWidth, 4 * kContentsWidth});
  auto* layout = new QVBoxLayout(this);
  layout->addLayout(bar);
  layout->addWidget(both, 1);
  connect(back, &QPushButton::clicked, text, &QTextBrowser::backward);
  connect(forward, &QPushButton::clicked, text, &QTextBrowser::forward);
  connect(text, &QTextBrowser::backwardAvailable, back, &QPushButton::setEnabled);
  connect(text, &QTextBrowser::forwardAvailable, forward, &QPushButton::setEnabled);
  connect(text, &QTextBrowser::sourceChanged, this, [this](const QUrl& page) { showPlace(page); });
  connect(next, &QPushButton::clicked, this, [this] { find(); });
  connect(words, &QLineEdit::returnPressed, this, [this] { find(); });
  connect(outside, &QPushButton::clicked, this, [this] { QDesktopServices::openUrl(text->source()); });
  connect(contents, &QListWidget::currentItemChanged, this, [this](const QListWidgetItem* chosen) {
    if (chosen) text->setSource(QUrl::fromLocalFile(chosen->data(Qt::UserRole).toString()));
  });
  const QSize room = screen()->availableSize() * 9 / 10;
  resize(QSize(5 * kContentsWidth, 680).boundedTo(room));
}

void HelpWindow::open(const std::string& page) {
  const QFileInfo file(toQt(page));
  if (contents->count() == 0) listPages(file.absolutePath());
  show();
  raise();
  activateWindow();
  text->setSource(QUrl::fromLocalFile(file.absoluteFilePath()));
  text->setFocus();
}

// The links of the first page lead to all.
void HelpWindow::listPages(const QString& folder) {
  const QSignalBlocker silent(contents);
  const auto add = [&](const QString& name, const QString& about) {
    const QString path = folder + "/" + name;
    if (!QFile::exists(path)) return;
    auto* item = new QListWidgetItem(about, contents);
    item->setData(Qt::UserRole, path);
  };
  add("index.html", "Contents");
  static const QRegularExpression link("<td><a href=\"([^\"#]+)\">([^<]+)</a>");
  auto links = link.globalMatch(wholeText(folder + "/index.html"));
  while (links.hasNext()) {
    const auto found = links.next();
    add(found.captured(1), found.captured(2));
  }
}

void HelpWindow::showPlace(const QUrl& page) {
  const QSignalBlocker silent(contents);
  contents->setCurrentRow(-1);
  for (int i = 0; i < contents->count(); ++i)
    if (contents->item(i)->data(Qt::UserRole).toString() == page.toLocalFile()) contents->setCurrentRow(i);
}

// From the place of the last find on, and from the top again.
void HelpWindow::find() {
  if (words->text().isEmpty() || text->find(words->text())) return;
  text->moveCursor(QTextCursor::Start);
  const bool found = text->find(words->text());
  words->setToolTip(found ? QString() : "Nothing on this page matches.");
  if (!found) QToolTip::showText(words->mapToGlobal(QPoint(0, words->height())), words->toolTip(), words);
}

}  // namespace tarnvisor

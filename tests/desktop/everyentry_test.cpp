// Every entry of every menu, with every kind of document in front: what nobody would do, and somebody does.
#include <random>

#include "charts/commonflodoc.h"
#include "desktop/walktest.h"
#include "results/resultdoc.h"
#include "support/videotest.h"

namespace tarnvisor {
namespace {

class EveryEntry : public WalkTest {
 protected:
  void SetUp() override {
    WalkTest::SetUp();
    writeMovieFile(folder.file("m.mve"), 6, {64, 48}, [](CZZimage& image, int32_t k) {
      for (int32_t y = 0; y < image.height; ++y)
        for (int32_t x = 0; x < image.width; ++x) image.row(y)[x] = static_cast<uint8_t>(7 * x + 5 * y + k);
    });
    settings.setString("directories", "tempdir", folder.path());
  }
  CDocument* open(DocumentType& type) {
    if (&type == process.imageTemplate) {
      ZBasicDoc& still = makeImage(64, 48);
      still.addPointToDimension(still.addDimension({5, 5}, CDimList::kLine), {40, 30});
      still.setRoi({4, 4, 60, 44});
      return &still;
    }
    if (&type == process.videoTemplate) return app->openDocumentFile(folder.file("m.mve"));
    CDocument* made = type.newDocument();
    if (auto* chart = dynamic_cast<ZchartDoc*>(made); chart && &type != process.xyChartTemplate) {
      auto ramp = std::make_unique<CTrace>(kDoubleCode, 640);
      for (uint32_t i = 0; i < 640; ++i) ramp->data->putval(i, static_cast<double>(i % 50));
      ramp->period = 1.0 / 64;
      chart->addtrace(std::move(ramp));
    }
    return made;
  }
  // The entries that are on, each as the way to it.
  static void gather(const QWidget& bar, const QStringList& way, std::vector<QStringList>& found) {
    for (const QAction* each : bar.actions()) {
      if (each->isSeparator() || !each->isEnabled() || plain(each->text()) == "Exit") continue;
      const QStringList here = way + QStringList(each->text());
      if (each->menu())
        gather(*each->menu(), here, found);
      else
        found.push_back(here);
    }
  }
  static QAction* entry(const QWidget& bar, const QString& words) {
    for (QAction* each : bar.actions())
      if (each->text() == words && each->isEnabled()) return each;
    return nullptr;
  }
  // By keys in the open menu, which closes on it. False when the menus have changed meanwhile.
  bool take(const QStringList& way) {
    const QWidget* bar = window().menuBar();
    QPointer<QMenu> menu;
    for (qsizetype i = 0; i + 1 < way.size(); ++i) {
      const QAction* found = entry(*bar, way[i]);
      if (!found || !found->menu()) return false;
      bar = menu = found->menu();
    }
    if (!menu) return false;
    menu->popup({200, 200});  // which may fill it anew
    QAction* found = entry(*menu, way.back());
    if (found) menu->setActiveAction(found);
    if (found) QTest::keyClick(menu, Qt::Key_Return);
    if (menu) menu->close();
    return found;
  }
  void settleSoon() {
    for (int i = 0; i < 400 && (app->loop.hasPosted() || i < 2); ++i)
      QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents, 5);
  }
};

TEST_F(EveryEntry, MayBeTakenInAnyOrder) {
  bool accepts = false;
  answers.answerAll([&](QWidget& dialog) {
    accepts = !accepts;
    auto* box = qobject_cast<QDialog*>(&dialog);
    if (!box) return (void)dialog.close();
    box->done(accepts && !qobject_cast<QFileDialog*>(&dialog) ? QDialog::Accepted : QDialog::Rejected);
  });
  std::mt19937 order(7);
  int taken = 0;
  for (int round = 0; round < 3; ++round)
    for (size_t i = 0; i < app->documents.types().size(); ++i) {
      DocumentType& type = *app->documents.types()[i];
      if (!type.canOpen()) continue;
      CDocument* front = open(type);
      ASSERT_NE(front, nullptr) << type.documentName();
      settleSoon();
      std::vector<QStringList> ways;
      gather(*window().menuBar(), {}, ways);
      std::ranges::shuffle(ways, order);
      for (const QStringList& way : ways) {
        const auto& all = type.documents();
        if (std::ranges::none_of(all, [&](const auto& d) { return d.get() == front; })) front = open(type);
        app->documents.activate(*front);
        settleSoon();
        if (take(way)) ++taken;
        settleSoon();
      }
      app->documents.discardAll();
      settleSoon();
    }
  EXPECT_GT(taken, 500);
}

}  // namespace
}  // namespace tarnvisor

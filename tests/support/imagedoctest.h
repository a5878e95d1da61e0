// A started application with the image channel, and an image document in front.
#pragma once

#include "assembly/assembly.h"
#include "imagedoc/zbasicdoc.h"
#include "results/resultdoc.h"
#include "support/apptest.h"

namespace tarnvisor {

class ImageDocument : public AppTest {
 protected:
  void SetUp() override {
    registerStoredClasses();
    options.documentTable = documentTable();
    ASSERT_TRUE(startWithData());
  }

  // The document in front.
  ZBasicDoc* image() { return dynamic_cast<ZBasicDoc*>(app->documents.active()); }

  // A new document with a picture in which each pixel differs from its neighbours.
  ZBasicDoc& makeImage(int32_t width, int32_t height) {
    auto* d = static_cast<ZBasicDoc*>(process.imageTemplate->newDocument());
    d->image = std::make_unique<CZZimage>(width, height);
    for (int32_t y = 0; y < height; ++y)
      for (int32_t x = 0; x < width; ++x)
        d->image->setPixel(x, y, static_cast<uint8_t>((x * 7 + y * 13) % 251));
    d->imagedirty = 1;
    return *d;
  }

  void run(const std::string& command) {
    ASSERT_EQ(routeCommand(app->commandChain(), std::string_view(command)), CommandResult::Done) << command;
  }
  bool isEnabled(const std::string& command) {
    const CommandRow* row = image()->commands()->find(std::string_view(command));
    return row && row->enabled(*image());
  }

  // Saves the document in front, closes it and opens it again.
  void reopen(const std::string& name) {
    ASSERT_TRUE(image()->onSaveDocument(folder.file(name)));
    process.imageTemplate->discard(*image());
    ASSERT_NE(app->openDocumentFile(folder.file(name)), nullptr);
  }

  void writeSettings(const std::string& text) {
    ASSERT_TRUE(replaceFile(settings.path(), std::string_view(text)));
  }

  // The cells of a row of a result table, from a place to another.
  static std::vector<std::string> resultCells(size_t row, size_t from = 0, size_t to = 21,
                                              const char* title = "Image Results") {
    const CResultDoc* table = findResultDocument(title);
    std::vector<std::string> cells;
    for (size_t place = from; table && place < to; ++place)
      cells.emplace_back(trimmed(table->cell(row, place)));
    return cells;
  }

  static std::vector<uint8_t> pixelsOf(const CZZimage& picture) {
    std::vector<uint8_t> all;
    for (int32_t y = 0; y < picture.height; ++y)
      all.insert(all.end(), picture.row(y), picture.row(y) + picture.rowBytes);
    return all;
  }
};

}  // namespace tarnvisor

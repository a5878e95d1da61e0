// A started application, and movies whose images carry their number.
#pragma once

#include "dynamic/vivocapview.h"
#include "support/imagedoctest.h"

namespace tarnvisor {

class VideoTest : public ImageDocTest {
 protected:
  void TearDown() override { compressoutput = 0; }

  // A .mve of count images, 16 x 8; image k is grey 10 + k, but for its first pixel, which is k.
  std::string writeMovie(const std::string& name, int32_t count, int32_t interlace = 0) {
    CZZMovie movie;
    const std::string path = folder.file(name);
    EXPECT_TRUE(movie.record(count, path, 0, 0, 16, interlace ? 16 : 8, false));
    for (int32_t k = 0; k < count; ++k) {
      CZZimage image(16, interlace ? 16 : 8, 2 * k);
      image.fill(static_cast<uint8_t>(10 + k));
      for (int32_t y = 0; y < image.height; ++y) image.row(y)[0] = static_cast<uint8_t>(k);
      (void)movie.addFrame(image, 0);
    }
    movie.stopRecording();
    return path;
  }
  // The same around a new document, which is in front.
  CVivoCapDoc& openMovie(const std::string& name, int32_t count) {
    auto* made = dynamic_cast<CVivoCapDoc*>(app->openDocumentFile(writeMovie(name, count)));
    EXPECT_NE(made, nullptr);
    return *made;
  }
  CVivoCapDoc& video() { return *dynamic_cast<CVivoCapDoc*>(app->documents.active()); }
  CVivoCapView& view() { return static_cast<CVivoCapView&>(*video().views().front()); }
  void useWorkFolder() { settings.setString("directories", "tempdir", folder.path()); }

  // The second pixel of each image.
  std::vector<int> levels() {
    std::vector<int> all;
    CZZimage image;
    for (int32_t i = 0; i < video().imageCount(); ++i) {
      video().movie->getImage(i, image);
      all.push_back(image.row(0)[1]);
    }
    return all;
  }
};

}  // namespace tarnvisor

// A started application, and movies whose images carry their number.
#pragma once

#include "dynamic/vivocapview.h"
#include "support/imagedoctest.h"

namespace tarnvisor {

// A movie in a file; image k is drawn by the caller.
inline std::string writeMovieFile(const std::string& path, int32_t count, Size size,
                                  const std::function<void(CZZimage&, int32_t)>& draw) {
  CZZMovie movie;
  EXPECT_TRUE(movie.record(count, path, 0, 0, size.width, size.height, false));
  for (int32_t k = 0; k < count; ++k) {
    CZZimage image(size.width, size.height, 2 * k);
    draw(image, k);
    (void)movie.addFrame(image, 0);
  }
  movie.stopRecording();
  return path;
}

class VideoTest : public ImageDocument {
 protected:
  void TearDown() override { compressoutput = 0; }

  // A .mve of count images, 16 x 8; image k is grey 10 + k, but for its first pixel, which is k.
  std::string writeMovie(const std::string& name, int32_t count) {
    return writeMovieFile(folder.file(name), count, {16, 8}, [](CZZimage& image, int32_t k) {
      image.fill(static_cast<uint8_t>(10 + k));
      for (int32_t y = 0; y < image.height; ++y) image.row(y)[0] = static_cast<uint8_t>(k);
    });
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

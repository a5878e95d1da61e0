// Small pictures of stored documents, made as their windows would show them and kept in memory alone.
#pragma once

#include <QPixmap>
#include <QSize>
#include <QString>
#include <cstdint>
#include <map>
#include <string>

namespace tarnvisor {

struct Thumbnail {
  QPixmap picture;
  QString quality;  // the one word that judges the result; empty where nothing does
};

class Thumbnails {
 public:
  explicit Thumbnails(QSize most) : largest(most) {}
  // Null unless it was made since the file was written last.
  const Thumbnail* known(const std::string& path) const;
  // Reads the document, without a word where it can't be; such a one, and a kind that has no picture, has an
  // empty one.
  const Thumbnail& make(const std::string& path);

 private:
  struct Made {
    int64_t written = 0;
    Thumbnail seen;
  };
  const QSize largest;
  std::map<std::string, Made> pictures;
};

}  // namespace tarnvisor

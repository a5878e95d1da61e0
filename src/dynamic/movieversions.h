// What passes have made of a video's movie, each in a file of its own: the movie that was opened first, and
// all that followed. They lie in a file beside the document, which names the movies and keeps what is known
// of their frames; docs/formats/versions.md tells it. A document without that file has no versions.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "base/geometry.h"
#include "base/outcome.h"
#include "movie/framerecord.h"

namespace tarnvisor {

struct MovieVersion {
  int32_t number = 0;  // from 1; it stays when others go
  int32_t madeOf = 0;  // the number of another; 0 for none
  std::string what;    // was done to get it
  std::string file;    // full name
  Size size;           // of an image, in rows of the frame
  int32_t images = 0;
  int64_t made = 0;     // seconds since 1970
  uint8_t isOwn = 0;    // the file was made for this list
  uint8_t isSaved = 0;  // a saved document tells of it
  FrameTable table;
  int32_t selectionFirst = -1, selectionLast = -1;  // when it was left; not stored
};

class MovieVersions {
 public:
  // Null where there is none; valid until one is added or removed.
  MovieVersion* find(int32_t number);
  const MovieVersion* find(int32_t number) const;
  MovieVersion* ofFile(const std::string& file);
  const MovieVersion* ofFile(const std::string& file) const;
  // Gives it the next number.
  MovieVersion& add(MovieVersion version);
  void remove(int32_t number);
  void clear() { items.clear(); }
  const std::vector<MovieVersion>& all() const { return items; }
  std::vector<MovieVersion>& all() { return items; }

  // A file of this name is replaced. Movies that lie beside it are named without their folder.
  [[nodiscard]] Outcome write(const std::string& path) const;
  // Adds nothing where it fails.
  [[nodiscard]] Outcome read(const std::string& path);

 private:
  std::vector<MovieVersion> items;
};

// Of a document.
std::string versionsFileOf(const std::string& documentPath);
std::string sizeInWords(uint64_t bytes);     // "12.3 MB"
uint64_t fileSize(const std::string& path);  // 0 for one that is away

}  // namespace tarnvisor

// Bytes as a video document, opened as a user would, and its table of frames over a small movie.
#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <string>

#include "app/basicapp.h"
#include "archive/archive.h"
#include "dynamic/vivocapdoc.h"
#include "exams/examselection.h"
#include "measure/dimlist.h"
#include "movie/movieimage.h"
#include "movie/tagreader.h"

namespace {

using namespace tarnvisor;

void make(MovieImage&& work) {
  while (work.next()) continue;
  (void)work.take();
}

// What the table says is asked of frames that are there.
void useTable(FrameTable table) {
  CZZMovie movie;
  if (!movie.record(4, "", 0, 0, 8, 4, false)) std::abort();
  CZZimage image(8, 4);
  for (int k = 0; k < 4; ++k) (void)movie.addFrame(image, 0);
  movie.stopRecording();
  movie.adoptTable(std::move(table));
  make(MovieMean(movie, -1, -1));
  make(MovieSharpest(
      movie, [](const CZZimage&) { return 1.0; }, -1, -1));
  (void)movie.frameAt(3).frameRect();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static CBasicApp app;
  static const ExamSelection exams(app);
  registerDimensionClasses();
  registerDataVectors();
  registerTraces();
  std::string lines;
  int32_t number = 0;
  (void)xmlToText(std::string(reinterpret_cast<const char*>(data), size), lines);
  (void)xmlInt(lines, "WIDTH", number);
  const int handle = ::memfd_create("dtv", MFD_CLOEXEC);
  if (handle < 0 || ::write(handle, data, size) != static_cast<ssize_t>(size)) std::abort();
  CVivoCapDoc document;
  document.silent = 1;
  const std::string path = "/proc/self/fd/" + std::to_string(handle);
  document.setPathName(path);
  if (document.onOpenDocument(path)) {
    if (document.movie) useTable(document.movie->frameTable);
    // What was read is written again, and read.
    MemoryStream memory;
    Archive store(memory, Archive::Direction::Storing);
    document.serialize(store);
    store.close();
    memory.rewind();
    CVivoCapDoc again;
    Archive load(memory, Archive::Direction::Loading);
    again.serialize(load);
    if (again.fps != document.fps || again.spotVelocities.size() != document.spotVelocities.size())
      std::abort();
  }
  ::close(handle);
  return 0;
}

#include "movie/moviepass.h"

#include <utility>

#include "archive/archive.h"
#include "base/files.h"
#include "base/text.h"
#include "movie/moviefile.h"
#include "movie/movieoutput.h"
#include "settings/log.h"
#include "video/videoreader.h"

namespace tarnvisor {

MoviePass::MoviePass(CZZMovie& walked, int32_t steps) : movie(walked), total(steps) {}

MoviePass::MoviePass(CZZMovie& walked, CZZMovie::Range shown) : MoviePass(walked, shown.size()) {
  range = shown;
  shows = true;
  if (total > 0) movie.frameAt(range.first);
}

MoviePass::~MoviePass() {
  if (movie.pass == this) abandon();
}

void MoviePass::begin() {
  writes = true;
  movie.processedCount = 0;
  movie.processedTable.clear();
  movie.trouble.clear();
  movie.leftOverFile.clear();
}

bool MoviePass::openInPlace(const std::string& name) {
  begin();
  if (movie.count < 1 || movie.recording) return false;
  if (movie.mode == CZZMovie::kMemory) {
    inMemory = true;
    return true;
  }
  if (movie.mode == CZZMovie::kFile && !movie.shared && !movie.perFrameHeaders && movie.file->canWrite()) {
    movie.processingFile = movie.file.get();
    movie.pass = this;
    return true;
  }
  return openBeside(name, movie.frame);
}

bool MoviePass::openBeside(const std::string& name, const CZZimage& form) {
  begin();
  if (movie.count < 1 || movie.recording) return false;
  const std::string& own = movie.fileName;
  const std::string wanted =
      name.empty() || name == own || sameFile(name, own) ? freeMovieName(withoutExtension(own)) : name;
  if (wanted.empty()) movie.trouble = "all names from A to z are taken";
  if (wanted.empty() || !openAs(wanted, form)) {
    logPrintf("movie::openprocessing failed\n");
    movie.trouble =
        "Cannot create movie file " + (wanted.empty() ? own : wanted) + ": " + movie.trouble + ".";
    return false;
  }
  logPrintf("movie::openprocessing %s\n", wanted.c_str());
  return true;
}

bool MoviePass::openAs(const std::string& path, const CZZimage& form) {
  begin();
  output = MovieOutput::create(path, form, movie.rate, movie.scale, movie.trouble);
  if (!output) return false;
  movie.pass = this;
  return true;
}

bool MoviePass::next() {
  if (stopped || failed()) return false;
  ++at;
  if (at >= total) {
    // What is shown goes to the result by being left.
    if (shows) movie.nextFrame(range.last);
    return false;
  }
  if (shows && at > 0) movie.nextFrame(range.last);
  return !failed();
}

bool MoviePass::failed() const { return writes && (!movie.trouble.empty() || (output && output->failed())); }

// What an image left in the buffer that can't be read is the one before it.
bool MoviePass::hasRead() {
  if (movie.isRead) return true;
  movie.trouble = format("image %i can't be read", shows ? movie.current : at);
  return false;
}

bool MoviePass::put(CZZimage& made) {
  if (!output || !hasRead() || !output->append(made)) return false;
  if (output->written() == movie.processedCount)
    return true;  // one that didn't compress has no record either
  movie.processedTable.push_back(FrameRecord::of(made));
  ++movie.processedCount;
  return true;
}

// The frame shown goes to the result.
void MoviePass::writeShown() {
  if (!movie.isShown || failed() || !hasRead()) return;
  if (output) {
    if (!put(movie.frame)) logPrintf("a pass ends: %s\n", output->why().c_str());
    return;
  }
  try {
    movie.processingFile->write(movie.frame.pixels, static_cast<size_t>(movie.frameBytes),
                                movie.dataOffset + movie.frameBytes * movie.slotOf(movie.current));
  } catch (const ArchiveException& e) {
    movie.trouble = e.what();
    return;
  }
  movie.keepRecord(movie.slotOf(movie.current), movie.frame);
  movie.processedTable.push_back(FrameRecord::of(movie.frame));
  ++movie.processedCount;
}

void MoviePass::leave() {
  movie.processingFile = nullptr;
  if (movie.pass == this) movie.pass = nullptr;
}

bool MoviePass::finish() {
  if (stopped && output) {
    abandon();
    return false;
  }
  // A pass over one image never left it.
  if (movie.pass == this && movie.processedCount == 0 && (shows || total == 0)) writeShown();
  if (inMemory) movie.modified = 1;
  leave();
  return output ? takeOutput() : movie.trouble.empty();
}

// The output becomes the movie, with its rate; after a failure it stays beside.
bool MoviePass::takeOutput() {
  const std::unique_ptr<MovieOutput> done = std::move(output);
  const std::string made = done->close();
  if (movie.trouble.empty()) movie.trouble = done->why();
  if (made.empty() || !movie.trouble.empty()) {
    movie.leftOverFile = made;
    if (movie.trouble.empty()) movie.trouble = "no frame was written";
    movie.frameAt(movie.current);  // as it is in the movie, not as the pass made it
    return false;
  }
  const int32_t oldRate = movie.rate, oldScale = movie.scale;
  FrameTable table = std::move(movie.processedTable);
  const std::string before = movie.fileName;
  if (!movie.open(made)) {
    const std::string why = movie.trouble;
    movie.leftOverFile = made;
    if (!before.empty() && !movie.open(before)) logPrintf("%s can't be opened again\n", before.c_str());
    movie.trouble = why;
    return false;
  }
  if (!isAviName(made)) {
    movie.rate = oldRate;
    movie.scale = oldScale;
  }
  movie.adoptTable(std::move(table));
  movie.shared = 0;
  movie.frameAt(0);
  return true;
}

void MoviePass::abandon() {
  leave();
  if (!output) return;
  output->discard();
  output.reset();
  movie.isShown = false;  // what is in the image is the pass's
}

// --- the operations of the movie that are passes

bool CZZMovie::openProcessing(bool inPlace, const std::string& name) {
  ownPass = std::make_unique<MoviePass>(*this, 0);
  return inPlace ? ownPass->openInPlace(name) : ownPass->openBeside(name, frame);
}

bool CZZMovie::closeProcessing() {
  if (!ownPass) return trouble.empty();
  const std::unique_ptr<MoviePass> ending = std::move(ownPass);
  return ending->finish();
}

void CZZMovie::abandonProcessing() {
  if (ownPass) ownPass->abandon();
  ownPass.reset();
}

bool CZZMovie::processingFailed() const { return !trouble.empty() || (pass && pass->failed()); }

}  // namespace tarnvisor

#include "movie/movieoutput.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "archive/archive.h"
#include "base/files.h"
#include "movie/moviefile.h"
#include "movie/zzmovie.h"
#include "settings/log.h"
#include "video/videowriter.h"

namespace tarnvisor {

namespace {

// Of the name's bytes the letter, an ending and the marks of what is not finished yet take the rest.
constexpr size_t kLongestStem = 200;

// The letters of many steps would outgrow what file systems take. Cut between characters.
std::string boundedStem(const std::string& base) {
  std::string name = fileNameOf(base);
  size_t length = std::min(name.size(), kLongestStem);
  while (length < name.size() && length > 0 && (static_cast<uint8_t>(name[length]) & 0xc0) == 0x80) --length;
  return folderOf(base) + name.substr(0, length);
}

}  // namespace

std::string freeMovieName(const std::string& wanted) {
  const std::string base = boundedStem(wanted);
  const char* ending = compressoutput ? ".avi" : ".mve";
  for (const char from : {'A', 'a'})
    for (int letter = 0; letter < 26; ++letter) {
      std::string name = base + static_cast<char>(from + letter) + ending;
      if (!fileExists(name)) return name;
    }
  return "";
}

TakenName nameBeside(const std::string& path) {
  return TakenName([&path](int number) {
    return number == 0
               ? path
               : format("%s.new%i.%s", withoutExtension(path).c_str(), number, extensionOf(path).c_str());
  });
}

bool isAviName(const std::string& path) { return equalIgnoringCase(extensionOf(path), "avi"); }

namespace {

// The steps' words in the log; nothing when the output can't be made.
std::unique_ptr<VideoWriter> openVideo(const std::string& path, const CZZimage& form, int32_t rate,
                                       int32_t scale, std::string& why) {
  logPrintf("aviwriteopen %s ", path.c_str());
  const std::vector<VideoCodec> codecs = videoCodecs();
  if (std::none_of(codecs.begin(), codecs.end(),
                   [](const VideoCodec& codec) { return codec.code == kRecordingCodec; })) {
    logPrintf("failed to open AVI compressor\n");
    why = "no compressor for H.264 is installed";
    return nullptr;
  }
  VideoFormat format;
  format.width = form.width;
  format.height = form.height;
  format.rate = rate;
  format.scale = scale;
  format.colour = form.colourset != kGrey;
  format.codec = kRecordingCodec;
  auto video = VideoWriter::create(path, format, why);
  if (!video) logPrintf("failed AVI file %s open ", path.c_str());
  return video;
}

}  // namespace

std::unique_ptr<MovieOutput> MovieOutput::create(const std::string& name, const CZZimage& form, int32_t rate,
                                                 int32_t scale, std::string& why) {
  std::unique_ptr<MovieOutput> output(new MovieOutput);
  output->wanted = name;
  output->replaces = fileExists(name);
  output->place = nameBeside(name);
  output->path = output->place.path();
  output->width = form.width;
  output->height = form.height;
  output->colourset = form.colourset;
  if (isAviName(name)) {
    output->video = openVideo(output->path, form, rate, scale, why);
    if (output->video && form.colourset == kBayer)
      output->compressImage = std::make_unique<CZZimage>(form.width, form.height, -1, 0, kColour);
    if (output->video) return output;
    std::remove(output->path.c_str());
    return nullptr;
  }
  output->file = MovieFile::open(output->path, MovieFile::Access::Create);
  if (!output->file) {
    why = std::strerror(errno);
    return nullptr;
  }
  output->frameBytes = int64_t{CZZimage::strideFor(form.width, form.bytesPerPixel)} * form.height;
  output->end = MovieLayout::kDataOffset;
  try {
    writeMovieStart(*output->file, form);
  } catch (const ArchiveException& e) {
    why = e.what();
    output->file.reset();
    std::remove(output->path.c_str());
    return nullptr;
  }
  return output;
}

MovieOutput::~MovieOutput() = default;

bool MovieOutput::append(CZZimage& image) {
  if (failed()) return false;
  if (image.width != width || image.height != height || image.colourset != colourset)
    trouble = "a frame has another size than the others";
  else if (video ? appendCompressed(image) : appendRows(image))
    ++count;
  return !failed();
}

bool MovieOutput::appendRows(const CZZimage& image) {
  try {
    const int64_t stride = frameBytes / height;
    if (image.stride == stride) {
      file->write(image.pixels, static_cast<size_t>(frameBytes), end);
    } else {
      for (int32_t y = 0; y < height; ++y)
        file->write(image.row(y), static_cast<size_t>(image.rowBytes), end + y * stride);
    }
    end += frameBytes;
    return true;
  } catch (const ArchiveException& e) {
    trouble = e.what();
    return false;
  }
}

// A frame that doesn't compress is dropped; only a file that can't be written ends the movie.
bool MovieOutput::appendCompressed(CZZimage& image) {
  CZZimage* shown = &image;
  if (compressImage) {
    compressImage->copyPixels(image);
    shown = compressImage.get();
  }
  if (video->write(shown->pixels, shown->stride)) return true;
  if (video->failed()) trouble = video->why();
  return false;
}

void MovieOutput::discard() {
  if (video) video->close();
  video.reset();
  file.reset();
  std::remove(path.c_str());
}

std::string MovieOutput::close() {
  if (video) {
    if (!video->close() && trouble.empty()) trouble = video->why();
    video.reset();
  }
  if (file) {
    const bool cut = file->cutTo(end);  // no part of a frame
    if (!cut && trouble.empty()) trouble = std::strerror(errno);
    try {
      writeTrailer(*file, end, count, 0);
      if (!file->flushToDisc() && trouble.empty()) trouble = std::strerror(errno);
    } catch (const ArchiveException& e) {
      if (trouble.empty()) trouble = e.what();
    }
    file.reset();
  }
  if (count == 0) {
    std::remove(path.c_str());
    return "";
  }
  // Where somebody else took the name since, both movies stay.
  if (failed() || path == wanted || !replaces) return path;
  if (std::rename(path.c_str(), wanted.c_str()) != 0) {
    trouble = std::strerror(errno);
    return path;
  }
  return wanted;
}

}  // namespace tarnvisor

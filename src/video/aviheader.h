// What an AVI file says of itself, read without a decoder, and its chunks one by one.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "ffmpeg/ffmpeghandles.h"

namespace tarnvisor {

inline constexpr uint32_t fourCharacters(const char (&text)[5]) {
  uint32_t code = 0;
  for (int i = 3; i >= 0; --i) code = code << 8 | static_cast<uint8_t>(text[i]);
  return code;
}

struct StreamFacts {
  uint32_t type = 0, handler = 0;  // four-character codes, the first in the lowest byte
  uint32_t rate = 0, scale = 0, start = 0, length = 0;
  std::string name;
  int32_t formatBytes = 0;
  uint32_t planes = 0, bits = 0, compression = 0;
  bool hasInfo = false;
};

struct AviHeader {
  uint32_t flags = 0, width = 0, height = 0, length = 0;
  uint32_t streamCount = 0;  // as told; `streams` are those that are there
  std::vector<StreamFacts> streams;
  bool cutOff = false;     // the length that it tells was never written, or reaches past its end
  int64_t firstChunk = 0;  // where the first list of frames begins, 0 when there is none
};
// False when the file is no AVI.
bool readAviHeader(const ffmpeg::FileBytes& file, AviHeader& header);

struct AviChunk {
  int64_t place = 0;  // of its bytes, 8 after its header
  uint32_t bytes = 0;
};
// Calls `found` for each whole chunk of frames of a stream, from the chunk header at `from` to the end of the
// file. False when one of them, or a further part of the file, reaches past that end.
bool walkChunks(const ffmpeg::FileBytes& file, int64_t from, int32_t stream,
                const std::function<void(const AviChunk&)>& found);
// Whether the header of a chunk of frames of this stream stands before `place`; its length then goes to
// `bytes`.
bool isChunkOf(const ffmpeg::FileBytes& file, int64_t place, int32_t stream, uint32_t& bytes);

}  // namespace tarnvisor

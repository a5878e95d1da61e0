#include "aviheader.h"

#include "base/bytes.h"

namespace tarnvisor {

using ffmpeg::FileBytes;

namespace {

constexpr uint32_t kRiff = fourCharacters("RIFF"), kList = fourCharacters("LIST");
constexpr size_t kMostStreams = 64;
constexpr uint32_t kLongestHeader = 4096;  // that is looked at

struct ChunkHeader {
  uint32_t tag = 0, bytes = 0;
};

bool readChunkHeader(const FileBytes& file, int64_t place, ChunkHeader& chunk) {
  uint8_t raw[8];
  if (place < 0 || !file.readAt(place, raw, sizeof raw)) return false;
  chunk = {getLittle<uint32_t>(raw), getLittle<uint32_t>(raw + 4)};
  return true;
}

uint32_t tagAt(const FileBytes& file, int64_t place) {
  uint8_t raw[4];
  return file.readAt(place, raw, sizeof raw) ? getLittle<uint32_t>(raw) : 0;
}

int64_t after(int64_t place, const ChunkHeader& chunk) { return place + 8 + chunk.bytes + (chunk.bytes & 1); }

std::vector<uint8_t> bytesOf(const FileBytes& file, int64_t place, uint32_t count) {
  std::vector<uint8_t> bytes(std::min(count, kLongestHeader));
  if (!file.readAt(place, bytes.data(), bytes.size())) bytes.clear();
  return bytes;
}

void takeMainHeader(const std::vector<uint8_t>& b, AviHeader& header) {
  if (b.size() < 40) return;
  header.flags = getLittle<uint32_t>(&b[12]);
  header.length = getLittle<uint32_t>(&b[16]);
  header.streamCount = getLittle<uint32_t>(&b[24]);
  header.width = getLittle<uint32_t>(&b[32]);
  header.height = getLittle<uint32_t>(&b[36]);
}

void takeStreamHeader(const std::vector<uint8_t>& b, StreamFacts& stream) {
  if (b.size() < 36) return;
  stream.hasInfo = true;
  stream.type = getLittle<uint32_t>(&b[0]);
  stream.handler = getLittle<uint32_t>(&b[4]);
  stream.scale = getLittle<uint32_t>(&b[20]);
  stream.rate = getLittle<uint32_t>(&b[24]);
  stream.start = getLittle<uint32_t>(&b[28]);
  stream.length = getLittle<uint32_t>(&b[32]);
}

void takeStreamFormat(const std::vector<uint8_t>& b, StreamFacts& stream) {
  stream.formatBytes = static_cast<int32_t>(b.size());
  if (b.size() < 20) return;
  stream.planes = getLittle<uint16_t>(&b[12]);
  stream.bits = getLittle<uint16_t>(&b[14]);
  stream.compression = getLittle<uint32_t>(&b[16]);
}

StreamFacts readStream(const FileBytes& file, int64_t from, int64_t end) {
  StreamFacts stream;
  ChunkHeader chunk;
  for (int64_t at = from; at + 8 <= end && readChunkHeader(file, at, chunk); at = after(at, chunk)) {
    const std::vector<uint8_t> bytes = bytesOf(file, at + 8, chunk.bytes);
    if (chunk.tag == fourCharacters("strh")) takeStreamHeader(bytes, stream);
    if (chunk.tag == fourCharacters("strf")) takeStreamFormat(bytes, stream);
    if (chunk.tag == fourCharacters("strn"))
      stream.name.assign(bytes.begin(), std::find(bytes.begin(), bytes.end(), uint8_t{0}));
  }
  return stream;
}

void readHeaderList(const FileBytes& file, int64_t from, int64_t end, AviHeader& header) {
  ChunkHeader chunk;
  for (int64_t at = from; at + 8 <= end && readChunkHeader(file, at, chunk); at = after(at, chunk)) {
    if (chunk.tag == fourCharacters("avih")) takeMainHeader(bytesOf(file, at + 8, chunk.bytes), header);
    if (chunk.tag == kList && tagAt(file, at + 8) == fourCharacters("strl") &&
        header.streams.size() < kMostStreams)
      header.streams.push_back(readStream(file, at + 12, std::min(end, after(at, chunk))));
  }
}

// "00db", "01dc": two digits of the stream, then "db" or "dc" (or what else an encoder liked); palette
// changes, sound and indices are something else.
bool isFrameTag(uint32_t tag, int32_t stream) {
  const auto digit = [tag](int i) { return static_cast<int32_t>(tag >> (8 * i) & 0xFF) - '0'; };
  const uint32_t kind = tag >> 16;
  return digit(0) >= 0 && digit(0) <= 9 && digit(1) >= 0 && digit(1) <= 9 &&
         digit(0) * 10 + digit(1) == stream && kind != fourCharacters("00pc") >> 16 &&
         kind != fourCharacters("00wb") >> 16 && kind != fourCharacters("00ix") >> 16;
}

// Of the file or a further part of it, which a writer that was stopped leaves without its length. Some
// writers count the eight bytes before it as well.
bool reachesPastEnd(const FileBytes& file, int64_t place, const ChunkHeader& part) {
  return part.bytes == 0 || part.bytes == UINT32_MAX || place + part.bytes > file.size();
}

}  // namespace

bool readAviHeader(const FileBytes& file, AviHeader& header) {
  ChunkHeader chunk;
  if (!readChunkHeader(file, 0, chunk) || chunk.tag != kRiff || tagAt(file, 8) != fourCharacters("AVI "))
    return false;
  header.cutOff = reachesPastEnd(file, 0, chunk);
  for (int64_t at = 12; readChunkHeader(file, at, chunk); at = after(at, chunk)) {
    if (chunk.tag != kList) continue;
    const uint32_t kind = tagAt(file, at + 8);
    if (kind == fourCharacters("hdrl")) readHeaderList(file, at + 12, after(at, chunk), header);
    if (kind != fourCharacters("movi")) continue;
    header.firstChunk = at + 12;
    break;
  }
  return true;
}

bool walkChunks(const FileBytes& file, int64_t from, int32_t stream,
                const std::function<void(const AviChunk&)>& found) {
  ChunkHeader chunk;
  bool whole = true;
  for (int64_t at = from; at + 8 <= file.size() && readChunkHeader(file, at, chunk);) {
    if (chunk.tag == 0) break;  // room that nothing was written to
    whole = whole && !(chunk.tag == kRiff && reachesPastEnd(file, at, chunk));
    if (chunk.tag == kRiff ||
        chunk.tag == kList) {  // their parts follow: a further part of the file, a list of frames
      at += 12;
      continue;
    }
    if (isFrameTag(chunk.tag, stream)) {
      if (at + 8 + chunk.bytes > file.size()) return false;
      found({at + 8, chunk.bytes});
    }
    at = after(at, chunk);
  }
  return whole;
}

bool isChunkOf(const FileBytes& file, int64_t place, int32_t stream, uint32_t& bytes) {
  ChunkHeader chunk;
  if (!readChunkHeader(file, place - 8, chunk) || !isFrameTag(chunk.tag, stream)) return false;
  bytes = chunk.bytes;
  return true;
}

}  // namespace tarnvisor

#include "archive/archive.h"

#include <algorithm>
#include <bit>
#include <cassert>
#include <cstring>

#include "base/bytes.h"

namespace tarnvisor {

namespace {
constexpr uint8_t kLongString = 0xFF;
constexpr uint16_t kWideString = 0xFFFE;
constexpr uint16_t kLongest = 0xFFFF;
}  // namespace

// The buffer starts out unset on purpose: nothing is read from it before it was written.
Archive::Archive(ByteStream& byteStream, Direction way) : stream(byteStream), direction(way) {
  loadedEntries.emplace_back();  // number 0
  if (isLoading()) memoryLimit = stream.remaining() + kMemoryAllowance;
}

Archive::~Archive() {
  for (const Entry& entry : loadedEntries)
    if (entry.object) entry.object->loader = nullptr;
}

void Archive::endOfStream() { throw ArchiveException("the file ends too early"); }

template <class T>
void Archive::putNumber(T value) {
  assert(isStoring());
  if (kBufferSize - bufferAt >= sizeof(T)) {
    putLittle(buffer.data() + bufferAt, value);
    bufferAt += sizeof(T);
    return;
  }
  uint8_t bytes[sizeof(T)];
  putLittle(bytes, value);
  write(bytes, sizeof(T));
}

template <class T>
T Archive::getNumber() {
  assert(isLoading());
  if (bufferEnd - bufferAt < sizeof(T)) refill();
  if (bufferEnd - bufferAt < sizeof(T)) endOfStream();
  const T value = getLittle<T>(buffer.data() + bufferAt);
  bufferAt += sizeof(T);
  return value;
}

void Archive::putByte(uint8_t value) { putNumber(value); }
void Archive::putWord(uint16_t value) { putNumber(value); }
void Archive::putShort(int16_t value) { putNumber(value); }
void Archive::putDword(uint32_t value) { putNumber(value); }
void Archive::putInt(int32_t value) { putNumber(value); }
void Archive::putFloat(float value) { putNumber(std::bit_cast<uint32_t>(value)); }
void Archive::putDouble(double value) { putNumber(std::bit_cast<uint64_t>(value)); }

void Archive::putPoint(Point value) {
  putInt(value.x);
  putInt(value.y);
}

void Archive::putRect(const Rect& value) {
  for (const int32_t side : {value.left, value.top, value.right, value.bottom}) putInt(side);
}

uint8_t Archive::getByte() { return getNumber<uint8_t>(); }
uint16_t Archive::getWord() { return getNumber<uint16_t>(); }
int16_t Archive::getShort() { return getNumber<int16_t>(); }
uint32_t Archive::getDword() { return getNumber<uint32_t>(); }
int32_t Archive::getInt() { return getNumber<int32_t>(); }
float Archive::getFloat() { return std::bit_cast<float>(getNumber<uint32_t>()); }
double Archive::getDouble() { return std::bit_cast<double>(getNumber<uint64_t>()); }

Point Archive::getPoint() {
  const int32_t x = getInt();
  return {x, getInt()};
}

Rect Archive::getRect() {
  Rect rect;
  for (int32_t* side : {&rect.left, &rect.top, &rect.right, &rect.bottom}) *side = getInt();
  return rect;
}

void Archive::write(const void* bytes, size_t count) {
  assert(isStoring());
  const auto* from = static_cast<const uint8_t*>(bytes);
  if (count > kBufferSize) {
    flush();
    stream.write(from, count);
    return;
  }
  const size_t fits = std::min(count, kBufferSize - bufferAt);
  if (fits > 0) std::memcpy(buffer.data() + bufferAt, from, fits);
  bufferAt += fits;
  if (fits == count) return;
  flush();
  std::memcpy(buffer.data(), from + fits, count - fits);
  bufferAt = count - fits;
}

void Archive::flush() {
  if (!isStoring() || bufferAt == 0) return;
  const size_t count = bufferAt;
  bufferAt = 0;  // even if the stream refuses, nothing is written twice
  stream.write(buffer.data(), count);
}

// Keeps what can be given back and what is still unread, and fetches behind it as much as fits.
void Archive::refill() {
  const size_t kept = std::min(bufferAt - bufferBegin, kStepBackLimit);
  const size_t from = bufferAt - kept;
  std::memmove(buffer.data(), buffer.data() + from, bufferEnd - from);
  bufferEnd -= from;
  bufferAt = kept;
  bufferBegin = 0;
  bufferEnd += stream.read(buffer.data() + bufferEnd, std::min(kBufferSize, buffer.size() - bufferEnd));
}

size_t Archive::read(void* bytes, size_t count) {
  assert(isLoading());
  auto* to = static_cast<uint8_t*>(bytes);
  size_t got = std::min(count, bufferEnd - bufferAt);
  if (got > 0) std::memcpy(to, buffer.data() + bufferAt, got);
  bufferAt += got;
  if (got < count) {
    bufferBegin = bufferAt = bufferEnd = 0;
    const size_t wanted = count - got;
    if (wanted >= kBufferSize) return got + stream.read(to + got, wanted);
    refill();
    const size_t more = std::min(wanted, bufferEnd);
    std::memcpy(to + got, buffer.data(), more);
    bufferAt = more;
    got += more;
  }
  bufferBegin = bufferAt;
  return got;
}

void Archive::readExactly(void* bytes, size_t count) {
  if (read(bytes, count) != count) endOfStream();
}

void Archive::writeString(const std::string& text) {
  const size_t length = text.size();
  if (length > UINT32_MAX) throw ArchiveException("a text is too long to be stored");
  if (length < kLongString) {
    putByte(static_cast<uint8_t>(length));
  } else {
    putByte(kLongString);
    if (length < kWideString) {
      putWord(static_cast<uint16_t>(length));
    } else {
      putWord(kLongest);
      putDword(static_cast<uint32_t>(length));
    }
  }
  write(text.data(), length);
}

// One length prefix. wide: in, whether a wide string has been announced; out, whether this prefix announces
// it.
uint64_t Archive::readLength(bool& wide) {
  const bool announced = wide;
  wide = false;
  const uint8_t brief = getByte();
  if (brief != kLongString) return brief;
  const uint16_t longer = getWord();
  if (longer == kLongest) return getDword();
  if (longer != kWideString) return longer;
  if (announced) throw ArchiveException("a text is damaged");
  wide = true;
  return 0;
}

std::string Archive::readString() {
  bool wide = false;
  uint64_t length = readLength(wide);
  const bool isWide = wide;
  if (isWide) length = readLength(wide);
  const uint64_t bytes = length * (isWide ? 2 : 1);
  if (bytes > remaining()) endOfStream();
  std::string text(static_cast<size_t>(bytes), '\0');
  readExactly(text.data(), text.size());
  if (!isWide) return text;
  for (size_t i = 0; i < length; ++i) text[i] = text[2 * i + 1] == '\0' ? text[2 * i] : '?';
  text.resize(static_cast<size_t>(length));
  return text;
}

void Archive::writeCount(uint64_t count) {
  if (count > UINT32_MAX) throw ArchiveException("a collection is too long to be stored");
  putWord(static_cast<uint16_t>(std::min<uint64_t>(count, kLongest)));
  if (count >= kLongest) putDword(static_cast<uint32_t>(count));
}

uint64_t Archive::readCount() {
  const uint16_t count = getWord();
  return count == kLongest ? getDword() : count;
}

size_t Archive::readCountOf(size_t elementBytes) {
  const uint64_t count = readCount();
  if (count > remaining() / std::max<size_t>(elementBytes, 1)) endOfStream();
  return static_cast<size_t>(count);
}

uint64_t Archive::remaining() const {
  return isLoading() ? bufferEnd - bufferAt + stream.remaining() : stream.remaining();
}

void Archive::charge(uint64_t bytes) {
  memoryCharged += bytes;
  if (memoryCharged > memoryLimit) throw ArchiveException("the file asks for more memory than it can need");
}

void Archive::stepBack(size_t count) {
  if (count > std::min(bufferAt - bufferBegin, kStepBackLimit))
    throw ArchiveException("the file can't be read back this far");
  bufferAt -= count;
}

}  // namespace tarnvisor

// The byte-stream encoder of all document files and of objects that are copied through memory. Numbers are
// little-endian; there is no header, padding or checksum. docs/formats/archive.md tells the encoding.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <span>
#include <stdexcept>
#include <string>
#include <unordered_map>
#include <vector>

#include "archive/object.h"
#include "archive/stream.h"
#include "base/geometry.h"

namespace tarnvisor {

// The one exception of files and archives: its words can be shown to a user. Caught where a document is
// opened or saved.
class ArchiveException : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// One direction for its whole life. A storing archive must be closed (or flushed) before its stream is used;
// its destructor does not flush, so that an abandoned store leaves no exception on its way.
class Archive {
 public:
  enum class Direction { Storing, Loading };
  static constexpr size_t kBufferSize = 4096;
  static constexpr size_t kStepBackLimit = 8;
  // Objects within objects within objects: more are refused, so that a damaged file can't exhaust the stack.
  static constexpr int kDeepest = 64;
  static constexpr uint64_t kMemoryAllowance = uint64_t{48} << 20;

  Archive(ByteStream& stream, Direction direction);
  ~Archive();
  Archive(const Archive&) = delete;
  Archive& operator=(const Archive&) = delete;

  bool isStoring() const { return direction == Direction::Storing; }
  bool isLoading() const { return direction == Direction::Loading; }

  void putByte(uint8_t value);
  void putWord(uint16_t value);
  void putShort(int16_t value);
  void putDword(uint32_t value);
  void putInt(int32_t value);
  void putFloat(float value);
  void putDouble(double value);
  void putPoint(Point value);
  void putRect(const Rect& value);
  void write(const void* bytes, size_t count);

  // Each throws ArchiveException at the end of the stream.
  uint8_t getByte();
  uint16_t getWord();
  int16_t getShort();
  uint32_t getDword();
  int32_t getInt();
  float getFloat();
  double getDouble();
  Point getPoint();
  Rect getRect();
  // A raw block; returns how many bytes there were, fewer than asked only at the end of the stream.
  size_t read(void* bytes, size_t count);
  // The same, but a short block is an exception.
  void readExactly(void* bytes, size_t count);

  void writeString(const std::string& text);
  // All three prefix forms, and wide strings, whose characters above 0xFF become "?".
  std::string readString();
  void writeCount(uint64_t count);
  uint64_t readCount();
  // A count of elements that each take at least elementBytes: one that the rest of the stream can't hold is
  // an exception before anything is allocated.
  size_t readCountOf(size_t elementBytes);

  // Value arrays: a count, then one raw block. The element must be as its bytes are (little-endian machine).
  template <class T>
  void writeValues(std::span<const T> values) {
    static_assert(std::is_trivially_copyable_v<T>);
    writeCount(values.size());
    write(values.data(), values.size_bytes());
  }
  template <class T>
  void readValues(std::vector<T>& values) {
    static_assert(std::is_trivially_copyable_v<T>);
    values.resize(readCountOf(sizeof(T)));
    readExactly(values.data(), values.size() * sizeof(T));
  }

  // Counts memory that is taken beyond the bytes read for it, such as an object's own size. More than the
  // stream's size and kMemoryAllowance together is an exception: small entries of a damaged file must not
  // become gigabytes.
  void charge(uint64_t bytes);

  // An object by reference; null is allowed. An object written twice is stored once. Objects are told apart
  // by their address, so each must live until the store is complete.
  void writeObject(ArchiveObject* object);
  // The object at this place, null for a null reference. The archive owns every object until it is taken: the
  // first call that meets a new object hands it over in Fresh, a shared reference comes back as a plain
  // pointer. A reference to an object that its owner has freed meanwhile is an exception. When an exception
  // leaves, the object under construction is freed with all that it had taken.
  struct Loaded {
    ArchiveObject* object = nullptr;       // valid as long as its owner keeps it
    std::unique_ptr<ArchiveObject> fresh;  // set when this reference brought the object
  };
  // expected: the class that the object must be or derive from; null for any.
  Loaded readObject(const ArchiveClass* expected);
  // A new object of class T that nobody else refers to, for lists that own their items. Null stays null; a
  // shared reference is an exception, since two owners can't hold one object.
  template <class T>
  std::unique_ptr<T> readOwned() {
    Loaded loaded = readObject(&T::archiveClass());
    if (loaded.object && !loaded.fresh) throw ArchiveException("an object is owned twice");
    return std::unique_ptr<T>(static_cast<T*>(loaded.fresh.release()));
  }

  // The collection of objects in either direction: a count, then a reference each. Loading appends, what was
  // read before an exception stays, and null references are passed over.
  template <class T>
  void serializeOwned(std::vector<std::unique_ptr<T>>& items) {
    constexpr size_t kShortestReference = 2;
    if (isStoring()) {
      writeCount(items.size());
      for (const auto& item : items) writeObject(item.get());
      return;
    }
    for (size_t left = readCountOf(kShortestReference); left > 0; --left)
      if (auto item = readOwned<T>()) items.push_back(std::move(item));
  }

  void flush();
  void close() { flush(); }
  // Bytes not yet read.
  uint64_t remaining() const;
  // Gives back the last bytes read as numbers, at most kStepBackLimit; not across a raw block or string.
  void stepBack(size_t count);

 private:
  friend class ArchiveObject;
  [[noreturn]] static void endOfStream();
  template <class T>
  void putNumber(T value);
  template <class T>
  T getNumber();
  void refill();
  uint64_t readLength(bool& wide);

  uint32_t nextNumber();
  void writeClass(const ArchiveClass& isClass);
  const ArchiveClass& readClassRecord();
  const ArchiveClass& knownClass(uint32_t number) const;
  ArchiveObject* knownObject(uint32_t number, const ArchiveClass* expected) const;
  Loaded readNewObject(const ArchiveClass& isClass, const ArchiveClass* expected);
  void forget(uint32_t number) { loadedEntries[number].object = nullptr; }

  ByteStream& stream;
  const Direction direction;
  // Loading: the last few bytes already given out stay in front of what is fetched next.
  std::array<uint8_t, kStepBackLimit + kBufferSize> buffer;
  size_t bufferBegin = 0;  // loading: the first byte that can be given back
  size_t bufferAt = 0;     // next byte to read, or bytes waiting to be written
  size_t bufferEnd = 0;    // loading: end of the bytes in the buffer
  // Numbers of classes and objects in the order first met; number 0 is null.
  std::unordered_map<const void*, uint32_t> storedNumbers;
  struct Entry {
    const ArchiveClass* isClass = nullptr;
    ArchiveObject* object = nullptr;  // null for a class, and for an object that is gone
  };
  std::vector<Entry> loadedEntries;
  uint32_t numbersUsed = 0;
  uint64_t memoryLimit = 0;
  uint64_t memoryCharged = 0;
  int depth = 0;  // of objects within objects
};

}  // namespace tarnvisor

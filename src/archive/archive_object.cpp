// Objects by reference: the table that numbers classes and objects in the order first met.
#include <string_view>

#include "archive/archive.h"
#include "base/text.h"

namespace tarnvisor {

namespace {

constexpr uint16_t kNull = 0;
constexpr uint16_t kBigTag = 0x7FFF;
constexpr uint16_t kClassBit = 0x8000;
constexpr uint16_t kNewClass = 0xFFFF;
constexpr uint32_t kBigClassBit = 0x80000000;

// A name out of a file, fit for a message.
std::string printable(std::string_view name) {
  constexpr size_t longest = 64;
  std::string text(name.substr(0, longest));
  for (char& c : text)
    if (c < ' ' || c > '~') c = '?';
  return text;
}

class Nesting {
 public:
  explicit Nesting(int& counter) : depth(counter) {
    if (depth >= Archive::kDeepest) throw ArchiveException("objects are nested too deeply");
    ++depth;
  }
  ~Nesting() { --depth; }
  Nesting(const Nesting&) = delete;
  Nesting& operator=(const Nesting&) = delete;

 private:
  int& depth;
};

void requireKind(const ArchiveClass& found, const ArchiveClass* expected) {
  if (expected && !found.derivesFrom(*expected))
    throw ArchiveException(format("a \"%s\" stands where a \"%s\" belongs", found.name, expected->name));
}

}  // namespace

uint32_t Archive::nextNumber() {
  if (numbersUsed >= kBigClassBit - 1) throw ArchiveException("too many objects");
  return ++numbersUsed;
}

void Archive::writeClass(const ArchiveClass& isClass) {
  if (const auto known = storedNumbers.find(&isClass); known != storedNumbers.end()) {
    if (known->second < kBigTag) return putWord(static_cast<uint16_t>(kClassBit | known->second));
    putWord(kBigTag);
    return putDword(kBigClassBit | known->second);
  }
  const std::string_view name = isClass.name;
  putWord(kNewClass);
  putWord(isClass.schema);
  putWord(static_cast<uint16_t>(name.size()));
  write(name.data(), name.size());
  storedNumbers.emplace(&isClass, nextNumber());
}

void Archive::writeObject(ArchiveObject* object) {
  if (!object) return putWord(kNull);
  if (const auto known = storedNumbers.find(object); known != storedNumbers.end()) {
    if (known->second < kBigTag) return putWord(static_cast<uint16_t>(known->second));
    putWord(kBigTag);
    return putDword(known->second);
  }
  const Nesting nesting(depth);
  writeClass(object->classRecord());
  storedNumbers.emplace(object, nextNumber());
  object->serialize(*this);
}

const ArchiveClass& Archive::readClassRecord() {
  const uint16_t schema = getWord();
  std::string name(getWord(), '\0');
  readExactly(name.data(), name.size());
  const ArchiveClass* found = findArchiveClass(name);
  if (!found) throw ArchiveException(format("unknown class \"%s\"", printable(name).c_str()));
  if (found->schema != schema)
    throw ArchiveException(
        format("class \"%s\" has schema %i instead of %i", found->name, schema, found->schema));
  nextNumber();
  loadedEntries.push_back({found, nullptr});
  return *found;
}

const ArchiveClass& Archive::knownClass(uint32_t number) const {
  if (number > numbersUsed || !loadedEntries[number].isClass)
    throw ArchiveException(format("number %u is no class of this file", number));
  return *loadedEntries[number].isClass;
}

ArchiveObject* Archive::knownObject(uint32_t number, const ArchiveClass* expected) const {
  if (number == kNull) return nullptr;
  if (number > numbersUsed || !loadedEntries[number].object)
    throw ArchiveException(format("number %u is no object of this file", number));
  ArchiveObject* object = loadedEntries[number].object;
  requireKind(object->classRecord(), expected);
  return object;
}

Archive::Loaded Archive::readNewObject(const ArchiveClass& isClass, const ArchiveClass* expected) {
  requireKind(isClass, expected);
  constexpr uint64_t kObjectMemory = 256;  // an object of the usual kinds, with its places in list and table
  charge(kObjectMemory);
  const Nesting nesting(depth);
  Loaded loaded;
  if (isClass.create) loaded.fresh = isClass.create();
  if (!loaded.fresh) throw ArchiveException(format("no object of class \"%s\" can be made", isClass.name));
  loaded.object = loaded.fresh.get();
  const uint32_t number = nextNumber();
  loadedEntries.push_back({nullptr, loaded.object});
  loaded.object->loader = this;
  loaded.object->loadNumber = number;
  loaded.object->serialize(*this);
  return loaded;
}

Archive::Loaded Archive::readObject(const ArchiveClass* expected) {
  const uint16_t tag = getWord();
  if (tag == kNewClass) return readNewObject(readClassRecord(), expected);
  if (tag == kBigTag) {
    const uint32_t number = getDword();
    if (number & kBigClassBit) return readNewObject(knownClass(number & ~kBigClassBit), expected);
    return {knownObject(number, expected), nullptr};
  }
  if (tag & kClassBit) return readNewObject(knownClass(tag & ~kClassBit), expected);
  return {knownObject(tag, expected), nullptr};
}

}  // namespace tarnvisor

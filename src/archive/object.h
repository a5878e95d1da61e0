// The root of everything that is stored by reference, and the registry that finds a class by its stored name.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace tarnvisor {

class Archive;
class ArchiveObject;

// One stored class. The name and schema stand in files; both stay as they are for ever.
struct ArchiveClass {
  const char* name;
  uint16_t schema;
  const ArchiveClass* base;  // null for the object root
  std::unique_ptr<ArchiveObject> (*create)();

  bool derivesFrom(const ArchiveClass& other) const {
    for (const ArchiveClass* c = this; c; c = c->base)
      if (c == &other) return true;
    return false;
  }
};

class ArchiveObject {
 public:
  ArchiveObject() = default;
  // A copy is an object of its own: no archive knows it.
  ArchiveObject(const ArchiveObject&) {}
  ArchiveObject& operator=(const ArchiveObject&) { return *this; }

  virtual const ArchiveClass& classRecord() const = 0;
  virtual ~ArchiveObject();
  // Stores or loads all fields in one order; tests the direction itself.
  virtual void serialize(Archive& archive) = 0;

 private:
  friend class Archive;
  // While the archive that brought the object lives: an object that goes before it is struck from its table,
  // so that a later reference to it is refused instead of dangling.
  Archive* loader = nullptr;
  uint32_t loadNumber = 0;
};

// Filled at start-up; the record must outlive the registry. Registering a name twice with the same record is
// harmless, with another one a std::logic_error.
void registerArchiveClass(const ArchiveClass& record);
// Null when no such class is registered.
const ArchiveClass* findArchiveClass(std::string_view name);

}  // namespace tarnvisor

// What commands say of themselves: the words of each id, gathered from the rows of all kinds of document, the
// main frame and the application. Commands that several kinds have, each in its own way, have their words
// here.
#pragma once

#include <map>
#include <string>

#include "app/basicapp.h"
#include "framework/command.h"

namespace tarnvisor {

// How menus show a command: in sentence case, spelled right, and with dots where it asks something.
std::string shownCommandText(const CommandRow& row);

class CommandDirectory {
 public:
  // Of an application whose kinds of document are registered.
  explicit CommandDirectory(const CBasicApp& app);
  // All empty for an id that nobody knows.
  const CommandWords& words(int32_t id) const;
  // A line per shortcut: the keys and what they do.
  std::string shortcutList() const;
  const std::map<int32_t, CommandWords>& all() const { return known; }

 private:
  void add(const CommandTableBase* table);
  std::map<int32_t, CommandWords> known;
};

}  // namespace tarnvisor

#include "framework/command.h"

#include "base/text.h"
#include "framework/documenttype.h"

namespace tarnvisor {

namespace {
std::string withoutUnderline(std::string_view menuText) {
  std::string plain;
  for (const char c : menuText.substr(0, menuText.find('\t')))
    if (c != '&') plain += c;
  return plain;
}
}  // namespace

std::string plainCommandText(std::string_view menuText) {
  std::string plain = withoutUnderline(menuText);
  while (!plain.empty() && (plain.back() == '.' || plain.back() == ' ')) plain.pop_back();
  return plain;
}

bool sameCommandText(std::string_view a, std::string_view b) {
  return equalIgnoringCase(plainCommandText(a), plainCommandText(b));
}

const CommandRow* CommandTableBase::find(int32_t id) const {
  for (const CommandTableBase* table = this; table; table = table->base)
    for (const CommandRow& row : table->all)
      if (row.id == id) return &row;
  return nullptr;
}

const CommandRow* CommandTableBase::find(std::string_view text) const {
  if (plainCommandText(text).empty()) return nullptr;
  // Trailing dots tell "Grid..." from "Grid"; without such a pair they don't matter.
  for (const CommandTableBase* table = this; table; table = table->base)
    for (const CommandRow& row : table->all)
      if (equalIgnoringCase(withoutUnderline(row.text), text)) return &row;
  for (const CommandTableBase* table = this; table; table = table->base)
    for (const CommandRow& row : table->all)
      if (sameCommandText(row.text, text)) return &row;
  for (const CommandTableBase* table = this; table; table = table->base)
    for (const CommandRow& row : table->all)
      if (sameCommandText(row.words.shown, text)) return &row;
  return nullptr;
}

namespace {
std::string atWork;

// Also of a command that throws, and of one that runs a loop of its own.
struct AtWork {
  explicit AtWork(const CommandRow& row) : isOuter(atWork.empty()) {
    if (isOuter) atWork = plainCommandText(*row.words.shown ? row.words.shown : row.text);
  }
  ~AtWork() {
    if (isOuter) atWork.clear();
  }
  AtWork(const AtWork&) = delete;
  AtWork& operator=(const AtWork&) = delete;
  const bool isOuter;
};

template <class Key>
CommandResult route(std::span<CommandTarget* const> chain, const Key& key) {
  for (CommandTarget* target : chain) {
    const CommandTableBase* table = target ? target->commands() : nullptr;
    const CommandRow* row = table ? table->find(key) : nullptr;
    if (!row) continue;
    if (!row->enabled(*target)) return CommandResult::Disabled;
    const WorkOf working(target->documentOfCommands());
    const AtWork named(*row);
    row->execute(*target);
    return CommandResult::Done;
  }
  return CommandResult::Unknown;
}
}  // namespace

const std::string& commandAtWork() { return atWork; }

CommandResult routeCommand(std::span<CommandTarget* const> chain, int32_t id) { return route(chain, id); }
CommandResult routeCommand(std::span<CommandTarget* const> chain, std::string_view text) {
  return route(chain, text);
}

}  // namespace tarnvisor

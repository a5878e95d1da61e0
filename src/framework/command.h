// Commands are data: one table per class, a row per command. A command is found by its id or by its menu
// text, and goes to the first of a chain of targets whose tables know it: the active view, its document, the
// frame, the application.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace tarnvisor {

class CommandTarget;

struct CommandRow {
  int32_t id = 0;
  const char* text = "";  // the menu's, with "&" before the letter that is underlined; empty for none
  void (*run)(const CommandRow&, CommandTarget&) = nullptr;
  bool (*test)(const CommandRow&, const CommandTarget&, bool forTick) = nullptr;
  const void* typed = nullptr;  // the row in its class's own table

  void execute(CommandTarget& target) const { run(*this, target); }
  bool enabled(const CommandTarget& target) const { return test(*this, target, false); }
  bool ticked(const CommandTarget& target) const { return test(*this, target, true); }
};

// The rows of one class, and the table of its base class.
class CommandTableBase {
 public:
  explicit CommandTableBase(const CommandTableBase* baseTable) : base(baseTable) {}
  const CommandRow* find(int32_t id) const;             // null when neither this table nor its base knows it
  const CommandRow* find(std::string_view text) const;  // by sameCommandText
  std::span<const CommandRow> rows() const { return all; }
  const CommandTableBase* baseTable() const { return base; }

 protected:
  std::vector<CommandRow> all;

 private:
  const CommandTableBase* base;
};

class CommandTarget {
 public:
  virtual ~CommandTarget() = default;
  // Null for a target without commands.
  virtual const CommandTableBase* commands() const { return nullptr; }
};

// The rows of class T: what a command does, and the tests that enable and tick it (enabled where there is
// none).
template <class T>
class CommandTable : public CommandTableBase {
 public:
  struct Row {
    int32_t id;
    const char* text;
    void (T::*does)();
    bool (T::*enabledWhen)() const = nullptr;
    bool (T::*tickedWhen)() const = nullptr;
  };

  CommandTable(std::initializer_list<Row> rowList, const CommandTableBase* baseTable = nullptr)
      : CommandTableBase(baseTable), typedRows(rowList) {
    for (const Row& row : typedRows) all.push_back({row.id, row.text, &runRow, &testRow, &row});
  }
  CommandTable(const CommandTable&) = delete;
  CommandTable& operator=(const CommandTable&) = delete;

 private:
  static void runRow(const CommandRow& row, CommandTarget& target) {
    (static_cast<T&>(target).*static_cast<const Row*>(row.typed)->does)();
  }
  static bool testRow(const CommandRow& row, const CommandTarget& target, bool forTick) {
    const Row& typed = *static_cast<const Row*>(row.typed);
    const auto question = forTick ? typed.tickedWhen : typed.enabledWhen;
    return question ? (static_cast<const T&>(target).*question)() : !forTick;
  }
  const std::vector<Row> typedRows;
};

// Menu texts match without "&", trailing dots and blanks, what follows a tab, and regard to case.
bool sameCommandText(std::string_view a, std::string_view b);
std::string plainCommandText(std::string_view menuText);

enum class CommandResult { Unknown, Disabled, Done };
// Routes to the first target that knows the command; null targets are passed over.
CommandResult routeCommand(std::span<CommandTarget* const> chain, int32_t id);
CommandResult routeCommand(std::span<CommandTarget* const> chain, std::string_view text);

}  // namespace tarnvisor

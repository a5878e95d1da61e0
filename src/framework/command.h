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

class CDocument;
class CommandTarget;

// What a command says of itself beside its menu text.
struct CommandWords {
  const char* tip = "";     // short, for tool tips and the list of shortcuts
  const char* status = "";  // a sentence, for the status bar
  const char* keys = "";    // "Ctrl+S"; empty for none
  const char* icon = "";    // of a tool bar button: the file's name without ending; empty for none
  const char* whyOff =
      "";                  // a sentence for its tip while the command is off; empty for that of its condition
  bool asks = false;       // a form or chooser follows: its entry ends in dots also where its text doesn't
  const char* shown = "";  // what menus show where the text, which scripts go by, is misspelled or says less
  bool isEmpty() const { return !*tip; }
};

struct CommandRow {
  int32_t id = 0;
  const char* text = "";  // the menu's, with "&" before the letter that is underlined; empty for none
  CommandWords words;     // empty where a base class's row or another kind's of the same id has them
  void (*run)(const CommandRow&, CommandTarget&) = nullptr;
  bool (*test)(const CommandRow&, const CommandTarget&, bool forTick) = nullptr;
  const void* typed = nullptr;  // the row in its class's own table

  void execute(CommandTarget& target) const { run(*this, target); }
  bool enabled(const CommandTarget& target) const;
  bool ticked(const CommandTarget& target) const { return test(*this, target, true); }
};

// The rows of one class, and the table of its base class.
class CommandTableBase {
 public:
  explicit CommandTableBase(const CommandTableBase* baseTable) : base(baseTable) {}
  const CommandRow* find(int32_t id) const;             // null when neither this table nor its base knows it
  const CommandRow* find(std::string_view text) const;  // by sameCommandText, or by what menus show
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
  // A long work is under way on it: its commands are off.
  virtual bool isBusy() const { return false; }
  // Commands that its present state rules out, whatever their own tests say.
  virtual bool refuses(int32_t /*command*/) const { return isBusy(); }
  // Why one is off in its present state; `usual` is what the command's words say.
  virtual std::string whyOff(int32_t /*command*/, const char* usual) const { return usual; }
  // The document that its commands work on; null for none.
  virtual const CDocument* documentOfCommands() const { return nullptr; }
};

inline bool CommandRow::enabled(const CommandTarget& target) const {
  return !target.refuses(id) && test(*this, target, false);
}

// The rows of class T: all there is to say of each command.
template <class T>
class CommandTable : public CommandTableBase {
 public:
  using Does = void (T::*)();
  using Test = bool (T::*)() const;
  struct Row {
    Row(int32_t command, const char* menuText, Does handler, CommandWords said = {})
        : Row(command, menuText, handler, nullptr, nullptr, said) {}
    Row(int32_t command, const char* menuText, Does handler, Test enabled, CommandWords said = {})
        : Row(command, menuText, handler, enabled, nullptr, said) {}
    Row(int32_t command, const char* menuText, Does handler, Test enabled, Test ticked,
        CommandWords said = {})
        : id(command), text(menuText), does(handler), enabledWhen(enabled), tickedWhen(ticked), words(said) {}
    int32_t id;
    const char* text;
    Does does;
    Test enabledWhen;  // null: always
    Test tickedWhen;   // null: never
    CommandWords words;
  };

  // What a test asks for, in a sentence: why commands are off that it rules out.
  struct Condition {
    Test test;
    const char* otherwise;
  };

  CommandTable(std::initializer_list<Row> rowList, const CommandTableBase* baseTable = nullptr,
               std::initializer_list<Condition> conditions = {})
      : CommandTableBase(baseTable), typedRows(rowList) {
    for (const Row& row : typedRows) {
      CommandRow& added = all.emplace_back(CommandRow{row.id, row.text, row.words, &runRow, &testRow, &row});
      for (const Condition& condition : conditions)
        if (row.enabledWhen && !*added.words.whyOff && row.enabledWhen == condition.test)
          added.words.whyOff = condition.otherwise;
    }
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

// The text of the command that runs now, as menus show it without its mark and dots; of one within another
// the outer. Empty while none runs.
const std::string& commandAtWork();

enum class CommandResult { Unknown, Disabled, Done };
// Routes to the first target that knows the command; null targets are passed over.
CommandResult routeCommand(std::span<CommandTarget* const> chain, int32_t id);
CommandResult routeCommand(std::span<CommandTarget* const> chain, std::string_view text);

}  // namespace tarnvisor

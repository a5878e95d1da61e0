// What a command says of itself beside its menu text.
#pragma once

#include <cstdint>
#include <span>
#include <string>

namespace tarnvisor {

struct CommandText {
  int32_t id;
  const char* tip;       // short, for tool tips and the list of shortcuts
  const char* status;    // a sentence, for the status bar
  const char* shortcut;  // "Ctrl+S"; empty for none
  const char* icon;      // of a tool bar button: the file's name without ending; empty for none
};

std::span<const CommandText> commandTexts();
// All empty for an id without texts.
const CommandText& commandText(int32_t id);
// A line per shortcut: the keys and what they do.
std::string shortcutListText();

}  // namespace tarnvisor

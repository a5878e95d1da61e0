// The port for message boxes.
#pragma once

#include <functional>
#include <string>

namespace tarnvisor {

enum class Buttons { Ok, OkCancel, YesNo, YesNoCancel };
// Careful: a question whose yes loses something, so that Enter and stray keys say no.
enum class Icon { Information, Question, Careful, Warning, Error };
enum class Answer { Ok, Cancel, Yes, No };

// What a command did, told without a question.
struct Notice {
  std::string words;
  std::string link = {};              // of a button beside the words; empty for none
  std::function<void()> follow = {};  // what it does; called while the main window stands
};

class Messages {
 public:
  virtual ~Messages() = default;
  // Shows the text and waits. With Buttons::Ok the answer is always Ok; closing the box counts as Cancel
  // (No where there is no Cancel).
  virtual Answer show(const std::string& text, Buttons buttons = Buttons::Ok,
                      Icon icon = Icon::Information) = 0;
  // Shows the words for a while, and waits for nobody. Nothing where nobody looks.
  virtual void notice(const Notice& /*told*/) {}
};

}  // namespace tarnvisor

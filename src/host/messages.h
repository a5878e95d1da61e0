// The port for message boxes.
#pragma once

#include <string>

namespace tarnvisor {

enum class Buttons { Ok, OkCancel, YesNo, YesNoCancel };
enum class Icon { Information, Question, Warning, Error };
enum class Answer { Ok, Cancel, Yes, No };

class Messages {
 public:
  virtual ~Messages() = default;
  // Shows the text and waits. With Buttons::Ok the answer is always Ok; closing the box counts as Cancel
  // (No where there is no Cancel).
  virtual Answer show(const std::string& text, Buttons buttons = Buttons::Ok,
                      Icon icon = Icon::Information) = 0;
};

}  // namespace tarnvisor

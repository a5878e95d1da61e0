// The system as scripts drive it: a host that answers from the script, the application with its documents,
// the selected exam and the commands of the main frame. Whoever runs steps without windows makes one of it.
#pragma once

#include <optional>

#include "app/basicapp.h"
#include "batch/scripthost.h"
#include "doppler/dopplerinput.h"
#include "exams/examselection.h"
#include "frame/mainframe.h"

namespace tarnvisor {

// One at a time in the process, as the application.
class ScriptProgram {
 public:
  ScriptProgram();
  // The computer's sound is left alone by runs that don't use it.
  void useVelocityInput() { velocity.emplace(app); }
  // What no script wants is set here: listening to other processes, recent files, questions, another working
  // folder. False where there is nothing to run with; host.shown() tells why, and on success with
  // host.hadError() what is amiss.
  [[nodiscard]] bool start(StartOptions options);

  // In the order in which they need each other.
  ScriptHost host;
  HostScope scope;
  CBasicApp app;
  ExamSelection exams;
  CBasicMainFrame frame;
  std::optional<DopplerInput> velocity;
};

}  // namespace tarnvisor

#include "batch/scriptprogram.h"

#include "assembly/assembly.h"

namespace tarnvisor {

ScriptProgram::ScriptProgram() : scope(host.ports), exams(app), frame(app) { registerStoredClasses(); }

bool ScriptProgram::start(StartOptions options) {
  options.documentTable = documentTable();
  options.listenForOthers = false;
  options.askForDataFolder = false;
  options.keepWorkingFolder = true;
  options.remembersFiles = false;
  if (!app.initInstance(options)) return false;
  while (app.loop.hasPosted() && !app.loop.hasQuit()) app.loop.turn();
  return true;
}

}  // namespace tarnvisor

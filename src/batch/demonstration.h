// The demonstration: a data folder with one subject and one exam, whose stills come from the simulated
// finger and whose chart from a simulated pulse, and a run over it that prints for each still the true and
// the found number of capillaries, and of the chart the true and the found pulse rate.
#pragma once

#include <string>

namespace tarnvisor {

class CBasicApp;
class ScriptHost;

// Makes the subject, the exam, the stills and the chart in the application's data folder, unless they are
// there. Empty on success, otherwise what failed.
std::string makeDemonstration(CBasicApp& app);
// Makes it when needed, then opens each still, finds and counts, saves, and prints the tables; the chart
// likewise. The exit code.
int runDemonstration(CBasicApp& app, ScriptHost& script);

}  // namespace tarnvisor

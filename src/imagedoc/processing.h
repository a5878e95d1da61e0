// The parameters of capillary finding as the settings hold them: read at each load of a document into
// process-wide values, rewritten by the command that edits them.
#pragma once

#include "analysis/finder.h"

namespace tarnvisor {

extern FinderParameters finderParameters;

void readProcessingSettings();  // also those of tortuosity
void writeProcessingSettings();
// Read each time the filter runs.
ApexParameters readApexSettings();

}  // namespace tarnvisor

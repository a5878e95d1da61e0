#include "app/asked.h"

#include "app/processstate.h"
#include "host/host.h"

namespace tarnvisor {

bool asked(Form& form) { return process.quietMode || host().forms.run(form); }

bool isUnattended() { return process.quietMode || !host().choosers.asksSomebody(); }

}  // namespace tarnvisor

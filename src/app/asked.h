// How commands take their parameters.
#pragma once

#include "host/form.h"

namespace tarnvisor {

// Shows a form. Where the program works quietly nobody is asked, and the fields keep the stored values they
// were given. False when the user cancels.
[[nodiscard]] bool asked(Form& form);

// Nobody is there to be asked: a script runs, or the program works quietly.
[[nodiscard]] bool isUnattended();

}  // namespace tarnvisor

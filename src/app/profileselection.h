// Choosing a profile while the program runs: the profile dialog of the program's own folder, its buttons with
// words for what can't be done, and going on with the choice.
#pragma once

#include <string>

#include "app/basicapp.h"
#include "base/outcome.h"
#include "settings/profile.h"

namespace tarnvisor {

// The dialog on the profiles beside the program's own. The profile in use is selected, where it is one of
// them.
ProfileDialog presentProfiles(const std::string& programPath);

// The dialog's buttons. On failure nothing has changed.
Outcome addProfileCopy(ProfileDialog& dialog, const std::string& newName);
Outcome removeProfile(ProfileDialog& dialog);
Outcome resetProfile(ProfileDialog& dialog);

// Keeps the application-wide values in the profile left, unless it is gone or was reset meanwhile (it is then
// the same file that is gone on with), and reads those of the other.
void applyProfile(CBasicApp& app, const std::string& profilePath);

}  // namespace tarnvisor

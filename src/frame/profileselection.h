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

// Goes on with a profile: the one left gets the application-wide values, and those of the other are read. The
// profile in use is read again, since it may have been reset; one that was removed gets nothing.
void applyProfile(CBasicApp& app, const std::string& profilePath);

}  // namespace tarnvisor

#include "frame/profileselection.h"

#include "base/files.h"
#include "base/text.h"
#include "exams/examselection.h"
#include "settings/log.h"
#include "settings/settings.h"

namespace tarnvisor {

namespace {
// What a name and its ending may be long together on any file system.
constexpr size_t kLongestName = 250;
}  // namespace

ProfileDialog presentProfiles(const std::string& programPath) {
  const std::string name = withoutExtension(fileNameOf(programPath));
  ProfileDialog dialog(programFolder(), name, installedFolder() + name + ".def");
  for (const std::string& profile : dialog.names())
    if (dialog.pathOf(profile) == settings.path()) {
      dialog.select(profile);
      break;
    }
  return dialog;
}

Outcome addProfileCopy(ProfileDialog& dialog, const std::string& newName) {
  const std::string name(trimmed(newName));
  if (name.empty()) return Outcome::failure("A profile needs a name.");
  if (name.find_first_of(std::string_view("/\\\0", 3)) != std::string::npos)
    return Outcome::failure("A profile's name can't hold \"/\" or \"\\\": it would lie in another folder.");
  if (name.size() > kLongestName) return Outcome::failure("This name is too long.");
  if (equalIgnoringCase(name, ProfileDialog::kNormal))
    return Outcome::failure("\"normal\" is the program's own profile. Please choose another name.");
  if (fileExists(dialog.pathOf(name)))
    return Outcome::failure(format("There is a profile \"%s\" already.", name.c_str()));
  if (!dialog.addCopy(name))
    return Outcome::failure(format("The profile \"%s\" could not be written.", name.c_str()));
  return Outcome::success();
}

Outcome removeProfile(ProfileDialog& dialog) {
  if (dialog.selected() == ProfileDialog::kNormal)
    return Outcome::failure("The program's own profile can't be removed.");
  const std::string name = dialog.selected();
  if (dialog.pathOf(name) == settings.path())
    return Outcome::failure(format(
        "The profile \"%s\" is in use. Choose another one with OK first, then remove it.", name.c_str()));
  return dialog.remove() ? Outcome::success()
                         : Outcome::failure(format("The profile \"%s\" could not be removed.", name.c_str()));
}

Outcome resetProfile(ProfileDialog& dialog) {
  return dialog.resetToDefault()
             ? Outcome::success()
             : Outcome::failure(format(
                   "The profile \"%s\" could not be reset: the factory profile is missing, or the folder can't be written.",
                   dialog.selected().c_str()));
}

void applyProfile(CBasicApp& app, const std::string& profilePath) {
  if (profilePath != settings.path()) {
    if (fileExists(settings.path())) app.saveSettings();
    settings.setPath(profilePath);
    logPrintf("profile %s\n", profilePath.c_str());
  }
  // What is recorded goes on belonging to the selected exam.
  const std::string recordings = process.recordDir;
  app.takeProfile();
  theExams().setRecordingFolder(recordings);
}

}  // namespace tarnvisor

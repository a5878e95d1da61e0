// Which files the settings are in, and the dialog that chooses between profiles. The profile, its log and the
// machine's store stand beside the program file; where that folder can't be written, in the user's
// configuration folder, filled from the installed factory profile (.def).
#pragma once

#include <string>
#include <vector>

namespace tarnvisor {

// The profile dialog, without its face: which profile to run with, and making and removing them.
class ProfileDialog {
 public:
  static constexpr const char* kTitle = "Tarnvisor Select Profile";
  static constexpr const char* kWhat =
      "You can initialise Tarnvisor with one of the profiles below.  Any changes to calibration constants, calculation parameters, user settings, or window placement will only effect the selected profile.";
  static constexpr const char* kNames =
      "You can use descriptive sentences for your profiles using any characters legal for long filenames.";
  static constexpr const char* kNewName = "New profile name";
  static constexpr const char* kNormal = "normal";  // the program's own profile

  // folder with its separator; name is the program's; def the path of the factory profile.
  ProfileDialog(std::string folder, std::string name, std::string def);

  const std::vector<std::string>& names() const { return list; }
  const std::string& selected() const { return choice; }
  void select(const std::string& profile);
  // Copies the selected profile to a new name and selects it. False for a name that no file can have, or one
  // taken.
  [[nodiscard]] bool addCopy(const std::string& newName);
  // Moves the selected profile to its .bak; "normal" stays.
  [[nodiscard]] bool remove();
  // Moves the selected profile to its .bak, then copies the factory profile in its place.
  [[nodiscard]] bool resetToDefault();
  // The file of a listed profile.
  std::string pathOf(const std::string& profile) const;

 private:
  bool moveToBackup(const std::string& profile) const;
  std::string folder;
  std::string ownName;
  std::string defPath;
  std::vector<std::string> list;
  std::string choice = kNormal;
};

class ProfileFace {
 public:
  virtual ~ProfileFace() = default;
  virtual bool run(ProfileDialog& dialog) = 0;  // false for Cancel
};

// Points settings, hwSettings and the log at their files, and makes the profile from the factory one where
// there is none. programPath: the program's file; empty or longer than kMaxPath, the settings stay unset.
// False when the user cancels the dialog, which is shown only with a face and when there are profiles.
bool selectProfile(const std::string& programPath, bool askForDialog, ProfileFace* face = nullptr);
// The same with a profile that is named: log and machine's store stand beside it. One that isn't there is
// made from the factory profile.
bool selectProfileFile(const std::string& programPath, const std::string& profilePath);

// The folder that holds the profile: the program's data folder. With a separator.
const std::string& programFolder();
// The folder of the program's file, where the parts that were installed with it lie. With a separator.
const std::string& installedFolder();

// Keeps a document's folder as the one last used.
void rememberFolder(const std::string& path);
std::string rememberedFolder();

}  // namespace tarnvisor

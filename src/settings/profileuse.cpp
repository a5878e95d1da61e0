#include "settings/profileuse.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include "base/files.h"
#include "settings/settings.h"

namespace tarnvisor {

namespace {
// Whether the name still means the open file: another run may have taken its mark away meanwhile.
bool isStillNamed(int handle, const std::string& path) {
  struct stat open = {};
  struct stat named = {};
  return ::fstat(handle, &open) == 0 && ::stat(path.c_str(), &named) == 0 && open.st_ino == named.st_ino;
}
}  // namespace

ProfileClaim::ProfileClaim(const std::string& profilePath) : mark(profilePath + ".lock") {
  if (profilePath.empty()) return;
  do {
    if (handle >= 0) ::close(handle);
    handle = ::open(mark.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666);
    if (handle < 0) return;
    ours = ::flock(handle, LOCK_EX | LOCK_NB) == 0;
  } while (ours && !isStillNamed(handle, mark));
}

ProfileClaim::~ProfileClaim() {
  if (handle < 0) return;
  if (ours) ::unlink(mark.c_str());
  ::close(handle);
}

Outcome workOnCopy(const std::string& copyPath) {
  if (copyPath.empty()) return Outcome::failure("there is no place for a copy of the settings");
  const std::string original = settings.path();
  if (fileExists(original))
    if (Outcome copied = copyFile(original, copyPath); !copied) return copied;
  settings.setPath(copyPath);
  return Outcome::success();
}

}  // namespace tarnvisor

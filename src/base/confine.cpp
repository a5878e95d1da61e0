#include "base/confine.h"

#include <fcntl.h>
#include <linux/landlock.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstdint>

namespace tarnvisor {

namespace {

// The headers of older systems do not name these two.
constexpr uint64_t kRefer = 1ull << 13, kTruncate = 1ull << 14;
constexpr uint64_t kWriting = LANDLOCK_ACCESS_FS_WRITE_FILE | LANDLOCK_ACCESS_FS_REMOVE_DIR |
                              LANDLOCK_ACCESS_FS_REMOVE_FILE | LANDLOCK_ACCESS_FS_MAKE_CHAR |
                              LANDLOCK_ACCESS_FS_MAKE_DIR | LANDLOCK_ACCESS_FS_MAKE_REG |
                              LANDLOCK_ACCESS_FS_MAKE_SOCK | LANDLOCK_ACCESS_FS_MAKE_FIFO |
                              LANDLOCK_ACCESS_FS_MAKE_BLOCK | LANDLOCK_ACCESS_FS_MAKE_SYM | kRefer;

class Descriptor {
 public:
  explicit Descriptor(long opened) : number(static_cast<int>(opened)) {}
  ~Descriptor() {
    if (number >= 0) ::close(number);
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  const int number;
};

bool allow(const Descriptor& rules, const char* folder, uint64_t access) {
  const Descriptor below(::open(folder, O_PATH | O_CLOEXEC));
  const landlock_path_beneath_attr rule{.allowed_access = access, .parent_fd = below.number};
  return below.number >= 0 &&
         ::syscall(SYS_landlock_add_rule, rules.number, LANDLOCK_RULE_PATH_BENEATH, &rule, 0) == 0;
}

}  // namespace

bool confineWrites(const std::string& folder) {
  const long form = ::syscall(SYS_landlock_create_ruleset, nullptr, 0, LANDLOCK_CREATE_RULESET_VERSION);
  if (form < 2) return false;  // the first one forbids to rename from folder to folder
  const uint64_t truncating = form > 2 ? kTruncate : 0;
  const landlock_ruleset_attr wanted{.handled_access_fs = kWriting | truncating};
  const Descriptor rules(::syscall(SYS_landlock_create_ruleset, &wanted, sizeof wanted, 0));
  return rules.number >= 0 && allow(rules, folder.c_str(), kWriting | truncating) &&
         allow(rules, "/dev", LANDLOCK_ACCESS_FS_WRITE_FILE | truncating) &&
         ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
         ::syscall(SYS_landlock_restrict_self, rules.number, 0) == 0;
}

}  // namespace tarnvisor

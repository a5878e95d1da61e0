#include "app/instancelink.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <utility>

#include "base/files.h"
#include "base/text.h"
#include "settings/log.h"

namespace tarnvisor {

namespace {

// A folder that only this user can enter: the run-time folder of the login, or one made for the purpose.
// Empty when there is none to be trusted.
std::string privateFolder() {
  const char* runtime = std::getenv("XDG_RUNTIME_DIR");
  const std::string folder = runtime && *runtime
                                 ? withSeparator(runtime)
                                 : format("/tmp/tarnvisor-%u/", static_cast<unsigned>(::geteuid()));
  ::mkdir(folder.c_str(), 0700);
  struct stat facts {};
  // Without the separator: behind it a link would be followed.
  const bool ours = ::lstat(folder.substr(0, folder.size() - 1).c_str(), &facts) == 0 &&
                    S_ISDIR(facts.st_mode) && facts.st_uid == ::geteuid() && (facts.st_mode & 077) == 0;
  return ours ? folder : std::string();
}

// The address of a class, false when its path doesn't fit.
bool addressOf(const std::string& className, sockaddr_un& address) {
  const std::string folder = privateFolder();
  const std::string path = folder + lowerCase(className) + ".socket";
  if (folder.empty() || path.size() >= sizeof address.sun_path) return false;
  address = {};
  address.sun_family = AF_UNIX;
  std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
  return true;
}

int connectTo(const sockaddr_un& address) {
  const int handle = ::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
  if (handle >= 0 && ::connect(handle, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
    ::close(handle);
    return -1;
  }
  return handle;
}

bool isSameUser(int handle) {
  ucred peer{};
  socklen_t length = sizeof peer;
  return ::getsockopt(handle, SOL_SOCKET, SO_PEERCRED, &peer, &length) == 0 && peer.uid == ::geteuid();
}

}  // namespace

std::optional<InstanceLink> InstanceLink::listen(const std::string& className) {
  sockaddr_un address{};
  if (!addressOf(className, address)) {
    logPrintf("no private folder for messages between programs\n");
    return std::nullopt;
  }
  if (const int other = connectTo(address); other >= 0) {
    ::close(other);
    return std::nullopt;
  }
  if (errno != ECONNREFUSED && errno != ENOENT) return std::nullopt;  // somebody is there, and busy
  ::unlink(address.sun_path);  // what a program that was killed left behind
  const int handle = ::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
  if (handle < 0) return std::nullopt;
  if (::bind(handle, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
      ::chmod(address.sun_path, 0600) != 0 || ::listen(handle, 16) != 0) {
    logPrintf("messages between programs: %s\n", std::strerror(errno));
    ::close(handle);
    return std::nullopt;
  }
  return InstanceLink(handle, address.sun_path);
}

InstanceLink::InstanceLink(InstanceLink&& other) noexcept
    : listening(std::exchange(other.listening, -1)), path(std::move(other.path)) {}

InstanceLink::~InstanceLink() {
  if (listening < 0) return;
  ::close(listening);
  ::unlink(path.c_str());
}

void InstanceLink::poll(const Handler& handler) {
  for (;;) {
    const int from = ::accept4(listening, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
    if (from < 0) return;
    char bytes[1 + kMaxPath] = {};
    // The sender writes just after it connects; one that doesn't is not waited for.
    pollfd ready{from, POLLIN, 0};
    const bool speaks = isSameUser(from) && ::poll(&ready, 1, 100) == 1;
    const ssize_t length = speaks ? ::recv(from, bytes, sizeof bytes, MSG_TRUNC) : -1;
    ::close(from);
    const auto kind = static_cast<uint8_t>(bytes[0]);
    // A buffer of 260 characters holds a path of at most 259.
    if (length < 1 || length > static_cast<ssize_t>(kMaxPath) || kind < 1 || kind > 3) continue;
    handler(static_cast<InstanceMessage>(kind), std::string(bytes + 1, static_cast<size_t>(length - 1)));
  }
}

bool sendToInstance(const std::string& className, InstanceMessage message, const std::string& path) {
  sockaddr_un address{};
  if (path.size() >= kMaxPath || !addressOf(className, address)) return false;
  const int handle = connectTo(address);
  if (handle < 0) return false;
  const std::string packet = static_cast<char>(message) + path;
  const bool sent = isSameUser(handle) && ::send(handle, packet.data(), packet.size(), MSG_NOSIGNAL) ==
                                              static_cast<ssize_t>(packet.size());
  ::close(handle);
  return sent;
}

}  // namespace tarnvisor

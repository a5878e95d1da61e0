// Messages between programs of one user: a file's path sent to the running instance, over a local socket that
// no other user can reach. Every program listens under a class name ("TARNVISOR" for this one).
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "base/outcome.h"

namespace tarnvisor {

enum class InstanceMessage : uint8_t {
  AutoLoad = 1,    // WM_AUTO_LOAD: load this image
  FreezeSave = 2,  // WM_FREEZE_SAVE: freeze and save, under this path or with none under the automatic name
  Saving = 3,      // WM_SAVING: this path has just been saved
};

inline constexpr const char* kInstanceClass = "TARNVISOR";

// The listening end. A second instance of a class finds the name taken and doesn't listen.
class InstanceLink {
 public:
  using Handler = std::function<void(InstanceMessage, const std::string& path)>;

  // Nothing when another instance listens, or no socket can be made (logged).
  static std::optional<InstanceLink> listen(const std::string& className);
  InstanceLink(InstanceLink&& other) noexcept;
  InstanceLink& operator=(InstanceLink&&) = delete;
  ~InstanceLink();

  // Takes what has come, without waiting. Messages of other users or with paths of 260 characters and more
  // are dropped.
  void poll(const Handler& handler);

 private:
  InstanceLink(int handle, std::string socketPath) : listening(handle), path(std::move(socketPath)) {}
  int listening = -1;
  std::string path;
};

// Sends to the instance of a class. False when there is none (no error) or the path is too long.
bool sendToInstance(const std::string& className, InstanceMessage message, const std::string& path);

}  // namespace tarnvisor

// The port to files on a server. A transfer is under way from when it is made and goes on with each step,
// none of which waits; it ends at once with its object.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "base/outcome.h"

namespace tarnvisor {

struct RemoteAccount {
  std::string server;
  int32_t port = 21;
  std::string username;  // empty: a guest
  std::string password;

  bool isOfSameUser(const RemoteAccount& other) const {
    return server == other.server && port == other.port && username == other.username;
  }
};

struct RemoteEntry {
  std::string name;
  bool isFolder = false;
  int64_t size = -1;  // bytes; -1 where the server doesn't tell
};

class RemoteTransfer {
 public:
  virtual ~RemoteTransfer() = default;
  // False when nothing is left to do.
  [[nodiscard]] virtual bool step() = 0;
  virtual Outcome result() const = 0;  // after the last step
  virtual int64_t done() const = 0;    // bytes that came
};

class RemoteFiles {
 public:
  virtual ~RemoteFiles() = default;
  // Null where no connection can be made at all. What is passed in outlives the transfer.
  virtual std::unique_ptr<RemoteTransfer> list(const RemoteAccount& account, const std::string& folder,
                                               std::vector<RemoteEntry>& entries) = 0;
  // Gives each piece as it comes; false of `take` ends the transfer.
  virtual std::unique_ptr<RemoteTransfer> fetch(const RemoteAccount& account, const std::string& path,
                                                std::function<bool(const void*, size_t)> take) = 0;
};

}  // namespace tarnvisor

// Files on a server by FTP. The connection is not encrypted: whoever listens on the way sees what goes over
// it.
#pragma once

#include "host/remotefiles.h"

namespace tarnvisor {

class FtpFiles final : public RemoteFiles {
 public:
  // How long a server may be silent before a transfer fails.
  explicit FtpFiles(double patienceSeconds = 10);
  ~FtpFiles() override;
  FtpFiles(const FtpFiles&) = delete;
  FtpFiles& operator=(const FtpFiles&) = delete;

  std::unique_ptr<RemoteTransfer> list(const RemoteAccount& account, const std::string& folder,
                                       std::vector<RemoteEntry>& entries) override;
  std::unique_ptr<RemoteTransfer> fetch(const RemoteAccount& account, const std::string& path,
                                        std::function<bool(const void*, size_t)> take) override;

 private:
  bool isReady;
  double patience;
};

}  // namespace tarnvisor

// A disc on which no file can grow beyond so many bytes, for as long as this lives.
#pragma once

#include <sys/resource.h>

#include <csignal>
#include <cstdint>

namespace tarnvisor {

class FullDisc {
 public:
  explicit FullDisc(int64_t bytes) {
    ::getrlimit(RLIMIT_FSIZE, &before);
    const rlimit limited{static_cast<rlim_t>(bytes), before.rlim_max};
    ::setrlimit(RLIMIT_FSIZE, &limited);
  }
  ~FullDisc() {
    ::setrlimit(RLIMIT_FSIZE, &before);
    std::signal(SIGXFSZ, handler);
  }
  FullDisc(const FullDisc&) = delete;
  FullDisc& operator=(const FullDisc&) = delete;

 private:
  void (*handler)(int) = std::signal(SIGXFSZ, SIG_IGN);
  rlimit before{};
};

}  // namespace tarnvisor

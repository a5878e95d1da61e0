#include <cstdio>

#include "host/nullhost.h"

namespace tarnvisor {

namespace {

NullHost& nobody() {
  static NullHost none;
  return none;
}
Host* installedHost = nullptr;  // null: nobody's

}  // namespace

Host& host() { return installedHost ? *installedHost : nobody().ports; }

Answer NullHost::show(const std::string& text, Buttons buttons, Icon) {
  std::fprintf(stderr, "%s\n", text.c_str());
  return buttons == Buttons::Ok ? Answer::Ok : buttons == Buttons::YesNo ? Answer::No : Answer::Cancel;
}

HostScope::HostScope(Host& installed) : previous(installedHost) { installedHost = &installed; }
HostScope::~HostScope() { installedHost = previous; }

}  // namespace tarnvisor

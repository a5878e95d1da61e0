// What the system needs of the world outside: one object of ports, installed once by the program (windows,
// script runner or test). With none installed every question is declined and messages go to standard error.
#pragma once

#include "host/choosers.h"
#include "host/clipboard.h"
#include "host/form.h"
#include "host/messages.h"
#include "host/pictures.h"
#include "host/printer.h"
#include "host/processes.h"
#include "host/remotefiles.h"
#include "host/waitcursor.h"
#include "host/windows.h"

namespace tarnvisor {

struct Host {
  Messages& messages;
  Choosers& choosers;
  Forms& forms;
  Clipboard& clipboard;
  Windows& windows;
  WaitCursor& waitCursor;
  Printer& printer;
  Processes& processes;
  PictureWriter& pictures;
  RemoteFiles& remoteFiles;
};

Host& host();

// Installs a host for as long as it lives; scopes nest. The host must outlive the scope.
class HostScope {
 public:
  explicit HostScope(Host& installed);
  ~HostScope();
  HostScope(const HostScope&) = delete;
  HostScope& operator=(const HostScope&) = delete;

 private:
  Host* previous;
};

// The wait cursor, for one block.
class WaitScope {
 public:
  WaitScope() { host().waitCursor.begin(); }
  ~WaitScope() { host().waitCursor.end(); }
  WaitScope(const WaitScope&) = delete;
  WaitScope& operator=(const WaitScope&) = delete;
};

}  // namespace tarnvisor

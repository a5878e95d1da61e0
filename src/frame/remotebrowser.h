// The window of files on a server, without its face: where they lie, what is in a folder, and the getting of
// a file, which is then opened. Section "ftp" of the profile keeps the server; the password lies in a file
// beside the profile that only the user can read.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "app/basicapp.h"
#include "base/files.h"
#include "host/remotefiles.h"

namespace tarnvisor {

class RemoteBrowser {
 public:
  static constexpr const char* kNoConnection = "No FTP connection.";
  static constexpr const char* kCannotConnect = "A connection to an FTP server could not be made.";  // 11027
  static constexpr const char* kFolderMark = "<DIR>";

  explicit RemoteBrowser(CBasicApp& application);
  ~RemoteBrowser();
  RemoteBrowser(const RemoteBrowser&) = delete;
  RemoteBrowser& operator=(const RemoteBrowser&) = delete;

  // Lists the path of the fields, which the profile then keeps. An empty password stands for the one
  // that is kept for this server, port and user; another is kept once the server took it.
  void connect(const std::string& password);
  // A folder is listed; a file, and the second one that belongs to it, is got and opened.
  void choose(size_t row);
  void goUp();
  // At once, and nothing of a file stays.
  void cancel();
  bool isBusy() const { return transfer != nullptr; }
  bool isConnected() const { return connected; }
  bool keepsPassword() const;

  struct Row {
    std::string name;
    std::string detail;  // "<DIR>", or the size
  };
  std::vector<Row> rows() const;  // kNoConnection alone without one
  const std::string& status() const { return statusText; }
  int64_t done() const { return doneBefore + (transfer ? transfer->done() : 0); }
  int64_t total() const;  // 0 where the server doesn't tell

  // Told of each change but of how much came, which is to be looked at.
  std::function<void()> onChange;

  std::string server, path, username;
  int32_t port = 21;
  const std::string& folder() const { return localFolder; }  // where files go
  void keepIn(const std::string& folder);

 private:
  struct Part {
    std::string name;
    int64_t size = -1;
    std::string localPath;
    std::unique_ptr<AtomicFile> file;
  };
  void list(const std::string& folder);
  void listed(const std::string& folder);
  bool plan(const RemoteEntry& entry);
  bool addPart(const RemoteEntry& entry);
  bool refuse(const std::string& words);
  void beginPart();
  void partEnded();
  void open();
  void begin(std::unique_ptr<RemoteTransfer> begun, std::function<void()> then);
  void drive();
  void say(const std::string& words);
  void keepTypedPassword();

  std::string localFolder;
  CBasicApp& app;
  RemoteAccount login;  // of the connection
  RemoteAccount kept;   // whose password lies in the file
  bool isTyped = false;
  std::vector<RemoteEntry> entries, incoming;
  bool connected = false;
  std::vector<Part> parts;
  size_t part = 0;
  int64_t doneBefore = 0;
  std::unique_ptr<RemoteTransfer> transfer;
  std::function<void()> atEnd;
  std::string statusText;
  Timer driver;
};

class RemoteFace {
 public:
  virtual ~RemoteFace() = default;
  virtual void openOrRaise(RemoteBrowser& browser) = 0;
  virtual bool isOpen() const = 0;
  virtual void letGo() = 0;  // of the browser, which may go then
};

}  // namespace tarnvisor

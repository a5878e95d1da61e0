#include "frame/remotebrowser.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <span>

#include "base/text.h"
#include "frame/commandids.h"
#include "host/host.h"
#include "settings/settings.h"

namespace tarnvisor {

namespace {

constexpr const char* kSection = "ftp";
constexpr int32_t kDriveMs = 10;
constexpr size_t kLongestFile = 8192;

// --- the password

std::string passwordFile() { return withoutExtension(settings.path()) + ".ftp-password"; }

// Nobody else can read it at any moment: it is made so, and renamed. Lines of the server, its port, the user
// and the password.
bool keepPassword(const RemoteAccount& account) {
  const std::string text =
      account.server + format("\n%i\n", account.port) + account.username + "\n" + account.password;
  const std::string path = passwordFile(), beside = path + ".new";
  ::unlink(beside.c_str());
  const int file = ::open(beside.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, S_IRUSR | S_IWUSR);
  if (file < 0) return false;
  const bool written =
      ::write(file, text.data(), text.size()) == static_cast<ssize_t>(text.size()) && ::fsync(file) == 0;
  const bool kept = ::close(file) == 0 && written && ::rename(beside.c_str(), path.c_str()) == 0;
  if (!kept) ::unlink(beside.c_str());
  return kept;
}

// A file of the password alone is of the account that the profile names.
RemoteAccount keptAccount(RemoteAccount account) {
  const std::string text = readWholeText(passwordFile(), kLongestFile).value_or("");
  const std::vector<std::string> lines = split(text, '\n');
  if (lines.size() < 4) {
    account.password = text;
    return account;
  }
  return {lines[0], std::atoi(lines[1].c_str()), lines[2], lines[3]};
}

// One that somebody wrote into the profile goes to where it is safe.
void movePasswordOutOfProfile(RemoteAccount account) {
  account.password = settings.getString(kSection, "password", "");
  if (!account.password.empty() && keepPassword(account)) settings.setString(kSection, "password", "");
}

// --- names

// What may become the name of a file in a folder, and of no other.
bool isPlainName(const std::string& name) {
  return !name.empty() && name != "." && name != ".." && std::ranges::none_of(name, [](char c) {
    const auto byte = static_cast<uint8_t>(c);
    return c == '/' || c == '\\' || byte < ' ' || byte == 0x7f;
  });
}

std::string below(const std::string& folder, const std::string& name) {
  return folder.empty() || folder.ends_with('/') ? folder + name : folder + "/" + name;
}

std::string shown(const std::string& name) {
  std::string text = recoded(name).value_or(name);
  for (char& c : text)
    if (static_cast<uint8_t>(c) < ' ' || c == 0x7f) c = '?';
  return text;
}

// What belongs to a file: the first of these that lies beside it on the server.
struct Companion {
  const char* ending;
  std::vector<const char*> endings;
  bool isNeeded;
};

const RemoteEntry* companionOf(const RemoteEntry& entry, std::span<const RemoteEntry> among, bool& isNeeded) {
  const Companion known[] = {{"dtv", {".mve", ".z.avi", ".avi"}, true},
                             {"hdr", {".raw"}, true},
                             {"raw", {".hdr", ".txt", ".xml"}, false},
                             {"tv1", {".zzg", ".bmp", ".tif"}, false},
                             {"zzfcf", {".zzrawfcf"}, false}};
  isNeeded = false;
  for (const Companion& companion : known) {
    if (!equalIgnoringCase(extensionOf(entry.name), companion.ending)) continue;
    isNeeded = companion.isNeeded;
    for (const char* ending : companion.endings)
      for (const RemoteEntry& other : among)
        if (!other.isFolder && equalIgnoringCase(other.name, withoutExtension(entry.name) + ending))
          return &other;
  }
  return nullptr;
}

bool isHeader(const std::string& path) { return equalIgnoringCase(extensionOf(path), "hdr"); }

std::string sizeText(int64_t bytes) {
  if (bytes < 0) return "";
  if (bytes < 10'000) return format("%lli bytes", static_cast<long long>(bytes));
  return bytes < 10'000'000 ? format("%.0f KB", static_cast<double>(bytes) / 1e3)
                            : format("%.0f MB", static_cast<double>(bytes) / 1e6);
}

// Where nobody said where to: the work folder of videos, or one of the user's own in the system's.
std::string folderForFiles() {
  std::string folder = settings.getString(kSection, "folder", "");
  if (folder.empty()) folder = settings.getString("directories", "tempdir", "");
  if (!folder.empty() && folderExists(folder)) return withSeparator(folder);
  std::error_code error;
  const std::string own = withSeparator(std::filesystem::temp_directory_path(error).string()) +
                          format("tarnvisor-ftp-%u", static_cast<unsigned>(::getuid()));
  ::mkdir(own.c_str(), S_IRWXU);
  struct stat facts {};
  const bool isOwn =
      ::lstat(own.c_str(), &facts) == 0 && S_ISDIR(facts.st_mode) && facts.st_uid == ::getuid();
  return isOwn ? withSeparator(own) : "";
}

}  // namespace

RemoteBrowser::RemoteBrowser(CBasicApp& application)
    : server(settings.getString(kSection, "server", "")),
      path(settings.getString(kSection, "path", "")),
      username(settings.getString(kSection, "username", "")),
      port(settings.getInt(kSection, "port", 21)),
      localFolder(folderForFiles()),
      app(application),
      driver(app.loop, cmd::OpenRemote) {
  login = {server, port, username, ""};
  movePasswordOutOfProfile(login);
  kept = keptAccount(login);
}

RemoteBrowser::~RemoteBrowser() { transfer.reset(); }

bool RemoteBrowser::keepsPassword() const {
  return !kept.password.empty() && kept.isOfSameUser({server, port, username, ""});
}

void RemoteBrowser::say(const std::string& words) {
  statusText = words;
  if (onChange) onChange();
}

void RemoteBrowser::keepIn(const std::string& folder) {
  localFolder = withSeparator(folder);
  settings.setString(kSection, "folder", localFolder);
  if (onChange) onChange();
}

// --- a transfer

void RemoteBrowser::begin(std::unique_ptr<RemoteTransfer> begun, std::function<void()> then) {
  transfer = std::move(begun);
  if (!transfer) {
    parts.clear();
    say(kNoConnection);
    host().messages.show(kCannotConnect, Buttons::Ok, Icon::Error);
    return;
  }
  atEnd = std::move(then);
  driver.start(kDriveMs, [this] { drive(); });
  if (onChange) onChange();
}

void RemoteBrowser::drive() {
  if (transfer && transfer->step()) return;
  driver.stop();
  if (!transfer) return;
  const std::function<void()> then = std::move(atEnd);  // which may begin the next
  then();
}

void RemoteBrowser::cancel() {
  if (!transfer) return;
  driver.stop();
  transfer.reset();
  parts.clear();
  say("cancelled");
}

// --- folders

void RemoteBrowser::connect(const std::string& typedPassword) {
  cancel();
  connected = false;
  settings.setString(kSection, "server", server);
  settings.setInt(kSection, "port", port);
  settings.setString(kSection, "username", username);
  login = {server, port, username, typedPassword};
  isTyped = !typedPassword.empty();
  if (!isTyped && keepsPassword()) login.password = kept.password;
  if (server.empty()) return say(kNoConnection);
  list(path);
}

void RemoteBrowser::list(const std::string& folder) {
  statusText = "attempting to read " + (folder.empty() ? std::string("/") : shown(folder));
  doneBefore = 0;
  begin(host().remoteFiles.list(login, folder, incoming), [this, folder] { listed(folder); });
}

void RemoteBrowser::listed(const std::string& folder) {
  const Outcome result = transfer->result();
  transfer.reset();
  if (!result) return say(result.why());
  keepTypedPassword();
  entries = std::move(incoming);
  incoming.clear();
  connected = true;
  path = folder;
  settings.setString(kSection, "path", path);
  say(entries.empty() ? "This folder is empty." : "");
}

// Once the server took it, and for nobody else.
void RemoteBrowser::keepTypedPassword() {
  if (!isTyped) return;
  isTyped = false;
  kept = login;
  if (!keepPassword(kept))
    host().messages.show("The password can't be kept: " + passwordFile(), Buttons::Ok, Icon::Warning);
}

void RemoteBrowser::goUp() {
  if (isBusy() || path.empty() || path == "/") return;
  std::string folder = path;
  while (folder.ends_with('/')) folder.pop_back();
  const size_t at = folder.rfind('/');
  list(at == folder.npos ? "" : at == 0 ? "/" : folder.substr(0, at));
}

std::vector<RemoteBrowser::Row> RemoteBrowser::rows() const {
  if (!connected) return {{kNoConnection, ""}};
  std::vector<Row> all;
  for (const RemoteEntry& entry : entries)
    all.push_back({shown(entry.name), entry.isFolder ? kFolderMark : sizeText(entry.size)});
  return all;
}

// --- files

bool RemoteBrowser::refuse(const std::string& words) {
  parts.clear();
  say(words);
  host().messages.show(words, Buttons::Ok, Icon::Warning);
  return false;
}

void RemoteBrowser::choose(size_t row) {
  if (isBusy() || !connected || row >= entries.size()) return;
  const RemoteEntry entry = entries[row];
  if (!isPlainName(entry.name)) {
    refuse("The server gives a name that could lead elsewhere: " + shown(entry.name));
    return;
  }
  if (entry.isFolder) return list(below(path, entry.name));
  parts.clear();
  if (!plan(entry)) return;
  part = 0;
  doneBefore = 0;
  beginPart();
}

bool RemoteBrowser::plan(const RemoteEntry& entry) {
  bool isNeeded = false;
  const RemoteEntry* second = companionOf(entry, entries, isNeeded);
  if (!second && isNeeded)
    return refuse("error getting second file: " + shown(path) + " holds none that belongs to " +
                  shown(entry.name));
  return addPart(entry) && (!second || addPart(*second));
}

// What is there is written over only where the user says so.
bool RemoteBrowser::addPart(const RemoteEntry& entry) {
  if (localFolder.empty() || !folderExists(localFolder))
    return refuse("There is no folder for files: choose one.");
  Part next{entry.name, entry.size, withSeparator(localFolder) + entry.name, nullptr};
  if (const Outcome may = app.documents.mayOutputTo(next.localPath); !may) return refuse(may.why());
  if (fileExists(next.localPath) && host().messages.show(next.localPath + " is there already.\nReplace it?",
                                                         Buttons::YesNo, Icon::Careful) != Answer::Yes) {
    parts.clear();
    say("");
    return false;
  }
  next.file = std::make_unique<AtomicFile>(next.localPath);
  if (!next.file->isOpen()) return refuse("error getting file: " + next.file->commit().why());
  parts.push_back(std::move(next));
  return true;
}

int64_t RemoteBrowser::total() const {
  int64_t sum = 0;
  for (const Part& one : parts) {
    if (one.size < 0) return 0;
    sum += one.size;
  }
  return sum;
}

void RemoteBrowser::beginPart() {
  const Part& next = parts[part];
  statusText = "attempting to read " + shown(next.name);
  AtomicFile* file = next.file.get();
  begin(
      host().remoteFiles.fetch(login, below(path, next.name),
                               [file](const void* bytes, size_t count) { return file->write(bytes, count); }),
      [this] { partEnded(); });
}

void RemoteBrowser::partEnded() {
  Outcome result = transfer->result();
  const int64_t came = transfer->done();
  const Part& ended = parts[part];
  transfer.reset();
  if (result && came < ended.size)
    result = Outcome::failure(format("%lli of its %lli bytes came.", static_cast<long long>(came),
                                     static_cast<long long>(ended.size)));
  if (!result) {
    refuse((part == 0 ? "error getting file: " : "error getting second file: ") + shown(ended.name) + ": " +
           result.why());
    return;
  }
  doneBefore += came;
  if (++part < parts.size()) return beginPart();
  open();
}

// All parts are there: those that belong to the file first, so that it is never seen without them.
void RemoteBrowser::open() {
  for (size_t i = parts.size(); i-- > 0;)
    if (const Outcome done = parts[i].file->commit(); !done) {
      const std::string words =
          (i == 0 ? "error getting file: " : "error getting second file: ") + done.why();
      if (i == 0 && parts.size() > 1 && !parts[1].file->hasReplaced()) ::unlink(parts[1].localPath.c_str());
      refuse(words);
      return;
    }
  const std::string local = parts[0].localPath;
  parts.clear();
  say(shown(fileNameOf(local)) + " is in " + localFolder);
  CDocument* opened = isHeader(local) && process.videoTemplate ? process.videoTemplate->importDocument(local)
                                                               : app.openDocumentFile(local);
  if (opened) opened->noteFetched();
}

}  // namespace tarnvisor

#include "remote/ftpfiles.h"

#include <curl/curl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <mutex>
#include <optional>
#include <set>
#include <thread>
#include <utility>

#include "base/text.h"
#include "remote/ftplisting.h"

namespace tarnvisor {

namespace {

constexpr size_t kLongestListing = size_t{1} << 24;
constexpr size_t kMostAhead = size_t{1} << 22;  // bytes that wait to be taken

bool isServerName(const std::string& name) {
  constexpr std::string_view kOthers = ".-_:[]";
  return !name.empty() && std::ranges::all_of(name, [&](char c) {
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
           kOthers.find(c) != kOthers.npos;
  });
}

// Each name of the path by itself, so that none means more than a name. A path from the root stays one.
std::string addressOf(CURL* curl, const RemoteAccount& account, const std::string& path, bool isFolder) {
  std::string address = "ftp://" + account.server + "/";
  if (path.starts_with('/')) address += "%2F";
  for (const std::string& name : split(path, '/')) {
    if (name.empty()) continue;
    char* safe = curl_easy_escape(curl, name.c_str(), static_cast<int>(name.size()));
    if (!address.ends_with('/') && !address.ends_with("%2F")) address += '/';
    if (safe) address += safe;
    curl_free(safe);
  }
  if (isFolder && !address.ends_with('/')) address += '/';
  return address;
}

// The library waits in places for seconds: it works on a thread of its own, and what comes is taken in steps.
class FtpTransfer final : public RemoteTransfer {
 public:
  using Take = std::function<bool(const void*, size_t)>;
  using End = std::function<void()>;

  FtpTransfer(RemoteAccount of, Take taker, End whenWhole)
      : account(std::move(of)), take(std::move(taker)), end(std::move(whenWhole)) {}
  // No wait of the library outlives its sockets, not even for the last word after a file or after QUIT.
  ~FtpTransfer() override {
    {
      const std::lock_guard lock(guard);
      stopped = true;
      for (const int each : sockets) ::shutdown(each, SHUT_RDWR);
    }
    if (multi) curl_multi_wakeup(multi);
    if (worker.joinable()) worker.join();
    if (multi && easy) curl_multi_remove_handle(multi, easy);
    if (easy) curl_easy_cleanup(easy);
    if (multi) curl_multi_cleanup(multi);
  }
  FtpTransfer(const FtpTransfer&) = delete;
  FtpTransfer& operator=(const FtpTransfer&) = delete;

  [[nodiscard]] bool begin(const std::string& path, bool isFolder, double patience);
  bool step() override;
  Outcome result() const override { return ended; }
  int64_t done() const override { return bytes; }

 private:
  static size_t onBytes(char* data, size_t one, size_t count, void* self) {
    auto& own = *static_cast<FtpTransfer*>(self);
    const std::lock_guard lock(own.guard);
    if (own.stopped) return 0;
    if (own.arrived.size() > kMostAhead) return CURL_WRITEFUNC_PAUSE;
    own.arrived.append(data, one * count);
    return one * count;
  }
  static curl_socket_t onOpen(void* self, curlsocktype, curl_sockaddr* to) {
    auto& own = *static_cast<FtpTransfer*>(self);
    const std::lock_guard lock(own.guard);
    if (own.stopped) return CURL_SOCKET_BAD;
    const int made = ::socket(to->family, to->socktype | SOCK_CLOEXEC, to->protocol);
    if (made >= 0) own.sockets.insert(made);
    return made;
  }
  static int onClose(void* self, curl_socket_t given) {
    auto& own = *static_cast<FtpTransfer*>(self);
    const std::lock_guard lock(own.guard);
    own.sockets.erase(given);
    return ::close(given);
  }
  void work();
  bool finish(CURLcode code);
  std::string wordsFor(CURLcode code) const;

  RemoteAccount account;
  Take take;
  End end;
  CURL* easy = nullptr;
  CURLM* multi = nullptr;
  std::array<char, CURL_ERROR_SIZE> trouble{};
  int64_t bytes = 0;
  bool atWork = true;
  std::thread worker;
  std::mutex guard;  // of what follows
  std::set<int> sockets;
  std::string arrived;
  std::optional<CURLcode> over;
  bool stopped = false;
  Outcome ended = Outcome::success();
};

bool FtpTransfer::begin(const std::string& path, bool isFolder, double patience) {
  easy = curl_easy_init();
  multi = curl_multi_init();
  if (!easy || !multi) return false;
  if (!isServerName(account.server)) {
    atWork = false;
    ended = Outcome::failure("\"" + account.server + "\" is no name of a server.");
    return true;
  }
  const auto seconds = static_cast<long>(std::max(1.0, std::ceil(patience)));
  bool right = true;
  const auto set = [&](CURLoption option, auto value) {
    right = right && curl_easy_setopt(easy, option, value) == CURLE_OK;
  };
  set(CURLOPT_URL, addressOf(easy, account, path, isFolder).c_str());
  set(CURLOPT_PORT, static_cast<long>(account.port));
  set(CURLOPT_PROTOCOLS_STR, "ftp");
  if (!account.username.empty()) {
    set(CURLOPT_USERNAME, account.username.c_str());
    set(CURLOPT_PASSWORD, account.password.c_str());
  }
  set(CURLOPT_WRITEFUNCTION, &onBytes);
  set(CURLOPT_WRITEDATA, this);
  set(CURLOPT_ERRORBUFFER, trouble.data());
  set(CURLOPT_NOSIGNAL, 1L);
  set(CURLOPT_QUICK_EXIT, 1L);  // a name that is still being looked up is not waited for
  set(CURLOPT_BUFFERSIZE, 256L * 1024);
  set(CURLOPT_CONNECTTIMEOUT, seconds);
  set(CURLOPT_SERVER_RESPONSE_TIMEOUT, seconds);
  set(CURLOPT_LOW_SPEED_LIMIT, 1L);
  set(CURLOPT_LOW_SPEED_TIME, seconds);
  set(CURLOPT_OPENSOCKETFUNCTION, &onOpen);
  set(CURLOPT_OPENSOCKETDATA, this);
  set(CURLOPT_CLOSESOCKETFUNCTION, &onClose);
  set(CURLOPT_CLOSESOCKETDATA, this);
  if (!right || curl_multi_add_handle(multi, easy) != CURLM_OK) return false;
  worker = std::thread([this] { work(); });
  return true;
}

void FtpTransfer::work() {
  constexpr int kWaitMs = 100;
  CURLcode code = CURLE_FAILED_INIT;
  for (bool running = true; running;) {
    int left = 0, ready = 0, active = 0;
    {
      const std::lock_guard lock(guard);
      if (stopped) return;
    }
    if (curl_multi_perform(multi, &active) != CURLM_OK) break;
    while (const CURLMsg* told = curl_multi_info_read(multi, &left))
      if (told->msg == CURLMSG_DONE) {
        code = told->data.result;
        running = false;
      }
    if (running) curl_multi_poll(multi, nullptr, 0, kWaitMs, &ready);
    if (running) curl_easy_pause(easy, CURLPAUSE_CONT);
  }
  const std::lock_guard lock(guard);
  over = code;
}

bool FtpTransfer::step() {
  if (!atWork) return false;
  std::string part;
  std::optional<CURLcode> code;
  {
    const std::lock_guard lock(guard);
    part.swap(arrived);
    code = over;
  }
  if (!part.empty() && !take(part.data(), part.size())) return finish(CURLE_WRITE_ERROR);
  bytes += static_cast<int64_t>(part.size());
  return code ? finish(*code) : true;
}

bool FtpTransfer::finish(CURLcode code) {
  atWork = false;
  if (code == CURLE_OK)
    end();
  else
    ended = Outcome::failure(wordsFor(code));
  return false;
}

std::string FtpTransfer::wordsFor(CURLcode code) const {
  const char* server = account.server.c_str();
  switch (code) {
    case CURLE_COULDNT_RESOLVE_HOST:
      return format("There is no server %s.", server);
    case CURLE_COULDNT_CONNECT:
      return format("The server %s takes no connection at port %i.", server, account.port);
    case CURLE_OPERATION_TIMEDOUT:
    case CURLE_FTP_ACCEPT_TIMEOUT:
      return format("The server %s does not answer.", server);
    case CURLE_LOGIN_DENIED:
      return format("The server %s does not take this user name and password.", server);
    case CURLE_REMOTE_FILE_NOT_FOUND:
    case CURLE_REMOTE_ACCESS_DENIED:
      return format("The server %s has no such file or folder, or does not let you have it.", server);
    case CURLE_PARTIAL_FILE:
      return format("The server %s ended before all was sent.", server);
    case CURLE_WRITE_ERROR:
      return "What came could not be kept.";
    default:
      return format("The server %s: %s.", server, trouble[0] ? trouble.data() : curl_easy_strerror(code));
  }
}

}  // namespace

FtpFiles::FtpFiles(double patienceSeconds)
    : isReady(curl_global_init(CURL_GLOBAL_DEFAULT) == CURLE_OK), patience(patienceSeconds) {}

FtpFiles::~FtpFiles() {
  if (isReady) curl_global_cleanup();
}

std::unique_ptr<RemoteTransfer> FtpFiles::list(const RemoteAccount& account, const std::string& folder,
                                               std::vector<RemoteEntry>& entries) {
  if (!isReady) return nullptr;
  const auto text = std::make_shared<std::string>();
  auto transfer = std::make_unique<FtpTransfer>(
      account,
      [text](const void* bytes, size_t count) {
        if (text->size() + count > kLongestListing) return false;
        text->append(static_cast<const char*>(bytes), count);
        return true;
      },
      [text, &entries] { entries = parseFtpListing(*text); });
  return transfer->begin(folder, true, patience) ? std::move(transfer) : nullptr;
}

std::unique_ptr<RemoteTransfer> FtpFiles::fetch(const RemoteAccount& account, const std::string& path,
                                                std::function<bool(const void*, size_t)> take) {
  if (!isReady) return nullptr;
  auto transfer = std::make_unique<FtpTransfer>(account, std::move(take), [] {});
  return transfer->begin(path, false, patience) ? std::move(transfer) : nullptr;
}

}  // namespace tarnvisor

// A server of files on this machine, on a thread of its own, that behaves as a test wants it to.
#pragma once

#include <arpa/inet.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <map>
#include <string>
#include <thread>

namespace tarnvisor {

class FtpServer {
 public:
  enum class Mood { Fair, RefusesUsers, IsSilent, HangsInFile, SendsHalf, KeepsLastWord, IgnoresQuit };

  std::map<std::string, std::string> files;  // by name, in whatever folder
  std::string listing;
  std::string password = "secret";
  std::atomic<Mood> mood = Mood::Fair;
  std::atomic<int> commands = 0;
  std::atomic<bool> gaveUp = false;  // the other side stayed, though it was left without an answer

  FtpServer() : listener(listening(port)), worker([this] { serve(); }) {}
  ~FtpServer() {
    stopped = true;
    worker.join();
    ::close(listener);
  }
  int port = 0;

 private:
  static int listening(int& at) {
    const int socket = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in place{};
    place.sin_family = AF_INET;
    place.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof place;
    (void)::bind(socket, reinterpret_cast<sockaddr*>(&place), length);
    (void)::listen(socket, 4);
    (void)::getsockname(socket, reinterpret_cast<sockaddr*>(&place), &length);
    at = ntohs(place.sin_port);
    return socket;
  }
  bool isReady(int socket) const {
    pollfd wanted{socket, POLLIN, 0};
    while (!stopped)
      if (::poll(&wanted, 1, 10) > 0) return true;
    return false;
  }
  void leaveWaiting(int socket) {
    constexpr int kPatienceMs = 3000;
    pollfd wanted{socket, POLLIN, 0};
    gaveUp = ::poll(&wanted, 1, kPatienceMs) == 0;
  }
  static void say(int socket, const std::string& text) {
    (void)::send(socket, text.data(), text.size(), MSG_NOSIGNAL);
  }
  void serve() {
    while (isReady(listener)) {
      const int control = ::accept(listener, nullptr, nullptr);
      converse(control);
      ::close(control);
    }
  }
  void converse(int control) {
    if (mood != Mood::IsSilent) say(control, "220 here\r\n");
    std::string line;
    int data = -1;
    for (char c; isReady(control) && ::read(control, &c, 1) == 1;) {
      if (c != '\n') {
        line += c;
        continue;
      }
      line.erase(line.find_last_not_of('\r') + 1);
      ++commands;
      if (mood != Mood::IsSilent &&
          !answer(control, data, line.substr(0, line.find(' ')),
                  line.find(' ') == line.npos ? "" : line.substr(line.find(' ') + 1)))
        break;
      line.clear();
    }
    if (data >= 0) ::close(data);
  }
  bool answer(int control, int& data, const std::string& word, const std::string& what) {
    if (word == "USER") say(control, "331 password\r\n");
    if (word == "PASS")
      say(control, mood != Mood::RefusesUsers && what == password ? "230 in\r\n" : "530 no\r\n");
    if (word == "PWD") say(control, "257 \"/\"\r\n");
    if (word == "CWD" || word == "TYPE") say(control, what == "gone" ? "550 none\r\n" : "200 well\r\n");
    if (word == "EPSV") {
      int at = 0;
      data = listening(at);
      say(control, "229 (|||" + std::to_string(at) + "|)\r\n");
    }
    const auto file = files.find(what);
    if (word == "SIZE")
      say(control,
          file == files.end() ? "550 none\r\n" : "213 " + std::to_string(file->second.size()) + "\r\n");
    if (word == "LIST") send(control, data, listing);
    if (word == "RETR" && file == files.end()) say(control, "550 none\r\n");
    if (word == "RETR" && file != files.end()) return send(control, data, file->second);
    if (word == "QUIT" && mood == Mood::IgnoresQuit)
      leaveWaiting(control);
    else if (word == "QUIT")
      say(control, "221 bye\r\n");
    return word != "QUIT";
  }
  bool send(int control, int& data, const std::string& bytes) {
    say(control, "150 it comes\r\n");
    const int wire = isReady(data) ? ::accept(data, nullptr, nullptr) : -1;
    const bool all = (mood != Mood::HangsInFile && mood != Mood::SendsHalf) || &bytes == &listing;
    say(wire, all ? bytes : bytes.substr(0, bytes.size() / 2));
    while (!all && mood == Mood::HangsInFile && !stopped) std::this_thread::yield();
    ::close(wire);
    ::close(data);
    data = -1;
    if (mood == Mood::KeepsLastWord)
      leaveWaiting(control);
    else if (all)
      say(control, "226 whole\r\n");
    return all;
  }
  int listener;
  std::atomic<bool> stopped = false;
  std::thread worker;
};

}  // namespace tarnvisor

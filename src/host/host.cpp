#include "host/host.h"

#include <cstdio>

namespace tarnvisor {

namespace {

struct NobodyThere final : Messages, Choosers, Forms, Clipboard, Windows, WaitCursor, Printer, PictureWriter {
  Answer show(const std::string& text, Buttons buttons, Icon) override {
    std::fprintf(stderr, "%s\n", text.c_str());
    return buttons == Buttons::Ok ? Answer::Ok : buttons == Buttons::YesNo ? Answer::No : Answer::Cancel;
  }
  std::optional<std::string> openFile(const FileRequest&) override { return std::nullopt; }
  std::optional<std::string> saveFile(const FileRequest&) override { return std::nullopt; }
  std::vector<std::string> openFiles(const FileRequest&) override { return {}; }
  std::optional<std::string> chooseFolder(const std::string&, const std::string&) override {
    return std::nullopt;
  }
  bool run(Form&) override { return false; }
  void setText(const std::string&) override {}
  ClipboardResult setData(const std::string&, const std::vector<uint8_t>&) override {
    return ClipboardResult::CannotOpen;
  }
  std::optional<std::vector<uint8_t>> data(const std::string&) override { return std::nullopt; }
  std::optional<std::string> text() override { return std::nullopt; }
  std::optional<std::vector<uint8_t>> bitmap() override { return std::nullopt; }
  bool createMainFrame(const std::string&) override { return true; }
  void showMainFrame() override {}
  void closeMainFrame() override {}
  void tile() override {}
  void cascade() override {}
  void popupMenu(int32_t, Point) override {}
  void refreshBars() override {}
  bool openWithDesktop(const std::string&) override { return false; }
  void begin() override {}
  void end() override {}
  bool print(const std::string&, const Draw&) override { return false; }
  bool preview(const std::string&, const Draw&) override { return false; }
  Outcome write(const std::string& path, Size, const std::function<void(Canvas&)>&) override {
    return Outcome::failure(path + ": there is nothing to draw with");
  }
};

NobodyThere nobody;
SystemProcesses realPrograms;
Host emptyHost{nobody, nobody, nobody, nobody, nobody, nobody, nobody, realPrograms, nobody};
Host* installedHost = &emptyHost;

}  // namespace

Host& host() { return *installedHost; }

HostScope::HostScope(Host& installed) : previous(installedHost) { installedHost = &installed; }
HostScope::~HostScope() { installedHost = previous; }

}  // namespace tarnvisor

// A host that says yes to every question, accepts every form as it stands, has no file to offer, and prints
// on a canvas that counts. What goes to its clipboard comes back.
#pragma once

#include <map>

#include "countingcanvas.h"
#include "host/host.h"

namespace tarnvisor {

class CountingJob final : public PrintJob {
 public:
  Size pageSize() const override { return {900, 1200}; }
  double pixelsPerInch() const override { return 100; }
  Canvas& canvas() override { return page; }
  bool nextPage() override { return ++pages < 10; }

 private:
  CountingCanvas page;
  int pages = 1;
};

class QuietHost final : public Messages,
                        public Choosers,
                        public Forms,
                        public Clipboard,
                        public Windows,
                        public WaitCursor,
                        public Printer,
                        public Processes,
                        public PictureWriter {
 public:
  std::map<std::string, std::vector<uint8_t>> clipboardData;

  Answer show(const std::string&, Buttons buttons, Icon) override {
    return buttons == Buttons::YesNo || buttons == Buttons::YesNoCancel ? Answer::Yes : Answer::Ok;
  }
  std::optional<std::string> openFile(const FileRequest&) override { return std::nullopt; }
  std::optional<std::string> saveFile(const FileRequest&) override { return std::nullopt; }
  std::vector<std::string> openFiles(const FileRequest&) override { return {}; }
  std::optional<std::string> chooseFolder(const std::string&, const std::string&) override { return {}; }
  bool run(Form&) override { return true; }
  void setText(const std::string&) override {}
  std::optional<std::string> text() override { return std::nullopt; }
  ClipboardResult setData(const std::string& format, const std::vector<uint8_t>& bytes) override {
    clipboardData[format] = bytes;
    return ClipboardResult::Done;
  }
  std::optional<std::vector<uint8_t>> data(const std::string& format) override {
    const auto found = clipboardData.find(format);
    return found == clipboardData.end() ? std::nullopt : std::optional(found->second);
  }
  std::optional<std::vector<uint8_t>> bitmap() override { return std::nullopt; }
  bool createMainFrame(const std::string&) override { return true; }
  void showMainFrame() override {}
  void closeMainFrame() override {}
  void tile() override {}
  void cascade() override {}
  void refreshBars() override {}
  void popupMenu(int32_t, Point) override {}
  bool openWithDesktop(const std::string&) override { return false; }
  void begin() override {}
  void end() override {}
  bool print(const std::string&, const Draw& draw) override {
    CountingJob job;
    draw(job);
    return true;
  }
  bool preview(const std::string& title, const Draw& draw) override { return print(title, draw); }
  int32_t run(const std::vector<std::string>&) override { return -1; }
  Outcome write(const std::string& path, Size, const std::function<void(Canvas&)>&) override {
    return Outcome::failure(path);
  }

 private:
  Host ports{*this, *this, *this, *this, *this, *this, *this, *this, *this};
  HostScope scope{ports};
};

}  // namespace tarnvisor

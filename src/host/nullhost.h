// A host with nobody behind it: every question is declined, files are offered by nobody, nothing is shown;
// what goes to its clipboard comes back. Hosts derive from it and override what they have something for.
#pragma once

#include <map>

#include "host/host.h"

namespace tarnvisor {

class NullHost : public Messages,
                 public Choosers,
                 public Forms,
                 public Clipboard,
                 public Windows,
                 public WaitCursor,
                 public Printer,
                 public Processes,
                 public PictureWriter,
                 public RemoteFiles {
 public:
  // What the message says goes to standard error.
  Answer show(const std::string& text, Buttons buttons, Icon icon) override;
  std::optional<std::string> openFile(const FileRequest&) override { return std::nullopt; }
  std::optional<std::string> saveFile(const FileRequest&) override { return std::nullopt; }
  std::vector<std::string> openFiles(const FileRequest&) override { return {}; }
  std::optional<std::string> chooseFolder(const std::string&, const std::string&) override {
    return std::nullopt;
  }
  bool run(Form&) override { return false; }
  std::unique_ptr<OpenForm> show(Form, FormEvents events) override {
    return std::make_unique<FacelessForm>(events.place.value_or(Point{}));
  }
  void setText(const std::string& words) override { clipboardText = words; }
  std::optional<std::string> text() override { return clipboardText; }
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
  bool print(const std::string&, const Draw&) override { return false; }
  bool preview(const std::string&, const Draw&) override { return false; }
  Outcome writePdf(const std::string& path, const std::string&, const Draw&) override {
    return Outcome::failure(path + ": there is nothing to draw with");
  }
  // Programs are started for real.
  int32_t run(const std::vector<std::string>& programAndArguments) override {
    return SystemProcesses().run(programAndArguments);
  }
  using PictureWriter::write;
  Outcome write(const std::string& path, Size, PixelSize, const std::function<void(Canvas&)>&) override {
    return Outcome::failure(path + ": there is nothing to draw with");
  }
  std::unique_ptr<RemoteTransfer> list(const RemoteAccount&, const std::string&,
                                       std::vector<RemoteEntry>&) override {
    return nullptr;
  }
  std::unique_ptr<RemoteTransfer> fetch(const RemoteAccount&, const std::string&,
                                        std::function<bool(const void*, size_t)>) override {
    return nullptr;
  }

  std::optional<std::string> clipboardText;
  std::map<std::string, std::vector<uint8_t>> clipboardData;
  Host ports{*this, *this, *this, *this, *this, *this, *this, *this, *this, *this};
};

}  // namespace tarnvisor

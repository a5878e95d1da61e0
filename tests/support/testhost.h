// A host for tests: answers are queued beforehand, and a question that nobody expected fails the test.
// Messages that only tell something are gathered.
#pragma once

#include "host/nullhost.h"
#include "support/testing.h"

namespace tarnvisor {

// A form that stays open, used by label as its window would be.
struct ShownForm {
  Form form;
  FormEvents events;
  bool isOpen = true;
  int refreshes = 0;

  void change(const std::string& label, const std::string& value) {
    const FormField* field = form.find(label);
    ASSERT_NE(field, nullptr) << form.title() << " has no field " << label;
    EXPECT_EQ(field->take(value), "");
    form.changed();
  }
  // The label of a reading or a field shows this.
  std::string value(const std::string& label) const {
    const FormField* field = form.find(label);
    return field ? field->value() : "no field " + label;
  }
  void press(const std::string& label) {
    for (const FormButton& button : events.buttons)
      if (button.label == label) return button.press();
    ADD_FAILURE() << form.title() << " has no button " << label;
  }
  void refresh() {
    ++refreshes;
    if (events.onRefresh) events.onRefresh();
  }
  void close() {
    isOpen = false;
    if (events.onClose) events.onClose();
  }
};

class TestHost final : public NullHost {
 public:
  TestHost() : scope(ports) {}
  ~TestHost() override {
    EXPECT_TRUE(answers.empty()) << "a question that was answered beforehand was never asked";
    EXPECT_TRUE(paths.empty()) << "a path was never asked for";
    EXPECT_TRUE(fills.empty()) << "a form was never shown";
  }

  std::deque<Answer> answers;                          // for questions with more than one button
  std::deque<std::optional<std::string>> paths;        // for choosers; nothing is Cancel
  std::deque<std::function<bool(Form&)>> fills;        // for forms; false is Cancel
  std::vector<std::shared_ptr<ShownForm>> shownForms;  // that stay open; also those closed again
  std::string offered;                                 // by the last chooser for saving
  std::vector<std::string> messages;
  std::vector<std::string> notices;
  Notice lastNotice;
  std::string whoseIsSaved;        // by the chooser's first line
  std::vector<std::string> calls;  // of windows
  std::optional<std::vector<uint8_t>> clipboardBitmap;
  ClipboardResult clipboardResult = ClipboardResult::Done;
  // What a started program does; none can be started without.
  std::function<int32_t(const std::vector<std::string>&)> program;
  // The page that is printed on; printing is an unexpected question without.
  PrintJob* printJob = nullptr;
  bool frameCanBeMade = true;
  int64_t stopAt = INT64_MAX;  // of a long operation: Cancel at this step
  // What a picture that is written is drawn on; writing is an unexpected question without.
  Canvas* pictureCanvas = nullptr;

  // A form answered by label.
  void fill(std::vector<std::pair<std::string, std::string>> values) {
    fills.push_back([values = std::move(values)](Form& form) {
      for (const auto& [label, value] : values) {
        const FormField* field = form.find(label);
        EXPECT_NE(field, nullptr) << form.title() << " has no field " << label;
        if (field) {
          EXPECT_EQ(field->take(value), "");
        }
      }
      form.changed();
      return true;
    });
  }

  void notice(const Notice& told) override {
    notices.push_back(told.words);
    lastNotice = told;
  }
  Answer show(const std::string& text, Buttons buttons, Icon) override {
    messages.push_back(text);
    if (buttons == Buttons::Ok) return Answer::Ok;
    return take(answers, Answer::Cancel, text);
  }
  std::optional<std::string> openFile(const FileRequest& r) override { return take(paths, {}, r.title); }
  std::optional<std::string> saveFile(const FileRequest& r) override {
    offered = r.initialPath;
    whoseIsSaved = r.whose;
    return take(paths, {}, r.title);
  }
  std::vector<std::string> openFiles(const FileRequest&) override {
    std::vector<std::string> all;
    for (const auto& path : paths) all.push_back(path.value_or(""));
    paths.clear();
    return all;
  }
  std::optional<std::string> chooseFolder(const std::string& title, const std::string&) override {
    messages.push_back(title);
    return take(paths, {}, title);
  }
  bool run(Form& form) override {
    const auto answer = take(fills, {}, form.title());
    return answer && answer(form);
  }
  std::unique_ptr<OpenForm> show(Form form, FormEvents events) override {
    shownForms.push_back(std::make_shared<ShownForm>(ShownForm{std::move(form), std::move(events)}));
    return std::make_unique<Opened>(shownForms.back());
  }
  ClipboardResult setData(const std::string& format, const std::vector<uint8_t>& bytes) override {
    clipboardData[format] = bytes;
    return clipboardResult;
  }
  std::optional<std::vector<uint8_t>> bitmap() override { return clipboardBitmap; }
  bool createMainFrame(const std::string& title) override {
    calls.push_back("create " + title);
    return frameCanBeMade;
  }
  void showMainFrame() override { calls.emplace_back("show"); }
  void closeMainFrame() override { calls.emplace_back("close"); }
  void cascade() override { calls.emplace_back("cascade"); }
  void popupMenu(int32_t id, Point at) override {
    calls.push_back("popup " + std::to_string(id) + " " + std::to_string(at.x) + "," + std::to_string(at.y));
  }
  void tile() override { calls.emplace_back("tile"); }
  bool openWithDesktop(const std::string& path) override {
    calls.push_back("desktop " + path);
    return true;
  }
  bool progress(const std::string&, int64_t done, int64_t) override { return done < stopAt; }
  bool print(const std::string& title, const Draw& draw) override {
    EXPECT_NE(printJob, nullptr) << "unexpected printing of " << title;
    calls.push_back("print " + title);
    if (printJob) draw(*printJob);
    return printJob != nullptr;
  }
  Outcome writePdf(const std::string& path, const std::string& title, const Draw& draw) override {
    return print(title, draw) ? Outcome::success() : Outcome::failure(path);
  }
  using PictureWriter::write;
  Outcome write(const std::string& path, Size, PixelSize, const std::function<void(Canvas&)>& draw) override {
    EXPECT_TRUE(pictureCanvas) << "an unexpected picture: " << path;
    if (!pictureCanvas) return Outcome::failure(path);
    draw(*pictureCanvas);
    return Outcome::success();
  }
  bool preview(const std::string& title, const Draw& draw) override { return print(title, draw); }
  int32_t run(const std::vector<std::string>& words) override { return program ? program(words) : -1; }

 private:
  struct Opened final : OpenForm {
    explicit Opened(std::shared_ptr<ShownForm> which) : shown(std::move(which)) {}
    ~Opened() override { shown->isOpen = false; }
    void refresh() override { shown->refresh(); }
    bool isOpen() const override { return shown->isOpen; }
    Point place() const override { return shown->events.place.value_or(Point{}); }
    std::shared_ptr<ShownForm> shown;
  };
  template <class T>
  static T take(std::deque<T>& queue, T otherwise, const std::string& question) {
    if (queue.empty()) {
      ADD_FAILURE() << "unexpected question: " << question;
      return otherwise;
    }
    T value = std::move(queue.front());
    queue.pop_front();
    return value;
  }
  HostScope scope;
};

}  // namespace tarnvisor

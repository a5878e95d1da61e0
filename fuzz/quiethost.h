// A host that says yes to every question, accepts every form as it stands, has no file to offer, and prints
// on a canvas that counts. What goes to its clipboard comes back.
#pragma once

#include "countingcanvas.h"
#include "host/nullhost.h"

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

class QuietHost final : public NullHost {
 public:
  Answer show(const std::string&, Buttons buttons, Icon) override {
    return buttons == Buttons::YesNo || buttons == Buttons::YesNoCancel ? Answer::Yes : Answer::Ok;
  }
  bool run(Form&) override { return true; }
  int32_t run(const std::vector<std::string>&) override { return -1; }
  bool print(const std::string&, const Draw& draw) override {
    CountingJob job;
    draw(job);
    return true;
  }
  bool preview(const std::string& title, const Draw& draw) override { return print(title, draw); }

 private:
  HostScope scope{ports};
};

}  // namespace tarnvisor

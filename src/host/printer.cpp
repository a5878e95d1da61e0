#include "host/printer.h"

#include <algorithm>

namespace tarnvisor {

namespace {
constexpr const char* kAlphabet = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ";
constexpr int32_t kTenthsOfPoint = 100;
}  // namespace

JobLines::JobLines(PrintJob& target) : job(target) {
  job.canvas().setFont("", kTenthsOfPoint);
  const Size size = job.canvas().textSize(kAlphabet);
  character = {std::max(1, size.width / 52), std::max(1, size.height)};
}

int JobLines::linesPerPage() const { return std::max(1, job.pageSize().height / character.height); }
int JobLines::columnsPerLine() const { return std::max(1, job.pageSize().width / character.width); }

void JobLines::beginPage() {
  if (!firstPage) (void)job.nextPage();
  firstPage = false;
  job.canvas().setFont("", kTenthsOfPoint);
}

void JobLines::text(int line, int column, const std::string& words) {
  job.canvas().text({column * character.width, line * character.height}, words, 0);
}

}  // namespace tarnvisor

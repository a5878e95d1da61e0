#include "drawing/textpages.h"

#include <algorithm>

#include "drawing/textmeasure.h"

namespace tarnvisor {

namespace {
constexpr int32_t kTenthsOfPoint = 100;
}

JobLines::JobLines(PrintJob& target) : job(target) {
  job.canvas().setFont("", kTenthsOfPoint);
  const TextMeasure measure = TextMeasure::of(job.canvas(), TextMeasure::Round::Down);
  character = {measure.character, measure.line};
}

int JobLines::linesPerPage() const { return std::max(1, job.pageSize().height / character.height); }
int JobLines::columnsPerLine() const { return std::max(1, job.pageSize().width / character.width); }

void JobLines::beginPage() {
  if (!firstPage) job.nextPage();
  firstPage = false;
  job.canvas().setFont("", kTenthsOfPoint);
}

void JobLines::text(int line, int column, const std::string& words) {
  job.canvas().text({column * character.width, line * character.height}, words, 0);
}

}  // namespace tarnvisor

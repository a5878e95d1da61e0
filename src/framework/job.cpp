#include "framework/job.h"

#include "archive/archive.h"
#include "base/clock.h"
#include "framework/document.h"
#include "framework/documenttype.h"
#include "host/host.h"

namespace tarnvisor {

JobAtWork::JobAtWork(CDocument& workedOn, std::unique_ptr<Job> work)
    : document(workedOn), job(std::move(work)) {}
JobAtWork::~JobAtWork() = default;

bool JobAtWork::step() {
  const WorkOf working(&document);
  try {
    return !stopped && job->step();
  } catch (const ArchiveException& problem) {
    document.report(document.title() + ": " + problem.what());
  } catch (const std::bad_alloc&) {
    document.report(document.title() + ": there is not enough memory.");
  }
  stopped = true;
  return false;
}

bool JobAtWork::slice() {
  constexpr double kSliceSeconds = 0.02;
  if (!window) window = host().windows.openProgress(job->title());
  const double until = steadySeconds() + kSliceSeconds;
  bool more = true;
  do {
    more = step();
  } while (more && steadySeconds() < until);
  const Job::Progress now = job->progress();
  if (more && !window->show(now.words, now.done, now.total)) stopped = true;
  return more;
}

void JobAtWork::toEnd() {
  const WaitScope wait;
  do {
    const Job::Progress now = job->progress();
    if (!host().waitCursor.progress(now.words, now.done, now.total)) stopped = true;
  } while (step());
}

void JobAtWork::finish() {
  window.reset();
  const WorkOf working(&document);
  job->end(stopped);
}

}  // namespace tarnvisor

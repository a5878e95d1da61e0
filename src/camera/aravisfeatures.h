// The features of one camera by their standard names, as numbers and choices. One call runs at a time, from
// whatever thread: the library's description of a camera is no place for two. A camera that does not answer
// keeps each call for seconds, so that it is asked nothing more once it has failed to.
#pragma once

#include <arv.h>

#include <atomic>
#include <functional>
#include <initializer_list>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "base/outcome.h"
#include "camera/cameradriver.h"

namespace tarnvisor {

inline constexpr const char* kNoAnswer = "The camera does not answer any more.";

struct Unreference {
  void operator()(gpointer object) const { g_object_unref(object); }
};
template <class T>
using Owned = std::unique_ptr<T, Unreference>;

// How one call of the library ended.
class Answer {
 public:
  Answer() = default;
  ~Answer() { g_clear_error(&error); }
  Answer(const Answer&) = delete;
  Answer& operator=(const Answer&) = delete;

  GError** slot() { return &error; }
  explicit operator bool() const { return !error; }
  bool isSilence() const;   // nobody answered
  Outcome outcome() const;  // a failure in words, the library's in brackets
 private:
  GError* error = nullptr;
};

class AravisFeatures {
 public:
  explicit AravisFeatures(Owned<ArvCamera> camera);
  AravisFeatures(const AravisFeatures&) = delete;
  AravisFeatures& operator=(const AravisFeatures&) = delete;

  ArvCamera* camera() const { return owned.get(); }
  bool isGone() const { return *gone; }
  void markGone() { *gone = true; }

  // One call of the library, unless the camera is gone.
  Outcome call(const std::function<void(ArvCamera*, GError**)>& work);

  bool has(const char* feature);
  // The first of these names that the camera knows; null when it knows none.
  const char* firstOf(std::initializer_list<const char*> features);
  std::string unitOf(const char* feature);

  // A switch counts as 0 and 1.
  std::optional<double> number(const char* feature);
  std::optional<CameraRange> bounds(const char* feature);
  // The nearest within its bounds, on its steps.
  Outcome setNumber(const char* feature, double value);

  std::string chosen(const char* feature);
  std::vector<std::string> choices(const char* feature);
  bool offers(const char* feature, const std::string& choice);
  Outcome choose(const char* feature, const std::string& choice);

 private:
  // Nothing where `work` fails.
  template <class Work>
  auto asked(Work work) -> std::optional<decltype(work(nullptr, nullptr))>;

  std::shared_ptr<std::atomic<bool>> gone;  // also of the signal that tells it
  std::mutex oneCall;
  Owned<ArvCamera> owned;
};

}  // namespace tarnvisor

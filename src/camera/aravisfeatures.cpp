#include "aravisfeatures.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "base/text.h"

namespace tarnvisor {

namespace {

const char* wordsFor(int code) {
  switch (code) {
    case ARV_DEVICE_ERROR_TIMEOUT:
    case ARV_DEVICE_ERROR_NOT_CONNECTED:
      return kNoAnswer;
    case ARV_DEVICE_ERROR_NOT_FOUND:
      return "The camera is not there.";
    case ARV_DEVICE_ERROR_NOT_CONTROLLER:
    case ARV_DEVICE_ERROR_PROTOCOL_ERROR_ACCESS_DENIED:
      return "The camera is in use by another program.";
    case ARV_DEVICE_ERROR_PROTOCOL_ERROR_BUSY:
      return "The camera is busy.";
    case ARV_DEVICE_ERROR_TRANSFER_ERROR:
    case ARV_DEVICE_ERROR_PROTOCOL_ERROR:
      return "The connection to the camera is disturbed.";
    case ARV_DEVICE_ERROR_GENICAM_NOT_FOUND:
      return "The camera does not tell what it can do.";
    case ARV_DEVICE_ERROR_NO_STREAM_CHANNEL:
      return "The camera sends no pictures.";
    default:
      return "The camera refuses this.";
  }
}

enum class Kind { None, Switch, Whole, Real };

Kind kindOf(ArvCamera* camera, const char* feature) {
  ArvGcNode* node = arv_device_get_feature(arv_camera_get_device(camera), feature);
  if (!node) return Kind::None;
  return ARV_IS_GC_BOOLEAN(node) ? Kind::Switch : ARV_IS_GC_FLOAT(node) ? Kind::Real : Kind::Whole;
}

CameraRange boundsOf(ArvCamera* camera, const char* feature, GError** error) {
  CameraRange range{0, 1, 1};
  const Kind kind = kindOf(camera, feature);
  if (kind == Kind::Real) {
    arv_camera_get_float_bounds(camera, feature, &range.low, &range.high, error);
    // A camera need not tell the step of a real number.
    range.step = *error ? 0 : std::max(0.0, arv_camera_get_float_increment(camera, feature, nullptr));
    if (range.step < 1e-9) range.step = 0;
  } else if (kind == Kind::Whole) {
    gint64 low = 0, high = 0;
    arv_camera_get_integer_bounds(camera, feature, &low, &high, error);
    range = {static_cast<double>(low), static_cast<double>(high), 1};
    if (!*error) range.step = std::max<gint64>(1, arv_camera_get_integer_increment(camera, feature, nullptr));
  }
  return range;
}

double nearest(const CameraRange& range, double value) {
  value = std::clamp(value, range.low, std::max(range.low, range.high));
  if (range.step <= 0) return value;
  // Where there is no lower bound worth the name, steps count from 0.
  const double from = std::abs(range.low) < 1e12 ? range.low : 0;
  const double on = from + std::round((value - from) / range.step) * range.step;
  return on > range.high ? on - range.step : on;
}

void setTo(ArvCamera* camera, const char* feature, double value, GError** error) {
  const Kind kind = kindOf(camera, feature);
  if (kind == Kind::Switch) return arv_camera_set_boolean(camera, feature, value != 0, error);
  const CameraRange range = boundsOf(camera, feature, error);
  if (*error) return;
  value = nearest(range, value);
  if (kind == Kind::Real) return arv_camera_set_float(camera, feature, value, error);
  arv_camera_set_integer(camera, feature, std::llround(value), error);
}

}  // namespace

bool Answer::isSilence() const {
  return g_error_matches(error, ARV_DEVICE_ERROR, ARV_DEVICE_ERROR_TIMEOUT) ||
         g_error_matches(error, ARV_DEVICE_ERROR, ARV_DEVICE_ERROR_NOT_CONNECTED);
}

Outcome Answer::outcome() const {
  if (!error) return Outcome::success();
  const char* words = error->domain == ARV_DEVICE_ERROR ? wordsFor(error->code) : wordsFor(-1);
  return Outcome::failure(format("%s (%s)", words, error->message));
}

AravisFeatures::AravisFeatures(Owned<ArvCamera> camera)
    : gone(std::make_shared<std::atomic<bool>>(false)), owned(std::move(camera)) {
  using Flag = std::shared_ptr<std::atomic<bool>>;
  // The signal may still be on its way, on the library's thread, when this object is no more.
  g_signal_connect_data(
      arv_camera_get_device(owned.get()), "control-lost",
      G_CALLBACK(+[](ArvDevice*, gpointer flag) { **static_cast<Flag*>(flag) = true; }), new Flag(gone),
      [](gpointer flag, GClosure*) { delete static_cast<Flag*>(flag); }, GConnectFlags{});
}

Outcome AravisFeatures::call(const std::function<void(ArvCamera*, GError**)>& work) {
  if (isGone()) return Outcome::failure(kNoAnswer);
  const std::lock_guard lock(oneCall);
  if (isGone()) return Outcome::failure(kNoAnswer);  // which it took the call before seconds to find
  Answer answer;
  work(camera(), answer.slot());
  if (answer.isSilence()) markGone();
  return answer.outcome();
}

template <class Work>
auto AravisFeatures::asked(Work work) -> std::optional<decltype(work(nullptr, nullptr))> {
  decltype(work(nullptr, nullptr)) result{};
  if (!call([&](ArvCamera* camera, GError** error) { result = work(camera, error); })) return std::nullopt;
  return result;
}

bool AravisFeatures::has(const char* feature) {
  return asked([&](ArvCamera* camera, GError** error) {
           return arv_camera_is_feature_available(camera, feature, error) != FALSE;
         })
      .value_or(false);
}

const char* AravisFeatures::firstOf(std::initializer_list<const char*> features) {
  const auto found = std::find_if(features.begin(), features.end(), [this](auto* name) { return has(name); });
  return found == features.end() ? nullptr : *found;
}

std::string AravisFeatures::unitOf(const char* feature) {
  return asked([&](ArvCamera* camera, GError**) {
           ArvGcNode* node = arv_device_get_feature(arv_camera_get_device(camera), feature);
           const char* unit = ARV_IS_GC_FLOAT(node)     ? arv_gc_float_get_unit(ARV_GC_FLOAT(node))
                              : ARV_IS_GC_INTEGER(node) ? arv_gc_integer_get_unit(ARV_GC_INTEGER(node))
                                                        : nullptr;
           return std::string(unit ? unit : "");
         })
      .value_or("");
}

std::optional<double> AravisFeatures::number(const char* feature) {
  if (!has(feature)) return std::nullopt;
  return asked([&](ArvCamera* camera, GError** error) -> double {
    const Kind kind = kindOf(camera, feature);
    if (kind == Kind::Switch) return arv_camera_get_boolean(camera, feature, error) ? 1 : 0;
    if (kind == Kind::Real) return arv_camera_get_float(camera, feature, error);
    return static_cast<double>(arv_camera_get_integer(camera, feature, error));
  });
}

std::optional<CameraRange> AravisFeatures::bounds(const char* feature) {
  if (!has(feature)) return std::nullopt;
  return asked([&](ArvCamera* camera, GError** error) { return boundsOf(camera, feature, error); });
}

Outcome AravisFeatures::setNumber(const char* feature, double value) {
  return call([&](ArvCamera* camera, GError** error) { setTo(camera, feature, value, error); });
}

std::string AravisFeatures::chosen(const char* feature) {
  if (!has(feature)) return "";
  return asked([&](ArvCamera* camera, GError** error) {
           const char* text = arv_camera_get_string(camera, feature, error);
           return std::string(text ? text : "");
         })
      .value_or("");
}

std::vector<std::string> AravisFeatures::choices(const char* feature) {
  if (!has(feature)) return {};
  return asked([&](ArvCamera* camera, GError** error) {
           guint count = 0;
           const char** texts =
               arv_camera_dup_available_enumerations_as_strings(camera, feature, &count, error);
           std::vector<std::string> all(texts, texts + count);
           g_free(texts);
           return all;
         })
      .value_or(std::vector<std::string>{});
}

bool AravisFeatures::offers(const char* feature, const std::string& choice) {
  const std::vector<std::string> all = choices(feature);
  return std::find(all.begin(), all.end(), choice) != all.end();
}

Outcome AravisFeatures::choose(const char* feature, const std::string& choice) {
  return call([&](ArvCamera* camera, GError** error) {
    arv_camera_set_string(camera, feature, choice.c_str(), error);
  });
}

}  // namespace tarnvisor

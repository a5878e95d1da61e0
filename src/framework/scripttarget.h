// What a script can ask of the document in front and of its view. A kind of document overrides what it has
// something for; the rest answers that it has nothing. The view is asked first, then the document.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "base/geometry.h"

namespace tarnvisor {

// What a step of a script yields: named texts in order, and lines for people.
struct StepResult {
  bool ok = true;
  std::string why;  // of a failure
  std::vector<std::pair<std::string, std::string>> values;
  std::string text;  // printed as it stands
  bool known = true;

  static StepResult failure(std::string words) { return {false, std::move(words), {}, {}}; }
  static StepResult nothing() { return {false, {}, {}, {}, false}; }
};

class ScriptTarget {
 public:
  virtual ~ScriptTarget() = default;
  // Named facts about a document that was just opened.
  virtual std::vector<std::pair<std::string, std::string>> facts() const { return {}; }
  // Into a file of the kind that the path's ending names.
  virtual StepResult exportTo(const std::string& /*path*/) { return StepResult::nothing(); }
  // Images, the end exclusive, -1 for the start and the end; in a chart seconds.
  virtual StepResult selectRange(double /*from*/, double /*to*/) { return StepResult::nothing(); }
  virtual StepResult show(int32_t /*image*/) { return StepResult::nothing(); }
  virtual StepResult chooseTrace(const std::string& /*name*/) { return StepResult::nothing(); }
  // Text for people: "notes", "status"...
  virtual StepResult tell(const std::string& /*what*/) { return StepResult::nothing(); }
  enum class Region { None, Circle, Rectangle };
  virtual StepResult setRegion(Region, const Rect&) { return StepResult::nothing(); }
  virtual StepResult chooseList(int32_t /*list*/) { return StepResult::nothing(); }
  // kind: "point", "line"...; as many points as that kind has.
  virtual StepResult drawDimension(const std::string& /*kind*/, std::span<const Point>) {
    return StepResult::nothing();
  }
  // A linescan of the selected images: along a path, so many pixels wide; along a dimension of the list,
  // from 1.
  virtual StepResult scan(std::span<const Point> /*path*/, int32_t /*width*/) {
    return StepResult::nothing();
  }
  virtual StepResult scan(int32_t /*dimension*/) { return StepResult::nothing(); }
};

}  // namespace tarnvisor

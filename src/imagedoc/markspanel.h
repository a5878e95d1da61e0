// The marks of an image's current list as a table beside the picture, and what they come to.
#pragma once

#include <string>
#include <vector>

#include "base/geometry.h"
#include "framework/sidepanel.h"

namespace tarnvisor {

class CDim;
class CZZimage;
class ZBasicView;

class MarksPanel : public SidePanel {
 public:
  explicit MarksPanel(ZBasicView& shown) : view(shown) {}
  std::string title() const override { return "Marks"; }
  // What the document's result says, and by which scale.
  std::vector<SideFact> facts() const override;
  // The nine lists.
  std::vector<Group> groups() const override;
  size_t currentGroup() const override;
  void chooseGroup(size_t group) override;
  void showGroup(size_t group, bool shown) override;
  bool showsLabels() const override;
  void showLabels(bool shown) override;  // of each picture of this profile
  std::vector<Column> columns() const override;
  size_t rowCount() const override;
  std::string cell(size_t row, size_t column) const override;
  double number(size_t row, size_t column) const override;
  bool isSelected(size_t row) const override;
  void select(std::span<const size_t> rows) override;
  // The view shows other pixels from now on.
  void forgetLevels() { levels.clear(); }

 private:
  double levelAt(size_t row) const;
  ZBasicView& view;
  // A thousand marks are more pixels than a picture takes to paint.
  struct Level {
    std::string kind;
    std::vector<Point> points;
    double level = 0;
  };
  mutable std::vector<Level> levels;  // of the rows, as far as they were asked for
};

// The mean grey level of what a mark covers: of a point its pixel's, of lines along them, of shapes with an
// area within them. NaN outside the image.
double levelOf(const CZZimage& image, const CDim& mark);

}  // namespace tarnvisor

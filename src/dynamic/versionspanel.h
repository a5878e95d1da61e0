// The versions of a video's movie as a table beside the picture.
#pragma once

#include "framework/sidepanel.h"

namespace tarnvisor {

class CVivoCapDoc;

class VersionsPanel final : public SidePanel {
 public:
  explicit VersionsPanel(CVivoCapDoc& video) : doc(video) {}
  std::string title() const override { return "Versions"; }
  std::vector<SideFact> facts() const override;
  std::vector<Column> columns() const override;
  size_t rowCount() const override;
  std::string cell(size_t row, size_t column) const override;
  double number(size_t row, size_t column) const override;
  bool isSelected(size_t row) const override;
  void select(std::span<const size_t> rows) override;
  std::vector<std::string> actions() const override;
  bool canAct(size_t action) const override;
  void act(size_t action) override;

 private:
  CVivoCapDoc& doc;
  int32_t chosen = 0;  // number of a version; 0 for the one shown
};

}  // namespace tarnvisor

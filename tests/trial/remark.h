// A kind of document as small as one can be: a remark, some lines of text. It is the example of
// docs/recipes.md, which quotes these two files, and the tests hold that a kind needs no more than this.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "app/documentrow.h"
#include "frame/commandids.h"

namespace tarnvisor {

// So far above the rooms' own numbers that those can go on growing.
namespace cmd {

// NOLINTBEGIN(readability-identifier-naming): the names of commands
inline constexpr int32_t AddDate = 34901;
inline constexpr int32_t UpperCase = 34902;
// NOLINTEND(readability-identifier-naming)

}  // namespace cmd

inline constexpr int32_t kRemarkPopup = 10900;  // the menu at the mouse

class RemarkDoc : public CDocument {
 public:
  void serialize(Archive& archive) override;
  void deleteContents() override { lines.clear(); }
  StepResult exportTo(const std::string& path) override;  // .txt
  static const CommandTableBase& commandTable();
  const CommandTableBase* commands() const override { return &commandTable(); }

  std::vector<std::string> lines;

 private:
  void addDate();
  void upperCase();
  bool hasLines() const { return !lines.empty(); }
  void changed();
};

class RemarkView : public CView {
 public:
  explicit RemarkView(RemarkDoc& shown) : CView(shown), remark(shown) {}
  void draw(Canvas& canvas) override;
  Size contentSize() const override;
  void onUpdate(Change what) override;

 private:
  RemarkDoc& remark;
};

DocumentRow remarkKind();

}  // namespace tarnvisor

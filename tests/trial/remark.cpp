#include "trial/remark.h"

#include "archive/archive.h"
#include "base/clock.h"
#include "base/files.h"
#include "base/text.h"
#include "frame/menus.h"

namespace tarnvisor {

namespace {

constexpr uint16_t kVersion = 1;
constexpr int32_t kLineHeight = 20;
constexpr int32_t kInset = 4;

}  // namespace

void RemarkDoc::serialize(Archive& archive) {
  if (archive.isStoring()) {
    archive.putWord(kVersion);
    archive.writeCount(lines.size());
    for (const std::string& line : lines) archive.writeString(line);
    return;
  }
  if (archive.getWord() > kVersion) throw ArchiveException("it was stored by a newer version");
  for (size_t left = archive.readCountOf(1); left > 0; --left) lines.push_back(archive.readString());
}

const CommandTableBase& RemarkDoc::commandTable() {
  using D = RemarkDoc;
  static const CommandTable<D> table{
      {{cmd::AddDate,
        "Add &date",
        &D::addDate,
        {.tip = "Add the date", .status = "Adds a line with the date and time.", .keys = "Ctrl+Alt+D"}},
       {cmd::UpperCase,
        "&Upper case",
        &D::upperCase,
        &D::hasLines,
        {.tip = "Upper case", .status = "Turns all letters into capitals."}}},
      &CDocument::commandTable()};
  return table;
}

void RemarkDoc::addDate() {
  lines.push_back(longDateTime(currentTime()));
  changed();
}

void RemarkDoc::upperCase() {
  for (std::string& line : lines)
    for (char& c : line)
      if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  changed();
}

void RemarkDoc::changed() {
  setModified();
  updateAllViews();
}

StepResult RemarkDoc::exportTo(const std::string& path) {
  if (!equalIgnoringCase(extensionOf(path), "txt"))
    return StepResult::failure("a remark is exported as .txt");
  std::string text;
  for (const std::string& line : lines) text += line + "\r\n";
  const Outcome done = replaceFile(path, std::string_view(text));
  return done ? StepResult{true, {}, {{"path", path}}, "exported " + path} : StepResult::failure(done.why());
}

void RemarkView::draw(Canvas& canvas) {
  canvas.fill({0, 0, windowSize().width, windowSize().height}, 0xffffff);
  int32_t y = kInset - scrollPosition().y;
  for (const std::string& line : remark.lines) {
    canvas.text({kInset, y}, line, 0x202020);
    y += kLineHeight;
  }
}

Size RemarkView::contentSize() const {
  return {0, 2 * kInset + kLineHeight * static_cast<int32_t>(remark.lines.size())};
}

void RemarkView::onUpdate(Change) {
  contentChanged();
  redraw();
}

namespace {

const DocumentFace& remarkFace() {
  static const MenuEntries entries{cmd::AddDate, cmd::UpperCase};
  static const DocumentFace face{.tables = {&RemarkDoc::commandTable()},
                                 .menus = {fileMenu({cmd::FileSave, cmd::FileSaveAs}),
                                           {"&Remark", entries},
                                           {"&View", barEntries()},
                                           subjectMenu(),
                                           acquisitionMenu(),
                                           windowMenu(),
                                           helpMenu()},
                                 .popups = {{kRemarkPopup, entries}},
                                 .files = {{.ending = ".trm",
                                            .openWords = "Remarks (*.trm)",
                                            .openPlace = 9,
                                            .mimeType = "application/x-tarnvisor-remark",
                                            .mimeComment = "Tarnvisor remark"}},
                                 .helpPage = "remark"};
  return face;
}

}  // namespace

DocumentRow remarkKind() {
  return {DocumentRow::Gate::ImageOrVelocity,
          {10900, "\nRemark\nRemark\nRemarks (*.trm)\n.trm\nTarnvisor.Remark\nTarnvisor Remark", "RemarkDoc",
           "RemarkView", kChildFrame, &makeDocument<RemarkDoc>, &makeView<RemarkDoc, RemarkView>, nullptr, "",
           &remarkFace}};
}

}  // namespace tarnvisor

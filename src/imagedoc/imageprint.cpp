#include "imagedoc/imageprint.h"

#include <algorithm>

#include "app/basicapp.h"
#include "base/clock.h"
#include "base/text.h"
#include "drawing/picturepainter.h"
#include "drawing/textmeasure.h"
#include "drawing/textwrap.h"
#include "exams/examselection.h"
#include "exams/subjectdirectory.h"
#include "host/host.h"
#include "imagedoc/overlay.h"
#include "imagedoc/texts.h"
#include "imagedoc/zbasicdoc.h"

namespace tarnvisor {

namespace {

constexpr int32_t kTenthsOfPoint = 100;

void append(std::vector<std::string>& to, const std::vector<std::string>& lines) {
  to.insert(to.end(), lines.begin(), lines.end());
}

// Down a page and on over the next ones.
class PageWriter {
 public:
  explicit PageWriter(PrintJob& target) : job(target), page(target.pageSize()) { useFont(); }
  void useFont() {
    job.canvas().setFont("", kTenthsOfPoint);
    lineHeight = TextMeasure::of(job.canvas()).line;
  }
  std::vector<std::string> piecesOf(const std::string& line) const {
    return wrapped(job.canvas(), line, page.width);
  }
  void write(const std::string& line) {
    for (const std::string& piece : piecesOf(line)) {
      if (y + lineHeight > page.height && y > 0 && !turn()) return;
      job.canvas().text({0, y}, piece, 0);
      y += lineHeight;
    }
  }
  int32_t heightOf(const std::vector<std::string>& lines) const {
    size_t count = 0;
    for (const std::string& line : lines) count += piecesOf(line).size();
    return static_cast<int32_t>(std::min<size_t>(count, 1 << 16)) * lineHeight;
  }
  void skipLine() { y += lineHeight; }
  // False when the printer gave up: nothing more is drawn.
  bool turn() {
    if (gaveUp || !job.nextPage()) gaveUp = true;
    y = 0;
    if (!gaveUp) useFont();
    return !gaveUp;
  }
  int32_t room() const { return std::max(0, page.height - y); }
  bool hasGivenUp() const { return gaveUp; }

  int32_t y = 0;
  int32_t lineHeight = 1;

 private:
  PrintJob& job;
  Size page;
  bool gaveUp = false;
};

struct SubjectWords {
  std::vector<std::string> lines;
  std::string comments;
};

SubjectWords subjectWords(const ZBasicDoc& document) {
  const SubjectDatabase* db = theApp().db.get();
  if (!db) return {{"NO DATABASE"}, {}};
  // What was never saved would be filed under the selected exam, and its page is signed beside that patient.
  // But for a file that names somebody else.
  const std::string other = document.patientId.empty() ? document.otherSubject() : std::string();
  const bool isUnfiled =
      other.empty() && document.patientId.empty() && document.pathName().empty() && theExams().hasExam();
  const std::string id = !other.empty() ? other : isUnfiled ? theExams().subjectId() : document.patientId;
  const int32_t examId = isUnfiled ? theExams().examId() : document.examIdOfDoc;
  if (id.empty()) return {{"NO SUBJECT"}, {}};
  SubjectWords words;
  // A document of another data folder: people and exams of the same numbers here are others.
  const bool foreign = !isUnfiled && document.isFromElsewhere();
  const auto subject = foreign ? std::nullopt : db->readSubject(id);
  std::string name = fullNameOf(subject);
  if (name.empty()) name = id;
  words.lines.push_back("Subject: " + name);
  const auto exam = foreign ? std::nullopt : db->exam(id, examId);
  words.lines.push_back(format("exam: %li  Site: %s Copy: %i", static_cast<long>(examId),
                               exam ? exam->site.c_str() : "", document.saveCount));
  const std::string born = subject ? db->person(id).born : std::string();
  words.lines.push_back("id: " + id + (born.empty() ? "" : "  born: " + born) +
                        (exam ? "  exam date: " + localDay(exam->created) : std::string()));
  if (isUnfiled) words.lines.push_back("not saved with this examination yet");
  if (subject) words.comments = subject->comments;
  if (exam && !exam->comment.empty()) words.comments += (words.comments.empty() ? "" : "\n") + exam->comment;
  return words;
}

void drawPicture(PrintJob& job, ZBasicDoc& document, int32_t scale, Point corner) {
  CZZimage& image = *document.theImage();
  const Size size{image.width, image.frameHeight()};
  const Rect area{corner.x, corner.y, corner.x + size.width * scale, corner.y + size.height * scale};
  Canvas& canvas = job.canvas();
  canvas.setClip(area);
  PicturePainter painter;
  canvas.pixels(painter.render(image, 1, 1, {}, size), area);
  ZoomCanvas zoomed(canvas, scale, 1, Point{} - corner, area, image.frameOrigin());
  drawOverlays(zoomed, document, -1, image.frameRect());
  if (document.calibrated) drawScaleBar(canvas, scaleBarFor(document, scale, 1, area.width()), area);
  canvas.setClip({});
}

}  // namespace

std::vector<std::string> printheader(const ZBasicDoc& document, int32_t scale, double pixelsPerInch) {
  constexpr double kCmPerInch = 2.54;
  const SubjectWords subject = subjectWords(document);
  const Scale units = document.scale();
  const std::string unit = document.unitName();
  const double imagePixelsPerCm = pixelsPerInch / kCmPerInch / scale;
  std::vector<std::string> lines{text::kBanner};
  append(lines, subject.lines);
  lines.push_back(text::kFilename + document.title());
  lines.push_back(text::kImageName + document.imagefile);
  if (document.capturetime)
    lines.push_back(format(text::kCaptured, longDateTime(document.capturetime).c_str()));
  if (!document.stationIdFirst.empty()) lines.push_back("Captured by " + document.stationIdFirst);
  lines.push_back(format(text::kPrintMagnification, units.x, units.y, unit.c_str()));
  lines.push_back(
      format(text::kPrintScale, units.x * imagePixelsPerCm, units.y * imagePixelsPerCm, unit.c_str()));
  lines.push_back(format(text::kPrinted, longDateTime(currentTime()).c_str()));
  lines.push_back("Result:");
  append(lines, linesOf(document.resultLines()));
  lines.push_back("comments");
  append(lines, linesOf(subject.comments));
  return lines;
}

int32_t printScale(Size image, Size room) {
  if (image.width < 1 || image.height < 1) return 1;
  return std::max(1, std::min(room.width / image.width, room.height / image.height));
}

void printImage(PrintJob& job, ZBasicDoc& document) {
  document.dropStaleResult();
  const Size page = job.pageSize();
  if (page.width < 1 || page.height < 1 || !(job.pixelsPerInch() > 0)) {
    host().messages.show(text::kNoPrinterSupport);
    return;
  }
  PageWriter writer(job);
  const CZZimage* image = document.hasImage() ? document.theImage() : nullptr;
  const Size size = image ? Size{image->width, image->frameHeight()} : Size{};
  // The scale stands in the header, whose height tells what remains for the image.
  const int32_t above = writer.heightOf(printheader(document, 1, job.pixelsPerInch())) + writer.lineHeight;
  const int32_t scale = printScale(size, {page.width, std::max(0, page.height - above)});
  for (const std::string& line : printheader(document, scale, job.pixelsPerInch())) writer.write(line);
  writer.skipLine();
  if (image) {
    // A header that leaves little is not to cost half of the picture.
    if (size.height * scale > writer.room() && writer.room() < page.height / 2 && !writer.turn()) return;
    if (writer.hasGivenUp()) return;
    drawPicture(job, document, scale, {std::max(0, (page.width - size.width * scale) / 2), writer.y});
    writer.y += size.height * scale;
    writer.useFont();
    writer.skipLine();
  }
  if (document.notes.empty() || writer.hasGivenUp()) return;
  writer.write(text::kNotes);
  for (const std::string& line : linesOf(document.notes)) writer.write(line);
}

}  // namespace tarnvisor

#include "frame/commandwords.h"

#include <algorithm>
#include <cctype>
#include <iterator>
#include <set>
#include <utility>

#include "base/text.h"
#include "frame/commandids.h"
#include "frame/mainframe.h"

namespace tarnvisor {

namespace {

struct SharedWords {
  int32_t id;
  CommandWords words;
};
constexpr SharedWords kShared[] = {
    {cmd::FilePrint,
     {.tip = "Print",
      .status = "Prints the document in front.",
      .keys = "Ctrl+P",
      .icon = "print",
      .whyOff = "There is nothing to print."}},
    {cmd::FilePrintPreview,
     {.tip = "Print preview",
      .status = "Shows the pages as they would be printed.",
      .keys = "Ctrl+Shift+P",
      .icon = "print-preview",
      .whyOff = "There is nothing to print."}},
    {cmd::Undo,
     {.tip = "Undo",
      .status = "Takes the last change back.",
      .keys = "Ctrl+Z",
      .icon = "undo",
      .whyOff = "There is nothing to undo."}},
    {cmd::Redo,
     {.tip = "Redo",
      .status = "Does again what was taken back.",
      .keys = "Ctrl+Shift+Z",
      .icon = "redo",
      .whyOff = "There is nothing to do again."}},
    {cmd::Copy,
     {.tip = "Copy",
      .status = "Copies the selected dimension, or the selected cells of a table.",
      .keys = "Ctrl+C",
      .icon = "copy",
      .whyOff = "Nothing is selected."}},
    {cmd::Paste,
     {.tip = "Paste",
      .status = "Adds the copied dimension to the current list, or opens a copied picture.",
      .keys = "Ctrl+V",
      .icon = "paste"}},
    {cmd::Import,
     {.tip = "Import",
      .status = "Brings in files of other programs: pictures, movies, traces.",
      .keys = "Ctrl+I",
      .icon = "import"}},
    {cmd::Export,
     {.tip = "Export",
      .status = "Writes the picture or table to a file for other programs.",
      .keys = "Ctrl+E",
      .icon = "export"}},
    {cmd::ZoomIn,
     {.tip = "Zoom in", .status = "Shows the image larger.", .keys = "Ctrl++", .icon = "zoom-in"}},
    {cmd::ZoomOut,
     {.tip = "Zoom out", .status = "Shows the image smaller.", .keys = "Ctrl+-", .icon = "zoom-out"}},
    {cmd::ZoomFit,
     {.tip = "Fit to window",
      .status = "Zooms so that the whole image fits the window.",
      .keys = "Ctrl+0",
      .icon = "zoom-fit"}},
    {cmd::ZoomActualSize,
     {.tip = "Actual size",
      .status = "Shows each pixel of the image as one of the screen, or a trace at its own scale.",
      .keys = "Ctrl+1",
      .icon = "zoom-actual"}},
};

}  // namespace

namespace {

bool isName(const std::string& word) {
  static const std::set<std::string> names{"Laplacian", "Krogh",     "Voronoi", "Doppler", "Hough",
                                           "Cytoscan",  "Tarnvisor", "Fourier", "Gauss",   "Sobel"};
  return names.contains(word);
}

bool isUpper(char c) { return c >= 'A' && c <= 'Z'; }

// One capital, at its beginning: not an abbreviation.
bool isCapitalised(const std::string& word) {
  return word.size() > 1 && isUpper(word[0]) && std::ranges::count_if(word, isUpper) == 1;
}

}  // namespace

std::string shownCommandText(const CommandRow& row) {
  if (*row.words.shown) return row.words.shown + std::string(row.words.asks ? "..." : "");
  std::string text = row.text;
  const bool asks = row.words.asks || text.ends_with("...");
  while (text.ends_with('.') || text.ends_with(' ')) text.pop_back();
  std::string sentence;
  for (std::string word : split(text, ' ')) {
    const size_t first = word.find_first_not_of('&');
    std::string letters;
    std::ranges::copy_if(word, std::back_inserter(letters),
                         [](char c) { return std::isalpha(static_cast<unsigned char>(c)); });
    if (first != std::string::npos && sentence.empty())
      word[first] = static_cast<char>(std::toupper(static_cast<unsigned char>(word[first])));
    else if (first != std::string::npos && isCapitalised(letters) && !isName(letters))
      word[first] = static_cast<char>(std::tolower(static_cast<unsigned char>(word[first])));
    sentence += (sentence.empty() ? "" : " ") + word;
  }
  return sentence + (asks ? "..." : "");
}

CommandDirectory::CommandDirectory(const CBasicApp& app) {
  for (const SharedWords& shared : kShared) known.emplace(shared.id, shared.words);
  add(&CBasicApp::commandTable());
  add(&CBasicMainFrame::commandTable());
  for (const auto& type : app.documents.types())
    for (const CommandTableBase* table : type->face().tables) add(table);
}

void CommandDirectory::add(const CommandTableBase* table) {
  for (; table; table = table->baseTable())
    for (const CommandRow& row : table->rows())
      if (!row.words.isEmpty()) known.emplace(row.id, row.words);
}

const CommandWords& CommandDirectory::words(int32_t id) const {
  static const CommandWords none;
  const auto found = known.find(id);
  return found == known.end() ? none : found->second;
}

std::string CommandDirectory::shortcutList() const {
  std::string list;
  for (const auto& [id, words] : known)
    if (*words.keys) list += format("%-16s%s\n", words.keys, words.tip);
  return list;
}

}  // namespace tarnvisor

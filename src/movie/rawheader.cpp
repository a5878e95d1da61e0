#include "movie/rawheader.h"

#include <array>
#include <charconv>
#include <cmath>
#include <vector>

#include "base/files.h"
#include "base/text.h"
#include "movie/tagreader.h"

namespace tarnvisor {

namespace {

constexpr uint64_t kLongestHeader = uint64_t{1} << 20;
constexpr std::string_view kBetweenWords = " \t\v\f=:";

std::vector<std::string_view> wordsOf(std::string_view text) {
  std::vector<std::string_view> words;
  for (size_t at = 0; (at = text.find_first_not_of(kBetweenWords, at)) != text.npos;) {
    const size_t end = std::min(text.find_first_of(kBetweenWords, at), text.size());
    words.push_back(text.substr(at, end - at));
    at = end;
  }
  return words;
}

template <class T>
bool parse(std::string_view word, T& value) {
  if (word.starts_with('+')) word.remove_prefix(1);
  const auto [stop, error] = std::from_chars(word.data(), word.data() + word.size(), value);
  return error == std::errc() && stop == word.data() + word.size();
}

// The number behind a key; the key may stand in a remark before. `what`: of the numbers that can be.
template <class T>
Outcome take(const std::vector<std::string_view>& words, std::string_view key, T low, const char* what,
             std::optional<T>& value) {
  std::optional<std::string_view> wrong;
  for (size_t i = 0; i < words.size(); ++i) {
    if (words[i] != key) continue;
    T number{};
    const std::string_view word = i + 1 < words.size() ? words[i + 1] : std::string_view();
    if (parse(word, number) && number >= low) {
      value = number;
      return Outcome::success();
    }
    if (!wrong) wrong = word;
  }
  if (!wrong) return Outcome::success();
  constexpr size_t kShown = 40;
  return Outcome::failure(format("Its %s is \"%s\", which is no %s.", std::string(key).c_str(),
                                 std::string(wrong->substr(0, kShown)).c_str(), what));
}

Outcome takeAll(const std::vector<std::string_view>& words, RawHeader& header) {
  constexpr double kAny = -HUGE_VAL;
  std::optional<int32_t> width, height, frames;
  std::optional<double> scale;
  for (const Outcome& taken :
       {take(words, "WIDTH", 1, "possible size", width), take(words, "HEIGHT", 1, "possible size", height),
        take(words, "NUMBER_OF_FRAMES", 0, "possible number", frames),
        take(words, "MAGNIFICATION", kAny, "number", scale)})
    if (!taken) return taken;
  header.width = width.value_or(header.width);
  header.height = height.value_or(header.height);
  header.frames = frames.value_or(header.frames);
  header.magnification = scale;
  header.isSilent = !width && !height && !frames && !scale;
  return Outcome::success();
}

// Tags in a remark are none.
std::string withoutComments(std::string text) {
  constexpr std::string_view kStart = "<!--", kEnd = "-->";
  for (size_t at = 0; (at = text.find(kStart, at)) != text.npos;) {
    const size_t end = text.find(kEnd, at + kStart.size());
    text.erase(at, end == text.npos ? end : end + kEnd.size() - at);
  }
  return text;
}

// The first file of that stem with one of the endings, however these are written.
std::string besideWith(const std::string& path, std::initializer_list<const char*> endings) {
  for (std::string ending : endings)
    for (const bool capitals : {false, true}) {
      if (capitals)
        for (char& c : ending) c = static_cast<char>(c >= 'a' && c <= 'z' ? c - 'a' + 'A' : c);
      std::string name = withoutExtension(path) + ending;
      if (fileExists(name)) return name;
    }
  return "";
}

}  // namespace

Outcome parseRawHeader(std::string_view text, bool xml, RawHeader& header) {
  header = {};
  constexpr std::string_view kUtf8Mark = "\xef\xbb\xbf";
  if (text.starts_with(kUtf8Mark)) text.remove_prefix(kUtf8Mark.size());
  header.text = replaced(replaced(std::string(text), '\n', ' '), '\r', ' ');
  if (header.text.find('\0') != std::string::npos) return Outcome::failure("It is no text.");
  std::string told = header.text;
  if (xml || trimmed(text).starts_with('<')) {
    told.clear();
    if (!xmlToText(withoutComments(header.text), told)) return Outcome::failure("It holds no whole XML tag.");
    told = replaced(told, '\n', ' ');
  }
  return takeAll(wordsOf(told), header);
}

Outcome readRawHeader(const std::string& path, RawHeader& header) {
  const auto text = readWholeText(path, kLongestHeader);
  if (!text) return Outcome::failure(path + " can't be read, or is too long for a header.");
  const Outcome parsed = parseRawHeader(*text, equalIgnoringCase(extensionOf(path), "xml"), header);
  return parsed ? parsed : Outcome::failure(path + ": " + parsed.why());
}

bool isRawFile(const std::string& path) { return equalIgnoringCase(extensionOf(path), "raw"); }

std::string rawHeaderBeside(const std::string& rawPath) {
  return besideWith(rawPath, {".hdr", ".txt", ".xml"});
}

std::string rawFramesBeside(const std::string& headerPath) { return besideWith(headerPath, {".raw"}); }

}  // namespace tarnvisor

#include "host/form.h"

#include <cmath>
#include <cstdlib>
#include <utility>

#include "base/text.h"

namespace tarnvisor {

namespace {

std::string plainLabel(const std::string& label) {
  std::string plain;
  for (const char c : label)
    if (c != '&') plain += c;
  while (!plain.empty() && (plain.back() == ':' || plain.back() == '.' || plain.back() == ' '))
    plain.pop_back();
  return lowerCase(plain);
}

// The number that a text holds, all of it; false otherwise.
bool parseNumber(const std::string& text, double& value) {
  const std::string body(trimmed(text));
  if (body.empty()) return false;
  char* end = nullptr;
  value = std::strtod(body.c_str(), &end);
  return *end == '\0' && std::isfinite(value);
}

std::string outsideWords(const FormField& field, double low, double high) {
  if (!field.limits.wrong.empty()) return field.limits.wrong;
  const char* label = field.label.c_str();
  if (std::isinf(high)) return format("%s must be at least %.10g.", label, low);
  if (std::isinf(low)) return format("%s must be at most %.10g.", label, high);
  return format("%s must be from %.10g to %.10g.", label, low, high);
}

}  // namespace

std::string FormField::value() const {
  if (const auto* text = std::get_if<std::string*>(&target)) return **text;
  if (const auto* number = std::get_if<double*>(&target))
    return decimals < 0 ? format("%.10g", **number) : format("%.*f", decimals, **number);
  if (const auto* whole = std::get_if<int32_t*>(&target)) {
    if (kind == Kind::Choice && **whole >= 0 && static_cast<size_t>(**whole) < choices.size())
      return choices[static_cast<size_t>(**whole)];
    return format("%i", **whole);
  }
  return {};
}

std::string FormField::take(const std::string& text) const {
  if (readOnly || kind == Kind::Note) return format("%s can't be changed.", label.c_str());
  if (const auto* bound = std::get_if<std::string*>(&target)) {
    **bound = text;
    return {};
  }
  if (kind == Kind::Choice) {
    for (size_t i = 0; i < choices.size(); ++i)
      if (equalIgnoringCase(choices[i], text)) {
        *std::get<int32_t*>(target) = static_cast<int32_t>(i);
        return {};
      }
    if (double number = 0; !parseNumber(text, number))
      return format("%s: \"%s\" is none of %s.", label.c_str(), text.c_str(), joined(choices, ", ").c_str());
  }
  if (kind == Kind::Check && (equalIgnoringCase(text, "yes") || equalIgnoringCase(text, "no"))) {
    *std::get<int32_t*>(target) = equalIgnoringCase(text, "yes") ? 1 : 0;
    return {};
  }
  double number = 0;
  if (!parseNumber(text, number)) return format("%s: \"%s\" is not a number.", label.c_str(), text.c_str());
  if (const auto* bound = std::get_if<double*>(&target)) {
    if (number < limits.low || number > limits.high) return outsideWords(*this, limits.low, limits.high);
    **bound = number;
    return {};
  }
  const bool wide = kind == Kind::Whole || kind == Kind::ColourValue;
  const double low = wide ? std::max(limits.low, -2147483648.0) : 0;
  const double high = wide                  ? std::min(limits.high, 2147483647.0)
                      : kind == Kind::Check ? 1
                                            : static_cast<double>(choices.size()) - 1;
  if (number != std::floor(number)) return format("%s must be a whole number.", label.c_str());
  if (number < low || number > high) return outsideWords(*this, low, high);
  *std::get<int32_t*>(target) = static_cast<int32_t>(number);
  return {};
}

Form& Form::addField(FormField field) {
  rows.push_back(std::move(field));
  return *this;
}

Form& Form::add(std::string label, int32_t& value, Limits limits) {
  return addField({FormField::Kind::Whole, std::move(label), &value, std::move(limits), {}, false});
}
Form& Form::add(std::string label, double& value, Limits limits) {
  return addField({FormField::Kind::Number, std::move(label), &value, std::move(limits), {}, false});
}
Form& Form::add(std::string label, std::string& value) {
  return addField({FormField::Kind::Text, std::move(label), &value, {}, {}, false});
}
Form& Form::addLongText(std::string label, std::string& value, bool readOnly) {
  return addField({FormField::Kind::LongText, std::move(label), &value, {}, {}, readOnly});
}
Form& Form::addCheck(std::string label, int32_t& value) {
  return addField({FormField::Kind::Check, std::move(label), &value, {}, {}, false});
}
Form& Form::addChoice(std::string label, int32_t& index, std::vector<std::string> choices) {
  return addField({FormField::Kind::Choice, std::move(label), &index, {}, std::move(choices), false});
}
Form& Form::endWith(std::string label, int32_t& index, std::vector<std::string> buttons) {
  addChoice(std::move(label), index, std::move(buttons));
  rows.back().ends = true;
  return *this;
}
Form& Form::addColour(std::string label, int32_t& colour) {
  return addField({FormField::Kind::ColourValue, std::move(label), &colour, {0, 0xffffff, {}}, {}, false});
}
Form& Form::addFile(std::string label, std::string& path, std::string filter) {
  return addField({FormField::Kind::File, std::move(label), &path, {}, {}, false, std::move(filter)});
}
Form& Form::addFolder(std::string label, std::string& path, std::string chooserTitle) {
  addFile(std::move(label), path, {});
  rows.back().title = std::move(chooserTitle);
  return *this;
}
Form& Form::addNote(std::string words) {
  return addField({FormField::Kind::Note, std::move(words), std::monostate{}, {}, {}, true});
}
Form& Form::addReading(std::string label, std::string& text) {
  return addField({FormField::Kind::Reading, std::move(label), &text, {}, {}, true});
}
Form& Form::addSlider(std::string label, int32_t& value, int32_t low, int32_t high) {
  add(std::move(label), value, {static_cast<double>(low), static_cast<double>(high), {}});
  rows.back().slides = true;
  return *this;
}
Form& Form::withUnit(std::string words) {
  rows.back().unit = std::move(words);
  return *this;
}

Form& Form::beginningHere(bool isSo) {
  rows.back().begins = isSo;
  return *this;
}

Form& Form::withDecimals(int32_t count) {
  rows.back().decimals = count;
  return *this;
}
Form& Form::offering(std::vector<std::string> texts) {
  rows.back().choices = std::move(texts);
  return *this;
}
Form& Form::setOkLabel(std::string words) {
  okWords = std::move(words);
  return *this;
}

Form& Form::setOnChange(std::function<void()> handler) {
  onChange = std::move(handler);
  return *this;
}

Form& Form::setCheck(std::function<std::string()> words) {
  check = std::move(words);
  return *this;
}

const FormField* Form::find(const std::string& label) const {
  for (const FormField& field : rows)
    if (field.kind != FormField::Kind::Note && plainLabel(field.label) == plainLabel(label)) return &field;
  return nullptr;
}

}  // namespace tarnvisor

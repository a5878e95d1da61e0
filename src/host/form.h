// A dialog as data: a title and labelled fields bound to variables, each with its limits and the words for a
// wrong value. The desktop draws any form, a script fills it by label, a test answers it by label.
#pragma once

#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "base/geometry.h"

namespace tarnvisor {

struct Limits {
  double low = -std::numeric_limits<double>::infinity();
  double high = std::numeric_limits<double>::infinity();
  std::string wrong = {};  // shown for a value outside; empty for words made from the limits
};

struct FormField {
  enum class Kind { Whole, Number, Text, Check, Choice, LongText, Note, ColourValue, File, Reading };
  Kind kind = Kind::Note;
  std::string label;
  // What an accepted form is stored to; a Note has none.
  std::variant<std::monostate, int32_t*, double*, std::string*> target;
  Limits limits;
  // Of a Choice, whose target is the chosen index; of a Text what is offered beside typing.
  std::vector<std::string> choices;
  bool readOnly = false;
  std::string filter;     // of a File: what its chooser shows (host/choosers.h)
  std::string title;      // of the chooser of a File that is a folder; empty for a file
  int32_t decimals = -1;  // of a Number: how many it shows; -1 for as many as it has
  std::string unit = {};  // shown beside it
  bool slides = false;    // of a Whole with both limits: a wide slider beside it, in a live form or not
  bool begins = false;    // the keys are meant for it when the form is shown, in place of the first
  bool ends = false;      // of a Choice: buttons, each of which ends the form, instead of OK and Cancel

  // The bound value as text: "1" or "0" for a check, the choice's words for a choice.
  std::string value() const;
  // Takes a text into the bound variable. Empty on success, otherwise the words to show; the variable is then
  // unchanged.
  std::string take(const std::string& text) const;
};

class Form {
 public:
  explicit Form(std::string title) : heading(std::move(title)) {}

  Form& add(std::string label, int32_t& value, Limits limits = {});
  Form& add(std::string label, double& value, Limits limits = {});
  Form& add(std::string label, std::string& value);
  Form& addLongText(std::string label, std::string& value, bool readOnly = false);
  Form& addCheck(std::string label, int32_t& value);
  Form& addChoice(std::string label, int32_t& index, std::vector<std::string> choices);
  Form& addColour(std::string label, int32_t& colour);  // 0x00bbggrr
  Form& addFile(std::string label, std::string& path, std::string filter);
  Form& addFolder(std::string label, std::string& path, std::string chooserTitle);
  Form& addNote(std::string words);
  // A line that the user only reads; what it shows may change while the form is open.
  Form& addReading(std::string label, std::string& text);
  Form& addSlider(std::string label, int32_t& value, int32_t low, int32_t high);
  // The form ends by one of these buttons, the first of which is that of Enter; closing it is Cancel.
  Form& endWith(std::string label, int32_t& index, std::vector<std::string> buttons);
  Form& withDecimals(int32_t count);               // of the Number just added
  Form& withUnit(std::string words);               // beside the field just added
  Form& beginningHere(bool isSo);                  // at the field just added
  Form& offering(std::vector<std::string> texts);  // for the Text just added, which may be another
  Form& setOkLabel(std::string words);
  // Called by the face at each change of a field, after the variables took it (live sliders). Cancel leaves
  // undoing to whoever runs the form.
  Form& setOnChange(std::function<void()> handler);
  // What is wrong with all values together; empty for nothing. A person who accepts the form is told, and
  // stays in it. Whoever runs a form asks it too, since a script's answers come unchecked.
  Form& setCheck(std::function<std::string()> words);

  const std::string& title() const { return heading; }
  const std::string& okLabel() const { return okWords; }
  const std::vector<FormField>& fields() const { return rows; }
  bool isLive() const { return onChange != nullptr; }
  void changed() const {
    if (onChange) onChange();
  }
  std::string problem() const { return check ? check() : std::string(); }
  // The field whose label matches without regard to case, "&" and a trailing ":"; null when there is none.
  const FormField* find(const std::string& label) const;

 private:
  Form& addField(FormField field);
  std::string heading;
  std::string okWords = "OK";
  std::vector<FormField> rows;
  std::function<void()> onChange;
  std::function<std::string()> check;
};

// A form that stays open beside the windows until this object goes or the user closes it.
class OpenForm {
 public:
  OpenForm() = default;
  virtual ~OpenForm() = default;
  OpenForm(const OpenForm&) = delete;
  OpenForm& operator=(const OpenForm&) = delete;
  // Shows the bound variables anew, but for the field that is being edited.
  virtual void refresh() = 0;
  virtual bool isOpen() const = 0;
  virtual Point place() const = 0;  // of its window on the screen; of one that is gone the last
};

struct FormButton {
  std::string label;
  std::function<void()> press;  // after it the form is refreshed
  bool takesValues = false;     // off while a value is wrong; Enter presses it, and all fields are refreshed
};

// What a form that stays open does. All of it may end that form.
struct FormEvents {
  std::function<void()> onClose = {};  // the user closed it
  std::vector<FormButton> buttons = {};
  std::string closeLabel = "Close";
  int32_t refreshMs = 0;  // time between refreshes, which stand still behind dialogs; 0 for none
  std::function<void()> onRefresh = {};  // before each refresh
  std::optional<Point> place = {};       // where its window opens
};

// With nobody to see it.
class FacelessForm final : public OpenForm {
 public:
  explicit FacelessForm(Point opensAt) : at(opensAt) {}
  void refresh() override {}
  bool isOpen() const override { return true; }
  Point place() const override { return at; }

 private:
  Point at;
};

class Forms {
 public:
  virtual ~Forms() = default;
  // True when the user accepted: all fields are then stored in their variables. On Cancel none is, unless the
  // form is live.
  virtual bool run(Form& form) = 0;
  // Without waiting. The form's variables, which must outlive what is returned, take each right value as it
  // is typed; setOnChange tells of that.
  [[nodiscard]] virtual std::unique_ptr<OpenForm> show(Form form, FormEvents events) = 0;
};

}  // namespace tarnvisor

#include <algorithm>
#include <charconv>
#include <cmath>

#include "base/text.h"
#include "program.h"
#include "reading.h"

namespace tarnvisor::python {

namespace {

// NaN for an empty cell.
double numberOf(const std::string& cell) {
  const std::string_view words = trimmed(cell);
  double value = std::nan("");
  std::from_chars(words.data(), words.data() + words.size(), value);
  return value;
}

// Titles that stand twice are told apart.
std::vector<std::string> namesOf(const Table& table) {
  std::vector<std::string> names;
  for (const Table::Column& column : table.columns) {
    std::string name = column.title;
    for (int same = 2; std::ranges::find(names, name) != names.end(); ++same)
      name = format("%s (%i)", column.title.c_str(), same);
    names.push_back(name);
  }
  return names;
}

py::object cellOf(const Table& table, size_t row, size_t column) {
  const std::string& cell = table.rows[row][column];
  if (!table.columns[column].isNumber) return text(cell);
  const double value = numberOf(cell);
  return std::isnan(value) ? py::object(py::none()) : py::float_(value);
}

py::dict rowOf(const Table& table, py::ssize_t index) {
  const size_t row = placeOf(index, table.rows.size(), "row");
  const std::vector<std::string> names = namesOf(table);
  py::dict cells;
  for (size_t column = 0; column < names.size(); ++column)
    cells[text(names[column])] = cellOf(table, row, column);
  return cells;
}

py::object columnOf(const Table& table, const std::string& name) {
  const std::vector<std::string> names = namesOf(table);
  const auto found = std::ranges::find(names, name);
  if (found == names.end()) throw py::key_error(name);
  const auto column = static_cast<size_t>(found - names.begin());
  if (table.columns[column].isNumber) {
    py::array_t<double> values(static_cast<py::ssize_t>(table.rows.size()));
    for (size_t row = 0; row < table.rows.size(); ++row)
      values.mutable_at(static_cast<py::ssize_t>(row)) = numberOf(table.rows[row][column]);
    return values;
  }
  py::list texts;
  for (const auto& row : table.rows) texts.append(text(row[column]));
  return texts;
}

py::list columnNames(const Table& table) {
  py::list names;
  for (const std::string& name : namesOf(table)) names.append(text(name));
  return names;
}

std::shared_ptr<DimensionList> listOf(const DocumentContents& d, const py::object& which) {
  if (py::isinstance<py::int_>(which))
    return d.lists[placeOf(which.cast<py::ssize_t>(), d.lists.size(), "dimension list")];
  const auto name = which.cast<std::string>();
  for (const auto& list : d.lists)
    if (!name.empty() && equalIgnoringCase(name, listName(list->number))) return list;
  throw py::key_error(name);
}

std::shared_ptr<ZZTrace> traceOf(const DocumentContents& d, const std::string& name) {
  for (const auto& trace : d.traces)
    if (trace->name == name) return trace;
  throw py::key_error(name);
}

void bindTable(py::module_& module) {
  py::class_<Table, std::shared_ptr<Table>>(module, "Table", "A result table: a sequence of rows.")
      .def_property_readonly("columns", &columnNames, "Titles; one that stands twice gets a number.")
      .def("column", &columnOf, py::arg("title"),
           "All cells of a column: float64 of shape (rows,) with NaN for empty cells, or a list of str.")
      .def("__len__", [](const Table& t) { return t.rows.size(); })
      .def("__getitem__", &rowOf, py::arg("index"),
           "A row as dict, by the titles: float, None for an empty cell, or str.")
      .def("__repr__", [](const Table& t) {
        return format("<tarnvisor.Table %zu rows, %zu columns>", t.rows.size(), t.columns.size());
      });
}

// Texts, each by its name and with what there is to say of it.
void addTexts(py::class_<DocumentContents, std::shared_ptr<DocumentContents>>& document) {
  const std::tuple<const char*, std::string DocumentContents::*, const char*> texts[] = {
      {"path", &DocumentContents::path, "Its file; empty for a document that was never saved."},
      {"kind", &DocumentContents::kind, "'image', 'video', 'chart', 'linescan', 'results', 'fcf'..."},
      {"title", &DocumentContents::title, ""},
      {"subject", &DocumentContents::subject, "Id of the subject that it is bound to; empty for none."},
      {"site", &DocumentContents::site,
       "Of its exam. The database of subjects knows it: empty but in a session on the data folder of that exam."},
      {"notes", &DocumentContents::notes, "What was done with it, in lines."},
      {"result", &DocumentContents::result, "The result text, such as a density; empty for none."},
      {"messages", &DocumentContents::messages,
       "What opening it had to say: a movie that is away, a picture that is cut off. Empty where all is well."},
      {"unit", &DocumentContents::unit, "Of lengths on its image: 'um'; 'pixel' without a scale."}};
  for (const auto& [name, member, about] : texts)
    document.def_property_readonly(
        name, [member = member](const DocumentContents& d) { return text(d.*member); }, about);
}

}  // namespace

void bindDocuments(py::module_& module) {
  bindTable(module);
  py::class_<DocumentContents, std::shared_ptr<DocumentContents>> document(
      module, "Document",
      "What a document holds, as it was when it was read. Nothing is written back; no file stays open but its movie's.");
  addTexts(document);
  document.def_readonly("exam", &DocumentContents::exam, "Number of the exam that it is bound to, or None.")
      .def_property_readonly(
          "scale",
          [](const DocumentContents& d) {
            return d.scale ? std::optional(std::pair(d.scale->x, d.scale->y)) : std::nullopt;
          },
          "(x, y) in units a pixel; None where it is not calibrated.")
      .def_readonly("image", &DocumentContents::image, "Its Image, or None.")
      .def_readonly("movie", &DocumentContents::movie, "Its Movie, or None.")
      .def_readonly("lists", &DocumentContents::lists,
                    "Its nine DimensionLists; empty without an image or video.")
      .def(
          "list", &listOf, py::arg("which"),
          "A DimensionList by number or name: 'amber', 'fcd', 'Nailfold', 'NN', 'Voronoi', 'Krogh', 'amc', 'Dustmask'.")
      .def_readonly("traces", &DocumentContents::traces, "Its Traces.")
      .def("trace", &traceOf, py::arg("name"), "The first Trace of that name.")
      .def_readonly("table", &DocumentContents::table, "Its Table, or None.")
      .def("__repr__", [](const DocumentContents& d) {
        return format("<tarnvisor.Document %s \"%s\">", d.kind.c_str(), d.title.c_str());
      });
  module.def(
      "open_document",
      [](const py::object& path) {
        const std::string file = existingFile(path);
        const Turn turn;
        return readDocument(file);
      },
      py::arg("path"),
      "Reads a document of any kind (.tv1, .dtv, .zz1, .zzl, .rst...) or a file that comes in as one.");
}

}  // namespace tarnvisor::python

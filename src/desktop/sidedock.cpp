#include "desktop/sidedock.h"

#include <QAbstractTableModel>
#include <QCheckBox>
#include <QCloseEvent>
#include <QComboBox>
#include <QFormLayout>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QSortFilterProxyModel>
#include <QTabBar>
#include <QTableView>
#include <QVBoxLayout>
#include <cmath>

#include "base/text.h"
#include "desktop/caution.h"
#include "desktop/qttext.h"
#include "desktop/silence.h"
#include "framework/document.h"
#include "framework/sidepanel.h"

namespace tarnvisor {

// The rows of a panel. Cells are asked for as they come into sight.
class SideModel final : public QAbstractTableModel {
 public:
  using QAbstractTableModel::QAbstractTableModel;
  void take(SidePanel* wanted) {
    beginResetModel();
    panel = wanted;
    columns = panel ? panel->columns() : std::vector<SidePanel::Column>();
    endResetModel();
  }
  void forget() { panel = nullptr; }

  int rowCount(const QModelIndex& parent = {}) const override {
    return panel && !parent.isValid() ? static_cast<int>(panel->rowCount()) : 0;
  }
  int columnCount(const QModelIndex& parent = {}) const override {
    return parent.isValid() ? 0 : static_cast<int>(columns.size());
  }
  QVariant headerData(int section, Qt::Orientation orientation, int role) const override {
    if (orientation != Qt::Horizontal || section < 0 || section >= columnCount()) return {};
    const SidePanel::Column& column = columns[static_cast<size_t>(section)];
    if (role == Qt::ToolTipRole && !column.unit.empty()) return toQt(column.heading + " in " + column.unit);
    if (role != Qt::DisplayRole) return {};
    return toQt(column.heading + (column.unit.empty() ? "" : " " + column.unit));
  }
  QVariant data(const QModelIndex& index, int role) const override {
    const auto row = static_cast<size_t>(index.row()), column = static_cast<size_t>(index.column());
    if (!panel || row >= panel->rowCount() || index.column() >= columnCount()) return {};
    const bool isNumber = columns[column].isNumber;
    if (role == Qt::TextAlignmentRole && isNumber) return int{Qt::AlignRight | Qt::AlignVCenter};
    if (role == Qt::UserRole && isNumber) {
      const double value = panel->number(row, column);
      return std::isnan(value) ? -HUGE_VAL : value;
    }
    if (role == Qt::DisplayRole || role == Qt::UserRole) return toQt(panel->cell(row, column));
    return {};
  }
  SidePanel* panel = nullptr;
  std::vector<SidePanel::Column> columns;
};

SideDock::SideDock(QWidget* parent)
    : QDockWidget("Marks", parent), model(new SideModel(this)), sorted(new QSortFilterProxyModel(this)) {
  setObjectName("marksDock");
  setAllowedAreas(Qt::LeftDockWidgetArea | Qt::RightDockWidgetArea);
  build();
  sorted->setSourceModel(model);
  sorted->setSortRole(Qt::UserRole);
  table->setModel(sorted);
  connect(groups, &QComboBox::activated, this, [this](int chosen) {
    SidePanel* panel = panelShown();
    if (!panel) return;
    panel->chooseGroup(static_cast<size_t>(chosen));
    shown->document().updateAllViews(CView::Change::Marks);
    if (onTouched) onTouched();
  });
  connect(groupShown, &QCheckBox::clicked, this, [this](bool on) {
    SidePanel* panel = panelShown();
    if (panel) panel->showGroup(panel->currentGroup(), on);
    if (onTouched) onTouched();
  });
  connect(labelsShown, &QCheckBox::clicked, this, [this](bool on) {
    SidePanel* panel = panelShown();
    if (panel) panel->showLabels(on);
    if (onTouched) onTouched();
  });
  connect(tabs, &QTabBar::currentChanged, this, [this] {
    if (!following) show(shown);
  });
  connect(table->selectionModel(), &QItemSelectionModel::selectionChanged, this, [this] { rowsChosen(); });
}

SideDock::~SideDock() { silenceChildren(*this); }

void SideDock::build() {
  auto* body = new QWidget;
  auto* layout = new QVBoxLayout(body);
  layout->setContentsMargins(6, 6, 6, 6);
  tabs = new QTabBar;
  tabs->setObjectName("panels");
  tabs->setAccessibleName("What the dock shows");
  tabs->setExpanding(false);
  nothing = new QLabel("No picture is in front.");
  nothing->setEnabled(false);
  factsBox = new QWidget;
  facts = new QFormLayout(factsBox);
  facts->setContentsMargins(0, 0, 0, 0);
  facts->setVerticalSpacing(2);
  groups = new QComboBox;
  groups->setAccessibleName("List of marks");
  groups->setToolTip("The list whose marks are shown; new marks go into it");
  groupShown = new QCheckBox("Shown");
  groupShown->setToolTip("Draws the marks of this list in the picture");
  labelsShown = new QCheckBox("Labels");
  labelsShown->setToolTip("Draws the numbers and labels of marks in the picture");
  auto* listRow = new QHBoxLayout;
  listRow->addWidget(groups, 1);
  listRow->addWidget(groupShown);
  listRow->addWidget(labelsShown);
  table = new QTableView;
  table->setObjectName("marks");
  table->setAccessibleName("Marks");
  table->setSelectionBehavior(QAbstractItemView::SelectRows);
  table->setSelectionMode(QAbstractItemView::ExtendedSelection);
  table->setSortingEnabled(true);
  table->sortByColumn(0, Qt::AscendingOrder);
  table->setAlternatingRowColors(true);
  table->setWordWrap(false);
  table->verticalHeader()->hide();
  table->verticalHeader()->setDefaultSectionSize(fontMetrics().height() + 6);
  table->horizontalHeader()->setStretchLastSection(true);
  sums = new QLabel;
  sums->setWordWrap(true);
  sums->setTextInteractionFlags(Qt::TextSelectableByMouse);
  actionRow = new QHBoxLayout;
  layout->addWidget(tabs);
  layout->addWidget(nothing);
  layout->addWidget(factsBox);
  layout->addLayout(listRow);
  layout->addWidget(table, 1000);  // all that the rest leaves
  layout->addLayout(actionRow);
  layout->addWidget(sums);
  layout->addStretch();
  setWidget(body);
}

void SideDock::show(CView* view) {
  shown = view && view->sidePanel() ? view : nullptr;
  showTabs();
  SidePanel* panel = panelShown();
  const bool other = model->panel != panel;
  if (!panel) model->forget();
  if (!isVisible()) {
    key.clear();
    return model->forget();
  }
  nothing->setVisible(!panel);
  for (QWidget* part : {factsBox, static_cast<QWidget*>(table), static_cast<QWidget*>(sums)})
    part->setVisible(panel != nullptr);
  for (QWidget* part :
       {static_cast<QWidget*>(groups), static_cast<QWidget*>(groupShown), static_cast<QWidget*>(labelsShown)})
    part->setVisible(panel && !panel->groups().empty());
  showActions();
  if (!panel) {
    if (other || !key.empty()) model->take(nullptr);
    return key.clear();
  }
  const std::string now = format("%p %llu %zu %zu %i", static_cast<const void*>(panel),
                                 static_cast<unsigned long long>(shown->document().changeCount()),
                                 panel->currentGroup(), panel->rowCount(), shown->timeline().current);
  following = true;
  if (now != key) {
    const bool isFirst = key.empty() || other;
    model->take(panel);
    if (isFirst) setWindowTitle(toQt(panel->title()));
    // To the first rows that there are; from then on they are as wide as the user wants them.
    if (isFirst || !fitsRows) {
      table->resizeColumnsToContents();
      fitsRows = panel->rowCount() > 0;
    }
    key = now;
    showGroups();
  }
  if (const auto all = panel->groups(); !all.empty()) {
    groupShown->setChecked(all[panel->currentGroup()].isShown);
    labelsShown->setChecked(panel->showsLabels());
  }
  showFacts();
  showSelection();
  showSums();
  following = false;
}

SidePanel* SideDock::panelShown() const {
  if (!shown) return nullptr;
  const std::vector<SidePanel*> all = shown->sidePanels();
  const auto chosen = static_cast<size_t>(std::max(0, tabs->currentIndex()));
  return all[chosen < all.size() ? chosen : 0];
}

// The one that was chosen stays so from one view to the next that has it.
void SideDock::showTabs() {
  const std::vector<SidePanel*> all = shown ? shown->sidePanels() : std::vector<SidePanel*>{};
  following = true;
  for (size_t i = 0; i < all.size(); ++i) {
    const int at = static_cast<int>(i);
    if (at >= tabs->count()) tabs->addTab({});
    tabs->setTabText(at, toQt(all[i]->title()));
  }
  if (shown)
    while (tabs->count() > static_cast<int>(all.size())) tabs->removeTab(tabs->count() - 1);
  tabs->setVisible(all.size() > 1);
  following = false;
}

void SideDock::showActions() {
  SidePanel* panel = panelShown();
  const std::vector<std::string> wanted = panel ? panel->actions() : std::vector<std::string>{};
  while (actions.size() < wanted.size()) {
    const size_t which = actions.size();
    auto* button = new QPushButton;
    connect(button, &QPushButton::clicked, this, [this, which] {
      SidePanel* acting = panelShown();
      if (acting && acting->canAct(which)) acting->act(which);
      if (onTouched) onTouched();
    });
    actionRow->addWidget(button);
    actions.push_back(button);
  }
  for (size_t i = 0; i < actions.size(); ++i) {
    actions[i]->setVisible(i < wanted.size());
    if (i >= wanted.size()) continue;
    actions[i]->setText(toQt(wanted[i]));
    actions[i]->setEnabled(panel->canAct(i));
  }
}

void SideDock::showFacts() {
  const std::vector<SideFact> told = panelShown()->facts();
  while (facts->rowCount() > static_cast<int>(told.size())) facts->removeRow(facts->rowCount() - 1);
  for (size_t i = 0; i < told.size(); ++i) {
    const int row = static_cast<int>(i);
    if (row >= facts->rowCount()) {
      auto* value = new CautionLabel;
      value->onCommand = [this](int32_t id) {
        if (onCommand) onCommand(id);
      };
      value->setTextFormat(Qt::PlainText);
      value->setWordWrap(true);
      value->setTextInteractionFlags(Qt::TextSelectableByMouse);
      facts->addRow(new QLabel, value);
    }
    auto* name = static_cast<QLabel*>(facts->itemAt(row, QFormLayout::LabelRole)->widget());
    auto* value = static_cast<CautionLabel*>(facts->itemAt(row, QFormLayout::FieldRole)->widget());
    name->setText(toQt(told[i].name));
    if (value->text() != toQt(told[i].value)) value->setText(toQt(told[i].value));
    value->tell(told[i].isCaution, told[i].mends);
  }
}

void SideDock::showGroups() {
  SidePanel* panel = panelShown();
  const QSignalBlocker quiet(groups);
  const std::vector<SidePanel::Group> all = panel->groups();
  groups->clear();
  for (const SidePanel::Group& group : all)
    groups->addItem(toQt(group.name + (group.rows > 0 ? format(" (%zu)", group.rows) : "")));
  groups->setCurrentIndex(static_cast<int>(panel->currentGroup()));
}

void SideDock::showSelection() {
  SidePanel* panel = panelShown();
  QItemSelection wanted;
  const auto last = static_cast<int>(model->columns.size()) - 1;
  QModelIndex first;
  for (int row = 0; row < model->rowCount(); ++row) {
    if (!panel->isSelected(static_cast<size_t>(row))) continue;
    const QModelIndex at = sorted->mapFromSource(model->index(row, 0));
    if (!first.isValid()) first = at;
    wanted.merge(QItemSelection(at, at.siblingAtColumn(last)), QItemSelectionModel::Select);
  }
  QItemSelectionModel* chosen = table->selectionModel();
  if (chosen->selection().indexes().size() == wanted.indexes().size()) {
    bool same = true;
    for (const QModelIndex& index : wanted.indexes()) same = same && chosen->isSelected(index);
    if (same) return;
  }
  chosen->select(wanted, QItemSelectionModel::ClearAndSelect);
  if (first.isValid()) table->scrollTo(first);
}

// Of the rows that are selected, or of all.
void SideDock::showSums() {
  SidePanel* panel = panelShown();
  std::vector<size_t> rows;
  for (const QModelIndex& at : table->selectionModel()->selectedRows())
    rows.push_back(static_cast<size_t>(sorted->mapToSource(at).row()));
  const bool isSelection = rows.size() > 1;
  if (!isSelection) {
    rows.resize(panel->rowCount());
    for (size_t i = 0; i < rows.size(); ++i) rows[i] = i;
  }
  std::string words = format("%zu %s", rows.size(), isSelection ? "selected" : "in the list");
  for (size_t column = 1; column < model->columns.size(); ++column) {
    const SidePanel::Column& told = model->columns[column];
    if (!told.isNumber || !(told.hasMean || told.isSummed)) continue;
    double sum = 0;
    size_t count = 0;
    for (const size_t row : rows)
      if (const double value = panel->number(row, column); value > 0) sum += value, ++count;
    if (count == 0) continue;
    const std::string unit = (told.unit.empty() ? "" : " ") + told.unit;
    words += format("\n%s:", told.heading.c_str());
    if (told.hasMean) words += format(" mean %.1f%s", sum / static_cast<double>(count), unit.c_str());
    if (told.isSummed)
      words += told.hasMean ? format(", sum %.0f", sum) : format(" sum %.1f%s", sum, unit.c_str());
  }
  if (sums->text() != toQt(words)) sums->setText(toQt(words));
}

void SideDock::rowsChosen() {
  SidePanel* panel = panelShown();
  if (following || !panel) return;
  std::vector<size_t> rows;
  for (const QModelIndex& at : table->selectionModel()->selectedRows())
    rows.push_back(static_cast<size_t>(sorted->mapToSource(at).row()));
  panel->select(rows);
  showActions();
  if (onTouched) onTouched();
}

// Which docks show is told by commands.
void SideDock::closeEvent(QCloseEvent* event) {
  event->ignore();
  if (onClosed) onClosed();
}

}  // namespace tarnvisor

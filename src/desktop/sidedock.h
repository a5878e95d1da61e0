// The dock at the right: what the view in front tells of its document, and its marks as a table that is bound
// to the picture.
#pragma once

#include <QDockWidget>
#include <functional>
#include <vector>

#include "framework/view.h"

class QCheckBox;
class QComboBox;
class QFormLayout;
class QHBoxLayout;
class QLabel;
class QSortFilterProxyModel;
class QPushButton;
class QTabBar;
class QTableView;

namespace tarnvisor {

class SideModel;
class SidePanel;

class SideDock final : public QDockWidget {
 public:
  explicit SideDock(QWidget* parent);
  ~SideDock() override;
  // Shows what the view tells now; null for none. The view is asked only until the next call.
  void show(CView* view);

  std::function<void()> onClosed;                  // its cross was clicked
  std::function<void()> onTouched;                 // the user chose or changed something in it
  std::function<void(int32_t command)> onCommand;  // what mends a fact was clicked

 protected:
  void closeEvent(QCloseEvent* event) override;

 private:
  void build();
  void showTabs();
  void showActions();
  void showFacts();
  void showGroups();
  void showSelection();
  void showSums();
  void rowsChosen();
  SidePanel* panelShown() const;  // null for none

  CView* shown = nullptr;
  std::string key;  // of what the table shows
  bool following = false;
  bool fitsRows = false;  // the columns are as wide as what stood in them first
  QTabBar* tabs;          // a panel each, where there are several
  QHBoxLayout* actionRow;
  std::vector<QPushButton*> actions;
  SideModel* model;
  QSortFilterProxyModel* sorted;
  QWidget* factsBox;
  QFormLayout* facts;
  QComboBox* groups;
  QCheckBox *groupShown, *labelsShown;
  QTableView* table;
  QLabel* sums;
  QLabel* nothing;
};

}  // namespace tarnvisor

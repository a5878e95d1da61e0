// The face of the dialog "Tarnvisor Select Profile".
#pragma once

#include <QDialog>
#include <string>
#include <vector>

#include "base/outcome.h"
#include "settings/profile.h"

class QListWidget;
class QPushButton;

namespace tarnvisor {

// What the dialog shows and does. On failure nothing has changed, and the words say why.
class ProfileModel {
 public:
  virtual ~ProfileModel() = default;
  virtual std::vector<std::string> names() const = 0;
  virtual std::string selected() const = 0;
  virtual void select(const std::string& profile) = 0;
  virtual Outcome addCopy(const std::string& newName) = 0;
  virtual Outcome remove() = 0;
  virtual Outcome resetToDefault() = 0;
};

// Shows the window on the profiles of a folder.
class ProfileTableFace final : public ProfileFace {
 public:
  explicit ProfileTableFace(QWidget* parentWindow) : parent(parentWindow) {}
  bool run(ProfileDialog& dialog) override;

 private:
  QWidget* parent;  // borrowed
};

class ProfileWindow final : public QDialog {
 public:
  ProfileWindow(ProfileModel& profiles, QWidget* parent);
  ~ProfileWindow() override;

 private:
  void build();
  void showNames();
  void addCopy();
  void remove();
  void reset();
  void report(const Outcome& outcome);

  ProfileModel& model;
  QListWidget* list;
  QPushButton* addButton;
  QPushButton* removeButton;
  QPushButton* resetButton;
};

}  // namespace tarnvisor

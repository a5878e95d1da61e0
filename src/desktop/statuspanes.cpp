#include "desktop/statuspanes.h"

#include <algorithm>

#include "desktop/qttext.h"

namespace tarnvisor {

void StatusPanes::show(const std::vector<StatusPane>& panes) {
  constexpr int kMargin = 12;
  for (const auto& [name, label] : labels)
    if (std::ranges::find(panes, name, &StatusPane::name) == panes.end()) label->hide();
  for (const StatusPane& pane : panes) {
    auto found = std::ranges::find(labels, pane.name, &std::pair<std::string, QLabel*>::first);
    if (found == labels.end()) {
      auto* made = new QLabel;
      made->setTextFormat(Qt::PlainText);
      made->setObjectName(toQt(pane.name));
      bar.addPermanentWidget(made);
      found = labels.insert(labels.end(), {pane.name, made});
    }
    QLabel& label = *found->second;
    const QString text = toQt(pane.text);
    if (label.text() != text) {
      label.setText(text);
      label.setMinimumWidth(
          std::max(label.minimumWidth(), label.fontMetrics().horizontalAdvance(text) + kMargin));
    }
    label.show();
  }
}

}  // namespace tarnvisor

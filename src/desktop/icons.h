// The pictures of tool bar buttons and menu entries: line drawings in the resources (:/icons/<name>.svg)
// whose `currentColor` becomes the text colour of a palette, so that they read on light and dark windows.
#pragma once

#include <QIcon>
#include <QPalette>
#include <string>

namespace tarnvisor {

// Whether there is a drawing of that name.
bool hasIcon(const std::string& name);

// The drawing in the palette's text colour, drawn anew for each size and screen scale; dimmed when disabled.
// An empty icon for a name without a drawing. After a change of palette ask again.
QIcon commandIcon(const std::string& name, const QPalette& palette);

// The program's own icon, and that of its documents: colourful, the same in all palettes.
QIcon programIcon();
QIcon documentIcon(const std::string& name);  // of a kind (DocumentFace::icon)

}  // namespace tarnvisor

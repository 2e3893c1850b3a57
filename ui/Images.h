#pragma once
// The application's images, by the names the interface uses ("ExposureLow", "Star", ...), from the
// resource :/images/<Name>.svg. Monochrome images are drawn with the word "currentColor" as their
// only colour; it is replaced at paint time by the text colour of the application's palette (the
// disabled text colour for a disabled control), so they read on light and dark desktops alike and
// follow a change of the desktop's palette without being reloaded.

#include <QIcon>
#include <QString>

namespace orvella::ui {

// True when the application has an image of that name.
bool hasImage(const QString& name);

// The image as an icon; a null icon when there is none.
QIcon imageNamed(const QString& name);

}  // namespace orvella::ui

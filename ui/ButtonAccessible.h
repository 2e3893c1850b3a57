#pragma once
// Screen-reader roles for the panel's checkable tool buttons, which Qt would announce as check
// boxes: a row's title (a button that is pressed while the row shows its value) and a segment of
// a segmented control (a radio button, checked while it is selected).

class QAbstractButton;

namespace orvella::ui {

enum class ButtonRole {
    PressedWhileChecked,  // a push button; "pressed" while checked
    Segment,              // a radio button; "checked" while checked
};

// Gives `button` the role; the accessibility factory is installed on first use.
void setAccessibleButtonRole(QAbstractButton* button, ButtonRole role);

}  // namespace orvella::ui

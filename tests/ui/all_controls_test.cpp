// The "All controls" tab: rows generated from the camera's controls beyond the other tabs,
// grouped, with the widget of each kind; what a change sends, and what stays greyed.

#include <gtest/gtest.h>

#include <QCheckBox>
#include <QComboBox>
#include <QGroupBox>
#include <QLabel>
#include <QSlider>
#include <QSpinBox>
#include <QTabWidget>
#include <QToolButton>

#include "UiRig.h"
#include "settings/SettingsID.h"
#include "ui/AllControlsPage.h"
#include "ui/ControlPanel.h"
#include "ui/ControlPanelOutlets.h"

namespace orvella::ui {
namespace {

using testing::UiCamera;

// The widget beside the row titled `title` (an accessible name) of the given type.
template <typename W>
W* field(QWidget& page, const QString& title) {
    for (W* w : page.findChildren<W*>())
        if (w->accessibleName() == title) return w;
    return nullptr;
}

TEST(AllControls, RowsByKindAndGroupAndWhatTheySend) {
    UiCamera cam("logitech-extension-units.json");
    ControlPanel panel;
    panel.setQTCamera(cam.session());
    AllControlsPage& page = panel.allControlsPage();
    EXPECT_GE(panel.outlets().mTabView->indexOf(&page), 0);
    EXPECT_EQ(page.rowCount(), 17);

    // A boolean is a check box; a range a slider with its value field; a menu a pop-up; a
    // relative move two buttons; a read-only control a label.
    QCheckBox* privacy = field<QCheckBox>(page, "Privacy shutter");
    QSpinBox* roll = field<QSpinBox>(page, "Roll");
    QComboBox* focusRange = field<QComboBox>(page, "Focus range");
    ASSERT_TRUE(privacy && roll && focusRange);
    EXPECT_EQ(roll->minimum(), -180);
    EXPECT_EQ(focusRange->count(), 4);
    // Pan and tilt steps, and a button for each thing the motor's reset command does.
    QStringList buttons;
    for (const QToolButton* button : page.findChildren<QToolButton*>())
        buttons << button->accessibleName();
    EXPECT_EQ(buttons.size(), 7);
    EXPECT_TRUE(buttons.contains("Motor pan/tilt reset: Both")) << buttons.join(", ").toStdString();

    // Read-only and unknown controls are greyed; so is a control the camera only reports.
    QCheckBox* contrastAuto = field<QCheckBox>(page, "Automatic contrast");
    ASSERT_TRUE(contrastAuto);
    EXPECT_FALSE(contrastAuto->isEnabledTo(&page));
    EXPECT_TRUE(privacy->isEnabledTo(&page));

    roll->setValue(-45);
    privacy->setChecked(true);
    focusRange->setCurrentIndex(2);
    emit focusRange->activated(2);
    const std::vector<UiCamera::Write> writes = cam.setCurs();
    EXPECT_EQ(writes, (std::vector<UiCamera::Write>{
                          {0x0F, cam.ct(), -45}, {0x11, cam.ct(), 1}, {0x12, cam.ct(), 2}}));

    // Turning the white-balance component's automatic mode on greys its halves.
    QSpinBox* red = field<QSpinBox>(page, "White balance, red");
    ASSERT_TRUE(red);
    EXPECT_TRUE(red->isEnabledTo(&page));
    field<QCheckBox>(page, "Automatic colour balance")->setChecked(true);
    cam.record();  // the session published the change
    page.showValues();
    EXPECT_FALSE(red->parentWidget()->isEnabledTo(&page));

    // Automatic hue greys the Hue row of the Basic tab, as the rows' own automatic modes do.
    auto* hue =
        panel.controls().row(settings::SettingsID::kHue)->view()->findChild<QSlider*>("sldControl");
    ASSERT_TRUE(hue);
    panel.showCameraRecord();
    EXPECT_TRUE(hue->isEnabled());
    field<QCheckBox>(page, "Automatic hue")->setChecked(true);
    cam.record();
    panel.showCameraRecord();
    EXPECT_FALSE(hue->isEnabled());
}

TEST(AllControls, ACameraWithNothingMoreSaysSo) {
    UiCamera cam("logitech-c270.json");
    ControlPanel panel;
    panel.setQTCamera(cam.session());
    AllControlsPage& page = panel.allControlsPage();
    const QList<QGroupBox*> groups = page.findChildren<QGroupBox*>();
    int shown = 0;
    for (QGroupBox* group : groups)
        shown += group->isVisibleTo(&page) ? 1 : 0;
    // The C270's only extension unit is one the data file does not know.
    EXPECT_EQ(shown, page.rowCount() > 0 ? 1 : 0);
    panel.setQTCamera(nullptr);
    EXPECT_EQ(page.rowCount(), 0);
    EXPECT_TRUE(page.findChild<QLabel*>("mTxtNone")->isVisibleTo(&page));
}

}  // namespace
}  // namespace orvella::ui

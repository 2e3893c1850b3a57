// The panel for keyboard and screen-reader users: what the accessible tree names and announces,
// where Tab goes, and the keys that close the panel.
#include <gtest/gtest.h>

#include <QAccessible>
#include <QApplication>
#include <QSignalSpy>
#include <QSlider>
#include <QTest>
#include <QToolButton>
#include <functional>

#include "UiRig.h"
#include "settings/SettingsID.h"
#include "ui/ControlPanel.h"
#include "ui/ControlPanelOutlets.h"
#include "ui/Localization.h"
#include "ui/SegmentedControl.h"
#include "ui_UVCValueViewController.h"

namespace orvella::ui {
namespace {

using testing::UiCamera;

struct ShownPanel {
    UiCamera cam{"full-pu.json"};
    ControlPanel panel;
    ShownPanel() {
        panel.setQTCamera(cam.session());
        panel.loadSupportedControl();
        CameraSession::settleAll();
        panel.window()->show();
        QApplication::processEvents();
    }
    QWidget* window() { return panel.window(); }
};

// Every interface of the visible widgets under `root`, depth first, with the tabs' hidden pages
// left out as a screen reader leaves them out.
void walk(QAccessibleInterface* node, const std::function<void(QAccessibleInterface*)>& visit) {
    if (!node || node->state().invisible) return;
    visit(node);
    for (int i = 0; i < node->childCount(); ++i)
        walk(node->child(i), visit);
}

TEST(Accessibility, EveryControlIsNamedFromTheStringTableInEveryLanguage) {
    for (const QString& locale : availableLocales()) {
        ASSERT_TRUE(installTranslation(locale));
        ShownPanel p;
        const std::string where = locale.toStdString();
        for (int tab = 0; tab < p.panel.outlets().mTabView->count(); ++tab) {
            p.panel.outlets().mTabView->setCurrentIndex(tab);
            QApplication::processEvents();
            int sliders = 0;
            walk(QAccessible::queryAccessibleInterface(p.window()),
                 [&](QAccessibleInterface* node) {
                     const QString name = node->text(QAccessible::Name);
                     EXPECT_NE(name, QStringLiteral("#")) << where;
                     switch (node->role()) {
                         case QAccessible::Slider:
                             ++sliders;
                             EXPECT_FALSE(name.isEmpty()) << where;
                             // The value is announced with the slider.
                             ASSERT_NE(node->valueInterface(), nullptr);
                             EXPECT_EQ(node->valueInterface()->currentValue().toInt(),
                                       static_cast<QSlider*>(node->object())->value());
                             break;
                         case QAccessible::Button:
                         case QAccessible::CheckBox:
                         case QAccessible::RadioButton:
                         case QAccessible::EditableText:
                         case QAccessible::ComboBox:
                             EXPECT_FALSE(name.isEmpty())
                                 << where << ' ' << qPrintable(node->object()->objectName());
                             break;
                         default:
                             break;
                     }
                     // A row's title switches the value display: a button, not a check box.
                     if (node->object() && node->object()->objectName() == "btnTitle") {
                         EXPECT_EQ(node->role(), QAccessible::Button) << where;
                     }
                 });
            if (tab < 2) {
                EXPECT_GT(sliders, 0) << where << " tab " << tab;
            }
        }
        // A row named by its box, in this language, with its step buttons.
        UVCValueViewController& temperature =
            *p.panel.row(settings::SettingsID::kWhiteBalanceTemperature);
        const QString box = p.panel.outlets().mBoxWhiteBalanceTemperature->title();
        EXPECT_EQ(temperature.outlets().sldControl->accessibleName(), box);
        EXPECT_EQ(temperature.outlets().btnLow->accessibleName(),
                  localizedFormat("Decrease_Control", box));
        EXPECT_EQ(temperature.outlets().btnHigh->accessibleName(),
                  localizedFormat("Increase_Control", box));
        EXPECT_EQ(
            p.panel.row(settings::SettingsID::kBrightness)->outlets().sldControl->accessibleName(),
            withoutMnemonic(localized("Brightness")));
    }
    installTranslation(QStringLiteral("en"));
    ShownPanel p;
    // Segments are radio buttons, checked while selected.
    SegmentedControl& mode = *p.panel.outlets().mSegAutoExposureMode;
    EXPECT_EQ(QAccessible::queryAccessibleInterface(&mode)->text(QAccessible::Name),
              "Auto exposure");
    for (int i = 0; i < mode.segmentCount(); ++i) {
        QAccessibleInterface* segment =
            QAccessible::queryAccessibleInterface(mode.segmentButton(i));
        EXPECT_EQ(segment->role(), QAccessible::RadioButton);
        EXPECT_EQ(segment->text(QAccessible::Name), mode.label(i));
        EXPECT_EQ(segment->state().checked, i == mode.selectedSegment());
    }
    auto& title = *p.panel.row(settings::SettingsID::kBrightness)->outlets().btnTitle;
    QAccessibleInterface* node = QAccessible::queryAccessibleInterface(&title);
    EXPECT_EQ(node->text(QAccessible::Name), "Show the Value of Brightness");
    EXPECT_FALSE(node->state().pressed);
    // Pressing it through the screen reader shows the value, and it reads as pressed.
    node->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
    EXPECT_TRUE(p.panel.row(settings::SettingsID::kBrightness)->isDisplayingValue());
    EXPECT_TRUE(node->state().pressed);
}

TEST(Accessibility, TabGoesFromRowToRowAndTheIrisStepsByKeyboard) {
    ShownPanel p;
    // The widgets Tab stops at on the Basic tab, in order.
    QList<QWidget*> stops;
    QWidget* start = p.panel.outlets().mPopCamera;
    for (QWidget* w = start->nextInFocusChain(); w != start; w = w->nextInFocusChain())
        if ((w->focusPolicy() & Qt::TabFocus) && w->isVisibleTo(p.window()) && w->isEnabled())
            stops << w;
    for (const auto& row : p.panel.rows()) {
        const bool iris = row->kind() == UVCValueViewController::Kind::StepPosition;
        // The slider's arrow keys step as the buttons do; the iris has only the buttons.
        EXPECT_EQ(stops.contains(row->outlets().btnLow), iris && row->isVisible());
        EXPECT_EQ(stops.contains(row->outlets().btnHigh), iris && row->isVisible());
    }
    // A segmented control is one stop, at its selected segment.
    SegmentedControl& mode = *p.panel.outlets().mSegAutoExposureMode;
    int modeStops = 0;
    for (int i = 0; i < mode.segmentCount(); ++i)
        modeStops += stops.contains(mode.segmentButton(i)) ? 1 : 0;
    EXPECT_EQ(modeStops, 1);
    ASSERT_GE(mode.selectedSegment(), 1);
    EXPECT_TRUE(stops.contains(mode.segmentButton(mode.selectedSegment())));
    const auto indexOf = [&](int32_t id) {
        return stops.indexOf(p.panel.row(id)->outlets().sldControl);
    };
    // From one row's slider, the next stop is the following row's title.
    const int brightness = indexOf(settings::SettingsID::kBrightness);
    ASSERT_GE(brightness, 0);
    EXPECT_EQ(stops.value(brightness + 1),
              p.panel.row(settings::SettingsID::kContrast)->outlets().btnTitle);
    EXPECT_EQ(stops.value(brightness + 2),
              p.panel.row(settings::SettingsID::kContrast)->outlets().sldControl);
}

TEST(Accessibility, ArrowKeysChooseTheNextSegmentAsInARadioGroup) {
    ShownPanel p;
    SegmentedControl& mode = *p.panel.outlets().mSegAutoExposureMode;
    p.window()->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(p.window()));
    const int start = mode.selectedSegment();
    ASSERT_GE(start, 1);
    QSignalSpy clicked(&mode, &SegmentedControl::segmentClicked);
    mode.setFocus();
    EXPECT_EQ(QApplication::focusWidget(), mode.segmentButton(start));
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Left);
    EXPECT_EQ(mode.selectedSegment(), start - 1);
    EXPECT_EQ(QApplication::focusWidget(), mode.segmentButton(start - 1));
    ASSERT_EQ(clicked.count(), 1);
    EXPECT_EQ(clicked.first().first().toInt(), start - 1);
    // The tab stop went with the selection.
    EXPECT_EQ(mode.segmentButton(start - 1)->focusPolicy(), Qt::StrongFocus);
    EXPECT_EQ(mode.segmentButton(start)->focusPolicy(), Qt::ClickFocus);
    // A segment the camera does not offer is passed over (the camera starts in aperture
    // priority, the fourth segment).
    ASSERT_EQ(start, 3);
    mode.setSegmentEnabled(1, false);
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Left);
    EXPECT_EQ(mode.selectedSegment(), 0);
}

TEST(Accessibility, EscapeAndCtrlWCloseThePanelAsItsCloseButtonDoes) {
    for (const QKeyCombination keys :
         {QKeyCombination(Qt::Key_Escape), QKeyCombination(Qt::ControlModifier, Qt::Key_W)}) {
        ShownPanel p;
        QWidget* window = p.window();
        bool closeEvent = false;
        struct Watch : QObject {
            bool* seen;
            explicit Watch(bool* s) : seen(s) {}
            bool eventFilter(QObject*, QEvent* event) override {
                if (event->type() == QEvent::Close) *seen = true;
                return false;
            }
        } watch(&closeEvent);
        window->installEventFilter(&watch);
        window->activateWindow();
        ASSERT_TRUE(QTest::qWaitForWindowActive(window));
        p.panel.row(settings::SettingsID::kBrightness)->outlets().sldControl->setFocus();
        QTest::keyClick(QApplication::focusWidget(), keys.key(), keys.keyboardModifiers());
        EXPECT_TRUE(closeEvent) << QKeySequence(keys).toString().toStdString();
        EXPECT_FALSE(window->isVisible());
        window->removeEventFilter(&watch);
    }
}

}  // namespace
}  // namespace orvella::ui

// The tray item, its menu and the tray watch.
#include <gtest/gtest.h>

#include <QCheckBox>
#include <QPainter>
#include <QPixmap>
#include <QSignalSpy>
#include <QStandardItemModel>

#include "support/EventLoop.h"
#include "ui/PopViewController.h"
#include "ui/PopWindow.h"
#include "ui/StatusBar.h"
#include "ui/StatusItemView.h"
#include "ui/StatusMenu.h"

namespace orvella::ui {
namespace {

QIcon swatch(Qt::GlobalColor color) {
    QPixmap pixmap(16, 16);
    pixmap.fill(color);
    return QIcon(pixmap);
}

QStandardItem* item(const QString& title, bool checked = false) {
    auto* row = new QStandardItem(title);
    row->setData(checked ? Qt::Checked : Qt::Unchecked, Qt::CheckStateRole);
    return row;
}

// The menu's titles in order, "-" for separators.
QStringList titles(const QMenu& menu) {
    QStringList result;
    for (const QAction* action : menu.actions())
        result << (action->isSeparator() ? QStringLiteral("-") : action->text().trimmed());
    return result;
}

TEST(StatusItemView, ShowsTheAlternateImageWhileTheMenuIsOpen) {
    StatusItemView view;
    const QIcon normal = swatch(Qt::red), alternate = swatch(Qt::blue);
    view.setImage(normal);
    view.setAlternateImage(alternate);
    EXPECT_EQ(view.shownImage().cacheKey(), normal.cacheKey());
    EXPECT_EQ(view.trayIcon().icon().cacheKey(), normal.cacheKey());

    QMenu menu;
    menu.addAction(QStringLiteral("Quit"));
    view.setMenu(&menu);
    EXPECT_EQ(view.trayIcon().contextMenu(), &menu);
    QSignalSpy closed(&view, &StatusItemView::menuClosed);
    view.mouseDown();  // a left click opens the same menu
    ASSERT_TRUE(testing::waitFor([&] { return menu.isVisible(); }));
    EXPECT_TRUE(view.isHighlighted());
    EXPECT_EQ(view.trayIcon().icon().cacheKey(), alternate.cacheKey());
    menu.hide();
    EXPECT_FALSE(view.isHighlighted());
    EXPECT_EQ(closed.count(), 1);
    EXPECT_EQ(view.trayIcon().icon().cacheKey(), normal.cacheKey());

    // A missing image shows nothing and does not fail; without a menu a click does nothing.
    view.setImage(QIcon(QStringLiteral(":/images/NoSuchImage.svg")));
    EXPECT_TRUE(view.trayIcon().icon().pixmap(16).isNull());
    view.setMenu(nullptr);
    view.mouseDown();
    EXPECT_FALSE(view.isHighlighted());
}

TEST(StatusMenu, SectionsFollowTheModelsBetweenTheirMarkers) {
    StatusMenu menu;
    QStandardItemModel cameras, profiles;
    cameras.appendRow(item("HD Webcam C270", true));
    cameras.appendRow(item("HD Webcam C270"));
    profiles.appendRow(item("CameraDefault"));
    auto* separator = new QStandardItem;
    separator->setData(QStringLiteral("separator"), Qt::AccessibleDescriptionRole);
    profiles.appendRow(separator);
    profiles.appendRow(item("Evening", true));
    menu.setCameraModel(&cameras);
    menu.setProfileModel(&profiles);
    // The marker items take their texts from the English table, with the application's name.
    EXPECT_EQ(titles(menu),
              QStringList({"About Orvella", "-", "Camera", "HD Webcam C270", "HD Webcam C270", "-",
                           "Profile", "Camera default", "Evening", "-", "Show Orvella Panel",
                           "Use black and white tray icon", "-", "Quit Orvella"}));
    ASSERT_EQ(menu.cameraItems().size(), 2u);
    EXPECT_TRUE(menu.cameraItems()[0]->isChecked());
    EXPECT_FALSE(menu.cameraItems()[1]->isChecked());
    EXPECT_FALSE(menu.mItmSettingsDefault->isChecked());
    EXPECT_TRUE(menu.profileItems()[0]->isChecked());

    // Choosing reports the row; the state is the model's to change.
    QSignalSpy cameraChosen(&menu, &StatusMenu::cameraSelected);
    QSignalSpy profileChosen(&menu, &StatusMenu::profileSelected);
    menu.cameraItems()[1]->trigger();
    ASSERT_EQ(cameraChosen.count(), 1);
    EXPECT_EQ(cameraChosen[0][0].toInt(), 1);
    EXPECT_FALSE(menu.cameraItems()[1]->isChecked());
    menu.profileItems()[0]->trigger();
    menu.mItmSettingsDefault->trigger();
    ASSERT_EQ(profileChosen.count(), 2);
    EXPECT_EQ(profileChosen[0][0].toInt(), 2);
    EXPECT_EQ(profileChosen[1][0].toInt(), 0);

    // The model changes, the menu follows: state, removal, a new camera.
    cameras.item(0)->setData(Qt::Unchecked, Qt::CheckStateRole);
    cameras.item(1)->setData(Qt::Checked, Qt::CheckStateRole);
    EXPECT_TRUE(menu.cameraItems()[1]->isChecked());
    cameras.removeRow(0);
    cameras.appendRow(item("Orvella Virtual Camera"));
    EXPECT_EQ(titles(menu).mid(2, 4),
              QStringList({tray::text("Webcam"), "HD Webcam C270", "Orvella Virtual Camera", "-"}));
    // A profile in force that was changed by hand shows the mixed state as menus do: no check
    // mark (that says "in force"), a distinct image and "(modified)" after its title; chosen
    // again, it is back to a plain check mark.
    const qint64 starKey = menu.profileItems()[0]->icon().cacheKey();
    profiles.item(2)->setData(Qt::PartiallyChecked, Qt::CheckStateRole);
    EXPECT_FALSE(menu.profileItems()[0]->isChecked());
    EXPECT_EQ(menu.profileItems()[0]->text().trimmed(), QStringLiteral("Evening (modified)"));
    EXPECT_FALSE(menu.profileItems()[0]->icon().isNull());
    EXPECT_NE(menu.profileItems()[0]->icon().cacheKey(), starKey);
    profiles.item(2)->setData(Qt::Checked, Qt::CheckStateRole);
    EXPECT_TRUE(menu.profileItems()[0]->isChecked());
    EXPECT_EQ(menu.profileItems()[0]->text().trimmed(), QStringLiteral("Evening"));
    cameras.clear();
    EXPECT_TRUE(menu.cameraItems().empty());
    EXPECT_EQ(titles(menu).mid(2, 2), QStringList({tray::text("Webcam"), "-"}));
}

TEST(StatusMenu, ADialogOnThePanelDisablesWhatWouldChangeItsSubject) {
    StatusMenu menu;
    QStandardItemModel cameras, profiles;
    cameras.appendRow(item("Camera"));
    profiles.appendRow(item("CameraDefault"));
    profiles.appendRow(new QStandardItem);
    profiles.appendRow(item("Evening"));
    menu.setCameraModel(&cameras);
    menu.setProfileModel(&profiles);
    menu.setSheetOpen(true);
    for (QAction* disabled : {menu.mItmShowHide, menu.mItmQuit, menu.mItmSettingsDefault,
                              menu.cameraItems()[0], menu.profileItems()[0]}) {
        EXPECT_FALSE(disabled->isEnabled()) << disabled->text().toStdString();
        EXPECT_FALSE(menu.validateMenuItem(disabled));
    }
    EXPECT_TRUE(menu.mItmAbout->isEnabled());
    EXPECT_TRUE(menu.mItmBWMenuIcon->isEnabled());
    // Items made while the dialog is open are disabled too; closing it enables everything.
    cameras.appendRow(item("Another"));
    EXPECT_FALSE(menu.cameraItems()[1]->isEnabled());
    menu.setSheetOpen(false);
    for (QAction* action : menu.actions()) {
        if (action == menu.mItmWebcamLabel || action == menu.mItmSettingsLabel) continue;
        EXPECT_TRUE(action->isEnabled()) << action->text().toStdString();
    }
}

TEST(StatusMenu, ShowHideTitleAndIconChoice) {
    StatusMenu menu;
    menu.setPanelOn(true, "Orvella");
    EXPECT_EQ(menu.mItmShowHide->text(), tray::nameFormat("Hide_Panel", "Orvella"));
    menu.setPanelOn(false, "Orvella");
    EXPECT_EQ(menu.mItmShowHide->text(), tray::nameFormat("Show_Panel", "Orvella"));
    EXPECT_NE(menu.mItmShowHide->text(), tray::nameFormat("Hide_Panel", "Orvella"));
    // A key without a text shows itself.
    EXPECT_EQ(tray::nameFormat("No_Such_Key", "Orvella"), "No_Such_Key");

    QSignalSpy icon(&menu, &StatusMenu::bwMenuIconClicked);
    menu.setBWMenuIcon(false);
    menu.mItmBWMenuIcon->trigger();
    ASSERT_EQ(icon.count(), 1);
    EXPECT_TRUE(icon[0][0].toBool());  // the opposite of the current state
    EXPECT_FALSE(menu.mItmBWMenuIcon->isChecked());
}

TEST(StatusBar, InstallsRemovesAndChoosesTheIcon) {
    StatusMenu menu;
    bool hostThere = true;
    StatusBar bar(&menu, [&] { return hostThere; });
    QSignalSpy iconChanged(&bar, &StatusBar::menuIconChanged);
    bar.removeStatusBar();  // nothing to remove: nothing happens
    EXPECT_FALSE(bar.isInstalled());
    bar.installStatusBar();
    ASSERT_TRUE(bar.isInstalled());
    EXPECT_EQ(bar.statusItemView()->menu(), &menu);
    EXPECT_FALSE(bar.panelMustStandAlone());

    bar.setMenuIcon(true);
    EXPECT_TRUE(menu.mItmBWMenuIcon->isChecked());
    const qint64 mono = bar.statusItemView()->image().cacheKey();
    EXPECT_NE(mono, bar.statusItemView()->alternateImage().cacheKey());
    // The colour icon has no highlighted variant of its own.
    menu.mItmBWMenuIcon->trigger();
    EXPECT_FALSE(bar.bwMenuIcon());
    EXPECT_FALSE(menu.mItmBWMenuIcon->isChecked());
    EXPECT_EQ(bar.statusItemView()->image().cacheKey(),
              bar.statusItemView()->alternateImage().cacheKey());
    EXPECT_EQ(iconChanged.count(), 3);  // install, black and white, colour

    bar.removeStatusBar();
    EXPECT_FALSE(bar.isInstalled());
    EXPECT_FALSE(bar.statusItemView());
}

TEST(StatusBar, WithoutATrayHostThePanelStandsAloneUntilOneAppears) {
    StatusMenu menu;
    bool hostThere = false;
    StatusBar bar(&menu, [&] { return hostThere; });
    EXPECT_FALSE(bar.panelMustStandAlone());  // no icon wanted yet
    bar.installStatusBar();
    EXPECT_TRUE(bar.panelMustStandAlone());

    QSignalSpy changed(&bar, &StatusBar::trayAvailabilityChanged);
    bar.checkTray();
    EXPECT_EQ(changed.count(), 0);
    hostThere = true;  // a panel with a tray started after us
    bar.checkTray();
    ASSERT_EQ(changed.count(), 1);
    EXPECT_TRUE(changed[0][0].toBool());
    EXPECT_FALSE(bar.panelMustStandAlone());
    hostThere = false;
    bar.checkTray();
    EXPECT_TRUE(bar.panelMustStandAlone());
    // No tray, no reminder: there is nothing to point at.
    bar.showPopover();
    EXPECT_FALSE(bar.popWindow());
    hostThere = true;
    bar.checkTray();
    bar.showPopover();
    ASSERT_TRUE(bar.popWindow());
    PopWindow* made = bar.popWindow();
    EXPECT_TRUE(made->isVisible());
    made->hide();
    bar.showPopover();  // made once, shown again
    EXPECT_EQ(bar.popWindow(), made);
    EXPECT_TRUE(made->isVisible());
    QSignalSpy disable(&bar, &StatusBar::disablePopupClicked);
    made->popViewController()->mChkDisablePopup()->click();
    EXPECT_EQ(disable.count(), 1);

    // The user hid the icon: nothing needs a tray any more, and no reminder shows.
    bar.removeStatusBar();
    EXPECT_FALSE(bar.panelMustStandAlone());
    made->hide();
    bar.showPopover();
    EXPECT_FALSE(made->isVisible());
}

}  // namespace
}  // namespace orvella::ui

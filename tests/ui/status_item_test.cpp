// The tray item, its menu and the tray watch.
#include <gtest/gtest.h>

#include <QCheckBox>
#include <QDir>
#include <QFile>
#include <QImage>
#include <QPainter>
#include <QPixmap>
#include <QSignalSpy>
#include <QStandardItemModel>
#include <QTemporaryDir>

#include "support/EventLoop.h"
#include "ui/PopViewController.h"
#include "ui/PopWindow.h"
#include "ui/StatusBar.h"
#include "ui/StatusItemView.h"
#include "ui/StatusMenu.h"
#include "ui/TrayLook.h"

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

TEST(TrayLook, TheBlackAndWhiteIconTakesTheTraysColourOrContrastsWithThePanel) {
    // _NET_SYSTEM_TRAY_COLORS: 16-bit channels, the normal colour first.
    EXPECT_EQ(trayNormalColor({0xFFFF, 0xFFFF, 0xFFFF, 0, 0, 0}), QColor(Qt::white));
    EXPECT_EQ(trayNormalColor({0x8000, 0x0000, 0x4000}), QColor(0x80, 0x00, 0x40));
    EXPECT_EQ(trayNormalColor({0xFFFF, 0xFFFF}), std::nullopt);
    EXPECT_EQ(trayNormalColor({}), std::nullopt);

    const QColor text(0x33, 0x33, 0x99);
    // The tray's own wish wins over what the panel looks like.
    EXPECT_EQ(monochromeIconColor({QColor(Qt::red), QColor(Qt::white), text}), QColor(Qt::red));
    // Else the panel decides: white on dark panels, black on light ones, grey ones included.
    EXPECT_EQ(monochromeIconColor({std::nullopt, QColor(0x20, 0x20, 0x20), text}),
              QColor(Qt::white));
    EXPECT_EQ(monochromeIconColor({std::nullopt, QColor(0x30, 0x36, 0x4a), text}),
              QColor(Qt::white));
    EXPECT_EQ(monochromeIconColor({std::nullopt, QColor(0xf0, 0xf0, 0xf0), text}),
              QColor(Qt::black));
    EXPECT_EQ(monochromeIconColor({std::nullopt, QColor(0x9a, 0x9a, 0x9a), text}),
              QColor(Qt::black));
    // Nothing known: the palette's text colour.
    EXPECT_EQ(monochromeIconColor({std::nullopt, std::nullopt, text}), text);

    // The panel around an icon is its grab's outer ring; the icon in the middle does not count.
    QImage grab(12, 12, QImage::Format_RGB32);
    grab.fill(QColor(0x10, 0x20, 0x30));
    QPainter(&grab).fillRect(3, 3, 6, 6, Qt::white);
    EXPECT_EQ(borderColor(grab, 3), QColor(0x10, 0x20, 0x30));
    // A light panel hardly taller than the icon: the black desktop below it does not decide.
    grab.fill(QColor(0xee, 0xee, 0xee));
    QPainter(&grab).fillRect(0, 10, 12, 2, Qt::black);
    EXPECT_EQ(borderColor(grab, 3), QColor(0xee, 0xee, 0xee));
    EXPECT_EQ(borderColor(QImage(), 3), std::nullopt);
}

// The lightest and darkest opaque pixel of an icon at 22 px.
std::pair<int, int> inkRange(const QIcon& icon) {
    const QImage image = icon.pixmap(22, 22).toImage().convertToFormat(QImage::Format_ARGB32);
    int lightest = 0, darkest = 255;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x) {
            const QRgb pixel = image.pixel(x, y);
            if (qAlpha(pixel) < 200) continue;
            lightest = std::max(lightest, qGray(pixel));
            darkest = std::min(darkest, qGray(pixel));
        }
    return {lightest, darkest};
}

TEST(StatusBar, TheBlackAndWhiteIconIsDrawnToShowOnTheTray) {
    StatusMenu menu;
    StatusBar bar(&menu, [] { return true; });
    TrayLook look{std::nullopt, QColor(0x22, 0x22, 0x22), QColor(Qt::black)};
    bar.setTrayLookReader([&](const QRect&) { return look; });
    bar.setStatusNotifierHostCheck([] { return false; });
    bar.installStatusBar();

    // A dark XEmbed panel: the icon and its highlighted variant are light.
    bar.setMenuIcon(true);
    EXPECT_EQ(bar.monochromeIconColor(), QColor(Qt::white));
    EXPECT_GT(inkRange(bar.statusItemView()->image()).second, 200);
    EXPECT_GT(inkRange(bar.statusItemView()->alternateImage()).first, 200);
    // A light one: dark.
    look.background = QColor(0xee, 0xee, 0xee);
    bar.setMenuIcon(true);
    EXPECT_LT(inkRange(bar.statusItemView()->image()).first, 60);
    // A tray that names its colour gets it.
    look.hostForeground = QColor(0xcc, 0xdd, 0xee);
    bar.setMenuIcon(true);
    EXPECT_EQ(bar.monochromeIconColor(), QColor(0xcc, 0xdd, 0xee));

    // A StatusNotifier host gets the icon by its theme name, as installed into hicolor.
    QTemporaryDir themes;
    ASSERT_TRUE(QDir(themes.path()).mkpath(QStringLiteral("hicolor/symbolic/apps")));
    QFile index(themes.filePath(QStringLiteral("hicolor/index.theme")));
    ASSERT_TRUE(index.open(QIODevice::WriteOnly));
    index.write(
        "[Icon Theme]\nName=Hicolor\nDirectories=symbolic/apps\n\n"
        "[symbolic/apps]\nSize=16\nMinSize=8\nMaxSize=512\nType=Scalable\n");
    index.close();
    ASSERT_TRUE(QFile::copy(
        QStringLiteral(ORVELLA_UI_SOURCE_DIR "/../packaging/icons/hicolor/symbolic/apps/"
                                             "orvella-symbolic.svg"),
        themes.filePath(QStringLiteral("hicolor/symbolic/apps/orvella-symbolic.svg"))));
    const QStringList searchPaths = QIcon::themeSearchPaths();
    const QString themeName = QIcon::themeName();
    QIcon::setThemeSearchPaths({themes.path()});
    QIcon::setThemeName(QStringLiteral("hicolor"));
    bar.setStatusNotifierHostCheck([] { return true; });
    bar.setMenuIcon(true);
    EXPECT_EQ(bar.statusItemView()->image().name(), QLatin1String(kSymbolicIconName));
    QIcon::setThemeSearchPaths(searchPaths);
    QIcon::setThemeName(themeName);
    bar.removeStatusBar();
}

TEST(StatusBar, ThePopoverPointsAtTheIconWhereTheHostPlacedIt) {
    StatusMenu menu;
    StatusBar bar(&menu, [] { return true; });
    QRect icon;  // not placed yet
    bar.setIconRectReader([&] { return icon; });
    bar.setStatusNotifierHostCheck([] { return false; });
    bar.installStatusBar();
    bar.showPopover();
    ASSERT_TRUE(bar.popWindow());
    EXPECT_LT(bar.popWindow()->getTargetRect().y(), 0) << "the stand-in above the screen's top";
    bar.popWindow()->hide();

    // The host has placed the icon: the popover hangs under it from then on.
    icon = QRect(500, 0, 24, 24);
    bar.showPopover();
    ASSERT_TRUE(bar.popWindow());
    EXPECT_EQ(bar.popWindow()->getTargetRect(), icon);
    EXPECT_EQ(bar.popWindow()->getTargetFrame().top(), icon.bottom() + 1);
    PopWindow* made = bar.popWindow();
    bar.popWindow()->hide();
    bar.showPopover();
    EXPECT_EQ(bar.popWindow(), made);
    bar.popWindow()->hide();
    bar.removeStatusBar();
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

// The reminder popover: its geometry, outline, content and opening.
#include <gtest/gtest.h>

#include <QCheckBox>
#include <QLabel>
#include <QSignalSpy>

#include "support/EventLoop.h"
#include "ui/PopViewController.h"
#include "ui/PopWindow.h"
#include "ui/PopWindowView.h"
#include "ui/StatusMenu.h"

namespace orvella::ui {
namespace {

TEST(PopWindow, HangsCentredUnderTheIconWithItsPointerOnTheIcon) {
    // A 300 x 100 reminder under a 24-point item.
    const QRect target(1000, 0, 24, 22);
    const QRect frame = PopWindow::frameFor(target, QSize(300, 100));
    EXPECT_EQ(frame, QRect(862, 22, 300, 112));

    // The pointer: 20 wide at its base, 12 high, its tip 150 from the window's left edge at
    // the window's top, which meets the icon's bottom edge.
    const QPainterPath path = PopWindowView::fillRoundedRect(QSizeF(300, 112));
    EXPECT_EQ(path.boundingRect(), QRectF(0, 0, 300, 112));
    int tips = 0;
    for (int i = 0; i < path.elementCount(); ++i) {
        const QPainterPath::Element e = path.elementAt(i);
        if (e.y == 0) {
            ++tips;
            EXPECT_EQ(e.x, 150);
        }
    }
    EXPECT_EQ(tips, 1);
    EXPECT_TRUE(path.contains(QPointF(150, 6)));   // inside the pointer
    EXPECT_FALSE(path.contains(QPointF(130, 6)));  // beside it
    EXPECT_FALSE(path.contains(QPointF(1, 13)));   // the rounded corner is cut
    EXPECT_TRUE(path.contains(QPointF(150, 60)));  // the body
    EXPECT_TRUE(path.contains(QPointF(12, 110)));

    // No geometry from the tray: at the top right of the screen, all of it on the screen.
    const QRect screen(0, 30, 1920, 1050);
    const QRect standIn = PopWindow::targetFor(QRect(), screen, QSize(300, 100));
    const QRect atCorner = PopWindow::frameFor(standIn, QSize(300, 100));
    EXPECT_EQ(atCorner.top(), 30);
    EXPECT_TRUE(screen.contains(atCorner));
    EXPECT_GT(atCorner.right(), screen.right() - 20);
    EXPECT_EQ(PopWindow::targetFor(target, screen, QSize(300, 100)), target);

    // An icon near the screen's edge: the window moves in, the pointer still points at it.
    const QRect nearEdge(1900, 0, 20, 22);
    const QRect moved = PopWindow::keepOnScreen(PopWindow::frameFor(nearEdge, QSize(300, 100)),
                                                QRect(0, 0, 1920, 1080));
    EXPECT_EQ(moved.right(), 1919);
    auto tipOf = [](const QPainterPath& outline) {
        for (int i = 0; i < outline.elementCount(); ++i)
            if (outline.elementAt(i).y == 0) return outline.elementAt(i).x;
        return qreal(-1);
    };
    EXPECT_EQ(tipOf(PopWindowView::fillRoundedRect(QSizeF(300, 112), 250)), 250);
    // Never into the rounded corner: at most the radius plus half the base from the edge.
    EXPECT_EQ(tipOf(PopWindowView::fillRoundedRect(QSizeF(300, 112), 298)), 280);
}

TEST(PopWindow, WithoutACompositorItTakesTheBodysShape) {
    const QSize frame(300, 112);
    const QRegion shape = PopWindow::shapeFor(frame);
    // The rounded corners and the sides of the pointer are cut away; the body and the tip stay.
    for (const QPoint corner :
         {QPoint(0, PopWindowView::kPointerHeight), QPoint(299, 111), QPoint(0, 111),
          QPoint(299, PopWindowView::kPointerHeight), QPoint(10, 2), QPoint(290, 2)})
        EXPECT_FALSE(shape.contains(corner)) << corner.x() << ',' << corner.y();
    for (const QPoint inside : {QPoint(150, 60), QPoint(150, 4), QPoint(12, 100)})
        EXPECT_TRUE(shape.contains(inside)) << inside.x() << ',' << inside.y();
    // A pointer moved towards an icon near the screen's edge moves with the shape.
    EXPECT_TRUE(PopWindow::shapeFor(frame, 40).contains(QPoint(40, 4)));
    EXPECT_FALSE(PopWindow::shapeFor(frame, 40).contains(QPoint(150, 4)));

    PopWindow window(QRect(1000, 0, 24, 22), new PopViewController);
    window.setShaped(true);
    EXPECT_TRUE(window.isShaped());
    EXPECT_FALSE(window.mask().contains(QPoint(0, PopWindowView::kPointerHeight)));
    window.setShaped(false);
    EXPECT_FALSE(window.isShaped());
}

TEST(PopViewController, ReadsOnTheDarkBodyAndReportsItsCheckBox) {
    PopViewController controller;
    EXPECT_EQ(controller.size(), QSize(300, 100));
    EXPECT_EQ(controller.mTxtPopover()->text(),
              tray::nameFormat("PopOverText", PopViewController::infoValueForKey("CFBundleName")));
    EXPECT_EQ(controller.mChkDisablePopup()->text(), tray::text("DisableNotification"));
    EXPECT_EQ(textColor(*controller.mChkDisablePopup()), QColor(Qt::white));
    EXPECT_EQ(PopViewController::infoValueForKey("CFBundleName"), "Orvella");

    QSignalSpy clicked(&controller, &PopViewController::disablePopupClicked);
    controller.mChkDisablePopup()->click();
    ASSERT_EQ(clicked.count(), 1);
    EXPECT_TRUE(clicked[0][0].toBool());
    EXPECT_TRUE(controller.disablePopup());
}

TEST(PopWindow, OpensOutOfTheIconInAQuarterSecond) {
    const QRect target(600, 0, 24, 22);
    PopWindow window(target, new PopViewController);
    EXPECT_EQ(window.getTargetRect(), target);
    EXPECT_EQ(window.getTargetFrame(), QRect(462, 22, 300, 112));
    EXPECT_TRUE(window.windowFlags() & Qt::FramelessWindowHint);
    window.showAnimated();
    EXPECT_TRUE(window.isVisible());
    EXPECT_LT(window.width(), 300);  // it starts small
    ASSERT_TRUE(
        testing::waitFor([&] { return window.geometry() == window.getTargetFrame(); }, 2000));
    EXPECT_EQ(window.popWindowView()->size(), QSize(300, 112));
    // It paints without a crash, its body dark.
    const QImage image = window.grab().toImage();
    EXPECT_LT(qGray(image.pixel(150, 60)), 100);
}

}  // namespace
}  // namespace orvella::ui

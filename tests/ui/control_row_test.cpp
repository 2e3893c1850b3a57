// The control row: presentation kinds, clamping and what reaches the camera, the value display,
// the delegate messages and the drag throttle of its slider.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QLabel>
#include <QLineEdit>
#include <QSignalSpy>
#include <QStyle>
#include <QStyleOptionSlider>
#include <QTest>
#include <QToolButton>
#include <QVBoxLayout>

#include "UiRig.h"
#include "settings/SettingsID.h"
#include "ui/PeriodicDelaySlider.h"
#include "ui/SegmentedControl.h"
#include "ui/UVCValueViewController.h"
#include "ui_UVCValueViewController.h"

namespace orvella::ui {
namespace {

using Kind = UVCValueViewController::Kind;
using ::testing::ElementsAre;
using testing::UiCamera;
namespace sel = testing::sel;

std::unique_ptr<UVCValueViewController> makeRow(int32_t id, const char* title = "Brightness") {
    return UVCValueViewController::initWithView(nullptr, id, title, "BrightnessLow",
                                                "BrightnessHigh");
}

// Records what a row tells its delegate.
struct Recorder {
    std::vector<int32_t> changed;
    std::vector<std::pair<bool, int32_t>> titles;
    UVCValueDelegate delegate{[this](int32_t id) { changed.push_back(id); },
                              [this](bool on, int32_t id) {
                                  titles.push_back({on, id});
                              }};
};

TEST(ControlRow, KindFollowsIdentifierMaximumAndResolution) {
    auto backlight = makeRow(settings::kBacklightCompensation, nullptr);
    backlight->setQTCamera(nullptr, 0, 1, 1, 0, 1);
    EXPECT_EQ(backlight->kind(), Kind::OnOffSwitch);
    auto& seg = *backlight->outlets().segControl;
    EXPECT_EQ(seg.segmentCount(), 2);
    EXPECT_EQ(seg.tag(0), 0);
    EXPECT_EQ(seg.tag(1), 1);
    EXPECT_EQ(seg.label(0), "Off");
    EXPECT_EQ(seg.selectedTag(), 1);
    backlight->setQTCamera(nullptr, 0, 2, 1, 0, 1);
    EXPECT_EQ(backlight->kind(), Kind::Slider);

    auto gamma = makeRow(settings::kGamma);
    gamma->setQTCamera(nullptr, 100, 220, 120, 100, 220);
    EXPECT_EQ(gamma->kind(), Kind::GammaPair);
    EXPECT_EQ(gamma->outlets().segControl->label(0), "100");
    EXPECT_EQ(gamma->outlets().segControl->tag(1), 220);
    EXPECT_EQ(gamma->outlets().segControl->selectedSegment(), 1);
    gamma->setValue(150);  // equal to no tag: the selection stays
    EXPECT_EQ(gamma->outlets().segControl->selectedSegment(), 1);
    gamma->setQTCamera(nullptr, 100, 220, 1, 100, 220);
    EXPECT_EQ(gamma->kind(), Kind::Slider);

    auto aperture = makeRow(settings::kAperture, "Aperture");
    aperture->setQTCamera(nullptr, 0, 65536, 0, 0, 0);
    aperture->setVisible(true);
    EXPECT_EQ(aperture->kind(), Kind::StepPosition);
    auto& ui = aperture->outlets();
    EXPECT_TRUE(ui.btnTitle->isHidden());
    EXPECT_TRUE(ui.txtValue->isHidden());
    EXPECT_TRUE(ui.sldControl->isHidden());
    EXPECT_FALSE(ui.lblMax->isHidden());
    EXPECT_EQ(ui.lblMax->text(), "Aperture");
    aperture->setEnabled(false);
    EXPECT_EQ(ui.lblMin->text(), "-");
}

TEST(ControlRow, ShortExposureAndZoomScalesGetTickMarks) {
    auto exposure = makeRow(settings::kExposureTimeAbsolute);
    exposure->setQTCamera(nullptr, 1, 15, 1, 1, 1);
    EXPECT_EQ(exposure->outlets().sldControl->tickPosition(), QSlider::TicksBelow);
    exposure->setQTCamera(nullptr, 1, 16, 1, 1, 1);
    EXPECT_EQ(exposure->outlets().sldControl->tickPosition(), QSlider::NoTicks);
    auto zoom = makeRow(settings::kZoomAbsolute);
    zoom->setQTCamera(nullptr, 0, 10, 1, 0, 0);
    EXPECT_EQ(zoom->outlets().sldControl->tickPosition(), QSlider::TicksBelow);
    auto brightness = makeRow(settings::kBrightness);
    brightness->setQTCamera(nullptr, 0, 10, 1, 0, 0);
    EXPECT_EQ(brightness->outlets().sldControl->tickPosition(), QSlider::NoTicks);
}

TEST(ControlRow, UserChangesAreClampedWrittenAndReported) {
    UiCamera cam("full-pu.json");
    Recorder recorder;
    auto row = makeRow(settings::kBrightness);
    row->setDelegate(&recorder.delegate);
    const SupportedControl& sc = cam.record();
    row->setQTCamera(cam.session(), sc.minBrightness, sc.maxBrightness, 1, sc.defBrightness,
                     sc.maxBrightness - 1);
    EXPECT_TRUE(cam.setCurs().empty()) << "binding writes nothing";
    EXPECT_TRUE(recorder.changed.empty());

    // One at a time, as a person makes them (changes made faster than the camera answers
    // coalesce: see the session's tests).
    const auto settled = [](auto action) {
        action();
        CameraSession::settleAll();
    };
    settled([&] { row->plusAction(); });
    settled([&] { row->plusAction(); });  // already at the maximum: clamped, still reported
    row->outlets().txtValue->setText("-100000");
    settled([&] { row->controlTextDidEndEditing(); });
    row->outlets().txtValue->setText("abc");  // reads as 0
    settled([&] { row->controlTextDidEndEditing(); });
    settled([&] { row->minusAction(); });
    EXPECT_EQ(row->outlets().txtValue->text(), "-1");

    const int64_t max = sc.maxBrightness, min = sc.minBrightness;
    EXPECT_THAT(cam.setCursOf(sel::kBrightness, cam.pu()),
                ElementsAre(UiCamera::Write{sel::kBrightness, cam.pu(), max},
                            UiCamera::Write{sel::kBrightness, cam.pu(), max},
                            UiCamera::Write{sel::kBrightness, cam.pu(), min},
                            UiCamera::Write{sel::kBrightness, cam.pu(), 0},
                            UiCamera::Write{sel::kBrightness, cam.pu(), -1}));
    EXPECT_EQ(recorder.changed, std::vector<int32_t>(5, settings::kBrightness));

    // The panel's own calls show values without telling anyone.
    cam.device->clearRequests();
    row->setValue(1000);
    EXPECT_EQ(row->cur(), max);
    row->setCur(5);
    row->displayValue(true);
    row->setVisible(true);
    row->setEnabled(true);
    EXPECT_EQ(cam.setCurs().size(), 1u);
    EXPECT_EQ(recorder.changed.size(), 5u);
    EXPECT_TRUE(recorder.titles.empty());
}

TEST(ControlRow, GammaPairSnapsTypedValuesToItsTwoChoices) {
    UiCamera cam("full-pu.json");
    auto row = makeRow(settings::kGamma);
    row->setQTCamera(cam.session(), 100, 220, 120, 100, 100);
    row->setEnabled(true);
    const std::pair<const char*, int64_t> typed[] = {
        {"150", 100}, {"161", 220}, {"999", 220}, {"160", 100}};
    for (const auto& [text, expected] : typed) {
        row->outlets().txtValue->setText(text);
        row->controlTextDidEndEditing();
        EXPECT_EQ(row->cur(), expected) << text;
        EXPECT_EQ(row->outlets().txtValue->text(), QString::number(expected));
        EXPECT_EQ(row->outlets().segControl->selectedTag(), expected);
    }
    row->setValue(220);
    row->minusAction();  // 220 - 120 = 100
    EXPECT_EQ(row->cur(), 100);
    row->minusAction();  // clamped at the minimum
    EXPECT_EQ(row->cur(), 100);
    // A segment click writes its tag.
    row->outlets().segControl->segmentButton(1)->click();
    EXPECT_EQ(cam.setCursOf(sel::kGamma, cam.pu()).back().value, 220);
}

TEST(ControlRow, OnOffSwitchWritesTheSegmentTag) {
    UiCamera cam("full-pu.json");
    Recorder recorder;
    auto row = makeRow(settings::kBacklightCompensation, nullptr);
    row->setDelegate(&recorder.delegate);
    row->setQTCamera(cam.session(), 0, 1, 1, 0, 0);
    row->setVisible(true);
    row->setEnabled(true);
    EXPECT_EQ(row->outlets().btnTitle->text(), "#");
    EXPECT_FALSE(row->outlets().segControl->isHidden());
    row->outlets().segControl->segmentButton(1)->click();
    CameraSession::settleAll();
    row->outlets().segControl->segmentButton(0)->click();
    EXPECT_THAT(cam.setCursOf(sel::kBacklightCompensation, cam.pu()),
                ElementsAre(UiCamera::Write{sel::kBacklightCompensation, cam.pu(), 1},
                            UiCamera::Write{sel::kBacklightCompensation, cam.pu(), 0}));
    EXPECT_EQ(recorder.changed.size(), 2u);
}

TEST(ControlRow, ApertureStepsTheIrisAndShowsThePositionReadBack) {
    UiCamera cam("full-pu.json");
    Recorder recorder;
    auto row = makeRow(settings::kAperture, "Aperture");
    row->setDelegate(&recorder.delegate);
    row->setQTCamera(cam.session(), 0, 65536, 0, 0, 0);
    row->setVisible(true);
    row->plusAction();
    row->minusAction();
    EXPECT_THAT(cam.setCursOf(sel::kIrisRelative, cam.ct()), ::testing::SizeIs(2));
    CameraSession::settleAll();
    EXPECT_EQ(recorder.changed, (std::vector<int32_t>{settings::kAperture, settings::kAperture}));
    // The iris failing leaves the position as it was; the delegate is told all the same.
    const QString before = row->outlets().lblMin->text();
    cam.device->stallSelector(cam.ct(), sel::kIrisRelative);
    row->plusAction();
    CameraSession::settleAll();
    EXPECT_EQ(row->outlets().lblMin->text(), before);
    EXPECT_EQ(recorder.changed.size(), 3u);
}

TEST(ControlRow, DelegateMessagesNeedAHandler) {
    auto row = makeRow(settings::kBrightness);
    row->setQTCamera(nullptr, 0, 10, 1, 0, 5);
    row->plusAction();  // no delegate at all
    UVCValueDelegate onlyTitles;
    int titles = 0;
    onlyTitles.titleClicked = [&](bool, int32_t) { ++titles; };
    row->setDelegate(&onlyTitles);
    row->plusAction();  // no settingChanged handler
    row->outlets().btnTitle->click();
    EXPECT_EQ(titles, 1);
    EXPECT_EQ(row->cur(), 7);
}

TEST(ControlRow, ValueDisplayReplacesTheSliderAndSurvivesHiding) {
    Recorder recorder;
    auto row = makeRow(settings::kContrast, "Contrast");
    row->setDelegate(&recorder.delegate);
    row->setQTCamera(nullptr, 0, 100, 1, 50, 50);
    auto& ui = row->outlets();

    // Hidden row: only the title state and the main control change.
    row->displayValue(true);
    EXPECT_TRUE(ui.btnTitle->isChecked());
    EXPECT_TRUE(ui.sldControl->isHidden());
    EXPECT_TRUE(ui.txtValue->isHidden());
    row->setVisible(true);
    EXPECT_FALSE(ui.sldControl->isHidden()) << "setVisible shows the main control again";
    row->displayValue(true);
    EXPECT_TRUE(ui.sldControl->isHidden());
    EXPECT_FALSE(ui.txtValue->isHidden());
    EXPECT_FALSE(ui.lblMin->isHidden());
    EXPECT_EQ(ui.lblMax->text(), "100");

    // The title is never disabled: the display can be switched on a disabled row.
    row->setEnabled(false);
    EXPECT_TRUE(ui.btnTitle->isEnabled());
    EXPECT_FALSE(ui.txtValue->isEnabled());
    ui.btnTitle->click();
    EXPECT_FALSE(row->isDisplayingValue());
    EXPECT_FALSE(ui.sldControl->isHidden());
    EXPECT_TRUE(ui.txtValue->isHidden());
    EXPECT_EQ(recorder.titles, (std::vector<std::pair<bool, int32_t>>{{false, 5}}));
}

TEST(ControlRow, ReplacesItsPlaceholderInTheLayout) {
    QWidget panel;
    auto layout = new QVBoxLayout(&panel);
    auto placeholder = new QWidget(&panel);
    placeholder->setObjectName("mVwHue");
    layout->addWidget(placeholder);
    auto row = UVCValueViewController::initWithView(placeholder, settings::kHue, "Hue", "NoSuch",
                                                    "NoSuchEither");
    EXPECT_EQ(layout->indexOf(row->view()), 0);
    EXPECT_EQ(row->view()->parentWidget(), &panel);
    EXPECT_EQ(panel.findChildren<QWidget*>("mVwHue").size(), 1);
    // Images the application lacks fall back to "-" and "+".
    EXPECT_EQ(row->outlets().btnLow->text(), "-");
    EXPECT_EQ(row->outlets().btnHigh->text(), "+");
    EXPECT_FALSE(row->outlets().btnLow->isEnabled()) << "a new row starts disabled";
}

// The throttle, with a clock the test moves.
struct ThrottleClock {
    PeriodicDelaySlider::Clock::time_point now{};
    void advance(int ms) { now += std::chrono::milliseconds(ms); }
};

TEST(ControlRowSlider, SteadyDragSendsAtMostThreeTimesASecondPlusTheRelease) {
    PeriodicDelaySlider slider;
    ThrottleClock clock;
    slider.setNow([&] { return clock.now; });
    slider.setRange(0, 1000);
    std::vector<int> sent;
    QObject::connect(&slider, &PeriodicDelaySlider::actionSent,
                     [&](int value) { sent.push_back(value); });
    int sentWhileDragging = 0;
    const auto moveTo = [&](int position) {
        const QSignalBlocker quiet(slider);  // a position set by the program sends nothing
        slider.setSliderPosition(position);
    };
    for (int t = 0; t <= 2000; t += 20) {
        moveTo(t / 4);
        if (slider.sendAction(PeriodicDelaySlider::Event::Throttled)) ++sentWhileDragging;
        clock.advance(20);
    }
    EXPECT_LE(sentWhileDragging, 7);
    EXPECT_GE(sentWhileDragging, 6);
    EXPECT_EQ(sent.front(), 0) << "the first movement goes at once";
    moveTo(777);
    EXPECT_TRUE(slider.sendAction(PeriodicDelaySlider::Event::LeftMouseUp));
    EXPECT_EQ(sent.back(), 777) << "the release always sends the final value";
}

// A brightness row bound to a camera, shown on screen, its slider on a clock the test moves.
struct ShownRow {
    UiCamera cam{"full-pu.json"};
    std::unique_ptr<UVCValueViewController> row = makeRow(settings::kBrightness);
    ThrottleClock clock;
    PeriodicDelaySlider& slider = *row->outlets().sldControl;
    ShownRow() {
        slider.setNow([this] { return clock.now; });
        row->setQTCamera(cam.session(), -64, 64, 1, 0, 0);
        row->setVisible(true);
        row->setEnabled(true);
        row->view()->resize(420, 30);
        row->view()->show();
    }
};

TEST(ControlRowSlider, MouseDragThroughTheRowReachesTheCameraThrottled) {
    ShownRow shown;
    UiCamera& cam = shown.cam;
    auto& row = shown.row;
    ThrottleClock& clock = shown.clock;
    PeriodicDelaySlider& slider = shown.slider;
    ASSERT_TRUE(QTest::qWaitForWindowExposed(row->view()));

    QStyleOptionSlider option;
    option.initFrom(&slider);
    option.orientation = Qt::Horizontal;
    option.minimum = slider.minimum();
    option.maximum = slider.maximum();
    option.sliderPosition = slider.sliderPosition();
    option.sliderValue = slider.value();
    const QRect handle = slider.style()->subControlRect(QStyle::CC_Slider, &option,
                                                        QStyle::SC_SliderHandle, &slider);
    QPoint at = handle.center();
    QTest::mousePress(&slider, Qt::LeftButton, {}, at);
    for (int i = 0; i < 20; ++i) {  // one movement every 50 ms for one second
        at.rx() += 3;
        QMouseEvent move(QEvent::MouseMove, at, slider.mapToGlobal(at), Qt::NoButton,
                         Qt::LeftButton, {});
        QApplication::sendEvent(&slider, &move);
        CameraSession::settleAll();  // the event loop runs between two movements
        clock.advance(50);
    }
    QTest::mouseRelease(&slider, Qt::LeftButton, {}, at);
    const auto writes = cam.setCursOf(sel::kBrightness, cam.pu());
    ASSERT_GE(writes.size(), 2u);
    EXPECT_LE(writes.size(), 5u);  // 4 while dragging (0, 0.35, 0.7, 1.05 s at most) + release
    EXPECT_EQ(writes.back().value, row->cur());
    EXPECT_GT(row->cur(), 0);
}

// Only the release of the left mouse button passes the throttle: a held arrow key, the wheel and
// clicks on the groove send like a drag, at most once every 0.33 s.
TEST(ControlRowSlider, KeysTheWheelAndGrooveClicksAreThrottledLikeADrag) {
    ShownRow shown;
    UiCamera& cam = shown.cam;
    auto& row = shown.row;
    ThrottleClock& clock = shown.clock;
    PeriodicDelaySlider& slider = shown.slider;
    ASSERT_TRUE(QTest::qWaitForWindowExposed(row->view()));
    const auto writes = [&] { return cam.setCursOf(sel::kBrightness, cam.pu()); };

    // A held arrow key: ten repeats within 0.3 s are one request.
    slider.setFocus();
    for (int i = 0; i < 10; ++i) {
        QTest::keyClick(&slider, Qt::Key_Right);
        clock.advance(30);
    }
    EXPECT_EQ(writes().size(), 1u);
    EXPECT_EQ(row->cur(), 1) << "the value sent is the first step";
    clock.advance(400);
    QTest::keyClick(&slider, Qt::Key_Right);
    EXPECT_EQ(writes().size(), 2u);
    EXPECT_EQ(writes().back().value, 11);

    // The wheel, turned quickly.
    for (int i = 0; i < 5; ++i) {
        QWheelEvent wheel(QPointF(slider.rect().center()),
                          slider.mapToGlobal(slider.rect().center()), QPoint(), QPoint(0, 120),
                          Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
        QApplication::sendEvent(&slider, &wheel);
    }
    EXPECT_EQ(writes().size(), 2u);
    clock.advance(400);

    // A click on the groove: the press is throttled like a drag, the left release sends.
    const QPoint groove(slider.width() - 3, slider.height() / 2);
    QTest::mousePress(&slider, Qt::LeftButton, {}, groove);
    EXPECT_EQ(writes().size(), 3u);
    QTest::mouseRelease(&slider, Qt::LeftButton, {}, groove);
    EXPECT_EQ(writes().size(), 4u);
    EXPECT_EQ(writes().back().value, row->cur());
}

}  // namespace
}  // namespace orvella::ui

namespace orvella::ui {
namespace {

// A change of the desktop's palette as a running application sees it: the new application palette,
// then the notice to every widget (which QApplication sends only once its event loop runs).
void setDesktopPalette(const QPalette& palette) {
    QApplication::setPalette(palette);
    QEvent changed(QEvent::ApplicationPaletteChange);
    for (QWidget* widget : QApplication::allWidgets())
        QApplication::sendEvent(widget, &changed);
}

TEST(SegmentedControlLook, SelectedSegmentFollowsThePalettesHighlight) {
    SegmentedControl seg;
    seg.setTagTexts({"1", "2", "4", "8"});
    EXPECT_EQ(seg.segmentCount(), 4);
    EXPECT_FALSE(seg.selectSegmentWithTag(3));
    EXPECT_EQ(seg.selectedSegment(), -1);
    ASSERT_TRUE(seg.selectSegmentWithTag(4));
    const QPalette saved = QApplication::palette();
    for (const QColor highlight : {QColor(0x30, 0x60, 0xc0), QColor(0xc0, 0x40, 0x20)}) {
        QPalette palette = saved;
        palette.setColor(QPalette::Highlight, highlight);
        setDesktopPalette(palette);
        EXPECT_EQ(seg.segmentButton(2)->palette().color(QPalette::Active, QPalette::Button),
                  highlight);
        EXPECT_NE(seg.segmentButton(1)->palette().color(QPalette::Active, QPalette::Button),
                  highlight);
    }
    setDesktopPalette(saved);
    seg.deselectAll();
    EXPECT_EQ(seg.selectedTag(), -1);
    EXPECT_NE(seg.segmentButton(2)->palette().color(QPalette::Active, QPalette::Button),
              QColor(0xc0, 0x40, 0x20));
}

}  // namespace
}  // namespace orvella::ui

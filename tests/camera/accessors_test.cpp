// The per-control accessors as the device sees them: bytes written, read-backs, the stored
// current values, the exposure knob, the resolution-scaled controls, motor steps, the LED
// requests and the media-device quirks.

#include <gtest/gtest.h>

#include "platform/Log.h"
#include "support/OpenedCamera.h"

namespace orvella {
namespace {

using testing::openFixture;
using testing::Req;
using testing::trace;
using testing::writes;
using Bytes = std::vector<uint8_t>;

TEST(ExposureKnob, ThresholdsAndPositions) {
    const std::pair<long, long> timeToKnob[] = {
        {-5, 1}, {0, 1},   {1, 1},   {2, 2},      {3, 2},      {4, 3},       {8, 3},
        {9, 4},  {155, 7}, {156, 8}, {19999, 14}, {20000, 15}, {1000000, 15}};
    for (auto [time, knob] : timeToKnob)
        EXPECT_EQ(QTCamera::MSLifeCamKnobFromExposureTime(time), knob) << time;
    const std::pair<long, long> knobToTime[] = {{1, 1},   {3, 5},    {8, 156}, {15, 20000},
                                                {0, 156}, {16, 156}, {-1, 156}};
    for (auto [knob, time] : knobToTime)
        EXPECT_EQ(QTCamera::MSLifeCamExposureTimeFromKnob(knob), time) << knob;
}

TEST(Accessors, ExposureKnobCameraTalksInKnobPositions) {
    auto c = openFixture("exposure-knob.json");
    c->ready();
    EXPECT_EQ(c->camera->setExposureTimeAbsolute(16), kIOReturnSuccess);
    EXPECT_EQ(writes(*c->device), (std::vector<Bytes>{{0x9C, 0x00, 0x00, 0x00}}));  // 156
    EXPECT_EQ(c->record().curExposureTimeAbsolute, 8);
    long knob = 0;
    c->device->setCurrentValue(1, 0x04, 4);
    EXPECT_EQ(c->camera->queryExposureTimeAbsolute(&knob), kIOReturnSuccess);
    EXPECT_EQ(knob, 3);
}

TEST(Accessors, WriteThenReadBackAndKeep) {
    auto c = openFixture("motor-ptz.json");
    c->ready();
    EXPECT_EQ(c->camera->setGain(70), kIOReturnSuccess);
    // Brightness reads 4 bytes and pauses before it does.
    c->camera->setBrightness(-3);
    EXPECT_EQ(trace(*c->device),
              (std::vector<Req>{
                  {0x01, 0x04, 2, 2}, {0x81, 0x04, 2, 2}, {0x01, 0x02, 2, 2}, {0x81, 0x02, 2, 4}}));
    EXPECT_EQ(writes(*c->device)[1], (Bytes{0xFD, 0xFF}));
    EXPECT_EQ(c->rig.clock.pauses, std::vector<uint32_t>{50000});
    EXPECT_EQ(c->record().curGain, 70);
    EXPECT_EQ(c->record().curBrightness, -3);
    // A refused write is returned, and the read-back is still kept.
    c->device->stallSelector(2, 0x07);
    c->record().curSaturation = 9;
    EXPECT_EQ(c->camera->setSaturation(5), kIOUSBPipeStalled);
    EXPECT_EQ(c->record().curSaturation, 0);
}

TEST(Accessors, HueWorksInResolutionSteps) {
    auto c = openFixture("resolution.json");
    c->ready();
    EXPECT_EQ(c->camera->setHue(5), kIOReturnSuccess);
    EXPECT_EQ(writes(*c->device).front(), (Bytes{0xF4, 0x01}));  // 500
    EXPECT_EQ(c->record().curHue, 5);
    long hue = 0;
    c->device->setCurrentValue(2, 0x06, -1000);
    c->camera->queryHue(&hue);
    EXPECT_EQ(hue, -10);
    // A zero resolution is taken as 1 and written back as 1.
    c->record().resHue = 0;
    c->camera->queryHue(&hue);
    EXPECT_EQ(hue, -1000);
    EXPECT_EQ(c->record().resHue, 1);
}

TEST(Accessors, PanAndTiltAreWrittenTogetherInSteps) {
    auto c = openFixture("resolution.json");
    c->ready();  // pan 2 steps of 3600, tilt -2 steps of 1800
    EXPECT_EQ(c->camera->setPanAbsolute(-3), kIOReturnSuccess);
    EXPECT_EQ(writes(*c->device).front(),
              (Bytes{0xD0, 0xD5, 0xFF, 0xFF, 0xF0, 0xF1, 0xFF, 0xFF}));  // -10800, -3600
    EXPECT_EQ(c->record().curPanAbsolute, -3);
    long pan = 0;
    c->camera->queryPanAbsolute(&pan);
    EXPECT_EQ(pan, -10800);  // queries answer in device units

    // The write lands, the read-back fails: its status is returned and nothing is stored.
    c->device->vanishOnRequest(2);
    EXPECT_EQ(c->camera->setTiltAbsolute(4), kIOReturnNoDevice);
    EXPECT_EQ(c->record().curTiltAbsolute, -2);
}

TEST(Accessors, ZoomAndNoiseReductionStatuses) {
    auto c = openFixture("motor-ptz.json");
    c->ready();
    // A refused write with a good read-back: the read-back's status and value count.
    c->device->failNext(kIOUSBPipeStalled);
    EXPECT_EQ(c->camera->setZoomAbsolute(200), kIOReturnSuccess);
    EXPECT_EQ(c->record().curZoomAbsolute, 100);

    // Noise reduction does not exist over USB: nothing is sent.
    c->device->clearRequests();
    long value = 5;
    EXPECT_EQ(c->camera->queryNoiseReduction(&value), kIOReturnError);
    EXPECT_EQ(value, 0);
    c->record().curNoiseReduction = 3;
    EXPECT_EQ(c->camera->setNoiseReduction(2), kIOReturnError);
    EXPECT_EQ(c->record().curNoiseReduction, 0);
    EXPECT_EQ(c->device->requestCount(), 0u);
}

TEST(MotorSteps, RelativeMotorCameraStartsPausesAndStops) {
    auto c = openFixture("motor-ptz.json");
    c->ready();
    EXPECT_EQ(c->camera->setPTZ(1), kIOReturnSuccess);
    EXPECT_EQ(trace(*c->device), (std::vector<Req>{{0x01, 0x0E, 1, 4}, {0x01, 0x0E, 1, 4}}));
    EXPECT_EQ(writes(*c->device), (std::vector<Bytes>{{0, 0, 0xFF, 0}, {0, 0, 0, 0}}));
    EXPECT_EQ(c->rig.clock.pauses, std::vector<uint32_t>{40000});
    c->camera->setPTZ(3);
    EXPECT_EQ(c->rig.clock.pauses.back(), 20000u);
    // This camera knows no reset or other directions.
    c->device->clearRequests();
    EXPECT_EQ(c->camera->setPTZ(4), kIOReturnBadArgument);
    EXPECT_EQ(c->device->requestCount(), 0u);
}

TEST(MotorSteps, ExtensionUnitMotorStepsResetAndFocus) {
    auto c = openFixture("xu-focus.json");
    c->ready();
    c->camera->setPTZ(0);
    c->camera->setPTZ(2);
    c->camera->setPTZ(4);
    EXPECT_EQ(c->camera->setPTZ(5), kIOReturnSuccess);  // sends nothing
    // The motor focus is written without a read-back and answered from the record.
    EXPECT_EQ(c->camera->setFocusAbsolute(100), kIOReturnSuccess);
    long focus = 0;
    EXPECT_EQ(c->camera->queryFocusAbsolute(&focus), kIOReturnSuccess);
    EXPECT_EQ(focus, 100);
    EXPECT_EQ(trace(*c->device),
              (std::vector<Req>{
                  {0x01, 0x01, 9, 4}, {0x01, 0x01, 9, 4}, {0x01, 0x02, 9, 1}, {0x01, 0x03, 9, 2}}));
    EXPECT_EQ(writes(*c->device),
              (std::vector<Bytes>{
                  {0x00, 0x00, 0x80, 0xFF}, {0x80, 0x00, 0x00, 0x00}, {0x03}, {0x64, 0x00}}));
}

TEST(Led, TypeTwoDoubleWriteCamera) {
    auto c = openFixture("motor-ptz.json");  // LED unit 11, rate 3
    c->ready();
    EXPECT_EQ(c->camera->setLEDIndex(1), kIOReturnSuccess);
    EXPECT_EQ(trace(*c->device), (std::vector<Req>{{0x01, 0x09, 11, 5}, {0x01, 0x09, 11, 5}}));
    EXPECT_EQ(writes(*c->device),
              (std::vector<Bytes>{{0x01, 0x03, 0x01, 0x00, 0x03}, {0x01, 0x01, 0x01, 0x00, 0x03}}));
    EXPECT_EQ(c->rig.clock.pauses, std::vector<uint32_t>{100000});
    EXPECT_EQ(c->record().ledIndex, 1);

    c->device->clearRequests();
    c->camera->setLEDIndex(2);  // off: one write
    EXPECT_EQ(writes(*c->device), (std::vector<Bytes>{{0x01, 0x00, 0x01, 0x00, 0x03}}));
}

TEST(Led, ModesPerTypeAndModel) {
    auto type2 = openFixture("led-type2.json");  // unit 8, rate 5
    type2->ready();
    type2->camera->setLEDIndex(1);
    EXPECT_EQ(trace(*type2->device), (std::vector<Req>{{0x01, 0x09, 8, 5}}));
    EXPECT_EQ(writes(*type2->device).front(), (Bytes{0x01, 0x01, 0x01, 0x00, 0x05}));

    auto type1 = openFixture("led-type1.json");
    type1->ready();
    type1->camera->setLEDIndex(0);  // automatic
    EXPECT_EQ(trace(*type1->device), (std::vector<Req>{{0x01, 0x01, 13, 3}}));
    EXPECT_EQ(writes(*type1->device).front(), (Bytes{0x03, 0x00, 0x00}));
    EXPECT_EQ(type1->record().ledIndex, 0);

    auto none = openFixture("resolution.json");
    none->ready();
    EXPECT_EQ(none->camera->setLEDIndex(1), ioReturn(0xFFFFFFFF));
    EXPECT_EQ(none->device->requestCount(), 0u);
}

}  // namespace
}  // namespace orvella

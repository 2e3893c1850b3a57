// The whole-device fuzz target's binary layout: a fixture camera encoded and decoded again must
// behave exactly like the fixture, so that the seed corpus starts from real cameras; and any
// truncation of an input must decode.

#include <gtest/gtest.h>

#include <QJsonDocument>

#include "fuzz/DeviceLayout.h"
#include "fuzz/NewCamera.h"
#include "support/OpenedCamera.h"

namespace orvella::fuzz {
namespace {

std::shared_ptr<virtualcam::VirtualCamera> decoded(const std::vector<uint8_t>& bytes) {
    const DeviceScript script = decodeDevice(bytes.data(), bytes.size());
    QString error;
    auto camera = virtualcam::VirtualCamera::fromJson(script.json, &error);
    EXPECT_TRUE(camera) << error.toStdString();
    return camera;
}

std::vector<testing::Req> broughtUp(std::shared_ptr<virtualcam::VirtualCamera> device) {
    NewCamera run(std::move(device));
    run.bringUp();
    run.readEveryControl();
    run.writeEveryControl();
    return testing::trace(run.device());
}

// The statuses of the control requests a decoded device answered while it was brought up.
std::vector<IOReturn> bringUpStatuses(const std::vector<uint8_t>& bytes) {
    auto device = decoded(bytes);
    if (!device) return {};
    NewCamera run(device);
    run.bringUp();
    std::vector<IOReturn> statuses;
    for (const auto& r : device->requests())
        if (r.kind == virtualcam::RecordedRequest::Kind::Control) statuses.push_back(r.status);
    return statuses;
}

TEST(DeviceLayout, EncodedFixturesBehaveLikeTheFixtures) {
    for (const char* name : {"generic.json", "logitech-c270.json", "motor-ptz.json",
                             "exposure-knob.json", "xu-focus.json", "led-type2.json"}) {
        SCOPED_TRACE(name);
        auto fixture = testing::loadFixture(name);
        auto copy = decoded(encodeDevice(*testing::loadFixture(name)));
        ASSERT_TRUE(copy);
        EXPECT_EQ(copy->vendorID(), fixture->vendorID());
        EXPECT_EQ(copy->productID(), fixture->productID());
        const auto expected = broughtUp(fixture);
        EXPECT_GT(expected.size(), 50u);
        EXPECT_EQ(broughtUp(copy), expected);
    }
}

TEST(DeviceLayout, FaultsAndWritesSurviveTheRoundTrip) {
    auto fixture = testing::loadFixture("generic.json");
    std::vector<uint8_t> bytes = encodeDevice(*fixture, {{0, -5}, {255, 7}}, true);
    bytes[8] = 9;  // vanish at the ninth control request
    const DeviceScript script = decodeDevice(bytes.data(), bytes.size());
    ASSERT_EQ(script.writes.size(), 2u);
    EXPECT_EQ(script.writes[0].value, -5);
    EXPECT_EQ(script.writes[1].control, 255);
    EXPECT_TRUE(script.writeDefaults);
    EXPECT_EQ(script.definition()["faults"].toObject()["vanishOnRequest"].toInt(), 9);

    const auto statuses = bringUpStatuses(bytes);
    ASSERT_GE(statuses.size(), 9u);
    for (size_t i = 0; i < statuses.size(); ++i)
        EXPECT_EQ(statuses[i] == kIOReturnNoDevice, i >= 8) << "request " << i + 1;
}

TEST(DeviceLayout, FailingRequestsFailForTheirCountOnly) {
    std::vector<uint8_t> bytes = encodeDevice(*testing::loadFixture("generic.json"));
    bytes[10] = 3;  // from the third control request
    bytes[12] = 2;  // stall
    bytes[13] = 2;  // twice
    const auto statuses = bringUpStatuses(bytes);
    ASSERT_GT(statuses.size(), 5u);
    EXPECT_EQ(statuses[1], kIOReturnSuccess);
    EXPECT_EQ(statuses[2], kIOUSBPipeStalled);
    EXPECT_EQ(statuses[3], kIOUSBPipeStalled);
    EXPECT_EQ(statuses[4], kIOReturnSuccess);
}

TEST(DeviceLayout, HostileProductStringStaysOneString) {
    std::vector<uint8_t> bytes(14, 0);
    bytes.insert(bytes.end(), {7, 6, '"', '\\', 0, 0x0A, 0xE9, '}'});
    const QJsonObject definition = decodeDevice(bytes.data(), bytes.size()).definition();
    EXPECT_EQ(definition["productString"].toString(), QString::fromLatin1("\"\\\0\n\xE9}", 6));
}

TEST(DeviceLayout, EveryTruncationDecodes) {
    const std::vector<uint8_t> bytes = encodeDevice(*testing::loadFixture("motor-ptz.json"));
    for (size_t size = 0; size <= bytes.size(); size += 7)
        (void)decodeDevice(size ? bytes.data() : nullptr, size);
    // A section whose body is empty, the input that first tripped the decoder.
    const uint8_t emptyBody[] = {0x6d, 0x04, 0x21, 0x08, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x03, 0x00};
    (void)decodeDevice(emptyBody, sizeof emptyBody);
}

}  // namespace
}  // namespace orvella::fuzz

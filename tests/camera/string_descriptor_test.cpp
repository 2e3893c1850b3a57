// USB string descriptors read as UTF-8: lengths, types, capacity and the retry on a failed first
// read. Nothing may be read past what the device sent or written past the caller's buffer.

#include <gtest/gtest.h>

#include <cstring>
#include <deque>

#include "camera/QTCamera.h"
#include "platform/Log.h"
#include "support/VirtualRig.h"

namespace orvella {
namespace {

using testing::cameraFromJson;
using testing::VirtualRig;

struct StringRead {
    IOReturn status = kIOReturnSuccess;
    std::string text;
    std::string printed;
};

// Reads string `index` of a virtual camera whose raw string descriptors are given as hex.
StringRead readRaw(const std::string& rawHex, uint16_t bufferSize = 256, uint8_t index = 5) {
    VirtualRig rig;
    auto device = rig.add(cameraFromJson(R"({"vendorID": 1, "productID": 2, "rawStrings": {")" +
                                         std::to_string(index) + R"(": ")" + rawHex + R"("}})"));
    auto camera = rig.open(*device);
    log::ScopedCapture log;
    std::vector<char> buffer(bufferSize + 8, 'X');  // guard bytes past the buffer
    StringRead result;
    result.status =
        GetStringDescriptor(camera->devCamera.get(), index, buffer.data(), bufferSize, 0x0409);
    result.text = std::string(buffer.data(), strnlen(buffer.data(), bufferSize));
    for (size_t i = bufferSize; i < buffer.size(); ++i)
        EXPECT_EQ(buffer[i], 'X') << "wrote past the buffer";
    result.printed = log.printed();
    return result;
}

TEST(StringDescriptor, Utf16UnitsBecomeUtf8) {
    // "Café" and a unit needing three bytes (U+20AC) and a lone surrogate half encoded on its own.
    StringRead r = readRaw(
        "0c03"
        "4300"
        "6100"
        "6600"
        "e900"
        "ac20");
    EXPECT_EQ(r.status, kIOReturnSuccess);
    EXPECT_EQ(r.text, "Caf\xC3\xA9\xE2\x82\xAC");
    EXPECT_NE(r.printed.find("::GetStringDescriptor Got string descriptor 5, length 12, got 12\n"),
              std::string::npos);
    EXPECT_EQ(readRaw("0403"
                      "00d8")
                  .text,
              "\xED\xA0\x80");
}

TEST(StringDescriptor, OddLengthIsReadAsTheEvenLengthBelow) {
    StringRead r = readRaw(
        "0303"
        "41");
    EXPECT_EQ(r.status, kIOReturnSuccess);
    EXPECT_EQ(r.text, "");
    EXPECT_NE(
        r.printed.find("::GetStringDescriptor descriptor length (3) is odd, which is illegal"),
        std::string::npos);
    EXPECT_NE(
        r.printed.find("::GetStringDescriptor(2) descriptor length (3) is odd, which is illegal"),
        std::string::npos);

    EXPECT_EQ(readRaw("0703"
                      "4100"
                      "4200"
                      "43")
                  .text,
              "AB");
}

TEST(StringDescriptor, RefusesWhatIsNotAString) {
    StringRead r = readRaw(
        "0602"
        "4100"
        "4200");
    EXPECT_EQ(r.status, kIOReturnDeviceError);
    EXPECT_EQ(r.text, "");
    EXPECT_NE(r.printed.find(
                  "::GetStringDescriptor descriptor is not a string (2 \u2260 kUSBStringDesc)"),
              std::string::npos);

    StringRead empty = readRaw("0003");
    EXPECT_EQ(empty.status, kIOReturnSuccess);
    EXPECT_NE(empty.printed.find("::GetStringDescriptor (5)  Length was zero"), std::string::npos);
}

TEST(StringDescriptor, StopsAtCapacityAndAtAZeroUnit) {
    // Six bytes of buffer leave room for five bytes of text: "Caf" + "é" fits, "!" does not.
    EXPECT_EQ(readRaw("0c03"
                      "4300"
                      "6100"
                      "6600"
                      "e900"
                      "2100",
                      6)
                  .text,
              "Caf\xC3\xA9");
    // A two-byte character that would pass the capacity is left out whole.
    EXPECT_EQ(readRaw("0c03"
                      "4100"
                      "4200"
                      "4300"
                      "4400"
                      "e900",
                      6)
                  .text,
              "ABCD");
    EXPECT_EQ(readRaw("0a03"
                      "4100"
                      "0000"
                      "4200"
                      "4300")
                  .text,
              "A");
    // A long string into the smallest buffer.
    std::string longest = "fe03";
    for (int i = 0; i < 126; ++i)
        longest += "7a00";
    EXPECT_EQ(readRaw(longest, 6).text, "zzzzz");
    EXPECT_EQ(readRaw(longest, 256).text, std::string(126, 'z'));
}

TEST(StringDescriptor, ShortAnswersAreNeverReadPastTheirEnd) {
    // The descriptor claims 40 bytes but the device sends 6.
    StringRead r = readRaw(
        "2803"
        "4100"
        "4200");
    EXPECT_EQ(r.status, kIOReturnSuccess);
    EXPECT_EQ(r.text, "AB");
    EXPECT_NE(r.printed.find("length 40, got 6"), std::string::npos);
}

TEST(StringDescriptor, BufferBelowSixBytesIsABadArgument) {
    char buffer[5] = {'a', 'b', 'c', 'd', 'e'};
    VirtualRig rig;
    auto device =
        rig.add(cameraFromJson(R"({"vendorID": 1, "productID": 2, "productString": "Cam"})"));
    auto camera = rig.open(*device);
    EXPECT_EQ(GetStringDescriptor(camera->devCamera.get(), 2, buffer, 5, 0x0409),
              kIOReturnBadArgument);
    EXPECT_EQ(buffer[0], 'a');
}

// A device whose GET_DESCRIPTOR answers are scripted one by one.
struct ScriptedDevice final : platform::UsbDevice {
    struct Answer {
        IOReturn status;
        std::vector<uint8_t> bytes;
    };
    std::deque<Answer> answers;
    std::vector<uint16_t> lengthsAsked;

    IOReturn deviceRequestTO(platform::DeviceRequestTO& request) override {
        lengthsAsked.push_back(request.wLength);
        if (answers.empty()) return kIOUSBPipeStalled;
        Answer a = answers.front();
        answers.pop_front();
        const size_t n = std::min<size_t>(a.bytes.size(), request.wLength);
        if (n) std::memcpy(request.pData, a.bytes.data(), n);
        request.wLenDone = static_cast<uint32_t>(n);
        return a.status;
    }
    IOReturn getLocationID(uint32_t&) override { return 0; }
    IOReturn getDeviceVendor(uint16_t&) override { return 0; }
    IOReturn getDeviceProduct(uint16_t&) override { return 0; }
    IOReturn usbGetProductStringIndex(uint8_t&) override { return 0; }
    IOReturn getUSBDeviceInformation(uint32_t&) override { return 0; }
    IOReturn usbDeviceOpen() override { return 0; }
    IOReturn usbDeviceSuspend(bool) override { return 0; }
    IOReturn usbDeviceClose() override { return 0; }
    IOReturn createInterfaceIterator(
        std::vector<std::shared_ptr<platform::UsbInterfaceService>>&) override {
        return 0;
    }
};

TEST(StringDescriptor, FailedLengthReadIsRetriedWithTheMaximumLength) {
    const std::vector<uint8_t> hi{6, 3, 'H', 0, 'i', 0};
    ScriptedDevice device;
    device.answers = {{kIOUSBPipeStalled, {}}, {kIOReturnUnderrun, hi}, {kIOReturnSuccess, hi}};
    log::ScopedCapture log;
    char buffer[32];
    EXPECT_EQ(GetStringDescriptor(&device, 1, buffer, sizeof buffer, 0x0409), kIOReturnSuccess);
    EXPECT_STREQ(buffer, "Hi");
    EXPECT_EQ(device.lengthsAsked, (std::vector<uint16_t>{2, 256, 6}));
    EXPECT_NE(log.printed().find(
                  "reading string length returned error (0xe000404f) - retrying with max length"),
              std::string::npos);

    // An overrun on the first read is not an error.
    device.answers = {{kIOReturnOverrun, hi}, {kIOReturnSuccess, hi}};
    device.lengthsAsked.clear();
    EXPECT_EQ(GetStringDescriptor(&device, 1, buffer, sizeof buffer, 0x0409), kIOReturnSuccess);
    EXPECT_EQ(device.lengthsAsked, (std::vector<uint16_t>{2, 6}));

    // Both length reads fail: the second status comes back.
    device.answers = {{kIOUSBPipeStalled, {}}, {kIOReturnNotResponding, {}}};
    EXPECT_EQ(GetStringDescriptor(&device, 1, buffer, sizeof buffer, 0x0409),
              kIOReturnNotResponding);
    EXPECT_STREQ(buffer, "");

    // The whole-string read fails.
    log.clear();
    device.answers = {{kIOReturnSuccess, hi}, {kIOReturnTimeout, {}}};
    EXPECT_EQ(GetStringDescriptor(&device, 1, buffer, sizeof buffer, 0x0409), kIOReturnTimeout);
    EXPECT_NE(log.printed().find(
                  "::GetStringDescriptor reading entire string returned error (0xe00002d6)"),
              std::string::npos);
}

}  // namespace
}  // namespace orvella

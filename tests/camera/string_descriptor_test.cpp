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

// Reads string 5 of a virtual camera that sends `rawHex` for it.
StringRead readRaw(const std::string& rawHex, uint16_t bufferSize) {
    constexpr uint8_t index = 5;
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

TEST(StringDescriptor, ReadsWhatTheDeviceSentIntoWhatTheBufferHolds) {
    std::string longest = "fe03";
    for (int i = 0; i < 126; ++i)
        longest += "7a00";
    struct Case {
        const char* what;
        std::string raw;  // the descriptor as the device sends it, in hexadecimal
        uint16_t bufferSize;
        IOReturn status;
        std::string text;
        std::vector<const char*> printed = {};  // in the trace
    };
    const Case cases[] = {
        // "Café" and a unit needing three bytes (U+20AC).
        {"UTF-16 units",
         "0c03430061006600e900ac20",
         256,
         kIOReturnSuccess,
         "Caf\xC3\xA9\xE2\x82\xAC",
         {"::GetStringDescriptor Got string descriptor 5, length 12, got 12\n"}},
        {"a lone surrogate half, encoded on its own", "040300d8", 256, kIOReturnSuccess,
         "\xED\xA0\x80"},
        {"odd length",
         "030341",
         256,
         kIOReturnSuccess,
         "",
         {"::GetStringDescriptor descriptor length (3) is odd, which is illegal",
          "::GetStringDescriptor(2) descriptor length (3) is odd, which is illegal"}},
        {"odd length, read as the even length below", "07034100420043", 256, kIOReturnSuccess,
         "AB"},
        {"not a string",
         "060241004200",
         256,
         kIOReturnDeviceError,
         "",
         {"::GetStringDescriptor descriptor is not a string (2 \u2260 kUSBStringDesc)"}},
        {"zero length",
         "0003",
         256,
         kIOReturnSuccess,
         "",
         {"::GetStringDescriptor (5)  Length was zero"}},
        // Six bytes of buffer leave room for five bytes of text: "Caf" + "é" fits, "!" does not.
        {"capacity", "0c03430061006600e9002100", 6, kIOReturnSuccess, "Caf\xC3\xA9"},
        // A two-byte character that would pass the capacity is left out whole.
        {"character at the capacity", "0c034100420043004400e900", 6, kIOReturnSuccess, "ABCD"},
        {"a zero unit ends the text", "0a034100000042004300", 256, kIOReturnSuccess, "A"},
        {"long string, smallest buffer", longest, 6, kIOReturnSuccess, "zzzzz"},
        {"long string", longest, 256, kIOReturnSuccess, std::string(126, 'z')},
        // The descriptor claims 40 bytes but the device sends 6: nothing is read past them.
        {"short answer", "280341004200", 256, kIOReturnSuccess, "AB", {"length 40, got 6"}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        const StringRead r = readRaw(c.raw, c.bufferSize);
        EXPECT_EQ(r.status, c.status);
        EXPECT_EQ(r.text, c.text);
        for (const char* line : c.printed)
            EXPECT_NE(r.printed.find(line), std::string::npos) << line << " in\n" << r.printed;
    }
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
struct ScriptedDevice final : testing::StubUsbDevice {
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

// The walks over descriptors (what they yield, what they refuse and where they stop) and the one
// builder of class control requests.

#include <gtest/gtest.h>

#include "platform/UvcDescriptors.h"
#include "platform/UvcRequest.h"

namespace orvella::uvc {
namespace {

using List = std::vector<platform::Descriptor>;

struct Walked {
    std::vector<uint8_t> subtypes;
    std::vector<size_t> sizes;
    std::vector<size_t> refused;  // sizes of the refused descriptors
};

Walked walk(const List& list, Extent extent, size_t minimum) {
    Walked w;
    walkClassDescriptors(
        list, extent, minimum,
        [&](const DescriptorBytes& d) {
            w.subtypes.push_back(d.subtype());
            w.sizes.push_back(d.size());
        },
        [&](const DescriptorBytes& d) { w.refused.push_back(d.size()); });
    return w;
}

TEST(UvcDescriptorWalk, YieldsClassSpecificDescriptorsAndRefusesShortOnesOfAnyType) {
    const List list = {
        {},                                      // empty
        {0x02, 0x24},                            // no subtype
        {0x09, 0x04, 0x00, 0x00, 0x00},          // standard interface descriptor: passed over
        {0x05, 0x24, VS_INPUT_HEADER, 1, 0x81},  // yielded
        {0x02, 0x05, 0x01},                      // bLength 2: short under the declared extent
        {0x04, 0x24, VS_FORMAT_MJPEG, 1, 0xEE},  // bLength 4 of 5 bytes
    };
    const Walked declared = walk(list, Extent::Declared, kShortestDescriptor);
    EXPECT_EQ(declared.subtypes, (std::vector<uint8_t>{VS_INPUT_HEADER, VS_FORMAT_MJPEG}));
    EXPECT_EQ(declared.sizes, (std::vector<size_t>{5, 4}));
    EXPECT_EQ(declared.refused, (std::vector<size_t>{0, 2, 2}));

    // The device models count every byte they were given.
    const Walked received = walk(list, Extent::Received, 4);
    EXPECT_EQ(received.subtypes, (std::vector<uint8_t>{VS_INPUT_HEADER, VS_FORMAT_MJPEG}));
    EXPECT_EQ(received.sizes, (std::vector<size_t>{5, 5}));
    EXPECT_EQ(received.refused, (std::vector<size_t>{0, 2, 3}));
}

TEST(UvcDescriptorWalk, ReadsStayInsideTheDescriptorAndAFalseVisitorEndsTheWalk) {
    const platform::Descriptor cut = {0x06, 0x24, VS_FRAME_MJPEG, 0x01, 0x80, 0x02, 0x33, 0x44};
    const DescriptorBytes d(cut);
    EXPECT_EQ(d.size(), 6u);
    EXPECT_EQ(d.u16(4), 0x0280);
    EXPECT_EQ(d.u16(5), 0x0002);  // the byte after bLength reads as 0
    EXPECT_EQ(d.u32(100), 0u);
    EXPECT_EQ(DescriptorBytes(cut, Extent::Received).u16(6), 0x4433);

    const List list = {{0x04, 0x24, VS_INPUT_HEADER, 1},
                       {0x04, 0x24, VS_FORMAT_MJPEG, 1},
                       {0x04, 0x24, VS_FORMAT_MJPEG, 2}};
    std::vector<uint8_t> seen;
    walkClassDescriptors(list, Extent::Declared, 4, [&](const DescriptorBytes& x) {
        seen.push_back(x.u8(3));
        return x.subtype() != VS_FORMAT_MJPEG;
    });
    EXPECT_EQ(seen, (std::vector<uint8_t>{1, 1}));
}

TEST(UsbDescriptorBytesWalk, SplitsWholeDescriptorsAndStopsAtTheFirstBrokenOne) {
    auto walk = [](std::vector<uint8_t> bytes, size_t from, size_t stopAfter = 99) {
        std::vector<std::pair<uint8_t, size_t>> seen;  // type, size
        const auto broken =
            walkDescriptorBytes(bytes, from, [&](uint8_t type, std::span<const uint8_t> d) {
                seen.emplace_back(type, d.size());
                return seen.size() < stopAfter;
            });
        return std::pair{seen, broken};
    };
    using Seen = std::vector<std::pair<uint8_t, size_t>>;

    // Two whole descriptors and a last lone byte, which is passed over.
    auto [seen, broken] = walk({3, 0x24, 1, 2, 0x05, 9}, 0);
    EXPECT_EQ(seen, (Seen{{0x24, 3}, {0x05, 2}}));
    EXPECT_FALSE(broken);

    std::tie(seen, broken) = walk({0xFF, 0xFF, 3, 0x24, 1, 1, 0x24, 4, 0x04, 0}, 2);
    EXPECT_EQ(seen, (Seen{{0x24, 3}}));
    ASSERT_TRUE(broken);
    EXPECT_EQ(broken->at, 5u);  // bLength 1
    EXPECT_EQ(broken->length, 1u);

    std::tie(seen, broken) = walk({2, 0x04, 9, 0x24, 0, 0}, 0);
    EXPECT_EQ(seen, (Seen{{0x04, 2}}));
    ASSERT_TRUE(broken);
    EXPECT_EQ(broken->at, 2u);  // claims 9 bytes, 4 left
    EXPECT_EQ(broken->length, 9u);
    EXPECT_EQ(broken->left, 4u);

    // A visitor that has seen enough ends the walk before a broken descriptor is met.
    std::tie(seen, broken) = walk({2, 0x02, 2, 0x02, 0}, 0, 1);
    EXPECT_EQ(seen.size(), 1u);
    EXPECT_FALSE(broken);
}

TEST(UvcRequestBuilder, SetupFieldsOfSetAndGet) {
    uint8_t data[4] = {};
    const ControlAddress at{.unit = 0x0A, .selector = 0x02, .interfaceNumber = 3};
    const platform::ControlRequest set = setCurRequest(at, 2, data);
    EXPECT_EQ(set.bmRequestType, 0x21);
    EXPECT_EQ(set.bRequest, 0x01);
    EXPECT_EQ(set.wValue, 0x0200);
    EXPECT_EQ(set.wIndex, 0x0A03);
    EXPECT_EQ(set.wLength, 2);
    EXPECT_EQ(set.pData, data);
    EXPECT_EQ(set.wLenDone, 0u);

    const platform::ControlRequest get = getRequest(GET_DEF, at, 4, data);
    EXPECT_EQ(get.bmRequestType, 0xA1);
    EXPECT_EQ(get.bRequest, 0x87);
    EXPECT_EQ(get.wValue, 0x0200);
    EXPECT_EQ(get.wIndex, 0x0A03);
    EXPECT_EQ(get.wLength, 4);
}

}  // namespace
}  // namespace orvella::uvc

// The property-list reader's limits: nesting depth, unfolded values and file size are checked on
// the bytes before libplist parses them, exactly at the limits, and however the XML hides its
// tags; values nested too deep to write are left out.

#include <gtest/gtest.h>

#include "platform/Log.h"
#include "settings/PlistCodec.h"
#include "settings/PlistShape.h"
#include "tests/settings/NestedPlist.h"

namespace orvella {
namespace {

using settings::plist::kMaxDepth;
using settings::plist::parseDictionary;
using testing::nestedBinary;
using testing::nestedXml;

// Depth of the "k" value: 1 for an empty list, +1 per list around it.
int depthOf(const QVariant& value) {
    int depth = 0;
    for (QVariant at = value; at.typeId() == QMetaType::QVariantList; ++depth) {
        const QVariantList list = at.toList();
        if (list.isEmpty()) return depth + 1;
        at = list.front();
    }
    return depth;
}

TEST(PlistLimits, NestingIsReadUpToTheLimitAndRefusedBeyondInBothForms) {
    const QString deeper = QStringLiteral("it is nested deeper than %1 levels").arg(kMaxDepth);
    for (const bool binary : {false, true}) {
        SCOPED_TRACE(binary ? "binary" : "XML");
        auto make = [binary](int arrays) {
            return binary ? nestedBinary(arrays) : nestedXml(arrays);
        };
        // The root dictionary is the first level.
        QString why;
        const auto deepest = parseDictionary(make(kMaxDepth - 1), &why);
        ASSERT_TRUE(deepest) << why.toStdString();
        EXPECT_EQ(depthOf(deepest->value("k")), kMaxDepth - 1);

        for (const int arrays : {kMaxDepth, 10000, 30000}) {
            why.clear();
            EXPECT_FALSE(parseDictionary(make(arrays), &why)) << arrays;
            EXPECT_EQ(why, deeper) << arrays;
        }
    }
}

// Comments, CDATA sections, document types and quoted attribute values are read as libplist
// reads them: a closing tag inside one of them closes nothing, and one outside them counts.
TEST(PlistLimits, XmlCannotHideItsNestingFromTheLook) {
    const int over = kMaxDepth + 10;
    const QByteArray hidden[] = {
        "<!-- </array> -->",
        "<!DOCTYPE x [ <!ENTITY y \"</array>\"> ]>",
        "<![CDATA[</array>]]>",
        "<?pi \"?></array>\"?>",
    };
    for (const QByteArray& between : hidden) {
        SCOPED_TRACE(between.toStdString());
        QString why;
        EXPECT_FALSE(parseDictionary(nestedXml(over, between), &why));
        EXPECT_TRUE(why.contains("nested deeper")) << why.toStdString();
    }
    // An attribute may quote a '>': the tag still opens an array.
    QByteArray quoted = "<plist><dict><key>k</key>";
    for (int i = 0; i < over; ++i)
        quoted += "<array a=\"x>\">";
    QString why;
    EXPECT_FALSE(parseDictionary(quoted, &why));
    EXPECT_TRUE(why.contains("nested deeper")) << why.toStdString();

    // What only looks like tags is not counted: a file with many of them in a comment reads.
    const QByteArray commented = "<plist><dict><!-- " + QByteArray("<array>").repeated(2000) +
                                 " --><key>k</key><true/></dict></plist>";
    const auto read = parseDictionary(commented, &why);
    ASSERT_TRUE(read) << why.toStdString();
    EXPECT_EQ(read->value("k"), QVariant(true));
}

TEST(PlistLimits, SharedAndCyclicBinaryObjectsAreRefused) {
    // 40 levels, each array holding the next one twice: 2^40 values from a file of a few
    // hundred bytes, as libplist parses every reference anew.
    const QByteArray unfolding = nestedBinary(40, 2);
    ASSERT_LT(unfolding.size(), 1000);
    QString why;
    EXPECT_FALSE(parseDictionary(unfolding, &why));
    EXPECT_EQ(why, QStringLiteral("it holds more than %1 values").arg(settings::plist::kMaxValues));
    // Shared, but few values: read, with every reference unfolded.
    const auto few = parseDictionary(nestedBinary(4, 3), &why);
    ASSERT_TRUE(few) << why.toStdString();
    EXPECT_EQ(few->value("k").toList().size(), 3);

    // An array that holds itself.
    QByteArray cycle = nestedBinary(3);
    const qsizetype firstArray = cycle.indexOf('\xA1');
    ASSERT_GT(firstArray, 0);
    cycle[firstArray + 4] = 2;  // its reference: object 2, the array itself
    EXPECT_FALSE(parseDictionary(cycle, &why));
    EXPECT_EQ(why, "it is not a property list");
}

TEST(PlistLimits, HugeFilesAreRefusedUnread) {
    QByteArray huge = nestedXml(1);
    huge.insert(huge.indexOf("<key>"), QByteArray(settings::plist::kMaxBytes, ' '));
    QString why;
    EXPECT_FALSE(parseDictionary(huge, &why));
    EXPECT_EQ(why, "it is larger than 8 MB");
}

// Values built in the program can nest deeper than a file may; what is too deep is left out
// with a diagnostic, and what is written reads again.
TEST(PlistLimits, ValuesTooDeepToWriteAreLeftOutAndSaid) {
    QVariant deep = QVariantList{};
    for (int i = 0; i < kMaxDepth + 5; ++i)
        deep = QVariantList{deep};
    log::ScopedCapture log;
    const QByteArray xml = settings::plist::toXml({{"deep", deep}, {"kept", qint64{7}}});
    QString why;
    const auto read = parseDictionary(xml, &why);
    ASSERT_TRUE(read) << why.toStdString();
    EXPECT_EQ(read->value("kept"), QVariant(qint64{7}));
    EXPECT_EQ(depthOf(read->value("deep")), kMaxDepth - 1);
    ASSERT_FALSE(log.lines().empty());
    EXPECT_NE(log.lines()[0].find("nested deeper than 512"), std::string::npos);
    EXPECT_EQ(depthOf(settings::plist::normalized(deep)), kMaxDepth);
}

}  // namespace
}  // namespace orvella

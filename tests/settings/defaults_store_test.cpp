// The user-defaults store over its property-list file: registered defaults and typed reads,
// byte-for-byte survival, two stores on one file, corrupt files set aside, and a binary property
// list written by Python's plistlib.

#include <gtest/gtest.h>

#include <QDateTime>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>

#include <sys/stat.h>

#include "platform/Log.h"
#include "settings/DefaultsStore.h"
#include "settings/PlistCodec.h"
#include "support/VirtualRig.h"
#include "tests/settings/NestedPlist.h"
#include "tests/settings/SettingsRig.h"

namespace orvella {
namespace {

using settings::DefaultsStore;
using testing::ScratchPreferences;

QByteArray readAll(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void writeAll(const QString& path, const QByteArray& bytes) {
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    file.write(bytes);
}

QStringList corruptFiles(const QString& path) {
    const QFileInfo info(path);
    return info.dir().entryList({info.fileName() + ".corrupt-*"});
}

TEST(DefaultsStore, RegisteredDefaultsAndTypedReads) {
    ScratchPreferences prefs;
    DefaultsStore store(prefs.file());
    store.registerDefaults({{"Show", true}, {"Ticks", 4}, {"Table", QVariantMap{{"a", 1}}}});
    EXPECT_TRUE(store.boolForKey("Show"));
    EXPECT_EQ(store.integerForKey("Ticks"), 4);
    EXPECT_EQ(store.dictionaryForKey("Table").value("a"), QVariant(qint64{1}));
    // Registered defaults are not written: there is nothing to write.
    EXPECT_TRUE(store.synchronize());
    EXPECT_FALSE(QFile::exists(prefs.file()));

    store.setObject(QStringList{"x", "y"}, "List");
    store.setInteger(-7, "Ticks");
    store.setValue(QString("text"), "Name");
    store.setBool(false, "Show");
    store.setObject(2.75, "Real");
    store.setObject(QVariant(), "Gone");  // an invalid value sets nothing
    // Missing and mistyped keys read as the type's empty value; numbers read across types.
    EXPECT_EQ(store.integerForKey("Ticks"), -7);
    EXPECT_FALSE(store.boolForKey("Show"));
    EXPECT_EQ(store.integerForKey("Real"), 2);
    EXPECT_TRUE(store.boolForKey("Real"));
    EXPECT_EQ(store.integerForKey("Name"), 0);
    EXPECT_FALSE(store.boolForKey("Name"));
    EXPECT_TRUE(store.dictionaryForKey("Name").isEmpty());
    EXPECT_TRUE(store.arrayForKey("Ticks").isEmpty());
    EXPECT_TRUE(store.stringForKey("Ticks").isEmpty());
    EXPECT_EQ(store.arrayForKey("List"), QVariantList({"x", "y"}));
    EXPECT_EQ(store.integerForKey("Missing"), 0);
    EXPECT_FALSE(store.objectForKey("Gone").isValid());
    store.setObject(std::numeric_limits<double>::quiet_NaN(), "Real");
    EXPECT_EQ(store.integerForKey("Real"), 0);
    ASSERT_TRUE(store.synchronize());

    // A persistent value, even a mistyped one, hides the registered one; removing it shows it
    // again.
    DefaultsStore again(prefs.file());
    again.registerDefaults({{"Ticks", 4}, {"Name", 1}});
    EXPECT_EQ(again.integerForKey("Ticks"), -7);
    EXPECT_EQ(again.integerForKey("Name"), 0);
    again.removeObject("Ticks");
    EXPECT_EQ(again.integerForKey("Ticks"), 4);
    ASSERT_TRUE(again.synchronize());
    EXPECT_FALSE(DefaultsStore(prefs.file()).persistentDomain().contains("Ticks"));
}

TEST(DefaultsStore, AStoreWrittenAndReadAgainSurvivesByteForByte) {
    ScratchPreferences prefs;
    {
        DefaultsStore store(prefs.file());
        store.setObject(QVariantMap{{"UVC Camera VendorID_1133 ProductID_2085",
                                     QVariantList{QVariantMap{{"SettingsName", "Käse <&> ✓"},
                                                              {"Brightness", -64},
                                                              {"BrightnessDisabled", false}}}}},
                        "Settings");
        store.setObject(QDateTime::fromSecsSinceEpoch(1400000000, Qt::UTC), "When");
        store.setObject(QByteArray("\x00\xff", 2), "Bytes");
        store.setObject(0.1, "Real");
        store.setObject(QVariantList(), "Empty");
        ASSERT_TRUE(store.synchronize());
    }
    const QByteArray written = readAll(prefs.file());
    ASSERT_FALSE(written.isEmpty());

    DefaultsStore reread(prefs.file());
    EXPECT_EQ(settings::plist::toXml(reread.persistentDomain()), written);
    EXPECT_EQ(reread.dictionaryForKey("Settings")
                  .value("UVC Camera VendorID_1133 ProductID_2085")
                  .toList()
                  .value(0)
                  .toMap()
                  .value("SettingsName"),
              QVariant("Käse <&> ✓"));
    // A change undone before it is written leaves the file as it was.
    reread.setInteger(5, "Real");
    reread.setObject(0.1, "Real");
    ASSERT_TRUE(reread.synchronize());
    EXPECT_EQ(readAll(prefs.file()), written);
}

TEST(DefaultsStore, TwoStoresOnOneFileKeepEachOthersKeys) {
    ScratchPreferences prefs;
    DefaultsStore app(prefs.file());
    DefaultsStore tool(prefs.file());
    app.setInteger(1, "AppKey");
    tool.setInteger(2, "ToolKey");
    tool.setInteger(3, "Shared");
    ASSERT_TRUE(app.synchronize());
    ASSERT_TRUE(tool.synchronize());
    ASSERT_TRUE(app.synchronize());
    EXPECT_EQ(app.integerForKey("ToolKey"), 2);
    EXPECT_EQ(tool.integerForKey("AppKey"), 1);

    // A removal is a change like any other; keys nobody changed stay.
    app.removeObject("Shared");
    ASSERT_TRUE(app.synchronize());
    ASSERT_TRUE(tool.synchronize());
    EXPECT_FALSE(tool.objectForKey("Shared").isValid());
    EXPECT_EQ(tool.integerForKey("AppKey"), 1);

    // modify() reads the file's current content first: two appends to one list both stay,
    // although each store last saw the list before the other's append.
    auto append = [](DefaultsStore& store, int value) {
        return store.modify([value](settings::DefaultsDomain& domain) {
            QVariantList list = domain.arrayForKey("List");
            list << value;
            domain.setObject(list, "List");
        });
    };
    ASSERT_TRUE(append(app, 1));
    ASSERT_TRUE(append(tool, 2));
    ASSERT_TRUE(append(app, 3));
    EXPECT_EQ(DefaultsStore(prefs.file()).arrayForKey("List"), QVariantList({1, 2, 3}));
}

TEST(DefaultsStore, CorruptFilesAreSetAsideAndNothingGoodIsLost) {
    QByteArray good;
    const QVariantMap goodSettings{
        {"Model", QVariantList{QVariantMap{{"SettingsName", "A"}, {"Gain", qint64{3}}}}}};
    {
        ScratchPreferences prefs;
        DefaultsStore store(prefs.file());
        store.setObject(goodSettings, "Settings");
        store.synchronize();
        good = readAll(prefs.file());
    }
    const QByteArray binary =
        readAll(QString::fromStdString(testing::fixturePath("../plist/mac-preferences.plist")));
    ASSERT_FALSE(binary.isEmpty());
    const std::pair<const char*, QByteArray> damaged[] = {
        {"truncated", good.left(good.size() / 2)},
        {"garbage", QByteArray("\x01\x02 not a plist \xff", 17)},
        {"wrong root",
         "<?xml version=\"1.0\"?><plist version=\"1.0\"><array><integer>1</integer>"
         "</array></plist>"},
        {"truncated binary", binary.left(binary.size() - 20)},
        {"empty", QByteArray()},
        // Small files that nest deeper than libplist's recursion survives.
        {"10,000 levels of XML arrays", testing::nestedXml(10000)},
        {"30,000 levels of binary arrays", testing::nestedBinary(30000)},
    };
    for (const auto& [what, bytes] : damaged) {
        SCOPED_TRACE(what);
        ScratchPreferences prefs;
        writeAll(prefs.file(), bytes);

        // A new store starts empty and keeps the damaged file, untouched, beside it.
        log::ScopedCapture log;
        DefaultsStore fresh(prefs.file());
        EXPECT_TRUE(fresh.persistentDomain().isEmpty());
        const QStringList aside = corruptFiles(prefs.file());
        ASSERT_EQ(aside.size(), 1);
        const QString asidePath = QFileInfo(prefs.file()).dir().filePath(aside[0]);
        EXPECT_EQ(readAll(asidePath), bytes);
        ASSERT_EQ(log.lines().size(), 1u);
        EXPECT_NE(log.lines()[0].find(asidePath.toStdString()), std::string::npos)
            << log.lines()[0];
        EXPECT_FALSE(QFile::exists(prefs.file()));

        // A store that read good content before keeps it when the file goes bad under it.
        writeAll(prefs.file(), good);
        DefaultsStore running(prefs.file());
        writeAll(prefs.file(), bytes);
        running.setInteger(1, "New");
        ASSERT_TRUE(running.synchronize());
        DefaultsStore after(prefs.file());
        EXPECT_EQ(after.integerForKey("New"), 1);
        EXPECT_EQ(after.dictionaryForKey("Settings"), goodSettings);
        EXPECT_EQ(corruptFiles(prefs.file()).size(), 2);
    }
}

// Names planted where the store puts its files: a link at the set-aside name is neither followed
// nor replaced, the file is the user's alone, and a lock that cannot be taken is named with what
// to do, quickly.
TEST(DefaultsStore, PlantedLinksPrivateFilesAndLocksThatCannotBeTaken) {
    ScratchPreferences prefs;
    writeAll(prefs.file(), "not a property list");
    const QDir folder = QFileInfo(prefs.file()).dir();
    const QString victim = folder.filePath("victim");
    const QDateTime now = QDateTime::currentDateTimeUtc();
    for (int second = 0; second < 3; ++second)
        ASSERT_TRUE(QFile::link(victim, prefs.file() + ".corrupt-" +
                                            now.addSecs(second).toString("yyyyMMdd'T'HHmmss'Z'")));
    {
        log::ScopedCapture log;
        DefaultsStore store(prefs.file());
        EXPECT_FALSE(QFile::exists(victim));
        ASSERT_FALSE(store.setAsidePath().isEmpty());
        const QFileInfo aside(store.setAsidePath());
        EXPECT_FALSE(aside.isSymLink());
        EXPECT_EQ(readAll(aside.filePath()), "not a property list");
        EXPECT_EQ(aside.permissions() & 0x0077, 0);  // nobody but the owner

        store.setInteger(1, "Key");
        ASSERT_TRUE(store.synchronize());
        struct stat info {};
        ASSERT_EQ(::stat(QFile::encodeName(prefs.file()).constData(), &info), 0);
        EXPECT_EQ(info.st_mode & 0777, 0600u);
    }

    // A folder where the lock file goes is said at once; a lock of another host's process after
    // the wait for it.
    const QString lock = prefs.file() + ".lock";
    DefaultsStore store(prefs.file());
    ASSERT_TRUE(QDir().mkdir(lock));
    store.setInteger(2, "Key");
    QElapsedTimer timer;
    timer.start();
    EXPECT_FALSE(store.synchronize());
    EXPECT_LT(timer.elapsed(), 5000);
    EXPECT_TRUE(store.problem().contains(lock + " is a folder")) << store.problem().toStdString();
    EXPECT_TRUE(store.hasPendingChanges());
    ASSERT_TRUE(QDir().rmdir(lock));
    writeAll(lock, "4242\norvellactl\nfar-away-host\n");
    store.setInteger(3, "Key");
    EXPECT_FALSE(store.synchronize());
    EXPECT_TRUE(store.problem().contains("far-away-host")) << store.problem().toStdString();
    EXPECT_TRUE(store.problem().contains("remove the lock file"));
    QFile::remove(lock);
    EXPECT_TRUE(store.synchronize());
    EXPECT_TRUE(store.problem().isEmpty());
    EXPECT_EQ(DefaultsStore(prefs.file()).integerForKey("Key"), 3);
}

// The fixture and the script that made it are in tests/fixtures/plist/.
TEST(DefaultsStore, ReadsABinaryPropertyListMadeByPlistlib) {
    ScratchPreferences prefs;
    const QByteArray binary =
        readAll(QString::fromStdString(testing::fixturePath("../plist/mac-preferences.plist")));
    writeAll(prefs.file(), binary);
    DefaultsStore store(prefs.file());

    const QString model = "UVC Camera VendorID_1133 ProductID_2085";
    const QVariantMap expected{
        {"Settings",
         QVariantMap{{model, QVariantList{QVariantMap{{"SettingsName", "AppDefault"},
                                                      {"AppDefault", true},
                                                      {"AutoExposureMode", qint64{1}},
                                                      {"Brightness", qint64{-12}},
                                                      {"BrightnessDisabled", false},
                                                      {"PanTiltAbsoluteDisabled", false},
                                                      {"PanAbsolute", qint64{-36000}},
                                                      {"TiltAbsolute", qint64{7200}}},
                                          QVariantMap{{"SettingsName", QString("Evening \u263e")},
                                                      {"Contrast", qint64{40}},
                                                      {"ContrastDisabled", false},
                                                      {"LEDType", qint64{2}},
                                                      {"LEDIndex", qint64{1}}}}},
                     {"Apple Camera VendorID_0x106B ProductID_0x8507", QVariantList()}}},
        {"Load at Start", QVariantMap{{model, qint64{2}}}},
        {"Display Value", QVariantMap{{"3", true}, {"14", false}}},
        {"Black and White Menu Icon", qint64{0}},
        {"Show/Hide Control Panel", true},
        {"UpdateSlider", qint64{4}},
        {"Real", 0.25},
        {"Date", QDateTime(QDate(2013, 5, 1), QTime(12, 30, 15), Qt::UTC)},
        {"Data", QByteArray("\x00\x01\xfe\xff", 4)},
        {"Large", qint64{1} << 40},
        {"Negative", -(qint64{1} << 40)},
    };
    EXPECT_EQ(store.persistentDomain(), expected);

    // Written back (as XML) and read again, it is still the same.
    store.setInteger(1, "Black and White Menu Icon");
    store.setInteger(0, "Black and White Menu Icon");
    store.setBool(true, "Touched");
    ASSERT_TRUE(store.synchronize());
    EXPECT_TRUE(readAll(prefs.file()).startsWith("<?xml"));
    QVariantMap rewritten = DefaultsStore(prefs.file()).persistentDomain();
    rewritten.remove("Touched");
    EXPECT_EQ(rewritten, expected);
}

}  // namespace
}  // namespace orvella

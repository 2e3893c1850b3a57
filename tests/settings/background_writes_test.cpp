// The defaults store with its writer thread: changes made on the owner thread are not written
// there, changes that arrive while a write waits go out together with the last value of each key,
// flushing and the end of the store lose nothing, two stores (two processes) keep each other's
// keys, and a write that fails keeps the changes and says why. Only Qt Core and the store, so
// that the file also builds alone under ThreadSanitizer.

#include <gtest/gtest.h>

#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QLockFile>
#include <QTemporaryDir>

#include <sys/stat.h>

#include <algorithm>

#include "platform/Log.h"
#include "settings/DefaultsStore.h"

namespace orvella {
namespace {

using settings::DefaultsDomain;
using settings::DefaultsStore;

struct Scratch {
    QTemporaryDir dir;
    QString file() const { return dir.filePath("orvella/org.orvella.Orvella.plist"); }
};

// The file's identity and time: every write replaces it.
std::pair<ino_t, long> stampOf(const QString& path) {
    struct stat info {};
    if (::stat(QFile::encodeName(path).constData(), &info) != 0) return {0, 0};
    return {info.st_ino, info.st_mtim.tv_nsec};
}

bool append(DefaultsStore& store, const QString& key, int value) {
    return store.modify([key, value](DefaultsDomain& domain) {
        QVariantList list = domain.arrayForKey(key);
        list << value;
        domain.setObject(list, key);
    });
}

QVariantList range(int from, int to) {
    QVariantList list;
    for (int i = from; i < to; ++i)
        list << i;
    return list;
}

// While another process holds the lock (a slow write), the owner thread goes on changing values
// at once; when the lock is free, everything goes out in a few writes, each key with its last
// value and the list with every step in order.
TEST(BackgroundWrites, ChangesDuringASlowWriteGoOutTogether) {
    Scratch prefs;
    DefaultsStore store(prefs.file());
    store.enableBackgroundWrites();
    store.setInteger(1, "Before");
    ASSERT_TRUE(store.flush());
    const std::uint64_t writesBefore = store.writeCount();
    const auto stampBefore = stampOf(prefs.file());

    QLockFile held(prefs.file() + ".lock");
    ASSERT_TRUE(held.tryLock(1000));
    QElapsedTimer timer;
    timer.start();
    for (int i = 0; i < 200; ++i) {
        store.setInteger(i, "Slider");
        store.setInteger(i, QStringLiteral("Key%1").arg(i % 5));
        ASSERT_TRUE(append(store, "Steps", i));
    }
    // Neither the changes nor modify waited for the lock: the file is not theirs to write.
    EXPECT_LT(timer.elapsed(), 2000);
    EXPECT_EQ(stampOf(prefs.file()), stampBefore);
    EXPECT_EQ(store.writeCount(), writesBefore);
    // Reads see every change at once.
    EXPECT_EQ(store.integerForKey("Slider"), 199);
    EXPECT_EQ(store.arrayForKey("Steps"), range(0, 200));
    EXPECT_TRUE(store.hasPendingChanges());

    held.unlock();
    ASSERT_TRUE(store.flush());
    EXPECT_FALSE(store.hasPendingChanges());
    EXPECT_LE(store.writeCount() - writesBefore, 3u);
    const DefaultsStore reread(prefs.file());
    EXPECT_EQ(reread.integerForKey("Before"), 1);
    EXPECT_EQ(reread.integerForKey("Slider"), 199);
    for (int key = 0; key < 5; ++key)
        EXPECT_EQ(reread.integerForKey(QStringLiteral("Key%1").arg(key)), 195 + key);
    EXPECT_EQ(reread.arrayForKey("Steps"), range(0, 200));
    EXPECT_EQ(store.persistentDomain(), reread.persistentDomain());
}

// A steady stream of changes (a slider dragged at 60 Hz) is written a few times, not once per
// change; the store's end writes what is left without a flush.
TEST(BackgroundWrites, AStreamOfChangesIsWrittenAtTheIntervalAndNothingIsLostAtTheEnd) {
    Scratch prefs;
    std::uint64_t writes = 0;
    {
        DefaultsStore store(prefs.file());
        store.enableBackgroundWrites(std::chrono::milliseconds(50));
        for (int i = 0; i < 30; ++i) {
            store.setInteger(i, "Slider");
            std::this_thread::sleep_for(std::chrono::milliseconds(16));
        }
        store.setInteger(1000, "Last");
        writes = store.writeCount();
    }
    // 30 changes over about half a second: about one write per 50 ms, never one per change.
    EXPECT_GE(writes, 2u);
    EXPECT_LE(writes, 20u);
    const DefaultsStore reread(prefs.file());
    EXPECT_EQ(reread.integerForKey("Slider"), 29);
    EXPECT_EQ(reread.integerForKey("Last"), 1000);
}

// Two stores with writer threads on one file (the application and another process): keys set by
// either stay, appends by both to one list all stay, each store's in its order, and each store
// takes the other's writes in (telling its handler).
TEST(BackgroundWrites, TwoStoresOnOneFileKeepEachOthersKeys) {
    Scratch prefs;
    DefaultsStore app(prefs.file());
    DefaultsStore tool(prefs.file());
    app.enableBackgroundWrites(std::chrono::milliseconds(5));
    tool.enableBackgroundWrites(std::chrono::milliseconds(5));
    int heard = 0;
    app.setChangedElsewhereHandler([&heard] { ++heard; });
    for (int i = 0; i < 60; ++i) {
        app.setInteger(i, QStringLiteral("App%1").arg(i % 6));
        ASSERT_TRUE(append(app, "List", i));
        tool.setInteger(i, QStringLiteral("Tool%1").arg(i % 6));
        ASSERT_TRUE(append(tool, "List", 1000 + i));
        if (i % 10 == 0) std::this_thread::sleep_for(std::chrono::milliseconds(3));
    }
    // One writer without a thread of its own, as orvellactl is.
    {
        DefaultsStore ctl(prefs.file());
        ASSERT_TRUE(append(ctl, "List", 5000));
    }
    ASSERT_TRUE(tool.flush());
    ASSERT_TRUE(app.flush());
    ASSERT_TRUE(tool.flush());

    const DefaultsStore reread(prefs.file());
    for (int key = 0; key < 6; ++key) {
        EXPECT_EQ(reread.integerForKey(QStringLiteral("App%1").arg(key)), 54 + key);
        EXPECT_EQ(reread.integerForKey(QStringLiteral("Tool%1").arg(key)), 54 + key);
    }
    const QVariantList list = reread.arrayForKey("List");
    EXPECT_EQ(list.size(), 121);
    QVariantList mine, theirs;
    for (const QVariant& value : list)
        if (value.toInt() < 1000)
            mine << value;
        else if (value.toInt() < 2000)
            theirs << value;
    EXPECT_EQ(mine, range(0, 60));
    EXPECT_EQ(theirs, range(1000, 1060));
    EXPECT_TRUE(list.contains(5000));
    EXPECT_EQ(app.persistentDomain(), reread.persistentDomain());
    EXPECT_EQ(tool.persistentDomain(), reread.persistentDomain());
    EXPECT_GT(heard, 0);
}

// A write that cannot happen (here a folder where the lock file goes, which also fails for root)
// keeps every change, plain and modify's, logs why on the owner thread, and the next write after
// the cause is gone carries them all.
TEST(BackgroundWrites, AFailedWriteKeepsTheChangesForTheNextOne) {
    Scratch prefs;
    DefaultsStore store(prefs.file());
    store.enableBackgroundWrites();
    store.setInteger(1, "Kept");
    ASSERT_TRUE(store.flush());

    const QString lock = prefs.file() + ".lock";
    ASSERT_TRUE(QDir().mkdir(lock));
    log::ScopedCapture log;
    store.setInteger(2, "Kept");
    ASSERT_TRUE(append(store, "List", 1));
    EXPECT_FALSE(store.flush());
    EXPECT_TRUE(store.problem().contains(lock + " is a folder")) << store.problem().toStdString();
    EXPECT_TRUE(store.hasPendingChanges());
    ASSERT_FALSE(log.lines().empty());
    EXPECT_NE(log.lines().back().find("changes are kept for later"), std::string::npos);
    EXPECT_EQ(DefaultsStore(prefs.file()).integerForKey("Kept"), 1);
    // What the owner reads is still its own.
    EXPECT_EQ(store.integerForKey("Kept"), 2);

    // Another process writes meanwhile (after the folder is gone); the kept changes go over it.
    ASSERT_TRUE(QDir().rmdir(lock));
    {
        DefaultsStore other(prefs.file());
        ASSERT_TRUE(append(other, "List", 0));
        other.setInteger(7, "Other");
        ASSERT_TRUE(other.synchronize());
    }
    ASSERT_TRUE(append(store, "List", 2));
    ASSERT_TRUE(store.flush());
    EXPECT_TRUE(store.problem().isEmpty());
    EXPECT_FALSE(store.hasPendingChanges());
    const DefaultsStore reread(prefs.file());
    EXPECT_EQ(reread.integerForKey("Kept"), 2);
    EXPECT_EQ(reread.integerForKey("Other"), 7);
    EXPECT_EQ(reread.arrayForKey("List"), QVariantList({0, 1, 2}));
}

}  // namespace
}  // namespace orvella

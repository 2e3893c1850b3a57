// orvellactl and twin cameras: `list` names them apart as the application does, and a camera
// argument takes those names and the names the user gave in the application's preferences.

#include <gtest/gtest.h>

#include <QTemporaryDir>

#include "platform/CaptureIdentity.h"
#include "settings/CameraNames.h"
#include "settings/DefaultsStore.h"
#include "support/Orvellactl.h"
#include "support/VirtualRig.h"

namespace orvella {
namespace {

QString secondID() {
    return platform::usbCaptureUniqueID(0x14200000, 0x1d6b, 0x0102);
}

struct Twins {
    QTemporaryDir home;
    QStringList cameras;

    // Two cameras of one model, at 0x14100000 (port 20-1) and 0x14200000 (port 20-2); `serial`
    // goes to the second.
    explicit Twins(const char* serial = nullptr) {
        for (const char* location : {"0x14100000", "0x14200000"}) {
            QByteArray json = testing::genericAt(location);
            if (serial && cameras.size() == 2)
                json.replace("\"productString\"",
                             QByteArray("\"serialNumber\": \"") + serial + "\", \"productString\"");
            QFile file(home.filePath(QStringLiteral("camera%1.json").arg(cameras.size())));
            EXPECT_TRUE(file.open(QIODevice::WriteOnly));
            file.write(json);
            cameras << "--virtual" << file.fileName();
        }
    }
    QString prefsFile() const { return home.filePath("orvella/org.orvella.Orvella.plist"); }
    testing::CtlRun operator()(const QStringList& arguments) const {
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert("XDG_CONFIG_HOME", home.path());
        return testing::runOrvellactl(cameras + arguments, env);
    }
    QStringList names() const {
        QStringList names;
        const testing::CtlRun list = (*this)({"list"});
        EXPECT_EQ(list.exitCode, 0) << list.err.toStdString();
        for (const QString& line : list.out.trimmed().split('\n'))
            names << line.section('\t', 1, 1);
        return names;
    }
};

TEST(OrvellaCtlNames, TwinsAreListedAndFoundByPortOrSerial) {
    const Twins byPort;
    EXPECT_EQ(byPort.names(), QStringList({"Orvella Virtual Camera (port 20-1)",
                                           "Orvella Virtual Camera (port 20-2)"}));
    const testing::CtlRun got = byPort({"show", "port 20-2", "--json"});
    ASSERT_EQ(got.exitCode, 0) << got.err.toStdString();
    EXPECT_TRUE(got.out.contains(secondID())) << got.out.toStdString();
    testing::expectAnswer({{"show", "Virtual Camera"}, 1, "matches 2"},
                          byPort({"show", "Virtual Camera"}));

    const Twins bySerial("SN-0042");
    EXPECT_EQ(bySerial.names(), QStringList({"Orvella Virtual Camera (port 20-1)",
                                             "Orvella Virtual Camera (serial SN-0042)"}));
    EXPECT_EQ(bySerial({"show", "sn-0042"}).exitCode, 0);
}

TEST(OrvellaCtlNames, TheNameGivenInTheApplicationIsListedAndTaken) {
    const Twins twins;
    {
        settings::DefaultsStore store(twins.prefsFile());
        settings::setUserCameraName(store, secondID(), "Door");
        ASSERT_TRUE(store.synchronize());
    }
    EXPECT_EQ(twins.names(), QStringList({"Orvella Virtual Camera (port 20-1)", "Door"}));
    const testing::CtlRun got = twins({"show", "door", "--json"});
    ASSERT_EQ(got.exitCode, 0) << got.err.toStdString();
    EXPECT_TRUE(got.out.contains(secondID())) << got.out.toStdString();
    // Reading the names leaves the file as it was.
    EXPECT_EQ(settings::userCameraNamesInFile(twins.prefsFile()).size(), 1);
}

}  // namespace
}  // namespace orvella

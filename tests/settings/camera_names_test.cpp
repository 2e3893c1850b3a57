// The names cameras go by: twins told apart by serial, port or place, the user's names over them,
// the names as camera arguments, and the user's names in the preferences.

#include <gtest/gtest.h>

#include <QFile>
#include <QTemporaryDir>

#include "platform/linux/UsbDescriptors.h"
#include "settings/CameraNames.h"
#include "settings/DefaultsStore.h"

namespace orvella {
namespace {

using settings::CameraIdentity;
using settings::cameraNamed;
using settings::cameraNames;

TEST(CameraNames, PortsReadBackTheLocationsTheLinuxBackendBuilds) {
    using linuxplatform::locationIDFor;
    EXPECT_EQ(settings::portOfLocation(locationIDFor(1, "2")), "1-2");
    EXPECT_EQ(settings::portOfLocation(locationIDFor(3, "1.4.2")), "3-1.4.2");
    EXPECT_EQ(settings::portOfLocation(0x14100000), "20-1");
    EXPECT_EQ(settings::portOfLocation(0), "");
    EXPECT_EQ(settings::portOfLocation(0x01000000), "");  // a bus without a port
}

TEST(CameraNames, OnlyTwinsAreToldApartBySerialElsePortElsePlace) {
    const std::vector<CameraIdentity> cameras{
        {"a", "C270", "", 0x01200000},      // port 1-2
        {"b", "Brio", "", 0x01300000},      // alone
        {"c", "C270", "", 0x01210000},      // port 1-2.1
        {"d", "C270", "SN42", 0x01200000},  // shares a's port, has a serial
        {"e", "Cam", "", 0},                // twins with nothing but their place
        {"f", "Cam", "X", 0},               // with the same serial as g
        {"g", "Cam", "X", 0},
    };
    EXPECT_EQ(cameraNames(cameras, {}),
              QStringList({"C270 (1)", "Brio", "C270 (port 1-2.1)", "C270 (serial SN42)", "Cam (1)",
                           "Cam (2)", "Cam (3)"}));
    // A twin unplugged leaves the other its plain name.
    EXPECT_EQ(cameraNames({cameras[0], cameras[1]}, {}), QStringList({"C270", "Brio"}));
}

TEST(CameraNames, TheUsersNamesComeFirstAndBlankOnesCountAsNone) {
    const std::vector<CameraIdentity> cameras{
        {"a", "C270", "", 0x01200000}, {"b", "C270", "", 0x01300000}, {"c", "Brio", "", 0}};
    const QVariantMap given{{"a", " Desk "}, {"c", "  "}, {"gone", "Old"}};
    EXPECT_EQ(cameraNames(cameras, given), QStringList({"Desk", "C270 (port 1-3)", "Brio"}));
}

TEST(CameraNames, ArgumentsMatchAWholeNameFirstThenAPartOfOne) {
    const QStringList names{"C270 (port 1-2)", "C270 (port 1-2.1)", "Desk", "Desk"};
    const QStringList display{"C270", "C270", "Brio", "Brio 4K"};
    int matches = -1;
    EXPECT_EQ(cameraNamed(names, display, "c270 (PORT 1-2)", &matches), 0);
    EXPECT_EQ(matches, 1);
    EXPECT_EQ(cameraNamed(names, display, "1-2.1", &matches), 1);
    EXPECT_FALSE(cameraNamed(names, display, "C270", &matches));
    EXPECT_EQ(matches, 2);
    EXPECT_FALSE(cameraNamed(names, display, "desk", &matches));  // two cameras named alike
    EXPECT_EQ(matches, 2);
    EXPECT_EQ(cameraNamed(names, display, "4k", &matches), 3);  // a part of the display name
    EXPECT_FALSE(cameraNamed(names, display, "none", &matches));
    EXPECT_EQ(matches, 0);
    EXPECT_FALSE(cameraNamed(names, display, "", &matches));
}

TEST(CameraNames, TheUsersNamesAreKeptByUniqueIdentifier) {
    QTemporaryDir home;
    const QString path = home.filePath("org.orvella.Orvella.plist");
    {
        settings::DefaultsStore store(path);
        settings::setUserCameraName(store, "a", " Desk ");
        settings::setUserCameraName(store, "b", "Door");
        settings::setUserCameraName(store, "b", " ");  // removes it
        settings::setUserCameraName(store, "", "Nobody");
        EXPECT_EQ(settings::userCameraNames(store), QVariantMap({{"a", "Desk"}}));
        ASSERT_TRUE(store.synchronize());
    }
    EXPECT_EQ(settings::userCameraNamesInFile(path), QVariantMap({{"a", "Desk"}}));
    EXPECT_TRUE(settings::userCameraNamesInFile(home.filePath("missing.plist")).isEmpty());

    // A file that does not parse gives no names and says why, and stays where it is.
    QFile broken(home.filePath("broken.plist"));
    ASSERT_TRUE(broken.open(QIODevice::WriteOnly));
    broken.write("not a property list");
    broken.close();
    QString why;
    EXPECT_TRUE(settings::userCameraNamesInFile(broken.fileName(), &why).isEmpty());
    EXPECT_FALSE(why.isEmpty());
    EXPECT_TRUE(broken.exists());
}

}  // namespace
}  // namespace orvella

// Twin cameras in the controller: two cameras of one model are named apart alike in the camera
// pop-up, the tray menu and the bus's list; the rename sheet gives one a name of the user's that
// all of them, the preferences and orvellactl take, and an empty name gives the derived one back.

#include <QTemporaryDir>

#include "settings/CameraNames.h"
#include "settings/DefaultsKeys.h"
#include "tests/controller/ControllerRig.h"

namespace orvella::app {
namespace {

using namespace rig;

struct Twins : Controller {
    QStringList popUpNames() {
        QStringList names;
        for (int i = 0; i < ui().mPopCamera->count(); ++i)
            names << ui().mPopCamera->itemText(i);
        return names;
    }
    QStringList menuNames() {
        settle();
        QStringList names;
        for (QAction* item : orvella->statusMenu().cameraItems())
            names << item->text().trimmed();  // the menu indents its cameras
        return names;
    }
    QStringList busNames() {
        QStringList names;
        for (const ScriptingTarget::Camera& camera : orvella->cameras())
            names << camera.name;
        return names;
    }
    void expectNames(const QStringList& names) {
        EXPECT_EQ(popUpNames(), names);
        EXPECT_EQ(menuNames(), names);
        EXPECT_EQ(busNames(), names);
    }
    void rename(const QString& typed) {
        orvella->clickRenameCamera();
        auto* dialog = sheetNamed<QInputDialog>("RenameCamera");
        ASSERT_TRUE(dialog);
        dialog->setTextValue(typed);
        dialog->accept();
        settle();
    }
};

TEST_F(Twins, AreNamedApartEverywhereAndTakeTheUsersNameFromTheRenameSheet) {
    plug(fixture("generic.json"));  // 0x14100000: bus 20, port 1
    std::shared_ptr<virtualcam::VirtualCaptureDevice> secondDevice;
    plug(genericAt("0x14200000"), &secondDevice);
    start();
    ASSERT_EQ(cameras.size(), 2);
    expectNames({"Orvella Virtual Camera (port 20-1)", "Orvella Virtual Camera (port 20-2)"});

    // The sheet works on the current camera and starts from the name it goes by.
    orvella->statusMenu().cameraItems().at(1)->trigger();
    EXPECT_TRUE(ui().mBtnRenameCamera->isEnabled());
    orvella->clickRenameCamera();
    auto* dialog = sheetNamed<QInputDialog>("RenameCamera");
    ASSERT_TRUE(dialog);
    EXPECT_EQ(dialog->windowModality(), Qt::WindowModal);
    EXPECT_EQ(dialog->parentWidget(), orvella->panel().window());
    EXPECT_EQ(dialog->textValue(), "Orvella Virtual Camera (port 20-2)");
    EXPECT_TRUE(dialog->labelText().contains("Orvella Virtual Camera (port 20-2)"));
    dialog->reject();
    settle();
    expectNames({"Orvella Virtual Camera (port 20-1)", "Orvella Virtual Camera (port 20-2)"});

    rename("  Door ");
    expectNames({"Orvella Virtual Camera (port 20-1)", "Door"});
    const QString doorID = orvella->qtCamera()->camera().uniqueID();
    EXPECT_EQ(defaults->dictionaryForKey(settings::keys::kCameraNames),
              QVariantMap({{doorID, "Door"}}));

    // orvellactl reads the name from the same file and takes it as the camera argument.
    ASSERT_TRUE(defaults->synchronize());
    QTemporaryDir dir;
    QFile second(dir.filePath("second.json"));
    ASSERT_TRUE(second.open(QIODevice::WriteOnly));
    second.write(genericAt("0x14200000"));
    second.close();
    const QStringList both{"--virtual", testing::cameraFixture("generic.json"), "--virtual",
                           second.fileName()};
    EXPECT_TRUE(orvellactl(both + QStringList{"list"}).out.contains("2\tDoor\t" + doorID));
    EXPECT_TRUE(orvellactl(both + QStringList{"show", "door", "--json"}).out.contains(doorID));

    // The name survives a restart; the other twin, unplugged, leaves it alone.
    stop();
    cameras.setUserNames({});
    start();
    platform.removeCamera(secondDevice);
    settle();
    expectNames({"Orvella Virtual Camera"});
    plug(genericAt("0x14200000"));
    expectNames({"Orvella Virtual Camera (port 20-1)", "Door"});

    // The derived name typed back, or an empty one, removes the user's name.
    orvella->statusMenu().cameraItems().at(1)->trigger();
    rename("Orvella Virtual Camera (port 20-2)");
    expectNames({"Orvella Virtual Camera (port 20-1)", "Orvella Virtual Camera (port 20-2)"});
    EXPECT_FALSE(defaults->objectForKey(settings::keys::kCameraNames).isValid());
    rename("Desk");
    rename("");
    expectNames({"Orvella Virtual Camera (port 20-1)", "Orvella Virtual Camera (port 20-2)"});
}

}  // namespace
}  // namespace orvella::app

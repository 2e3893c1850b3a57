// orvella: the desktop application. Parses the command line, keeps one running instance per user,
// assembles the platform (the machine's cameras or virtual ones), lists the cameras and shows the
// tray icon with its menu.

#include <QApplication>
#include <QDBusConnection>
#include <cstdio>

#include "app/AppPlatform.h"
#include "app/CameraDiscovery.h"
#include "app/CameraList.h"
#include "app/CommandLine.h"
#include "app/OrvellaBus.h"
#include "app/QuitOnSignal.h"
#include "platform/Log.h"
#include "ui/StatusBar.h"
#include "ui/StatusMenu.h"

namespace {

using namespace orvella;

// Stands in for the controller until it exists: cameras are listed and their list answers the
// bus; there is no panel and no profile store yet.
class Application final : public app::CameraDiscoveryDelegate, public app::ScriptingTarget {
  public:
    explicit Application(app::CameraList& cameras) : cameras_(cameras) {}

    void loadAppDefault(QTCamera& camera) override {
        NSLog("Camera found: %s", qUtf8Printable(camera.displayName()));
    }
    void switchCamera(QTCamera* camera) override {
        NSLog("Current camera: %s", camera ? qUtf8Printable(camera->displayName()) : "none");
    }
    void observeFormatChanges(bool) override {}

    std::vector<Camera> cameras() const override {
        std::vector<Camera> list;
        for (int row = 0; row < cameras_.size(); ++row)
            list.push_back({cameras_.at(row)->uniqueID(), cameras_.at(row)->displayName(),
                            row == cameras_.currentRow()});
        return list;
    }
    QString applyProfile(const QString&, const QString&) override {
        return QStringLiteral("profiles are not available yet");
    }
    void setPanelVisible(bool visible) override {
        panelVisible_ = visible;
        NSLog("The control panel is not available yet");
    }
    bool isPanelVisible() const override { return panelVisible_; }

  private:
    app::CameraList& cameras_;
    bool panelVisible_ = false;
};

}  // namespace

int main(int argc, char** argv) {
    app::blockQuitSignals();  // before any thread starts
    // The command line is read before the interface starts, so that --help, --version and
    // mistakes are answered without a display.
    QStringList arguments;
    for (int i = 0; i < argc; ++i)
        arguments << QString::fromLocal8Bit(argv[i]);
    const app::CommandLine line = app::CommandLine::parse(arguments);
    switch (line.action) {
        case app::CommandLine::Action::ShowHelp:
        case app::CommandLine::Action::ShowVersion:
            std::fputs(qUtf8Printable(line.text), stdout);
            return 0;
        case app::CommandLine::Action::Fail:
            std::fprintf(stderr, "%s\n", qUtf8Printable(line.text));
            return app::CommandLine::kExitUsage;
        case app::CommandLine::Action::Run:
            break;
    }

    QApplication application(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Orvella"));
    QApplication::setApplicationVersion(QStringLiteral(ORVELLA_VERSION));
    QApplication::setDesktopFileName(QStringLiteral("org.orvella.Orvella"));
    QApplication::setQuitOnLastWindowClosed(false);
    app::QuitOnSignal quitOnSignal;
    QObject::connect(&quitOnSignal, &app::QuitOnSignal::quitRequested, &application,
                     &QCoreApplication::quit);

    app::CameraList cameras;
    Application controller(cameras);
    app::OrvellaBus bus(controller);
    switch (bus.claim(QDBusConnection::sessionBus())) {
        case app::OrvellaBus::Claim::Taken: {
            QString error;
            if (!app::OrvellaBus::showRunningInstance(QDBusConnection::sessionBus(), &error)) {
                std::fprintf(stderr,
                             "orvella: another Orvella is running and does not answer: %s\n",
                             qUtf8Printable(error));
                return 1;
            }
            std::fprintf(stderr, "orvella: already running; its panel is shown\n");
            return 0;
        }
        case app::OrvellaBus::Claim::Owned:
        case app::OrvellaBus::Claim::Unavailable:
            break;
    }

    QString error;
    const std::unique_ptr<app::AppPlatform> platform =
        app::AppPlatform::assemble(line.options, &error);
    if (!platform) {
        std::fprintf(stderr, "orvella: %s\n", qUtf8Printable(error));
        return app::CommandLine::kExitUsage;
    }
    app::CameraDiscovery discovery(platform->services(), platform->captureDevices(), cameras,
                                   controller);
    discovery.registerDeviceCallbackHandler();
    platform->start();

    // The tray: the cameras are listed and can be chosen; the rest comes with the controller.
    ui::StatusMenu menu;
    menu.setCameraModel(&cameras);
    QObject::connect(&menu, &ui::StatusMenu::cameraSelected,
                     [&discovery](int row) { discovery.selectCamera(row); });
    QObject::connect(&menu, &ui::StatusMenu::quitClicked, &application, &QCoreApplication::quit);
    ui::StatusBar statusBar(&menu);
    statusBar.installStatusBar();
    QObject::connect(&menu, &ui::StatusMenu::showHideClicked,
                     [&controller] { controller.setPanelVisible(!controller.isPanelVisible()); });

    const int status = application.exec();
    // The cameras go before the platform they talk to.
    statusBar.removeStatusBar();
    menu.setCameraModel(nullptr);
    while (cameras.size() > 0)
        cameras.take(cameras.size() - 1);
    return status;
}

// orvella: the desktop application. Parses the command line, keeps one running instance per user,
// assembles the platform (the machine's cameras or virtual ones) and runs the controller, which
// owns the panel, the tray icon and everything behind them.

#include <QApplication>
#include <QDBusConnection>
#include <cstdio>

#include "app/AppPlatform.h"
#include "app/CameraDiscovery.h"
#include "app/CameraList.h"
#include "app/CommandLine.h"
#include "app/Orvella.h"
#include "app/OrvellaBus.h"
#include "app/QuitOnSignal.h"
#include "camera/CameraSession.h"
#include "platform/Log.h"
#include "platform/linux/XdgAutostart.h"
#include "platform/virtual/VirtualCamera.h"
#include "platform/virtual/VirtualPlatform.h"
#include "settings/DefaultsStore.h"
#include "ui/Localization.h"

namespace {

// How long the end of the process waits for a camera session still in a request.
constexpr int kSessionEndWaitMs = 300;

using namespace orvella;

// The demo camera for a newcomer without a camera: on the virtual platform it is plugged in
// there; on the machine's own cameras it gets a small virtual platform of its own, whose camera
// joins the same list.
class DemoCameraSource {
  public:
    DemoCameraSource(app::AppPlatform& platform, app::CameraList& cameras,
                     app::CameraDiscoveryDelegate& delegate)
        : platform_(platform), cameras_(cameras), delegate_(delegate) {}
    void add() {
        QString why;
        if (virtualcam::VirtualPlatform* own = platform_.virtualPlatform()) {
            if (!own->addCamera(virtualcam::VirtualCamera::demo(), &why))
                NSLog("The demo camera cannot be built: %s", qUtf8Printable(why));
            return;
        }
        if (!demo_) {
            demo_ = std::make_unique<virtualcam::VirtualPlatform>();
            discovery_ = std::make_unique<app::CameraDiscovery>(demo_->platform(), demo_->capture(),
                                                                cameras_, delegate_);
            discovery_->registerDeviceCallbackHandler();
        }
        if (!demo_->addCamera(virtualcam::VirtualCamera::demo(), &why))
            NSLog("The demo camera cannot be built: %s", qUtf8Printable(why));
    }

  private:
    app::AppPlatform& platform_;
    app::CameraList& cameras_;
    app::CameraDiscoveryDelegate& delegate_;
    std::unique_ptr<virtualcam::VirtualPlatform> demo_;
    std::unique_ptr<app::CameraDiscovery> discovery_;
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

    // A second start asks the running one to show its panel, and says when options it was given
    // are not used. It does so before it builds anything of its own (no tray icon, no cameras).
    const auto askRunningInstance = [&arguments]() {
        QString error;
        if (!app::OrvellaBus::showRunningInstance(QDBusConnection::sessionBus(), &error)) {
            std::fprintf(stderr, "orvella: another Orvella is running and does not answer: %s\n",
                         qUtf8Printable(error));
            return 1;
        }
        // The running one keeps its own cameras and options: say so when some were given.
        const QStringList given = arguments.mid(1);
        if (given.isEmpty())
            std::fprintf(stderr, "orvella: already running; its panel is shown\n");
        else
            std::fprintf(stderr,
                         "orvella: already running; its panel is shown. The options given "
                         "(%s) were not used: quit Orvella first to start it with them\n",
                         qUtf8Printable(given.join(QLatin1Char(' '))));
        return 0;
    };
    if (app::OrvellaBus::isRunning(QDBusConnection::sessionBus())) return askRunningInstance();

    ui::installTranslation();  // first: the panel's rows take their titles when built
    settings::DefaultsStore defaults;
    // Preferences are written on a thread of their own; quitting and sleep flush them.
    defaults.enableBackgroundWrites();
    linuxplatform::XdgAutostart loginItem;
    app::CameraList cameras;
    app::Orvella controller(defaults, cameras, &loginItem);
    app::OrvellaBus bus(controller);
    switch (bus.claim(QDBusConnection::sessionBus())) {
        case app::OrvellaBus::Claim::Taken:  // started at the same moment as the other one
            return askRunningInstance();
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
    int status = 0;
    {
        app::CameraDiscovery discovery(platform->services(), platform->captureDevices(), cameras,
                                       controller);
        DemoCameraSource demo(*platform, cameras, controller);
        controller.setDiscovery(&discovery);
        controller.setPowerEvents(&platform->power());
        controller.setDemoCamera([&demo] { demo.add(); });
        controller.applicationDidFinishLaunching();
        platform->start();

        status = application.exec();
        controller.applicationWillTerminate();
        controller.setDiscovery(nullptr);
        controller.setDemoCamera({});
        // The cameras go before the platform they talk to, and before the panel forgets them.
        controller.switchCamera(nullptr);
        while (cameras.size() > 0)
            cameras.take(cameras.size() - 1);
        // A camera in the middle of a request that will not be answered holds its session for
        // up to the driver's time-out; the user asked to quit now and nothing is left to save,
        // so the process does not wait for it.
        if (!CameraSession::waitForSessionsToEnd(kSessionEndWaitMs)) {
            NSLog("Quitting while %d camera(s) are still in a request", CameraSession::busyCount());
            std::fflush(stdout);
            std::fflush(stderr);
            std::_Exit(status);
        }
    }
    return status;
}

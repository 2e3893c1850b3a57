#include "app/AppPlatform.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QCoreApplication>
#include <QFile>
#include <QSocketNotifier>
#include <cerrno>
#include <cstring>

#include "platform/Log.h"
#include "platform/linux/LinuxPlatform.h"
#include "platform/linux/LogindPower.h"
#include "platform/virtual/VirtualCameraCommands.h"
#include "platform/virtual/VirtualCameraDirectory.h"
#include "platform/virtual/VirtualPlatform.h"

namespace orvella::app {

using virtualcam::CameraCommand;

// The --virtual-control FIFO: commands read on the event loop and run on the virtual cameras,
// each confirmed in the request log, or in the system log without one.
class AppPlatform::ControlFifo {
  public:
    ControlFifo(virtualcam::VirtualPlatform& platform, std::shared_ptr<virtualcam::RequestLog> log)
        : platform_(platform),
          log_(std::move(log)),
          runner_([this](int number) { return camera(number); },
                  [this](const CameraCommand& command) { return programVerb(command); },
                  [this](const std::string& confirmation) { confirm(confirmation); }) {}
    ~ControlFifo() {
        notifier_.reset();
        if (fd_ >= 0) ::close(fd_);
    }

    bool open(const QString& path, QString* error) {
        const QByteArray name = QFile::encodeName(path);
        auto fail = [&](const QString& why) {
            if (error) *error = QStringLiteral("--virtual-control: %1: %2").arg(path, why);
            return false;
        };
        auto failWithErrno = [&](const char* what) {
            return fail(QStringLiteral("%1: %2").arg(QLatin1String(what),
                                                     QString::fromLocal8Bit(std::strerror(errno))));
        };
        if (::mkfifo(name.constData(), 0600) != 0 && errno != EEXIST)
            return failWithErrno("cannot create");
        // Read and write, so that the FIFO never reports end-of-file between two writers.
        fd_ = ::open(name.constData(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
        if (fd_ < 0) return failWithErrno("cannot open");
        struct stat status {};
        if (::fstat(fd_, &status) != 0 || !S_ISFIFO(status.st_mode))
            return fail(QStringLiteral("not a FIFO"));
        notifier_ = std::make_unique<QSocketNotifier>(fd_, QSocketNotifier::Read);
        QObject::connect(notifier_.get(), &QSocketNotifier::activated, [this] { readCommands(); });
        return true;
    }

  private:
    void readCommands() {
        char buffer[512];
        ssize_t n;
        while ((n = ::read(fd_, buffer, sizeof buffer)) > 0)
            runner_.feed(buffer, static_cast<size_t>(n));
    }
    virtualcam::VirtualCamera* camera(int number) {
        const auto device = platform_.deviceNumbered(number);
        return device ? device->camera().get() : nullptr;
    }
    std::string programVerb(const CameraCommand& command) {
        switch (command.verb) {
            case CameraCommand::Verb::Quit:
                QCoreApplication::quit();
                return {};
            case CameraCommand::Verb::Unplug:
                platform_.removeCamera(platform_.deviceNumbered(command.camera));
                return {};
            default:
                return "not available here: cameras are plugged in with --virtual-dir";
        }
    }
    void confirm(const std::string& confirmation) {
        if (log_)
            log_->note(confirmation);
        else
            NSLog("Virtual camera control: %s", confirmation.c_str());
    }

    virtualcam::VirtualPlatform& platform_;
    std::shared_ptr<virtualcam::RequestLog> log_;
    virtualcam::CameraCommandRunner runner_;
    int fd_ = -1;
    std::unique_ptr<QSocketNotifier> notifier_;
};

AppPlatform::AppPlatform() : power_(std::make_unique<linuxplatform::LogindPower>()) {}

AppPlatform::~AppPlatform() {
    // The folder watcher and the commands work on the virtual platform, so they go first.
    control_.reset();
    directory_.reset();
}

std::unique_ptr<AppPlatform> AppPlatform::assemble(const CommandLineOptions& options,
                                                   QString* error) {
    std::unique_ptr<AppPlatform> result(new AppPlatform);
    if (!options.usesVirtualCameras()) {
        result->linux_ = std::make_unique<linuxplatform::LinuxPlatform>();
        result->services_ = result->linux_->platform();
        result->capture_ = &result->linux_->capture();
        return result;
    }

    auto& virtualPlatform = result->virtual_ = std::make_unique<virtualcam::VirtualPlatform>();
    std::shared_ptr<virtualcam::RequestLog> log;
    if (!options.requestLog.isEmpty()) {
        log = std::make_shared<virtualcam::RequestLog>(options.requestLog.toStdString());
        if (!log->isOpen()) {
            if (error)
                *error = QStringLiteral("cannot write the request log %1").arg(options.requestLog);
            return nullptr;
        }
        virtualPlatform->setRequestLog(log);
    }
    if (!options.virtualControl.isEmpty()) {
        result->control_ = std::make_unique<ControlFifo>(*virtualPlatform, log);
        if (!result->control_->open(options.virtualControl, error)) return nullptr;
    }
    if (options.demo) {
        QString why;
        if (!virtualPlatform->addCamera(virtualcam::VirtualCamera::demo(), &why)) {
            if (error) *error = QStringLiteral("the demo camera cannot be built: %1").arg(why);
            return nullptr;
        }
    }
    for (const QString& file : options.virtualFiles) {
        if (!virtualPlatform->addDefinitionFile(file, error)) return nullptr;
    }
    if (!options.virtualDir.isEmpty()) {
        result->directory_ = std::make_unique<virtualcam::VirtualCameraDirectory>(
            *virtualPlatform, options.virtualDir);
        if (!result->directory_->start(error)) return nullptr;
    }
    result->services_ = virtualPlatform->platform();
    result->capture_ = &virtualPlatform->capture();
    return result;
}

platform::PowerEventSource& AppPlatform::power() {
    return *power_;
}

void AppPlatform::start() {
    if (linux_) linux_->startHotplug();
    power_->start();
}

}  // namespace orvella::app

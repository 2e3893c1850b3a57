#include "app/AppPlatform.h"

#include "platform/linux/LinuxPlatform.h"
#include "platform/linux/LogindPower.h"
#include "platform/virtual/VirtualCameraDirectory.h"
#include "platform/virtual/VirtualPlatform.h"

namespace orvella::app {

AppPlatform::AppPlatform() : power_(std::make_unique<linuxplatform::LogindPower>()) {}

AppPlatform::~AppPlatform() {
    // The folder watcher plugs into the virtual platform, so it goes first.
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
    if (!options.requestLog.isEmpty()) {
        auto log = std::make_shared<virtualcam::RequestLog>(options.requestLog.toStdString());
        if (!log->isOpen()) {
            if (error)
                *error = QStringLiteral("cannot write the request log %1").arg(options.requestLog);
            return nullptr;
        }
        virtualPlatform->setRequestLog(std::move(log));
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

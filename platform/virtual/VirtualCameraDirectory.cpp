#include "platform/virtual/VirtualCameraDirectory.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include "platform/Log.h"

namespace orvella::virtualcam {

VirtualCameraDirectory::VirtualCameraDirectory(VirtualPlatform& platform, QString path,
                                               QObject* parent)
    : QObject(parent), platform_(platform), path_(std::move(path)) {
    settle_.setSingleShot(true);
    connect(&settle_, &QTimer::timeout, this, &VirtualCameraDirectory::rescan);
    auto changed = [this] { settle_.start(kSettleMs); };
    connect(&watcher_, &QFileSystemWatcher::directoryChanged, this, changed);
    connect(&watcher_, &QFileSystemWatcher::fileChanged, this, changed);
}

VirtualCameraDirectory::~VirtualCameraDirectory() = default;

bool VirtualCameraDirectory::start(QString* error) {
    const QFileInfo info(path_);
    if (!info.isDir() || !info.isReadable()) {
        if (error) *error = QStringLiteral("%1: not a readable folder").arg(path_);
        return false;
    }
    path_ = info.absoluteFilePath();
    watcher_.addPath(path_);
    rescan();
    return true;
}

void VirtualCameraDirectory::unplug(Entry& entry) {
    if (!entry.device) return;
    NSLog("Virtual camera unplugged: %s", qUtf8Printable(entry.device->camera()->origin()));
    platform_.removeCamera(entry.device);
    entry.device.reset();
}

void VirtualCameraDirectory::rescan() {
    const QDir dir(path_);
    const QStringList names =
        dir.entryList({QStringLiteral("*.json")}, QDir::Files | QDir::Readable, QDir::Name);
    QStringList present;
    for (const QString& name : names)
        present << dir.filePath(name);

    // Files that went away: their cameras are unplugged.
    for (auto it = entries_.begin(); it != entries_.end();) {
        if (present.contains(it.key())) {
            ++it;
            continue;
        }
        unplug(it.value());
        it = entries_.erase(it);
    }

    const QStringList watched = watcher_.files();
    for (const QString& path : present) {
        // Files are watched too, so that one written in place is read again when it is done.
        if (!watched.contains(path)) watcher_.addPath(path);
        QByteArray content;
        QString error;
        if (!VirtualCamera::readDefinitionFile(path, &content, &error)) {
            if (!QFileInfo::exists(path)) continue;  // gone in between; the watcher says so
            // Too large, say: said once, then waited for like a half-written file.
            Entry& entry = entries_[path];
            if (entry.refused != error)
                NSLog("Virtual camera not plugged in: %s", qUtf8Printable(error));
            entry.refused = error;
            continue;
        }
        if (content.isNull()) content = QByteArray("");  // read, even if empty
        Entry& entry = entries_[path];
        entry.refused.clear();
        if (content == entry.seen && !entry.seen.isNull()) continue;
        entry.seen = content;
        if (entry.device && content == entry.plugged) continue;

        auto camera = VirtualCamera::fromJson(content, &error, path);
        if (!camera) {
            // Half written or not a definition: said once for this content, then waited for.
            NSLog("Virtual camera not plugged in: %s", qUtf8Printable(error));
            continue;
        }
        unplug(entry);
        entry.device = platform_.addCamera(std::move(camera), &error);
        if (!entry.device) {
            NSLog("Virtual camera not plugged in: %s", qUtf8Printable(error));
            continue;
        }
        entry.plugged = content;
        NSLog("Virtual camera plugged in: %s", qUtf8Printable(path));
    }
}

std::shared_ptr<VirtualCaptureDevice> VirtualCameraDirectory::deviceFor(
    const QString& fileName) const {
    const QString path = QDir(path_).filePath(fileName);
    const auto it = entries_.constFind(path);
    return it == entries_.constEnd() ? nullptr : it->device;
}

}  // namespace orvella::virtualcam

#pragma once
// A folder of virtual camera definitions that behaves like a USB port bank: every *.json file in
// it is a camera plugged in; a file that appears plugs a camera in, a file that disappears
// unplugs it, and a file whose content changes to another valid definition is unplugged and
// plugged in again. A file that is not (yet) a valid definition -- half written, or garbage --
// gets one logged diagnostic per content and is picked up as soon as it becomes valid; a camera
// already plugged in stays while its file is being rewritten. Runs on the Qt event loop.

#include <QFileSystemWatcher>
#include <QHash>
#include <QObject>
#include <QString>
#include <QTimer>
#include <memory>

#include "platform/virtual/VirtualPlatform.h"

namespace orvella::virtualcam {

class VirtualCameraDirectory final : public QObject {
    Q_OBJECT
  public:
    // `platform` is borrowed and must outlive this object.
    VirtualCameraDirectory(VirtualPlatform& platform, QString path, QObject* parent = nullptr);
    ~VirtualCameraDirectory() override;

    // Plugs in what the folder holds now and starts watching it; false with *error set when the
    // path is not a readable folder.
    bool start(QString* error);
    // Looks at the folder again at once (the watcher calls it after a short settle).
    void rescan();

    // The capture device plugged in for a file, or null.
    std::shared_ptr<VirtualCaptureDevice> deviceFor(const QString& fileName) const;

    // Quiet time after a change before the folder is read again, so that a burst of writes is
    // read once.
    static constexpr int kSettleMs = 50;

  private:
    struct Entry {
        QByteArray seen;     // as last read, valid or not
        QString refused;     // why the file could not be read, said once
        QByteArray plugged;  // the definition of the camera plugged in
        std::shared_ptr<VirtualCaptureDevice> device;
    };
    void unplug(Entry& entry);

    VirtualPlatform& platform_;
    QString path_;
    QFileSystemWatcher watcher_;
    QTimer settle_;
    QHash<QString, Entry> entries_;  // by file path
};

}  // namespace orvella::virtualcam

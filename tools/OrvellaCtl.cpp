#include "tools/OrvellaCtl.h"

#include <QJsonDocument>
#include <QStringList>
#include <algorithm>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <variant>

#include "camera/QTCamera.h"
#include "platform/Log.h"
#include "platform/linux/LinuxPlatform.h"
#include "platform/virtual/VirtualPlatform.h"
#include "settings/CameraNames.h"
#include "settings/DefaultsStore.h"
#include "tools/CameraReport.h"
#include "tools/CtlCapture.h"
#include "tools/CtlControls.h"
#include "tools/CtlProfiles.h"
#include "tools/CtlRequestLog.h"

namespace orvella::tools {

namespace {

// The help up to the list of controls, which is written from the controls themselves.
const char kHelpBeforeControls[] = R"(usage: orvellactl [OPTIONS] COMMAND [ARGUMENTS]

Reads and writes the image controls of UVC cameras through the Orvella camera core.

Options (anywhere on the line):
  --virtual FILE   add the virtual camera defined by the JSON file FILE (repeatable;
                   --virtual=FILE works too)
  --demo           add the bundled demo camera
  --json           with show and profile show: print JSON instead of text
  --all            with apply-last: every connected camera
  --request-log FILE
                   append every request each virtual camera sees to FILE, one line each,
                   in the format of orvella-usbip-camera --log
  --format WxH     with snapshot and record: the stream size (one the camera lists in show)
  --seconds N      with record: how long to record
  --video-codec E  with record: the FFmpeg encoder for the video
  --audio SOURCE   with record: camera (its own microphone, the default), none, or an ALSA
                   device name (default, plughw:1, pulse, ...)
  --audio-codec E  with record: the FFmpeg encoder for the sound (aac, libopus, pcm_s16le, ...)
  --verbose, -v    write the core's trace (control requests, probing) to standard error
  --help, -h       print this help
  --               end of options (for a VALUE that begins with "-", though plain
                   negative numbers are taken as values anyway)

Commands:
  list                        one line per camera: number, name (as the application shows
                              it), uniqueID and modelUniqueID, separated by tabs ("no camera
                              found" on standard error, and status 0, when there is none)
  show [CAMERA] [--json]      identity, supported controls with current value, range and
                              default, and stream formats
  get CAMERA CONTROL          print the control's current value, read from the camera
  set CAMERA CONTROL VALUE    write the value, then print the value the camera holds
  defaults CAMERA             write every supported control's default value
  profile list [CAMERA]       the camera model's profiles, one name a line (the one loaded at
                              start marked); without CAMERA every model's, model first
  profile save CAMERA NAME    save the camera's settings as a new profile of its model
  profile apply CAMERA NAME   apply a profile; the model's last state follows it
  profile delete CAMERA NAME  delete a profile (and the model's load-at-start choice)
  profile show CAMERA NAME [--json]
                              the profile's entries ("AppDefault" shows the last state)
  apply-last CAMERA           apply the model's last state, as the application does when the
                              camera appears (recorded first if the model has none)
  apply-last --all            the same for every connected camera
  lock CAMERA                 lock the look: each automatic mode that is on (auto-exposure,
                              auto white balance, autofocus) switched to manual with the
                              exposure time and gain, temperature or focus it found; the
                              result becomes the model's last state. What did not stick is
                              said on standard error (status 1)
  snapshot CAMERA FILE [--format WxH]
                              write a still image of the camera's picture; PNG or JPEG by
                              FILE's extension (.png, .jpg, .jpeg)
  record CAMERA FILE --seconds N [--format WxH] [--video-codec ENCODER] [--audio SOURCE]
         [--audio-codec ENCODER]
                              record a movie of N seconds (container by FILE's extension:
                              .mkv, .mp4, .mov, .avi); ENCODER is an FFmpeg encoder name
                              (libx264, mpeg4, mjpeg, ffv1, ...); without one, MJPEG frames are
                              copied unchanged where the container allows. The sound comes from
                              the camera's microphone if it has one; without --audio-codec it
                              goes in as 16-bit PCM where the container allows. Progress goes
                              to standard error once a second

CAMERA is the camera's number in list (from 1), its uniqueID, its name as list shows it, or
a part of its name that no other camera's name contains (case is ignored). Twin cameras are
named apart by serial number or USB port, as in C270 (port 1-2), unless the application gave
them names. With one camera it may be left out.

CONTROL is one of the keys used in profiles (case is ignored):
)";

// The help after the list of controls.
const char kHelpAfterControls[] =
    R"(Values are whole numbers (decimal, or hexadecimal with 0x) in the units of the camera core's
accessors: device units for most controls; knob positions 1-15 for exposure on cameras with an
exposure knob; hue in resolution steps; pan and tilt written in resolution steps but read in
device units; a relative step for IrisRelative; the LED index 0 (automatic), 1 (on) or 2 (off).
A value outside the control's range (the one show lists, else what the control's bytes carry) is
set to the nearest end of it, with a note on standard error. A write the camera refuses while an
automatic mode governs the control says which mode, and which value frees the control.

Without --virtual or --demo, orvellactl works on the cameras plugged into this machine: the
V4L2 capture nodes of the uvcvideo driver (/dev/videoN; your user needs access to them, usually
through the 'video' group) and, for cameras no driver holds, raw USB through libusb.

Profiles live in the application's preferences,
$XDG_CONFIG_HOME/orvella/org.orvella.Orvella.plist (~/.config when unset), shared by every
camera of a model (modelUniqueID). NAME is trimmed of blanks as the application trims it.

Exit status: 0 success, 1 a camera, file or control operation failed, 2 a usage error.
Errors are one line on standard error. JSON output is described in docs/orvellactl.md.
)";

// The controls' names, indented by two and wrapped before the 91st column.
std::string controlList() {
    constexpr size_t kIndent = 2, kWidth = 90;
    std::string list, line;
    for (const CtlControl& control : ctlControls()) {
        if (!line.empty() && kIndent + line.size() + 1 + control.key.size() > kWidth) {
            list += std::string(kIndent, ' ') + line + '\n';
            line.clear();
        }
        if (!line.empty()) line += ' ';
        line += control.key;
    }
    if (!line.empty()) list += std::string(kIndent, ' ') + line + '\n';
    return list;
}

// Any failure of a command: a one-line message and the exit status to end with.
struct Failure {
    QString message;
    int status = kExitFailure;
};

struct Options {
    QStringList virtualFiles;
    bool demo = false;
    bool json = false;
    bool verbose = false;
    bool help = false;
    bool all = false;
    QString requestLog;
    CaptureOptions capture;
    QStringList positional;
};

// A whole number: decimal, or hexadecimal after "0x", with an optional sign.
std::optional<long> parseNumber(const QString& text) {
    QString body = text.trimmed();
    bool negative = false;
    if (body.startsWith(QLatin1Char('-')) || body.startsWith(QLatin1Char('+'))) {
        negative = body.startsWith(QLatin1Char('-'));
        body.remove(0, 1);
    }
    bool ok = false;
    qulonglong magnitude = 0;
    if (body.startsWith(QLatin1String("0x"), Qt::CaseInsensitive))
        magnitude = body.mid(2).toULongLong(&ok, 16);
    else
        magnitude = body.toULongLong(&ok, 10);
    // The characters must all be digits: toULongLong accepts blanks around them.
    if (!ok || body.isEmpty() || body.contains(QLatin1Char(' '))) return std::nullopt;
    constexpr auto kMax = static_cast<qulonglong>(std::numeric_limits<long>::max());
    if (!negative) {
        if (magnitude > kMax) return std::nullopt;
        return static_cast<long>(magnitude);
    }
    if (magnitude > kMax + 1) return std::nullopt;
    return magnitude == kMax + 1 ? std::numeric_limits<long>::min() : -static_cast<long>(magnitude);
}

std::optional<Failure> parseOptions(const std::vector<std::string>& arguments, Options& options) {
    bool optionsEnded = false;
    for (size_t i = 0; i < arguments.size(); ++i) {
        const QString argument = QString::fromLocal8Bit(arguments[i]);
        const bool isOption = !optionsEnded && argument.size() > 1 &&
                              argument.startsWith(QLatin1Char('-')) && !parseNumber(argument);
        if (!isOption) {
            options.positional << argument;
        } else if (argument == QLatin1String("--")) {
            optionsEnded = true;
        } else if (argument == QLatin1String("--virtual")) {
            if (i + 1 >= arguments.size())
                return Failure{QStringLiteral("--virtual needs a FILE"), kExitUsage};
            options.virtualFiles << QString::fromLocal8Bit(arguments[++i]);
        } else if (argument.startsWith(QLatin1String("--virtual="))) {
            const QString file = argument.mid(10);
            if (file.isEmpty())
                return Failure{QStringLiteral("--virtual needs a FILE"), kExitUsage};
            options.virtualFiles << file;
        } else if (argument == QLatin1String("--request-log") ||
                   argument.startsWith(QLatin1String("--request-log="))) {
            const bool inline_ = argument.startsWith(QLatin1String("--request-log="));
            if (!inline_ && i + 1 >= arguments.size())
                return Failure{QStringLiteral("--request-log needs a FILE"), kExitUsage};
            options.requestLog =
                inline_ ? argument.mid(14) : QString::fromLocal8Bit(arguments[++i]);
            if (options.requestLog.isEmpty())
                return Failure{QStringLiteral("--request-log needs a FILE"), kExitUsage};
        } else if (argument == QLatin1String("--all")) {
            options.all = true;
        } else if (argument == QLatin1String("--demo")) {
            options.demo = true;
        } else if (argument == QLatin1String("--json")) {
            options.json = true;
        } else if (argument == QLatin1String("--verbose") || argument == QLatin1String("-v")) {
            options.verbose = true;
        } else if (argument == QLatin1String("--help") || argument == QLatin1String("-h")) {
            options.help = true;
        } else if (QString error; takeCaptureOption(arguments, i, options.capture, &error)) {
            if (!error.isEmpty()) return Failure{error, kExitUsage};
        } else {
            return Failure{
                QStringLiteral("unknown option \"%1\" (see orvellactl --help)").arg(argument),
                kExitUsage};
        }
    }
    return std::nullopt;
}

// The core's trace, sent to the error stream with --verbose.
class StreamSink final : public log::Sink {
  public:
    explicit StreamSink(std::ostream& stream) : stream_(stream) {}
    void systemLog(const std::string& message) override { stream_ << message << '\n'; }
    void standardOutput(const std::string& text) override { stream_ << text; }

  private:
    std::ostream& stream_;
};

// Installs a sink for the lifetime of the object.
class ScopedSink {
  public:
    explicit ScopedSink(log::Sink& sink) : previous_(log::setSink(&sink)) {}
    ~ScopedSink() { log::setSink(previous_); }
    ScopedSink(const ScopedSink&) = delete;
    ScopedSink& operator=(const ScopedSink&) = delete;

  private:
    log::Sink* previous_;
};

// The cameras of one run, over the virtual platform or the machine's own cameras. The platforms
// outlive the cameras.
class Session {
  public:
    Session(std::ostream& out, std::ostream& err) : out_(out), err_(err) {}

    std::optional<Failure> load(const Options& options) {
        QString error;
        if (options.demo) {
            auto camera = virtualcam::VirtualCamera::demo();
            if (!camera || !platform_.addCamera(camera, &error))
                return Failure{QStringLiteral("the demo camera cannot be built: %1").arg(error)};
        }
        for (const QString& file : options.virtualFiles)
            if (!platform_.addDefinitionFile(file, &error)) return Failure{error};
        if (!options.demo && options.virtualFiles.isEmpty()) return loadRealCameras();
        buildCameras();
        return std::nullopt;
    }

    const std::vector<std::unique_ptr<QTCamera>>& cameras() const { return cameras_; }

    // CAMERA as given on the command line, or the only camera when it is left out.
    std::variant<QTCamera*, Failure> find(const std::optional<QString>& wanted) const {
        if (cameras_.empty()) return Failure{QStringLiteral("there is no camera")};
        if (!wanted) {
            if (cameras_.size() == 1) return cameras_.front().get();
            return Failure{QStringLiteral("there are %1 cameras; name one (see orvellactl list)")
                               .arg(cameras_.size()),
                           kExitUsage};
        }
        if (const auto number = parseNumber(*wanted)) {
            if (*number >= 1 && static_cast<size_t>(*number) <= cameras_.size())
                return cameras_[static_cast<size_t>(*number - 1)].get();
        }
        for (const auto& camera : cameras_)
            if (camera->uniqueID() == *wanted) return camera.get();
        QStringList displayNames;
        for (const auto& camera : cameras_)
            displayNames << camera->displayName();
        int matches = 0;
        const std::optional<int> match =
            settings::cameraNamed(names(), displayNames, *wanted, &matches);
        if (match) return cameras_[static_cast<size_t>(*match)].get();
        if (matches == 0)
            return Failure{QStringLiteral("no camera \"%1\" (see orvellactl list)").arg(*wanted)};
        return Failure{QStringLiteral("\"%1\" matches %2 cameras; use the number or uniqueID")
                           .arg(*wanted)
                           .arg(matches)};
    }

    // The name each camera goes by, as the application shows it (the user's names come from the
    // preferences file, which is only read).
    QStringList names() const {
        std::vector<settings::CameraIdentity> identities;
        for (const auto& camera : cameras_)
            identities.push_back({camera->uniqueID(), camera->displayName(), camera->serialNumber(),
                                  camera->locationID()});
        if (!userNames_) {
            QString why;
            userNames_ =
                settings::userCameraNamesInFile(settings::DefaultsStore::defaultPath(), &why);
            if (!why.isEmpty()) NSLog("the camera names cannot be read: %s", qUtf8Printable(why));
        }
        return settings::cameraNames(identities, *userNames_);
    }

    std::ostream& out() { return out_; }
    std::ostream& err() { return err_; }

    // The virtual cameras of the run, in the order they were given.
    std::vector<std::shared_ptr<virtualcam::VirtualCamera>> virtualCameras() {
        std::vector<std::shared_ptr<virtualcam::VirtualCamera>> out;
        for (const auto& device : platform_.capture().devices())
            out.push_back(device->camera());
        return out;
    }

  private:
    // The cameras of this machine. One whose node cannot be opened is left out with the reason;
    // when that leaves none, the reason is the error.
    std::optional<Failure> loadRealCameras() {
        real_ = std::make_unique<linuxplatform::LinuxPlatform>();
        const platform::Platform services = real_->platform();
        std::optional<std::string> problem;
        for (const auto& device : real_->capture().scan()) {
            if (const auto access = device->accessProblem()) {
                err_ << "orvellactl: " << *access << '\n';
                problem = access;
                continue;
            }
            auto camera = QTCamera::initWithQTCaptureDevice(services, device);
            if (camera->qtCaptureDevice()) cameras_.push_back(std::move(camera));
        }
        if (cameras_.empty() && problem) return Failure{QStringLiteral("no camera can be opened")};
        return std::nullopt;
    }

    // Built-in cameras go through their media-device object, USB cameras through USB. A camera
    // that construction gives up on (no USB device for a vendor 0x046D camera) is dropped.
    void buildCameras() {
        const platform::Platform services = platform_.platform();
        for (const auto& device : platform_.capture().devices()) {
            std::unique_ptr<QTCamera> camera;
            if (device->isMediaDevice())
                camera = QTCamera::initWithQTCaptureDevice(services, device,
                                                           platform_.mediaDeviceFor(*device));
            else
                camera = QTCamera::initWithQTCaptureDevice(services, device);
            if (!camera->qtCaptureDevice()) {
                err_ << "orvellactl: " << device->localizedDisplayName().toStdString()
                     << ": left out, its USB device cannot be reached\n";
                continue;
            }
            cameras_.push_back(std::move(camera));
        }
    }

    std::ostream& out_;
    std::ostream& err_;
    virtualcam::VirtualPlatform platform_;
    std::unique_ptr<linuxplatform::LinuxPlatform> real_;
    std::vector<std::unique_ptr<QTCamera>> cameras_;
    mutable std::optional<QVariantMap> userNames_;
};

std::string text(const QString& value) {
    return value.toStdString();
}

// The status in hexadecimal, with what it means for the statuses a user meets.
QString statusText(IOReturn status) {
    struct Meaning {
        IOReturn status;
        const char* text;
    };
    static constexpr Meaning kMeanings[] = {
        {kIOUSBPipeStalled, "the camera refused the request"},
        {kIOReturnNoDevice, "the camera is gone"},
        {kIOReturnNotResponding, "the camera does not respond"},
        {kIOReturnTimeout, "the request timed out"},
        {kIOReturnError, "general error"},
    };
    QString text = QString::asprintf("status 0x%08x", static_cast<uint32_t>(status));
    for (const Meaning& meaning : kMeanings)
        if (meaning.status == status)
            text += QStringLiteral(", %1").arg(QLatin1String(meaning.text));
    return text;
}

std::variant<const CtlControl*, Failure> findControl(QTCamera& camera, const QString& key) {
    const CtlControl* control = findCtlControl(key.toStdString());
    if (!control)
        return Failure{QStringLiteral("unknown control \"%1\" (see orvellactl --help)").arg(key),
                       kExitUsage};
    if (!isSupported(*control, *camera.supportedControl()))
        return Failure{QStringLiteral("%1 has no control %2")
                           .arg(camera.displayName(),
                                QString::fromUtf8(control->key.data(),
                                                  static_cast<qsizetype>(control->key.size())))};
    return control;
}

using Arguments = QStringList;

std::optional<Failure> commandList(Session& session, const Options&, const Arguments&) {
    // An empty list is an answer, not a failure; standard output stays empty for scripts.
    if (session.cameras().empty()) session.err() << "orvellactl: no camera found\n";
    const QStringList names = session.names();
    int number = 1;
    for (const auto& camera : session.cameras()) {
        session.out() << text(listLine(number, *camera, names.value(number - 1))) << '\n';
        ++number;
    }
    return std::nullopt;
}

std::optional<Failure> commandShow(Session& session, const Options& options,
                                   const Arguments& args) {
    const auto found = session.find(args.isEmpty() ? std::nullopt : std::optional(args[0]));
    if (const auto* failure = std::get_if<Failure>(&found)) return *failure;
    QTCamera& camera = *std::get<QTCamera*>(found);
    if (options.json)
        session.out() << QJsonDocument(jsonReport(camera)).toJson().toStdString();
    else
        session.out() << text(textReport(camera)) << '\n';
    return std::nullopt;
}

// A control beyond the system's own (camera/ControlCatalogExtra.h) by its name, compared
// without regard to case; null when the camera has none or the name is a system control's.
ExtraControl* findExtra(QTCamera& camera, const QString& key) {
    if (findCtlControl(key.toStdString())) return nullptr;
    for (ExtraControl& control : camera.extraControls())
        if (control.key.compare(key, Qt::CaseInsensitive) == 0) return &control;
    return nullptr;
}

// Why a control beyond the system's own refused a value, without a request.
QString extraRefusal(const ExtraControl& control, long value) {
    if (!control.writable)
        return QStringLiteral("%1 is read-only (%2)").arg(control.key, control.name);
    QStringList items;
    for (size_t i = 0; i < control.items.size(); ++i)
        items << QStringLiteral("%1 (%2)")
                     .arg(control.kind == ExtraKind::Command ? static_cast<long>(i)
                                                             : control.items[i].value)
                     .arg(control.items[i].name);
    if (!items.isEmpty())
        return QStringLiteral("%1 takes %2, not %3")
            .arg(control.key, items.join(QStringLiteral(", ")))
            .arg(value);
    if (control.kind == ExtraKind::Move)
        return QStringLiteral("%1 moves by -1, 0 (stop) or 1, not %2").arg(control.key).arg(value);
    return QStringLiteral("%1 takes %2..%3, not %4")
        .arg(control.key)
        .arg(control.min)
        .arg(control.max)
        .arg(value);
}

std::optional<Failure> commandGet(Session& session, const Options&, const Arguments& args) {
    const auto found = session.find(args.size() == 2 ? std::optional(args[0]) : std::nullopt);
    if (const auto* failure = std::get_if<Failure>(&found)) return *failure;
    QTCamera& camera = *std::get<QTCamera*>(found);
    if (ExtraControl* extra = findExtra(camera, args.back())) {
        long value = 0;
        const IOReturn status = extras::query(camera, *extra, &value);
        if (status != kIOReturnSuccess)
            return Failure{
                QStringLiteral("reading %1 failed: %2").arg(extra->key, statusText(status))};
        session.out() << value << '\n';
        return std::nullopt;
    }
    const auto control = findControl(camera, args.back());
    if (const auto* failure = std::get_if<Failure>(&control)) return *failure;
    long value = 0;
    const IOReturn status = readControl(camera, *std::get<const CtlControl*>(control), &value);
    if (status != kIOReturnSuccess)
        return Failure{
            QStringLiteral("reading %1 failed: %2").arg(args.back(), statusText(status))};
    session.out() << value << '\n';
    return std::nullopt;
}

// Exposure modes are single bits (UVC's bAutoExposureMode).
QString exposureModeName(long bit) {
    switch (bit) {
        case 1:
            return QStringLiteral("manual");
        case 2:
            return QStringLiteral("auto");
        case 4:
            return QStringLiteral("shutter priority");
        case 8:
            return QStringLiteral("aperture priority");
        default:
            return QStringLiteral("mode %1").arg(bit);
    }
}

QString keyText(std::string_view key) {
    return QString::fromUtf8(key.data(), static_cast<qsizetype>(key.size()));
}

// Why the camera refused a write when an automatic mode governs the control: the mode it is in
// and the value that leaves the control to the user. Nothing when no mode governs it now.
std::optional<QString> governingMode(QTCamera& camera, const CtlControl& control) {
    const ControlDescription& row = *control.row;
    const ControlDescription* master = row.master ? catalog::byID(row.master) : nullptr;
    long mode = 0;
    if (!master || camera.queryControl(*master, &mode) != kIOReturnSuccess || row.isFreedBy(mode))
        return std::nullopt;
    const QString name = keyText(control.key), masterName = keyText(master->key);
    if (!row.masterManual)
        return QStringLiteral("%1 is governed by %2 (on); set %2 to 0 first").arg(name, masterName);
    const long freeing = row.masterManual & -row.masterManual;  // the lowest freeing mode
    return QStringLiteral(
               "%1 is governed by the automatic exposure mode (%2); set %3 to %4 (%5) "
               "first")
        .arg(name, exposureModeName(mode), masterName, exposureModeName(freeing))
        .arg(freeing);
}

std::optional<Failure> commandSet(Session& session, const Options&, const Arguments& args) {
    // "set CAMERA CONTROL" or "set CONTROL": the value is what is missing.
    if (args.size() < 3 && !parseNumber(args.back()) && findCtlControl(args.back().toStdString()))
        return Failure{
            QStringLiteral("%1 needs a VALUE; usage: orvellactl set CAMERA CONTROL VALUE")
                .arg(args.back()),
            kExitUsage};
    if (args.size() < 2)
        return Failure{QStringLiteral("usage: orvellactl set CAMERA CONTROL VALUE"), kExitUsage};
    const auto found = session.find(args.size() == 3 ? std::optional(args[0]) : std::nullopt);
    if (const auto* failure = std::get_if<Failure>(&found)) return *failure;
    QTCamera& camera = *std::get<QTCamera*>(found);
    const QString& key = args[args.size() - 2];
    const QString& valueText = args.back();
    if (ExtraControl* extra = findExtra(camera, key)) {
        const auto value = parseNumber(valueText);
        if (!value)
            return Failure{QStringLiteral("\"%1\" is not a whole number").arg(valueText),
                           kExitUsage};
        // Nothing reaches the camera that the control does not allow.
        if (!extra->writable || !extra->allows(*value))
            return Failure{extraRefusal(*extra, *value)};
        const IOReturn status = extras::set(camera, *extra, *value);
        if (status != kIOReturnSuccess)
            return Failure{QStringLiteral("writing %1 = %2 failed: %3")
                               .arg(extra->key, valueText, statusText(status))};
        if (extra->kind != ExtraKind::Move)
            session.out() << extra->key.toStdString() << " = " << extra->cur << '\n';
        return std::nullopt;
    }
    const auto foundControl = findControl(camera, key);
    if (const auto* failure = std::get_if<Failure>(&foundControl)) return *failure;
    const CtlControl& control = *std::get<const CtlControl*>(foundControl);
    const auto value = parseNumber(valueText);
    if (!value)
        return Failure{QStringLiteral("\"%1\" is not a whole number").arg(valueText), kExitUsage};
    // A value outside the control's range is clamped to it, and said: cut to the control's
    // width it would reach the camera as some other value.
    const ValueRange range = writableRange(control, *camera.supportedControl());
    const long sent = std::clamp(*value, range.lowest, range.highest);
    const IOReturn status = writeControl(camera, control, sent);
    if (status != kIOReturnSuccess) {
        if (const auto governed = governingMode(camera, control)) return Failure{*governed};
        return Failure{
            QStringLiteral("writing %1 = %2 failed: %3").arg(key, valueText, statusText(status))};
    }
    // What the camera holds after the write, in the units the value was given in (controls
    // counted in resolution steps are read back in device units).
    const std::optional<long> held =
        control.cur ? std::optional(camera.supportedControl()->*control.cur) : std::nullopt;
    if (sent != *value)
        session.err() << "orvellactl: " << control.key << ' ' << *value << " is beyond "
                      << range.lowest << ".." << range.highest << "; the camera took "
                      << (held && !control.res ? *held : sent) << '\n';
    if (held) session.out() << control.key << " = " << *held << '\n';
    return std::nullopt;
}

std::optional<Failure> commandDefaults(Session& session, const Options&, const Arguments& args) {
    const auto found = session.find(args.isEmpty() ? std::nullopt : std::optional(args[0]));
    if (const auto* failure = std::get_if<Failure>(&found)) return *failure;
    QTCamera& camera = *std::get<QTCamera*>(found);
    camera.setDefaults();
    camera.queryControlStatus();
    return std::nullopt;
}

CtlCameras ctlCameras(Session& session) {
    CtlCameras cameras;
    for (const auto& camera : session.cameras())
        cameras.all.push_back(camera.get());
    cameras.find =
        [&session](const std::optional<QString>& wanted) -> std::variant<QTCamera*, CtlFailure> {
        auto found = session.find(wanted);
        if (const auto* failure = std::get_if<Failure>(&found))
            return CtlFailure{failure->message, failure->status};
        return std::get<QTCamera*>(found);
    };
    return cameras;
}

std::optional<Failure> commandProfile(Session& session, const Options& options,
                                      const Arguments& args) {
    if (auto failure = runProfileCommand(ctlCameras(session), args, options.json, session.out(),
                                         session.err()))
        return Failure{failure->message, failure->status};
    return std::nullopt;
}

std::optional<Failure> commandLock(Session& session, const Options&, const Arguments& args) {
    if (auto failure = runLockCommand(ctlCameras(session), args, session.out(), session.err()))
        return Failure{failure->message, failure->status};
    return std::nullopt;
}

std::optional<Failure> commandApplyLast(Session& session, const Options& options,
                                        const Arguments& args) {
    if (auto failure = runApplyLastCommand(ctlCameras(session), args, options.all, session.err()))
        return Failure{failure->message, failure->status};
    return std::nullopt;
}

// snapshot [CAMERA] FILE and record [CAMERA] FILE: the capture commands (tools/CtlCapture.h).
template <auto run>
std::optional<Failure> commandCapture(Session& session, const Options& options,
                                      const Arguments& args) {
    const auto found = session.find(args.size() == 2 ? std::optional(args[0]) : std::nullopt);
    if (const auto* failure = std::get_if<Failure>(&found)) return *failure;
    if (auto failure =
            run(*std::get<QTCamera*>(found), args.back(), options.capture, session.err()))
        return Failure{failure->message, failure->usage ? kExitUsage : kExitFailure};
    return std::nullopt;
}

struct Command {
    const char* name;
    int minArguments;
    int maxArguments;
    std::optional<Failure> (*run)(Session&, const Options&, const Arguments&);
    const char* usage;
};

constexpr Command kCommands[] = {
    {"list", 0, 0, commandList, "list"},
    {"show", 0, 1, commandShow, "show [CAMERA] [--json]"},
    {"get", 1, 2, commandGet, "get CAMERA CONTROL"},
    {"set", 1, 3, commandSet, "set CAMERA CONTROL VALUE"},
    {"defaults", 0, 1, commandDefaults, "defaults CAMERA"},
    {"profile", 1, 3, commandProfile, "profile list|save|apply|delete|show [CAMERA] [NAME]"},
    {"apply-last", 0, 1, commandApplyLast, "apply-last CAMERA | apply-last --all"},
    {"lock", 0, 1, commandLock, "lock CAMERA"},
    {"snapshot", 1, 2, commandCapture<snapshotCommand>, "snapshot CAMERA FILE [--format WxH]"},
    {"record", 1, 2, commandCapture<recordCommand>,
     "record CAMERA FILE --seconds N [--format WxH] [--video-codec ENCODER] [--audio SOURCE] "
     "[--audio-codec ENCODER]"},
};

int fail(std::ostream& err, const Failure& failure) {
    err << "orvellactl: " << text(failure.message) << '\n';
    return failure.status;
}

}  // namespace

int runOrvellaCtl(const std::vector<std::string>& arguments, std::ostream& out, std::ostream& err) {
    Options options;
    if (const auto failure = parseOptions(arguments, options)) return fail(err, *failure);
    if (options.help) {
        out << kHelpBeforeControls << controlList() << kHelpAfterControls;
        return kExitSuccess;
    }
    if (options.positional.isEmpty())
        return fail(err, {QStringLiteral("no command (see orvellactl --help)"), kExitUsage});

    const QString name = options.positional.takeFirst();
    const Command* command = nullptr;
    for (const Command& candidate : kCommands)
        if (name == QLatin1String(candidate.name)) command = &candidate;
    if (!command)
        return fail(err,
                    {QStringLiteral("unknown command \"%1\" (see orvellactl --help)").arg(name),
                     kExitUsage});
    const auto count = options.positional.size();
    if (count < command->minArguments || count > command->maxArguments)
        return fail(err, {QStringLiteral("usage: orvellactl %1").arg(QLatin1String(command->usage)),
                          kExitUsage});
    if (options.json && command->run != commandShow && command->run != commandProfile)
        return fail(err, {QStringLiteral("--json goes with show only"), kExitUsage});
    if (options.all && command->run != commandApplyLast)
        return fail(err, {QStringLiteral("--all goes with apply-last only"), kExitUsage});
    virtualcam::RequestLog requestLog(options.requestLog.toLocal8Bit().toStdString());
    if (!options.requestLog.isEmpty() && !requestLog.isOpen())
        return fail(err,
                    {QStringLiteral("cannot open %1 for the request log").arg(options.requestLog)});
    log::NullSink quiet;
    StreamSink verbose(err);
    ScopedSink sink(options.verbose ? static_cast<log::Sink&>(verbose) : quiet);

    // A command on the system's own controls builds the cameras without probing the controls
    // beyond them (dozens of extension-unit requests on some cameras).
    const qsizetype keyAt = name == QLatin1String("get")   ? count - 1
                            : name == QLatin1String("set") ? count - 2
                                                           : -1;
    const bool systemControlsOnly =
        name == QLatin1String("list") ||
        (keyAt >= 0 && findCtlControl(options.positional[keyAt].toStdString()));
    QTCamera::setProbesExtraControls(!systemControlsOnly);

    Session session(out, err);
    auto failure = session.load(options);
    if (!failure) failure = command->run(session, options, options.positional);
    appendRequests(requestLog, session.virtualCameras());
    if (const std::string problem = requestLog.writeError(); !problem.empty()) {
        const Failure logFailure{QStringLiteral("cannot write the request log %1: %2")
                                     .arg(options.requestLog, QString::fromStdString(problem))};
        if (!failure) return fail(err, logFailure);
        fail(err, logFailure);
    }
    return failure ? fail(err, *failure) : kExitSuccess;
}

}  // namespace orvella::tools

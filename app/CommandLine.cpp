#include "app/CommandLine.h"

#include <QCommandLineParser>
#include <QCoreApplication>

namespace orvella::app {

namespace {

const char kDescription[] =
    "Adjusts the image controls of USB webcams from the system tray.\n"
    "\n"
    "Without camera options Orvella works on the cameras plugged into this machine.\n"
    "The camera options replace them with virtual cameras, for trying Orvella out and for tests.";

// Options of Qt's own that QApplication takes from the same command line (it reads them from
// argv itself): with a value, and without.
const QStringList kQtValueOptions = {
    QStringLiteral("platform"),
    QStringLiteral("platformpluginpath"),
    QStringLiteral("platformtheme"),
    QStringLiteral("plugin"),
    QStringLiteral("qwindowgeometry"),
    QStringLiteral("qwindowtitle"),
    QStringLiteral("qwindowicon"),
    QStringLiteral("display"),
    QStringLiteral("geometry"),
    QStringLiteral("title"),
    QStringLiteral("name"),
    QStringLiteral("style"),
    QStringLiteral("stylesheet"),
    QStringLiteral("session"),
    QStringLiteral("qmljsdebugger"),
    QStringLiteral("visual"),
};
const QStringList kQtFlagOptions = {
    QStringLiteral("reverse"), QStringLiteral("widgetcount"), QStringLiteral("nograb"),
    QStringLiteral("dograb"),  QStringLiteral("sync"),        QStringLiteral("testability"),
};

const char kQtOptionsHelp[] =
    "\nQt's own options are taken as well, among them:\n"
    "  -platform NAME        The windowing system plugin (xcb, wayland, offscreen, ...).\n"
    "  -style NAME           The widget style.\n"
    "  -display DISPLAY      The X display to use.\n"
    "  -reverse              Lay the interface out right to left.\n";

// The arguments without Qt's own options.
QStringList withoutQtOptions(const QStringList& arguments) {
    QStringList kept;
    for (qsizetype i = 0; i < arguments.size(); ++i) {
        const QString& argument = arguments[i];
        if (i > 0 && argument.startsWith(QLatin1Char('-')) && argument != QLatin1String("--")) {
            QString name = argument.mid(argument.startsWith(QLatin1String("--")) ? 2 : 1);
            const bool inlineValue = name.contains(QLatin1Char('='));
            name = name.section(QLatin1Char('='), 0, 0);
            if (kQtFlagOptions.contains(name)) continue;
            if (kQtValueOptions.contains(name)) {
                if (!inlineValue) ++i;  // its value
                continue;
            }
        }
        kept << argument;
    }
    return kept;
}

CommandLine failure(const QString& message) {
    CommandLine result;
    result.action = CommandLine::Action::Fail;
    result.text = QStringLiteral("orvella: %1 (see orvella --help)").arg(message);
    return result;
}

}  // namespace

CommandLine CommandLine::parse(const QStringList& arguments) {
    QCommandLineParser parser;
    parser.setApplicationDescription(QString::fromLatin1(kDescription));
    parser.setSingleDashWordOptionMode(QCommandLineParser::ParseAsLongOptions);
    const QCommandLineOption help({QStringLiteral("h"), QStringLiteral("help")},
                                  QStringLiteral("Show this help and exit."));
    const QCommandLineOption helpAll(QStringLiteral("help-all"),
                                     QStringLiteral("Show this help with Qt's own options."));
    const QCommandLineOption version({QStringLiteral("v"), QStringLiteral("version")},
                                     QStringLiteral("Show the version and exit."));
    const QCommandLineOption virtualFile(
        QStringLiteral("virtual"),
        QStringLiteral("Add the virtual camera defined by the JSON file FILE (repeatable)."),
        QStringLiteral("FILE"));
    const QCommandLineOption demo(QStringLiteral("demo"),
                                  QStringLiteral("Add the bundled demo camera."));
    const QCommandLineOption virtualDir(
        QStringLiteral("virtual-dir"),
        QStringLiteral("Every *.json file in DIR is a virtual camera: a file that appears is a "
                       "camera plugged in, a file removed is a camera unplugged."),
        QStringLiteral("DIR"));
    const QCommandLineOption requestLog(
        QStringLiteral("request-log"),
        QStringLiteral("Append every request the virtual cameras see to FILE, one line each, "
                       "as orvella-usbip-camera --log writes them."),
        QStringLiteral("FILE"));
    const QCommandLineOption virtualControl(
        QStringLiteral("virtual-control"),
        QStringLiteral("Read commands for the virtual cameras from FIFO (created if missing), one "
                       "per line, as orvella-usbip-camera --control takes them, plus open N and "
                       "close N (another program opens or closes camera N). Cameras are numbered "
                       "from 1 in the order they are plugged in, as in the request log; each "
                       "command is confirmed there."),
        QStringLiteral("FIFO"));
    parser.addOptions(
        {help, helpAll, version, virtualFile, demo, virtualDir, requestLog, virtualControl});

    QStringList args = withoutQtOptions(arguments);
    if (args.isEmpty()) args << QStringLiteral("orvella");
    if (!parser.parse(args)) return failure(parser.errorText());

    CommandLine result;
    if (parser.isSet(help) || parser.isSet(helpAll)) {
        result.action = Action::ShowHelp;
        // The help text names the program as it was started; show its installed name.
        result.text = parser.helpText();
        const qsizetype options = result.text.indexOf(QLatin1String(" [options]"));
        if (result.text.startsWith(QLatin1String("Usage: ")) && options > 0)
            result.text.replace(7, options - 7, QStringLiteral("orvella"));
        if (parser.isSet(helpAll)) result.text += QLatin1String(kQtOptionsHelp);
        return result;
    }
    if (parser.isSet(version)) {
        result.action = Action::ShowVersion;
        QString number = QCoreApplication::applicationVersion();
        if (number.isEmpty()) number = QStringLiteral(ORVELLA_VERSION);
        result.text = QStringLiteral("orvella %1\n").arg(number);
        return result;
    }
    if (!parser.positionalArguments().isEmpty())
        return failure(
            QStringLiteral("unexpected argument '%1'").arg(parser.positionalArguments().first()));
    if (parser.values(virtualDir).size() > 1)
        return failure(QStringLiteral("--virtual-dir may be given once"));
    if (parser.values(requestLog).size() > 1)
        return failure(QStringLiteral("--request-log may be given once"));
    if (parser.values(virtualControl).size() > 1)
        return failure(QStringLiteral("--virtual-control may be given once"));

    CommandLineOptions& options = result.options;
    options.virtualFiles = parser.values(virtualFile);
    options.demo = parser.isSet(demo);
    options.virtualDir = parser.value(virtualDir);
    options.requestLog = parser.value(requestLog);
    options.virtualControl = parser.value(virtualControl);
    for (const QString& value : options.virtualFiles)
        if (value.isEmpty()) return failure(QStringLiteral("--virtual needs a FILE"));
    if (parser.isSet(virtualDir) && options.virtualDir.isEmpty())
        return failure(QStringLiteral("--virtual-dir needs a DIR"));
    if (parser.isSet(requestLog) && options.requestLog.isEmpty())
        return failure(QStringLiteral("--request-log needs a FILE"));
    if (parser.isSet(virtualControl) && options.virtualControl.isEmpty())
        return failure(QStringLiteral("--virtual-control needs a FIFO"));
    if (!options.requestLog.isEmpty() && !options.usesVirtualCameras())
        return failure(
            QStringLiteral("--request-log records virtual cameras only: add --virtual, --demo "
                           "or --virtual-dir"));
    if (!options.virtualControl.isEmpty() && !options.usesVirtualCameras())
        return failure(
            QStringLiteral("--virtual-control acts on virtual cameras only: add --virtual, "
                           "--demo or --virtual-dir"));
    return result;
}

}  // namespace orvella::app

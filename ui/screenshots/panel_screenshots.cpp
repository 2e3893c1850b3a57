// Renders the control panel for the documentation: for each fixture camera, language and light or
// dark palette, one PNG with the panel's tabs side by side and one of the "All controls" tab alone
// (docs/screenshots/panel-<camera>-<lang>-<theme>.png). Also renders the application icon's PNG
// sizes for the icon theme.
//
//   orvella-ui-shots --fixtures DIR --out DIR [--camera NAME=FILE]... [--lang L]... [--theme T]...
//   orvella-ui-shots --icons DIR      (DIR/<n>x<n>/apps/org.orvella.Orvella.png)
//   orvella-ui-shots --icon-sheet FILE (every image at 16 and 32 px, light and dark)
//   orvella-ui-shots --tray DIR       (DIR/tray-menu.png and DIR/popover.png)
//   orvella-ui-shots --fixtures DIR --small-screen DIR
//                      (every fixture camera in every language: the panel's smallest height
//                      printed; the camera with the most rows shown on the screen's height,
//                      small-screen-<lang>-<w>x<h>.png)
//   orvella-ui-shots --fixtures DIR --preferences DIR [--lang L]...
//                      (the Preferences tab with the settings guard on:
//                      preferences-guard-<lang>.png)
//   orvella-ui-shots --fixtures DIR --preview DIR
//                      (the panel with the live preview of a camera streaming 1280 x 720 MJPEG,
//                      light and dark, and with the note of a camera another program uses:
//                      panel-preview-<theme>.png, panel-preview-in-use.png)
//   orvella-ui-shots --fixtures DIR --twins FILE
//                      (the camera pop-up open over the panel for two cameras of one model,
//                      named apart by their USB ports)
//
// Run it under a display (xvfb-run -a) so the panel is laid out and drawn as on a desktop.

#include <QAbstractItemView>
#include <QApplication>
#include <QComboBox>
#include <QDir>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QImage>
#include <QPainter>
#include <QScreen>
#include <QStyleFactory>
#include <QSvgRenderer>
#include <QTabWidget>
#include <QTemporaryDir>
#include <QTextStream>
#include <QTimer>
#include <QToolButton>
#include <cmath>
#include <cstdio>
#include <functional>

#include "app/PreviewPart.h"
#include "camera/CameraSession.h"
#include "camera/QTCamera.h"
#include "platform/Clock.h"
#include "platform/virtual/VirtualCaptureDevice.h"
#include "platform/virtual/VirtualPlatform.h"
#include "settings/CameraNames.h"
#include "settings/DefaultsStore.h"
#include "settings/Preferences.h"
#include "settings/SettingsID.h"
#include "ui/CapturePreview.h"
#include "ui/AllControlsPage.h"
#include "ui/ControlPanel.h"
#include "ui/ControlPanelOutlets.h"
#include "ui/Images.h"
#include "ui/Localization.h"
#include "ui/PreferencesPage.h"
#include "ui/PreviewArea.h"
#include "ui/ProfileItemRoles.h"
#include "ui/screenshots/TrayScreenshots.h"

using namespace orvella;

namespace {

QPalette darkPalette() {
    QPalette p;
    const QColor window(0x2b, 0x2d, 0x31), base(0x1e, 0x1f, 0x22), text(0xe6, 0xe6, 0xe6);
    p.setColor(QPalette::Window, window);
    p.setColor(QPalette::WindowText, text);
    p.setColor(QPalette::Base, base);
    p.setColor(QPalette::AlternateBase, window);
    p.setColor(QPalette::ToolTipBase, base);
    p.setColor(QPalette::ToolTipText, text);
    p.setColor(QPalette::PlaceholderText, QColor(0x8a, 0x8a, 0x8a));
    p.setColor(QPalette::Text, text);
    p.setColor(QPalette::Button, QColor(0x3a, 0x3c, 0x41));
    p.setColor(QPalette::ButtonText, text);
    p.setColor(QPalette::BrightText, Qt::white);
    p.setColor(QPalette::Light, QColor(0x4a, 0x4c, 0x52));
    p.setColor(QPalette::Midlight, QColor(0x42, 0x44, 0x49));
    p.setColor(QPalette::Mid, QColor(0x25, 0x26, 0x29));
    p.setColor(QPalette::Dark, QColor(0x18, 0x19, 0x1b));
    p.setColor(QPalette::Shadow, Qt::black);
    p.setColor(QPalette::Highlight, QColor(0x3d, 0x7e, 0xd6));
    p.setColor(QPalette::HighlightedText, Qt::white);
    p.setColor(QPalette::Link, QColor(0x6a, 0xa8, 0xf0));
    const QColor disabled(0x7d, 0x7f, 0x84);
    for (auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        p.setColor(QPalette::Disabled, role, disabled);
    return p;
}

// A camera in a session of its own, as the application runs it; declared after the platform it
// talks to, it lets its camera object go on the session's thread before the platform goes.
struct ShotSession {
    CameraSession session;
    explicit ShotSession(std::unique_ptr<QTCamera> camera) : session(std::move(camera)) {}
    ~ShotSession() {
        session.close();
        CameraSession::waitForSessionsToEnd(5000);
    }
};

// The panel as the application shows it for `camera`: the camera chosen, `profiles` listed as the
// profile store would list them with the first one in force, and a stream at 30 frames a second.
void fillPanel(ui::ControlPanel& panel, CameraSession& camera, const QStringList& profiles) {
    ui::ControlPanel::Outlets& ui = panel.outlets();
    ui.mPopCamera->addItem(camera.camera().displayName());
    ui.mPopCamera->setCurrentIndex(0);
    ui.mPopCamera->setEnabled(true);
    ui.mPopProfile->addItems(profiles);
    ui.mPopProfile->setItemData(2, Qt::Checked, ui::kProfileStateRole);
    ui.mPopProfile->setCurrentIndex(2);
    panel.setQTCamera(&camera);
    panel.loadSupportedControl();
    CameraSession::settleAll();  // what the camera's session read, shown
    panel.updateFPS(30);
}

QImage grabTabs(ui::ControlPanel& panel) {
    ui::ControlPanel::Outlets& ui = panel.outlets();
    QList<QImage> shots;
    for (int tab = 0; tab < ui.mTabView->count(); ++tab) {
        ui.mTabView->setCurrentIndex(tab);
        QApplication::processEvents();
        shots << panel.window()->grab().toImage();
    }
    int width = 0, height = 0;
    for (const QImage& shot : shots) {
        width += shot.width();
        height = std::max(height, shot.height());
    }
    // On a scaled screen the shots are in device pixels: the sheet is too.
    const qreal scale = shots.isEmpty() ? 1 : shots.first().devicePixelRatio();
    const int gap = 12;
    width += qRound(gap * scale) * (static_cast<int>(shots.size()) - 1);
    QImage out(width, height, QImage::Format_ARGB32);
    out.setDevicePixelRatio(scale);
    out.fill(Qt::transparent);
    QPainter painter(&out);
    qreal x = 0;
    for (const QImage& shot : shots) {
        painter.drawImage(QPointF(x, 0), shot);
        x += shot.width() / scale + gap;
    }
    return out;
}

// Every image of the interface at 16 and 32 pixels, on the light and the dark palette.
int renderIconSheet(const QString& path) {
    const QStringList names = QDir(QStringLiteral(":/images")).entryList({"*.svg"}, QDir::Files);
    const int cell = 56, columns = 8;
    const int rows = (static_cast<int>(names.size()) + columns - 1) / columns;
    const QPalette palettes[] = {QApplication::style()->standardPalette(), darkPalette()};
    QImage sheet(columns * cell * 2 + 12, rows * cell, QImage::Format_ARGB32);
    sheet.fill(Qt::transparent);
    QPainter painter(&sheet);
    for (int half = 0; half < 2; ++half) {
        QApplication::setPalette(palettes[half]);
        const int x0 = half * (columns * cell + 12);
        painter.fillRect(x0, 0, columns * cell, rows * cell,
                         palettes[half].color(QPalette::Window));
        for (int i = 0; i < names.size(); ++i) {
            const QString name = names[i].chopped(4);
            const QIcon icon = ui::imageNamed(name);
            const int x = x0 + (i % columns) * cell, y = (i / columns) * cell;
            painter.drawPixmap(x + 4, y + 4, icon.pixmap(16, 16));
            painter.drawPixmap(x + 22, y + 4, icon.pixmap(32, 32));
            QFont font = painter.font();
            font.setPixelSize(8);
            painter.setFont(font);
            painter.setPen(palettes[half].color(QPalette::WindowText));
            painter.drawText(QRect(x, y + 38, cell, 16), Qt::AlignCenter, name.left(12));
        }
    }
    painter.end();
    return sheet.save(path) ? 0 : 1;
}

int renderIcons(const QString& dir) {
    QSvgRenderer renderer(QStringLiteral(":/images/orvella.svg"));
    if (!renderer.isValid()) {
        std::fprintf(stderr, "orvella-ui-shots: no application icon in the resources\n");
        return 1;
    }
    for (int size : {16, 22, 24, 32, 48, 64, 128, 256}) {
        const QString path = QStringLiteral("%1/%2x%2/apps").arg(dir).arg(size);
        QDir().mkpath(path);
        QImage image(size, size, QImage::Format_ARGB32);
        image.fill(Qt::transparent);
        QPainter painter(&image);
        painter.setRenderHint(QPainter::Antialiasing);
        renderer.render(&painter, QRectF(0, 0, size, size));
        painter.end();
        if (!image.save(path + QStringLiteral("/org.orvella.Orvella.png"))) return 1;
    }
    return 0;
}

// A camera built from a definition file on `rig`, as the application builds it (built-in
// cameras through their media-device object); null, said on standard error, when it cannot be.
std::unique_ptr<QTCamera> cameraFrom(virtualcam::VirtualPlatform& rig,
                                     platform::RecordingClock& clock, const QString& path) {
    QString error;
    auto capture = rig.addDefinitionFile(path, &error);
    if (!capture) {
        std::fprintf(stderr, "orvella-ui-shots: %s\n", qPrintable(error));
        return nullptr;
    }
    const platform::MediaObjectID media = rig.mediaDeviceFor(*capture);
    return media ? QTCamera::initWithQTCaptureDevice(rig.platform(&clock), capture, media)
                 : QTCamera::initWithQTCaptureDevice(rig.platform(&clock), capture);
}

// The Preferences tab with the settings guard on, for a camera with every control, one PNG per
// language; prints each path with the panel's width (a text that widens the panel shows there).
int renderPreferences(const QString& fixtures, const QString& out, const QStringList& languages) {
    QApplication::setStyle(QStyleFactory::create(QStringLiteral("Fusion")));
    QDir().mkpath(out);
    virtualcam::VirtualPlatform rig;
    platform::RecordingClock clock;
    auto camera = cameraFrom(rig, clock, fixtures + QStringLiteral("/full-pu.json"));
    if (!camera) return 1;
    ShotSession live(std::move(camera));
    for (const QString& language : languages) {
        if (!ui::installTranslation(language)) return 1;
        ui::ControlPanel panel;
        fillPanel(panel, live.session, {QStringLiteral("Video call")});
        panel.showGuardSettings(true, 1000);
        panel.preferencesPage().showShowPreview(true);  // "Show preview" is on unless switched off
        ui::ControlPanel::Outlets& ui = panel.outlets();
        ui.mTabView->setCurrentIndex(2);  // the Preferences tab
        panel.window()->show();
        QApplication::processEvents();
        const QString path = QStringLiteral("%1/preferences-guard-%2.png").arg(out, language);
        if (!panel.window()->grab().save(path)) return 1;
        QTextStream(stdout) << path << ' ' << panel.window()->width() << '\n';
    }
    return 0;
}

// The panel while its camera does not answer: a step of the brightness slider goes unanswered
// (the request's time-out shortened), and the bottom line says so.
int renderNotAnswering(const QString& fixtures, const QString& out) {
    QApplication::setStyle(QStyleFactory::create(QStringLiteral("Fusion")));
    QDir().mkpath(out);
    virtualcam::VirtualPlatform rig;
    platform::RecordingClock clock;
    auto camera = cameraFrom(rig, clock, fixtures + QStringLiteral("/full-pu.json"));
    if (!camera) return 1;
    const std::shared_ptr<virtualcam::VirtualCamera> device = rig.usb().cameras().back();
    ShotSession live(std::move(camera));
    ui::installTranslation(QStringLiteral("en"));
    ui::ControlPanel panel;
    fillPanel(panel, live.session, {QStringLiteral("Video call")});
    device->setUnansweredWait(std::chrono::milliseconds(10));
    device->leaveUnanswered(1000);
    panel.row(settings::kBrightness)->slideAction(12);
    CameraSession::settleAll();
    panel.window()->show();
    QApplication::processEvents();
    const QString path = QStringLiteral("%1/panel-not-answering.png").arg(out);
    if (!panel.window()->grab().save(path)) return 1;
    QTextStream(stdout) << path << '\n';
    return 0;
}

// The panel as the application shows it with its live preview (app/PreviewPart on the camera's
// session, the format pop-up on 1280 x 720 MJPEG), on the light and the dark palette; then, on the
// light one, the note that takes the picture's place while another program has the camera open.
int renderPreview(const QString& fixtures, const QString& out) {
    QApplication::setStyle(QStyleFactory::create(QStringLiteral("Fusion")));
    const QPalette light = QApplication::style()->standardPalette();
    QDir().mkpath(out);
    virtualcam::VirtualPlatform rig;
    platform::RecordingClock clock;
    auto camera = cameraFrom(rig, clock, fixtures + QStringLiteral("/generic.json"));
    if (!camera) return 1;
    const auto device =
        std::dynamic_pointer_cast<virtualcam::VirtualCaptureDevice>(camera->qtCaptureDevice());
    if (!device) return 1;
    ShotSession live(std::move(camera));
    ui::installTranslation(QStringLiteral("en"));
    QTemporaryDir home;
    settings::DefaultsStore defaults(home.filePath(QStringLiteral("shots.plist")));
    defaults.registerDefaults(settings::Preferences::registeredDefaults());
    settings::Preferences preferences(defaults);
    const auto wait = [](int ms, const std::function<bool()>& done) {
        QElapsedTimer timer;
        timer.start();
        while (!done() && timer.elapsed() < ms) {
            CameraSession::settleAll(50);
            QApplication::processEvents(QEventLoop::AllEvents, 20);
        }
        return done();
    };
    for (const QString& theme :
         {QStringLiteral("light"), QStringLiteral("dark"), QStringLiteral("in-use")}) {
        QApplication::setPalette(theme == "dark" ? darkPalette() : light);
        ui::ControlPanel panel;
        fillPanel(panel, live.session, {QStringLiteral("Video call")});
        panel.clearFPS();
        app::PreviewPart preview(panel, preferences);
        QObject::connect(&preview, &app::PreviewPart::frameRateMeasured, &panel,
                         [&panel](uint32_t fps) { panel.updateFPS(fps); });
        QObject::connect(&preview, &app::PreviewPart::stopped, &panel,
                         [&panel] { panel.clearFPS(); });
        preview.showStored();
        preview.setCamera(&live.session);
        const auto& formats = preview.formats();
        for (int i = 0; i < static_cast<int>(formats.size()); ++i)
            if (formats[i].format.FormatWidth == 1280 &&
                formats[i].format.FormatCode == 0x47504A4D && std::abs(formats[i].fps - 30) < 0.5) {
                panel.outlets().mPopPreviewFormat->setCurrentIndex(i);
                preview.selectFormat(i);
            }
        panel.window()->show();
        const ui::CapturePreview* view = panel.preview().view();
        if (!wait(5000, [&] {
                return view->framesShown() > 10 && !panel.outlets().mTxtFPS->isHidden();
            })) {
            std::fprintf(stderr, "orvella-ui-shots: no frames from the preview\n");
            return 1;
        }
        if (theme == "in-use") {
            device->camera()->openByAnotherProgram();
            preview.captureUseChanged(&live.session, 1);
            wait(2000, [&] { return preview.state() == app::PreviewPart::State::InUse; });
        }
        wait(100, [] { return false; });  // the last frame painted
        const QString path = QStringLiteral("%1/panel-preview-%2.png").arg(out, theme);
        if (!panel.window()->grab().save(path)) return 1;
        QTextStream(stdout) << path << '\n';
        preview.setCamera(nullptr);
        if (theme == "in-use") device->camera()->closeByAnotherProgram();
        CameraSession::settleAll();
    }
    return 0;
}

// Two cameras of one model (the generic fixture, and the same at location 0x14200000) named as
// the application names them, the pop-up open over the panel: the top of the screen under the
// panel and the pop-up, which is a window of its own.
int renderTwins(const QString& fixtures, const QString& path) {
    QApplication::setStyle(QStyleFactory::create(QStringLiteral("Fusion")));
    virtualcam::VirtualPlatform rig;
    QString error;
    const QString generic = fixtures + QStringLiteral("/generic.json");
    auto first = rig.addDefinitionFile(generic, &error);
    QFile file(generic);
    std::shared_ptr<virtualcam::VirtualCaptureDevice> second;
    if (first && file.open(QIODevice::ReadOnly)) {
        QByteArray json = file.readAll();
        json.replace("\"0x14100000\"", "\"0x14200000\"");
        if (auto twin = virtualcam::VirtualCamera::fromJson(json, &error))
            second = rig.addCamera(twin, &error);
    }
    if (!first || !second) {
        std::fprintf(stderr, "orvella-ui-shots: %s\n", qPrintable(error));
        return 1;
    }
    platform::RecordingClock clock;
    std::vector<std::unique_ptr<QTCamera>> cameras;
    std::vector<settings::CameraIdentity> identities;
    for (const auto& device : {first, second}) {
        cameras.push_back(QTCamera::initWithQTCaptureDevice(rig.platform(&clock), device));
        const QTCamera& c = *cameras.back();
        identities.push_back({c.uniqueID(), c.displayName(), c.serialNumber(), c.locationID()});
    }
    const QStringList names = settings::cameraNames(identities, {});
    ShotSession live(std::move(cameras.front()));
    if (!ui::installTranslation(QStringLiteral("en"))) return 1;

    ui::ControlPanel panel;
    fillPanel(panel, live.session, {QStringLiteral("Video call")});
    ui::ControlPanel::Outlets& ui = panel.outlets();
    ui.mPopCamera->clear();
    ui.mPopCamera->addItems(names);
    panel.showCameraSelection(0, true);
    panel.window()->move(40, 40);
    panel.window()->show();
    const auto wait = [](int ms) {
        QEventLoop loop;
        QTimer::singleShot(ms, &loop, &QEventLoop::quit);
        loop.exec();
    };
    wait(300);
    ui.mPopCamera->showPopup();
    wait(300);
    QRect area = panel.window()->frameGeometry();
    const QRect popUp = ui.mPopCamera->view()->window()->frameGeometry();
    area.setBottom(std::min(area.bottom(), popUp.bottom() + 80));
    area = area.united(popUp).adjusted(-8, -8, 8, 8);
    const QPixmap shot =
        panel.window()->screen()->grabWindow(0, area.x(), area.y(), area.width(), area.height());
    if (!shot.save(path)) return 1;
    QTextStream(stdout) << path << ' ' << names.join(QStringLiteral(", ")) << '\n';
    return 0;
}

}  // namespace

// The number of control rows a camera shows (both tabs).
int shownRows(ui::ControlPanel& panel) {
    int count = 0;
    for (const auto& row : panel.rows())
        if (row && row->isVisible()) ++count;
    return count;
}

// The panel on a small screen: for every fixture camera and language the smallest height the
// panel can take (it must fit a 1366x768 screen with a top bar: 720 px); the camera with the most
// rows is then shown at that height, one PNG per language with the screen's size in the name.
int renderSmallScreen(const QString& fixtures, const QString& out) {
    QApplication::setStyle(QStyleFactory::create(QStringLiteral("Fusion")));
    const QScreen* screen = QGuiApplication::primaryScreen();
    const QSize screenSize = screen ? screen->size() : QSize(1366, 768);
    QDir().mkpath(out);
    const QStringList files =
        QDir(fixtures).entryList({QStringLiteral("*.json")}, QDir::Files, QDir::Name);
    QString fullest;
    int mostRows = -1;
    int worst = 0;
    for (const QString& language : ui::availableLocales()) {
        if (!ui::installTranslation(language)) return 1;
        for (const QString& file : files) {
            virtualcam::VirtualPlatform rig;
            platform::RecordingClock clock;
            auto camera = cameraFrom(rig, clock, fixtures + '/' + file);
            if (!camera) return 1;
            ShotSession live(std::move(camera));
            ui::ControlPanel panel;
            fillPanel(panel, live.session,
                      {QStringLiteral("Video call"), QStringLiteral("Evening")});
            panel.window()->show();
            QApplication::processEvents();
            const int rows = shownRows(panel);
            if (rows > mostRows) mostRows = rows, fullest = file;
            const int height = panel.window()->minimumSizeHint().height();
            worst = std::max(worst, height);
            QTextStream(stdout) << language << ' ' << file << " rows " << rows << " minimum "
                                << panel.window()->minimumSizeHint().width() << 'x' << height
                                << '\n';
        }
    }
    QTextStream(stdout) << "fullest " << fullest << " tallest minimum " << worst << '\n';
    for (const QString& language : ui::availableLocales()) {
        ui::installTranslation(language);
        virtualcam::VirtualPlatform rig;
        platform::RecordingClock clock;
        auto camera = cameraFrom(rig, clock, fixtures + '/' + fullest);
        if (!camera) return 1;
        ShotSession live(std::move(camera));
        ui::ControlPanel panel;
        fillPanel(panel, live.session, {QStringLiteral("Video call"), QStringLiteral("Evening")});
        panel.window()->show();
        QApplication::processEvents();
        const qreal scale = screen ? screen->devicePixelRatio() : 1;
        const QString path = QStringLiteral("%1/small-screen-%2-%3x%4%5.png")
                                 .arg(out, language)
                                 .arg(screenSize.width())
                                 .arg(screenSize.height())
                                 .arg(scale == 1 ? QString() : QStringLiteral("@%1x").arg(scale));
        const QImage shot = grabTabs(panel);
        const QSize size = panel.window()->size();
        if (!shot.save(path)) return 1;
        QTextStream(stdout) << path << " panel " << size.width() << 'x' << size.height() << '\n';
    }
    return 0;
}

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    const QStringList args = app.arguments();
    // The menus and the popover name the application as it runs.
    QApplication::setApplicationName(QStringLiteral("Orvella"));
    QString fixtures, out, icons, sheet, preferences, tray, smallScreen, notAnswering, twins,
        previewShots;
    QStringList cameras, languages, themes;
    for (int i = 1; i + 1 < args.size(); i += 2) {
        if (args[i] == "--fixtures")
            fixtures = args[i + 1];
        else if (args[i] == "--out")
            out = args[i + 1];
        else if (args[i] == "--camera")
            cameras << args[i + 1];
        else if (args[i] == "--lang")
            languages << args[i + 1];
        else if (args[i] == "--theme")
            themes << args[i + 1];
        else if (args[i] == "--icons")
            icons = args[i + 1];
        else if (args[i] == "--icon-sheet")
            sheet = args[i + 1];
        else if (args[i] == "--small-screen")
            smallScreen = args[i + 1];
        else if (args[i] == "--preferences")
            preferences = args[i + 1];
        else if (args[i] == "--tray")
            tray = args[i + 1];
        else if (args[i] == "--not-answering")
            notAnswering = args[i + 1];
        else if (args[i] == "--twins")
            twins = args[i + 1];
        else if (args[i] == "--preview")
            previewShots = args[i + 1];
        else {
            std::fprintf(stderr, "orvella-ui-shots: unknown option %s\n", qPrintable(args[i]));
            return 2;
        }
    }
    if (!icons.isEmpty()) return renderIcons(icons);
    if (!tray.isEmpty()) return ui::shots::renderTray(tray) ? 0 : 1;
    if (!sheet.isEmpty()) {
        QApplication::setStyle(QStyleFactory::create(QStringLiteral("Fusion")));
        return renderIconSheet(sheet);
    }
    if (!fixtures.isEmpty() && !notAnswering.isEmpty())
        return renderNotAnswering(fixtures, notAnswering);
    if (!fixtures.isEmpty() && !smallScreen.isEmpty())
        return renderSmallScreen(fixtures, smallScreen);
    if (!fixtures.isEmpty() && !twins.isEmpty()) return renderTwins(fixtures, twins);
    if (!fixtures.isEmpty() && !previewShots.isEmpty())
        return renderPreview(fixtures, previewShots);
    if (!fixtures.isEmpty() && !preferences.isEmpty())
        return renderPreferences(fixtures, preferences,
                                 languages.isEmpty() ? QStringList{"en"} : languages);
    if (fixtures.isEmpty() || out.isEmpty()) {
        std::fprintf(stderr,
                     "usage: orvella-ui-shots --fixtures DIR --out DIR [--camera NAME=FILE]... "
                     "[--lang L]... [--theme light|dark]...\n"
                     "       orvella-ui-shots --icons DIR\n"
                     "       orvella-ui-shots --tray DIR\n");
        return 2;
    }
    if (cameras.isEmpty())
        cameras << "full=full-pu.json"
                << "pantilt-led=motor-ptz.json"
                << "builtin=builtin.json";
    if (languages.isEmpty())
        languages << "en"
                  << "de";
    if (themes.isEmpty())
        themes << "light"
               << "dark";
    QDir().mkpath(out);

    // One style for every shot, so light and dark differ only by the palette.
    QApplication::setStyle(QStyleFactory::create(QStringLiteral("Fusion")));
    const QPalette light = QApplication::style()->standardPalette();

    for (const QString& entry : cameras) {
        const QString name = entry.section('=', 0, 0), file = entry.section('=', 1);
        virtualcam::VirtualPlatform rig;
        QString error;
        auto capture = rig.addDefinitionFile(fixtures + '/' + file, &error);
        if (!capture) {
            std::fprintf(stderr, "orvella-ui-shots: %s\n", qPrintable(error));
            return 1;
        }
        const platform::MediaObjectID media = rig.mediaDeviceFor(*capture);
        platform::RecordingClock clock;  // no real pauses between requests
        auto camera = media
                          ? QTCamera::initWithQTCaptureDevice(rig.platform(&clock), capture, media)
                          : QTCamera::initWithQTCaptureDevice(rig.platform(&clock), capture);
        if (!camera) return 1;
        ShotSession live(std::move(camera));
        for (const QString& language : languages) {
            if (!ui::installTranslation(language)) {
                std::fprintf(stderr, "orvella-ui-shots: no string table for %s\n",
                             qPrintable(language));
                return 1;
            }
            for (const QString& theme : themes) {
                QApplication::setPalette(theme == "dark" ? darkPalette() : light);
                ui::ControlPanel panel;
                fillPanel(panel, live.session,
                          {QStringLiteral("Video call"), QStringLiteral("Evening")});
                panel.window()->show();
                QApplication::processEvents();
                const QString path =
                    QStringLiteral("%1/panel-%2-%3-%4.png").arg(out, name, language, theme);
                if (!grabTabs(panel).save(path)) return 1;
                QTextStream(stdout) << path << '\n';
                // The "All controls" tab alone, the panel tall enough to show every row.
                ui::ControlPanel::Outlets& outlets = panel.outlets();
                outlets.mTabView->setCurrentWidget(&panel.allControlsPage());
                panel.window()->resize(
                    panel.window()->width(),
                    panel.window()->height() + panel.allControlsPage().rowCount() * 8);
                QApplication::processEvents();
                const QString allPath =
                    QStringLiteral("%1/all-controls-%2-%3-%4.png").arg(out, name, language, theme);
                if (!panel.window()->grab().save(allPath)) return 1;
                QTextStream(stdout) << allPath << '\n';
            }
        }
    }
    return 0;
}

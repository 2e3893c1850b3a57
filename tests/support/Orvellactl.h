#pragma once
// The built orvellactl run as a user runs it, and what it must answer to bad input: one line on
// standard error, a non-zero exit, never a crash.

#include <gtest/gtest.h>

#include <QFile>
#include <QProcess>
#include <QStringList>

namespace orvella::testing {

struct CtlRun {
    int exitCode = -1;
    QString out, err;
};

inline CtlRun runOrvellactl(
    const QStringList& arguments,
    const QProcessEnvironment& environment = QProcessEnvironment::systemEnvironment()) {
    QProcess process;
    process.setProcessEnvironment(environment);
    process.start(QStringLiteral(ORVELLA_ORVELLACTL), arguments);
    EXPECT_TRUE(process.waitForFinished(60000));
    EXPECT_EQ(process.exitStatus(), QProcess::NormalExit) << arguments.join(' ').toStdString();
    return {process.exitCode(), QString::fromUtf8(process.readAllStandardOutput()),
            QString::fromUtf8(process.readAllStandardError())};
}

// A command line and the exit code it must end with; a refusal also names `says` in its line.
struct CtlCase {
    QStringList arguments;
    int exitCode;
    const char* says = nullptr;
};

inline void expectAnswer(const CtlCase& c, const CtlRun& run) {
    const std::string what = c.arguments.join(' ').toStdString() + ": " + run.err.toStdString();
    EXPECT_EQ(run.exitCode, c.exitCode) << what;
    if (!c.says) return;
    EXPECT_TRUE(run.out.isEmpty()) << what;
    EXPECT_EQ(run.err.count('\n'), 1) << what;
    EXPECT_TRUE(run.err.startsWith("orvellactl: ")) << what;
    EXPECT_TRUE(run.err.contains(c.says)) << what;
}

inline QString cameraFixture(const char* name) {
    return QStringLiteral(ORVELLA_FIXTURES_DIR "/cameras/") + QLatin1String(name);
}

// A text file's non-empty lines (a request log, for instance).
inline QStringList fileLines(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) return {};
    return QString::fromUtf8(file.readAll()).split('\n', Qt::SkipEmptyParts);
}

}  // namespace orvella::testing

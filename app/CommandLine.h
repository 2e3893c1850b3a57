#pragma once
// The command line of the application. Besides --help and --version it takes only the test and
// demo faces: virtual cameras from files (--virtual, repeatable), the bundled demo camera
// (--demo), a folder whose *.json files are cameras that come and go (--virtual-dir), and a file
// that records every request the virtual cameras see (--request-log), and a FIFO of commands
// that act on the virtual cameras as other programs and faults would (--virtual-control). With
// none of them the application works on the cameras plugged into the machine.

#include <QString>
#include <QStringList>

namespace orvella::app {

struct CommandLineOptions {
    QStringList virtualFiles;
    bool demo = false;
    QString virtualDir;
    QString requestLog;
    QString virtualControl;

    // Whether the cameras are virtual ones rather than the machine's.
    bool usesVirtualCameras() const {
        return demo || !virtualFiles.isEmpty() || !virtualDir.isEmpty();
    }
};

struct CommandLine {
    enum class Action {
        Run,          // start with `options`
        ShowHelp,     // print `text` to standard output, exit 0
        ShowVersion,  // print `text` to standard output, exit 0
        Fail,         // print `text` (one line) to standard error, exit kExitUsage
    };
    static constexpr int kExitUsage = 2;

    Action action = Action::Run;
    CommandLineOptions options;
    QString text;

    // Parses the arguments, the program name first. Never prints and never exits.
    static CommandLine parse(const QStringList& arguments);
};

}  // namespace orvella::app

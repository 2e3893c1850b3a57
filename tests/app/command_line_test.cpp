#include <gtest/gtest.h>

#include "app/CommandLine.h"

namespace orvella::app {
namespace {

CommandLine parse(QStringList arguments) {
    arguments.prepend(QStringLiteral("/usr/bin/orvella"));
    return CommandLine::parse(arguments);
}

TEST(CommandLine, TestAndDemoFaces) {
    const CommandLine line =
        parse({"--virtual", "a.json", "--virtual=b.json", "--demo", "--virtual-dir", "cams",
               "--request-log", "requests.log", "--virtual-control", "commands"});
    ASSERT_EQ(line.action, CommandLine::Action::Run) << line.text.toStdString();
    EXPECT_EQ(line.options.virtualFiles, QStringList({"a.json", "b.json"}));
    EXPECT_TRUE(line.options.demo);
    EXPECT_EQ(line.options.virtualDir, "cams");
    EXPECT_EQ(line.options.requestLog, "requests.log");
    EXPECT_EQ(line.options.virtualControl, "commands");
    EXPECT_TRUE(line.options.usesVirtualCameras());

    const CommandLine plain = parse({});
    ASSERT_EQ(plain.action, CommandLine::Action::Run);
    EXPECT_FALSE(plain.options.usesVirtualCameras());
    // A folder alone (even an empty one) is a virtual setup that may log its requests.
    EXPECT_EQ(parse({"--virtual-dir", "d", "--request-log", "f"}).action, CommandLine::Action::Run);
}

TEST(CommandLine, HelpAndVersionNameTheProgram) {
    const CommandLine help = parse({"--help"});
    ASSERT_EQ(help.action, CommandLine::Action::ShowHelp);
    EXPECT_TRUE(help.text.startsWith("Usage: orvella [options]")) << help.text.toStdString();
    for (const char* option : {"--virtual <FILE>", "--demo", "--virtual-dir <DIR>",
                               "--request-log <FILE>", "--virtual-control <FIFO>", "--version"})
        EXPECT_TRUE(help.text.contains(QLatin1String(option))) << option;
    const CommandLine version = parse({"--version"});
    ASSERT_EQ(version.action, CommandLine::Action::ShowVersion);
    EXPECT_TRUE(version.text.startsWith("orvella ")) << version.text.toStdString();
    // Help wins over anything else on the line.
    EXPECT_EQ(parse({"--demo", "-h"}).action, CommandLine::Action::ShowHelp);
    const CommandLine all = parse({"--help-all"});
    ASSERT_EQ(all.action, CommandLine::Action::ShowHelp);
    EXPECT_TRUE(all.text.contains("-platform NAME"));
    EXPECT_FALSE(help.text.contains("-platform NAME"));
}

TEST(CommandLine, QtsOwnOptionsAreLeftToQt) {
    const CommandLine line = parse({"-platform", "offscreen", "--demo", "-style=fusion", "-reverse",
                                    "--platformtheme", "gtk3", "--virtual", "a.json"});
    ASSERT_EQ(line.action, CommandLine::Action::Run) << line.text.toStdString();
    EXPECT_TRUE(line.options.demo);
    EXPECT_EQ(line.options.virtualFiles, QStringList({"a.json"}));
    // A value that looks like one of ours is still Qt's value.
    EXPECT_EQ(parse({"-name", "--demo"}).options.demo, false);
}

TEST(CommandLine, NonsenseIsOneClearLine) {
    const std::vector<std::pair<QStringList, const char*>> cases = {
        {{"--frobnicate"}, "Unknown option 'frobnicate'"},
        {{"--virtual"}, "Missing value after '--virtual'"},
        {{"--virtual", ""}, "--virtual needs a FILE"},
        {{"--virtual-dir"}, "Missing value after '--virtual-dir'"},
        {{"--virtual-dir", "a", "--virtual-dir", "b"}, "--virtual-dir may be given once"},
        {{"--demo", "--request-log", "a", "--request-log", "b"}, "--request-log may be given"},
        {{"camera.json"}, "unexpected argument 'camera.json'"},
        {{"--request-log", "requests.log"}, "--request-log records virtual cameras only"},
        {{"--virtual-control", "fifo"}, "--virtual-control acts on virtual cameras only"},
        {{"--demo", "--virtual-control", ""}, "--virtual-control needs a FIFO"},
        {{"--demo", "--virtual-control", "a", "--virtual-control", "b"},
         "--virtual-control may be given once"},
    };
    for (const auto& [arguments, expected] : cases) {
        const CommandLine line = parse(arguments);
        EXPECT_EQ(line.action, CommandLine::Action::Fail) << arguments.join(' ').toStdString();
        EXPECT_TRUE(line.text.startsWith("orvella: ")) << line.text.toStdString();
        EXPECT_TRUE(line.text.contains(QLatin1String(expected))) << line.text.toStdString();
        EXPECT_FALSE(line.text.contains('\n')) << line.text.toStdString();
    }
}

}  // namespace
}  // namespace orvella::app

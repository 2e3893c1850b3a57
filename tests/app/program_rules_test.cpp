// The rules per program as the preferences hold them: the stored forms, entries that are no rule,
// which rule a user of the camera gets, and which programs reset cameras the Chromium way.

#include <gtest/gtest.h>

#include "app/ProgramRules.h"

namespace orvella::app {
namespace {

using Kind = ProgramRule::Kind;

platform::CameraUser user(const char* program, const char* executable = "") {
    platform::CameraUser u;
    u.pid = 42;
    u.program = program;
    u.executable = executable;
    return u;
}

TEST(ProgramRules, StoredFormsReadBackAndOthersAreLeftOutWithAReason) {
    for (const char* form : {"keep", "alone", "profile:Call", "profile: Evening light"}) {
        bool ok = false;
        EXPECT_EQ(ProgramRule::fromString(form, &ok).toString(), form);
        EXPECT_TRUE(ok) << form;
    }
    for (const char* nonsense : {"", "Keep", "profile:", "apply", "profile"}) {
        bool ok = true;
        EXPECT_EQ(ProgramRule::fromString(nonsense, &ok).kind, Kind::KeepMySettings);
        EXPECT_FALSE(ok) << nonsense;
    }

    QStringList problems;
    const ProgramRules rules = ProgramRules::read({{"OBS", "alone"},
                                                   {"zoom", "profile:Call"},
                                                   {"bad", "sometimes"},
                                                   {"  ", "keep"},
                                                   {"number", 3}},
                                                  "nonsense", &problems);
    EXPECT_EQ(rules.byProgram.size(), 2);
    EXPECT_EQ(rules.otherPrograms.kind, Kind::KeepMySettings);
    EXPECT_EQ(problems.size(), 4);
    EXPECT_EQ(rules.byProgramMap(), (QVariantMap{{"OBS", "alone"}, {"zoom", "profile:Call"}}));

    // By name in any case; nobody named, another user's program and the rest get the default.
    const platform::CameraUser obs = user("obs");
    EXPECT_EQ(rules.ruleFor(&obs).kind, Kind::LeaveAlone);
    const platform::CameraUser zoom = user("ZOOM");
    EXPECT_EQ(rules.ruleFor(&zoom).profile, "Call");
    ProgramRules strict = rules;
    strict.otherPrograms.kind = Kind::LeaveAlone;
    platform::CameraUser stranger = user("obs");
    stranger.otherUser = true;
    EXPECT_EQ(strict.ruleFor(&stranger).kind, Kind::LeaveAlone);
    EXPECT_EQ(strict.ruleFor(nullptr).kind, Kind::LeaveAlone);
    EXPECT_EQ(logName(&stranger), "another user's program");
    EXPECT_EQ(logName(nullptr), "another program");
}

TEST(ProgramRules, ChromiumAndElectronProgramsAreToldByNameOrExecutable) {
    EXPECT_TRUE(isChromiumFamily(user("chromium")));
    EXPECT_TRUE(isChromiumFamily(user("chrome", "/opt/google/chrome/chrome")));
    EXPECT_TRUE(isChromiumFamily(user("Discord", "/usr/share/discord/Discord")));
    EXPECT_TRUE(isChromiumFamily(user("obsidian", "/opt/Obsidian/electron34/obsidian")));
    EXPECT_TRUE(isChromiumFamily(user("ThreadPoolForeg", "/usr/lib/chromium/chromium")));
    EXPECT_FALSE(isChromiumFamily(user("firefox", "/usr/lib/firefox-esr/firefox-esr")));
    EXPECT_FALSE(isChromiumFamily(user("obs", "/usr/bin/obs")));
    EXPECT_FALSE(isChromiumFamily(user("")));
}

}  // namespace
}  // namespace orvella::app

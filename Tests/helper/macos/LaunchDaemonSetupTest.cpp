#include "helper/macos/LaunchDaemonSetup.h"

#include "Support/TemporaryDirectory.h"
#include "base/Text.h"
#include "system/SystemCommandRunner.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pugixml.hpp>

#include <string_view>

namespace tavo {
namespace {

using testing::ElementsAre;

std::vector<std::string> keysOf(const pugi::xml_node& dictionary) {
    std::vector<std::string> keys;
    for (const auto& key : dictionary.children("key")) {
        keys.emplace_back(key.text().get());
    }
    return keys;
}

pugi::xml_node valueFor(const pugi::xml_node& dictionary, const char* name) {
    const auto key = dictionary.find_child([name](const pugi::xml_node& node) {
        return std::string(node.name()) == "key" && std::string(node.text().get()) == name;
    });
    return key.next_sibling();
}

/// The script's lines, a trailing newline showing as an empty one.
std::vector<std::string> linesOf(const std::string& script) {
    std::vector<std::string> lines;
    std::size_t start = 0;
    for (auto end = script.find('\n'); end != std::string::npos; end = script.find('\n', start)) {
        lines.push_back(script.substr(start, end - start));
        start = end + 1;
    }
    lines.push_back(script.substr(start));
    return lines;
}

TEST(PrivilegedHelperInstallLayout, TheSystemsOwnPaths) {
    EXPECT_EQ(
        PrivilegedHelperInstallLayout::systemDefault(),
        (PrivilegedHelperInstallLayout{.helperExecutableURL = "/Library/PrivilegedHelperTools/TavoPrivilegedHelper",
                                       .launchDaemonPlistURL = "/Library/LaunchDaemons/com.vrd.tavo.helper.plist"}));
    EXPECT_EQ(&PrivilegedHelperInstallLayout::systemDefault(), &PrivilegedHelperInstallLayout::systemDefault());
    EXPECT_EQ(LaunchDaemonSetup().helperExecutable(), "/Library/PrivilegedHelperTools/TavoPrivilegedHelper");
    EXPECT_EQ(LaunchDaemonSetup().serviceDefinition(), "/Library/LaunchDaemons/com.vrd.tavo.helper.plist");
}

void expectPropertyList(const std::string& text, const std::string& executable) {
    pugi::xml_document document;
    const auto result = document.load_string(text.c_str());
    ASSERT_TRUE(result) << result.description();
    const auto plist = document.child("plist");
    EXPECT_EQ(std::string(plist.attribute("version").value()), "1.0");
    const auto root = plist.child("dict");
    EXPECT_THAT(keysOf(root),
                testing::UnorderedElementsAre("Label", "ProgramArguments", "MachServices", "RunAtLoad", "KeepAlive"));
    EXPECT_STREQ(valueFor(root, "Label").text().get(), "com.vrd.tavo.helper");
    const auto arguments = valueFor(root, "ProgramArguments");
    EXPECT_STREQ(arguments.name(), "array");
    EXPECT_EQ(std::distance(arguments.begin(), arguments.end()), 1);
    EXPECT_EQ(arguments.child("string").text().get(), executable);
    const auto services = valueFor(root, "MachServices");
    EXPECT_THAT(keysOf(services), ElementsAre("com.vrd.tavo.helper"));
    EXPECT_STREQ(valueFor(services, "com.vrd.tavo.helper").name(), "true");
    EXPECT_STREQ(valueFor(root, "RunAtLoad").name(), "true");
    EXPECT_STREQ(valueFor(root, "KeepAlive").name(), "true");
}

TEST(LaunchDaemonSetup, ThePropertyListHasItsFiveKeys) {
    expectPropertyList(LaunchDaemonSetup().serviceDefinitionContent(),
                       "/Library/PrivilegedHelperTools/TavoPrivilegedHelper");
}

TEST(LaunchDaemonSetup, APathThatXMLHasToEscapeReadsBack) {
    const std::string path = "/tmp/<a> & \"b\" 'c' é/helper";
    const LaunchDaemonSetup setup({.helperExecutableURL = path, .launchDaemonPlistURL = "/tmp/list"});
    expectPropertyList(setup.serviceDefinitionContent(), path);
}

TEST(LaunchDaemonSetup, APathThatXMLCannotCarryIsAnError) {
    const LaunchDaemonSetup setup({.helperExecutableURL = "/tmp/\x01", .launchDaemonPlistURL = "/tmp/list"});
    EXPECT_THROW(setup.serviceDefinitionContent(), PropertyListError);
}

TEST(LaunchDaemonSetup, TheDefinitionsFieldsGoToTheirKeys) {
    using Array = PropertyListValue::Array;
    using Dictionary = PropertyListValue::Dictionary;
    const PrivilegedHelperLaunchDaemonDefinition definition{
        .label = "label", .machServiceName = "service", .executablePath = "/program"};
    EXPECT_EQ(definition.propertyList(), PropertyListValue(Dictionary{{"Label", "label"},
                                                                      {"ProgramArguments", Array{"/program"}},
                                                                      {"MachServices", Dictionary{{"service", true}}},
                                                                      {"RunAtLoad", true},
                                                                      {"KeepAlive", true}}));
}

TEST(LaunchDaemonSetup, TheInstallScriptLineForLine) {
    EXPECT_THAT(
        linesOf(LaunchDaemonSetup().installScript("/tmp/a'b", "/staging/com.vrd.tavo.helper.plist")),
        ElementsAre("set -e", "/bin/launchctl bootout system/com.vrd.tavo.helper >/dev/null 2>&1 || true",
                    "/bin/launchctl enable system/com.vrd.tavo.helper >/dev/null 2>&1 || true",
                    "/bin/mkdir -p '/Library/PrivilegedHelperTools' '/Library/LaunchDaemons'",
                    R"(/usr/bin/install -m 755 '/tmp/a'\''b' '/Library/PrivilegedHelperTools/TavoPrivilegedHelper')",
                    "/usr/sbin/chown root:wheel '/Library/PrivilegedHelperTools/TavoPrivilegedHelper'",
                    "/usr/bin/install -m 644 '/staging/com.vrd.tavo.helper.plist' "
                    "'/Library/LaunchDaemons/com.vrd.tavo.helper.plist'",
                    "/usr/sbin/chown root:wheel '/Library/LaunchDaemons/com.vrd.tavo.helper.plist'",
                    "/bin/launchctl bootstrap system '/Library/LaunchDaemons/com.vrd.tavo.helper.plist'",
                    "/bin/launchctl kickstart -k system/com.vrd.tavo.helper"));
}

TEST(LaunchDaemonSetup, TheLabelStaysThoughTheLayoutIsAnother) {
    const LaunchDaemonSetup setup({.helperExecutableURL = "/x y/helper", .launchDaemonPlistURL = "/it's/list"});
    const auto lines = linesOf(setup.installScript("/source", "/staged"));
    EXPECT_EQ(lines.at(1), "/bin/launchctl bootout system/com.vrd.tavo.helper >/dev/null 2>&1 || true");
    EXPECT_EQ(lines.at(3), R"(/bin/mkdir -p '/x y' '/it'\''s')");
    EXPECT_EQ(lines.at(4), "/usr/bin/install -m 755 '/source' '/x y/helper'");
    EXPECT_EQ(lines.at(8), R"(/bin/launchctl bootstrap system '/it'\''s/list')");
    EXPECT_EQ(lines.at(9), "/bin/launchctl kickstart -k system/com.vrd.tavo.helper");
}

TEST(LaunchDaemonSetup, TheUninstallScriptLineForLine) {
    EXPECT_THAT(uninstallCommandLines(PrivilegedHelperInstallLayout::systemDefault()),
                ElementsAre("/bin/launchctl bootout system/com.vrd.tavo.helper >/dev/null 2>&1 || true",
                            "/bin/rm -f '/Library/LaunchDaemons/com.vrd.tavo.helper.plist'",
                            "/bin/rm -f '/Library/PrivilegedHelperTools/TavoPrivilegedHelper'"));
    EXPECT_THAT(linesOf(LaunchDaemonSetup().uninstallScript()),
                ElementsAre("set -e", "/bin/launchctl bootout system/com.vrd.tavo.helper >/dev/null 2>&1 || true",
                            "/bin/rm -f '/Library/LaunchDaemons/com.vrd.tavo.helper.plist'",
                            "/bin/rm -f '/Library/PrivilegedHelperTools/TavoPrivilegedHelper'"));
}

TEST(LaunchDaemonSetup, EveryScriptIsWellFormedForARealShell) {
    SystemCommandRunner runner;
    const LaunchDaemonSetup setup({.helperExecutableURL = "/a 'b'\n$c/helper", .launchDaemonPlistURL = "/`d`/list"});
    for (const auto& script : {setup.installScript("/e\"f", "/g\\h"), setup.uninstallScript(),
                               setup.deferredUninstallCommand(1).arguments.back()}) {
        const auto result = runner.run({.executableURL = "/bin/sh", .arguments = {"-n", "-c", script}});
        EXPECT_EQ(result, ShellCommandResult{}) << script;
    }
}

TEST(LaunchDaemonSetup, RemovalTakesBothFilesThoughThereIsNoServiceToEnd) {
    const TemporaryDirectory folder;
    const LaunchDaemonSetup setup({.helperExecutableURL = folder.write("it's/the helper", "program"),
                                   .launchDaemonPlistURL = folder.write("$lists/list", "list")});
    // On a Mac the real program would end the helper that is installed there.
    auto script = setup.uninstallScript();
    const std::string_view launchctl = "/bin/launchctl";
    script.replace(script.find(launchctl), launchctl.size(), "false");
    SystemCommandRunner runner;
    const auto result = runner.run({.executableURL = "/bin/sh", .arguments = {"-c", script}});
    EXPECT_EQ(result, ShellCommandResult{});
    EXPECT_FALSE(std::filesystem::exists(setup.helperExecutable()));
    EXPECT_FALSE(std::filesystem::exists(setup.serviceDefinition()));
}

} // namespace
} // namespace tavo

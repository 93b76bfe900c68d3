#pragma once

#include "Support/ScriptedCommandRunner.h"
#include "Support/TemporaryDirectory.h"
#include "TavoPrivilegedHelper/linux/HelperGrant.h"
#include "base/FileDescriptor.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace tavo {

/// systemctl(1) over a service manager that knows only for whom the socket listens.
class StandInManager final : public CommandRunning {
public:
    bool supportsPrivilegedCommands() const override { return true; }
    ShellCommandResult run(const ShellCommand& command) override {
        auto line = ScriptedCommandRunner::line(command);
        line.erase(0, std::string("/usr/bin/systemctl ").size());
        lines.push_back(line);
        if (onCall) {
            onCall(line);
        }
        if (!failing.empty() && line.starts_with(failing)) {
            return {.exitCode = 1, .standardError = "the manager's words."};
        }
        if (line.starts_with("is-enabled")) {
            const auto masked = maskedUnits.find(line.substr(std::string("is-enabled ").size()));
            return {.exitCode = 1,
                    .standardOutput = masked == maskedUnits.end() ? "disabled\n" : masked->second + "\n"};
        }
        if (line.starts_with("is-active")) {
            const bool isActive = line.ends_with("helper.socket") ? listensFor.has_value() : isRemovalUnderWay;
            return {.exitCode = isActive ? 0 : 3};
        }
        if (line == "daemon-reload") {
            granted = readGranted();
        } else if (line == "start com.vrd.tavo.helper.socket" && !listensFor) {
            listensFor = granted;
            onListening(listensFor);
        } else if (line.starts_with("stop com.vrd.tavo.helper.socket") ||
                   line == "--quiet disable --now com.vrd.tavo.helper.socket") {
            listensFor.reset();
            onListening(listensFor);
        }
        return {};
    }
    std::shared_ptr<RunningCommand> start(const ShellCommand&) override {
        throw std::logic_error("a grant starts nothing");
    }

    std::vector<std::string> lines;
    std::string failing;
    std::map<std::string, std::string> maskedUnits; ///< with the words for it
    std::function<void(const std::string&)> onCall;
    std::function<std::optional<uid_t>()> readGranted;
    std::function<void(std::optional<uid_t>)> onListening;
    std::optional<uid_t> listensFor;
    bool isRemovalUnderWay = false;

private:
    std::optional<uid_t> granted;
};

class HelperGrantTest : public testing::Test {
protected:
    void SetUp() override {
        std::filesystem::create_directories(layout.package.systemdMark);
        std::filesystem::create_directories(grantFolder.parent_path());
        folder.write("usr/TavoPrivilegedHelper", "program");
        folder.write("usr/helper.socket", "unit");
        manager->readGranted = [this]() -> std::optional<uid_t> {
            const bool isGranted = std::filesystem::exists(layout.package.grant);
            return isGranted ? HelperGrantFile::userIn(fileContent(layout.package.grant)) : std::nullopt;
        };
        // A test that is not root's cannot make another user's file; that one stays away.
        manager->onListening = [this](std::optional<uid_t> user) {
            std::filesystem::remove(layout.socket);
            if (user == me) {
                makeSocket();
            }
        };
    }

    /// The file that the service manager would make, of this test's user.
    void makeSocket() const {
        const FileDescriptor descriptor(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        layout.socket.native().copy(address.sun_path, sizeof(address.sun_path) - 1);
        ASSERT_EQ(bind(descriptor.get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0);
    }

    void grantTo(uid_t user) const { HelperGrant(manager, layout).grant(user, layout.package.helperExecutable); }
    void revoke() const { HelperGrant(manager, layout).revoke(); }

    template <typename Operation>
    std::string failureOf(Operation operation) {
        try {
            operation();
        } catch (const HelperGrantError& error) {
            return error.description();
        }
        ADD_FAILURE() << "nothing was thrown";
        return {};
    }

    void installOther() const {
        folder.write("etc/helper.service", "unit");
        folder.write("local/TavoPrivilegedHelper", "other program");
    }

    /// Of another installation, and where nothing was granted.
    void expectNothingChanged() const {
        EXPECT_FALSE(std::filesystem::exists(grantFolder));
        EXPECT_TRUE(std::filesystem::exists(layout.otherInstallation.unitFile));
        EXPECT_TRUE(std::filesystem::exists(layout.otherInstallation.helperExecutable));
        for (const auto& line : manager->lines) {
            EXPECT_TRUE(line.starts_with("is-enabled")) << line;
        }
    }

    mode_t modeOf(const std::filesystem::path& path) const {
        struct stat status {};
        lstat(path.c_str(), &status);
        return status.st_mode & 07777U;
    }

    TemporaryDirectory folder;
    std::filesystem::path grantFolder = folder.path() / "etc/helper.socket.d";
    HelperGrant::Layout layout{.package = {.helperExecutable = folder.path() / "usr/TavoPrivilegedHelper",
                                           .socketUnit = folder.path() / "usr/helper.socket",
                                           .grant = grantFolder / "grant.conf",
                                           .systemdMark = folder.path() / "booted"},
                               .otherInstallation = {.helperExecutable = folder.path() / "local/TavoPrivilegedHelper",
                                                     .unitFile = folder.path() / "etc/helper.service",
                                                     .lidDropIn = folder.path() / "zzz.conf"},
                               .enablement = folder.path() / "etc/sockets.target.wants/helper.socket",
                               .socket = folder.path() / "socket",
                               .overrideJournal = folder.path() / "overrides.json",
                               .isKnownUser = [this](uid_t user) { return user != unknownUser; }};
    std::shared_ptr<StandInManager> manager = std::make_shared<StandInManager>();
    const uid_t me = geteuid();
    const uid_t unknownUser = me + 2;
};

} // namespace tavo

#include "TavoInhibit/SessionBusWatch.h"

#include "Support/BareListener.h"
#include "TavoInhibit/InhibitTest.h"

#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <sstream>

namespace tavo {
namespace {

using ::testing::ElementsAre;

class SessionBusWatchTest : public InhibitTest {
protected:
    std::filesystem::path busFolder() const { return sessionBus.socket().parent_path(); }

    /// Whether the program watches this folder: proc(5), /proc/[pid]/fdinfo, names the inodes of its inotify instances.
    bool watches(const std::filesystem::path& folder) const {
        struct stat status {};
        if (::stat(folder.c_str(), &status) != 0) {
            return false;
        }
        std::stringstream inode;
        inode << " ino:" << std::hex << status.st_ino << ' ';
        const auto descriptors = "/proc/" + std::to_string(program->pid()) + "/fdinfo";
        for (const auto& entry : std::filesystem::directory_iterator(descriptors)) {
            std::ifstream info(entry.path());
            for (std::string line; std::getline(info, line);) {
                if (line.starts_with("inotify ") && line.find(inode.str()) != std::string::npos) {
                    return true;
                }
            }
        }
        return false;
    }
};

TEST_F(SessionBusWatchTest, NoSessionBusAtAllIsSilent) {
    startLogind();
    spawn(inhibitProgram, {{"-i"}, {"PATH=/usr/bin:/bin", "DBUS_SYSTEM_BUS_ADDRESS=" + systemBus.address()}});
    ASSERT_TRUE(waitForLine("logind held idle"));
    expectReleaseAtEndOfInput();
    EXPECT_THAT(program->lines(), ElementsAre("logind held idle"));
}

TEST_F(SessionBusWatchTest, TheBusInTheRuntimeFolderIsFoundWithoutAnAddress) {
    sessionBus.start();
    const auto gnome = makeGnome();
    startLogind();
    spawn(inhibitProgram, {{"-i"},
                           {"PATH=/usr/bin:/bin", "DBUS_SYSTEM_BUS_ADDRESS=" + systemBus.address(),
                            "XDG_RUNTIME_DIR=" + busFolder().string()}});
    ASSERT_TRUE(waitForLine("gnome held suspend"));
}

TEST_F(SessionBusWatchTest, ABusThatAppearsLaterIsUsed) {
    startHolding();
    sessionBus.start();
    const auto gnome = makeGnome();
    ASSERT_TRUE(waitForLine("gnome held suspend"));
}

TEST_F(SessionBusWatchTest, TheFoldersOfTheSocketMayBeMissingAtFirst) {
    sessionBusAddress = "unix:path=" + (sessionBus.folder() / "later" / "run" / "bus").string();
    startHolding();
    std::filesystem::create_directories(sessionBus.folder() / "later");
    sessionBus.start();
    const auto gnome = makeGnome();
    std::filesystem::rename(busFolder(), sessionBus.folder() / "later" / "run");
    ASSERT_TRUE(waitForLine("gnome held suspend"));
    expectReleaseAtEndOfInput();
}

TEST_F(SessionBusWatchTest, AFolderThatIsRemovedAndMadeAnewIsFollowed) {
    sessionBus.start();
    auto gnome = makeGnome();
    startHolding();
    ASSERT_TRUE(waitForLine("gnome held suspend"));
    for (auto round = 2; round <= 3; ++round) {
        sessionBus.stop(SIGTERM);
        ASSERT_TRUE(waitForLine("gnome lost suspend", round - 1));
        std::filesystem::remove_all(busFolder());
        std::filesystem::create_directory(busFolder());
        sessionBus.start();
        gnome = makeGnome();
        ASSERT_TRUE(waitForLine("gnome held suspend", round));
    }
    expectReleaseAtEndOfInput();
}

TEST_F(SessionBusWatchTest, ABusThatReturnsWithAnotherIdIsRecognised) {
    sessionBus.start();
    sessionBusAddress = sessionBus.addressWithId();
    ASSERT_THAT(*sessionBusAddress, ::testing::HasSubstr(",guid="));
    auto gnome = makeGnome();
    startHolding();
    ASSERT_TRUE(waitForLine("gnome held suspend"));
    sessionBus.stop(SIGKILL);
    sessionBus.start();
    ASSERT_NE(sessionBus.addressWithId(), *sessionBusAddress);
    gnome = makeGnome();
    ASSERT_TRUE(waitForLine("gnome held suspend", 2));
}

TEST_F(SessionBusWatchTest, ABusThatNeverLetsItInDelaysNothing) {
    BareListener bus(sessionBus.socket());
    startHolding();
    ASSERT_TRUE(pump.until([&] { return bus.accept(); }));
    expectReleaseAtEndOfInput();
}

TEST_F(SessionBusWatchTest, ABusThatTurnsItAwayIsTriedAgainWithoutASignFromTheFileSystem) {
    BareListener bus(sessionBus.socket());
    startHolding();
    for (auto attempt = 0; attempt < 3; ++attempt) {
        EXPECT_TRUE(pump.until([&] { return bus.accept(); }));
        bus.turnAway();
    }
    expectReleaseAtEndOfInput();
}

TEST_F(SessionBusWatchTest, ABusInAFolderThatIsMountedOverTheOneThatWasMadeForItIsFound) {
    if (::unshare(CLONE_NEWNS) != 0 || ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) {
        GTEST_SKIP() << "mounting needs root: " << std::strerror(errno);
    }
    const auto made = sessionBus.folder() / "made";
    sessionBusAddress = "unix:path=" + (made / "run" / "bus").string();
    startHolding();
    std::filesystem::create_directory(made);
    // Only a watch on the folder underneath makes the mount go unseen.
    ASSERT_TRUE(pump.until([&] { return watches(made); }));
    ASSERT_EQ(::mount("none", made.c_str(), "tmpfs", 0, nullptr), 0) << std::strerror(errno);
    std::filesystem::create_directory(made / "run");
    ASSERT_EQ(::mount(busFolder().c_str(), (made / "run").c_str(), nullptr, MS_BIND, nullptr), 0);
    sessionBus.start();
    const auto gnome = makeGnome();
    EXPECT_TRUE(waitForLine("gnome held suspend"));
    expectReleaseAtEndOfInput();
    EXPECT_EQ(::umount2((made / "run").c_str(), MNT_DETACH), 0);
    EXPECT_EQ(::umount2(made.c_str(), MNT_DETACH), 0);
}

TEST_F(SessionBusWatchTest, RootTellsNoSession) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "needs root";
    }
    sessionBus.start();
    const auto gnome = makeGnome();
    startLogind();
    for (const auto& found : {environment().back(), "XDG_RUNTIME_DIR=" + busFolder().string()}) {
        program.emplace(inhibitProgram,
                        SpawnedProgram::Options{{"-i"}, {"DBUS_SYSTEM_BUS_ADDRESS=" + systemBus.address(), found}});
        ASSERT_TRUE(waitForLine("logind held idle"));
        // Nobody would have been told before the program ends, which it does after its last word to the session.
        program->closeInput();
        EXPECT_EQ(waitForExit(), 0);
        EXPECT_THAT(program->lines(), ElementsAre("logind held idle"));
    }
    EXPECT_TRUE(gnome->calls().empty());
}

TEST_F(SessionBusWatchTest, AnAddressThatNamesAProgramRunsNone) {
    const auto mark = sessionBus.folder() / "mark";
    const auto address = "unixexec:path=/usr/bin/touch,argv1=" + mark.string();
    startLogind();
    for (const bool asUser : {true, false}) {
        SpawnedProgram::Options options{{"-i"},
                                        {"PATH=/usr/bin:/bin", "DBUS_SYSTEM_BUS_ADDRESS=" + systemBus.address(),
                                         "DBUS_SESSION_BUS_ADDRESS=" + address}};
        options.asOrdinaryUser = asUser;
        program.emplace(inhibitProgram, options);
        ASSERT_TRUE(waitForLine("logind held idle"));
        program->closeInput();
        EXPECT_EQ(waitForExit(), 0);

        options.environment[1] = "DBUS_SYSTEM_BUS_ADDRESS=" + address;
        program.emplace(inhibitProgram, options);
        EXPECT_NE(waitForExit(), 0) << "there is no system bus then";
    }
    EXPECT_FALSE(std::filesystem::exists(mark));
}

TEST_F(SessionBusWatchTest, AnAddressThatCannotBeUsedIsSilent) {
    for (const auto* address : {"nonsense", "unix:", "unix:path=", "tcp:host=localhost", ";;", "unix:path=%zz"}) {
        logind.reset();
        sessionBusAddress = address;
        startHolding();
        expectReleaseAtEndOfInput();
        EXPECT_THAT(program->lines(), ElementsAre("logind held idle")) << address;
    }
}

TEST(SessionBusAddress, ASocketsPathIsTakenWithoutTheServersId) {
    EXPECT_EQ(findSessionBus("unix:path=/run/user/1000/bus,guid=0123", nullptr),
              (SessionBusAddress{"unix:path=/run/user/1000/bus", "/run/user/1000/bus"}));
    EXPECT_EQ(findSessionBus("unix:guid=0123,path=/tmp/bus", "/run/user/1000"),
              (SessionBusAddress{"unix:path=/tmp/bus", "/tmp/bus"}));
}

TEST(SessionBusAddress, EscapesAreUndoneForThePathAndMadeAnewForTheAddress) {
    EXPECT_EQ(findSessionBus("unix:path=/tmp/a%20b%2c%C3%A9/bus", nullptr),
              (SessionBusAddress{"unix:path=/tmp/a%20b%2c%c3%a9/bus", "/tmp/a b,é/bus"}));
}

TEST(SessionBusAddress, TheFirstThatNamesASocketIsTakenOfSeveral) {
    EXPECT_EQ(findSessionBus("tcp:host=localhost,port=1;unix:path=/tmp/bus;unix:path=/tmp/other", nullptr),
              (SessionBusAddress{"unix:path=/tmp/bus", "/tmp/bus"}));
}

TEST(SessionBusAddress, OtherSocketsArePassedOnAndNotWatchedFor) {
    for (const auto* address :
         {"unix:abstract=/tmp/dbus-1", "unix:", "unix:path=", "unix:path=relative/bus", "unix:path=/tmp/%2",
          "unix:path=/tmp/%zz", "unix:path=/tmp/%00", "unix:pathological=/tmp/bus"}) {
        EXPECT_EQ(findSessionBus(address, "/run/user/1000"), (SessionBusAddress{address, std::nullopt})) << address;
    }
}

TEST(SessionBusAddress, WhateverIsNoSocketIsNoBus) {
    for (const auto* address : {"tcp:host=localhost,port=1", "unixexec:path=/bin/touch,argv1=/tmp/mark", "autolaunch:",
                                "disabled:", "nonsense", "UNIX:path=/tmp/bus", " unix:path=/tmp/bus", ";"}) {
        EXPECT_EQ(findSessionBus(address, "/run/user/1000"), std::nullopt) << address;
    }
    EXPECT_EQ(findSessionBus("unixexec:path=/bin/true;unix:abstract=/tmp/dbus-1;tcp:host=localhost,port=1", nullptr),
              (SessionBusAddress{"unix:abstract=/tmp/dbus-1", std::nullopt}));
}

TEST(SessionBusAddress, WithoutAnAddressTheBusIsInTheRuntimeFolder) {
    EXPECT_EQ(findSessionBus(nullptr, "/run/user/1000"),
              (SessionBusAddress{"unix:path=/run/user/1000/bus", "/run/user/1000/bus"}));
    EXPECT_EQ(findSessionBus("", "/run/user/10 00"),
              (SessionBusAddress{"unix:path=/run/user/10%2000/bus", "/run/user/10 00/bus"}));
}

TEST(SessionBusAddress, NothingIsFoundWhereNothingSaysWhere) {
    EXPECT_EQ(findSessionBus(nullptr, nullptr), std::nullopt);
    EXPECT_EQ(findSessionBus("", ""), std::nullopt);
    EXPECT_EQ(findSessionBus(nullptr, "relative"), std::nullopt);
}

} // namespace
} // namespace tavo

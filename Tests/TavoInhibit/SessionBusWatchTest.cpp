#include "TavoInhibit/InhibitTest.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstring>

namespace tavo {
namespace {

using ::testing::ElementsAre;

class SessionBusWatchTest : public InhibitTest {
protected:
    std::unique_ptr<ScriptedBusService> makeGnome() {
        auto gnome = std::make_unique<ScriptedBusService>(pump, sessionBus.address());
        gnome->answer("Inhibit", ScriptedBusService::withCookie(1));
        gnome->own("org.gnome.SessionManager");
        return gnome;
    }

    std::filesystem::path busFolder() const { return sessionBus.socket().parent_path(); }
};

TEST_F(SessionBusWatchTest, NoSessionBusAtAllIsSilent) {
    startLogind();
    program.emplace(TAVO_INHIBIT_PROGRAM,
                    SpawnedProgram::Options{{"-i"}, {"DBUS_SYSTEM_BUS_ADDRESS=" + systemBus.address()}});
    ASSERT_TRUE(waitForLine("logind held idle"));
    expectReleaseAtEndOfInput();
    EXPECT_THAT(program->lines(), ElementsAre("logind held idle"));
}

TEST_F(SessionBusWatchTest, TheBusInTheRuntimeFolderIsFoundWithoutAnAddress) {
    sessionBus.start();
    const auto gnome = makeGnome();
    startLogind();
    program.emplace(TAVO_INHIBIT_PROGRAM, SpawnedProgram::Options{{"-i"},
                                                                  {"DBUS_SYSTEM_BUS_ADDRESS=" + systemBus.address(),
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

TEST_F(SessionBusWatchTest, ABusThatNeverLetsUsInDelaysNothing) {
    const auto listener = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, sessionBus.socket().c_str(), sizeof address.sun_path - 1);
    ASSERT_EQ(::bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    ASSERT_EQ(::listen(listener, 5), 0);
    startHolding();
    const auto connection = ::accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
    ASSERT_GE(connection, 0);
    expectReleaseAtEndOfInput();
    ::close(connection);
    ::close(listener);
}

TEST_F(SessionBusWatchTest, ASocketThatNobodyListensOnYetIsTriedAgain) {
    startHolding();
    const auto server = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, sessionBus.socket().c_str(), sizeof address.sun_path - 1);
    ASSERT_EQ(::bind(server, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    ASSERT_EQ(::listen(server, 5), 0);
    const auto connection = ::accept4(server, nullptr, nullptr, SOCK_CLOEXEC);
    ASSERT_GE(connection, 0);
    // Turned away at the door, it comes back without any sign from the file system.
    ::close(connection);
    const auto next = ::accept4(server, nullptr, nullptr, SOCK_CLOEXEC);
    EXPECT_GE(next, 0);
    ::close(next);
    ::close(server);
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

} // namespace
} // namespace tavo

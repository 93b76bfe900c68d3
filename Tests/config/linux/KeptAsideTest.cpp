// Files of another owner, and full disks: needs root to be set up.
#include "config/KeptAside.h"

#include "Support/TemporaryDirectory.h"
#include "config/TavoStore.h"

#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <functional>
#include <system_error>

namespace tavo {
namespace {

constexpr int noPrivilege = 77;
constexpr uid_t user = 54321;

int inChild(const std::function<int()>& body) {
    const auto child = fork();
    if (child == 0) {
        _exit(body());
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

class KeptAsideTest : public testing::Test {
protected:
    void SetUp() override {
        if (geteuid() != 0) {
            GTEST_SKIP() << "needs root, to make files of another owner";
        }
        ASSERT_EQ(chmod(folder.path().c_str(), 0755), 0);
        std::filesystem::create_directory(root);
        ASSERT_EQ(chown(root.c_str(), user, user), 0);
    }

    /// Root's file in the folder of a user, as an older sudo may have left it.
    void writeAsRoot(const std::string& content, mode_t mode) const {
        folder.write("Tavo/config.json", content);
        ASSERT_EQ(chmod((root / "config.json").c_str(), mode), 0);
    }

    std::size_t entries() const {
        return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(root), {}));
    }

    TemporaryDirectory folder;
    std::filesystem::path root = folder.path() / "Tavo";
};

TEST_F(KeptAsideTest, AFileOfAnotherOwnerInOnesOwnFolderIsKept) {
    for (const mode_t mode : {0600U, 0644U}) {
        SCOPED_TRACE(mode);
        std::filesystem::remove(root / "config.json");
        std::filesystem::remove(root / "config.json.unreadable");
        writeAsRoot("mine {", mode);
        EXPECT_EQ(inChild([&] {
                      if (setgid(user) != 0 || setuid(user) != 0) {
                          return noPrivilege;
                      }
                      const TavoStore store(TavoPaths{root});
                      try {
                          store.saveConfig({});
                      } catch (const std::exception& error) {
                          std::fprintf(stderr, "%s\n", error.what());
                          return 1;
                      }
                      return store.loadConfig() == AppConfig::defaultConfig() ? 0 : 2;
                  }),
                  0);
        EXPECT_EQ(fileContent(root / "config.json.unreadable"), "mine {");
        EXPECT_EQ(entries(), 2U);
    }
}

TEST_F(KeptAsideTest, AnAttemptThatFailsLeavesTheFileUnderItsOwnName) {
    writeAsRoot("mine {", 0600);
    EXPECT_EQ(inChild([&] {
                  if (setgid(user) != 0 || setuid(user) != 0) {
                      return noPrivilege;
                  }
                  const KeptAside aside(root / "config.json", root / "config.json.unreadable");
                  return std::filesystem::exists(root / "config.json") ? 1 : 0;
              }),
              0);
    EXPECT_EQ(fileContent(root / "config.json"), "mine {");
    EXPECT_EQ(entries(), 1U);
}

TEST_F(KeptAsideTest, OnAFullDiskNoCopiesPileUp) {
    EXPECT_EQ(inChild([&] {
                  if (unshare(CLONE_NEWNS) != 0 || mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
                      mount("tmpfs", root.c_str(), "tmpfs", 0, "size=16k,mode=0700") != 0) {
                      return noPrivilege;
                  }
                  folder.write("Tavo/config.json", "{");
                  std::ofstream filler(root / "filler");
                  while (filler.put('x').flush()) {
                  }
                  for (int attempt = 0; attempt < 3; ++attempt) {
                      try {
                          TavoStore(TavoPaths{root}).saveConfig({});
                          return 1;
                      } catch (const std::system_error& error) {
                          if (error.code() != std::errc::no_space_on_device) {
                              return 2;
                          }
                      }
                  }
                  return fileContent(root / "config.json") == "{" && entries() == 2 ? 0 : 3;
              }),
              0);
}

TEST_F(KeptAsideTest, ACopyThatFindsNoRoomIsNotLeft) {
    EXPECT_EQ(inChild([&] {
                  // A link to another file system leaves only the copy.
                  if (unshare(CLONE_NEWNS) != 0 || mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
                      mount("tmpfs", root.c_str(), "tmpfs", 0, "size=16k,mode=0700") != 0) {
                      return noPrivilege;
                  }
                  const auto file = folder.write("elsewhere", std::string(100000, '{'));
                  for (int attempt = 0; attempt < 3; ++attempt) {
                      try {
                          const KeptAside aside(file, root / "config.json.unreadable");
                          return 1;
                      } catch (const std::system_error& error) {
                          if (error.code() != std::errc::no_space_on_device) {
                              return 2;
                          }
                      }
                  }
                  return entries() == 0 && std::filesystem::file_size(file) == 100000 ? 0 : 3;
              }),
              0);
}

} // namespace
} // namespace tavo

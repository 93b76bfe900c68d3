#pragma once

#include "Support/TemporaryDirectory.h"

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <iostream>
#include <random>
#include <string>
#include <thread>

namespace tavo {

/// A number that a test takes by chance: printed, and taken from TAVO_SEED when that is set, so that a failure can be
/// repeated.
inline std::uint32_t testSeed() {
    const char* const given = std::getenv("TAVO_SEED");
    const auto seed = given != nullptr ? static_cast<std::uint32_t>(std::stoul(given)) : std::random_device()();
    std::cout << "TAVO_SEED=" << seed << std::endl;
    return seed;
}

/// Whether every count is to be the full one, which takes minutes.
inline bool isThorough() {
    const char* const value = std::getenv("TAVO_THOROUGH");
    return value != nullptr && std::string(value) == "1";
}

/// The temporary files in a folder and below it.
inline std::size_t unfinishedFilesIn(const std::filesystem::path& folder) {
    const std::filesystem::recursive_directory_iterator entries(folder);
    return static_cast<std::size_t>(std::count_if(begin(entries), end(entries), [](const auto& entry) {
        return entry.path().filename().string().find(".unfinished-") != std::string::npos;
    }));
}

/// Saves a file in a child again and again, and kills it at random moments.
class KilledSaves {
public:
    /// Writes the content with a number.
    std::function<void(int)> save;

    /// Whether the file is whole and has the content with this number.
    std::function<bool(int)> holds;

    /// Where temporary files may be left.
    std::filesystem::path folder;

    /// Whether a kill may leave temporary files at all.
    bool usesTemporaryFiles = true;

    /// After every kill the file has to hold the content of the last completed save or of the one that was under way.
    void expectWholeAfterEveryKill() {
        std::mt19937 random(testSeed());
        measure();
        std::size_t left = 0;
        for (int kill = isThorough() ? 10000 : 60; kill > 0 && !testing::Test::HasFailure(); --kill) {
            killOneChild(std::chrono::microseconds(std::uniform_int_distribution<long>(0, span.count())(random)));
            const auto unfinished = unfinishedFilesIn(folder);
            EXPECT_LE(unfinished, 2U) << "they pile up";
            left += unfinished;
        }
        // Otherwise no kill has hit a save, and nothing has been tested.
        EXPECT_EQ(left > 0, usesTemporaryFiles);
        save(++current);
        EXPECT_EQ(unfinishedFilesIn(folder), 0U);
        munmap(completed, sizeof(int));
    }

    /// The same for a file that is given one of two contents by turns.
    void expectOneOfTwoAfterEveryKill(const std::filesystem::path& file, const std::function<void(bool)>& saveOdd) {
        saveOdd(false);
        const auto even = fileContent(file);
        saveOdd(true);
        const auto odd = fileContent(file);
        ASSERT_NE(even, odd);
        save = [saveOdd](int number) { saveOdd(number % 2 == 1); };
        holds = [&](int number) { return fileContent(file) == (number % 2 == 1 ? odd : even); };
        expectWholeAfterEveryKill();
    }

private:
    void measure() {
        completed =
            static_cast<int*>(mmap(nullptr, sizeof(int), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
        constexpr int saves = 10;
        const auto begin = std::chrono::steady_clock::now();
        for (int number = 0; number < saves; ++number) {
            save(++current);
        }
        const auto elapsed = std::chrono::steady_clock::now() - begin;
        // Long enough that the kill may come anywhere in a save, and in the one after it.
        span = std::chrono::duration_cast<std::chrono::microseconds>(elapsed) * 2 / saves;
    }

    void killOneChild(std::chrono::microseconds delay) {
        *completed = current;
        std::array<int, 2> ends{};
        ASSERT_EQ(pipe(ends.data()), 0);
        const auto child = fork();
        if (child == 0) {
            saveForEver(ends[1]);
        }
        close(ends[1]);
        char ready = 0;
        EXPECT_EQ(read(ends[0], &ready, 1), 1);
        close(ends[0]);
        // Nothing is waited for here: the moment is what the test is about.
        std::this_thread::sleep_for(delay);
        ::kill(child, SIGKILL);
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        ASSERT_TRUE(WIFSIGNALED(status)) << "a save failed";
        current = *completed + 1;
        if (!holds(current)) {
            EXPECT_TRUE(holds(--current)) << "neither the old content nor the new one";
        }
    }

    [[noreturn]] void saveForEver(int ready) {
        try {
            if (write(ready, "r", 1) == 1) {
                for (;;) {
                    save(++current);
                    *completed = current;
                }
            }
        } catch (const std::exception& error) {
            std::cerr << error.what() << std::endl;
        }
        _exit(1);
    }

    int current = 0;
    int* completed = nullptr;
    std::chrono::microseconds span{};
};

} // namespace tavo

#include "Support/ScriptedSurroundings.h"
#include "Support/StandInPrompt.h"
#include "Support/WaitUntil.h"
#include "app/AsioMainLoop.h"
#include "app/TavoAppModel.h"

#include <gtest/gtest.h>

#include <csignal>

namespace tavo {
namespace {

TEST(QuitWhileAsking, QuittingEndsThePromptAndWhatWaitsForItAtOnce) {
    ScriptedSurroundings surroundings;
    const auto prompt = std::make_shared<StandInPrompt>(surroundings.folder, surroundings.interruption);
    auto platform = surroundings.platform();
    platform.administratorRunner = prompt;
    auto mainLoop = std::make_shared<AsioMainLoop>();
    const auto model = TavoAppModel::make(mainLoop, surroundings.store, std::move(platform), surroundings.application);
    model->installHelper();
    ASSERT_TRUE(waitUntil([&] { return prompt->isAsking(); }));
    const auto processID = prompt->processID();
    EXPECT_EQ(kill(processID, 0), 0);
    const auto before = std::chrono::steady_clock::now();
    model->quit();
    bool hasEnded = false;
    // The work before this one is done first.
    mainLoop->runInBackground([&] { hasEnded = true; }, [&] { mainLoop->stop(); });
    mainLoop->run();
    EXPECT_TRUE(hasEnded);
    EXPECT_LT(std::chrono::steady_clock::now() - before, std::chrono::seconds{5});
    EXPECT_TRUE(waitUntil([&] { return kill(processID, 0) != 0; })) << "the prompt is still open";
    EXPECT_FALSE(std::filesystem::exists(surroundings.folder.path() / "helper-installer"));
}

} // namespace
} // namespace tavo

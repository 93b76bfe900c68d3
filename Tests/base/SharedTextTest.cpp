#include "base/SharedText.h"

#include <gtest/gtest.h>

namespace tavo {
namespace {

TEST(SharedText, OutlivesTheTextThatItWasMadeFromAndItsFirstCopy) {
    SharedText kept;
    {
        std::string source = "a text that is too long to lie in the object itself";
        const SharedText first = source;
        kept = first;
        source.assign(source.size(), 'x');
    }
    EXPECT_EQ(kept.view(), "a text that is too long to lie in the object itself");
}

TEST(SharedText, ACopySharesTheMemory) {
    const SharedText first = "shared";
    const SharedText second = first; // NOLINT(performance-unnecessary-copy-initialization): that is what is tried
    EXPECT_EQ(first.view().data(), second.view().data());
}

TEST(SharedText, IsComparedByItsContent) {
    const SharedText text = "same";
    EXPECT_TRUE(text == SharedText(std::string("same")));
    EXPECT_TRUE(text == "same" && text == std::string("same") && std::string_view("same") == text);
    EXPECT_FALSE(text == "other" || text == SharedText());
    EXPECT_TRUE(SharedText().empty() && SharedText("").empty());
}

TEST(SharedText, WhatWasMovedAwayIsEmpty) {
    SharedText first = "moved";
    SharedText second = std::move(first);
    EXPECT_TRUE(first.empty()); // NOLINT(bugprone-use-after-move): that is what is tried
    EXPECT_EQ(second.view(), "moved");
    first = std::move(second);
    EXPECT_EQ(first.view(), "moved");
}

TEST(TextKeeper, KeepsTextsOfAllLengthsForAsLongAsTheyAreThere) {
    std::vector<std::pair<SharedText, std::string>> texts;
    {
        TextKeeper keeper;
        for (std::size_t length = 0; length < 20'000; length = length * 5 / 4 + 7) {
            std::string text(length, static_cast<char>('a' + length % 26));
            texts.emplace_back(keeper.keep(text), text);
            texts.emplace_back(keeper.keep("short"), "short");
        }
    }
    for (const auto& [kept, text] : texts) {
        EXPECT_EQ(kept.view(), text);
    }
}

TEST(TextKeeper, ManyTextsAreInOnePiece) {
    TextKeeper keeper;
    const auto first = keeper.keep("first");
    const auto second = keeper.keep("second");
    EXPECT_EQ(first.view().data() + first.view().size(), second.view().data());
}

} // namespace
} // namespace tavo

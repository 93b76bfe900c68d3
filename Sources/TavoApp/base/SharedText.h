#pragma once

#include <concepts>
#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

namespace tavo {

/// Text that does not change, in memory that it may share with other texts. A copy takes no memory, and the text lives
/// as long as any of its copies.
class SharedText {
public:
    SharedText() = default;

    /// In memory of its own. Implicit, so that it is made and compared like any other text.
    template <typename Text>
    requires(std::convertible_to<const Text&, std::string_view> && !std::same_as<Text, SharedText>)
        SharedText(const Text& source) { // NOLINT(google-explicit-constructor)
        if (const std::string_view given = source; !given.empty()) {
            const auto copy = std::make_shared<const std::string>(given);
            text = *copy;
            memory = copy;
        }
    }

    /// @param text  points into `memory`.
    SharedText(std::shared_ptr<const void> memory, std::string_view text) : memory(std::move(memory)), text(text) {}

    SharedText(const SharedText&) = default;
    SharedText& operator=(const SharedText&) = default;
    SharedText(SharedText&& other) noexcept
        : memory(std::move(other.memory)), text(std::exchange(other.text, std::string_view())) {}
    SharedText& operator=(SharedText&& other) noexcept {
        memory = std::move(other.memory);
        text = std::exchange(other.text, std::string_view());
        return *this;
    }
    ~SharedText() = default;

    std::string_view view() const { return text; }
    operator std::string_view() const { return text; }         // NOLINT(google-explicit-constructor): it is text
    operator std::string() const { return std::string(text); } // NOLINT(google-explicit-constructor)
    std::size_t size() const { return text.size(); }
    bool empty() const { return text.empty(); }

    friend bool operator==(const SharedText& left, const SharedText& right) { return left.text == right.text; }
    template <typename Text>
    requires(std::convertible_to<const Text&, std::string_view> && !std::same_as<Text, SharedText>) friend bool
    operator==(const SharedText& left, const Text& right) {
        return left.text == std::string_view(right);
    }

private:
    std::shared_ptr<const void> memory;
    std::string_view text;
};

/// Copies many texts into few pieces of memory. Each piece lives as long as one of the texts in it.
class TextKeeper {
public:
    SharedText keep(std::string_view text);

private:
    static constexpr std::size_t pieceSize = 32768;

    std::shared_ptr<char[]> piece;
    std::size_t used = pieceSize;
};

} // namespace tavo

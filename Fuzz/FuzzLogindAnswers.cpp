#include "BusWire.h"
#include "OpenDescriptors.h"
#include "Pieces.h"
#include "Require.h"
#include "ScriptedBus.h"
#include "system/linux/LogindClient.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tavo {
namespace {

using Answer = ScriptedBus::Answer;

/// What the first answer says when it is whole and of the right form.
struct Expectation {
    std::optional<std::vector<HeldAssertion>> locks;
    std::optional<std::string> text;
    std::optional<bool> flag;
};

std::uint32_t numberOf(std::string_view bytes) {
    std::uint32_t number = 0;
    bytes.copy(reinterpret_cast<char*>(&number), sizeof(number));
    return number;
}

bool coversSleep(const std::string& what) {
    const auto list = ":" + what + ":";
    return list.find(":sleep:") != std::string::npos || list.find(":idle:") != std::string::npos;
}

/// A list of locks, each of what, who, why, mode and two numbers, between newlines.
Answer lockList(std::string_view content, Expectation& expected) {
    BusBody body;
    body.beginArray();
    std::vector<HeldAssertion> locks;
    bool isValid = true;
    for (const auto line : pieces(content, '\n')) {
        auto fields = pieces(line, '|');
        fields.resize(6);
        body.align(8);
        for (const auto text : {fields[0], fields[1], fields[2], fields[3]}) {
            body.text(text);
            isValid = isValid && BusWire::isText(text);
        }
        const HeldAssertion lock{.who = std::string(fields[1]),
                                 .what = std::string(fields[0]),
                                 .pid = static_cast<std::int32_t>(numberOf(fields[5])),
                                 .uid = numberOf(fields[4])};
        body.number(numberOf(fields[4])).number(numberOf(fields[5]));
        if (fields[3] == "block" && coversSleep(lock.what)) {
            locks.push_back(lock);
        }
    }
    body.endArray();
    if (isValid) {
        expected.locks = locks;
    }
    return {.signature = "a(ssssuu)", .content = body.bytes()};
}

Answer textProperty(std::string_view text, Expectation& expected) {
    if (BusWire::isText(text)) {
        expected.text = text;
    }
    return {.signature = "v", .content = BusBody().signature("s").text(text).bytes()};
}

Answer flagProperty(std::string_view content, Expectation& expected) {
    const auto number = numberOf(content);
    if (number <= 1) {
        expected.flag = number == 1;
    }
    return {.signature = "v", .content = BusBody().signature("b").number(number).bytes()};
}

/// An answer: the letter of its kind, and its content.
Answer answerOf(std::string_view piece, Expectation& expected) {
    const char kind = piece.empty() ? 'x' : piece.front();
    const auto content = piece.substr(std::min<std::size_t>(1, piece.size()));
    const auto bar = std::min(content.find('|'), content.size());
    const auto rest = content.substr(std::min(bar + 1, content.size()));
    switch (kind) {
    case 'l':
        return lockList(content, expected);
    case 't':
        return textProperty(content, expected);
    case 'f':
        return flagProperty(content, expected);
    case 'r': // a signature, and any bytes; libsystemd loses the descriptors of a message whose header it rejects
        if (content.substr(0, bar).find_first_not_of("hsuobvgx") != std::string_view::npos) {
            return {.kind = Answer::Kind::bytes, .content = std::string(rest)};
        }
        return {.signature = std::string(content.substr(0, std::min<std::size_t>(bar, 255))),
                .content = std::string(rest)};
    case 'e':
        return {.kind = Answer::Kind::error,
                .signature = "s",
                .name = std::string(content.substr(0, bar)),
                .content = BusBody().text(rest).bytes()};
    default:
        return {.kind = Answer::Kind::bytes, .content = std::string(content)};
    }
}

/// Every text came over D-Bus, whose texts are valid.
void checkTexts(const std::vector<HeldAssertion>& locks) {
    for (const auto& lock : locks) {
        require(BusWire::isText(lock.who) && BusWire::isText(lock.what), "a lock's texts are valid");
        require(coversSleep(lock.what), "every lock covers sleep");
    }
}

/// @param asksFor  the letter of the question.
void ask(char asksFor, const Expectation& expected) {
    // The bus hangs up when it has said all, so nothing waits as long as this.
    constexpr std::chrono::seconds bound{60};
    const LogindClient logind(bound);
    switch (asksFor) {
    case 'l': {
        const auto locks = logind.blockingLocks();
        checkTexts(locks);
        require(!expected.locks || locks == *expected.locks, "the locks are those that logind listed");
        break;
    }
    case 't': {
        const auto text = logind.text("HandleLidSwitch");
        require(BusWire::isText(text) && (!expected.text || text == *expected.text), "the text is logind's");
        break;
    }
    case 'f': {
        const auto flag = logind.flag("LidClosed");
        require(!expected.flag || flag == *expected.flag, "the flag is logind's");
        break;
    }
    case 'h':
        require(bool(logind.takeLock("idle", "trying")), "a lock that was given is held");
        break;
    case 'u':
        logind.lingers(1000);
        break;
    case 'v':
        require(BusWire::isText(logind.systemdVersion().value_or("")), "a version is a text");
        break;
    default:
        logind.isRunning();
    }
}

void checkAnswers(char asksFor, const std::vector<Answer>& answers, const Expectation& expected) {
    static ScriptedBus bus;
    static std::size_t clients = 0;
    const auto openBefore = openDescriptors();
    bus.answerWith(answers);
    bool wasUnderstood = true;
    try {
        ask(asksFor, expected);
    } catch (const BusError& error) {
        wasUnderstood = false;
        require(!error.description().empty() && !error.description().ends_with('.'), "an error is a clause");
    }
    const bool mustBeUnderstood =
        (asksFor == 'l' && expected.locks) || (asksFor == 't' && expected.text) || (asksFor == 'f' && expected.flag);
    require(wasUnderstood || !mustBeUnderstood, "an answer of the right form is understood");
    bus.awaitEnd(++clients);
    require(openDescriptors() == openBefore, "no descriptor is left open");
}

} // namespace
} // namespace tavo

/// Whatever logind answers, byte by byte, it is understood as it was meant or is an error. The first letter is the
/// question; the pieces after it are the answers.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) {
        return 0;
    }
    tavo::Expectation expected;
    std::vector<tavo::ScriptedBus::Answer> answers;
    for (const auto piece : tavo::pieces({reinterpret_cast<const char*>(data) + 1, size - 1})) {
        tavo::Expectation ofThis;
        answers.push_back(tavo::answerOf(piece, ofThis));
        if (answers.size() == 1) {
            expected = ofThis;
        }
    }
    tavo::checkAnswers(static_cast<char>(data[0]), answers, expected);
    return 0;
}

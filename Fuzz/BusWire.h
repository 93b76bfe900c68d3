#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tavo {

/// A bus's side of a connection, byte by byte (D-Bus Specification, "Message Protocol"): unlike a library, it also
/// sends what no bus would.
struct BusWire {
    BusWire() = delete;

    enum class Type : unsigned char { call = 1, answer = 2, error = 3, signal = 4 };

    /// The header of a message; an empty field is left out.
    struct Header {
        Type type = Type::answer;
        std::uint32_t serial = 0;
        std::uint32_t replySerial = 0;
        std::string path;
        std::string interface;
        std::string member;
        std::string errorName;
        std::string destination;
        std::string sender;
        std::string signature;
        std::uint32_t descriptors = 0;
    };

    struct Message {
        Header header;
        std::string body;
    };

    /// Little-endian, whatever the body is.
    static std::string message(const Header& header, std::string_view body);

    /// Takes one message of the client's off the front. Nothing while it is not whole.
    static std::optional<Message> takeMessage(std::string& received);

    /// Takes the client's lines of authentication, and gives the answers to them. `received` holds the client's
    /// messages once `hasBegun`.
    static std::string answerAuthentication(std::string& received, bool& hasBegun);

    /// Text of D-Bus: valid UTF-8 without null bytes.
    static bool isText(std::string_view text);
};

/// A body, value by value.
class BusBody {
public:
    BusBody& byte(char value);
    BusBody& number(std::uint32_t value);
    BusBody& text(std::string_view value);
    BusBody& signature(std::string_view value);
    BusBody& align(std::size_t size);

    /// Its elements follow, up to endArray(), aligned to eight bytes.
    BusBody& beginArray();
    BusBody& endArray();

    const std::string& bytes() const { return content; }

private:
    std::string content;
    std::size_t arrayLengthAt = 0;
};

} // namespace tavo

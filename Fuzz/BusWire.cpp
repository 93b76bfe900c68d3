#include "BusWire.h"

#include "Require.h"
#include "base/Text.h"

#include <cstring>

namespace tavo {

namespace {

constexpr std::size_t structAlignment = 8;
constexpr std::size_t fixedHeaderSize = 16;
constexpr std::size_t bodyLengthAt = 4;
constexpr std::size_t serialAt = 8;
constexpr std::size_t fieldsLengthAt = 12;

enum Field : char {
    pathField = 1,
    interfaceField,
    memberField,
    errorField,
    replyField,
    destinationField,
    senderField,
    signatureField,
    descriptorsField
};

std::size_t aligned(std::size_t size, std::size_t alignment) {
    return (size + alignment - 1) / alignment * alignment;
}

/// Of a little-endian machine, as the tests' are.
std::uint32_t numberAt(std::string_view bytes, std::size_t at) {
    std::uint32_t number = 0;
    require(at + sizeof(number) <= bytes.size(), "a client's header is whole");
    std::memcpy(&number, bytes.data() + at, sizeof(number));
    return number;
}

/// The fields of a header, each a code with a variant.
class FieldList {
public:
    void text(Field code, const char* type, const std::string& value) {
        if (!value.empty()) {
            begin(code, type).text(value);
        }
    }

    void number(Field code, std::uint32_t value) {
        if (value != 0) {
            begin(code, "u").number(value);
        }
    }

    void signature(const std::string& value) {
        if (!value.empty()) {
            begin(signatureField, "g").signature(value);
        }
    }

    const std::string& bytes() const { return fields.bytes(); }

private:
    BusBody& begin(Field code, const char* type) { return fields.align(structAlignment).byte(code).signature(type); }

    BusBody fields;
};

/// Reads the fields that a client sends.
BusWire::Header readHeader(std::string_view message, std::size_t fieldsEnd) {
    BusWire::Header header;
    header.type = static_cast<BusWire::Type>(message[1]);
    header.serial = numberAt(message, serialAt);
    for (auto at = fixedHeaderSize; at < fieldsEnd;) {
        at = aligned(at, structAlignment);
        const auto code = message.at(at);
        constexpr std::size_t valueDistance = 4; // the code, and a signature of one type
        at += valueDistance;
        if (code == signatureField) {
            const auto length = static_cast<unsigned char>(message.at(at));
            header.signature = message.substr(at + 1, length);
            at += length + 2U;
            continue;
        }
        const auto number = numberAt(message, at);
        at += sizeof(number);
        if (code == replyField || code == descriptorsField) {
            continue;
        }
        const auto text = message.substr(at, number);
        at += number + 1U;
        (code == pathField          ? header.path
         : code == interfaceField   ? header.interface
         : code == memberField      ? header.member
         : code == destinationField ? header.destination
         : code == errorField       ? header.errorName
                                    : header.sender) = text;
    }
    return header;
}

/// The answer to one line of a client; empty when none is due.
std::string answerTo(std::string_view line) {
    constexpr auto accepted = "OK 0123456789abcdef0123456789abcdef\r\n";
    if (line == "AUTH EXTERNAL") {
        return "DATA\r\n";
    }
    if (line.starts_with("AUTH EXTERNAL ") || line.starts_with("DATA")) {
        return accepted;
    }
    if (line == "NEGOTIATE_UNIX_FD") {
        return "AGREE_UNIX_FD\r\n";
    }
    return line == "BEGIN" ? "" : "ERROR\r\n";
}

} // namespace

std::string BusWire::message(const Header& header, std::string_view body) {
    FieldList fields;
    fields.text(pathField, "o", header.path);
    fields.text(interfaceField, "s", header.interface);
    fields.text(memberField, "s", header.member);
    fields.text(errorField, "s", header.errorName);
    fields.number(replyField, header.replySerial);
    fields.text(destinationField, "s", header.destination);
    fields.text(senderField, "s", header.sender);
    fields.signature(header.signature);
    fields.number(descriptorsField, header.descriptors);
    constexpr char version = 1;
    constexpr char noFlags = 0;
    BusBody whole;
    whole.byte('l').byte(static_cast<char>(header.type)).byte(noFlags).byte(version);
    whole.number(static_cast<std::uint32_t>(body.size())).number(header.serial);
    whole.number(static_cast<std::uint32_t>(fields.bytes().size()));
    auto bytes = whole.bytes() + fields.bytes();
    bytes.resize(aligned(bytes.size(), structAlignment));
    return bytes.append(body);
}

std::optional<BusWire::Message> BusWire::takeMessage(std::string& received) {
    if (received.size() < fixedHeaderSize) {
        return std::nullopt;
    }
    const auto fieldsEnd = fixedHeaderSize + numberAt(received, fieldsLengthAt);
    const auto bodyAt = aligned(fieldsEnd, structAlignment);
    const auto size = bodyAt + numberAt(received, bodyLengthAt);
    if (received.size() < size) {
        return std::nullopt;
    }
    Message message{readHeader(received, fieldsEnd), received.substr(bodyAt, size - bodyAt)};
    received.erase(0, size);
    return message;
}

std::string BusWire::answerAuthentication(std::string& received, bool& hasBegun) {
    constexpr std::string_view endOfLine = "\r\n";
    if (received.starts_with('\0')) {
        received.erase(0, 1);
    }
    std::string answers;
    for (auto end = received.find(endOfLine); !hasBegun && end != std::string::npos; end = received.find(endOfLine)) {
        const auto line = received.substr(0, end);
        received.erase(0, end + endOfLine.size());
        answers += answerTo(line);
        hasBegun = line == "BEGIN";
    }
    return answers;
}

bool BusWire::isText(std::string_view text) {
    return text.find('\0') == std::string_view::npos && repairUTF8(text) == text;
}

BusBody& BusBody::byte(char value) {
    content += value;
    return *this;
}

BusBody& BusBody::number(std::uint32_t value) {
    align(sizeof(value));
    constexpr unsigned bitsOfByte = 8;
    for (unsigned shift = 0; shift < sizeof(value) * bitsOfByte; shift += bitsOfByte) {
        content += static_cast<char>((value >> shift) & 0xFFU);
    }
    return *this;
}

BusBody& BusBody::text(std::string_view value) {
    number(static_cast<std::uint32_t>(value.size()));
    content.append(value) += '\0';
    return *this;
}

BusBody& BusBody::signature(std::string_view value) {
    content += static_cast<char>(value.size());
    content.append(value) += '\0';
    return *this;
}

BusBody& BusBody::align(std::size_t size) {
    content.resize(aligned(content.size(), size));
    return *this;
}

BusBody& BusBody::beginArray() {
    number(0);
    arrayLengthAt = content.size() - sizeof(std::uint32_t);
    return align(structAlignment);
}

BusBody& BusBody::endArray() {
    // The padding before the first element does not count.
    const auto start = aligned(arrayLengthAt + sizeof(std::uint32_t), structAlignment);
    BusBody length;
    length.number(static_cast<std::uint32_t>(content.size() - start));
    content.replace(arrayLengthAt, sizeof(std::uint32_t), length.bytes());
    return *this;
}

} // namespace tavo

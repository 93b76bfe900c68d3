#pragma once

#include "base/DescribedError.h"
#include "helper/PrivilegedHelperMessages.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace tavo {

/// The layout of the helper's commands and replies on its socket. Numbers are 32 bits, the most significant byte first.
///
/// - A request is the length of the body and the body, an encoded command.
/// - A reply is one byte of flags (1: there is data, 2: there is a message), and then each of the parts that are there,
///   data first, as its length and its bytes.
struct SocketFraming {
    SocketFraming() = delete;

    /// Of a body, and of each part of a reply, in bytes.
    static constexpr std::size_t maxBodySize = 65536;

    /// @throws SocketFramingError when the body is too long.
    static std::string request(std::string_view body);

    /// A part that is too long is cut: half a message says more than none.
    static std::string reply(const PrivilegedHelperReply& reply);
};

/// The other end does not keep to the layout.
class SocketFramingError final : public DescribedError {
public:
    using DescribedError::DescribedError;
};

/// Puts a request together from the pieces in which it arrives.
class RequestFrameReader {
public:
    /// The body, once it is complete; what follows it is dropped. @throws SocketFramingError when it announces more
    /// than the longest body.
    std::optional<std::string> add(std::string_view bytes);

private:
    std::string received;
};

/// Puts a reply together from the pieces in which it arrives.
class ReplyFrameReader {
public:
    /// The reply, once it is complete. @throws SocketFramingError for unknown flags and parts that are too long.
    std::optional<PrivilegedHelperReply> add(std::string_view bytes);

private:
    std::string received;
};

} // namespace tavo

#import <Foundation/Foundation.h>

#include <optional>
#include <string>
#include <string_view>

namespace tavo {

/// Conversions between Foundation's values and the standard library's, for the files between the two. Their results are
/// autoreleased.

inline NSData* dataOf(std::string_view bytes) {
    return [NSData dataWithBytes:bytes.data() length:bytes.size()];
}

inline std::string textOf(NSData* data) {
    return {static_cast<const char*>([data bytes]), [data length]};
}

/// Without a copy: as long as the data itself.
inline std::string_view bytesOf(NSData* data) {
    return {static_cast<const char*>([data bytes]), [data length]};
}

/// Nothing for text that is not UTF-8.
inline NSString* stringOf(const std::string& text) {
    return [NSString stringWithUTF8String:text.c_str()];
}

inline std::string textOf(NSString* string) {
    const char* const text = [string UTF8String];
    return text == nullptr ? "" : text;
}

} // namespace tavo

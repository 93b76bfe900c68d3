#pragma once

#include <stdexcept>
#include <string>

namespace tavo {

/// A failure with a text that is shown to the user unchanged: a lower-case sentence.
class DescribedError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;

    std::string description() const { return what(); }
};

} // namespace tavo

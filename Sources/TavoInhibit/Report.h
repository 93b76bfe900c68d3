#pragma once

#include "system/AssertionReport.h"

#include <string>

namespace tavo {

/// Writes lines to a descriptor that somebody may have stopped reading, or closed.
///
/// Never blocks and never fails: a line that does not fit, or has no reader, is dropped, because holding the computer
/// awake matters more than reporting it.
class Report {
public:
    /// @param output  is not closed.
    explicit Report(int output) : output(output) {}

    /// Posts a report, its notice without control characters.
    void post(AssertionReport report);

    /// Posts any text as one line.
    void postText(std::string text);

private:
    int output;
};

} // namespace tavo

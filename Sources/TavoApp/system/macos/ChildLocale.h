#pragma once

namespace tavo {

/// Makes the programs that this one starts read and write UTF-8 (LC_CTYPE), even if the environment says otherwise so
/// far. Nothing else of their language changes. For macOS, which has a locale named "UTF-8" for letters alone.
///
/// The environment is changed: call this before any thread starts.
void useUTF8InChildren();

/// Chooses a locale of UTF-8 that is there, where the environment names one that is not installed or knows no UTF-8. Qt
/// would do the same, and say so on standard error. The environment is changed: call this before any thread starts.
void useInstalledUTF8Locale();

} // namespace tavo

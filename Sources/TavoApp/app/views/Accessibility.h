#pragma once

namespace tavo {

/// Lets screen readers find what Qt does not show them: windows as such, and the open panel, which is a popup. Must be
/// called once the application exists, before its main loop runs.
void prepareAccessibility();

} // namespace tavo

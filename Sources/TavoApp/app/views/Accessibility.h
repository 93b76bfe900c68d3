#pragma once

namespace tavo {

/// Has a screen reader find what Qt keeps from it: windows as such, and the open panel, which is a popup. To be called once
/// there is an application, before its main loop runs.
void prepareAccessibility();

} // namespace tavo

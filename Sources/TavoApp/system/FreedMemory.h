#pragma once

namespace tavo {

/// Has the memory that this process frees go back to the system at once, for programs that do most of their work at the start
/// and then run for days. To be called first, before there is a second thread.
void returnFreedMemory();

} // namespace tavo

// Memory that only the start needed, given back.

#pragma once

namespace kelvane {

/// Gives back what the allocator holds unused, and, where the system can tell them apart, takes the
/// pages of program files that nothing has changed out of this process: those in use come back by
/// themselves from the system's cache when they are touched next. Takes a few milliseconds. Any
/// thread. For a program that has started and now waits for hours.
void releaseIdleMemory();

} // namespace kelvane

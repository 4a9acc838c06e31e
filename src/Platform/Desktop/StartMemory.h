#pragma once

namespace stowboard {

/// Gives back memory that only the start of the program needed: what the allocator holds unused,
/// and the pages of code and constants of the loaded libraries and of fonts. The system keeps those
/// pages in its file cache and maps each one again when it is next used, without reading it from
/// the disk while it is cached; pages that differ from their file are left alone. Takes about 2 ms,
/// and what runs next once as long to find its pages again: call it once, when the program has come
/// to rest. The thread that draws text; others may run meanwhile. Linux only (madvise,
/// proc_pid_pagemap).
void releaseStartMemory();

}  // namespace stowboard

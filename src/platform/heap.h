#pragma once
// How the memory of many small objects comes from the system.

namespace tervo::platform {

/// For programs that may fill tens of MiB with small objects, as large banks are: what the heap grows into comes in
/// large pages. Getting it page by page takes longer than filling it. Only the first thing that main() does.
void growHeapInLargePages();

}  // namespace tervo::platform

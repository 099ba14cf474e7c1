// The C allocator, operator new and mmap of the test program and of every library in it, which fail when they are told
// to, and a count of what is held. Allocations of the C library for its own use, such as a stream's, are among them.
#pragma once

namespace testing_support {

enum class Failing { one, allAfter };

// From here on allocations are counted; the nth (1 is the next) fails, and all after it where that is asked for.
// nth 0: none fails. For one thread only.
void startFailing(unsigned nth, Failing failing);
void stopFailing();
// How many allocations failed between the two.
unsigned failedAllocations();
// How many of the blocks and mappings that were taken between the two are not released yet.
unsigned heldBlocks();

}  // namespace testing_support

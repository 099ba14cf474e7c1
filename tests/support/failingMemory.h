// Replaces the C allocator, operator new and mmap of the test program and its libraries. Allocations can be made to
// fail, and are counted, including those of the C library, such as a stream's.
#pragma once

namespace testing_support {

enum class Failing { one, allAfter };

// Starts to count allocations. The nth (1 is the next) fails, and all after it with Failing::allAfter. nth 0: none
// fails. For one thread only.
void startFailing(unsigned nth, Failing failing);
void stopFailing();
// Returns the number of allocations that failed between the two.
unsigned failedAllocations();
// Returns the number of blocks and mappings allocated between the two that have not been released.
unsigned heldBlocks();

}  // namespace testing_support

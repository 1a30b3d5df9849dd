#pragma once

// Records the largest single request made to the global operator new, which
// the program that links AllocationWatch.cpp replaces. Kept in a source of its
// own so that the compiler sees no mismatch between new and free.

#include <cstddef>

namespace TypeframeTest {

void ResetLargestAllocation();
size_t GetLargestAllocation();

}  // namespace TypeframeTest

#pragma once

// A parallel loop over a small pool of threads started on first use.

#include <functional>

namespace Bedrock::Dispatch {

// What the caller says about its work. Neither changes how the loop runs.
enum DispatchPriority : int {
    kPriorityBackground = 9,
    kPriorityUtility = 17,
    kPriorityDefault = 21,
    kPriorityUserInitiated = 25,
    kPriorityUserInteractive = 33
};

enum ThreadPurpose : int { kPurposeGeneral = 0, kPurposeCompute = 1, kPurposeIO = 2 };

// Calls body(i) once for each i from 0 to count - 1, in any order, on the
// calling thread and the pool's threads, and returns when every call has
// finished. maxThreads above 0 caps the threads used, the caller's included.
// The loop runs on the calling thread alone when count is below 2, when the
// machine has one processor, when it is called from inside another loop's
// body, or when another thread's loop holds the pool.
void DispatchParallelFor(std::function<void(unsigned long)> body, unsigned long count,
                         DispatchPriority priority = kPriorityDefault, ThreadPurpose purpose = kPurposeGeneral,
                         int maxThreads = 0);

// Calls function(items[i]) for each index of the container.
template <class Container, class Function>
requires requires(Container& items, unsigned long i) {
    items.size();
    items[i];
}
void DispatchParallelFor(Container& items, Function function, DispatchPriority priority = kPriorityDefault,
                         ThreadPurpose purpose = kPurposeGeneral, int maxThreads = 0) {
    DispatchParallelFor([&items, &function](unsigned long i) { function(items[i]); },
                        static_cast<unsigned long>(items.size()), priority, purpose, maxThreads);
}

}  // namespace Bedrock::Dispatch

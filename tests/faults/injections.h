/// The count of all failures that one run of the program injected.
#pragma once

#include <atomic>

namespace zta::test {

inline std::atomic<int> hostFailuresInjected{0};
inline std::atomic<int> hostExceptionsInjected{0};
inline std::atomic<int> allocationFailuresInjected{0};

} // namespace zta::test

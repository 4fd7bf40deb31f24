#pragma once

// Waiting for something another thread does: poll with a deadline, never a fixed sleep.

#include <chrono>
#include <thread>

namespace Tolm::Test {

// True once `condition` holds; false if the deadline passes first.
template <typename Condition>
bool WaitUntil(Condition condition, std::chrono::milliseconds timeout = std::chrono::seconds(20))
{
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

} // namespace Tolm::Test

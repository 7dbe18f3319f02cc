#pragma once

#include <chrono>
#include <thread>

/// Waits until `condition` holds. False after a minute, which only a hang reaches.
template <class Condition>
bool eventually(Condition condition)
{
    auto const deadline = std::chrono::steady_clock::now() + std::chrono::minutes(1);
    while (!condition())
    {
        if (std::chrono::steady_clock::now() > deadline)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

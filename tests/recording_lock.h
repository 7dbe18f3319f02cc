#pragma once

#include "zekovar/foundation/string.h"
#include "zekovar/threads/lock.h"

#include <string>
#include <vector>

/// A lock that adds "lock" and "unlock" to a list and locks nothing.
class RecordingLock : public ZKLock
{
public:
    explicit RecordingLock(std::vector<std::string>& calls) : ZKLock(Type::MUTEX), m_calls(calls) {}

    XCode lock() override
    {
        m_calls.push_back("lock");
        return result;
    }

    void unlock() override { m_calls.push_back("unlock"); }

    XCode result;

private:
    std::vector<std::string>& m_calls;
};

#pragma once

#include "zekovar/foundation/enum_info.h"

#include <cstdint>

class ZKEventLoop;

namespace ZK
{
/// Says on which thread, and under which protection, the target of a `ZK::Function` runs.
///
/// A plain value; it doesn't own the loop, which has to outlive every function that was made with it.
struct FunctionContext
{
    enum class Type : uint32_t
    {
        DIRECT = 0, ///< on the caller's thread
        SYNC = 1,   ///< on the caller's thread, while the loop stands still
        ASYNC = 2,  ///< later, on the loop's thread
    };

    Type type = Type::DIRECT;

    /// Not used by `Type::DIRECT`.
    ZKEventLoop* loop = nullptr;
};

/// The one context of the process for plain calls on the caller's thread. Safe from all threads.
FunctionContext const& directCall();
}

/// "direct", "sync" or "async".
template <>
inline char const* ZKEnumInfo<ZK::FunctionContext::Type>::VALUE_NAME(ZK::FunctionContext::Type value)
{
    static constexpr char const* NAMES[] = {"direct", "sync", "async"};
    return ZK::Detail::nameOfValue(NAMES, value);
}

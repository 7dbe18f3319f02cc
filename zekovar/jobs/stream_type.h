#pragma once

#include <cstdint>

namespace ZK
{
/// The output streams of a job, by their descriptor numbers.
enum class StreamType : uint32_t
{
    STANDARD_OUTPUT = 1,
    STANDARD_ERROR = 2
};
}

// Any bytes are a value or a failure; what was read is written, and from then on it comes back as it is. The memory
// limit of the target shows counts that the input can't hold.

#include "zekovar/property/ubjson.h"

using ZK::Property::UBJSON;
using ZK::Property::Value;

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, std::size_t size)
{
    Value value;
    TString<char> const input(reinterpret_cast<char const*>(data), static_cast<int>(size));
    XCode const code = UBJSON::decode(value, input);
    if (code.isErr() && (code.toString().isEmpty() || (!value.isInvalid() && !value.isArray())))
        __builtin_trap();
    if (value.isInvalid())
        return 0;

    // the first bytes may differ: a text of one zero byte comes back empty
    Value second;
    if (second.fromUbjson(value.toUbjson()).isErr())
        __builtin_trap();
    TString<char> const bytes = second.toUbjson();
    Value third;
    third.fromUbjson(bytes);
    TString<char> const again = third.toUbjson();
    if (again.length() != bytes.length() ||
        memcmp(again.data(), bytes.data(), static_cast<size_t>(again.length())) != 0)
        __builtin_trap();
    return 0;
}

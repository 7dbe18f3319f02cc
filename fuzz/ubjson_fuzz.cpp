// Any bytes are a value or a failure; what was read comes back as it was, but for texts that read as codes. The memory
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

    TString<char> bytes = value.toUbjson();
    Value second;
    if (second.fromUbjson(bytes).isErr())
        __builtin_trap();
    TString<char> const again = second.toUbjson();
    if (again.length() != bytes.length() ||
        memcmp(again.data(), bytes.data(), static_cast<size_t>(again.length())) != 0)
        __builtin_trap();
    return 0;
}

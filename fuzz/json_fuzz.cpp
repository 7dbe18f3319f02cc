// Any bytes are a value or a failure with a message; what was read is written, and from then on it comes back as it is.
// YAML is written of it, too.

#include "zekovar/property/json.h"
#include "zekovar/property/yaml.h"

using ZK::Property::JSON;
using ZK::Property::Value;
using ZK::Property::YAML;

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, std::size_t size)
{
    Value value = 1;
    XCode const code = JSON::decode(value, TString<char>(reinterpret_cast<char const*>(data), static_cast<int>(size)));
    if (code.isErr() != value.isInvalid() || (code.isErr() && code.toString().isEmpty()))
        __builtin_trap();

    // the first text differs in what the dialect drops: zero bytes, digits and the fraction of 1.0
    Value second;
    if (second.fromJson(value.toJson()).isErr() != code.isErr())
        __builtin_trap();
    Value third;
    String const text = second.toJson();
    third.fromJson(text);
    if (!(third.toJson() == text))
        __builtin_trap();

    TString<char> yaml;
    if (YAML::encode(yaml, value).isErr())
        __builtin_trap();
    return 0;
}

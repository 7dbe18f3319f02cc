// Any text splits with any flags. Where delimiters and quotes are kept and each counts, the tokens join to the text; and
// what is built without them splits into the same tokens again, as long as these hold no quotes themselves.

#include "zekovar/foundation/string.h"
#include "zekovar/foundation/text.h"
#include "zekovar/foundation/text_check.h"
#include "zekovar/foundation/tokenizer.h"

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, std::size_t size)
{
    String const text(reinterpret_cast<char const*>(data), static_cast<int>(size), 0, static_cast<int>(size));
    String built;
    StringTokenizer(text, " ,", true, true, "\"<", "\">").buildString(built);
    StringTokenizer const tokens(text, ", ", false, false, "\"", "\"");
    String joined;
    tokens.buildString(joined);
    StringTokenizer const again(joined, ", ", false, false, "\"", "\"");
    if (!(built == text) || (text.indexOf('"') < 0 && again.countTokens() != tokens.countTokens()))
        __builtin_trap();

    unsigned int code = 0;
    unsigned int address = 0;
    validRangeValueOf32(&code, text.c_str(), -5, 5);
    u_valueOf64(text.c_str());
    validateTimeString(text.c_str());
    validateDate(text.c_str());
    convIPStr2IPUl(text.c_str(), address);
    return 0;
}

#pragma once

#include "zekovar/foundation/string.h"
#include "zekovar/foundation/xcode.h"

#include <cerrno>

namespace ZK::Detail
{
/// For calls that return their error number (`pthread_...`): 0 is success.
inline XCode codeOfErrno(int errorNumber)
{
    if (errorNumber == 0)
        return XCODE_SUCCESS;
    return XCode(XCODE_ERRNO | (static_cast<unsigned int>(errorNumber) & 0xFFFFFF));
}

/// For calls that return a negative number and set `errno`. Even an `errno` of 0 is a failure then.
inline XCode codeOfResult(int result)
{
    if (result >= 0)
        return XCODE_SUCCESS;
    return XCode(XCODE_ERRNO | (static_cast<unsigned int>(errno) & 0xFFFFFF));
}

/// A failure gets `text`, in place of one that it may have.
inline XCode withText(XCode code, char const* text)
{
    if (code.isErr())
        code.setString(text);
    return code;
}

/// A failure gets `context` in front of its text.
inline XCode withContext(XCode code, char const* context)
{
    if (code.isErr())
        code.extendString(context, ": ");
    return code;
}

/// The text that was attached to `code`, and not what its value tells of itself.
inline String attachedText(XCode code)
{
    code.setValue(XCODE_SUCCESS); // which tells nothing
    return code.toString();
}
}

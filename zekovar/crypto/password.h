#pragma once

#include "zekovar/foundation/xcode.h"

// The form in which a configuration file keeps a password: enciphered with a key that is the same on every device, and
// in Base64. It hides the password from a casual reader and protects it from nobody who has this library. Both functions
// are safe from every thread, and what they hold of the password meanwhile is wiped.

/// Sets `out` to the stored form, a line without an end; the same for the same password. Of a password of more than 255
/// bytes the result can't be read back. `XCODE_FAILURE` if memory is out.
XCode encryptPassword(String const& password, String& out);

/// Sets `out` to the password, up to its first zero byte. `XCODE_FAILURE` if `stored` can't be a stored password, by its
/// size. Another text than `encryptPassword` made may be a success that leaves `out` as it was: make `out` something
/// that is no password before, and compare.
XCode decryptPassword(String const& stored, String& out);

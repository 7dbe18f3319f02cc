#pragma once

#include "zekovar/zekovar.h"

/// Publishes the public key in a file, modulus and exponent in two lines of hexadecimal digits, for the challenge login. A failure
/// with a text says what is wrong with the file.
XCode setUpLogin(String const& path);

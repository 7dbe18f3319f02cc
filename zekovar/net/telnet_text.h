#pragma once

#include "zekovar/foundation/string.h"
#include "zekovar/regex/regex.h"

/// How the telnet client reads what a host writes: plain functions on text.
namespace ZK::Detail
{
/// Compiles a valid `expression` so that it matches only where nothing but line ends follows. Null if it isn't valid.
ZKPtr<ZKRegEx::Pattern> compilePrompt(String const& expression);

/// Whether `text` ends in the prompt, which may be null: no text does then.
bool endsInPrompt(ZKPtr<ZKRegEx::Pattern> const& prompt, String const& text);

/// Cuts the text at `position`, and the white space in front of it.
void removePrompt(String& text, int position);

/// Removes the first line with its line feed, and returns its length; without a line feed nothing.
int removeEcho(String& text);

/// The text with "***" in place of `secret`. A piece of it at the start or the end, whose rest came before or is still to
/// come, is replaced, too.
String withoutSecret(String const& text, String const& secret);
}

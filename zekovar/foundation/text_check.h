#pragma once

// Checks of what users type in. Each returns 0 if the text passes and 0x7fffffff if it doesn't; null never passes. Where
// numbers are read, blanks in front of one and anything behind the last one don't matter, as with `sscanf`; a number
// too large for an `int` counts as the largest. All functions are safe from every thread.

/// A telephone number: digits, "#", "*", "?" and upper-case letters. The empty text passes.
unsigned int e164Number(char const* text);

/// "%d-%d-%dT%d:%d:%d": hours up to 23, minutes and seconds up to 59. The date isn't checked.
unsigned int validateTimeString(char const* text);

/// "%d:%d:%d": hours up to 23, minutes and seconds up to 59.
unsigned int validateTime(char const* text);

/// "%d-%d-%d": years 1999 to 2035, months 1 to 12, days 1 to 31, whatever the month.
unsigned int validateDate(char const* text);

/// Reads four numbers with dots between them and makes one word of them, the first one highest. The numbers may be
/// above 255 and run into each other then. On failure `address` stays.
unsigned int convIPStr2IPUl(char const* text, unsigned int& address);

/// Writes an address, first number highest, as "%d.%d.%d.%d" and a zero: at most 16 bytes. Returns 0.
unsigned int convIPUL2IPStr(unsigned int address, char* out);

#pragma once

#include "zekovar/foundation/string.h"

#include <cstring>

/// An Ethernet address: six bytes in the order of the wire, and no more. A plain value without a lock.
///
///     MacAddr address;
///     if (address.set("00:90:f8:01:02:0a")) log(address.toString());
class MacAddr
{
public:
    static constexpr int SIZE = 6;

    /// All zeros.
    constexpr MacAddr() noexcept : m_bytes{} {}

    /// Copies six bytes; the pointer isn't null.
    MacAddr(unsigned char const* bytes) { set(bytes); }

    /// As `set`, whose result is lost; bytes that the text doesn't give are 0.
    MacAddr(String const& text) : MacAddr() { set(text); }

    MacAddr(MacAddr const&) = default;
    MacAddr& operator=(MacAddr const&) = default;

    MacAddr& operator=(unsigned char const* bytes)
    {
        set(bytes);
        return *this;
    }

    bool operator==(MacAddr const& other) const { return *this == other.m_bytes; }

    bool operator==(unsigned char const* bytes) const { return std::memcmp(m_bytes, bytes, sizeof m_bytes) == 0; }

    /// `index` is 0 to 5, which isn't checked.
    unsigned char operator[](int index) const { return m_bytes[index]; }

    unsigned char& operator[](int index) { return m_bytes[index]; }

    void set(unsigned char const* bytes) { std::memmove(m_bytes, bytes, sizeof m_bytes); }

    /// Reads six hexadecimal numbers of up to two digits with ":" between them, as `sscanf` does, so that blanks in front
    /// of a number and other text behind the last one don't matter. False if there are fewer; those in front stay
    /// stored.
    bool set(String const& text);

    /// "00:90:f8:01:02:0a"
    String toString() const;

    operator String() const { return toString(); }

private:
    unsigned char m_bytes[SIZE];
};

static_assert(sizeof(MacAddr) == 6, "daemons lay it over frames");

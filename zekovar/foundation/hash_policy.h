#pragma once

#include "zekovar/foundation/string.h"

#include <cstdint>
#include <type_traits>

/// Shift and XOR over the bytes of a text, 32 bits.
struct StringHash
{
    uint32_t operator()(String const& key) const
    {
        uint32_t hash = 0;
        char const* text = key.c_str();
        for (int i = 0, length = key.length(); i < length; i++)
            hash = (hash ^ static_cast<unsigned char>(text[i])) ^ (hash << 5);
        return hash;
    }
};

struct StringCompare
{
    bool operator()(String const& left, String const& right) const { return left == right; }
};

/// The number itself.
template <class T>
struct NumberHash
{
    std::make_unsigned_t<T> operator()(T key) const { return static_cast<std::make_unsigned_t<T>>(key); }
};

template <class T>
struct NumberCompare
{
    bool operator()(T left, T right) const { return left == right; }
};

/// The address itself.
struct PtrHash
{
    uintptr_t operator()(void const* key) const { return reinterpret_cast<uintptr_t>(key); }
};

struct PtrCompare
{
    bool operator()(void const* left, void const* right) const { return left == right; }
};

#pragma once

#include "tests/crypto/random_bytes.h"
#include "zekovar/crypto/big_integer.h"

/// A number as wide as its big-endian bytes.
class Number : public BigInteger
{
public:
    explicit Number(std::string const& bytes) : BigInteger(sizeOf(bytes) * 8) { setValue(raw(bytes), sizeOf(bytes)); }

    std::string bytes() const
    {
        std::string made(getBits() / 8, '#');
        unsigned int count = sizeOf(made);
        getValue(raw(made), &count);
        return made;
    }
};

/// The same words in every run.
inline unsigned int randomWord()
{
    static std::mt19937 engine(21);
    return static_cast<unsigned int>(engine());
}

/// Random, or at a limit, where estimates of quotients fail.
inline unsigned int wordAtLimit()
{
    static constexpr unsigned int LIMITS[] = {0, 1, 2, 0x7FFFFFFF, 0x80000000, 0x80000001, 0xFFFFFFFE, 0xFFFFFFFF};
    return randomWord() % 2 != 0 ? LIMITS[randomWord() % 8] : randomWord();
}

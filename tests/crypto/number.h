#pragma once

#include "tests/crypto/random_bytes.h"
#include "zekovar/crypto/big_integer.h"

/// A number as wide as its big-endian bytes.
class Number : public BigInteger
{
public:
    using BigInteger::operator=;

    explicit Number(std::string const& bytes) : BigInteger(sizeOf(bytes) * 8) { setValue(raw(bytes), sizeOf(bytes)); }

    std::string bytes() const
    {
        std::string made(getBits() / 8, '#');
        unsigned int count = sizeOf(made);
        getValue(raw(made), &count);
        return made;
    }
};

/// The same sequence of words in every run.
inline unsigned int randomWord()
{
    static std::mt19937 engine(21);
    return static_cast<unsigned int>(engine());
}

template <unsigned int WORD>
unsigned int constantWord()
{
    return WORD;
}

#pragma once

/// An unsigned number of fixed width, the base of `RSAEncryptionContext`.
///
///     BigInteger base(1024), exponent(1024), modulus(1024), result(1024);
///     base.setValue(bytes, count);
///     if (!BigInteger::expMod(&result, &base, &exponent, &modulus)) return XCODE_FAILURE;
///
/// The numbers of one operation have the same width, but for the result of `multiply`; an operation returns false if
/// they haven't, if memory is out, or if it is given a null pointer, and its result is as it was. A result may be one
/// of the operands. Numbers are compared in a time that tells their width only, and wiped when they go; the other
/// operations take a time that depends on the values. No lock: a number that changes belongs to one thread at a time.
class BigInteger
{
public:
    /// Zero, of `bits` / 32 words, rounded down. `getBits` is 0 if that is none or memory is out.
    explicit BigInteger(unsigned int bits);
    ~BigInteger();

    BigInteger(BigInteger const&) = delete;

    /// False if the widths differ.
    bool operator=(BigInteger const& other);

    /// False on a number without a word, as below.
    bool operator=(unsigned int value);

    /// Modulo the width. False if the widths differ.
    bool operator+=(BigInteger const& other);
    bool operator-=(BigInteger const& other);

    /// Modulo the width.
    bool operator+=(unsigned int value);
    bool operator-=(unsigned int value);

    /// @name Comparison
    /// By value, also of different widths.
    /// @{
    bool operator==(BigInteger const& other) const { return compare(other) == 0; }

    bool operator!=(BigInteger const& other) const { return compare(other) != 0; }

    bool operator>=(BigInteger const& other) const { return compare(other) >= 0; }

    bool operator>(BigInteger const& other) const { return compare(other) > 0; }

    bool operator<=(BigInteger const& other) const { return compare(other) <= 0; }

    bool operator<(BigInteger const& other) const { return compare(other) < 0; }

    bool operator==(unsigned int value) const;

    bool operator!=(unsigned int value) const { return !(*this == value); }

    /// @}

    /// The width, a multiple of 32, whatever the value.
    unsigned int getBits() const { return m_words * 32; }

    /// Takes `count` big-endian bytes; the rest becomes zeros. False if they are more than the width, zeros or not.
    bool setValue(unsigned char const* bytes, unsigned int count);

    /// Writes `getBits` / 8 bytes, big-endian, and sets `*count` to their number. False if `*count`, the room, is less.
    bool getValue(unsigned char* bytes, unsigned int* count) const;

    /// Takes each word from one call of `random`, which returns 32 random bits.
    bool setToRandomValue(unsigned int (*random)());

    /// As above; then the most significant bit is set or cleared.
    bool setToRandomValue(unsigned int (*random)(), bool topBit);

    /// The greatest common divisor; that of a number and 0 is the number.
    static bool gcd(BigInteger* out, BigInteger const* a, BigInteger const* b);

    /// `out` has twice the width of `a` and `b`.
    static bool multiply(BigInteger* out, BigInteger const* a, BigInteger const* b);

    /// The number below `m` whose product with `a` is 1 modulo `m`. False also if there is none: `a` and `m` have a
    /// common divisor, or `m` is below 2.
    static bool invMod(BigInteger* out, BigInteger const* a, BigInteger const* m);

    /// `a` times `b` modulo `m`. False also if `m` is 0.
    static bool mulMod(BigInteger* out, BigInteger const* a, BigInteger const* b, BigInteger const* m);

    /// `base` to the power `exponent` modulo `m`, which may be even; anything to the power 0 is 1 modulo `m`. False also
    /// if `m` is 0. A private operation of RSA with 1024 bits takes milliseconds; twice the width takes eight times as
    /// long.
    static bool expMod(BigInteger* out, BigInteger const* base, BigInteger const* exponent, BigInteger const* m);

    /// Sets `*result` to whether this is a prime, with an error of at most 1 in 4 to the power `rounds` (Miller-Rabin).
    /// The primes below 109 aren't reported as such: they serve to find composites quickly. False only if memory is out
    /// or a pointer is null.
    ///
    /// Each round asks `random` for a base that is at least 2 and below this number. If 1000 draws in a row are none,
    /// the last one is brought into that range, so that a function which returns a constant doesn't make it endless.
    bool isPrime(unsigned int rounds, unsigned int (*random)(), bool* result) const;

    /// Searches upwards from this number, with its lowest bit set, for one that `isPrime`. Beyond the width the search
    /// goes on at 1. It ends with any `random`; for 512 bits it takes a few hundred steps. False as for `isPrime`.
    bool incrementToNextPrime(unsigned int rounds, unsigned int (*random)());

private:
    int compare(BigInteger const& other) const;

    unsigned int* m_digits; // the least significant word first
    unsigned int m_words;
};

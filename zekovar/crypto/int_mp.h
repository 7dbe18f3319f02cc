#pragma once

#include <cstddef>
#include <cstdint>

// Arithmetic on unsigned numbers that are arrays of 32-bit words, the least significant word first; `n` and the other
// lengths count words. This is the private level of `BigInteger`: no function allocates, checks widths or keeps a copy,
// and the caller wipes what it hands in. Without state, and so safe from every thread.
//
// Results overlap no operand, unless it says "in place".
namespace ZK::Detail
{
/// @name Words
/// @{

/// The 64-bit product.
uint64_t intSpMultiply(uint32_t a, uint32_t b);

/// Lowers `value` by `a` times `b`, modulo 2 to the 64. True if it was less.
bool intSpMultSub(uint64_t& value, uint32_t a, uint32_t b);

/// The quotient of `dividend`, whose upper word is below `divisor`, and `divisor`, whose top bit is set.
uint32_t intSpDivide(uint64_t dividend, uint32_t divisor);

/// Whether `quotient` is too large a digit: its product with the two top words of the divisor, `divisor`[0] and [1], is
/// above the three top words of what is left of the dividend.
bool intQhatTooBig(uint32_t quotient, uint32_t const* divisor, uint32_t const* dividend);
/// @}

/// @name One pass over the words
/// The result may be an operand. Those that return a word return what was carried out, borrowed, shifted out or left.
/// @{
void intMpSetZero(uint32_t* a, std::size_t n);
void intMpSetDigit(uint32_t* a, uint32_t digit, std::size_t n);
void intMpSetEqual(uint32_t* out, uint32_t const* a, std::size_t n);

/// The number of words up to the top one that isn't 0.
std::size_t intMpSizeof(uint32_t const* a, std::size_t n);

// These four look at all words, whatever they hold. A comparison is -1, 0 or 1.
bool intMpIsZero(uint32_t const* a, std::size_t n);
bool intMpEqual(uint32_t const* a, uint32_t const* b, std::size_t n);
int intMpCompare(uint32_t const* a, uint32_t const* b, std::size_t n);
int intMpShortCmp(uint32_t const* a, uint32_t b, std::size_t n);

uint32_t intMpAdd(uint32_t* out, uint32_t const* a, uint32_t const* b, std::size_t n);
uint32_t intMpSubtract(uint32_t* out, uint32_t const* a, uint32_t const* b, std::size_t n);
uint32_t intMpShortAdd(uint32_t* out, uint32_t const* a, uint32_t b, std::size_t n);
uint32_t intMpShortSub(uint32_t* out, uint32_t const* a, uint32_t b, std::size_t n);

/// By 0 to 31 bits.
uint32_t intMpShiftLeft(uint32_t* out, uint32_t const* a, unsigned int bits, std::size_t n);
uint32_t intMpShiftRight(uint32_t* out, uint32_t const* a, unsigned int bits, std::size_t n);

uint32_t intMpShortMult(uint32_t* out, uint32_t const* a, uint32_t b, std::size_t n);

/// Lowers `out` by `a` times `b`, in place.
uint32_t intMpMultSub(uint32_t* out, uint32_t const* a, uint32_t b, std::size_t n);

/// The divisor isn't 0; a null `quotient` isn't wanted.
uint32_t intMpShortDiv(uint32_t* quotient, uint32_t const* dividend, uint32_t divisor, std::size_t n);
uint32_t intMpShortMod(uint32_t const* dividend, uint32_t divisor, std::size_t n);

// Division by 16 bits needs no 64-bit division, which the device's processor hasn't. K goes by steps of 16 bits, Z bit by
// bit.
uint16_t intMpHalfDiv(uint32_t* quotient, uint32_t const* dividend, uint16_t divisor, std::size_t n);
uint16_t intMpHalfDivK(uint32_t* quotient, uint32_t const* dividend, uint16_t divisor, std::size_t n);
uint16_t intMpHalfDivZ(uint32_t* quotient, uint32_t const* dividend, uint16_t divisor, std::size_t n);
uint16_t intMpHalfMod(uint32_t const* dividend, uint16_t divisor, std::size_t n);
/// @}

/// `out` has 2 n words.
void intMpMultiply(uint32_t* out, uint32_t const* a, uint32_t const* b, std::size_t n);

/// Knuth's algorithm D (The Art of Computer Programming, volume 2, 4.3.1). `quotient` has as many words as the dividend,
/// or is null; `remainder` has one more. `divisor` is shifted meanwhile, so that no other thread may read it. -1, with
/// nothing written, if the divisor is 0 or has no words.
int intMpDivide(uint32_t* quotient, uint32_t* remainder, uint32_t const* dividend, std::size_t dividendLength,
                uint32_t* divisor, std::size_t divisorLength);

/// The remainder alone.
int intMpModulo(uint32_t* remainder, uint32_t const* dividend, std::size_t dividendLength, uint32_t* divisor,
                std::size_t divisorLength);

/// @name Modular arithmetic
/// `scratch` has as many words as the constant in front says for each word of `n`, and `INT_MP_SCRATCH_EXTRA` besides.
/// A modulus `m` is shifted meanwhile, as a divisor is, and so is `value`.
/// @{
inline constexpr std::size_t INT_MP_SCRATCH_EXTRA = 3;

/// Euclid's algorithm.
inline constexpr std::size_t INT_MP_GCD_SCRATCH = 3;
void intMpGcd(uint32_t* out, uint32_t const* a, uint32_t const* b, std::size_t n, uint32_t* scratch);

/// Euclid's extended algorithm. -1, with `out` unchanged, if there is no inverse or `m` is below 2.
inline constexpr std::size_t INT_MP_MOD_INV_SCRATCH = 8;
int intMpModInv(uint32_t* out, uint32_t const* a, uint32_t* m, std::size_t n, uint32_t* scratch);

/// -1, with `out` unchanged, if `m` is 0. `out` may be `a` or `b`.
inline constexpr std::size_t INT_MP_MOD_MULT_SCRATCH = 4;
int intMpModMult(uint32_t* out, uint32_t const* a, uint32_t const* b, uint32_t* m, std::size_t n, uint32_t* scratch);

/// Square and multiply, from the exponent's top bit on. -1, with `out` unchanged, if `n` or `m` is 0.
inline constexpr std::size_t INT_MP_MOD_EXP_SCRATCH = INT_MP_MOD_MULT_SCRATCH + 1;
int intMpModExp(uint32_t* out, uint32_t const* base, uint32_t const* exponent, uint32_t* m, std::size_t n,
                uint32_t* scratch);

/// Trial division by the odd primes below 109, which are thereby not reported as primes, then `rounds` rounds of
/// Miller-Rabin (Knuth, volume 2, 4.5.4, algorithm P) with bases from `random`; see `BigInteger::isPrime`.
inline constexpr std::size_t INT_MP_IS_PRIME_SCRATCH = INT_MP_MOD_EXP_SCRATCH + 4;
bool intMpIsPrime(uint32_t* value, std::size_t n, unsigned int rounds, unsigned int (*random)(), uint32_t* scratch);
/// @}
}

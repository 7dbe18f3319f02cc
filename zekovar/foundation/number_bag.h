#pragma once

#include <cstdint>
#include <memory>

/// A pool of the numbers of one interval, such as ports: numbers are drawn from it and returned to it.
///
/// It holds one bit a number. Drawing searches word by word, so it takes up to (last - first) / 32 steps. A plain value
/// without a lock.
///
///     ZKNumberBag ports(16384, 32767);
///     unsigned int port = 0;
///     if (ports.getEvenNumberPairInRangeRoundRobin(20000, 29999, &port)) open(port, port + 1);
class ZKNumberBag
{
public:
    /// All numbers from `first` to `last`, both included, are in the bag. It is empty for good if `last` is below
    /// `first`.
    ZKNumberBag(unsigned int first, unsigned int last);

    ZKNumberBag(ZKNumberBag const& other);
    ZKNumberBag& operator=(ZKNumberBag const& other);
    ~ZKNumberBag() = default;

    unsigned int getFirstNumber() const { return m_first; }

    unsigned int getLastNumber() const { return m_last; }

    bool isInBag(unsigned int number) const;

    /// Draws this number. False if it isn't in the bag.
    bool getNumber(unsigned int number);

    /// Puts a number back. False if it is out of range or in the bag already.
    bool returnNumber(unsigned int number);

    /// @name Draw any number
    /// The number drawn goes to `number`, or the even one of a pair. False, with nothing changed, if there is none, for
    /// a null pointer, and for limits that leave nothing of the interval. A round robin comes to a returned number as
    /// late as possible: it begins behind what `number` holds, and goes on from the lower limit once it is through.
    /// @{

    /// The lowest one.
    bool getNumber(unsigned int* number);

    /// The lowest one above `low`, up to `high`: `low` itself is drawn only if it is the last number of the bag, so
    /// that a search goes on behind the number drawn before. A `low` below the bag counts as its first number.
    bool getNumberInRange(unsigned int low, unsigned int high, unsigned int* number);

    bool getNumberRoundRobin(unsigned int* number);

    /// Here `low` may be drawn like all others.
    bool getNumberInRangeRoundRobin(unsigned int low, unsigned int high, unsigned int* number);

    /// The lowest even number that is in the bag together with the next one: both are drawn.
    bool getEvenNumberPairInRange(unsigned int low, unsigned int high, unsigned int* number);

    bool getEvenNumberPairInRangeRoundRobin(unsigned int low, unsigned int high, unsigned int* number);
    /// @}

private:
    static constexpr unsigned int WORD_BITS = 32;

    /// Limits within the interval; 64 bits, so that what lies behind the highest number can be told, too.
    struct Limits
    {
        uint64_t low;
        uint64_t high;
    };

    bool clamp(unsigned int low, unsigned int high, Limits& limits) const;
    bool find(uint64_t from, uint64_t to, unsigned int& found) const;
    bool findPair(uint64_t from, uint64_t to, unsigned int& found) const;
    bool drawPair(uint64_t from, uint64_t to, unsigned int* number);
    void toggle(unsigned int number);

    std::unique_ptr<unsigned int[]> m_bitmap;
    unsigned int m_first;
    unsigned int m_last;
    uint64_t m_count;
    unsigned int m_words;
};

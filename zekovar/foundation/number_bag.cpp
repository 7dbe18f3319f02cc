#include "zekovar/foundation/number_bag.h"

#include <algorithm>
#include <bit>
#include <utility>

ZKNumberBag::ZKNumberBag(unsigned int first, unsigned int last)
    : m_first(first),
      m_last(last),
      m_count(first <= last ? static_cast<uint64_t>(last) + 1 - first : 0),
      m_words(static_cast<unsigned int>(m_count / WORD_BITS + 1))
{
    m_bitmap.reset(new unsigned int[m_words]);
    std::fill_n(m_bitmap.get(), m_words - 1, ~0u);
    m_bitmap[m_words - 1] = (1u << m_count % WORD_BITS) - 1;
}

ZKNumberBag::ZKNumberBag(ZKNumberBag const& other)
    : m_bitmap(new unsigned int[other.m_words]),
      m_first(other.m_first),
      m_last(other.m_last),
      m_count(other.m_count),
      m_words(other.m_words)
{
    std::copy_n(other.m_bitmap.get(), m_words, m_bitmap.get());
}

ZKNumberBag& ZKNumberBag::operator=(ZKNumberBag const& other)
{
    ZKNumberBag copy(other);
    std::swap(m_bitmap, copy.m_bitmap);
    m_first = other.m_first;
    m_last = other.m_last;
    m_count = other.m_count;
    m_words = other.m_words;
    return *this;
}

bool ZKNumberBag::isInBag(unsigned int number) const
{
    unsigned int const offset = number - m_first;
    return offset < m_count && (m_bitmap[offset / WORD_BITS] >> offset % WORD_BITS & 1) != 0;
}

bool ZKNumberBag::getNumber(unsigned int number)
{
    if (!isInBag(number))
        return false;
    toggle(number);
    return true;
}

bool ZKNumberBag::returnNumber(unsigned int number)
{
    if (number - m_first >= m_count || isInBag(number))
        return false;
    toggle(number);
    return true;
}

bool ZKNumberBag::getNumber(unsigned int* number)
{
    return number != nullptr && find(m_first, m_last, *number) && getNumber(*number);
}

bool ZKNumberBag::getNumberInRange(unsigned int low, unsigned int high, unsigned int* number)
{
    Limits limits{};
    if (number == nullptr || !clamp(low, high, limits))
        return false;
    uint64_t const from = limits.low < m_last ? limits.low + 1 : limits.low;
    return find(from, limits.high, *number) && getNumber(*number);
}

bool ZKNumberBag::getNumberRoundRobin(unsigned int* number)
{
    return getNumberInRangeRoundRobin(m_first, m_last, number);
}

bool ZKNumberBag::getNumberInRangeRoundRobin(unsigned int low, unsigned int high, unsigned int* number)
{
    Limits limits{};
    if (number == nullptr || !clamp(low, high, limits))
        return false;
    bool const isWithin = *number >= limits.low && *number < limits.high;
    uint64_t const from = isWithin ? *number + 1ULL : limits.low;
    return (find(from, limits.high, *number) || find(limits.low, from, *number)) && getNumber(*number);
}

bool ZKNumberBag::getEvenNumberPairInRange(unsigned int low, unsigned int high, unsigned int* number)
{
    Limits limits{};
    return number != nullptr && clamp(low, high, limits) && drawPair(limits.low, limits.high, number);
}

bool ZKNumberBag::getEvenNumberPairInRangeRoundRobin(unsigned int low, unsigned int high, unsigned int* number)
{
    Limits limits{};
    if (number == nullptr || !clamp(low, high, limits))
        return false;
    bool const isWithin = *number >= limits.low && *number < limits.high;
    uint64_t const from = isWithin ? *number + 2ULL : limits.low;
    return drawPair(from, limits.high, number) || drawPair(limits.low, std::min(from, limits.high), number);
}

/// False if nothing of the bag lies within the limits.
bool ZKNumberBag::clamp(unsigned int low, unsigned int high, Limits& limits) const
{
    limits = {std::max(low, m_first), std::min(high, m_last)};
    return limits.low <= limits.high;
}

/// The first number in the bag from `from` to `to`, both within the interval but for a `from` above `to`, where there
/// is none.
bool ZKNumberBag::find(uint64_t from, uint64_t to, unsigned int& found) const
{
    if (m_count == 0 || from > to)
        return false;
    auto const start = static_cast<unsigned int>(from - m_first);
    auto const end = static_cast<unsigned int>(to - m_first);
    unsigned int index = start / WORD_BITS;
    unsigned int word = m_bitmap[index] & (~0u << start % WORD_BITS);
    while (word == 0 && index < end / WORD_BITS)
        word = m_bitmap[++index];
    if (word == 0)
        return false;
    unsigned int const offset = index * WORD_BITS + static_cast<unsigned int>(std::countr_zero(word));
    if (offset > end)
        return false;
    found = m_first + offset;
    return true;
}

/// The first even number from `from` on that is in the bag together with the next one, which isn't above `to`.
bool ZKNumberBag::findPair(uint64_t from, uint64_t to, unsigned int& found) const
{
    unsigned int number = 0;
    for (; find(from, to, number); from = number + 1ULL)
    {
        if (number % 2 == 0 && number < to && isInBag(number + 1))
        {
            found = number;
            return true;
        }
    }
    return false;
}

bool ZKNumberBag::drawPair(uint64_t from, uint64_t to, unsigned int* number)
{
    if (!findPair(from, to, *number))
        return false;
    toggle(*number);
    toggle(*number + 1);
    return true;
}

void ZKNumberBag::toggle(unsigned int number)
{
    unsigned int const offset = number - m_first;
    m_bitmap[offset / WORD_BITS] ^= 1u << offset % WORD_BITS;
}

#pragma once

#include "zekovar/foundation/xcode.h"

#include <cstddef>
#include <iterator>
#include <utility>
#include <vector>

/// A set of integers, kept as sorted ranges: memory and time go with the number of ranges, not of integers.
///
/// Its text form is a list of numbers and ranges, such as "1..3,5,7..9". A plain value without a lock.
///
///     ZKIntSet ports;
///     if (XCode code = ports.setup("1..3,5,7..", 1, 9); code.isErr()) return code;
///     for (int port : ports - 2)
///         open(port); // 1, 3, 5, 7, 8, 9
class ZKIntSet
{
public:
    /// Both ends belong to it.
    struct Range
    {
        int first;
        int last;
    };

    class Iterator;

    ZKIntSet() = default;

    /// The set of one number, so that a number stands wherever a set does.
    ZKIntSet(int number) : m_ranges{{number, number}} {}

    /// Sets the set to what `text` lists; parts that are empty don't count. A range without its first or last number
    /// begins at `minimum` or ends at `maximum`. Numbers are decimal, octal or hexadecimal, as `String::toInt32` reads
    /// them, with blanks around them.
    /// Fails with the text "INVALID FORMAT" where something else than a number stands or a range runs backwards, and
    /// with "OUT OF RANGE" for a number below `minimum` or above `maximum`; the set stays then.
    XCode setup(String const& text, int minimum, int maximum);

    bool isEmpty() const { return m_ranges.empty(); }

    /// Count of numbers, up to 2^32.
    long long size() const;

    bool contains(int number) const;

    /// @name Iteration
    /// Gives the numbers in ascending order. Changing the set invalidates iterators.
    /// @{
    Iterator begin() const;
    Iterator end() const;
    /// @}

    /// @name Union, difference and intersection
    /// @{
    ZKIntSet& operator+=(ZKIntSet const& other);
    ZKIntSet& operator-=(ZKIntSet const& other);
    ZKIntSet& operator&=(ZKIntSet const& other);

    friend ZKIntSet operator+(ZKIntSet left, ZKIntSet const& right) { return std::move(left += right); }

    friend ZKIntSet operator-(ZKIntSet left, ZKIntSet const& right) { return std::move(left -= right); }

    friend ZKIntSet operator&(ZKIntSet left, ZKIntSet const& right) { return std::move(left &= right); }

    /// @}

    /// The form that `setup` reads, with whatever can be one range as one. Empty for the empty set.
    String toString() const;

private:
    using Ranges = std::vector<Range>;

    static XCode parse(String const& text, int minimum, int maximum, Ranges& ranges);
    static XCode parseRange(String const& text, int minimum, int maximum, Range& range);
    static void normalize(Ranges& ranges);
    static void join(Ranges& ranges);

    Ranges m_ranges; // sorted, with at least one number between each two
};

class ZKIntSet::Iterator
{
public:
    using iterator_concept = std::forward_iterator_tag;
    using iterator_category = std::input_iterator_tag; // numbers are given by value
    using value_type = int;
    using difference_type = std::ptrdiff_t;
    using pointer = void;
    using reference = int;

    /// Belongs to no set.
    Iterator() = default;

    int operator*() const { return m_number; }

    Iterator& operator++()
    {
        if (m_number != (*m_ranges)[m_position].last)
            ++m_number;
        else
            moveTo(m_position + 1);
        return *this;
    }

    Iterator operator++(int)
    {
        Iterator const before = *this;
        ++*this;
        return before;
    }

    friend bool operator==(Iterator const&, Iterator const&) = default;

private:
    friend class ZKIntSet;

    Iterator(Ranges const& ranges, std::size_t position) : m_ranges(&ranges) { moveTo(position); }

    void moveTo(std::size_t position)
    {
        m_position = position;
        m_number = position < m_ranges->size() ? (*m_ranges)[position].first : 0;
    }

    Ranges const* m_ranges = nullptr;
    std::size_t m_position = 0;
    int m_number = 0;
};

inline ZKIntSet::Iterator ZKIntSet::begin() const
{
    return Iterator(m_ranges, 0);
}

inline ZKIntSet::Iterator ZKIntSet::end() const
{
    return Iterator(m_ranges, m_ranges.size());
}

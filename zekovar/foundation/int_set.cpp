#include "zekovar/foundation/int_set.h"

#include "zekovar/foundation/string.h"
#include "zekovar/foundation/tokenizer.h"

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <utility>

namespace
{
XCode failure(char const* text)
{
    XCode code = XCODE_FAILURE;
    code.setString(text);
    return code;
}

XCode invalidFormat()
{
    return failure("INVALID FORMAT");
}

XCode outOfRange()
{
    return failure("OUT OF RANGE");
}

XCode parseNumber(String const& text, int& number)
{
    if (!text.toInt32(number))
        return invalidFormat();
    // what an int can't hold has lost its upper bits, and what stands behind the number is still unread
    char* end = nullptr;
    long long const whole = std::strtoll(text.c_str(), &end, 0);
    if (end[std::strspn(end, " \t\n\v\f\r")] != '\0')
        return invalidFormat();
    return whole == number ? XCode() : outOfRange();
}

bool startsEarlier(ZKIntSet::Range const& left, ZKIntSet::Range const& right)
{
    return left.first < right.first;
}
}

XCode ZKIntSet::setup(String const& text, int minimum, int maximum)
{
    Ranges ranges;
    XCode code = parse(text, minimum, maximum, ranges);
    if (!code)
        return code;
    if (!ranges.empty() && (ranges.front().first < minimum || ranges.back().last > maximum))
        return outOfRange();
    m_ranges = std::move(ranges);
    return XCODE_SUCCESS;
}

XCode ZKIntSet::parse(String const& text, int minimum, int maximum, Ranges& ranges)
{
    StringTokenizer parts(text, ",");
    for (String part; parts.nextToken(part);)
    {
        Range range{};
        XCode code = parseRange(part, minimum, maximum, range);
        if (!code)
            return code;
        ranges.push_back(range);
    }
    normalize(ranges);
    return XCODE_SUCCESS;
}

XCode ZKIntSet::parseRange(String const& text, int minimum, int maximum, Range& range)
{
    String left;
    String right;
    range = {minimum, maximum};
    if (text.split("..", left, right) < 0)
    {
        XCode code = parseNumber(text, range.first);
        range.last = range.first;
        return code;
    }
    XCode code;
    if (!left.isEmpty())
        code = parseNumber(left, range.first);
    if (code && !right.isEmpty())
        code = parseNumber(right, range.last);
    if (!code || range.first <= range.last)
        return code;
    return range.first > maximum || range.last < minimum ? outOfRange() : invalidFormat();
}

void ZKIntSet::normalize(Ranges& ranges)
{
    std::sort(ranges.begin(), ranges.end(), startsEarlier);
    join(ranges);
}

/// Makes one range of those that overlap or touch. They are sorted.
void ZKIntSet::join(Ranges& ranges)
{
    std::size_t kept = 0;
    for (Range const& range : ranges)
    {
        if (kept > 0 && range.first <= ranges[kept - 1].last + 1LL)
            ranges[kept - 1].last = std::max(ranges[kept - 1].last, range.last);
        else
            ranges[kept++] = range;
    }
    ranges.resize(kept);
}

long long ZKIntSet::size() const
{
    long long count = 0;
    for (Range const& range : m_ranges)
        count += static_cast<long long>(range.last) - range.first + 1;
    return count;
}

bool ZKIntSet::contains(int number) const
{
    auto const behind = std::upper_bound(m_ranges.begin(), m_ranges.end(), Range{number, number}, startsEarlier);
    return behind != m_ranges.begin() && std::prev(behind)->last >= number;
}

ZKIntSet& ZKIntSet::operator+=(ZKIntSet const& other)
{
    Ranges sum;
    sum.reserve(m_ranges.size() + other.m_ranges.size());
    std::merge(m_ranges.begin(), m_ranges.end(), other.m_ranges.begin(), other.m_ranges.end(), std::back_inserter(sum),
               startsEarlier);
    join(sum);
    m_ranges = std::move(sum);
    return *this;
}

ZKIntSet& ZKIntSet::operator-=(ZKIntSet const& other)
{
    Ranges rest;
    auto hole = other.m_ranges.begin();
    auto const end = other.m_ranges.end();
    for (Range range : m_ranges)
    {
        while (hole != end && hole->last < range.first)
            ++hole;
        bool isUsedUp = false;
        for (auto each = hole; each != end && each->first <= range.last && !isUsedUp; ++each)
        {
            if (each->first > range.first)
                rest.push_back({range.first, each->first - 1});
            isUsedUp = each->last >= range.last;
            if (!isUsedUp)
                range.first = each->last + 1;
        }
        if (!isUsedUp)
            rest.push_back(range);
    }
    m_ranges = std::move(rest);
    return *this;
}

ZKIntSet& ZKIntSet::operator&=(ZKIntSet const& other)
{
    Ranges common;
    auto left = m_ranges.begin();
    auto right = other.m_ranges.begin();
    while (left != m_ranges.end() && right != other.m_ranges.end())
    {
        Range const range{std::max(left->first, right->first), std::min(left->last, right->last)};
        if (range.first <= range.last)
            common.push_back(range);
        if (left->last < right->last)
            ++left;
        else
            ++right;
    }
    m_ranges = std::move(common);
    return *this;
}

String ZKIntSet::toString() const
{
    String text;
    for (Range const& range : m_ranges)
    {
        if (!text.isEmpty())
            text += ',';
        text += String::stringOf(range.first);
        if (range.first != range.last)
            text.concat("..", 2).concat(String::stringOf(range.last));
    }
    return text;
}

#include "zekovar/foundation/string.h"
#include "zekovar/foundation/vector.h"

#include <algorithm>
#include <memory>
#include <strings.h>

namespace
{

bool matches(String::Predicate predicate, char character)
{
    return predicate != nullptr && predicate(static_cast<unsigned char>(character)) != 0;
}

/// Sets both targets, of which either may be `text`, to what stands around the separator. Returns `index`.
int cut(String const& text, int index, int width, String& left, String& right)
{
    String head = index < 0 ? text : text.substring(0, index);
    String tail = index < 0 ? String::s_empty : text.substring(index + width);
    left = std::move(head);
    right = std::move(tail);
    return index;
}

void addPiece(ZKVector<String>& pieces, String const& text, int start, int end)
{
    if (start < end)
        pieces.add(text.substring(start, end));
}

}

int String::compareToIgnoreCase(String const& other) const
{
    return strcasecmp(other.c_str(), c_str());
}

// Not in the header, where the compiler takes a literal's comparison with inline text for a mistake.
bool String::equals(char const* text) const
{
    return std::strcmp(c_str(), text != nullptr ? text : "") == 0;
}

bool String::equalsIgnoreCase(String const& other) const
{
    return length() == other.length() && strncasecmp(c_str(), other.c_str(), static_cast<std::size_t>(length())) == 0;
}

bool String::equalsIgnoreCase(char const* text) const
{
    return strcasecmp(c_str(), text != nullptr ? text : "") == 0;
}

bool String::startsWith(String const& prefix, int offset) const
{
    return offset >= 0 && prefix.length() <= length() - offset &&
           std::memcmp(c_str() + offset, prefix.c_str(), static_cast<std::size_t>(prefix.length())) == 0;
}

bool String::endsWith(String const& suffix) const
{
    return startsWith(suffix, length() - suffix.length());
}

bool String::regionMatches(int offset, String const& other, int otherOffset, int count) const
{
    return regionMatches(false, offset, other, otherOffset, count);
}

bool String::regionMatches(bool ignoreCase, int offset, String const& other, int otherOffset, int count) const
{
    if (offset < 0 || otherOffset < 0 || count < 0 || offset > length() - count || otherOffset > other.length() - count)
        return false;
    auto const compare = ignoreCase ? strncasecmp : strncmp;
    return compare(c_str() + offset, other.c_str() + otherOffset, static_cast<std::size_t>(count)) == 0;
}

int String::calcDistance(String const& other) const
{
    if (isEmpty() || other.isEmpty())
        return std::max(length(), other.length());

    // Of the matrix only three rows are ever looked at, and they are on the heap: a text has no limit, a stack has.
    std::size_t const columns = static_cast<std::size_t>(other.length()) + 1;
    std::unique_ptr<int, decltype(&std::free)> const cells(static_cast<int*>(std::calloc(columns, 3 * sizeof(int))),
                                                           &std::free);
    if (cells == nullptr)
        return std::max(length(), other.length());
    int* beforeLast = cells.get();
    int* last = beforeLast + columns;
    int* current = last + columns;
    for (std::size_t j = 0; j < columns; ++j)
        last[j] = static_cast<int>(j);

    char const* const left = c_str();
    char const* const right = other.c_str();
    for (int i = 1; i <= length(); ++i)
    {
        current[0] = i;
        for (int j = 1; j <= other.length(); ++j)
        {
            int const cost = left[i - 1] == right[j - 1] ? 0 : 1;
            int best = std::min({last[j] + 1, current[j - 1] + 1, last[j - 1] + cost});
            if (i > 1 && j > 1 && left[i - 1] == right[j - 2] && left[i - 2] == right[j - 1])
                best = std::min(best, beforeLast[j - 2] + cost);
            current[j] = best;
        }
        std::swap(beforeLast, last);
        std::swap(last, current);
    }
    return last[columns - 1];
}

int String::indexOf(char character, int from) const
{
    if (character == '\0' || from >= length())
        return -1;
    char const* const found = std::strchr(c_str() + std::max(from, 0), character);
    return found != nullptr ? static_cast<int>(found - c_str()) : -1;
}

int String::indexOf(String const& text, int from) const
{
    from = std::max(from, 0);
    if (from > length() - text.length())
        return -1;
    char const* const found = std::strstr(c_str() + from, text.c_str());
    return found != nullptr ? static_cast<int>(found - c_str()) : -1;
}

int String::indexOf(Predicate predicate, int from) const
{
    for (int i = std::max(from, 0); i < length(); ++i)
        if (matches(predicate, c_str()[i]))
            return i;
    return -1;
}

int String::indexOfIgnoreCase(String const& text, int from) const
{
    for (int i = std::max(from, 0); i <= length() - text.length(); ++i)
        if (strncasecmp(c_str() + i, text.c_str(), static_cast<std::size_t>(text.length())) == 0)
            return i;
    return -1;
}

int String::lastIndexOf(char character, int from) const
{
    for (int i = std::min(from, length() - 1); i >= 0; --i)
        if (c_str()[i] == character)
            return i;
    return -1;
}

int String::lastIndexOf(String const& text, int from) const
{
    for (int i = std::min(from, length() - text.length()); i >= 0; --i)
        if (startsWith(text, i))
            return i;
    return -1;
}

int String::lastIndexOf(Predicate predicate, int from) const
{
    for (int i = std::min(from, length() - 1); i >= 0; --i)
        if (matches(predicate, c_str()[i]))
            return i;
    return -1;
}

int String::lastIndexOfIgnoreCase(String const& text, int from) const
{
    for (int i = std::min(from, length() - text.length()); i >= 0; --i)
        if (strncasecmp(c_str() + i, text.c_str(), static_cast<std::size_t>(text.length())) == 0)
            return i;
    return -1;
}

int String::getFirstNonWhiteSpace(Predicate predicate) const
{
    int index = 0;
    while (index < length() && matches(predicate, c_str()[index]))
        ++index;
    return index;
}

int String::getLastNonWhiteSpace(Predicate predicate) const
{
    int index = length() - 1;
    while (index >= 0 && matches(predicate, c_str()[index]))
        --index;
    return index;
}

int String::split(char separator, String& left, String& right) const
{
    return cut(*this, indexOf(separator), 1, left, right);
}

int String::split(String const& separator, String& left, String& right) const
{
    return cut(*this, indexOf(separator), separator.length(), left, right);
}

void String::splitAtString(ZKVector<String>& pieces, String const& separator) const
{
    // this string and the separator may be elements of the vector
    String const text(*this);
    String const cutAt(separator);
    pieces.clear();
    int start = 0;
    for (int end = 0; !cutAt.isEmpty() && (end = text.indexOf(cutAt, start)) >= 0; start = end + cutAt.length())
        addPiece(pieces, text, start, end);
    addPiece(pieces, text, start, text.length());
}

void String::splitAtChars(ZKVector<String>& pieces, String const& separators) const
{
    String const text(*this);
    String const cutAt(separators);
    pieces.clear();
    int start = 0;
    for (int end = 0; end < text.length(); ++end)
    {
        if (cutAt.indexOf(text[end]) < 0)
            continue;
        addPiece(pieces, text, start, end);
        start = end + 1;
    }
    addPiece(pieces, text, start, text.length());
}

String String::join(ZKVector<String> const& pieces, String const& separator)
{
    long long total = 0;
    for (unsigned int i = 0; i < pieces.size(); ++i)
        total += pieces[i].length() + (i != 0 ? separator.length() : 0LL);

    String result;
    if (total > Store::MAX_LENGTH || result.reserve(static_cast<int>(total)).capacity() < total)
        return s_empty;
    for (unsigned int i = 0; i < pieces.size(); ++i)
    {
        if (i != 0)
            result += separator;
        result += pieces[i];
    }
    return result;
}

String String::repeat(String const& text, unsigned int count)
{
    unsigned long long const total = static_cast<unsigned long long>(text.length()) * count;
    String result;
    if (total > Store::MAX_LENGTH || !result.native_alloc(static_cast<int>(total)))
        return s_empty;
    for (char *each = result.data(), *end = each + total; each != end; each += text.length())
        std::memcpy(each, text.c_str(), static_cast<std::size_t>(text.length()));
    return result;
}

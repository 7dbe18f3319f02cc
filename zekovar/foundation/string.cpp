#include "zekovar/foundation/string.h"

#include <algorithm>
#include <climits>

namespace
{

bool isUpper(char character)
{
    return character >= 'A' && character <= 'Z';
}

bool isLower(char character)
{
    return character >= 'a' && character <= 'z';
}

constexpr char CASE_BIT = 'a' - 'A';

}

String::String(char const* text, int reserve)
{
    if (text == nullptr)
        return;
    std::size_t const size = std::strlen(text);
    if (size > static_cast<std::size_t>(Store::MAX_LENGTH))
        return;
    int const length = static_cast<int>(size);
    if (char* const target = m_store.alloc(std::max(length, reserve)))
    {
        std::memcpy(target, text, size);
        m_store.setLength(length);
    }
}

String::String(char const* text, int start, int count)
    : String(text, text != nullptr ? static_cast<int>(std::min<std::size_t>(std::strlen(text), INT_MAX)) : 0, start,
             count)
{
}

String::String(char const* text, int size, int start, int count)
{
    start = std::max(start, 0);
    if (text != nullptr && count > 0 && start < size)
        m_store.init(text + start, static_cast<std::size_t>(std::min(count, size - start)));
}

String& String::internalAssign(char const* text, std::size_t size)
{
    if (size <= static_cast<std::size_t>(capacity()))
    {
        std::memmove(m_store.data(), text, size);
        m_store.setLength(static_cast<int>(size));
        return *this;
    }
    if (size > static_cast<std::size_t>(Store::MAX_LENGTH))
        return *this;
    Store::Buffer const grown = Store::ALLOCATE(static_cast<int>(size));
    if (grown.text != nullptr)
    {
        std::memcpy(grown.text, text, size);
        m_store.adopt(grown, static_cast<int>(size));
    }
    return *this;
}

String& String::operator=(char const* text)
{
    return text != nullptr ? internalAssign(text, std::strlen(text)) : internalAssign("", 0);
}

String& String::operator=(char character)
{
    m_store.data()[0] = character;
    m_store.setLength(character != '\0' ? 1 : 0);
    return *this;
}

String& String::operator=(String const& other)
{
    return this != &other ? internalAssign(other.c_str(), static_cast<std::size_t>(other.length())) : *this;
}

String& String::reserve(int length)
{
    if (length <= capacity())
        return *this;
    Store::Buffer const grown = Store::ALLOCATE(length);
    if (grown.text != nullptr)
    {
        std::memcpy(grown.text, c_str(), static_cast<std::size_t>(this->length()));
        m_store.adopt(grown, this->length());
    }
    return *this;
}

bool String::native_alloc(int length)
{
    if (length <= capacity())
    {
        m_store.setLength(std::max(length, 0));
        return true;
    }
    Store::Buffer const grown = Store::ALLOCATE(length);
    if (grown.text != nullptr)
        m_store.adopt(grown, length);
    return grown.text != nullptr;
}

int String::getChars(int start, int end, char* target) const
{
    start = std::max(start, 0);
    end = std::min(end, length());
    if (target == nullptr || start >= end)
        return 0;
    std::memmove(target, c_str() + start, static_cast<std::size_t>(end - start));
    return end - start;
}

String& String::operator+=(char const* text)
{
    if (text == nullptr)
        return *this;
    std::size_t const size = std::strlen(text);
    return size <= static_cast<std::size_t>(Store::MAX_LENGTH) ? internalConcat(text, static_cast<int>(size)) : *this;
}

String& String::concatLong(char const* text, int count)
{
    int const oldLength = length();
    if (count <= 0 || text == nullptr || count > Store::MAX_LENGTH - oldLength)
        return *this;
    if (count <= capacity() - oldLength)
    {
        std::memmove(m_store.data() + oldLength, text, static_cast<std::size_t>(count));
        m_store.setLength(oldLength + count);
        return *this;
    }
    Store::Buffer const grown = Store::ALLOCATE(oldLength + count);
    if (grown.text != nullptr)
    {
        std::memcpy(grown.text, c_str(), static_cast<std::size_t>(oldLength));
        std::memcpy(grown.text + oldLength, text, static_cast<std::size_t>(count));
        m_store.adopt(grown, oldLength + count);
    }
    return *this;
}

String& String::concatGrowing(char character)
{
    return character != '\0' ? concatLong(&character, 1) : *this;
}

String& String::insert(int index, char const* text)
{
    if (text == nullptr)
        return *this;
    std::size_t const size = std::strlen(text);
    return internalInsert(index, text, static_cast<int>(std::min<std::size_t>(size, INT_MAX)));
}

String& String::insert(int index, char character)
{
    return character != '\0' ? internalInsert(index, &character, 1) : *this;
}

String& String::internalInsert(int index, char const* text, int count)
{
    int const oldLength = length();
    if (index < 0 || index > oldLength || count <= 0 || count > Store::MAX_LENGTH - oldLength)
        return *this;

    int const tail = oldLength - index;
    if (count > capacity() - oldLength)
    {
        Store::Buffer const grown = Store::ALLOCATE(oldLength + count);
        if (grown.text != nullptr)
        {
            std::memcpy(grown.text, c_str(), static_cast<std::size_t>(index));
            std::memcpy(grown.text + index, text, static_cast<std::size_t>(count));
            std::memcpy(grown.text + index + count, c_str() + index, static_cast<std::size_t>(tail));
            m_store.adopt(grown, oldLength + count);
        }
        return *this;
    }

    char* const data = m_store.data();
    auto const offset = reinterpret_cast<std::uintptr_t>(text) - reinterpret_cast<std::uintptr_t>(data);
    bool const inside = offset < static_cast<std::uintptr_t>(oldLength);
    // of a text that lies in this string, what stands behind the index moves up with the tail
    int const unmoved = inside ? std::clamp(index - static_cast<int>(offset), 0, count) : count;
    std::memmove(data + index + count, data + index, static_cast<std::size_t>(tail));
    std::memcpy(data + index, text, static_cast<std::size_t>(unmoved));
    if (unmoved < count)
        std::memcpy(data + index + unmoved, data + offset + unmoved + count, static_cast<std::size_t>(count - unmoved));
    m_store.setLength(oldLength + count);
    return *this;
}

String& String::deleteRegion(int start)
{
    return deleteRegion(start, length());
}

String& String::deleteRegion(int start, int end)
{
    start = std::max(start, 0);
    end = std::min(end, length());
    if (start >= end)
        return *this;
    int const tail = length() - end;
    std::memmove(m_store.data() + start, m_store.data() + end, static_cast<std::size_t>(tail));
    m_store.setLength(start + tail);
    return *this;
}

String& String::replace(char character, char replacement)
{
    if (replacement != '\0')
        std::replace(m_store.data(), m_store.data() + length(), character, replacement);
    return *this;
}

String& String::replace(String const& text, String const& replacement)
{
    auto const width = static_cast<std::size_t>(text.length());
    auto const newWidth = static_cast<std::size_t>(replacement.length());
    if (isEmpty() || width == 0)
        return *this;
    auto const find = [&](char const* from)
    {
        return static_cast<char const*>(
            memmem(from, static_cast<std::size_t>(c_str() + length() - from), text.c_str(), width));
    };

    char const* match = find(c_str());
    if (width == newWidth)
    {
        for (; match != nullptr; match = find(match + width))
            std::memmove(m_store.data() + (match - c_str()), replacement.c_str(), newWidth);
        return *this;
    }

    long long newLength = length();
    for (char const* each = match; each != nullptr; each = find(each + width))
        newLength += replacement.length() - text.length();
    if (match == nullptr || newLength > Store::MAX_LENGTH)
        return *this;

    Store result;
    char* target = result.alloc(static_cast<int>(newLength));
    if (target == nullptr)
        return *this;
    char const* rest = c_str();
    for (; match != nullptr; match = find(rest))
    {
        target = std::copy(rest, match, target);
        target = std::copy_n(replacement.c_str(), newWidth, target);
        rest = match + width;
    }
    std::copy(rest, c_str() + length(), target);
    m_store.swap(result);
    return *this;
}

String& String::toLowerCase()
{
    for (char *each = m_store.data(), *end = each + length(); each != end; ++each)
        *each = static_cast<char>(isUpper(*each) ? *each + CASE_BIT : *each);
    return *this;
}

String& String::toUpperCase()
{
    for (char *each = m_store.data(), *end = each + length(); each != end; ++each)
        *each = static_cast<char>(isLower(*each) ? *each - CASE_BIT : *each);
    return *this;
}

String& String::toSentence()
{
    if (isEmpty() || length() > Store::MAX_LENGTH / 2)
        return *this;
    Store words;
    char* const start = words.alloc(2 * length());
    if (start == nullptr)
        return *this;
    char const* const source = c_str();
    char* target = start;
    *target++ = static_cast<char>(isLower(source[0]) ? source[0] - CASE_BIT : source[0]);
    for (int i = 1; i < length(); ++i)
    {
        if (isUpper(source[i]) && source[i - 1] != ' ')
            *target++ = ' ';
        *target++ = source[i];
    }
    words.setLength(static_cast<int>(target - start));
    m_store.swap(words);
    return *this;
}

String& String::toCommonPrefix(String const& other)
{
    int const shorter = std::min(length(), other.length());
    return deleteRegion(static_cast<int>(std::mismatch(c_str(), c_str() + shorter, other.c_str()).first - c_str()));
}

String& String::trim(char character)
{
    if (character == '\0')
        return *this;
    int end = length();
    while (end > 0 && c_str()[end - 1] == character)
        --end;
    int start = 0;
    while (start < end && c_str()[start] == character)
        ++start;
    return deleteRegion(end).deleteRegion(0, start);
}

String& String::leftTrim(Predicate predicate)
{
    return deleteRegion(0, getFirstNonWhiteSpace(predicate));
}

String& String::rightTrim(Predicate predicate)
{
    return deleteRegion(getLastNonWhiteSpace(predicate) + 1);
}

String String::lowerCase() const
{
    String copy(*this);
    copy.toLowerCase();
    return copy;
}

String String::upperCase() const
{
    String copy(*this);
    copy.toUpperCase();
    return copy;
}

String String::sentence() const
{
    String copy(*this);
    copy.toSentence();
    return copy;
}

String String::commonPrefix(String const& other) const
{
    String copy(*this);
    copy.toCommonPrefix(other);
    return copy;
}

String String::substring(int start) const
{
    return start >= 0 ? substring(start, length()) : s_empty;
}

String String::substring(int start, int end) const
{
    return start < end ? String(c_str(), std::min(end, length()), start, INT_MAX) : s_empty;
}

String String::before(char character) const
{
    int const index = indexOf(character);
    return index < 0 ? *this : substring(0, index);
}

String String::after(char character) const
{
    int const index = indexOf(character);
    return index < 0 ? s_empty : substring(index + 1);
}

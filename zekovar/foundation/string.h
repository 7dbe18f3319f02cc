#pragma once

#include "zekovar/foundation/string_store.h"

#include <cstdarg>
#include <cstring>

class XCode;
template <class T>
class ZKVector;

/// The text value of the library: a plain value of 16 bytes that keeps up to 7 characters inline. Copying copies; two
/// strings never share a buffer, so the only rule between threads is not to write a string that another one reads.
///
/// Nothing throws. An operation that runs out of memory, and one with an index out of range, leaves the string as it
/// was. Text may hold zero bytes, but what searches, compares or converts through the C library sees the part in front
/// of the first one. Arguments may be the string itself or point into it.
///
///     String line;
///     line.format("%s: %d", name.c_str(), count).concat(" entries");
///     if (line.startsWith("total")) total = line.after(':').trim(isspace).toInteger();
class String
{
public:
    using Store = ZK::Detail::StringStore;

    /// A test of one character, given as its unsigned value: `isspace`, `isdigit` and their like.
    using Predicate = int (*)(int);

    /// Marks the constructor that takes a `printf` format: `String(String::Formatted(), "%d", 5)`.
    struct Formatted
    {
    };

    /// What operations hand back for "nothing".
    static String const s_empty;

    constexpr String() noexcept = default;

    /// Null gives the empty string.
    String(char const* text)
    {
        if (text != nullptr)
        {
            m_store.init(text, std::strlen(text));
        }
    }

    /// Copies `text` and makes room for at least `reserve` characters. Null gives the empty string without room.
    String(char const* text, int reserve);

    /// At most `count` characters of `text` from `start` on; a start below 0 is 0, one beyond the end is the end.
    String(char const* text, int start, int count);

    /// As above for a text of known `size`, which may hold zero bytes.
    String(char const* text, int size, int start, int count);

    String(Formatted, char const* format, ...) __attribute__((format(printf, 3, 4)));

    /// The zero character gives the empty string.
    String(char character) { m_store.init(&character, character != '\0' ? 1 : 0); }

    /// The room is made for the length of `other`, not for its capacity.
    String(String const& other) { m_store.init(other.m_store); }

    /// `other` becomes empty.
    String(String&& other) noexcept = default;

    ~String() = default;

    /// Keeps the buffer if the text fits. Null gives the empty string.
    String& operator=(char const* text);

    /// Keeps the buffer. The zero character gives the empty string.
    String& operator=(char character);

    /// Keeps the buffer if the text fits.
    String& operator=(String const& other);

    /// Swaps: `other` holds this string's old text afterwards.
    String& operator=(String&& other) noexcept
    {
        m_store.swap(other.m_store);
        return *this;
    }

    /// Number of characters, without the terminating zero.
    int length() const { return m_store.length(); }

    bool isEmpty() const { return m_store.length() == 0; }

    /// Characters that fit before the buffer grows, at least 7.
    int capacity() const { return m_store.capacity(); }

    /// The text with a zero byte behind it; valid until the string changes.
    char const* c_str() const { return m_store.data(); }

    /// The text for writing, `length()` characters of it; valid until the string changes otherwise.
    char* data() { return m_store.data(); }

    /// Makes room for at least `length` characters and keeps the text.
    String& reserve(int length);

    /// Sets the length, for a caller that writes the text through `data()`. What doesn't fit makes a new buffer and the
    /// content is lost. A length below 1 empties. False if memory is out: the string is as it was.
    bool native_alloc(int length);

    /// The character at `index`, 0 for an index out of range.
    char operator[](int index) const
    {
        return static_cast<unsigned>(index) < static_cast<unsigned>(length()) ? c_str()[index] : '\0';
    }

    /// Copies the characters from `start` to before `end`, both clamped to the string, to `target`, without a zero
    /// behind them. Returns their number, 0 if `target` is null.
    int getChars(int start, int end, char* target) const;

    /// `strcmp` of `other` with this string: above 0 if this string comes first, the reverse of `strcmp`'s usual order.
    int compareTo(String const& other) const { return std::strcmp(other.c_str(), c_str()); }

    /// As `compareTo`, without regard to case.
    int compareToIgnoreCase(String const& other) const;

    bool equals(String const& other) const
    {
        return length() == other.length() && std::memcmp(c_str(), other.c_str(), length()) == 0;
    }

    /// Null equals the empty string.
    bool equals(char const* text) const;

    bool equalsIgnoreCase(String const& other) const;

    /// Null equals the empty string.
    bool equalsIgnoreCase(char const* text) const;

    bool startsWith(String const& prefix) const { return startsWith(prefix, 0); }

    /// Whether `prefix` stands at `offset`; false for an offset below 0.
    bool startsWith(String const& prefix, int offset) const;

    bool endsWith(String const& suffix) const;

    /// Whether `count` characters from `offset` on are those of `other` from `otherOffset` on. False if a number is
    /// negative or the region passes the end of either string.
    bool regionMatches(int offset, String const& other, int otherOffset, int count) const;

    bool regionMatches(bool ignoreCase, int offset, String const& other, int otherOffset, int count) const;

    /// Number of insertions, deletions, substitutions and swaps of neighbours between the two texts, no part of a text
    /// being changed twice (optimal string alignment). Time grows with the product of the lengths, memory with
    /// `other`'s. If memory is out, the greater length, which is an upper bound.
    int calcDistance(String const& other) const;

    /// @name Search
    /// The index of what was found, or -1. A `from` below 0 counts as 0 when searching upwards and finds nothing when
    /// searching downwards. The zero character is never found by `indexOf`.
    /// @{
    int indexOf(char character) const { return indexOf(character, 0); }

    int indexOf(char character, int from) const;

    int indexOf(String const& text) const { return indexOf(text, 0); }

    int indexOf(String const& text, int from) const;

    int indexOf(Predicate predicate) const { return indexOf(predicate, 0); }

    int indexOf(Predicate predicate, int from) const;

    int indexOfIgnoreCase(String const& text) const { return indexOfIgnoreCase(text, 0); }

    int indexOfIgnoreCase(String const& text, int from) const;

    int lastIndexOf(char character) const { return lastIndexOf(character, length()); }

    int lastIndexOf(char character, int from) const;

    int lastIndexOf(String const& text) const { return lastIndexOf(text, length()); }

    int lastIndexOf(String const& text, int from) const;

    int lastIndexOf(Predicate predicate) const { return lastIndexOf(predicate, length()); }

    int lastIndexOf(Predicate predicate, int from) const;

    int lastIndexOfIgnoreCase(String const& text) const { return lastIndexOfIgnoreCase(text, length()); }

    int lastIndexOfIgnoreCase(String const& text, int from) const;
    /// @}

    /// Index of the first character for which `predicate` is false, or the length.
    int getFirstNonWhiteSpace(Predicate predicate) const;

    /// Index of the last character for which `predicate` is false, or -1.
    int getLastNonWhiteSpace(Predicate predicate) const;

    /// @name Change in place
    /// All return this string. Null or empty text, the zero character and a count below 1 append and insert nothing.
    /// @{
    String& concat(String const& text) { return internalConcat(text.c_str(), text.length()); }

    String& concat(char const* text, int count) { return internalConcat(text, count); }

    String& operator+=(String const& text) { return internalConcat(text.c_str(), text.length()); }

    String& operator+=(char const* text);

    String& operator+=(char character)
    {
        if (character == '\0' || length() >= capacity())
            return concatGrowing(character);
        m_store.append(character);
        return *this;
    }

    /// Inserts in front of `index`, which is 0 to the length.
    String& insert(int index, String const& text) { return internalInsert(index, text.c_str(), text.length()); }

    String& insert(int index, char const* text);
    String& insert(int index, char character);

    /// Cuts everything from `start` on; a start below 0 counts as 0.
    String& deleteRegion(int start);

    /// Removes the characters from `start` to before `end`, both clamped to the string.
    String& deleteRegion(int start, int end);

    /// Replaces every occurrence; a zero `replacement` changes nothing.
    String& replace(char character, char replacement);

    /// Replaces every non-overlapping occurrence from the left; an empty `text` changes nothing.
    String& replace(String const& text, String const& replacement);

    /// Changes the ASCII letters only, whatever the locale.
    String& toLowerCase();
    String& toUpperCase();

    /// Makes words of a text in camel case: a blank in front of each capital that has none, and a capital at the start.
    String& toSentence();

    /// Cuts this string to what both begin with.
    String& toCommonPrefix(String const& other);

    /// Removes `character` at both ends.
    String& trim(char character);

    /// Removes the characters at both ends, or at one, for which `predicate` is true.
    String& trim(Predicate predicate) { return rightTrim(predicate).leftTrim(predicate); }

    String& leftTrim(Predicate predicate);
    String& rightTrim(Predicate predicate);

    /// Replaces the content by formatted text. A null format, one without output and one that fails empty the string.
    String& format(char const* format, ...) __attribute__((format(printf, 2, 3)));
    String& vformat(char const* format, va_list arguments) __attribute__((format(printf, 2, 0)));

    /// Appends formatted text.
    String& concatf(char const* format, ...) __attribute__((format(printf, 2, 3)));
    String& vconcatf(char const* format, va_list arguments) __attribute__((format(printf, 2, 0)));

    /// @}

    /// @name Derived copies
    /// @{
    String lowerCase() const;
    String upperCase() const;
    String sentence() const;

    /// The text from `start` on; empty for a start below 0 or not below the length.
    String substring(int start) const;

    /// The text from `start` to before `end`; here a start below 0 counts as 0.
    String substring(int start, int end) const;

    /// The text in front of the first `character`; the whole text if there is none.
    String before(char character) const;

    /// The text behind the first `character`; empty if there is none.
    String after(char character) const;

    String commonPrefix(String const& other) const;

    /// @}

    /// Cuts at the first `separator` and returns its index. Without one `left` is the whole text, `right` is empty and
    /// the result is negative. Either target may be this string.
    int split(char separator, String& left, String& right) const;
    int split(String const& separator, String& left, String& right) const;

    /// Sets `pieces` to the texts between occurrences of `separator`, without the empty ones.
    void splitAtString(ZKVector<String>& pieces, String const& separator) const;

    /// Sets `pieces` to the texts between characters of `separators`, without the empty ones.
    void splitAtChars(ZKVector<String>& pieces, String const& separators) const;

    static String join(ZKVector<String> const& pieces, String const& separator);
    static String repeat(String const& text, unsigned int count);

    /// @name Conversion to numbers
    /// As `sscanf` reads them, so blanks in front and other text behind the number don't matter. The signed 8 to 32 bit
    /// forms take decimal, octal and hexadecimal; the others decimal, or hexadecimal if the text begins with "0x".
    /// The forms with a result return the general failure on text that isn't a number and leave `value` alone; the
    /// others return -1 (signed) or 0 (unsigned) then.
    /// @{
    XCode toInteger(int& value) const;
    XCode toInt8(signed char& value) const;
    XCode toInt16(short& value) const;
    XCode toInt32(int& value) const;
    XCode toInt64(long long& value) const;
    XCode toUInt(unsigned int& value) const;
    XCode toUInt8(unsigned char& value) const;
    XCode toUInt16(unsigned short& value) const;
    XCode toUInt32(unsigned int& value) const;
    XCode toUInt64(unsigned long long& value) const;
    int toInteger() const;
    signed char toInt8() const;
    short toInt16() const;
    int toInt32() const;
    long long toInt64() const;
    unsigned int toUInt() const;
    unsigned char toUInt8() const;
    unsigned short toUInt16() const;
    unsigned int toUInt32() const;
    unsigned long long toUInt64() const;
    /// @}

    /// Whether the text is "true" or a number above 0.
    bool toBool() const;

    /// Reads "first..last", where an absent side takes its default, or one number, which becomes both. A side that
    /// isn't a number becomes -1. Always succeeds.
    XCode toNumberRange(bool& isRange, int& first, int& last, int defaultFirst, int defaultLast) const;

    /// The text of a value: "true" or "false", a character, a text, a number in decimal ("%g" for `float` and
    /// `double`), a pointer as "%p", or a copy of a string. Null text and the zero character give the empty string.
    template <class T>
    static String stringOf(T const& value)
    {
        return internalStringOf(value);
    }

    static String stringOf(char const* text, int start, int count) { return String(text, start, count); }

    static String stringOfFormat(char const* format, ...) __attribute__((format(printf, 1, 2)));

    /// The system's text for an `errno` value.
    static String stringOfErrno(int error);

    /// Two lower-case hexadecimal digits for each byte.
    String toHex() const;

    /// The reverse of `toHex`, in either case. Zero bytes are left out. An odd length or another character gives the
    /// empty string.
    static String stringOfHex(String const& digits);

    /// The text as `HEX_DUMP` shows it.
    String toHexDump(unsigned int flags) const;

    /// Rows of 16 bytes with a newline between them. In `flags` bit 0 puts the offset at the start of each row, bit 1
    /// the bytes in hexadecimal behind it, and bit 2 the bytes as characters at the end.
    static String HEX_DUMP(char const* data, int length, unsigned int flags);

private:
    String& internalConcat(char const* text, int count)
    {
        if (count <= 0 || count > Store::INLINE_CAPACITY || text == nullptr || count > capacity() - length())
            return concatLong(text, count);
        m_store.appendShort(text, count);
        return *this;
    }

    String& concatLong(char const* text, int count);
    String& concatGrowing(char character);
    String& internalInsert(int index, char const* text, int count);
    String& internalAssign(char const* text, std::size_t size);

    static String internalStringOf(bool value) { return value ? "true" : "false"; }

    static String internalStringOf(char value) { return value; }

    static String internalStringOf(char const* value) { return value; }

    static String internalStringOf(int value);
    static String internalStringOf(unsigned int value);
    static String internalStringOf(long value);
    static String internalStringOf(unsigned long value);
    static String internalStringOf(long long value);
    static String internalStringOf(unsigned long long value);
    static String internalStringOf(double value);
    static String internalStringOf(void const* value);

    static String internalStringOf(String const& value) { return value; }

    Store m_store;
};

inline bool operator==(String const& left, String const& right)
{
    return left.equals(right);
}

/// Null equals the empty string.
inline bool operator==(String const& left, char const* right)
{
    return left.equals(right);
}

/// The order of `strcmp`.
inline bool operator<(String const& left, String const& right)
{
    return std::strcmp(left.c_str(), right.c_str()) < 0;
}

static_assert(sizeof(String) == 16, "daemons are compiled against this layout");

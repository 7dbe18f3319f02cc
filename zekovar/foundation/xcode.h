#pragma once

#include <cstdint>

class String;

/// Result values. The top byte tells what the low 24 bits mean; 0 is success and every other value a failure.
enum XCodeValue : unsigned int
{
    XCODE_SUCCESS = 0,
    XCODE_LIBRARY = 0x10000000, ///< low 24 bits: a code of the library's own
    XCODE_ERRNO = 0x11000000,   ///< low 24 bits: an `errno` value
    XCODE_EXIT = 0x12000000,    ///< low 24 bits: a child's exit status, 1 to 254
    XCODE_SIGNAL = 0x13000000,  ///< low 24 bits: a signal number
    XCODE_HTTP = 0x14000000,    ///< low 24 bits: an HTTP status above 299
    XCODE_FAILURE = 0x7FFFFFFF  ///< the general failure
};

/// The result of nearly every operation: one word while it is only a number, with a record on the heap once a text is
/// attached to it. In a condition it is true on success.
///
///     XCode code = file.open("/etc/hosts");
///     if (code.isErr())
///         code.extendString("CANNOT READ HOSTS", ": ");
///     return code;
///
/// The word holds the value times 2 plus 1, so a value keeps 31 bits; without the low bit it points to the record,
/// which belongs to this object alone. A plain value without a lock: copies may go to other threads. Only operations
/// that attach a text (and `value()`) allocate; their allocation is the one thing here that can throw.
class XCode
{
    class _BoolTester
    {
    public:
        void dummy() {}
    };

    using BoolMember = void (_BoolTester::*)();

public:
    constexpr XCode() noexcept : m_word(COMPACT_BIT) {}

    constexpr XCode(XCodeValue value) noexcept : m_word(toWord(value)) {}

    /// For a value that is put together from a class and a number: `XCode(XCODE_HTTP + 404)`.
    constexpr explicit XCode(unsigned int value) noexcept : m_word(toWord(value)) {}

    /// A text is copied with the value.
    XCode(XCode const& other) : m_word(isCompactWord(other.m_word) ? other.m_word : cloneOf(other.m_word)) {}

    /// Takes value and text; `other` becomes a success.
    XCode(XCode&& other) noexcept : m_word(other.m_word) { other.m_word = 0; }

    ~XCode() { release(); }

    XCode& operator=(XCode const& other)
    {
        set(other);
        return *this;
    }

    /// Swaps values and texts.
    XCode& operator=(XCode&& other) noexcept
    {
        uintptr_t const word = m_word;
        m_word = other.m_word;
        other.m_word = word;
        return *this;
    }

    XCode& operator=(XCodeValue value)
    {
        set(value);
        return *this;
    }

    bool isErr() const { return getValue() != XCODE_SUCCESS; }

    bool isSuccess() const { return getValue() == XCODE_SUCCESS; }

    /// Not null, and so true in a condition, on success.
    operator BoolMember() const { return isSuccess() ? &_BoolTester::dummy : nullptr; }

    XCodeValue getValue() const
    {
        return isCompactWord(m_word) ? static_cast<XCodeValue>(static_cast<uint32_t>(m_word) >> 1) : recordValue();
    }

    /// As `getValue`, as a number: `getRawValue() >> 24` is the class of the failure.
    unsigned int getRawValue() const { return getValue(); }

    /// Gives the code a record, with an empty text if it had none, and access to the value in it. The reference is good
    /// until the code is assigned to, set or destroyed.
    XCodeValue& value();

    /// Replaces the value and drops the text.
    void set(XCodeValue value)
    {
        release();
        m_word = toWord(value);
    }

    /// Takes value and text of `other`.
    void set(XCode const& other);

    /// Takes the value of `other` and keeps the own text.
    void setValue(XCode const& other);

    /// Replaces the text and keeps the value.
    void setString(String const& text);

    /// As `setString`, with a text in `printf` format.
    void setStringF(char const* format, ...) __attribute__((format(printf, 2, 3)));

    /// Puts a context in front of the text, outermost first: "OUTER: INNER". The separator is left out behind a `text`
    /// that ends in a blank. An empty `text` changes nothing.
    void extendString(String const& text, String const& separator);

    /// Collects a further result: the first failure's value stays, the texts are joined.
    void append(String const& text, XCodeValue value, String const& separator);

    /// `append` of the other's text and value, on a line of its own.
    XCode& operator+=(XCode const& other);

    /// The attached text; without one what the value itself tells, such as "NO SUCH FILE OR DIRECTORY (2)"; empty on
    /// success.
    String toString() const;

    /// Codes are equal if their values are; texts play no part.
    friend bool operator==(XCode const& left, XCode const& right) { return left.getValue() == right.getValue(); }

    friend bool operator==(XCode const& left, XCodeValue right) { return left.getValue() == right; }

    /// A bare number would be compared as a truth value; compare `getValue()` with it.
    friend bool operator==(XCode const& left, int right) = delete;

private:
    struct Record;

    static constexpr uintptr_t COMPACT_BIT = 1;

    static constexpr bool isCompactWord(uintptr_t word) { return (word & COMPACT_BIT) != 0; }

    static constexpr uintptr_t toWord(uint32_t value) { return static_cast<uint32_t>(value * 2 + 1); }

    static uintptr_t cloneOf(uintptr_t word);
    static void freeRecord(uintptr_t word);

    void release()
    {
        if (!isCompactWord(m_word) && m_word != 0)
            freeRecord(m_word);
    }

    XCodeValue recordValue() const;
    Record& record();

    uintptr_t m_word; // 0 once moved from
};

/// Success for true, `XCODE_FAILURE` for false.
inline XCode testExpression(bool expression)
{
    return expression ? XCODE_SUCCESS : XCODE_FAILURE;
}

/// Success for a pointer that isn't null, else `XCODE_FAILURE`.
template <class T>
XCode testExpression(T const* pointer)
{
    return testExpression(pointer != nullptr);
}

#include "zekovar/property/ubjson.h"

#include "zekovar/property/builder.h"
#include "zekovar/property/text_form.h"

#include <bit>
#include <cstdint>
#include <cstdlib>
#include <utility>

namespace ZK::Property
{
namespace
{
// what a no-op gives; no other failure has it
constexpr XCodeValue NO_OP = static_cast<XCodeValue>(XCODE_ERRNO + 2);

constexpr long long LONGEST = 0x7FFFFFFF;

bool isIntegerMarker(char marker)
{
    return marker == 'i' || marker == 'U' || marker == 'I' || marker == 'l' || marker == 'L';
}

bool hasNoPayload(char marker)
{
    return marker == 'Z' || marker == 'T' || marker == 'F';
}

/// `format` has a "%c" for the marker, if it can be shown, and a "%X" for its byte.
String unsupportedMarker(char const* format, char marker)
{
    auto const byte = static_cast<unsigned char>(marker);
    bool const isPrintable = byte >= ' ' && byte <= '~'; // in every locale
    return String(String::Formatted(), format, isPrintable ? byte : '.', byte);
}

/// In what arrays and objects differ around their elements.
struct Container
{
    char endMarker;
    char const* typeMissing;
    char const* sizeInvalid;
    char const* sizeMissing;
    char const* endMissing;
};

constexpr Container ARRAY = {
    ']',
    "Expecting array marker after marker: '$'",
    "Expecting array size after marker: '#'",
    "Expecting array size after array marker; missing marker '$'",
    "Expecting array end marker: ']'",
};

constexpr Container OBJECT = {
    '}',
    "Expecting object marker after marker: '$'",
    "Expecting object size after marker: '#'",
    "Expecting object size after object marker; missing marker '$'",
    "Expecting object end marker: '}'",
};

/// Each function that reads a value puts it on the builder's stack, or nothing behind a failure and for a no-op; an array
/// is put there in any case, with the elements up to the failure. False behind a failure.
class Reader
{
public:
    explicit Reader(TString<char> const& input)
        : m_start(input.data()),
          m_next(input.data()),
          m_end(input.data() + input.length()),
          m_bareElementsLeft(UBJSON::MAX_BARE_ELEMENTS + static_cast<long long>(input.length()))
    {
    }

    /// `marker` is 0 if it is to be read.
    bool decodeValue(char marker, unsigned int depth);

    /// "Invalid" if nothing was read.
    Value takeValue() { return m_builder.size() > 0 ? m_builder.take() : Value(); }

    bool hasFailed() const { return m_hasFailed; }

    XCode& failure() { return m_failure; }

private:
    /// What a container may begin with.
    struct Header
    {
        char type = '\0'; // of all elements; 0 if each has its own
        bool hasCount = false;
        int count = 0;
    };

    bool readContainer(char marker, unsigned int depth);
    bool readArray(unsigned int depth);
    bool readElements(Header& header, unsigned int depth);
    bool readObject(unsigned int depth);
    bool readMembers(Header& header, unsigned int depth);
    bool readBinary();
    bool readHighPrecision();
    bool readString();
    bool readCharacter();
    bool readHeader(Header& header, Container const& container);
    bool hasNext(Header& header, Container const& container) const;
    bool readEnd(Header const& header, Container const& container);
    bool readInteger(char marker, long long& number);
    bool readLength(int& length);
    bool readBytes(std::string_view& bytes);
    bool consume(std::string_view bytes);

    long long bytesLeft() const { return m_end - m_next; }

    template <class T>
    bool readNumber(T& number, char const* missing)
    {
        if (bytesLeft() < static_cast<long long>(sizeof(T)))
            return fail(missing);
        number = 0;
        for (size_t i = 0; i < sizeof(T); ++i)
            number = static_cast<T>(static_cast<uint64_t>(number) << 8 | static_cast<unsigned char>(*m_next++));
        return true;
    }

    template <class T>
    bool readSigned(long long& number, char const* missing)
    {
        T bits;
        if (!readNumber(bits, missing))
            return false;
        number = static_cast<std::make_signed_t<T>>(bits);
        return true;
    }

    template <class Bits, class Number>
    bool readFloating(char const* missing)
    {
        Bits bits;
        return readNumber(bits, missing) && add(static_cast<double>(std::bit_cast<Number>(bits)));
    }

    template <class T>
    bool add(T&& value)
    {
        m_builder.add(std::forward<T>(value));
        return true;
    }

    bool fail(String const& message)
    {
        XCode failure(XCODE_FAILURE);
        failure.setString(message);
        m_failure = std::move(failure);
        m_hasFailed = true;
        return false;
    }

    char const* const m_start;
    char const* m_next;
    char const* const m_end;
    long long m_bareElementsLeft;
    Value::Store::Builder m_builder;
    XCode m_failure;
    bool m_hasFailed = false;
};

bool Reader::decodeValue(char marker, unsigned int depth)
{
    if (marker == '\0')
    {
        if (m_next == m_end)
            return fail("Expecting value marker");
        marker = *m_next++;
    }
    switch (marker)
    {
    case 'Z':
        return add(nullptr);
    case 'N':
        return true;
    case 'T':
    case 'F':
        return add(marker == 'T');
    case 'd':
        return readFloating<uint32_t, float>("Expecting Float");
    case 'D':
        return readFloating<uint64_t, double>("Expecting Double");
    case 'H':
        return readHighPrecision();
    case 'C':
        return readCharacter();
    case 'S':
        return readString();
    case '[':
    case '{':
        return readContainer(marker, depth);
    default:
        break;
    }
    if (!isIntegerMarker(marker))
        return fail(unsupportedMarker("Unsupported value marker: '%c' (%#02X)", marker));
    long long number;
    return readInteger(marker, number) && add(number);
}

bool Reader::readContainer(char marker, unsigned int depth)
{
    if (marker == '[' && consume("$U#"))
        return readBinary();
    if (depth < MAX_DEPTH)
        return marker == '[' ? readArray(depth + 1) : readObject(depth + 1);
    return fail(Detail::tooDeep().toString());
}

bool Reader::readArray(unsigned int depth)
{
    std::size_t const start = m_builder.size();
    Header header;
    bool const isRead = readHeader(header, ARRAY) && readElements(header, depth);
    m_builder.endArray(start);
    return isRead;
}

bool Reader::readElements(Header& header, unsigned int depth)
{
    if (header.type == 'N')
        return true;
    if (hasNoPayload(header.type) && (m_bareElementsLeft -= header.count) < 0)
    {
        fail("Length violation");
        m_failure.extendString(ARRAY.sizeInvalid, ": ");
        return false;
    }
    while (hasNext(header, ARRAY))
    {
        std::size_t const place = m_builder.size();
        if (!decodeValue(header.type, depth))
        {
            m_builder.dropFrom(place); // part of an array in this one
            return false;
        }
        m_builder.noteProgress(static_cast<std::size_t>(m_next - m_start), static_cast<std::size_t>(m_end - m_start));
    }
    return readEnd(header, ARRAY);
}

bool Reader::readObject(unsigned int depth)
{
    std::size_t const start = m_builder.size();
    Header header;
    if (!readHeader(header, OBJECT) || !readMembers(header, depth))
    {
        m_builder.dropFrom(start);
        return false;
    }
    m_builder.endObject(start);
    return true;
}

bool Reader::readMembers(Header& header, unsigned int depth)
{
    for (std::string_view key; hasNext(header, OBJECT);)
    {
        if (!readBytes(key))
            return false;
        m_builder.addKey(key);
        std::size_t const place = m_builder.size();
        if (!decodeValue(header.type, depth))
            return false;
        if (m_builder.size() == place)
            m_builder.dropKey();
    }
    return readEnd(header, OBJECT);
}

bool Reader::readHeader(Header& header, Container const& container)
{
    bool const hasType = consume("$");
    if (hasType)
    {
        if (m_next == m_end)
            return fail(container.typeMissing);
        header.type = *m_next++;
    }
    header.hasCount = consume("#");
    if (header.hasCount && !readLength(header.count))
    {
        m_failure.extendString(container.sizeInvalid, ": ");
        return false;
    }
    if (hasType && !header.hasCount)
        return fail(container.sizeMissing);
    return true;
}

/// Whether an element or a member follows; counts it.
bool Reader::hasNext(Header& header, Container const& container) const
{
    if (header.hasCount)
        return header.count-- > 0;
    return m_next != m_end && *m_next != container.endMarker;
}

bool Reader::readEnd(Header const& header, Container const& container)
{
    if (header.hasCount)
        return true;
    if (m_next == m_end)
        return fail(container.endMissing);
    ++m_next;
    return true;
}

bool Reader::readBinary()
{
    std::string_view bytes;
    return readBytes(bytes) && add(TString<char>(bytes.data(), static_cast<int>(bytes.size())));
}

/// Takes what `String::toInt64` takes, but no more behind it: a fraction isn't dropped.
bool Reader::readHighPrecision()
{
    std::string_view bytes;
    if (!readBytes(bytes))
        return false;
    String const digits = Detail::toString(bytes);
    char* end;
    long long const number = std::strtoll(digits.c_str(), &end, bytes.starts_with("0x") ? 16 : 10);
    if (bytes.empty() || end != digits.c_str() + bytes.size())
        return fail("Invalid high-precision number");
    return add(number);
}

bool Reader::readString()
{
    std::string_view text;
    if (!readBytes(text))
        return false;
    if (text.starts_with(Detail::XCODE_PREFIX))
        return add(Detail::parseXCode(Detail::toString(text.substr(Detail::XCODE_PREFIX.size()))));
    m_builder.addText(text);
    return true;
}

bool Reader::readCharacter()
{
    if (m_next == m_end)
        return fail("Expecting character");
    return add(String(*m_next++));
}

bool Reader::readInteger(char marker, long long& number)
{
    switch (marker)
    {
    case 'i':
        return readSigned<uint8_t>(number, "Expecting Int8");
    case 'U':
    {
        uint8_t byte;
        if (!readNumber(byte, "Expecting UInt8"))
            return false;
        number = byte;
        return true;
    }
    case 'I':
        return readSigned<uint16_t>(number, "Expecting Int16");
    case 'l':
        return readSigned<uint32_t>(number, "Expecting Int32");
    default:
        return readSigned<uint64_t>(number, "Expecting Int64");
    }
}

bool Reader::readLength(int& length)
{
    if (bytesLeft() >= 2 && *m_next == 'i' && static_cast<signed char>(m_next[1]) >= 0)
    {
        length = m_next[1]; // as nearly all are
        m_next += 2;
        return true;
    }
    long long number = 0;
    bool isRead = false;
    if (m_next == m_end)
        fail("Expecting marker for a number");
    else if (char const marker = *m_next++; isIntegerMarker(marker))
        isRead = readInteger(marker, number);
    else
        fail(unsupportedMarker("Unsupported number marker: '%c' (%#02X)", marker));
    if (!isRead)
    {
        m_failure.extendString("Expecting length", ": ");
        return false;
    }
    if (number < 0 || number > LONGEST)
        return fail(number < 0 ? "Negative length" : "Length violation");
    length = static_cast<int>(number);
    return true;
}

/// Reads bytes behind their number; they lie in the input.
bool Reader::readBytes(std::string_view& bytes)
{
    int length;
    if (!readLength(length))
        return false;
    if (length > bytesLeft())
        return fail("Length violation");
    bytes = {m_next, static_cast<size_t>(length)};
    m_next += length;
    return true;
}

bool Reader::consume(std::string_view bytes)
{
    if (!std::string_view(m_next, static_cast<size_t>(bytesLeft())).starts_with(bytes))
        return false;
    m_next += bytes.size();
    return true;
}
}

XCode UBJSON::decode(Value& value, TString<char> const& input)
{
    Reader reader(input);
    reader.decodeValue('\0', 0);
    Value result = reader.takeValue(); // not read into `value`: the input may be part of it
    bool const isNoOp = result.isInvalid() && !reader.hasFailed();
    if (!result.isInvalid())
        value = std::move(result);
    return isNoOp ? XCode(NO_OP) : std::move(reader.failure());
}

XCode Value::fromUbjson(TString<char> const& bytes)
{
    return UBJSON::decode(*this, bytes);
}
}

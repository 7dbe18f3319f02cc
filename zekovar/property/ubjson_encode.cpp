#include "zekovar/property/text_form.h"
#include "zekovar/property/ubjson.h"

#include <bit>
#include <cstdint>

namespace ZK::Property
{
namespace
{
using Type = Value::Type;

class Writer
{
public:
    XCode write(Value const& value, unsigned int depth);

    std::string const& text() const { return m_text; }

private:
    XCode writeArray(Value const& value, unsigned int depth);
    XCode writeObject(Value const& value, unsigned int depth);
    void writeInteger(long long value);
    void writeString(std::string_view text);
    void writeCode(XCode const& code);
    void writeBinary(TString<char> const& bytes);
    void writeBytes(std::string_view bytes);

    template <class T>
    void writeNumber(char marker, T value)
    {
        m_text += marker;
        for (int shift = static_cast<int>(sizeof(T)) * 8 - 8; shift >= 0; shift -= 8)
            m_text += static_cast<char>(value >> shift);
    }

    std::string m_text;
};

XCode Writer::write(Value const& value, unsigned int depth)
{
    switch (value.getType())
    {
    case Type::INVALID:
        return XCODE_FAILURE;
    case Type::NULL_VALUE:
        m_text += 'Z';
        break;
    case Type::BOOLEAN:
        m_text += value.getBoolOr(false) ? 'T' : 'F';
        break;
    case Type::INTEGER:
        writeInteger(value.getInt64Or(0));
        break;
    case Type::FLOATING:
        writeNumber('D', std::bit_cast<uint64_t>(value.getFloatOr(0)));
        break;
    case Type::XCODE:
        writeCode(*value.asXCode());
        break;
    case Type::STRING:
        writeString(Detail::wholeText(*value.asString()));
        break;
    case Type::BINARY:
        writeBinary(*value.asBinary());
        break;
    case Type::ARRAY:
        return depth < MAX_DEPTH ? writeArray(value, depth + 1) : Detail::tooDeep();
    case Type::OBJECT:
        return depth < MAX_DEPTH ? writeObject(value, depth + 1) : Detail::tooDeep();
    }
    return XCODE_SUCCESS;
}

XCode Writer::writeArray(Value const& value, unsigned int depth)
{
    m_text += '[';
    for (unsigned int i = 0, size = value.size(); i < size; ++i)
    {
        if (XCode code = write(value[i], depth); code.isErr())
            return code;
    }
    m_text += ']';
    return XCODE_SUCCESS;
}

XCode Writer::writeObject(Value const& value, unsigned int depth)
{
    m_text += '{';
    for (unsigned int i = 0, size = value.size(); i < size; ++i)
    {
        Value::Member const& member = *value.memberAt(i);
        writeBytes(Detail::wholeText(member.key));
        if (XCode code = write(member.value, depth); code.isErr())
            return code;
    }
    m_text += '}';
    return XCODE_SUCCESS;
}

void Writer::writeInteger(long long value)
{
    if (value == static_cast<int8_t>(value))
        writeNumber('i', static_cast<uint8_t>(value));
    else if (value == static_cast<uint8_t>(value))
        writeNumber('U', static_cast<uint8_t>(value));
    else if (value == static_cast<int16_t>(value))
        writeNumber('I', static_cast<uint16_t>(value));
    else if (value == static_cast<int32_t>(value))
        writeNumber('l', static_cast<uint32_t>(value));
    else
        writeNumber('L', static_cast<uint64_t>(value));
}

void Writer::writeString(std::string_view text)
{
    m_text += text.size() == 1 ? 'C' : 'S';
    if (text.size() == 1)
        m_text += text;
    else
        writeBytes(text);
}

void Writer::writeCode(XCode const& code)
{
    std::string text(Detail::XCODE_PREFIX);
    Detail::appendInteger(text, code.getRawValue());
    text += ':';
    text += Detail::untilZero(code.toString());
    writeString(text);
}

void Writer::writeBinary(TString<char> const& bytes)
{
    m_text += "[$U#";
    writeBytes({bytes.data(), static_cast<size_t>(bytes.length())});
}

/// Writes the number of the bytes in front of them.
void Writer::writeBytes(std::string_view bytes)
{
    writeInteger(static_cast<long long>(bytes.size()));
    m_text += bytes;
}
}

XCode UBJSON::encode(TString<char>& out, Value const& value)
{
    Writer writer;
    XCode code = writer.write(value, 0);
    return code.isErr() ? code : Detail::appendTo(out, writer.text());
}

XCode UBJSON::encodeObject(TString<char>& out, Value const& value)
{
    return value.isObject() ? encode(out, value) : XCode(XCODE_FAILURE);
}

TString<char> Value::toUbjson() const
{
    TString<char> out;
    UBJSON::encode(out, *this);
    return out;
}
}

#include "zekovar/foundation/xcode.h"

#include "zekovar/foundation/error.h"
#include "zekovar/foundation/string.h"

#include <cstdarg>
#include <utility>

struct XCode::Record
{
    XCodeValue value;
    String text;
};

namespace
{
String describe(unsigned int rawValue)
{
    int const number = static_cast<int>(rawValue & 0xFFFFFF);
    String text;
    switch (rawValue & 0xFF000000)
    {
    case XCODE_ERRNO:
        text.format("%s (%d)", String::stringOfErrno(number).toUpperCase().c_str(), number);
        break;
    case XCODE_HTTP:
        text.format("HTTP RESPONSE %d", number);
        break;
    case XCODE_EXIT:
        text.format("PROGRAM EXIT WITH %d", number);
        break;
    }
    return text;
}
}

uintptr_t XCode::cloneOf(uintptr_t word)
{
    return word == 0 ? toWord(XCODE_SUCCESS)
                     : reinterpret_cast<uintptr_t>(new Record(*reinterpret_cast<Record const*>(word)));
}

void XCode::freeRecord(uintptr_t word)
{
    delete reinterpret_cast<Record*>(word);
}

XCodeValue XCode::recordValue() const
{
    return m_word == 0 ? XCODE_SUCCESS : reinterpret_cast<Record const*>(m_word)->value;
}

XCode::Record& XCode::record()
{
    if (isCompactWord(m_word) || m_word == 0)
        m_word = reinterpret_cast<uintptr_t>(new Record{getValue(), String()});
    return *reinterpret_cast<Record*>(m_word);
}

XCodeValue& XCode::value()
{
    return record().value;
}

void XCode::set(XCode const& other)
{
    if (m_word == other.m_word)
        return;
    uintptr_t const word = isCompactWord(other.m_word) ? other.m_word : cloneOf(other.m_word);
    release();
    m_word = word;
}

void XCode::setValue(XCode const& other)
{
    if (isCompactWord(m_word) || m_word == 0)
        m_word = toWord(other.getValue());
    else
        record().value = other.getValue();
}

void XCode::setString(String const& text)
{
    record().text = text;
}

void XCode::setStringF(char const* format, ...)
{
    String text;
    va_list arguments;
    va_start(arguments, format);
    text.vformat(format, arguments);
    va_end(arguments);
    setString(text);
}

void XCode::extendString(String const& text, String const& separator)
{
    if (text.length() == 0)
        return;
    String& present = record().text;
    String extended(text);
    if (present.length() != 0)
    {
        if (text[text.length() - 1] != ' ')
            extended += separator;
        extended += present;
    }
    present = std::move(extended);
}

void XCode::append(String const& text, XCodeValue value, String const& separator)
{
    if (isSuccess())
        setValue(value);
    if (text.length() == 0)
        return;
    String& present = record().text;
    if (present.length() != 0)
        present += separator;
    present += text;
}

XCode& XCode::operator+=(XCode const& other)
{
    String text;
    if (!isCompactWord(other.m_word) && other.m_word != 0)
        text = reinterpret_cast<Record const*>(other.m_word)->text;
    append(text, other.getValue(), "\n");
    return *this;
}

String XCode::toString() const
{
    String text;
    if (!isCompactWord(m_word) && m_word != 0)
        text = reinterpret_cast<Record const*>(m_word)->text;
    if (text.length() == 0)
        text = describe(getRawValue());
    if (text.length() == 0 && isErr())
        text = ERROR::ERROR_INTERNAL;
    return text;
}

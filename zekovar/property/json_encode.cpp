#include "zekovar/foundation/base64.h"
#include "zekovar/property/json.h"
#include "zekovar/property/text_form.h"

#include <utility>

namespace ZK::Property
{
namespace
{
using Type = Value::Type;

class Writer
{
public:
    Writer(bool pretty, unsigned int step) : m_pretty(pretty), m_step(step) {}

    XCode write(Value const& value, unsigned int level, unsigned int depth);

    std::string const& text() const { return m_text; }

private:
    XCode writeContainer(Value const& value, unsigned int level, unsigned int depth);
    XCode writeBinary(TString<char> const& bytes);
    void writeCode(XCode const& code);
    void writeText(String const& text);
    void startLine(unsigned int level);

    bool m_pretty;
    unsigned int m_step;
    std::string m_text;
};

XCode Writer::write(Value const& value, unsigned int level, unsigned int depth)
{
    switch (value.getType())
    {
    case Type::INVALID:
        break;
    case Type::NULL_VALUE:
    case Type::BOOLEAN:
    case Type::INTEGER:
    case Type::FLOATING:
        Detail::appendPlain(m_text, value);
        break;
    case Type::XCODE:
        writeCode(*value.asXCode());
        break;
    case Type::STRING:
        writeText(*value.asString());
        break;
    case Type::BINARY:
        return writeBinary(*value.asBinary());
    case Type::ARRAY:
    case Type::OBJECT:
        return depth < MAX_DEPTH ? writeContainer(value, level, depth + 1) : Detail::tooDeep();
    }
    return XCODE_SUCCESS;
}

XCode Writer::writeContainer(Value const& value, unsigned int level, unsigned int depth)
{
    bool const isArray = value.isArray();
    m_text += isArray ? '[' : '{';
    bool isFirst = true;
    for (unsigned int i = 0, size = value.size(); i < size; ++i)
    {
        Value::Member const* const member = isArray ? nullptr : value.memberAt(i);
        Value const& element = isArray ? value[i] : member->value;
        if (element.isInvalid())
            continue;
        if (!std::exchange(isFirst, false))
            m_text += ',';
        startLine(level + m_step);
        if (!isArray)
        {
            writeText(member->key);
            m_text += m_pretty ? ": " : ":";
        }
        if (XCode code = write(element, level + m_step, depth); code.isErr())
            return code;
    }
    startLine(level);
    m_text += isArray ? ']' : '}';
    return XCODE_SUCCESS;
}

XCode Writer::writeBinary(TString<char> const& bytes)
{
    String digits;
    XCode code = Base64::encode(digits, bytes, 0);
    if (code.isSuccess())
        m_text.append("\"").append(Detail::BINARY_PREFIX).append(Detail::wholeText(digits)).append("\"");
    return code;
}

void Writer::writeCode(XCode const& code)
{
    m_text.append("\"").append(Detail::XCODE_PREFIX);
    Detail::appendInteger(m_text, code.getRawValue());
    m_text += ':';
    Detail::appendEscaped(m_text, Detail::untilZero(code.toString()), true);
    m_text += '"';
}

void Writer::writeText(String const& text)
{
    m_text += '"';
    Detail::appendEscaped(m_text, Detail::untilZero(text), true);
    m_text += '"';
}

void Writer::startLine(unsigned int level)
{
    if (m_pretty)
        m_text.append("\n").append(level, ' ');
}
}

XCode JSON::encode(String& out, Value const& value, bool pretty, unsigned int level, unsigned int step)
{
    Writer writer(pretty, step);
    XCode code = writer.write(value, level, 0);
    XCode const appended = Detail::appendTo(out, writer.text());
    return code.isErr() ? code : appended;
}

XCode JSON::encode(TString<char>& out, Value const& value)
{
    Writer writer(false, 0);
    XCode code = writer.write(value, 0, 0);
    return code.isErr() ? code : Detail::appendTo(out, writer.text());
}

String Value::toJson() const
{
    String out;
    JSON::encode(out, *this, false, 0, 2);
    return out;
}

XCode Value::toJson(TString<char>& out) const
{
    return JSON::encode(out, *this);
}

String Value::dump(unsigned int level, unsigned int step) const
{
    String out;
    JSON::encode(out, *this, true, level, step);
    return out;
}
}

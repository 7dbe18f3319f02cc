#include "zekovar/property/yaml.h"

#include "zekovar/foundation/base64.h"
#include "zekovar/foundation/vector.h"
#include "zekovar/property/text_form.h"

#include <utility>

namespace ZK::Property
{
namespace
{
using Type = Value::Type;

// blanks that "- " takes in front of an element
constexpr unsigned int DASH_WIDTH = 2;

/// What a node stands in.
enum class Parent
{
    NONE,
    MAPPING,
    SEQUENCE
};

class Writer
{
public:
    explicit Writer(unsigned int step) : m_step(step) {}

    XCode encodeNode(Value const& value, Parent parent, unsigned int indent, unsigned int depth);

    std::string const& text() const { return m_text; }

private:
    XCode writeArray(Value const& value, Parent parent, unsigned int indent, unsigned int depth);
    XCode writeObject(Value const& value, Parent parent, unsigned int indent, unsigned int depth);
    XCode writeBinary(TString<char> const& bytes);
    void writeCode(XCode const& code);
    void writeString(String const& text, Parent parent, unsigned int indent);

    void startLine(unsigned int indent) { m_text.append("\n").append(indent, ' '); }

    unsigned int m_step;
    std::string m_text;
};

XCode Writer::encodeNode(Value const& value, Parent parent, unsigned int indent, unsigned int depth)
{
    switch (value.getType())
    {
    case Type::INVALID:
        m_text += "!!invalid";
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
        writeString(*value.asString(), parent, indent);
        break;
    case Type::BINARY:
        return writeBinary(*value.asBinary());
    case Type::ARRAY:
        return depth < MAX_DEPTH ? writeArray(value, parent, indent, depth + 1) : Detail::tooDeep();
    case Type::OBJECT:
        return depth < MAX_DEPTH ? writeObject(value, parent, indent, depth + 1) : Detail::tooDeep();
    }
    return XCODE_SUCCESS;
}

XCode Writer::writeArray(Value const& value, Parent parent, unsigned int indent, unsigned int depth)
{
    if (parent == Parent::MAPPING)
        indent -= m_step; // the dashes stand below the key
    bool isFirst = parent != Parent::MAPPING;
    for (unsigned int i = 0, size = value.size(); i < size; ++i)
    {
        if (value[i].isInvalid())
            continue;
        if (!std::exchange(isFirst, false))
            startLine(indent);
        m_text += "- ";
        if (XCode code = encodeNode(value[i], Parent::SEQUENCE, indent + DASH_WIDTH, depth); code.isErr())
            return code;
    }
    return XCODE_SUCCESS;
}

XCode Writer::writeObject(Value const& value, Parent parent, unsigned int indent, unsigned int depth)
{
    bool isFirst = parent != Parent::MAPPING;
    for (unsigned int i = 0, size = value.size(); i < size; ++i)
    {
        Value::Member const& member = *value.memberAt(i);
        if (member.value.isInvalid())
            continue;
        if (!std::exchange(isFirst, false))
            startLine(indent);
        Detail::appendEscaped(m_text, Detail::untilZero(member.key), false);
        m_text += ": ";
        if (XCode code = encodeNode(member.value, Parent::MAPPING, indent + m_step, depth); code.isErr())
            return code;
    }
    return XCODE_SUCCESS;
}

XCode Writer::writeBinary(TString<char> const& bytes)
{
    String digits;
    XCode code = Base64::encode(digits, bytes, 0);
    m_text += Detail::wholeText(digits);
    return code;
}

void Writer::writeCode(XCode const& code)
{
    m_text += "XCode ";
    Detail::appendInteger(m_text, code.getRawValue());
    m_text += ' ';
    Detail::appendEscaped(m_text, Detail::untilZero(code.toString()), false);
}

void Writer::writeString(String const& text, Parent parent, unsigned int indent)
{
    if (parent == Parent::NONE || Detail::wholeText(text).find('\n') == std::string_view::npos)
    {
        Detail::appendEscaped(m_text, Detail::wholeText(text), false);
        return;
    }
    m_text += '|';
    ZKVector<String> lines;
    text.splitAtChars(lines, "\r\n");
    for (String const& line : lines)
    {
        startLine(indent);
        m_text += Detail::wholeText(line);
    }
}
}

XCode YAML::encode(String& out, Value const& value, unsigned int level, unsigned int step)
{
    Writer writer(step);
    XCode code = writer.encodeNode(value, Parent::NONE, level, 0);
    XCode const appended = Detail::appendTo(out, writer.text());
    return code.isErr() ? code : appended;
}

XCode YAML::encode(TString<char>& out, Value const& value)
{
    Writer writer(2);
    XCode code = writer.encodeNode(value, Parent::NONE, 0, 0);
    return code.isErr() ? code : Detail::appendTo(out, writer.text());
}

String Value::toYaml(unsigned int level, unsigned int step) const
{
    String out;
    YAML::encode(out, *this, level, step);
    return out;
}
}

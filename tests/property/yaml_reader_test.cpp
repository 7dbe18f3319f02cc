// What the writer makes is read by another library's reader.

#include "tests/property/generated_value.h"
#include "tests/string_printer.h"

#include <gtest/gtest.h>
#include <yaml-cpp/yaml.h>

using ZK::Property::Value;

namespace
{
GeneratedValues s_numbers;

/// Words that stand for themselves without quotes, with `separator` between them.
String words(char separator)
{
    String text("w");
    for (unsigned int i = s_numbers.number(4); i > 0; i--)
        text.concatf("%c%u/q", separator, s_numbers.number(100));
    return text;
}

/// The value with texts that stand for themselves.
Value readable(Value const& value)
{
    Value result = value;
    if (value.getType() == Value::Type::STRING)
        return words(s_numbers.number(2) == 0 ? ' ' : '\n');
    if (value.getType() == Value::Type::XCODE)
    {
        XCode code = value.getXCodeOr(XCODE_SUCCESS);
        code.setString(words(' '));
        return code;
    }
    if (!value.isArray() && !value.isObject())
        return value;
    result.clear();
    for (unsigned int i = 0; i < value.size(); i++)
    {
        if (value.isArray())
            result.add(readable(value[i]));
        else
            result.setMember(words('-').concatf("%u", i), readable(value.memberAt(i)->value));
    }
    return result;
}

String textOf(Value const& value)
{
    bool const isWritten = value.getType() == Value::Type::BINARY || value.getType() == Value::Type::XCODE;
    return isWritten ? value.toYaml(0, 2) : value.toString();
}

/// Empty containers and bytes are written as nothing.
void expectSame(YAML::Node const& node, Value const& value)
{
    if (value.isEmpty() || textOf(value).isEmpty())
    {
        EXPECT_TRUE(node.IsNull());
        return;
    }
    if (!value.isArray() && !value.isObject())
    {
        // a block ends with a line end, unless the text does
        EXPECT_EQ(String(node.Scalar().c_str()).trim('\n'), textOf(value));
        return;
    }
    ASSERT_TRUE(value.isArray() ? node.IsSequence() : node.IsMap());
    ASSERT_EQ(node.size(), value.size());
    for (unsigned int i = 0; i < value.size(); i++)
    {
        if (value.isArray())
            expectSame(node[i], value[i]);
        else
            expectSame(node[value.memberAt(i)->key.c_str()], value.memberAt(i)->value);
    }
}
}

TEST(Yaml, IsReadByAnotherReader)
{
    for (int i = 0; i < 500 && !HasFailure(); i++)
    {
        Value value;
        value.add(readable(s_numbers.next(4)));
        String const text = value.toYaml(0, 1 + s_numbers.number(4));
        SCOPED_TRACE(text.c_str());
        expectSame(YAML::Load(text.c_str()), value);
    }
}

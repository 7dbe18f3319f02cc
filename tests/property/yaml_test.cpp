#include "zekovar/property/yaml.h"

#include "tests/string_printer.h"

#include <gtest/gtest.h>

using ZK::Property::Value;
using ZK::Property::YAML;

TEST(Yaml, WritesBlocksListsAndBareTexts)
{
    static constexpr char const* CASES[][2] = {
        {"{\"a\":1,\"b\":[1,2]}", "a: 1\nb: \n- 1\n- 2"},
        {"[{\"a\":1,\"b\":2}]", "- a: 1\n  b: 2"},
        {"{\"a\":\"x\\ny\"}", "a: |\n  x\n  y"},
        {"[\"x\\r\\n\\ny/\\u0020\\\"\\t\"]", "- |\n  x\n  y/\"\t"},
        {"\"x\\ny\"", "x\\ny"},
        {"{\"a\":{\"b\":{\"c\":true}},\"d\":[[1,[2]],{}]}", "a: \n  b: \n    c: true\nd: \n- - 1\n  - - 2\n- "},
        {"[{\"a\":[{\"b\":[3]}]},\"a/\\\"\\\\\"]", "- a: \n  - b: \n    - 3\n- a/\\\"\\\\"},
        {"[null,false,-1.5,\"XCODE:5:a\\nb\",\"BINARY:AAEC\"]", "- null\n- false\n- -1.5\n- XCode 5 a\\nb\n- AAEC"},
    };
    for (auto const& [json, yaml] : CASES)
    {
        Value value;
        EXPECT_TRUE(value.fromJson(json).isSuccess()) << json;
        EXPECT_EQ(value.toYaml(0, 2), yaml) << json;
    }
    EXPECT_EQ(Value().toYaml(0, 2), "!!invalid");
    Value const inner{Value(), Value{Value{"a", 1}, Value{"b", Value()}, Value{"c", 2}}};
    EXPECT_EQ(inner.toYaml(3, 4), "- a: 1\n     c: 2");
    TString<char> out("x", 1);
    EXPECT_TRUE(YAML::encode(out, Value{1, 2}).isSuccess());
    EXPECT_EQ(String(out.data(), out.length(), 0, out.length()), "x- 1\n- 2");
}

#include "zekovar/property/template.h"

#include "tests/string_printer.h"
#include "zekovar/foundation/static_factory.h"
#include "zekovar/property/template_auto.h"

#include <gtest/gtest.h>

#include <thread>

using namespace ZK::Property::Template;
using ZK::Property::MAX_DEPTH;
using ZK::Property::Value;

namespace
{

String rendered(String const& text, Value const& data)
{
    Template page;
    XCode const code = page.parse(text);
    EXPECT_TRUE(code.isSuccess()) << text.c_str() << ": " << code.toString().c_str();
    return page.render(data);
}

Value sample()
{
    Value data;
    data["name"] = "<b>";
    data["two words"] = "2w";
    data["a.b/c-d_"] = "flat";
    data["null"] = "never";
    data["able"] = "rest";
    data["items"] = {1, 2};
    data["o"]["k"] = "v";
    data["o"]["l"] = "w";
    data["yes"] = "ON";
    data["word"] = "word";
    data["void"] = nullptr;
    data["outer"] = 2;
    data["rows"].add(data["o"]);
    data["rows"][1]["name"] = "r";
    return data;
}

/// {{pair a b}}, in a way that a program would add.
class Pair : public Node
{
public:
    String render(Context&, ZKVector<Value> const& arguments) override
    {
        return String::stringOfFormat("%u:%s,%s", arguments.size(), arguments[0].toString().c_str(),
                                      arguments[1].toString().c_str());
    }
};

/// {{#twice}}
class Twice : public Block
{
public:
    String render(Context& context, ZKVector<Value> const&) override
    {
        return renderMain(context).concat("|").concat(renderMain(context));
    }
};

/// "x" inside so many objects.
Value deep(unsigned depth)
{
    Value value = "x";
    for (unsigned i = 0; i < depth; i++)
    {
        Value outer;
        outer.setMember("k", value);
        value = outer;
    }
    return value;
}

/// Objects without a key in common, which take a column for each.
Value diagonal(unsigned size)
{
    Value rows;
    for (unsigned i = 0; i < size; i++)
    {
        Value row;
        row.setMember(String::stringOf(i), true);
        rows.add(row);
    }
    return rows;
}

struct Case
{
    char const* text;
    char const* expected;
};
}

TEST(Template, TagsRenderTheirValues)
{
    Value const data = sample();
    static constexpr Case CASES[] = {
        {"", ""},
        {"a { b } }} c", "a { b } }} c"},
        {"{{name}}-{{ name }}-{{missing}}.", "<b>-<b>-."},
        {"{ {{name}}", "{ <b>"},
        {"{{'two words'}}{{a.b/c-d_}}{{'a.b\\/c-d_'}}", "2wflatflat"},
        {"{{#outer}}{{this}}{{/outer}}", "2"},
        {"{{bold 'null'}}{{bold nullable}}", "\033[1mnever\033[0m\033[1mtrue\033[0m"},
        {R"({{bold "x\n\"\u0041\/\'"}}{{bold -1.50e1}}{{bold 012}}{{bold}})",
         "\033[1mx\n\"/'\033[0m\033[1m-15\033[0m\033[1m0\033[0m"},
        {"{{#bold}}{{name}}{{/bold}}", "\033[1m<b>\033[0m"},
        {"{{#items}}{{this}}{{outer}},{{/items}}", "12,22,"},
        {"{{#each items}}{{this}},{{/each}}{{#each o}}{{this}};{{/each}}{{#each outer}}{{this}}{{/each}}", "1,2,v;w;2"},
        {"{{#if items}}{{this}}{{/if}}{{#if missing}}x{{else}}y{{/if}}", "[1,2]y"},
        {"{{#if}}x{{else}}y{{/if}}{{#each}}x{{/each}}", ""},
        {"{{#each word}}x{{else}}y{{/each}}{{#yes}}x{{/yes}}{{#void}}n{{/void}}{{^word}}z{{/word}}", "yxnz"},
        {"{{^missing}}x{{else}}y{{/missing}}{{^outer}}x{{else}}y{{/outer}}", "xy"},
        {"{{#if yes}}1{{else}}2{{else}}3{{/if}}", "13"},
        {"{{#o}}{{k}}{{outer}}{{#rows}}{{name}}{{/rows}}{{/o}}", "v2<b>r"},
        {"{{#if yes}}{{#if missing}}a{{else}}b{{/if}}c{{/if}}", "bc"},
        {"shown{{else}}hidden{{else}}again", "shownagain"},
        // a section takes on the polarity of the start tag read last
        {"{{#yes}}1{{^missing}}2{{/missing}}3{{/yes}}", ""},
        {"{{^yes}}1{{#missing}}2{{/missing}}3{{/yes}}", "13"},
        {"{{#yes}}{{^word}}{{#outer}}x{{/outer}}{{/word}}{{else}}y{{/yes}}", ""},
    };
    for (Case const& test : CASES)
    {
        EXPECT_EQ(rendered(test.text, data), test.expected) << test.text;
    }
    EXPECT_EQ(rendered(String("a\0b{{#this}}{{this}}{{/this}}", 29, 0, 29), 5), String("a\0b5", 4, 0, 4));
}

TEST(Template, SectionTagsAloneOnTheirLinesTakeTheLinesAway)
{
    static constexpr Case CASES[] = {
        {"a\n{{#x}}\nb\n{{/x}}\nc", "abc"}, {"a\n \t{{#x}} \r\nb", "ab"}, {"a\n-{{#x}}\nb", "a\n-\nb"},
        {"a\n{{#x}} b\nc", "a\n b\nc"},     {"{{#x}}\nb", "\nb"},         {" {{#x}}\nb", " \nb"},
        {"a\n{{name}}\nb", "a\n\nb"},
    };
    for (Case const& test : CASES)
    {
        Value data;
        data["x"] = true;
        bool const isOpen = strstr(test.text, "{{#x}}") != nullptr && strstr(test.text, "{{/x}}") == nullptr;
        EXPECT_EQ(rendered(String(test.text).concat(isOpen ? "{{/x}}" : ""), data), test.expected) << test.text;
    }
}

TEST(Template, ErrorsNameTheirTagAndKeepTheTemplateBefore)
{
    Template page;
    EXPECT_EQ(page.render(1), "");
    ASSERT_TRUE(page.parse("{{this}}"));
    static constexpr Case CASES[] = {
        {"{{a}", "EXPECTING '}}' AFTER '{{'"},
        {"{{ }}", "EMPTY TAG '{{ }}'"},
        {"{{#}}", "EMPTY TAG '{{#}}'"},
        {"{{1}}", "INVALID TAG '{{1}}', FIRST TOKEN MUST BE AN IDENTIFIER"},
        {"{{/null}}", "INVALID TAG '{{/null}}', FIRST TOKEN MUST BE AN IDENTIFIER"},
        {"{{/a}}", "END TAG '{{/a}}' WITHOUT START TAG"},
        {"{{#a}}{{/a}}{{/a}}", "END TAG '{{/a}}' WITHOUT START TAG"},
        {"{{#a}}{{^b c}}", "START TAG '{{#a}}' WITHOUT END TAG"},
        {"{{#a}}{{#b 1}}{{/a 2}}", "END TAG '{{/a}}' AFTER UNFINISHED START TAG '{{#b}}'"},
        {"{{{a}}}", "Invalid identifier"},
        {"{{a -}}", "Expecting integer digit"},
        {"{{a 1.e}}", "Expecting exponent digit"},
        {"{{a \"}}\"}}", "Expecting end of string: '\"'"},
        {"{{a \"\\}}", "Expecting character after string escape"},
        {"{{a \"\\u004}}", "Expecting 4 hexadecimal digits after \\u in string"},
        {"{{a \"\\x\"}}", "Invalid escaped string character 'x'"},
        {"{{'a}}", "Expecting end of identifier: \"'\""},
        {"{{'\\}}", "Expecting character after identifier escape"},
        {"{{'\\u0041'}}", "Invalid escaped identifier character 'u'"},
    };
    for (Case const& test : CASES)
    {
        XCode const code = page.parse(test.text);
        EXPECT_TRUE(code.isErr()) << test.text;
        EXPECT_EQ(code.toString(), test.expected) << test.text;
    }
    for (char const* text : {"{{", "a{{}", "{{}"})
        EXPECT_EQ(page.parse(text).toString(), XCode(XCODE_FAILURE).toString()) << text;
    EXPECT_EQ(page.render(7), "7");
}

TEST(Template, AutoRendersValuesAsHtml)
{
    Value data = sample();
    EXPECT_EQ(rendered("{{auto \"<a>&\\\"\"}}{{auto outer}}{{auto yes}}{{auto}}", data), "&lt;a&lt;&lt;&lt;2ON");
    EXPECT_EQ(rendered("{{auto true}}{{auto null}}{{auto missing}}{{auto items}}", data), "");
    EXPECT_EQ(rendered("{{auto o}}", data),
              "<table>\n<tr><td>k:</td><td>v</td></tr>\n<tr><td>l:</td><td>w</td></tr>\n</table>\n");
    data["rows"].add(5);
    EXPECT_EQ(rendered("{{auto rows}}", data),
              "<table>\n<tr>\n<th>k</th><th>l</th><th>name</th></tr>\n<tr>\n<td>v</td><td>w</td><td></td></tr>\n"
              "<tr>\n<td></td><td></td><td>r</td></tr>\n<tr>\n<td></td><td></td><td></td></tr>\n</table>\n");
    Value sections;
    sections["<1>"] = {1};
    sections["2"] = "x";
    EXPECT_EQ(rendered("{{auto this}}", sections), "<h1>&lt;1&lt;</h1>\n<h1>2</h1>\nx");
}

TEST(Template, ProgramsAddTagsOfTheirOwn)
{
    String const text("{{pair 'two words' 5}}{{#twice}}{{outer}}{{/twice}}");
    {
        ZKStaticFactory<Node, Pair> const pairs("pair");
        ZKStaticFactory<Block, Twice> const twice("twice");
        EXPECT_EQ(rendered(text, sample()), "2:2w,52|2");
    }
    EXPECT_EQ(rendered(text, sample()), "") << "without them both are names of values";
}

TEST(Template, ThreadsRenderOneTemplateAtOnce)
{
    Template page;
    ASSERT_TRUE(page.parse("{{#each items}}{{this}}{{bold \"a long literal\"}}{{/each}}{{auto o}}"));
    Value const data = sample();
    String const expected = page.render(data);
    auto const renderOften = [&page, &expected, own = data]
    {
        for (unsigned i = 0; i < 200; i++)
            EXPECT_EQ(page.render(own), expected);
    };
    std::thread other(renderOften);
    renderOften();
    other.join();
}

TEST(Template, DeepAndLongTextsEndInTime)
{
    auto const nested = [](char const* open, unsigned depth, char const* close)
    { return String::repeat(open, depth).concat("x").concat(String::repeat(close, depth)); };
    EXPECT_EQ(rendered(nested("{{#yes}}", MAX_DEPTH, "{{/yes}}"), sample()), "x");
    Template page;
    for (unsigned depth : {MAX_DEPTH + 1, 1000000u})
        EXPECT_TRUE(page.parse(nested("{{^if yes}}", depth, "")).toString().startsWith("TOO MANY SECTIONS")) << depth;
    ASSERT_TRUE(page.parse(nested("{{#yes}}\n{{/yes}}\n", 100000, "{{")).isErr());
    ASSERT_TRUE(page.parse(nested("{{#yes}}\n{{/yes}}\n", 100000, "")));
    EXPECT_EQ(page.render(sample()), "x");
    ASSERT_TRUE(page.parse(String("{{bold").concat(String::repeat(" 1", 200000)).concat("}}")));
    EXPECT_EQ(page.render(sample()), "\033[1m1\033[0m");

    // 2 to the power of 60 passes: it stops, with what it has
    ASSERT_TRUE(page.parse(nested("{{#each items}}", 60, "{{/each}}")));
    int const length = page.render(sample()).length();
    EXPECT_GT(length, 1000);
    EXPECT_LT(length, static_cast<int>(Context::MAX_WORK));
}

TEST(Template, AutoBoundsDepthAndEmptyCells)
{
    EXPECT_NE(rendered("{{auto this}}", deep(MAX_DEPTH)).indexOf("<td>x</td>"), -1);
    for (unsigned depth : {MAX_DEPTH + 1, 100 * MAX_DEPTH})
        EXPECT_EQ(rendered("{{auto this}}", deep(depth)).indexOf("x"), -1) << depth;
    EXPECT_GT(rendered("{{auto this}}", diagonal(512)).length(), 512 * 512 * 9);
    EXPECT_EQ(rendered("{{auto this}}", diagonal(513)), "");
    Value row;
    for (unsigned i = 0; i < 513; i++)
        row.setMember(String::stringOf(i), true);
    Value full;
    full[512] = row;
    for (unsigned i = 0; i < 512; i++)
        full[i] = row;
    EXPECT_GT(rendered("{{auto this}}", full).length(), 513 * 513 * 9) << "no cell is empty";
}

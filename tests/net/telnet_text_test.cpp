#include "zekovar/net/telnet_text.h"

#include "tests/string_printer.h"

#include <gtest/gtest.h>

#include <string>

TEST(TelnetText, PromptStandsAtTheEnd)
{
    struct
    {
        char const* expression;
        char const* text;
        int position; // -1 for none
    } const cases[] = {
        {"^>[\r]?$", "ls\nfile\n>\r", 8},
        {"^>[\r]?$", ">", 0},
        {"^>[\r]?$", "a\n>\r\n", 2},
        {"^>[\r]?$", "a\n>\nfile\n>", 9},
        {"^>[\r]?$", "a\n>\nfile", -1},
        {"^>[\r]?$", "a>", -1},
        {"^>$", "a\n>\r", 2},
        {"login: $", "Last login: never\nlogin: ", 18},
        {"login: $", "login: \r\njoe", -1},
        {"login: $", "logi", -1},
        {"a> $|b> $", "a> b> ", 3},
    };

    for (auto const& entry : cases)
    {
        ZKPtr<ZKRegEx::Pattern> const prompt = ZK::Detail::compilePrompt(entry.expression);
        ZKPtr<ZKRegEx::Matcher> const matcher = prompt->createMatcher(entry.text, RE_FLAG_MULTILINE);
        int start = -1;
        int end = -1;
        matcher->match();
        matcher->getCapture(0, start, end);
        EXPECT_EQ(start, entry.position) << entry.expression << " in " << entry.text;
        EXPECT_EQ(ZK::Detail::endsInPrompt(prompt, entry.text), entry.position >= 0) << entry.text;
    }
    EXPECT_FALSE(ZK::Detail::endsInPrompt(nullptr, "login: "));
}

TEST(TelnetText, EchoAndPromptAreCut)
{
    String text("ls\nfile\n \r\n>\r");
    ZK::Detail::removePrompt(text, 11);
    EXPECT_EQ(text, "ls\nfile");
    EXPECT_EQ(ZK::Detail::removeEcho(text), 3);
    EXPECT_EQ(text, "file");
    EXPECT_EQ(ZK::Detail::removeEcho(text), 0) << "without a line end there is no echo";
    EXPECT_EQ(text, "file");
    String zeros("\0ls\nfile", 8, 0, 8);
    EXPECT_EQ(ZK::Detail::removeEcho(zeros), 4);
}

TEST(TelnetText, SecretIsReplacedAlsoInPieces)
{
    auto const hide = [](std::string const& text)
    {
        int const size = static_cast<int>(text.size());
        String const shown = ZK::Detail::withoutSecret(String(text.data(), size, 0, size), "secret");
        return std::string(shown.c_str(), shown.length());
    };
    EXPECT_EQ(hide("no word of it"), "no word of it");
    EXPECT_EQ(hide("a secret, a secret."), "a ***, a ***.");
    EXPECT_EQ(hide("Password: secr"), "Password: ***");
    EXPECT_EQ(hide("ret\r\n> "), "***\r\n> ");
    EXPECT_EQ(hide("ecr"), "***");
    EXPECT_EQ(hide(std::string("\0secret", 7)), std::string("\0***", 4));
    EXPECT_EQ(ZK::Detail::withoutSecret("text", ""), "text");
}

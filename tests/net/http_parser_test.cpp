#include "zekovar/net/http_parser.h"

#include "tests/string_printer.h"
#include "zekovar/foundation/tstring.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

using namespace std::string_literals;

namespace
{
String textOf(std::string const& bytes)
{
    return String(bytes.data(), static_cast<int>(bytes.size()), 0, static_cast<int>(bytes.size()));
}

/// Everything that there is to tell of a message, on one line.
std::string shown(ZK::HttpParser const& message)
{
    String text(message.isValid() ? message.isRequest() ? "request" : "status" : "none");
    for (String const& part : {message.getMethod(), message.getUri(), String::stringOf(message.getStatus())})
        text.concat("|").concat(part);
    text.concat("|").concat(message.getReason());
    for (ZK::HttpParser::Header const& header : message.getHeaders())
        text.concat("|").concat(header.name).concat("=").concat(header.value);
    text.concat("|").concat(message.getBody());
    return {text.c_str(), static_cast<std::size_t>(text.length())};
}

/// Parses one whole message.
std::string parsed(std::string const& text)
{
    String buffer = textOf(text);
    ZK::HttpParser message;
    XCode const code = message.parse(buffer);
    if (code.isErr())
        EXPECT_TRUE(buffer == textOf(text) && shown(message) == "none|||0||");
    else
        EXPECT_TRUE(buffer.isEmpty()) << text;
    return code == ZK::HttpParser::INCOMPLETE ? "incomplete" : code.isErr() ? code.toString().c_str() : shown(message);
}
}

TEST(HttpParser, ReadsRequestsAndStatuses)
{
    EXPECT_EQ(parsed("GET /index HTTP/1.1\r\nHost: a.b\r\nAccept :\t x , y \r\n\r\n"),
              "request|GET|/index|0||host=a.b|accept=x , y|");
    EXPECT_EQ(parsed("HTTP/1.1 404 Not  Found here\r\n\r\n"), "status|||404|Not Found here|");
    EXPECT_EQ(parsed("\r\nGET  /   HTTP/1.1 \r\nX:\r\nX: 1:2\r\n\r\n"), "request|GET|/|0||x=|x=1:2|");
    EXPECT_EQ(parsed("POST / HTTP/1.1\r\nCONTENT-length:0x4\r\nContent-Length: 9\r\n\r\na\0\r\n"s),
              "request|POST|/|0||content-length=0x4|content-length=9|a\0\r\n"s);
    EXPECT_EQ(parsed("GET /\0 HTTP/1.1\r\nA\0: b\0c\r\n\r\n"s), "request|GET|/\0|0||a\0=b\0c|"s);
    EXPECT_EQ(parsed("GET / HTTP/1.1\r\na: x\ny\rz\r\n\r\n"), "request|GET|/|0||a=x\ny\rz|") << "no line ends alone";
    EXPECT_EQ(parsed("GET / HTTP/1.1\r\nContent-Length: none\r\n\r\n"), "request|GET|/|0||content-length=none|");
    EXPECT_EQ(parsed("HTTP/1.1 4294967297 X\r\n\r\n"), "status|||4294967295|X|") << "the same with words of any size";
}

TEST(HttpParser, RefusesWithAReasonAndLeavesTheBuffer)
{
    for (char const* line : {"", "GET /", "GET / HTTP/1.1 x"})
        EXPECT_EQ(parsed(line + "\r\n\r\n"s), "Invalid request line") << line;
    for (char const* line : {"GET / HTTP/1.0", "HTTP/1.0 200 OK", "HTTP/1.10 200 OK"})
        EXPECT_EQ(parsed(line + "\r\n\r\n"s), "Invalid HTTP version") << line;
    for (char const* line : {"HTTP/1.1 0 OK", "HTTP/1.1 OK 200"})
        EXPECT_EQ(parsed(line + "\r\n\r\n"s), "Invalid status code") << line;
    EXPECT_EQ(parsed("HTTP/1.1 200\r\n\r\n"), "Invalid status line");
    EXPECT_EQ(parsed("GET / HTTP/1.1\r\nFoo\r\nContent-Length: 9\r\n\r\n"), "Invalid header format");
}

TEST(HttpParser, WaitsForTheWholeMessage)
{
    String buffer("POST /a HTTP/1.1\r\nContent-Length: 5\r\n\r\n1234");
    String const before(buffer);
    ZK::HttpParser message;
    message.prepareStatus(1, "old");
    EXPECT_EQ(message.parse(buffer).getRawValue(), 0x40020260u);
    EXPECT_TRUE(buffer == before && shown(message) == "none|||0||");
    EXPECT_TRUE(message.parse(buffer.concat("5GET")) && message.getBody() == "12345" && buffer == "GET");
}

TEST(HttpParser, NoSizeReachesBehindTheBuffer)
{
    for (char const* size : {"2147483647", "2147483648", "4294967295", "4294967294", "4294967251", "4294967297",
                             "18446744073709551615", "18446744073709551614", "99999999999999999999", "-1", "-45",
                             "-4294967295", "0xffffffff", "0xffffffffffffffff", "7"})
        EXPECT_EQ(parsed("GET / HTTP/1.1\r\nContent-Length: "s + size + "\r\n\r\nabcdef"), "incomplete") << size;
}

TEST(HttpParser, EverySplitOfAStreamGivesTheSameMessages)
{
    std::mt19937 random(84);
    auto const word = [&](std::string const& letters, unsigned int longest)
    {
        std::string text;
        for (auto length = random() % longest; length > 0; length--)
            text += letters[random() % letters.size()];
        return textOf(text);
    };
    for (int round = 0; round < 400; round++)
    {
        std::vector<std::string> sent, received;
        std::string stream;
        for (auto count = 1 + random() % 4; count > 0; count--)
        {
            ZK::HttpParser message;
            if (random() % 2 == 0)
                message.prepareRequest(String("M").concat(word("GETPOS", 5)), String("/").concat(word("a/?%=1", 20)));
            else
                message.prepareStatus(static_cast<unsigned int>(1 + random() % 999), "R");
            for (auto headers = random() % 5; headers > 0; headers--)
                message.addHeader(String("n").concat(word("x-y\tz_", 9)) += 'e', word("v:,", 12));
            message.setBody(word("\r\n\0: GET"s, random() % 2 == 0 ? 300 : 8));
            String const text = message.generate();
            stream.append(text.c_str(), static_cast<std::size_t>(text.length()));
            if (!message.getBody().isEmpty())
                message.addHeader("content-length", String::stringOf(message.getBody().length()));
            sent.push_back(shown(message));
        }

        String buffer;
        TString<char> bytes;
        ZK::HttpParser message, other;
        auto const longest = 1 + random() % (random() % 2 == 0 ? 3 : 400);
        for (std::size_t at = 0; at < stream.size();)
        {
            std::string const piece = stream.substr(at, 1 + random() % longest);
            at += piece.size();
            buffer.concat(piece.data(), static_cast<int>(piece.size()));
            bytes.insert(bytes.length(), piece.data(), static_cast<int>(piece.size()));
            XCode code;
            for (; (code = message.parse(buffer)).isSuccess(); received.push_back(shown(message)))
                ASSERT_TRUE(other.parse(bytes) && shown(other) == shown(message));
            ASSERT_TRUE(code == ZK::HttpParser::INCOMPLETE && other.parse(bytes) == code);
        }
        ASSERT_EQ(received, sent);
        ASSERT_TRUE(buffer.isEmpty() && bytes.isEmpty() && bytes.frontGap() == 0);
    }
}

TEST(HttpParser, GeneratesTheMessage)
{
    ZK::HttpParser message;
    EXPECT_EQ(message.generate(), "");
    message.prepareRequest("PUT", "/x");
    message.addHeader("Host", "a");
    message.addHeader("Empty", "");
    message.addHeader("CONTENT-LENGTH", "77");
    EXPECT_EQ(message.generate(), "PUT /x HTTP/1.1\r\nHost: a\r\nEmpty:\r\n\r\n");
    message.prepareStatus(200, "OK");
    message.setBody("body");
    EXPECT_EQ(message.generate(), "HTTP/1.1 200 OK\r\nHost: a\r\nEmpty:\r\nContent-Length: 4\r\n\r\nbody");
    message.reset();
    EXPECT_EQ(shown(message), "none|||0||");
}

TEST(HttpParser, HeadersAreFoundInAnyCaseAndByNumber)
{
    ZK::HttpParser message;
    for (char const* line : {"Set-Cookie: a", "Other: x", "SET-COOKIE: b"})
        EXPECT_EQ(message.parseHeaderLine(line), XCODE_SUCCESS);
    message.addHeader("Mixed", "m");
    EXPECT_EQ(listed(message.getHeader("SET-cookie", 0), message.getHeader("set-cookie", 1),
                     message.getHeader("set-cookie", 2), message.getHeader("set-cooki", 0),
                     message.getHeader("mIXED", 0)),
              "a|b|||m");
    EXPECT_EQ(message.parseRequestLine("GET /a HTTP/2").toString(), "Invalid HTTP version");
    EXPECT_EQ(shown(message), "none|GET|/a|0||set-cookie=a|other=x|set-cookie=b|Mixed=m|") << "stored before the test";
}

TEST(HttpParser, ManyHeadersTakeLinearTime)
{
    std::string text = "GET / HTTP/1.1\r\n";
    for (int i = 0; i < 100000; i++)
        text += "a:\r\n";
    String buffer = textOf(text + "\r\n");
    ZK::HttpParser message;
    EXPECT_EQ(message.parse(buffer), XCODE_SUCCESS);
    EXPECT_EQ(message.getHeaders().size(), 100000u);
}

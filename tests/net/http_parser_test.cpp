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
    auto const bytes = [](String const& text)
    { return std::string(text.c_str(), static_cast<std::size_t>(text.length())); };
    std::string text = message.isValid() ? message.isRequest() ? "request" : "status" : "none";
    text += "|" + bytes(message.getMethod()) + "|" + bytes(message.getUri()) + "|" +
            std::to_string(message.getStatus()) + "|" + bytes(message.getReason());
    for (ZK::HttpParser::Header const& header : message.getHeaders())
        text += "|" + bytes(header.name) + "=" + bytes(header.value);
    return text + "|" + bytes(message.getBody());
}

std::string const NONE = "none|||0||";

/// Parses one whole message.
std::string parsed(std::string const& text)
{
    String buffer = textOf(text);
    ZK::HttpParser message;
    XCode const code = message.parse(buffer);
    if (code == ZK::HttpParser::INCOMPLETE)
        return "incomplete";
    if (code.isErr())
        return (buffer == textOf(text) && shown(message) == NONE ? "refused: " : "changed: ") +
               std::string(code.toString().c_str());
    EXPECT_TRUE(buffer.isEmpty()) << text;
    return shown(message);
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
    std::pair<char const*, char const*> const table[] = {
        {"\r\n\r\n", "Invalid request line"},
        {"GET /\r\n\r\n", "Invalid request line"},
        {"GET / HTTP/1.1 x\r\n\r\n", "Invalid request line"},
        {"GET / HTTP/1.0\r\n\r\n", "Invalid HTTP version"},
        {"HTTP/1.0 200 OK\r\n\r\n", "Invalid HTTP version"},
        {"HTTP/1.10 200 OK\r\n\r\n", "Invalid HTTP version"},
        {"HTTP/1.1 200\r\n\r\n", "Invalid status line"},
        {"HTTP/1.1 0 OK\r\n\r\n", "Invalid status code"},
        {"HTTP/1.1 OK 200\r\n\r\n", "Invalid status code"},
        {"GET / HTTP/1.1\r\nFoo\r\nContent-Length: 9\r\n\r\n", "Invalid header format"},
    };
    for (auto const& [text, reason] : table)
        EXPECT_EQ(parsed(text), "refused: "s + reason) << text;
}

TEST(HttpParser, WaitsForTheWholeMessage)
{
    String buffer("POST /a HTTP/1.1\r\nContent-Length: 5\r\n\r\n1234");
    String const before(buffer);
    ZK::HttpParser message;
    message.prepareStatus(1, "old");
    EXPECT_EQ(message.parse(buffer), ZK::HttpParser::INCOMPLETE);
    EXPECT_EQ(XCode(ZK::HttpParser::INCOMPLETE).getRawValue(), 0x40020260u);
    EXPECT_EQ(buffer, before);
    EXPECT_EQ(shown(message), NONE);
    buffer += "5GET / HTTP/1.1\r\n\r\n";
    EXPECT_EQ(message.parse(buffer), XCODE_SUCCESS);
    EXPECT_EQ(message.getBody(), "12345");
    EXPECT_EQ(buffer, "GET / HTTP/1.1\r\n\r\n");
    EXPECT_EQ(message.parse(buffer), XCODE_SUCCESS);
    EXPECT_EQ(shown(message) + buffer.c_str(), "request|GET|/|0||");
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
    auto const below = [&](unsigned int limit) { return random() % limit; };
    auto const word = [&](char const* letters, unsigned int longest)
    {
        String text;
        for (unsigned int length = below(longest); length > 0; length--)
            text += letters[below(static_cast<unsigned int>(std::strlen(letters)))];
        return text;
    };
    for (int round = 0; round < 400; round++)
    {
        std::vector<std::string> sent;
        std::string stream;
        for (unsigned int count = 1 + below(4); count > 0; count--)
        {
            ZK::HttpParser message;
            if (below(2) == 0)
                message.prepareRequest(String("M").concat(word("GETPOS", 5)), String("/").concat(word("a/?%=1", 20)));
            else
                message.prepareStatus(1 + below(999), String("R").concat(word("abc", 9)));
            for (unsigned int headers = below(5); headers > 0; headers--)
                message.addHeader(String("n").concat(word("x-y\tz_", 9)) += 'e', word("v:,", 12));
            String body = word("\r\nbody: GET", 60);
            if (below(2) == 0 && body.native_alloc(static_cast<int>(below(300))))
                std::fill_n(body.data(), body.length(), static_cast<char>(below(3)));
            message.setBody(body);
            String const text = message.generate();
            stream.append(text.c_str(), static_cast<std::size_t>(text.length()));
            if (!body.isEmpty())
                message.addHeader("content-length", String::stringOf(body.length()));
            sent.push_back(shown(message));
        }

        std::vector<std::string> received, receivedBytes;
        String buffer;
        TString<char> bytes;
        ZK::HttpParser message;
        unsigned int const longest = 1 + below(below(2) == 0 ? 3 : 400);
        for (std::size_t at = 0; at < stream.size();)
        {
            std::string const piece = stream.substr(at, 1 + below(longest));
            at += piece.size();
            buffer.concat(piece.data(), static_cast<int>(piece.size()));
            bytes.insert(bytes.length(), piece.data(), static_cast<int>(piece.size()));
            XCode code;
            while ((code = message.parse(buffer)).isSuccess())
                received.push_back(shown(message));
            ASSERT_EQ(code, ZK::HttpParser::INCOMPLETE) << code.toString().c_str();
            while ((code = message.parse(bytes)).isSuccess())
                receivedBytes.push_back(shown(message));
            ASSERT_EQ(code, ZK::HttpParser::INCOMPLETE);
        }
        ASSERT_EQ(received, sent);
        ASSERT_EQ(receivedBytes, sent);
        ASSERT_TRUE(buffer.isEmpty() && bytes.isEmpty() && bytes.frontGap() == 0);
    }
}

TEST(HttpParser, GeneratesTheMessage)
{
    ZK::HttpParser message;
    EXPECT_EQ(message.generate(), "");
    message.prepareRequest("PUT", "/x");
    EXPECT_EQ(message.generate(), "PUT /x HTTP/1.1\r\n\r\n");
    message.addHeader("Host", "a");
    message.addHeader("Empty", "");
    message.addHeader("CONTENT-LENGTH", "77");
    message.setBody("body");
    EXPECT_EQ(message.generate(), "PUT /x HTTP/1.1\r\nHost: a\r\nEmpty:\r\nContent-Length: 4\r\n\r\nbody");
    message.prepareStatus(200, "OK");
    message.setBody("");
    EXPECT_EQ(message.generate(), "HTTP/1.1 200 OK\r\nHost: a\r\nEmpty:\r\n\r\n");
    message.reset();
    EXPECT_EQ(shown(message), NONE);
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
    EXPECT_FALSE(message.isValid()) << "single lines make no message";
    EXPECT_EQ(message.parseRequestLine("GET /a HTTP/2").toString(), "Invalid HTTP version");
    EXPECT_EQ(shown(message), "none|GET|/a|0||set-cookie=a|other=x|set-cookie=b|Mixed=m|") << "stored before the test";
}

TEST(HttpParser, ManyHeadersTakeLinearTime)
{
    std::string text = "GET / HTTP/1.1\r\n";
    for (int i = 0; i < 200000; i++)
        text += "a:\r\n";
    String buffer = textOf(text + "\r\n");
    ZK::HttpParser message;
    EXPECT_EQ(message.parse(buffer), XCODE_SUCCESS);
    EXPECT_EQ(message.getHeaders().size(), 200000u);
}

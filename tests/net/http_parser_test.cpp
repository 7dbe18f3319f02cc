#include "zekovar/net/http_parser.h"

#include "tests/string_printer.h"
#include "zekovar/foundation/tstring.h"

#include <gtest/gtest.h>

#include <string>

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

/// The messages of a stream that arrives in three pieces, one a line; each must come back from its own text.
std::string received(std::string const& stream, std::size_t first, std::size_t second)
{
    std::string all;
    String buffer;
    TString<char> bytes;
    ZK::HttpParser message, other;
    for (auto const& [start, end] : {std::pair(std::size_t{0}, first), {first, second}, {second, stream.size()}})
    {
        buffer.concat(stream.data() + start, static_cast<int>(end - start));
        bytes.insert(bytes.length(), stream.data() + start, static_cast<int>(end - start));
        XCode code;
        for (; (code = message.parse(buffer)).isSuccess(); all += shown(message) + "\n")
        {
            EXPECT_TRUE(other.parse(bytes) && shown(other) == shown(message));
            String text = message.generate();
            EXPECT_TRUE(other.parse(text) && text.isEmpty() && shown(other) == shown(message));
        }
        EXPECT_TRUE(code == ZK::HttpParser::INCOMPLETE && other.parse(bytes) == code);
    }
    EXPECT_TRUE(buffer.isEmpty() && bytes.isEmpty() && bytes.frontGap() == 0);
    return all;
}
}

TEST(HttpParser, ReadsRequestsAndStatuses)
{
    EXPECT_EQ(parsed("HTTP/1.1 404 Not  Found here\r\n\r\n"), "status|||404|Not Found here|");
    EXPECT_EQ(parsed("\r\nGET  /   HTTP/1.1 \r\nX:\r\nX :\t 1:2 \r\n\r\n"), "request|GET|/|0||x=|x=1:2|");
    EXPECT_EQ(parsed("POST / HTTP/1.1\r\nCONTENT-length:0x4\r\nContent-Length: 9\r\n\r\na\0\r\n"s),
              "request|POST|/|0||content-length=0x4|content-length=9|a\0\r\n"s);
    EXPECT_EQ(parsed("GET /\0 HTTP/1.1\r\nA\0: b\0c\ny\rz\r\n\r\n"s), "request|GET|/\0|0||a\0=b\0c\ny\rz|"s);
    EXPECT_EQ(parsed("GET / HTTP/1.1\r\nContent-Length: none\r\n\r\n"), "request|GET|/|0||content-length=none|");
    EXPECT_EQ(parsed("HTTP/1.1 4294967297 X\r\n\r\n"), "status|||4294967295|X|") << "the same with words of any size";
}

TEST(HttpParser, RefusesWithAReasonAndLeavesTheBuffer)
{
    for (auto const& [line, reason] : {std::pair("", "Invalid request line"),
                                       {"GET /", "Invalid request line"},
                                       {"GET / HTTP/1.1 x", "Invalid request line"},
                                       {"GET / HTTP/1.0", "Invalid HTTP version"},
                                       {"HTTP/1.10 200 OK", "Invalid HTTP version"},
                                       {"HTTP/1.1 0 OK", "Invalid status code"},
                                       {"HTTP/1.1 OK 200", "Invalid status code"},
                                       {"HTTP/1.1 200", "Invalid status line"},
                                       {"GET / HTTP/1.1\r\nFoo\r\nContent-Length: 9", "Invalid header format"}})
        EXPECT_EQ(parsed(line + "\r\n\r\n"s), reason) << line;
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
    for (char const* size : {"7", "2147483647", "2147483648", "4294967251", "4294967295", "4294967297", "-1", "-45",
                             "18446744073709551571", "18446744073709551615", "99999999999999999999", "0xffffffff"})
        EXPECT_EQ(parsed("GET / HTTP/1.1\r\nContent-Length: "s + size + "\r\n\r\nabcdef"), "incomplete") << size;
}

TEST(HttpParser, EverySplitOfAStreamGivesTheSameMessages)
{
    std::string const stream = "GET /a HTTP/1.1\r\nHost: x\r\nhost:\r\n\r\n"
                               "HTTP/1.1 200 All right\r\nA: b\r\nContent-Length: 9\r\n\r\n\r\n\r\n\0GET "
                               "\r\nPUT /b HTTP/1.1\r\nContent-Length: 1\r\n\r\n\n"s;
    for (std::size_t first = 0; first <= stream.size(); first++)
        for (std::size_t second = first; second <= stream.size(); second++)
            ASSERT_EQ(received(stream, first, second),
                      "request|GET|/a|0||host=x|host=|\nstatus|||200|All right|a=b|content-length=9|\r\n\r\n\0GET \n"
                      "request|PUT|/b|0||content-length=1|\n\n"s)
                << first << " " << second;
}

TEST(HttpParser, GeneratesTheMessage)
{
    ZK::HttpParser message;
    EXPECT_EQ(message.generate(), "");
    message.prepareRequest("PUT", "/x");
    message.addHeader("Empty", "");
    message.addHeader("CONTENT-LENGTH", "77");
    EXPECT_EQ(message.generate(), "PUT /x HTTP/1.1\r\nEmpty:\r\n\r\n");
    message.prepareStatus(200, "OK");
    message.setBody("body");
    EXPECT_EQ(message.generate(), "HTTP/1.1 200 OK\r\nEmpty:\r\nContent-Length: 4\r\n\r\nbody");
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
    EXPECT_TRUE(message.parseRequestLine("GET /a HTTP/2").isErr() && message.getUri() == "/a") << "stored before";
}

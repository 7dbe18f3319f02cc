#include "zekovar/net/xfer.h"

#include <gtest/gtest.h>

#ifdef ZEKOVAR_WITH_CURL

#include "tests/net/http_server.h"
#include "tests/string_printer.h"
#include "tests/temporary_directory.h"

#include <cerrno>
#include <chrono>
#include <curl/curl.h>
#include <fstream>
#include <functional>
#include <string>

using ZK::Property::Value;

namespace
{
#ifdef __SANITIZE_THREAD__ // which is slow where a transfer may take three seconds
constexpr int LONG = 5 << 20;
#else
constexpr int LONG = 50 << 20;
#endif

class Xfer : public testing::Test
{
protected:
    void SetUp() override
    {
        if (!server.isUp())
            GTEST_SKIP() << "no python3 for the server";
        xfer.setBaseUrl(server.url());
    }

    /// What the next request has of interest: "PUT /x|Content-Type: text/plain|body".
    String nextRequest()
    {
        Value const request = server.takeRequest();
        String text = request["request"].toString();
        for (char const* name : {"Accept: a", "Content-Type: ", "Content-Length: 0", "Expect: "})
        {
            if (String const line = lineOf(request, name); !line.isEmpty())
                (text += "|") += line;
        }
        return (text += "|") += request["body"].toString();
    }

    /// The first line that begins so.
    static String lineOf(Value const& request, String const& name)
    {
        Value const& lines = request["lines"];
        for (unsigned int i = 0; i < lines.size(); ++i)
        {
            if (lines[i].toString().startsWith(name))
                return lines[i].toString();
        }
        return "";
    }

    HttpServer server;
    ZK::Xfer xfer;
};

TString<char> bytesOf(std::string const& text)
{
    return TString<char>(text.data(), static_cast<int>(text.size()));
}

std::string textOf(TString<char> const& bytes)
{
    return std::string(bytes.data(), static_cast<std::size_t>(bytes.length()));
}

/// Bytes as the server makes them.
std::string pattern(int count)
{
    std::string bytes(static_cast<std::size_t>(count), '\0');
    for (std::size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = static_cast<char>(i);
    return bytes;
}
}

TEST_F(Xfer, EachCallSendsItsMethodBodyAndContentTypeAndTakesTheReply)
{
    Value const json{{"a", 1}};
    TString<char> const bytes = bytesOf("bytes");
    String const text("text");
    TString<char> bytesOut;
    String textOut;
    Value jsonOut;

    struct Call
    {
        std::function<XCode()> make;
        char const* sent;
        char const* taken;
    };

    char const reply[] = "{\"b\":2}", parsed[] = "{b:2}";
    Call const calls[] = {
        {[&] { return xfer.postNoContent("/json", ""); }, "POST /json|FORM|Content-Length: 0|", ""},
        {[&] { return xfer.deleteNoContent("/json", ""); }, "DELETE /json|", ""},
        {[&] { return xfer.getBinary(bytesOut, "/json", ""); }, "GET /json|", reply},
        {[&] { return xfer.getText(textOut, "/json", ""); }, "GET /json|", reply},
        {[&] { return xfer.getJson(textOut, "/json", ""); }, "GET /json|ACCEPT|", reply},
        {[&] { return xfer.getJson(jsonOut, "/json", ""); }, "GET /json|ACCEPT|", parsed},
        {[&] { return xfer.postBinary(bytesOut, "/json", bytes, ""); }, "POST /json|FORM|bytes", reply},
        {[&] { return xfer.postBinary("/json", bytes, ""); }, "POST /json|FORM|bytes", ""},
        {[&] { return xfer.postText(textOut, "/json", text, ""); }, "POST /json|FORM|text", reply},
        {[&] { return xfer.postText("/json", text, ""); }, "POST /json|FORM|text", ""},
        {[&] { return xfer.postJson(textOut, "/json", text, ""); }, "POST /json|JSON|text", reply},
        {[&] { return xfer.postJson(jsonOut, "/json", json, ""); }, "POST /json|JSON|{\"a\":1}", parsed},
        {[&] { return xfer.postJson("/json", json, ""); }, "POST /json|JSON|{\"a\":1}", ""},
        {[&] { return xfer.postJson("/json", text, ""); }, "POST /json|JSON|text", ""},
        {[&] { return xfer.postNoContent("/json", ""); }, "POST /json|FORM|Content-Length: 0|", ""},
        {[&] { return xfer.putBinary("/json", bytes, ""); }, "PUT /json|FORM|bytes", ""},
        {[&] { return xfer.putText("/json", text, ""); }, "PUT /json|FORM|text", ""},
        {[&] { return xfer.putJson("/json", text, ""); }, "PUT /json|JSON|text", ""},
        {[&] { return xfer.putJson("/json", json, ""); }, "PUT /json|FORM|{\"a\":1}", ""},
        {[&] { return xfer.deleteBinary("/json", bytes, ""); }, "DELETE /json|FORM|bytes", ""},
        {[&] { return xfer.deleteText("/json", text, ""); }, "DELETE /json|FORM|text", ""},
        {[&] { return xfer.deleteJson("/json", text, ""); }, "DELETE /json|JSON|text", ""},
        {[&] { return xfer.deleteJson("/json", json, ""); }, "DELETE /json|JSON|{\"a\":1}", ""},
        {[&] { return xfer.deleteNoContent("/json", ""); }, "DELETE /json|", ""},
        {[&] { return xfer.putBinary("/json", bytesOf(""), ""); }, "PUT /json|FORM|Content-Length: 0|", ""}};

    for (auto const& call : calls)
    {
        bytesOut = TString<char>();
        textOut = "";
        jsonOut = "";
        EXPECT_EQ(call.make().toString(), "") << call.sent;
        String sent(call.sent);
        sent.replace("FORM", "Content-Type: application/x-www-form-urlencoded");
        sent.replace("JSON", "Content-Type: application/json");
        sent.replace("ACCEPT", "Accept: application/json");
        EXPECT_EQ(nextRequest(), sent);
        EXPECT_EQ(textOf(bytesOut) + textOut.c_str() + jsonOut.toString().c_str(), call.taken) << call.sent;
    }
}

TEST_F(Xfer, HeadersAreSentTrimmedBehindTheFixedOnes)
{
    xfer.setFixedHeader("First", "old");
    xfer.setFixedHeader("Second", "2");
    xfer.setFixedHeader("First", "1");
    EXPECT_TRUE(xfer.setCookie("flavour=oat; size=3").isSuccess());
    String out;

    struct
    {
        char const* given;
        char const* sent;
    } const cases[] = {{"A: 1| B: 2 |", "A: 1,B: 2,"}, {"X: 3", "X: 3,"}, {"", ""}};

    for (auto const& headers : cases)
    {
        EXPECT_TRUE(xfer.getJson(out, "/json", headers.given).isSuccess());
        String const lines = server.takeRequest()["lines"].toString();
        String expected("User-Agent: zekovar/3.0,Cookie: flavour=oat; size=3,First: 1,Second: 2,");
        (expected += headers.sent) += "Accept: application/json]";
        EXPECT_EQ(lines.substring(lines.indexOf("User")), expected);
    }
}

TEST_F(Xfer, RepliesThatAreNoSuccessLeaveOutAsItWas)
{
    String text("as it was");
    TString<char> bytes = bytesOf("as it was");
    Value json("as it was");
    EXPECT_EQ(xfer.getText(text, "/status/404", "").getValue(), XCODE_HTTP + 404u);
    EXPECT_EQ(xfer.getBinary(bytes, "/status/300", "").toString(), "HTTP RESPONSE 300");
    EXPECT_EQ(xfer.postJson(json, "/status/500", Value(1), "").getValue(), XCODE_HTTP + 500u);
    EXPECT_EQ(xfer.putText("/status/403", "", "").getValue(), XCODE_HTTP + 403u);
    EXPECT_EQ(xfer.deleteNoContent("/status/403", "").getValue(), XCODE_HTTP + 403u);
    XCode const code = xfer.getText(text, "/zero", "");
    EXPECT_EQ(code, XCODE_FAILURE);
    EXPECT_EQ(code.toString(), "BINARY CONTENT RECEIVED");
    EXPECT_EQ(xfer.getJson(json, "/zero", "").toString(), "BINARY CONTENT RECEIVED");
    EXPECT_EQ(text, "as it was");
    EXPECT_EQ(textOf(bytes), "as it was");
    EXPECT_EQ(json.toString(), "as it was");

    EXPECT_TRUE(xfer.getText(text, "/status/299", "").isSuccess());
    EXPECT_EQ(text, "reason");
    EXPECT_TRUE(xfer.getBinary(bytes, "/zero", "").isSuccess());
    EXPECT_EQ(textOf(bytes), std::string("a\0b", 3));
    EXPECT_EQ(xfer.getJson(json, "/bytes/0", "").toString(), "NO JSON DATA RECEIVED: Expecting value, got '': ");
    EXPECT_TRUE(json.isInvalid());
}

TEST_F(Xfer, ThreeRedirectionsAreFollowed)
{
    String text;
    EXPECT_TRUE(xfer.getText(text, "/redirect/3", "").isSuccess());
    EXPECT_EQ(text, "{\"b\":2}");
    XCode const code = xfer.getText(text, "/redirect/4", "");
    EXPECT_EQ(code, XCODE_FAILURE);
    EXPECT_EQ(code.toString(), "Maximum (3) redirects followed");
}

TEST_F(Xfer, ConnectionsThatFailAreToldByLibcurlsText)
{
    String text("as it was");
    XCode code = xfer.getText(text, "/cut", "");
    EXPECT_EQ(code, XCODE_FAILURE);
    EXPECT_NE(code.toString().indexOf("bytes remaining to read"), -1) << code.toString().c_str();
    code = xfer.postText(text, "/cut", "", "");
    EXPECT_EQ(code.getValue(), XCODE_ERRNO + ECONNABORTED);
    EXPECT_NE(code.toString().indexOf("bytes remaining to read"), -1) << code.toString().c_str();

    auto const start = std::chrono::steady_clock::now();
    code = xfer.getText(text, "/hang", "");
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(2900));
    EXPECT_TRUE(code.toString().startsWith("Operation timed out")) << code.toString().c_str();
    EXPECT_EQ(text, "as it was");

    xfer.setBaseUrl("nothing://host");
    EXPECT_NE(xfer.getText(text, "", "").toString().indexOf("not supported"), -1);
    xfer.setBaseUrl("http://127.0.0.1:1");
    EXPECT_EQ(xfer.putText("/", "", ""), XCODE_FAILURE);
    EXPECT_EQ(xfer.postText("/", "", "").getValue(), XCODE_ERRNO + ECONNABORTED);
}

TEST_F(Xfer, CredentialsAreShownAsTheServerAndTheTypeAsk)
{
    String text;
    for (ZK::Xfer::CurlAuth const type : {CURLAUTH_BASIC, CURLAUTH_DIGEST})
    {
        char const* const path = type == CURLAUTH_BASIC ? "/basic" : "/digest";
        ZK::Xfer other;
        other.setBaseUrl(server.url());
        EXPECT_TRUE(other.setAuthenticationType(type).isSuccess());
        EXPECT_EQ(other.postText(text, path, "body", "").getValue(), XCODE_HTTP + 401u) << path;
        EXPECT_TRUE(other.setCredentials("anna", "wrong").isSuccess());
        EXPECT_EQ(other.postText(text, path, "body", "").getValue(), XCODE_HTTP + 401u) << path;
        EXPECT_TRUE(other.setCredentials("anna", "secret").isSuccess());
        text = "";
        EXPECT_TRUE(other.postText(text, path, "body", "").isSuccess()) << path;
        EXPECT_EQ(text, "body") << path;
    }
    EXPECT_EQ(xfer.setAuthenticationType(CURLAUTH_ONLY), XCODE_FAILURE);
}

TEST_F(Xfer, LongBodiesPassBothWays)
{
    TString<char> bytes;
    ASSERT_EQ(xfer.getBinary(bytes, String::stringOfFormat("/bytes/%d", LONG), "").toString(), "");
    EXPECT_TRUE(textOf(bytes) == pattern(LONG));
    server.takeRequest();
    ASSERT_EQ(xfer.postBinary("/json", bytes, "").toString(), "");
    EXPECT_EQ(server.takeRequest()["body"].toIntOr(0), LONG);
}

TEST_F(Xfer, ReplyThatComesBeforeTheBodyIsReadMixesWithNeither)
{
    constexpr int LENGTH = 4 << 20;
    TString<char> bytes = bytesOf(pattern(LENGTH));
    EXPECT_EQ(xfer.putBinary("/early", bytes, "").toString(), "");
    EXPECT_EQ(server.takeRequest()["body"].toIntOr(0), LENGTH);
    EXPECT_EQ(xfer.postBinary(bytes, "/early", bytes, "").toString(), "");
    EXPECT_EQ(server.takeRequest()["body"].toIntOr(0), LENGTH);
    EXPECT_TRUE(textOf(bytes) == pattern(1 << 20)) << "out may be the body";
}

TEST_F(Xfer, ConnectionIsKeptUnlessItsReplyIsntRead)
{
    String text;
    EXPECT_TRUE(xfer.getText(text, "/json", "").isSuccess());
    EXPECT_TRUE(xfer.deleteText("/late", "", "").isSuccess());
    int const first = server.takeRequest()["client"].toIntOr(-1);
    EXPECT_EQ(server.takeRequest()["client"].toIntOr(-2), first);
    for (int i = 0; i < 3; ++i)
    {
        EXPECT_TRUE(xfer.deleteNoContent("/late", "").isSuccess());
        EXPECT_EQ(xfer.getText(text, "/json", "").toString(), "");
        EXPECT_EQ(text, "{\"b\":2}");
    }
}

TEST_F(Xfer, UploadSendsTheFileAsAForm)
{
    TemporaryDirectory const directory;
    String const file = directory / "data.bin";
    std::ofstream(file.c_str()) << pattern(3000000);
    xfer.setFixedHeader("First", "1");
    EXPECT_EQ(xfer.uploadFile("/json", file).toString(), "");
    Value const request = server.takeRequest();
    EXPECT_EQ(request["request"].toString(), "POST /json");
    EXPECT_EQ(request["parts"].toString(), "{uploadedFile:[data.bin,3000000],filename:[,data.bin],submit:[,send]}");
    for (char const* absent : {"Expect", "First", "User-Agent"})
        EXPECT_EQ(lineOf(request, absent), "");

    EXPECT_EQ(xfer.uploadFile("/status/500", file).getValue(), XCODE_HTTP + 500u);
    XCode const code = xfer.uploadFile("/json", directory / "absent");
    EXPECT_EQ(code.getValue(), XCODE_ERRNO + ECONNABORTED);
    EXPECT_EQ(code.toString(), "Failed to open/read local data from file/application");
}

#else

TEST(Xfer, FailsByATextWhereItIsBuiltWithoutLibcurl)
{
    ZK::Xfer xfer;
    String out("as it was");
    for (XCode const& code : {xfer.getText(out, "/", ""), xfer.putText("/", "", ""), xfer.uploadFile("/", "/"),
                              xfer.setCookie(""), xfer.setCredentials("", ""), xfer.setAuthenticationType(1)})
        EXPECT_EQ(code.toString(), "FILE TRANSFER IS NOT AVAILABLE: LIBRARY BUILT WITHOUT LIBCURL");
    EXPECT_EQ(out, "as it was");
}

#endif

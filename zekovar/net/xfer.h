#pragma once

#include "zekovar/foundation/hash_table.h"
#include "zekovar/foundation/string.h"
#include "zekovar/foundation/tstring.h"
#include "zekovar/foundation/xcode.h"

#include <cstddef>
#include <string_view>

struct curl_slist;

namespace ZK
{
namespace Property
{
class Value;
}

/// A blocking HTTP client for REST calls and uploads, on libcurl's easy interface.
///
/// One connection at a time, which is kept open between calls. It has no lock and belongs to one thread at a time;
/// it raises no signals. A call, connecting and redirections included, lasts up to three seconds (but for `uploadFile`)
/// and follows up to three redirections. Nothing is tried again.
///
/// A *path* is put behind the base URL as it is. *Headers* are further lines, separated by "|" and trimmed. The result
/// of a call is
/// - `XCODE_HTTP` with the status, if that is above 299,
/// - `XCODE_FAILURE` if there is no whole reply, with libcurl's text on the reason, or if libcurl refuses an option;
///   where `post...` gets no whole reply it is the code of ECONNABORTED instead,
/// - `XCODE_FAILURE` with a text for all calls of a library that was built without libcurl, and where it can't be loaded.
///
/// The first object of a process loads libcurl, which takes some tens of milliseconds; it stays until the process ends.
///
/// On failure `out` stays as it was, unless it says otherwise. It may be the body of the same call.
///
///     ZK::Xfer device;
///     device.setBaseUrl("http://192.168.1.20");
///     ZK::Property::Value status;
///     if (XCode code = device.getJson(status, "/api/status", ""); code.isErr()) return code;
class Xfer
{
public:
    /// `CURLAUTH_BASIC`, `CURLAUTH_DIGEST` and the like of <curl/curl.h>, joined by "|".
    using CurlAuth = unsigned long;

    Xfer();
    ~Xfer();

    Xfer(Xfer const&) = delete;
    Xfer& operator=(Xfer const&) = delete;

    void setBaseUrl(String const& url) { m_baseUrl = url; }

    /// Has "name: value" sent with each call but `uploadFile`, in front of its own headers; replaces the value of a
    /// name that was given before.
    void setFixedHeader(String const& name, String const& value) { m_fixedHeaders.set(name, value); }

    /// @name Options
    /// For each call but `uploadFile`, from now on.
    /// @{
    XCode setCredentials(String const& user, String const& password);

    /// "name=value; other=value".
    XCode setCookie(String const& cookie);

    /// By which of these ways the credentials may be shown; basic to begin with. It is refused if libcurl has none of
    /// them.
    XCode setAuthenticationType(CurlAuth types);
    /// @}

    /// @name GET
    /// Text fails with "BINARY CONTENT RECEIVED" if there is a zero byte in it. JSON is asked for by a header, but
    /// whatever comes is taken; parsed, it fails with "NO JSON DATA RECEIVED" and the parser's text, and `out` is
    /// "Invalid" then.
    /// @{
    XCode getBinary(TString<char>& out, String const& path, String const& headers);
    XCode getText(String& out, String const& path, String const& headers);
    XCode getJson(String& out, String const& path, String const& headers);
    XCode getJson(Property::Value& out, String const& path, String const& headers);
    /// @}

    /// @name POST
    /// Replies are as those of GET; the forms without `out` drop them. JSON has its content type; a value that can't be
    /// written as JSON isn't sent. A literal has to say what it is: `String("{}")`, or a `Value`.
    /// @{
    XCode postBinary(TString<char>& out, String const& path, TString<char> const& body, String const& headers);
    XCode postBinary(String const& path, TString<char> const& body, String const& headers);
    XCode postText(String& out, String const& path, String const& body, String const& headers);
    XCode postText(String const& path, String const& body, String const& headers);
    XCode postJson(String& out, String const& path, String const& body, String const& headers);
    XCode postJson(Property::Value& out, String const& path, Property::Value const& body, String const& headers);
    XCode postJson(String const& path, Property::Value const& body, String const& headers);
    XCode postJson(String const& path, String const& body, String const& headers);
    XCode postNoContent(String const& path, String const& headers);
    /// @}

    /// @name PUT
    /// The reply is dropped. A value is sent without a content type of JSON, a text with it.
    /// @{
    XCode putBinary(String const& path, TString<char> const& body, String const& headers);
    XCode putText(String const& path, String const& body, String const& headers);
    XCode putJson(String const& path, String const& body, String const& headers);
    XCode putJson(String const& path, Property::Value const& body, String const& headers);
    /// @}

    /// @name DELETE
    /// The reply is dropped.
    /// @{
    XCode deleteBinary(String const& path, TString<char> const& body, String const& headers);
    XCode deleteText(String const& path, String const& body, String const& headers);
    XCode deleteJson(String const& path, String const& body, String const& headers);
    XCode deleteJson(String const& path, Property::Value const& body, String const& headers);
    XCode deleteNoContent(String const& path, String const& headers);
    /// @}

    /// Posts a form with the file as "uploadedFile", its name without directories as "filename", and "send" as "submit".
    /// Of this object it uses the base URL alone: no time limit, no credentials, no headers, no redirections. The code
    /// of ECONNABORTED with libcurl's text if the file can't be read or there is no whole reply.
    XCode uploadFile(String const& path, String const& localFile);

private:
    enum class Method
    {
        GET,
        POST,
        POST_NO_CONTENT,
        PUT,
        DELETE,
        DELETE_NO_CONTENT
    };

    static constexpr std::size_t ERROR_BYTES = 256;

    static std::size_t CURL_WRITE_CALLBACK(char* data, std::size_t size, std::size_t count, void* xfer);
    unsigned int curlWriteCallback(void* data, unsigned int size, unsigned int count);

    XCode send(Method method, String const& path, std::string_view body, String const& headers);
    XCode sendJson(Method method, String const& path, Property::Value const& body, String const& headers);
    XCode exchange(TString<char>& out, Method method, String const& path, std::string_view body, String const& headers);
    XCode request(Method method, String const& path, std::string_view body, String const& headers);
    bool setMethod(Method method, std::string_view body);
    bool setHeaders(String const& headers);
    XCode perform(Method method);
    XCode buildResult();

    void* m_curl = nullptr; // CURL*; null if libcurl is missing or couldn't make it, and every call fails
    String m_baseUrl;
    ZKStringHashTable<String> m_fixedHeaders{16};
    curl_slist* m_headerList = nullptr;
    char m_errorBuffer[ERROR_BYTES] = "";
    TString<char> m_buffer; // the reply so far
};
}

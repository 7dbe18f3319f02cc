#include "zekovar/net/xfer.h"

namespace
{
/// For every call of a library that was built without libcurl, or in a process that can't load it.
XCode notAvailable(char const* reason)
{
    XCode code(XCODE_FAILURE);
    code.setString(reason);
    code.extendString("FILE TRANSFER IS NOT AVAILABLE", ": ");
    return code;
}
}

#ifdef ZEKOVAR_WITH_CURL

#include "zekovar/foundation/system_code.h"
#include "zekovar/foundation/tokenizer.h"
#include "zekovar/net/curl_library.h"

#include <cctype>
#include <cerrno>
#include <memory>
#include <utility>

namespace
{
using ZK::Detail::curlLibrary;

constexpr long LIMIT_SECONDS = 3; // of a whole transfer
constexpr long MAX_REDIRECTIONS = 3;
char const USER_AGENT[] = "zekovar/3.0";

struct Free
{
    void operator()(CURL* curl) const { curlLibrary().easyCleanup(curl); }

    void operator()(curl_slist* list) const { curlLibrary().slistFreeAll(list); }

    void operator()(curl_mime* form) const { curlLibrary().mimeFree(form); }
};

template <class T>
using Owned = std::unique_ptr<T, Free>;

/// Null if libcurl or memory fails, or if there is no libcurl.
CURL* makeHandle()
{
    static bool const isReady = curlLibrary().isLoaded() && curlLibrary().globalInit(CURL_GLOBAL_ALL) == CURLE_OK;
    return isReady ? curlLibrary().easyInit() : nullptr;
}

/// Whether libcurl takes the option; not without a handle.
template <class T>
bool set(CURL* curl, CURLoption option, T value)
{
    return curl != nullptr && curlLibrary().easySetopt(curl, option, value) == CURLE_OK;
}

XCode codeOfSetting(bool isSet)
{
    return curlLibrary().isLoaded() ? testExpression(isSet) : notAvailable(curlLibrary().failure);
}

bool append(Owned<curl_slist>& list, String const& line)
{
    curl_slist* const longer = curlLibrary().slistAppend(list.get(), line.c_str());
    if (longer == nullptr)
        return false;
    (void)list.release(); // it is the longer one now
    list.reset(longer);
    return true;
}

XCode codeOfReply(CURL* curl)
{
    long status = 0;
    if (curlLibrary().easyGetinfo(curl, CURLINFO_RESPONSE_CODE, &status) != CURLE_OK)
        return XCODE_FAILURE;
    if (status > 299)
        return XCode(XCODE_HTTP + static_cast<unsigned int>(status));
    return XCODE_SUCCESS;
}

std::size_t dropReply(char*, std::size_t size, std::size_t count, void*)
{
    return size * count;
}

bool addText(curl_mime* form, char const* name, String const& text)
{
    curl_mimepart* const part = curlLibrary().mimeAddpart(form);
    return curlLibrary().mimeName(part, name) == CURLE_OK &&
           curlLibrary().mimeData(part, text.c_str(), static_cast<std::size_t>(text.length())) == CURLE_OK;
}

CURLcode upload(CURL* curl, String const& url, String const& localFile)
{
    Owned<curl_slist> headers;
    Owned<curl_mime> const form(curlLibrary().mimeInit(curl));
    curl_mimepart* const file = curlLibrary().mimeAddpart(form.get());
    if (CURLcode const result = curlLibrary().mimeFiledata(file, localFile.c_str()); result != CURLE_OK)
        return result;
    String const name = localFile.substring(localFile.lastIndexOf('/') + 1);
    bool const isReady = curlLibrary().mimeName(file, "uploadedFile") == CURLE_OK &&
                         addText(form.get(), "filename", name) && addText(form.get(), "submit", "send") &&
                         append(headers, "Expect:") && // waits for no "100"
                         set(curl, CURLOPT_URL, url.c_str()) && set(curl, CURLOPT_HTTPHEADER, headers.get()) &&
                         set(curl, CURLOPT_MIMEPOST, form.get()) &&
                         set(curl, CURLOPT_WRITEFUNCTION, dropReply) && // goes to stdout otherwise
                         set(curl, CURLOPT_NOSIGNAL, 1L);
    return isReady ? curlLibrary().easyPerform(curl) : CURLE_OUT_OF_MEMORY;
}
}

namespace ZK
{
Xfer::Xfer() : m_curl(makeHandle())
{
    static_assert(ERROR_BYTES == CURL_ERROR_SIZE);
    set(m_curl, CURLOPT_ERRORBUFFER, m_errorBuffer);
    set(m_curl, CURLOPT_WRITEFUNCTION, CURL_WRITE_CALLBACK);
    set(m_curl, CURLOPT_WRITEDATA, this);
    set(m_curl, CURLOPT_NOPROGRESS, 1L);
    set(m_curl, CURLOPT_NOSIGNAL, 1L);
    set(m_curl, CURLOPT_TIMEOUT, LIMIT_SECONDS);
    set(m_curl, CURLOPT_FOLLOWLOCATION, 1L);
    set(m_curl, CURLOPT_MAXREDIRS, MAX_REDIRECTIONS);
    set(m_curl, CURLOPT_USERAGENT, USER_AGENT);
}

Xfer::~Xfer()
{
    Owned<curl_slist> const headers(m_headerList);
    Owned<CURL> const curl(m_curl); // goes first: it refers to the headers
}

XCode Xfer::setCredentials(String const& user, String const& password)
{
    return codeOfSetting(set(m_curl, CURLOPT_USERNAME, user.c_str()) &&
                         set(m_curl, CURLOPT_PASSWORD, password.c_str()));
}

XCode Xfer::setCookie(String const& cookie)
{
    return codeOfSetting(set(m_curl, CURLOPT_COOKIE, cookie.c_str()));
}

XCode Xfer::setAuthenticationType(CurlAuth types)
{
    return codeOfSetting(set(m_curl, CURLOPT_HTTPAUTH, types));
}

XCode Xfer::request(Method method, String const& path, std::string_view body, String const& headers)
{
    String url(m_baseUrl);
    url += path;
    if (set(m_curl, CURLOPT_URL, url.c_str()) && setMethod(method, body) && set(m_curl, CURLOPT_HEADER, 0L) &&
        setHeaders(headers))
        return perform(method);
    return codeOfSetting(false);
}

/// Of HTTPGET, POST and NOBODY each one undoes the others, so NOBODY has to come last. With it a reply's body isn't read:
/// left on the connection, it would be taken for the reply of the next call, hence FORBID_REUSE.
/// `body` isn't copied: libcurl reads it until `perform` returns.
bool Xfer::setMethod(Method method, std::string_view body)
{
    auto const setPost = [&](char const* name)
    {
        // Null would have libcurl post what it reads from stdin.
        char const* const fields = body.empty() ? "" : body.data();
        return set(m_curl, CURLOPT_POST, 1L) && set(m_curl, CURLOPT_CUSTOMREQUEST, name) &&
               set(m_curl, CURLOPT_POSTFIELDS, fields) &&
               set(m_curl, CURLOPT_POSTFIELDSIZE, static_cast<long>(body.size()));
    };
    if (!set(m_curl, CURLOPT_FORBID_REUSE, method == Method::DELETE_NO_CONTENT ? 1L : 0L))
        return false;
    switch (method)
    {
    case Method::GET:
        return set(m_curl, CURLOPT_CUSTOMREQUEST, nullptr) && set(m_curl, CURLOPT_HTTPGET, 1L);
    case Method::POST:
    case Method::POST_NO_CONTENT:
        return setPost(nullptr);
    case Method::PUT:
        return setPost("PUT");
    case Method::DELETE:
        return setPost("DELETE");
    case Method::DELETE_NO_CONTENT:
        return setPost("DELETE") && set(m_curl, CURLOPT_NOBODY, 1L);
    }
    return false;
}

bool Xfer::setHeaders(String const& headers)
{
    Owned<curl_slist> list;
    for (auto const& header : m_fixedHeaders)
    {
        if (!append(list, String::stringOfFormat("%s: %s", header.key().c_str(), header.value().c_str())))
            return false;
    }
    StringTokenizer lines(headers, "|");
    for (String line; lines.nextToken(line);)
    {
        if (!append(list, line.trim(isspace)))
            return false;
    }
    if (!set(m_curl, CURLOPT_HTTPHEADER, list.get()))
        return false;
    curlLibrary().slistFreeAll(std::exchange(m_headerList, list.release()));
    return true;
}

XCode Xfer::perform(Method method)
{
    XCode code;
    if (curlLibrary().easyPerform(m_curl) == CURLE_OK)
        code = buildResult();
    else
        code = method == Method::POST ? Detail::codeOfErrno(ECONNABORTED) : XCode(XCODE_FAILURE);
    if (code.isErr())
        code.extendString(m_errorBuffer, ": ");
    return code;
}

XCode Xfer::buildResult()
{
    return codeOfReply(m_curl);
}

XCode Xfer::uploadFile(String const& path, String const& localFile)
{
    if (!curlLibrary().isLoaded())
        return notAvailable(curlLibrary().failure);
    String url(m_baseUrl);
    url += path;
    Owned<CURL> const curl(makeHandle());
    CURLcode const result = curl ? upload(curl.get(), url, localFile) : CURLE_FAILED_INIT;
    if (result == CURLE_OK)
        return codeOfReply(curl.get());
    XCode code = Detail::codeOfErrno(ECONNABORTED);
    code.setString(curlLibrary().easyStrerror(result));
    return code;
}
}

#else

namespace
{
char const NO_LIBCURL[] = "LIBRARY BUILT WITHOUT LIBCURL";
}

namespace ZK
{
Xfer::Xfer() = default;

Xfer::~Xfer() = default;

XCode Xfer::setCredentials(String const&, String const&)
{
    return notAvailable(NO_LIBCURL);
}

XCode Xfer::setCookie(String const&)
{
    return notAvailable(NO_LIBCURL);
}

XCode Xfer::setAuthenticationType(CurlAuth)
{
    return notAvailable(NO_LIBCURL);
}

XCode Xfer::request(Method, String const&, std::string_view, String const&)
{
    return notAvailable(NO_LIBCURL);
}

XCode Xfer::uploadFile(String const&, String const&)
{
    return notAvailable(NO_LIBCURL);
}
}

#endif

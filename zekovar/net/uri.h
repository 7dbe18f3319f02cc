#pragma once

#include "zekovar/foundation/xcode.h"

/// URIs taken apart, put together and percent-encoded (RFC 3986). All functions are safe from every thread, and outputs
/// may be the input.
///
///     String protocol, host, path, error;
///     unsigned int port;
///     if (UriUtil::splitUri("http://[fe80::1]:8080/a/b", protocol, host, port, path, error))
///         connect(host, port);            // "fe80::1", 8080; the path is "a/b"
class UriUtil
{
public:
    /// Splits "protocol://user@host:port/path" or "protocol:/path". A user comes with its "@" in front of `host`, brackets
    /// around an address don't come. `path` has no "/" in front if there is a host; without "/" behind the host it is
    /// empty. `port` is 1 to 65535, or 0 if there is none. `XCODE_FAILURE`, with the reason in `error`, on other texts;
    /// what was read in front of the fault stays in the outputs.
    static XCode splitUri(String const& uri, String& protocol, String& host, unsigned int& port, String& path,
                          String& error);

    /// As above, with the path cut at its last "/", which belongs to neither side.
    static XCode splitUri(String const& uri, String& protocol, String& host, unsigned int& port, String& directory,
                          String& file, String& error);

    /// The reverse of `splitUri`. Brackets are put around an IPv6 address, and "/" between a host and a path that has
    /// none; port 0 and, without a host, any port is left out.
    static String buildUri(String const& protocol, String const& host, unsigned int port, String const& path);
    static String buildUri(String const& protocol, String const& host, unsigned int port, String const& directory,
                           String const& file);

    /// "directory/file", or only the file if the directory is empty.
    static String buildPath(String const& directory, String const& file);

    /// Keeps ASCII letters, digits and "-._~" and writes every other byte as "%" and two capital hexadecimal digits.
    static String urlEncodeRfc3986(String const& text);

    /// As forms are encoded: keeps ASCII letters, digits and "-._*", and writes a blank as "+".
    static String urlEncodeHtml5(String const& text);

    /// Not the reverse of the encoders. Each character of `in` appends the byte that was decoded last, nothing if there
    /// is none yet: "+" decodes a blank, "%" its two digits, which are gone through again as characters, and any other
    /// character nothing. So "%41" gives "AAA". `XCODE_FAILURE` on "%" without two digits and on "%00"; `out` has what
    /// came before.
    static XCode urlDecode(String& out, String const& in);
};

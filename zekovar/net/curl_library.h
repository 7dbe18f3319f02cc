#pragma once

#include <curl/curl.h>

namespace ZK::Detail
{
/// What is called of libcurl, which isn't linked but loaded when the first `Xfer` is made: with it come some thirty
/// libraries, and a daemon that transfers nothing would map them at its start and copy their page tables at each fork.
struct CurlLibrary
{
    /// Why it can't be called, in the loader's words; empty if it can, and only then is anything below set.
    char failure[256];

    decltype(&curl_global_init) globalInit;
    decltype(&curl_easy_init) easyInit;
    decltype(&curl_easy_setopt) easySetopt;
    decltype(&curl_easy_getinfo) easyGetinfo;
    decltype(&curl_easy_perform) easyPerform;
    decltype(&curl_easy_cleanup) easyCleanup;
    decltype(&curl_easy_strerror) easyStrerror;
    decltype(&curl_slist_append) slistAppend;
    decltype(&curl_slist_free_all) slistFreeAll;
    decltype(&curl_mime_init) mimeInit;
    decltype(&curl_mime_addpart) mimeAddpart;
    decltype(&curl_mime_name) mimeName;
    decltype(&curl_mime_data) mimeData;
    decltype(&curl_mime_filedata) mimeFiledata;
    decltype(&curl_mime_free) mimeFree;

    bool isLoaded() const { return failure[0] == '\0'; }
};

/// Loads it at the first call of the process, from any thread, and never unloads it. A failure is final.
CurlLibrary const& curlLibrary();
}

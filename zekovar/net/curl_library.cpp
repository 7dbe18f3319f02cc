#ifdef ZEKOVAR_WITH_CURL

#include "zekovar/net/curl_library.h"

#include <cstdio>
#include <dlfcn.h>

namespace
{
template <class Function>
bool find(void* library, char const* name, Function*& function)
{
    function = reinterpret_cast<Function*>(dlsym(library, name));
    return function != nullptr;
}

/// A library that is older than the headers, from before 7.56, lacks the functions for forms.
bool findAll(void* library, ZK::Detail::CurlLibrary& curl)
{
    return find(library, "curl_global_init", curl.globalInit) && find(library, "curl_easy_init", curl.easyInit) &&
           find(library, "curl_easy_setopt", curl.easySetopt) && find(library, "curl_easy_getinfo", curl.easyGetinfo) &&
           find(library, "curl_easy_perform", curl.easyPerform) &&
           find(library, "curl_easy_cleanup", curl.easyCleanup) &&
           find(library, "curl_easy_strerror", curl.easyStrerror) &&
           find(library, "curl_slist_append", curl.slistAppend) &&
           find(library, "curl_slist_free_all", curl.slistFreeAll) && find(library, "curl_mime_init", curl.mimeInit) &&
           find(library, "curl_mime_addpart", curl.mimeAddpart) && find(library, "curl_mime_name", curl.mimeName) &&
           find(library, "curl_mime_data", curl.mimeData) && find(library, "curl_mime_filedata", curl.mimeFiledata) &&
           find(library, "curl_mime_free", curl.mimeFree);
}

/// All symbols are bound at once, so that a library that doesn't fit fails here and not amidst a transfer; its own
/// libraries stay out of the daemon's way.
ZK::Detail::CurlLibrary load()
{
    ZK::Detail::CurlLibrary curl{};
    void* const library = dlopen(ZEKOVAR_CURL_SONAME, RTLD_NOW | RTLD_LOCAL);
    if (library != nullptr && findAll(library, curl))
        return curl;
    char const* const reason = dlerror();
    (void)std::snprintf(curl.failure, sizeof curl.failure, "%s", reason != nullptr ? reason : ZEKOVAR_CURL_SONAME);
    if (library != nullptr)
        (void)dlclose(library);
    return curl;
}
}

namespace ZK::Detail
{
CurlLibrary const& curlLibrary()
{
    static CurlLibrary const library = load();
    return library;
}
}

#endif

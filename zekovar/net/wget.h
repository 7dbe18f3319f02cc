#pragma once

#include "zekovar/foundation/string.h"
#include "zekovar/foundation/xcode.h"

#include <atomic>
#include <vector>

/// The arguments for a download by the system's `wget`, whether that is the full program or busybox's small one.
///
/// Safe from all threads, as far as nobody writes `s_userAgent`, but for the first call, which has `INIT` run a program:
/// it belongs to a thread that isn't synchronised to the loop `IO`, and a second thread that calls meanwhile takes the
/// program for the small one.
///
///     std::vector<String> args{"wget"};
///     WgetUtil::buildArgs(false, url, "", "", "/tmp/image", "/etc/ssl/certs", "", "", true, args);
class WgetUtil
{
public:
    /// What the program tells servers that it is; its own name if empty. For the application to set when it starts.
    static String s_userAgent;

    /// Finds out which `wget` there is, by its version, the first time. One that can't be asked counts as the small one.
    static void INIT();

    /// Appends the arguments to `args`, without the program's name, and succeeds always. Empty texts are left out;
    /// `outputFile` and `url` never are. Without `caDirectory` the server's certificate isn't checked. A password
    /// without a user isn't passed on. Busybox's program gets what it knows: user agent, headers, file, `quiet` and URL.
    static XCode buildArgs(bool showHeaders, String const& url, String const& user, String const& password,
                           String const& outputFile, String const& caDirectory, String const& certificate,
                           String const& privateKey, bool quiet, std::vector<String>& args);

private:
    static std::atomic<bool> s_isWgetQueried;
    static std::atomic<bool> s_isFullFeaturedWget;
};

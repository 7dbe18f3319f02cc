#include "zekovar/net/wget.h"

#include "zekovar/process/shell.h"

constinit std::atomic<bool> WgetUtil::s_isWgetQueried{false};
constinit std::atomic<bool> WgetUtil::s_isFullFeaturedWget{false};

namespace
{
void pushUnlessEmpty(std::vector<String>& args, char const* option, String const& value)
{
    if (!value.isEmpty())
        args.push_back(String(option).concat(value));
}

void pushFetchLimits(std::vector<String>& args)
{
    for (char const* const option :
         {"--max-redirect=0", "--dns-timeout=10", "--connect-timeout=10", "--read-timeout=20", "--tries=1"})
        args.push_back(option);
}
}

void WgetUtil::INIT()
{
    if (s_isWgetQueried.exchange(true, std::memory_order_relaxed))
        return;
    String version;
    if (ZK::Shell::execute("wget --version", version) && version.indexOfIgnoreCase("busybox") < 0)
        s_isFullFeaturedWget.store(true, std::memory_order_relaxed);
}

XCode WgetUtil::buildArgs(bool showHeaders, String const& url, String const& user, String const& password,
                          String const& outputFile, String const& caDirectory, String const& certificate,
                          String const& privateKey, bool quiet, std::vector<String>& args)
{
    INIT();
    bool const isFull = s_isFullFeaturedWget.load(std::memory_order_relaxed);
    pushUnlessEmpty(args, "--user-agent=", s_userAgent);
    if (showHeaders)
        args.push_back("-S");
    if (isFull)
        pushFetchLimits(args);
    args.push_back(String("--output-document=").concat(outputFile));
    if (isFull)
    {
        pushUnlessEmpty(args, "--http-user=", user);
        if (!user.isEmpty())
            pushUnlessEmpty(args, "--http-password=", password);
        pushUnlessEmpty(args, "--ca-directory=", caDirectory);
        if (caDirectory.isEmpty())
            args.push_back("--no-check-certificate");
        pushUnlessEmpty(args, "--certificate=", certificate);
        pushUnlessEmpty(args, "--private-key=", privateKey);
    }
    if (quiet)
        args.push_back("--quiet");
    args.push_back(url);
    return XCODE_SUCCESS;
}

#pragma once

#include "tests/eventually.h"
#include "zekovar/process/shell.h"

#include <gtest/gtest.h>

#include <atomic>
#include <mutex>
#include <string>

/// The arguments that have the shell run a script.
inline ZKVector<String> script(String const& text)
{
    ZKVector<String> args;
    args.add("/bin/sh");
    args.add("-c");
    args.add(text);
    return args;
}

/// A script that was invoked, and what its callbacks got: the output, errors after "!", and the value in brackets. It ends
/// when the result has come.
class ObservedCommand
{
public:
    explicit ObservedCommand(String const& text)
    {
        EXPECT_TRUE(ZK::Shell::invoke(
            script(text),
            ZK::bindArgs(ZK::directCall(),
                         [this](XCode const&, String const& value)
                         {
                             note("[" + std::string(value.c_str()) + "]");
                             EXPECT_EQ(m_results.fetch_add(1), 0) << "there is one result";
                         }),
            ZK::bindArgs(ZK::directCall(), [this](String const& piece) { note(piece.c_str()); }),
            ZK::bindArgs(ZK::directCall(), [this](String const& piece) { note("!" + std::string(piece.c_str())); }),
            future));
    }

    ~ObservedCommand()
    {
        EXPECT_TRUE(eventually([this] { return m_results == 1; }));
    }

    XCode result() { return future->waitForCompletion(); }

    std::string text() const
    {
        std::lock_guard const guard(m_mutex);
        return m_text;
    }

    bool writes(std::string const& wanted) const
    {
        return eventually([&] { return text() == wanted; });
    }

    ZK::Future<String> future;

private:
    void note(std::string const& text)
    {
        EXPECT_EQ(m_results, 0) << "the result is the last";
        std::lock_guard const guard(m_mutex);
        m_text += text;
    }

    mutable std::mutex m_mutex;
    std::string m_text;
    std::atomic<int> m_results = 0;
};

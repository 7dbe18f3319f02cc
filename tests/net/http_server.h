#pragma once

#include "zekovar/property/value.h"

#include <cstdio>
#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

/// http_server.py, while this object lives.
class HttpServer
{
public:
    HttpServer()
    {
        ::setenv("no_proxy", "*", 1);
        int ends[2];
        EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0);
        m_output = fdopen(ends[0], "r");
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, ends[1], STDIN_FILENO);
        posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
        char const* const command[] = {"python3", ZEKOVAR_TEST_HTTP_SERVER, nullptr};
        if (posix_spawnp(&m_process, command[0], &actions, nullptr, const_cast<char**>(command), environ) != 0)
            m_process = -1;
        posix_spawn_file_actions_destroy(&actions);
        close(ends[1]);
        m_url = "http://127.0.0.1:";
        m_url += readLine();
    }

    ~HttpServer()
    {
        std::fclose(m_output);
        if (m_process > 0)
            waitpid(m_process, nullptr, 0);
    }

    HttpServer(HttpServer const&) = delete;
    HttpServer& operator=(HttpServer const&) = delete;

    /// False if there is no Python.
    bool isUp() const { return m_process > 0; }

    String const& url() const { return m_url; }

    /// What the server tells of the request that is the next one to be taken.
    ZK::Property::Value takeRequest()
    {
        ZK::Property::Value request;
        EXPECT_TRUE(request.fromJson(readLine()).isSuccess()) << "no request";
        return request;
    }

private:
    String readLine()
    {
        String line;
        for (int character; (character = std::fgetc(m_output)) != EOF && character != '\n';)
            line += static_cast<char>(character);
        return line;
    }

    std::FILE* m_output;
    pid_t m_process = -1;
    String m_url;
};

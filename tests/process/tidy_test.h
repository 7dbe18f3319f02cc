#pragma once

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

/// The lowest descriptor that is free: it grows when one is lost.
inline int nextDescriptor()
{
    int const fd = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
    ::close(fd);
    return fd;
}

/// Tests that leave no child and no descriptor.
class TidyTest : public testing::Test
{
protected:
    ~TidyTest() override
    {
        EXPECT_EQ(nextDescriptor(), m_descriptor);
        EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1);
    }

private:
    int m_descriptor = nextDescriptor();
};

/// Lets only `count` further descriptors be had for a scope.
class FewDescriptors
{
public:
    explicit FewDescriptors(int count)
    {
        ::getrlimit(RLIMIT_NOFILE, &m_before);
        rlimit now = m_before;
        now.rlim_cur = static_cast<rlim_t>(nextDescriptor() + count);
        ::setrlimit(RLIMIT_NOFILE, &now);
    }

    ~FewDescriptors() { ::setrlimit(RLIMIT_NOFILE, &m_before); }

private:
    rlimit m_before{};
};

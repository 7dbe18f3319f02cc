#include "zekovar/files/file.h"

#include "tests/string_printer.h"
#include "tests/temporary_directory.h"
#include "zekovar/foundation/system_code.h"
#include "zekovar/foundation/tstring.h"

#include <gtest/gtest.h>

#include <atomic>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <pthread.h>
#include <thread>
#include <unistd.h>

using ZK::Detail::codeOfErrno;

namespace
{
class FileIo : public testing::Test
{
protected:
    void SetUp() override { ASSERT_TRUE(ZKFile::CREATE_PIPE(m_readEnd, m_writeEnd, true)); }

    void fill(char const* text) { ASSERT_TRUE(m_writeEnd.write(text, true)); }

    ZKFile m_readEnd;
    ZKFile m_writeEnd;
    char m_buffer[16] = {};
    unsigned int m_count = 99;
    bool m_eof = false;
};

String patternOf(int length)
{
    String text;
    for (int i = 0; i < length; i++)
        text += static_cast<char>('a' + i % 23);
    return text;
}
}

TEST_F(FileIo, OneTransferMovesWhatThereIs)
{
    ASSERT_TRUE(m_writeEnd.writeOnce("hello", 5, m_count, false));
    EXPECT_EQ(m_count, 5u);
    ASSERT_TRUE(m_readEnd.readFixedSize(m_buffer, 4, true));
    ASSERT_TRUE(m_readEnd.readOnce(m_buffer + 4, sizeof(m_buffer) - 4, m_count, false));
    EXPECT_EQ(m_count, 1u);
    EXPECT_STREQ(m_buffer, "hello");
    EXPECT_TRUE(m_writeEnd.writeOnce(nullptr, 0, m_count, false));
    EXPECT_EQ(m_writeEnd.writeOnce(nullptr, 5, m_count, false), codeOfErrno(EFAULT));
    EXPECT_EQ(m_count, 0u);
    m_writeEnd.close();
    EXPECT_TRUE(m_readEnd.readOnce(m_buffer, 1, m_count, false));
    EXPECT_EQ(m_count, 0u);
    EXPECT_EQ(m_readEnd.readFixedSize(m_buffer, 1, true), XCODE_FAILURE) << "the input ends first";
    EXPECT_EQ(m_writeEnd.writef("x"), XCODE_FAILURE);
    EXPECT_EQ(ZKFile().readOnce(m_buffer, 1, m_count, false), codeOfErrno(EBADF));
}

TEST_F(FileIo, ReadToEofTellsEndFromNothingYetAndFromAFullBuffer)
{
    ASSERT_TRUE(m_readEnd.setBlocking(false));
    EXPECT_EQ(m_readEnd.readToEof(m_buffer, 8, m_count, m_eof, true), codeOfErrno(EAGAIN));
    EXPECT_TRUE(m_count == 0 && !m_eof);
    fill("abc");
    EXPECT_TRUE(m_readEnd.readToEof(m_buffer, 8, m_count, m_eof, true));
    EXPECT_TRUE(m_count == 3 && !m_eof);
    fill("abcdefghij");
    EXPECT_TRUE(m_readEnd.readToEof(m_buffer, 8, m_count, m_eof, true));
    EXPECT_TRUE(m_count == 8 && !m_eof);
    m_writeEnd.close();
    EXPECT_TRUE(m_readEnd.readToEof(m_buffer, 8, m_count, m_eof, true));
    EXPECT_TRUE(m_count == 2 && m_eof);
    EXPECT_EQ(m_readEnd.readToEof(m_buffer, 8, m_count, m_eof, true), codeOfErrno(ECONNRESET));
    EXPECT_TRUE(m_count == 0 && m_eof);
}

TEST_F(FileIo, ReadReplacesTheTargetByAllThatComes)
{
    String const pattern = patternOf(1023 * 3 + 5);
    fill(pattern.c_str());
    m_writeEnd.close();
    String text("old");
    EXPECT_TRUE(m_readEnd.read(text, m_eof, true));
    EXPECT_EQ(text, pattern);
    EXPECT_TRUE(m_eof);
    EXPECT_EQ(m_readEnd.read(text, m_eof, true), codeOfErrno(ECONNRESET));
    EXPECT_TRUE(text.isEmpty() && m_eof);

    ASSERT_TRUE(ZKFile::CREATE_PIPE(m_readEnd, m_writeEnd, true));
    ASSERT_TRUE(m_readEnd.setBlocking(false));
    TString<unsigned char> bytes(reinterpret_cast<unsigned char const*>("old"), 3);
    EXPECT_EQ(m_readEnd.read(bytes, m_eof, true), codeOfErrno(EAGAIN));
    EXPECT_TRUE(bytes.isEmpty() && !m_eof);
    ASSERT_TRUE(m_writeEnd.writeFixedSizeBlocking("a\0b", 3, true));
    EXPECT_TRUE(m_readEnd.read(bytes, m_eof, true));
    EXPECT_TRUE(bytes.length() == 3 && bytes[1] == 0 && !m_eof);
}

TEST_F(FileIo, FullPipeIsWrittenAsIfItBlocked)
{
    ASSERT_TRUE(m_writeEnd.setBlocking(false));
    String const pattern = patternOf(300000);
    String received;
    std::thread reader([&] { m_readEnd.read(received, m_eof, true); });
    EXPECT_TRUE(m_writeEnd.write(pattern, true));
    m_writeEnd.close();
    reader.join();
    EXPECT_TRUE(received == pattern);

    std::signal(SIGPIPE, SIG_IGN);
    ASSERT_TRUE(ZKFile::CREATE_PIPE(m_readEnd, m_writeEnd, true));
    m_readEnd.close();
    EXPECT_EQ(m_writeEnd.write("x", true), codeOfErrno(EPIPE));
}

TEST_F(FileIo, InterruptsEndACallOnlyWithoutTheFlag)
{
    static std::atomic<int> interrupts{0};
    struct sigaction action = {};
    action.sa_handler = [](int) { interrupts++; };
    struct sigaction previous;
    ::sigaction(SIGUSR1, &action, &previous);
    for (bool const retry : {false, true})
    {
        interrupts = 0;
        std::atomic<bool> done{false};
        XCode code;
        std::thread reader(
            [&]
            {
                code = m_readEnd.readOnce(m_buffer, 1, m_count, retry);
                done = true;
            });
        // again and again: the first ones may come before the reader is in its call
        while (!done && (!retry || interrupts < 20))
        {
            ::pthread_kill(reader.native_handle(), SIGUSR1);
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        EXPECT_EQ(done, !retry);
        if (retry)
            fill("x");
        reader.join();
        EXPECT_EQ(code, retry ? XCode() : codeOfErrno(EINTR));
        EXPECT_EQ(m_count, retry ? 1u : 0u);
    }
    ::sigaction(SIGUSR1, &previous, nullptr);
}

TEST(FileContent, WholeFilesAreWrittenAndReadBack)
{
    TemporaryDirectory const directory;
    String const path = directory / "file";
    TString<unsigned char> const data(reinterpret_cast<unsigned char const*>("a\0b"), 3);
    TString<unsigned char> back;
    EXPECT_EQ(ZKFile::READ_TSTRING(path, back, O_RDONLY, true), codeOfErrno(ENOENT));
    ASSERT_TRUE(ZKFile::WRITE_TSTRING(path, TString<unsigned char>(data) += data, 0, true));
    ASSERT_TRUE(ZKFile::WRITE_TSTRING(path, data, 0, true));
    ASSERT_TRUE(ZKFile::READ_TSTRING(path, back, O_RDONLY, true));
    EXPECT_TRUE(back.length() == 3 && std::memcmp(back.data(), data.data(), 3) == 0) << "what was there is cut off";
}

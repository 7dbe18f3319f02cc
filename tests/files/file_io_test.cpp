#include "zekovar/files/file.h"

#include "tests/string_printer.h"
#include "zekovar/foundation/system_code.h"
#include "zekovar/foundation/tstring.h"

#include <gtest/gtest.h>

#include <csignal>
#include <fcntl.h>
#include <thread>

using ZK::Detail::codeOfErrno;

namespace
{
class FileIo : public testing::Test
{
protected:
    void SetUp() override { ASSERT_TRUE(ZKFile::CREATE_PIPE(m_readEnd, m_writeEnd, true)); }

    XCode readToEof() { return m_readEnd.readToEof(m_buffer, 8, m_count, m_eof, true); }

    bool got(unsigned int count, bool eof) const { return m_count == count && m_eof == eof; }

    ZKFile m_readEnd;
    ZKFile m_writeEnd;
    char m_buffer[16] = {};
    unsigned int m_count = 99;
    bool m_eof = false;
};
}

TEST_F(FileIo, OneTransferMovesWhatThereIs)
{
    ASSERT_TRUE(m_writeEnd.writeOnce("hello", 5, m_count, false));
    ASSERT_TRUE(m_readEnd.readFixedSize(m_buffer, 4, true));
    ASSERT_TRUE(m_readEnd.readOnce(m_buffer + 4, sizeof(m_buffer) - 4, m_count, false));
    EXPECT_EQ(m_count, 1u);
    EXPECT_STREQ(m_buffer, "hello");
    EXPECT_EQ(m_writeEnd.writeOnce(nullptr, 5, m_count, false), codeOfErrno(EFAULT));
    EXPECT_EQ(m_count, 0u);
    m_writeEnd.close();
    EXPECT_TRUE(m_readEnd.readOnce(m_buffer, 1, m_count, false) && m_count == 0);
    EXPECT_EQ(m_readEnd.readFixedSize(m_buffer, 1, true), XCODE_FAILURE) << "the input ends first";
    EXPECT_EQ(m_writeEnd.writef("x"), XCODE_FAILURE);
}

TEST_F(FileIo, ReadToEofTellsEndFromNothingYetAndFromAFullBuffer)
{
    ASSERT_TRUE(m_readEnd.setBlocking(false));
    EXPECT_TRUE(readToEof() == codeOfErrno(EAGAIN) && got(0, false));
    ASSERT_TRUE(m_writeEnd.write("abc", true));
    EXPECT_TRUE(readToEof() && got(3, false));
    ASSERT_TRUE(m_writeEnd.write("abcdefghij", true));
    m_writeEnd.close();
    EXPECT_TRUE(readToEof() && got(8, false));
    EXPECT_TRUE(readToEof() && got(2, true));
    EXPECT_TRUE(readToEof() == codeOfErrno(ECONNRESET) && got(0, true));
}

TEST_F(FileIo, ReadReplacesTheTargetByAllThatComes)
{
    String const pattern = String::repeat("0123456789a", 300);
    ASSERT_TRUE(m_writeEnd.write(pattern, true));
    ASSERT_TRUE(m_readEnd.setBlocking(false));
    String text("old");
    EXPECT_TRUE(m_readEnd.read(text, m_eof, true) && !m_eof);
    EXPECT_EQ(text, pattern);

    TString<unsigned char> bytes(reinterpret_cast<unsigned char const*>("old"), 3);
    EXPECT_EQ(m_readEnd.read(bytes, m_eof, true), codeOfErrno(EAGAIN));
    EXPECT_TRUE(bytes.isEmpty() && !m_eof);
    m_writeEnd.close();
    EXPECT_EQ(m_readEnd.read(text, m_eof, true), codeOfErrno(ECONNRESET));
    EXPECT_TRUE(text.isEmpty() && m_eof);
}

TEST_F(FileIo, FullPipeIsWrittenAsIfItBlocked)
{
    ASSERT_TRUE(m_writeEnd.setBlocking(false));
    String const pattern = String::repeat("0123456789a", 27000);
    String received;
    std::thread reader([&] { m_readEnd.read(received, m_eof, true); });
    EXPECT_TRUE(m_writeEnd.write(pattern, true));
    m_writeEnd.close();
    reader.join();
    EXPECT_TRUE(received == pattern);
}

TEST_F(FileIo, InterruptsEndACallOnlyWithoutTheFlag)
{
    static std::atomic<int> interrupts;
    struct sigaction action = {};
    action.sa_handler = [](int) { interrupts++; };
    ::sigaction(SIGUSR1, &action, nullptr);
    for (bool const retry : {false, true})
    {
        interrupts = 0;
        std::atomic<bool> done{false};
        XCode code;
        std::thread reader([&] { code = m_readEnd.readOnce(m_buffer, 1, m_count, retry), done = true; });
        // again and again: the first ones may come before the reader is in its call
        while (!done && (!retry || interrupts < 20))
        {
            ::pthread_kill(reader.native_handle(), SIGUSR1);
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        EXPECT_EQ(done, !retry);
        if (retry)
            m_writeEnd.write("x", true);
        reader.join();
        EXPECT_EQ(code, retry ? XCode() : codeOfErrno(EINTR));
    }
}

#include "zekovar/files/file.h"
#include "zekovar/foundation/system_code.h"
#include "zekovar/foundation/tstring.h"
#include "zekovar/threads/thread.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <unistd.h>

using ZK::Detail::codeOfErrno;
using ZK::Detail::codeOfResult;

namespace
{
constexpr unsigned int BLOCK_SIZE = 1023;
constexpr int POLL_MILLISECONDS = 1;

bool isErrno(XCode const& code, int error)
{
    return code == codeOfErrno(error);
}

/// One transfer by `transfer`, which returns what `read` and `write` do.
template <class Transfer>
XCode transferOnce(Transfer transfer, unsigned int& count, bool retryOnInterrupt)
{
    ssize_t result = 0;
    XCode code;
    do
    {
        result = transfer();
        code = result < 0 ? codeOfResult(-1) : XCode();
    } while (retryOnInterrupt && isErrno(code, EINTR));
    count = result > 0 ? static_cast<unsigned int>(result) : 0;
    return code;
}

/// Has `append` add the blocks that `file` gives to the empty `target`.
template <class Target, class Append>
XCode readBlocks(ZKFile const& file, Target& target, bool& eof, bool retryOnInterrupt, Append append)
{
    char block[BLOCK_SIZE + 1];
    int length = 0;
    XCode code;
    for (;;)
    {
        unsigned int count = 0;
        code = file.readToEof(block, BLOCK_SIZE, count, eof, retryOnInterrupt);
        if (code.isErr() || count == 0)
            break;
        append(block, static_cast<int>(count));
        length += static_cast<int>(count);
        if (target.length() != length)
            return codeOfErrno(ENOMEM);
    }
    return length > 0 ? XCode() : code;
}
}

XCode ZKFile::readOnce(void* buffer, unsigned int size, unsigned int& count, bool retryOnInterrupt) const
{
    return transferOnce([&] { return ::read(getFd(), buffer, size); }, count, retryOnInterrupt);
}

XCode ZKFile::writeOnce(void const* data, unsigned int size, unsigned int& count, bool retryOnInterrupt) const
{
    return transferOnce([&] { return ::write(getFd(), data, size); }, count, retryOnInterrupt);
}

XCode ZKFile::readFixedSize(void* buffer, unsigned int size, bool retryOnInterrupt) const
{
    char* target = static_cast<char*>(buffer);
    while (size > 0)
    {
        unsigned int count = 0;
        XCode const code = readOnce(target, size, count, retryOnInterrupt);
        if (code.isErr())
            return code;
        if (count == 0)
            return XCODE_FAILURE;
        target += count;
        size -= count;
    }
    return XCODE_SUCCESS;
}

XCode ZKFile::readToEof(void* buffer, unsigned int size, unsigned int& count, bool& eof, bool retryOnInterrupt) const
{
    XCode code;
    count = 0;
    while (count < size)
    {
        unsigned int added = 0;
        code = readOnce(static_cast<char*>(buffer) + count, size - count, added, retryOnInterrupt);
        if (added == 0)
            break;
        count += added;
    }
    if (count == size)
    {
        eof = false;
        return XCODE_SUCCESS;
    }
    eof = !isErrno(code, EAGAIN);
    if (count > 0)
        return XCODE_SUCCESS;
    return code.isErr() ? code : codeOfErrno(ECONNRESET);
}

XCode ZKFile::flush() const
{
    return codeOfResult(::fsync(getFd()));
}

XCode ZKFile::writeFixedSizeBlocking(void const* data, unsigned int size, bool retryOnInterrupt) const
{
    char const* source = static_cast<char const*>(data);
    while (size > 0)
    {
        unsigned int count = 0;
        XCode code = writeOnce(source, size, count, retryOnInterrupt);
        while (isErrno(code, EAGAIN))
        {
            ZKThread::SLEEP(POLL_MILLISECONDS);
            code = writeOnce(source, size, count, retryOnInterrupt);
        }
        if (code.isErr())
            return code;
        if (count == 0)
            return XCODE_FAILURE;
        source += count;
        size -= count;
    }
    return XCODE_SUCCESS;
}

XCode ZKFile::read(String& target, bool& eof, bool retryOnInterrupt) const
{
    target = "";
    return readBlocks(*this, target, eof, retryOnInterrupt,
                      [&](char const* block, int size) { target.concat(block, size); });
}

template <class T>
XCode ZKFile::read(TString<T>& target, bool& eof, bool retryOnInterrupt) const
{
    target.setLength(0);
    return readBlocks(*this, target, eof, retryOnInterrupt,
                      [&](char const* block, int size)
                      { target.insert(target.length(), reinterpret_cast<T const*>(block), size); });
}

XCode ZKFile::write(String const& text, bool retryOnInterrupt) const
{
    return writeFixedSizeBlocking(text.c_str(), static_cast<unsigned int>(text.length()), retryOnInterrupt);
}

XCode ZKFile::writef(char const* format, ...) const
{
    if (!isOpen())
        return XCODE_FAILURE;
    char* text = nullptr;
    std::va_list arguments;
    va_start(arguments, format);
    int const length = format != nullptr ? ::vasprintf(&text, format, arguments) : -1;
    va_end(arguments);
    if (length < 0)
        return XCODE_FAILURE;
    XCode const code = writeFixedSizeBlocking(text, static_cast<unsigned int>(length), true);
    std::free(text);
    return code;
}

template <class T>
XCode ZKFile::READ_TSTRING(String const& path, TString<T>& target, int flags, bool retryOnInterrupt)
{
    ZKFile file(path, true, false);
    XCode const code = file.open(flags, 0644, XO_NONE);
    if (code.isErr())
        return code;
    bool eof = false;
    return file.read(target, eof, retryOnInterrupt);
}

template <class T>
XCode ZKFile::WRITE_TSTRING(String const& path, TString<T> const& data, int flags, bool retryOnInterrupt)
{
    ZKFile file(path, true, false);
    XCode const code = file.open(flags | O_WRONLY | O_CREAT | O_TRUNC, 0644, XO_CREATE_DIRS);
    if (code.isErr())
        return code;
    return file.writeFixedSizeBlocking(data.data(), static_cast<unsigned int>(data.length()), retryOnInterrupt);
}

template XCode ZKFile::read(TString<char>&, bool&, bool) const;
template XCode ZKFile::read(TString<unsigned char>&, bool&, bool) const;
template XCode ZKFile::READ_TSTRING(String const&, TString<char>&, int, bool);
template XCode ZKFile::READ_TSTRING(String const&, TString<unsigned char>&, int, bool);
template XCode ZKFile::WRITE_TSTRING(String const&, TString<char> const&, int, bool);
template XCode ZKFile::WRITE_TSTRING(String const&, TString<unsigned char> const&, int, bool);

#include "zekovar/crypto/sum_helper.h"

#include "zekovar/files/file.h"

#include <algorithm>
#include <fcntl.h>

namespace
{
constexpr unsigned int CHUNK_SIZE = 16384; // bytes read at once

/// Makes `result` the digits of the digest that `hash` holds, which is of at most 20 bytes.
void write(HashContext& hash, String& result)
{
    unsigned char digest[20];
    unsigned int const size = hash.getCompleteHashLength();
    hash.getHash(digest);
    result = "";
    for (unsigned int i = 0; i < size; ++i)
        result.concatf("%02hhx", digest[i]);
}

XCode sumOf(HashContext& hash, unsigned char const* data, unsigned int length, String& result)
{
    hash.initialize(hash.getCompleteHashLength());
    hash.hash(data, length);
    write(hash, result);
    return XCODE_SUCCESS;
}

/// Reads the file instead of mapping it: whoever cut a mapped file short would end this process by SIGBUS, and a large
/// one has no place in 32 bits of addresses. What couldn't be mapped fails all the same.
XCode sumOfFile(HashContext& hash, String const& path, String& result)
{
    result = "";
    ZKFile file(path, true, false);
    // without waiting for the other end of a fifo
    if (XCode code = file.open(O_RDONLY | O_NONBLOCK, 0, ZKFile::XO_NONE); code.isErr())
        return code;
    long long left = file.isRegular() ? file.getSize() : 0;
    if (left <= 0)
        return XCODE_FAILURE;

    hash.initialize(hash.getCompleteHashLength());
    unsigned char chunk[CHUNK_SIZE];
    while (left > 0)
    {
        auto const wanted = static_cast<unsigned int>(std::min<long long>(left, CHUNK_SIZE));
        if (XCode code = file.readFixedSize(chunk, wanted, true); code.isErr())
            return code;
        hash.hash(chunk, wanted);
        left -= wanted;
    }
    write(hash, result);
    return XCODE_SUCCESS;
}
}

XCode MD5SumHelper::calculate(unsigned char const* data, unsigned int length)
{
    return sumOf(m_hash, data, length, m_result);
}

XCode MD5SumHelper::calculate(String const& path)
{
    return sumOfFile(m_hash, path, m_result);
}

XCode Sha1SumHelper::calculate(unsigned char const* data, unsigned int length)
{
    return sumOf(m_hash, data, length, m_result);
}

XCode Sha1SumHelper::calculate(String const& path)
{
    return sumOfFile(m_hash, path, m_result);
}

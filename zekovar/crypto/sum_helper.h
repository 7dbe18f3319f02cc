#pragma once

#include "zekovar/crypto/md5.h"
#include "zekovar/crypto/sha1.h"
#include "zekovar/foundation/string.h"

/// The MD5 of a buffer or a file as text, like that of the command `md5sum`.
///
///     MD5SumHelper sum;
///     if (sum.calculate("/flash/image.bin")) compare(sum.getResult());
class MD5SumHelper
{
public:
    /// Of `length` bytes.
    XCode calculate(unsigned char const* data, unsigned int length);

    /// Of a file of any size, which this call reads. A file that can't be opened gives the code of `errno`; what has no
    /// content, such as an empty file, a directory or a fifo, and one that shrinks meanwhile, the general failure.
    XCode calculate(String const& path);

    /// 32 lower-case hexadecimal digits; empty before the first calculation and after one that failed.
    String const& getResult() const { return m_result; }

private:
    Md5HashContext m_hash;
    String m_result;
};

/// As `MD5SumHelper` for SHA-1, with 40 digits.
class Sha1SumHelper
{
public:
    XCode calculate(unsigned char const* data, unsigned int length);
    XCode calculate(String const& path);

    String const& getResult() const { return m_result; }

private:
    Sha1HashContext m_hash;
    String m_result;
};

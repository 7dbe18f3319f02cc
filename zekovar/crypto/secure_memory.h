#pragma once

#include <cstddef>
#include <new>
#include <string.h> // explicit_bzero

namespace ZK::Detail
{
/// Overwrites `size` bytes with zeros, also where nobody reads them again: the compiler may not drop it. Null is fine
/// with size 0.
inline void wipeSecret(void* memory, std::size_t size)
{
    if (size > 0)
        explicit_bzero(memory, size);
}

/// Whether two areas hold the same bytes, in a time that depends on `size` only and not on where they differ.
inline bool equalSecrets(void const* left, void const* right, std::size_t size)
{
    auto const* const a = static_cast<unsigned char const volatile*>(left);
    auto const* const b = static_cast<unsigned char const volatile*>(right);
    unsigned int difference = 0;
    for (std::size_t i = 0; i < size; ++i)
        difference |= static_cast<unsigned int>(a[i]) ^ b[i];
    return difference == 0;
}

/// Heap memory for a secret: `size` zeros at first, wiped before it is freed. It doesn't grow, so no copy of the secret
/// stays behind. It is empty if memory is out.
///
///     SecretBytes plain(length + 1);
///     memcpy(plain.data(), password.c_str(), length);
class SecretBytes
{
public:
    explicit SecretBytes(std::size_t size)
        : m_data(new (std::nothrow) unsigned char[size]()), m_size(m_data != nullptr ? size : 0)
    {
    }

    ~SecretBytes()
    {
        wipeSecret(m_data, m_size);
        delete[] m_data;
    }

    SecretBytes(SecretBytes const&) = delete;
    SecretBytes& operator=(SecretBytes const&) = delete;

    std::size_t size() const { return m_size; }

    unsigned char* data() { return m_data; }

    unsigned char const* data() const { return m_data; }

private:
    unsigned char* const m_data;
    std::size_t const m_size;
};
}

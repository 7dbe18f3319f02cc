#include "zekovar/crypto/encryption.h"

#include "zekovar/crypto/secure_memory.h"

#include <cstring>

namespace
{
void addBlock(unsigned char* target, unsigned char const* source, unsigned int size)
{
    for (unsigned int i = 0; i < size; ++i)
        target[i] ^= source[i];
}
}

EncryptionContext::~EncryptionContext()
{
    EncryptionContext::destroy();
}

XCode EncryptionContext::initialize(CryptoDirection direction, CryptoMode mode, unsigned int, unsigned char const*,
                                    unsigned int ivLength)
{
    EncryptionContext::destroy();
    m_direction = direction;
    m_mode = mode;
    m_blockSize = ivLength;
    m_current = 0;
    for (auto& vector : m_vectors)
        vector = std::make_unique<unsigned char[]>(ivLength);
    return XCODE_SUCCESS;
}

void EncryptionContext::destroy()
{
    m_mode = {};
    for (auto& vector : m_vectors)
    {
        if (vector)
            ZK::Detail::wipeSecret(vector.get(), m_blockSize);
        vector.reset();
    }
}

void EncryptionContext::setInitializationVector(unsigned char const* vector)
{
    if (!m_vectors[0])
        return;
    std::memcpy(m_vectors[0].get(), vector, m_blockSize);
    m_current = 0;
}

void EncryptionContext::getInitializationVector(unsigned char* vector)
{
    if (m_vectors[m_current])
        std::memcpy(vector, m_vectors[m_current].get(), m_blockSize);
}

void EncryptionContext::encrypt(unsigned char* data, unsigned int blocks)
{
    for (unsigned char* block = data; blocks > 0; --blocks, block += m_blockSize)
    {
        switch (m_mode)
        {
        case CryptoMode::ECB:
            encryptBlock(block);
            break;
        case CryptoMode::CBC:
            addBlock(block, m_vectors[0].get(), m_blockSize);
            encryptBlock(block);
            std::memcpy(m_vectors[0].get(), block, m_blockSize);
            break;
        default:
            std::memset(data, 0, m_blockSize);
            return;
        }
    }
}

void EncryptionContext::decrypt(unsigned char* data, unsigned int blocks)
{
    for (unsigned char* block = data; blocks > 0; --blocks, block += m_blockSize)
    {
        unsigned int const next = 1 - m_current;
        switch (m_mode)
        {
        case CryptoMode::ECB:
            decryptBlock(block);
            break;
        case CryptoMode::CBC:
            std::memcpy(m_vectors[next].get(), block, m_blockSize);
            decryptBlock(block);
            addBlock(block, m_vectors[m_current].get(), m_blockSize);
            m_current = next;
            break;
        default:
            std::memset(data, 0, m_blockSize);
            return;
        }
    }
}

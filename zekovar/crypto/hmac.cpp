#include "zekovar/crypto/hmac.h"

#include "zekovar/crypto/secure_memory.h"

#include <algorithm>
#include <cstring>

HmacContext::HmacContext(HashContext* hash) : m_hash(hash), m_innerPad(), m_outerPad(), m_returnedLength(0)
{
}

HmacContext::~HmacContext()
{
    ZK::Detail::wipeSecret(m_innerPad, sizeof(m_innerPad));
    ZK::Detail::wipeSecret(m_outerPad, sizeof(m_outerPad));
}

XCode HmacContext::initialize(unsigned char const* key, unsigned int keyLength, unsigned int returnedLength)
{
    m_returnedLength = returnedLength;
    std::memset(m_innerPad, 0, sizeof(m_innerPad));
    if (m_hash->getCompleteHashLength() > PAD_SIZE)
        return XCODE_FAILURE;
    if (keyLength > PAD_SIZE)
    {
        if (XCode code = m_hash->initialize(0); code.isErr())
            return code;
        m_hash->hash(key, keyLength);
        m_hash->getHash(m_innerPad);
    }
    else if (keyLength > 0)
        std::memcpy(m_innerPad, key, keyLength);

    for (unsigned int i = 0; i < PAD_SIZE; ++i)
    {
        m_outerPad[i] = m_innerPad[i] ^ 0x5C;
        m_innerPad[i] ^= 0x36;
    }
    return reset();
}

void HmacContext::destroy()
{
    ZK::Detail::wipeSecret(m_innerPad, sizeof(m_innerPad));
    ZK::Detail::wipeSecret(m_outerPad, sizeof(m_outerPad));
    m_hash->destroy();
}

XCode HmacContext::reset()
{
    XCode code = m_hash->initialize(0);
    if (code)
        m_hash->hash(m_innerPad, sizeof(m_innerPad));
    return code;
}

void HmacContext::hash(unsigned char const* data, unsigned int length)
{
    m_hash->hash(data, length);
}

void HmacContext::getHash(unsigned char* digest)
{
    unsigned char inner[PAD_SIZE];
    m_hash->getHash(inner);
    m_hash->initialize(m_returnedLength);
    m_hash->hash(m_outerPad, sizeof(m_outerPad));
    m_hash->hash(inner, m_hash->getCompleteHashLength());
    m_hash->getHash(digest);
    ZK::Detail::wipeSecret(inner, sizeof(inner));
}

unsigned int HmacContext::getCompleteHashLength() const
{
    return m_hash->getCompleteHashLength();
}

unsigned int HmacContext::getReturnedHashLength() const
{
    unsigned int const complete = m_hash->getCompleteHashLength();
    return m_returnedLength == 0 ? complete : std::min(m_returnedLength, complete);
}

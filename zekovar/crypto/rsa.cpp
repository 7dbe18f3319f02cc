#include "zekovar/crypto/rsa.h"

#include "zekovar/crypto/byte_order.h"
#include "zekovar/crypto/secure_memory.h"
#include "zekovar/foundation/string.h"

#include <algorithm>
#include <climits>
#include <new>

using ZK::Detail::SecretBytes;

namespace
{
constexpr unsigned int BYTE_BITS = 8;
constexpr unsigned int WORD_BYTES = 4;
constexpr unsigned int WORD_BITS = 32;
constexpr unsigned int PRIME_ROUNDS = 50;
constexpr unsigned char TOP_BIT = 0x80;

/// Draws that may be refused in a row. Sane functions aren't refused a tenth as often.
constexpr int MAX_DRAWS = 1000;

/// Takes words of `random` until the bytes are full. The last word ends where they end. False, with no word taken, for
/// less than a word.
bool fillRandom(SecretBytes& bytes, unsigned int (*random)())
{
    if (bytes.size() < WORD_BYTES)
        return false;
    for (std::size_t offset = 0; offset < bytes.size(); offset += WORD_BYTES)
        ZK::Detail::storeBig32(bytes.data() + std::min(offset, bytes.size() - WORD_BYTES), random());
    return true;
}

/// The product of two numbers that fits into their own width. False if it doesn't.
bool multiplyNarrow(BigInteger& out, BigInteger const& a, BigInteger const& b)
{
    BigInteger product(2 * a.getBits());
    SecretBytes bytes(product.getBits() / BYTE_BITS);
    auto count = static_cast<unsigned int>(bytes.size());
    unsigned int const half = count / 2;
    return BigInteger::multiply(&product, &a, &b) && product.getValue(bytes.data(), &count) &&
           std::all_of(bytes.data(), bytes.data() + half, [](unsigned char byte) { return byte == 0; }) &&
           out.setValue(bytes.data() + half, half);
}

/// Sets `exponent` to a random number, its top bit cleared, that has an inverse modulo `phi`.
bool drawPublicExponent(BigInteger& exponent, BigInteger const& phi, unsigned int (*random)())
{
    BigInteger divisor(phi.getBits());
    SecretBytes bytes(phi.getBits() / BYTE_BITS);
    for (int draws = 0; draws < MAX_DRAWS; ++draws)
    {
        if (!fillRandom(bytes, random))
            return false;
        bytes.data()[0] &= static_cast<unsigned char>(~TOP_BIT);
        if (!exponent.setValue(bytes.data(), static_cast<unsigned int>(bytes.size())) ||
            !BigInteger::gcd(&divisor, &exponent, &phi))
            return false;
        if (divisor == 1)
            return true;
    }
    return false;
}

/// A number of `bits` bits; none if that is no width or memory is out.
std::unique_ptr<BigInteger> makeNumber(unsigned int bits)
{
    std::unique_ptr<BigInteger> number(new (std::nothrow) BigInteger(bits));
    if (number && number->getBits() == 0)
        number.reset();
    return number;
}

/// As above, holding `bytes`; none also if they don't fit.
std::unique_ptr<BigInteger> numberOf(unsigned int bits, unsigned char const* bytes)
{
    std::unique_ptr<BigInteger> number = makeNumber(bits);
    if (number && !number->setValue(bytes, bits / BYTE_BITS))
        number.reset();
    return number;
}

bool isWritable(std::unique_ptr<BigInteger> const& number, unsigned char const* target)
{
    return target == nullptr || number != nullptr;
}

void write(std::unique_ptr<BigInteger> const& number, unsigned char* target)
{
    unsigned int room = UINT_MAX;
    if (target != nullptr)
        number->getValue(target, &room);
}
}

XCode RSAEncryptionContext::buildKeys(unsigned int bits, unsigned int (*random)())
{
    destroy();
    XCode code = makeKeys(bits, random);
    if (code.isErr())
        destroy();
    return code;
}

XCode RSAEncryptionContext::makeKeys(unsigned int bits, unsigned int (*random)())
{
    unsigned int const primeBytes = bits / BYTE_BITS / 2;
    if (random == nullptr || 2 * primeBytes > bits / WORD_BITS * WORD_BYTES || bits > UINT_MAX / 2)
        return XCODE_FAILURE;
    m_modulus = makeNumber(bits);
    m_privateExponent = makeNumber(bits);
    m_publicExponent = makeNumber(bits);
    BigInteger p(bits), q(bits), phi(bits);
    if (!m_modulus || !m_privateExponent || !m_publicExponent)
        return XCODE_FAILURE;
    for (BigInteger* prime : {&p, &q})
    {
        if (XCode code = generatePrime(prime, primeBytes, random); code.isErr())
            return code;
    }
    if (p == q || !multiplyNarrow(*m_modulus, p, q))
        return XCODE_FAILURE;
    p -= 1;
    q -= 1;
    return testExpression(multiplyNarrow(phi, p, q) && drawPublicExponent(*m_publicExponent, phi, random) &&
                          BigInteger::invMod(m_privateExponent.get(), m_publicExponent.get(), &phi));
}

XCode RSAEncryptionContext::setKeys(unsigned int bits, unsigned char const* modulus,
                                    unsigned char const* publicExponent, unsigned char const* privateExponent)
{
    destroy();
    if (modulus == nullptr)
        return XCODE_FAILURE;
    m_modulus = numberOf(bits, modulus);
    bool complete = m_modulus != nullptr;
    if (publicExponent != nullptr)
    {
        m_publicExponent = numberOf(bits, publicExponent);
        complete = complete && m_publicExponent;
    }
    if (privateExponent != nullptr)
    {
        m_privateExponent = numberOf(bits, privateExponent);
        complete = complete && m_privateExponent;
    }
    if (!complete)
        destroy();
    return testExpression(complete);
}

XCode RSAEncryptionContext::getKeys(unsigned char* modulus, unsigned char* publicExponent,
                                    unsigned char* privateExponent) const
{
    if (!isWritable(m_modulus, modulus) || !isWritable(m_publicExponent, publicExponent) ||
        !isWritable(m_privateExponent, privateExponent))
        return XCODE_FAILURE;
    write(m_modulus, modulus);
    write(m_publicExponent, publicExponent);
    write(m_privateExponent, privateExponent);
    return XCODE_SUCCESS;
}

XCode RSAEncryptionContext::crypt(unsigned char* data, unsigned int* length, RSAKeyType keyType)
{
    if (data == nullptr || length == nullptr)
        return XCODE_FAILURE;
    BigInteger const* const exponent = keyType == RSAKeyType::PUBLIC    ? m_publicExponent.get()
                                       : keyType == RSAKeyType::PRIVATE ? m_privateExponent.get()
                                                                        : nullptr;
    BigInteger number(getModulusLength());
    unsigned int size = number.getBits() / BYTE_BITS;
    bool const done = size > 0 && number.setValue(data, *length) && number < *m_modulus &&
                      BigInteger::expMod(&number, &number, exponent, m_modulus.get()) && number.getValue(data, &size);
    if (!done)
    {
        std::fill_n(data, *length, 0);
        return XCODE_FAILURE;
    }
    *length = size;
    return XCODE_SUCCESS;
}

XCode RSAEncryptionContext::getDecryptedString(unsigned char const* block, unsigned int length, String& out) const
{
    if (block == nullptr || length < 2 || length != getModulusLength() / BYTE_BITS || block[0] != 0 || block[1] != 1)
        return XCODE_FAILURE;
    unsigned char const* const end = block + length;
    unsigned char const* const zero = std::find(block + 2, end, 0);
    if (zero == end)
        return XCODE_FAILURE;
    auto const size = static_cast<int>(end - zero - 1);
    out = String(reinterpret_cast<char const*>(zero) + 1, size, 0, size);
    return XCODE_SUCCESS;
}

XCode RSAEncryptionContext::generatePrime(BigInteger* out, unsigned int bytes, unsigned int (*random)())
{
    if (out == nullptr || random == nullptr || bytes < WORD_BYTES || bytes > out->getBits() / BYTE_BITS)
        return XCODE_FAILURE;
    SecretBytes start(bytes);
    SecretBytes found(out->getBits() / BYTE_BITS);
    for (int draws = 0; draws < MAX_DRAWS; ++draws)
    {
        if (!fillRandom(start, random))
            return XCODE_FAILURE;
        start.data()[0] |= 0xC0;
        auto size = static_cast<unsigned int>(found.size());
        if (!out->setValue(start.data(), bytes) || !out->incrementToNextPrime(PRIME_ROUNDS, random) ||
            !out->getValue(found.data(), &size))
            return XCODE_FAILURE;
        // a search beyond the top has left little in these bytes
        if ((found.data()[size - bytes] & TOP_BIT) != 0)
            return XCODE_SUCCESS;
    }
    return XCODE_FAILURE;
}

XCode RSAEncryptionContext::test(unsigned int (*random)())
{
    XCode code = buildKeys(64, random);
    if (code.isErr())
        return code;
    SecretBytes start(8), block(8);
    auto length = static_cast<unsigned int>(block.size());
    if (!fillRandom(start, random) || block.size() != start.size())
        return XCODE_FAILURE;
    start.data()[0] &= static_cast<unsigned char>(~TOP_BIT);
    std::copy_n(start.data(), start.size(), block.data());
    code = crypt(block.data(), &length, RSAKeyType::PUBLIC);
    if (code)
        code = crypt(block.data(), &length, RSAKeyType::PRIVATE);
    if (code)
        code = testExpression(ZK::Detail::equalSecrets(start.data(), block.data(), block.size()));
    return code;
}

void RSAEncryptionContext::destroy()
{
    m_modulus.reset();
    m_privateExponent.reset();
    m_publicExponent.reset();
}

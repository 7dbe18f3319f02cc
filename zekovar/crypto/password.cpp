#include "zekovar/crypto/password.h"

#include "zekovar/crypto/crc32.h"
#include "zekovar/crypto/des.h"
#include "zekovar/crypto/secure_memory.h"
#include "zekovar/foundation/base64.h"
#include "zekovar/foundation/string.h"

#include <cstring>

namespace
{
constexpr unsigned int BLOCK_SIZE = 8;
constexpr unsigned int KEY_SIZE = 24;

// The enciphered record: a byte with the length of the password, two with the low half of its CRC in the machine's byte
// order, the password, and zeros up to a whole block.
constexpr unsigned int CRC_OFFSET = 1;
constexpr unsigned int PASSWORD_OFFSET = 3;

/// A key of triple DES and behind it an initialization vector, drawn at random once and for all devices. They keep a
/// password from being read by chance and protect it from nobody who has this library. Other values would make every
/// password that is stored by now unreadable.
constexpr unsigned char CIPHER_SECRET[KEY_SIZE + BLOCK_SIZE] = {
    0x3a, 0x68, 0xff, 0xab, 0x21, 0x49, 0x17, 0x3b, 0xcd, 0xc1, 0x20, 0x8a, 0xbb, 0x7e, 0xef, 0x9a,
    0x4f, 0xd8, 0x41, 0x6d, 0x01, 0x30, 0xa9, 0xf8, 0x58, 0xce, 0x09, 0x6f, 0x9a, 0x92, 0x9c, 0xe9};

XCode initialize(TripleDESEncryptionContext& cipher, CryptoDirection direction)
{
    XCode code = cipher.initialize(direction, CryptoMode::CBC, KEY_SIZE, CIPHER_SECRET, BLOCK_SIZE);
    if (code)
        cipher.setInitializationVector(CIPHER_SECRET + KEY_SIZE);
    return code;
}

uint16_t checkOf(char const* password, unsigned int length)
{
    return static_cast<uint16_t>(Crc32().addBuff(password, length));
}
}

XCode encryptPassword(String const& password, String& out)
{
    auto const length = static_cast<unsigned int>(password.length());
    unsigned int const blocks = (length + PASSWORD_OFFSET + BLOCK_SIZE - 1) / BLOCK_SIZE;
    ZK::Detail::SecretBytes record(blocks * BLOCK_SIZE);
    if (record.size() == 0)
        return XCODE_FAILURE;
    uint16_t const check = checkOf(password.c_str(), length);
    record.data()[0] = static_cast<unsigned char>(length);
    std::memcpy(record.data() + CRC_OFFSET, &check, sizeof(check));
    std::memcpy(record.data() + PASSWORD_OFFSET, password.c_str(), length);

    TripleDESEncryptionContext cipher;
    if (XCode code = initialize(cipher, CryptoDirection::ENCRYPT); code.isErr())
        return code;
    cipher.encrypt(record.data(), blocks);
    return Base64::encode(record.data(), blocks * BLOCK_SIZE, 0, out);
}

XCode decryptPassword(String const& stored, String& out)
{
    // decoding makes less than there are characters, so there is room for a zero behind the password
    ZK::Detail::SecretBytes record(static_cast<unsigned int>(stored.length()));
    auto size = static_cast<unsigned int>(record.size());
    if (XCode code = Base64::decode(stored, record.data(), size); code.isErr())
        return code;
    if (size % BLOCK_SIZE != 0)
        return XCODE_FAILURE;

    TripleDESEncryptionContext cipher;
    if (XCode code = initialize(cipher, CryptoDirection::DECRYPT); code.isErr())
        return code;
    cipher.decrypt(record.data(), size / BLOCK_SIZE);
    if (size < PASSWORD_OFFSET || size < PASSWORD_OFFSET + record.data()[0])
        return XCODE_FAILURE;

    char* const password = reinterpret_cast<char*>(record.data()) + PASSWORD_OFFSET;
    unsigned int const length = record.data()[0];
    uint16_t const check = checkOf(password, length);
    if (ZK::Detail::equalSecrets(record.data() + CRC_OFFSET, &check, sizeof(check)))
    {
        password[length] = '\0';
        out = password;
    }
    return XCODE_SUCCESS;
}

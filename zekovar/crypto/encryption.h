#pragma once

#include "zekovar/foundation/xcode.h"

#include <memory>

enum class CryptoDirection : unsigned int
{
    ENCRYPT = 1,
    DECRYPT = 2
};

enum class CryptoMode : unsigned int
{
    ECB = 1, ///< each block on its own
    CBC = 2  ///< each block chained to the one in front of it, the first to an initialization vector
};

/// A block cipher, with the modes of operation (FIPS 81) that this class makes of its two block operations.
///
///     TripleDESEncryptionContext cipher;
///     XCode code = cipher.initialize(CryptoDirection::ENCRYPT, CryptoMode::CBC, 24, key, 8);
///     cipher.setInitializationVector(vector);
///     if (code) cipher.encrypt(data, size / 8);
///
/// Data is given in whole blocks and worked on in place; there is no padding. A chain stays in the object, so data may
/// come in pieces. A context belongs to one thread at a time.
class EncryptionContext
{
public:
    EncryptionContext() = default;
    virtual ~EncryptionContext();

    EncryptionContext(EncryptionContext const&) = delete;
    EncryptionContext& operator=(EncryptionContext const&) = delete;

    /// Stores direction and mode, and makes initialization vectors of `ivLength` bytes, which is the block size, all
    /// zeros. A cipher takes its key in here; it isn't needed afterwards. What the context held before is wiped.
    virtual XCode initialize(CryptoDirection direction, CryptoMode mode, unsigned int keyLength,
                             unsigned char const* key, unsigned int ivLength);

    /// Wipes what key and data left behind. The context has no mode then.
    virtual void destroy();

    /// Takes one block, which the first block is chained to. Nothing happens on a context that isn't initialized.
    virtual void setInitializationVector(unsigned char const* vector);

    /// Writes the block that the next one will be chained to. Nothing happens on a context that isn't initialized.
    virtual void getInitializationVector(unsigned char* vector);

    /// Works on a test vector of the standard in this context, whose key and mode are lost. The general failure if the
    /// result is another.
    virtual XCode test() = 0;

    /// One block in place, without the mode, on a context whose key was taken for this direction.
    virtual void encryptBlock(unsigned char* block) = 0;
    virtual void decryptBlock(unsigned char* block) = 0;

    /// Works on `blocks` blocks, not bytes, of a context whose key was taken for this direction. Without a mode the
    /// first block becomes zeros and the others stay: plain data doesn't leave as if it were enciphered.
    void encrypt(unsigned char* data, unsigned int blocks);
    void decrypt(unsigned char* data, unsigned int blocks);

protected:
    /// For a cipher of one block size, in bytes: `encrypt` and `decrypt` need it for the zeros before, and instead of, the
    /// first `initialize` that succeeds.
    explicit EncryptionContext(unsigned int blockSize) : m_blockSize(blockSize) {}

private:
    CryptoDirection m_direction{};
    CryptoMode m_mode{};
    unsigned int m_blockSize = 0; // bytes
    std::unique_ptr<unsigned char[]> m_vectors[2];
    unsigned int m_current = 0; // index of the vector that the next block is chained to
};

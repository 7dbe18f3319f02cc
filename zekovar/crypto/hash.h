#pragma once

#include "zekovar/foundation/xcode.h"

/// A digest of data that comes in pieces of any size. No lock: a context belongs to one thread at a time.
///
///     Sha1HashContext hash;
///     hash.initialize(0);
///     hash.hash(head, headSize);
///     hash.hash(body, bodySize);
///     unsigned char digest[20];
///     hash.getHash(digest);       // to go on, initialize again
class HashContext
{
public:
    virtual ~HashContext() = default;

    /// Starts a digest, whatever came before. `returnedLength` is in bytes; 0, and more than the digest has, mean all
    /// of it.
    virtual XCode initialize(unsigned int returnedLength) = 0;

    /// Wipes what the data left behind. The context must be initialized before it takes data again.
    virtual void destroy() = 0;

    /// Adds `length` bytes; `data` may be null if there are none.
    virtual void hash(unsigned char const* data, unsigned int length) = 0;

    /// Bytes that `getHash` writes.
    virtual unsigned int getReturnedHashLength() const = 0;

    /// Finishes the digest, writes the first `getReturnedHashLength()` bytes of it, and calls `destroy`.
    virtual void getHash(unsigned char* digest) = 0;

    /// Bytes that `getCompleteHash` writes.
    virtual unsigned int getCompleteHashLength() const = 0;

    /// Finishes the digest, writes all of it, and calls `destroy`.
    virtual void getCompleteHash(unsigned char* digest) = 0;

    /// Hashes a test vector of the standard with this context; what it held is lost.
    virtual XCode test() = 0;
};

/// A digest of data and a secret key, which tells its receiver that the data comes from who knows the key. Used as a
/// `HashContext`.
class AuthenticationContext
{
public:
    virtual ~AuthenticationContext() = default;

    /// Takes the key, of any length in bytes, and starts a digest. A `returnedLength` of 0, or of more bytes than the
    /// digest has, means all of it. `key` may be null if `keyLength` is 0; it isn't needed afterwards.
    virtual XCode initialize(unsigned char const* key, unsigned int keyLength, unsigned int returnedLength) = 0;

    /// Wipes what key and data left behind. The context must be initialized before it takes data again.
    virtual void destroy() = 0;

    /// Starts another digest with the same key.
    virtual XCode reset() = 0;

    /// Adds `length` bytes; `data` may be null if there are none.
    virtual void hash(unsigned char const* data, unsigned int length) = 0;

    /// Finishes the digest and writes the first `getReturnedHashLength()` bytes of it. The next one starts with
    /// `reset`.
    virtual void getHash(unsigned char* digest) = 0;

    /// Bytes of a digest that isn't cut.
    virtual unsigned int getCompleteHashLength() const = 0;

    /// Bytes that `getHash` writes.
    virtual unsigned int getReturnedHashLength() const = 0;
};

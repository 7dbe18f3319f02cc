#pragma once

#include "zekovar/foundation/tstring.h"
#include "zekovar/foundation/xcode.h"

#include <atomic>
#include <cstdint>

/// Packs values into a buffer of bytes and takes them out again in the same order.
///
/// The packed form has no type tags and the machine's byte order, so it stays within one machine:
///
/// | Packed                       | Bytes                                                                  |
/// | ---------------------------- | ---------------------------------------------------------------------- |
/// | `int`                        | the 4 bytes of the value                                               |
/// | `void const*, unsigned int`  | a 32-bit length, then that many bytes                                  |
/// | `String`                     | a 32-bit length, then the characters, without a zero behind them       |
/// | `XCode`                      | the 32-bit value, then its text as a `String`, empty if there is none  |
///
/// Copies share one counted buffer until one of them changes, and reading changes too: it consumes. Copies may be used
/// on different threads, one marshaller on one thread at a time. Reading is safe on any bytes: what isn't there is a
/// failure. Memory that runs out while packing throws, as it does in `TString`.
///
///     ZKMarshaller message;
///     message.marshal(7);
///     message.marshal(String("text"));
///     ...
///     if (message.unmarshal(number) && message.unmarshal(text)) handle(number, text);
class ZKMarshaller
{
public:
    class Buffer;

    /// Most bytes that a marshaller holds.
    static constexpr unsigned int LONGEST = 0x20000000;

    /// Shares the empty buffer and allocates nothing until something is packed.
    ZKMarshaller();

    /// With room for at least `capacity` bytes.
    explicit ZKMarshaller(unsigned int capacity);

    ZKMarshaller(ZKMarshaller const& other);
    ZKMarshaller& operator=(ZKMarshaller const& other);
    ~ZKMarshaller();

    /// Bytes that are still packed.
    unsigned int getLength() const;

    /// The packed bytes, `getLength()` of them; valid until the marshaller changes.
    unsigned char const* getData() const;

    /// Drops everything that is packed; fails only as `copyOnWrite` does.
    XCode clear();

    /// Makes the buffer this marshaller's own. `XCODE_FAILURE`, with the buffer still shared, if memory is out.
    XCode copyOnWrite();

    /// Packs `size` bytes with their length; they may lie in this marshaller. `XCODE_FAILURE`, with nothing packed, if
    /// the total would pass `LONGEST` or `data` is null for a size above 0.
    XCode marshal(void const* data, unsigned int size);

    /// Takes out what the form above packed. `XCODE_FAILURE` if it isn't of exactly `size` bytes: the length is
    /// consumed then and the bytes stay, so the rest can't be told apart any more. Null drops the bytes.
    XCode unmarshal(void* target, unsigned int size);

    /// Packs an `int`, a `String` or an `XCode`; fails as the form with bytes does.
    template <class T>
    XCode marshal(T const& value) = delete;

    /// Takes out an `int`, a `String` or an `XCode`. `XCODE_FAILURE`, with `value` unchanged, if the bytes aren't
    /// there: a length in front may be consumed then. An empty text leaves a `String` unchanged, too; an `XCode` always
    /// gets a record, even for an empty text.
    template <class T>
    XCode unmarshal(T& value) = delete;

private:
    XCode packBlock(void const* data, unsigned int size);
    XCode unpack(void* target, unsigned int size);

    Buffer* m_buffer;
};

/// The bytes behind marshallers, with a count of those who share them.
///
/// Taking bytes off the front leaves a gap there, which is what makes it cheap and what a new header goes into. A
/// holder with a count above 1 only reads.
class ZKMarshaller::Buffer
{
public:
    /// Counts start at 1.
    Buffer();

    /// With room for at least `capacity` bytes.
    explicit Buffer(unsigned int capacity);

    /// A copy of the bytes, with the same capacity and the same gap in front of them, and a count of 1.
    Buffer(Buffer const& other);
    Buffer& operator=(Buffer const&) = delete;

    /// The buffer of all marshallers that hold nothing; it holds a reference to itself, so nobody writes to it.
    static Buffer& EMPTY();

    void addRef() { m_refCount.fetch_add(1, std::memory_order_relaxed); }

    /// The last release deletes the buffer, so it came from `new`.
    void release();

    uint32_t getRefCount() const { return m_refCount.load(std::memory_order_acquire); }

    /// A copy for the caller to release; null if memory is out.
    Buffer* clone() const;

    /// Bytes allocated, the gap in front included.
    unsigned int getCapacity() const { return static_cast<unsigned int>(m_data.capacity()); }

    unsigned int getLength() const { return static_cast<unsigned int>(m_data.length()); }

    /// Valid until the buffer changes.
    unsigned char const* getData() const { return m_data.data(); }

    /// Keeps the memory.
    void clear() { m_data.setLength(0); }

    /// @name Change at the ends
    /// `data` may lie in this buffer. `XCODE_FAILURE`, with nothing changed, if the total would pass
    /// `LONGEST` or `data` is null, and if fewer bytes are there than are to be removed. What is removed goes to `target`
    /// unless that is null.
    /// @{
    XCode addTail(void const* data, unsigned int size);
    XCode addHeader(void const* data, unsigned int size);
    XCode removeTail(void* target, unsigned int size);

    XCode removeTail(unsigned int size) { return removeTail(nullptr, size); }

    XCode removeHeader(void* target, unsigned int size);

    XCode removeHeader(unsigned int size) { return removeHeader(nullptr, size); }

    /// @}

private:
    bool canTake(void const* data, unsigned int size) const;

    std::atomic<uint32_t> m_refCount;
    TString<unsigned char> m_data;
};

template <>
XCode ZKMarshaller::marshal(int const& value);
template <>
XCode ZKMarshaller::marshal(String const& value);
template <>
XCode ZKMarshaller::marshal(XCode const& value);
template <>
XCode ZKMarshaller::unmarshal(int& value);
template <>
XCode ZKMarshaller::unmarshal(String& value);
template <>
XCode ZKMarshaller::unmarshal(XCode& value);

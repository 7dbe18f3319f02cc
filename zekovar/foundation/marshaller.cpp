#include "zekovar/foundation/marshaller.h"

#include "zekovar/foundation/string.h"
#include "zekovar/foundation/system_code.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <utility>

namespace
{
using Bytes = TString<unsigned char>;

/// Elements that a `TString` allocates beyond what its constructor is asked for.
constexpr int ROUNDING = 24;
}

ZKMarshaller::Buffer::Buffer() : m_refCount(1)
{
}

ZKMarshaller::Buffer::Buffer(unsigned int capacity)
    : m_refCount(1), m_data(nullptr, 0, static_cast<int>(std::min(capacity, LONGEST)), 0)
{
}

ZKMarshaller::Buffer::Buffer(Buffer const& other)
    : m_refCount(1), m_data(nullptr, 0, other.m_data.capacity() - ROUNDING, 0)
{
    m_data.setLength(other.m_data.frontGap() + other.m_data.length());
    m_data.deleteRegion(0, other.m_data.frontGap(), true);
    std::memcpy(m_data.data(), other.m_data.data(), other.getLength());
}

ZKMarshaller::Buffer& ZKMarshaller::Buffer::EMPTY()
{
    static Buffer* const s_empty = new Buffer; // never destroyed: threads use it while the process exits
    return *s_empty;
}

void ZKMarshaller::Buffer::release()
{
    // the others' reads come before the delete
    if (m_refCount.fetch_sub(1, std::memory_order_acq_rel) == 1)
        delete this;
}

ZKMarshaller::Buffer* ZKMarshaller::Buffer::clone() const
try
{
    return new Buffer(*this);
}

catch (std::bad_alloc const&)
{
    return nullptr;
}

/// Grows by half, so that packing many values takes linear time, and never shrinks. A gap that outweighs the content is
/// dropped: a buffer that is filled behind and emptied in front would grow without end otherwise.
XCode ZKMarshaller::Buffer::addTail(void const* data, unsigned int size)
{
    if (!canTake(data, size))
        return XCODE_FAILURE;
    auto const* const bytes = static_cast<unsigned char const*>(data);
    int const count = static_cast<int>(size);
    int const needed = m_data.length() + count;
    if (needed <= m_data.capacity() - m_data.frontGap())
    {
        m_data.insert(m_data.length(), bytes, count);
        return XCODE_SUCCESS;
    }

    int const gap = m_data.frontGap() <= m_data.length() ? m_data.frontGap() : 0;
    int const room = std::max(gap + needed + needed / 2, m_data.capacity() - ROUNDING);
    Bytes grown(m_data.data(), m_data.length(), room, gap);
    grown.insert(grown.length(), bytes, count); // the bytes may lie in the old memory, which is still there
    m_data = std::move(grown);
    return XCODE_SUCCESS;
}

XCode ZKMarshaller::Buffer::addHeader(void const* data, unsigned int size)
{
    if (!canTake(data, size))
        return XCODE_FAILURE;
    unsigned int const wanted = getLength() + size;
    m_data.insert(0, static_cast<unsigned char const*>(data), static_cast<int>(size));
    return testExpression(getLength() == wanted);
}

XCode ZKMarshaller::Buffer::removeTail(void* target, unsigned int size)
{
    if (size > getLength())
        return XCODE_FAILURE;
    unsigned int const rest = getLength() - size;
    if (target != nullptr && size > 0)
        std::memcpy(target, getData() + rest, size);
    m_data.setLength(static_cast<int>(rest));
    return XCODE_SUCCESS;
}

XCode ZKMarshaller::Buffer::removeHeader(void* target, unsigned int size)
{
    if (size > getLength())
        return XCODE_FAILURE;
    if (target != nullptr && size > 0)
        std::memcpy(target, getData(), size);
    m_data.deleteRegion(0, static_cast<int>(size), true);
    return XCODE_SUCCESS;
}

bool ZKMarshaller::Buffer::canTake(void const* data, unsigned int size) const
{
    return (data != nullptr || size == 0) && size <= LONGEST && getLength() <= LONGEST - size;
}

ZKMarshaller::ZKMarshaller() : m_buffer(&Buffer::EMPTY())
{
    m_buffer->addRef();
}

ZKMarshaller::ZKMarshaller(unsigned int capacity) : m_buffer(new Buffer(capacity))
{
}

ZKMarshaller::ZKMarshaller(ZKMarshaller const& other) : m_buffer(other.m_buffer)
{
    m_buffer->addRef();
}

ZKMarshaller& ZKMarshaller::operator=(ZKMarshaller const& other)
{
    other.m_buffer->addRef();
    m_buffer->release();
    m_buffer = other.m_buffer;
    return *this;
}

ZKMarshaller::~ZKMarshaller()
{
    m_buffer->release();
}

unsigned int ZKMarshaller::getLength() const
{
    return m_buffer->getLength();
}

unsigned char const* ZKMarshaller::getData() const
{
    return m_buffer->getData();
}

XCode ZKMarshaller::clear()
{
    XCode code = copyOnWrite();
    if (code)
        m_buffer->clear();
    return code;
}

XCode ZKMarshaller::copyOnWrite()
{
    if (m_buffer->getRefCount() == 1)
        return XCODE_SUCCESS;
    Buffer* const own = m_buffer->clone();
    if (own == nullptr)
        return XCODE_FAILURE;
    m_buffer->release();
    m_buffer = own;
    return XCODE_SUCCESS;
}

XCode ZKMarshaller::marshal(void const* data, unsigned int size)
{
    auto const offset = reinterpret_cast<uintptr_t>(data) - reinterpret_cast<uintptr_t>(getData());
    if (data != nullptr && offset < getLength())
    {
        ZKMarshaller const kept(*this); // holds the bytes in place while they are packed into a copy of the buffer
        return packBlock(data, size);
    }
    return packBlock(data, size);
}

XCode ZKMarshaller::packBlock(void const* data, unsigned int size)
{
    uint32_t const length = size;
    XCode code = copyOnWrite();
    if (!code)
        return code;
    code = m_buffer->addTail(&length, sizeof length);
    if (!code)
        return code;
    code = m_buffer->addTail(data, size);
    if (!code)
        m_buffer->removeTail(sizeof length);
    return code;
}

XCode ZKMarshaller::unmarshal(void* target, unsigned int size)
{
    uint32_t length = 0;
    XCode const code = unpack(&length, sizeof length);
    if (!code || length != size)
        return XCODE_FAILURE;
    return m_buffer->removeHeader(target, size);
}

XCode ZKMarshaller::unpack(void* target, unsigned int size)
{
    XCode code = copyOnWrite();
    return code ? m_buffer->removeHeader(target, size) : code;
}

template <>
XCode ZKMarshaller::marshal(int const& value)
{
    XCode code = copyOnWrite();
    return code ? m_buffer->addTail(&value, sizeof value) : code;
}

template <>
XCode ZKMarshaller::marshal(String const& value)
{
    return packBlock(value.c_str(), static_cast<unsigned int>(value.length()));
}

template <>
XCode ZKMarshaller::marshal(XCode const& value)
{
    int const number = static_cast<int>(value.getRawValue());
    XCode code = marshal(number);
    if (!code)
        return code;
    code = marshal(ZK::Detail::attachedText(value));
    if (!code)
        m_buffer->removeTail(sizeof number);
    return code;
}

template <>
XCode ZKMarshaller::unmarshal(int& value)
{
    return unpack(&value, sizeof value);
}

template <>
XCode ZKMarshaller::unmarshal(String& value)
{
    int32_t length = 0;
    XCode const code = unpack(&length, sizeof length);
    if (!code || length <= 0)
        return code;
    if (static_cast<unsigned int>(length) > getLength() || !value.native_alloc(length))
        return XCODE_FAILURE;
    return m_buffer->removeHeader(value.data(), static_cast<unsigned int>(length));
}

template <>
XCode ZKMarshaller::unmarshal(XCode& value)
{
    uint32_t number = 0;
    String text;
    if (!unpack(&number, sizeof number) || !unmarshal(text))
        return XCODE_FAILURE;
    XCode result;
    result.value() = static_cast<XCodeValue>(number); // all 32 bits, which only a record keeps
    result.setString(text);
    value = std::move(result);
    return XCODE_SUCCESS;
}

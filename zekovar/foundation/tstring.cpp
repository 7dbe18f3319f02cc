#include "zekovar/foundation/tstring.h"

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstring>
#include <utility>

namespace
{

constexpr int GROWTH_STEP = 32;
constexpr int LONGEST = INT_MAX - GROWTH_STEP; // elements with the gap for which the allocation can still be counted

int capacityFor(int needed)
{
    return ((needed + 8) & -GROWTH_STEP) + 24;
}

}

template <class T>
TString<T>::TString() : TString(nullptr, 0)
{
}

template <class T>
TString<T>::TString(T const* data, int length) : TString(data, length, 0, 0)
{
}

template <class T>
TString<T>::TString(T const* data, int length, int minimumCapacity, int frontGap)
    : m_length(data != nullptr ? std::max(length, 0) : 0),
      m_capacity(0),
      m_frontGap(std::max(frontGap, 0)),
      m_pBuffer(nullptr)
{
    if (m_length > LONGEST - m_frontGap || minimumCapacity > LONGEST)
        m_length = m_frontGap = minimumCapacity = 0;
    m_capacity = capacityFor(std::max(m_length + m_frontGap, minimumCapacity));
    m_pBuffer = new T[static_cast<std::size_t>(m_capacity)];
    if (data != nullptr && m_length > 0)
        std::memcpy(this->data(), data, static_cast<std::size_t>(m_length));
}

template <class T>
TString<T>::TString(TString const& other) : TString(other.data(), other.m_length)
{
}

template <class T>
TString<T>::TString(TString&& other) noexcept
    : m_length(std::exchange(other.m_length, 0)),
      m_capacity(std::exchange(other.m_capacity, 0)),
      m_frontGap(std::exchange(other.m_frontGap, 0)),
      m_pBuffer(std::exchange(other.m_pBuffer, nullptr))
{
}

template <class T>
TString<T>::~TString()
{
    delete[] m_pBuffer;
}

template <class T>
TString<T>& TString<T>::operator=(TString const& other)
{
    if (this == &other)
        return *this;
    if (other.m_length > m_capacity)
        return *this = TString(other);
    if (other.m_length > m_capacity - m_frontGap)
        m_frontGap = 0;
    m_length = other.m_length;
    if (m_length > 0)
        std::memcpy(data(), other.data(), static_cast<std::size_t>(m_length));
    return *this;
}

template <class T>
TString<T>& TString<T>::operator=(TString&& other) noexcept
{
    std::swap(m_length, other.m_length);
    std::swap(m_capacity, other.m_capacity);
    std::swap(m_frontGap, other.m_frontGap);
    std::swap(m_pBuffer, other.m_pBuffer);
    return *this;
}

template <class T>
TString<T>& TString<T>::reserve(int length)
{
    if (length <= m_capacity - m_frontGap || length > LONGEST - m_frontGap)
        return *this;
    int const capacity = capacityFor(m_frontGap + length);
    T* const grown = new T[static_cast<std::size_t>(capacity)];
    if (m_length > 0)
        std::memcpy(grown + m_frontGap, data(), static_cast<std::size_t>(m_length));
    delete[] m_pBuffer;
    m_pBuffer = grown;
    m_capacity = capacity;
    return *this;
}

template <class T>
TString<T>& TString<T>::setLength(int length)
{
    reserve(length);
    if (length <= m_capacity - m_frontGap)
        m_length = std::max(length, 0);
    return *this;
}

template <class T>
TString<T>& TString<T>::insert(int index, T const* data, int count)
{
    if (data == nullptr || count < 1 || index < 0 || index > m_length)
        return *this;
    if (index == 0 && m_frontGap >= count)
    {
        std::memmove(this->data() - count, data, static_cast<std::size_t>(count));
        m_frontGap -= count;
        m_length += count;
        return *this;
    }
    if (count > LONGEST - m_frontGap - m_length)
        return *this;

    auto const offset = reinterpret_cast<std::uintptr_t>(data) - reinterpret_cast<std::uintptr_t>(this->data());
    if (offset < static_cast<std::uintptr_t>(m_length))
    {
        TString const copy(data, count); // the elements lie in this buffer, and are about to move
        return insert(index, copy.data(), count);
    }
    reserve(m_length + count);
    T* const target = this->data() + index;
    std::memmove(target + count, target, static_cast<std::size_t>(m_length - index));
    std::memcpy(target, data, static_cast<std::size_t>(count));
    m_length += count;
    return *this;
}

template <class T>
TString<T>& TString<T>::deleteRegion(int start, int end, bool keepFrontGap)
{
    start = std::max(start, 0);
    end = std::min(end, m_length);
    if (start >= end)
        return *this;
    if (start == 0 && keepFrontGap)
        m_frontGap += end;
    else
        std::memmove(data() + start, data() + end, static_cast<std::size_t>(m_length - end));
    m_length -= end - start;
    return *this;
}

template <class T>
T TString<T>::operator[](int index) const
{
    return m_length > 0 ? data()[std::clamp(index, 0, m_length - 1)] : T();
}

template class TString<char>;
template class TString<unsigned char>;

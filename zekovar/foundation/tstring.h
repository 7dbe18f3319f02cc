#pragma once

/// A buffer of bytes, `T` being `char` or `unsigned char`, which may be zero; no zero stands behind them. It keeps a
/// gap of unused elements in front of the first one, so that a header is put in front, or taken off, without moving the
/// payload. Copying copies; like `String` it has no lock.
///
/// Memory comes from `new[]`, and what that throws leaves the operation with the buffer as it was. A length that an
/// `int` can't count is refused: the operation does nothing.
///
///     TString<unsigned char> frame(payload, size, 0, sizeof(Header));
///     frame.insert(0, headerBytes, sizeof(Header));       // goes into the gap
///     frame.deleteRegion(0, sizeof(Header), true);        // gives it back
template <class T>
class TString
{
public:
    /// Empty, with room for 24 elements.
    TString();

    /// Copies `length` elements; null data or a length below 1 gives an empty buffer.
    TString(T const* data, int length);

    /// As above, with `frontGap` unused elements in front and room for at least `minimumCapacity` elements, the gap
    /// included.
    TString(T const* data, int length, int minimumCapacity, int frontGap);

    /// Copies the elements, without the gap and the spare room.
    TString(TString const& other);

    /// `other` becomes empty and holds no memory.
    TString(TString&& other) noexcept;

    virtual ~TString();

    /// Keeps the memory if the elements fit, and the gap if they fit behind it.
    TString& operator=(TString const& other);

    /// Swaps: `other` holds the old elements afterwards.
    TString& operator=(TString&& other) noexcept;

    int length() const { return m_length; }

    bool isEmpty() const { return m_length == 0; }

    /// Elements allocated, the front gap included.
    int capacity() const { return m_capacity; }

    int frontGap() const { return m_frontGap; }

    /// The first element; valid until the buffer changes. Null, or the end of the memory, in an empty buffer.
    T* data() { return m_pBuffer + m_frontGap; }

    T const* data() const { return m_pBuffer + m_frontGap; }

    /// Makes room for at least `length` elements behind the gap.
    TString& reserve(int length);

    /// Sets the number of elements; those added hold anything. Below 0 counts as 0.
    TString& setLength(int length);

    /// Inserts in front of `index`, 0 to the length, `count` elements, which may lie in this buffer. Null data, a count
    /// below 1 and another index change nothing.
    TString& insert(int index, T const* data, int count);

    /// Removes the elements from `start` to before `end`, both clamped to the buffer. With `keepFrontGap` a removal at
    /// the front costs nothing: the gap grows by it. Appending doesn't use the gap; `insert` at 0 does.
    TString& deleteRegion(int start, int end, bool keepFrontGap);

    TString& operator+=(TString const& other) { return insert(m_length, other.data(), other.m_length); }

    TString& operator+=(T element)
    {
        if (m_length >= m_capacity - m_frontGap)
            return insert(m_length, &element, 1);
        data()[m_length++] = element;
        return *this;
    }

    /// The element at `index`; below 0 the first one, past the end the last one; 0 in an empty buffer.
    T operator[](int index) const;

private:
    int m_length;
    int m_capacity;
    int m_frontGap;
    T* m_pBuffer;
};

extern template class TString<char>;
extern template class TString<unsigned char>;

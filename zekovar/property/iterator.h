#pragma once

#include "zekovar/foundation/string.h"

#include <memory>

namespace ZK::Property
{
class Value;

/// What an iterator stands at. `key` is never null: an element of an array has the empty one. At the end `value` leads
/// to `invalid()`, which nobody may write to.
template <class V>
struct BasicItem
{
    unsigned int index;
    String const* key;
    V* value;
};

using Item = BasicItem<Value>;
using ConstItem = BasicItem<Value const>;

/// Walks one kind of value. An iterator is a place in its container, not an element: it stays safe to use when the
/// container changes, and what lies behind the last element counts as the end.
class IteratorIf
{
public:
    virtual ~IteratorIf() = default;

    virtual std::unique_ptr<IteratorIf> clone() const = 0;

    /// Whether both stand at the same place of the same container.
    virtual bool isEqual(IteratorIf const& other) const = 0;

    virtual void initBegin(Value* container) = 0;
    virtual void initEnd(Value* container) = 0;

    /// Does nothing at the end.
    virtual void increment() = 0;

    /// Does nothing at the first element.
    virtual void decrement() = 0;

    virtual Value* getContainer() const = 0;
    virtual Item getCurrent() const = 0;
};

/// A place that is a number; the base of the three kinds.
class PlaceIterator : public IteratorIf
{
public:
    bool isEqual(IteratorIf const& other) const override;
    void initBegin(Value* container) override;
    void initEnd(Value* container) override;
    void increment() override;
    void decrement() override;
    Value* getContainer() const override;

protected:
    /// Number of places of the container at this moment.
    virtual unsigned int count() const = 0;

    Value* m_container = nullptr;
    unsigned int m_place = 0;
};

class ArrayIterator : public PlaceIterator
{
public:
    std::unique_ptr<IteratorIf> clone() const override;
    Item getCurrent() const override;

protected:
    unsigned int count() const override;
};

/// Members come in the order of insertion.
class ObjectIterator : public PlaceIterator
{
public:
    std::unique_ptr<IteratorIf> clone() const override;
    Item getCurrent() const override;

protected:
    unsigned int count() const override;
};

/// Presents a value that is no container as one of a single element.
class PrimitiveIterator : public PlaceIterator
{
public:
    std::unique_ptr<IteratorIf> clone() const override;
    Item getCurrent() const override;

protected:
    unsigned int count() const override;
};

/// Stands at an element of a value for reading. One that was made by default holds nothing and reads as the end; all
/// such are equal.
class ConstIterator
{
public:
    ConstIterator() = default;

    /// Owns `iterator`.
    explicit ConstIterator(std::unique_ptr<IteratorIf> iterator) : m_iterator(std::move(iterator)) {}

    ConstIterator(ConstIterator const& other);
    ConstIterator(ConstIterator&& other) noexcept = default;
    ConstIterator& operator=(ConstIterator const& other);
    ConstIterator& operator=(ConstIterator&& other) noexcept = default;
    ~ConstIterator() = default;

    ConstIterator& operator++();
    ConstIterator operator++(int);
    ConstIterator& operator--();
    ConstIterator operator--(int);

    ConstItem operator*() const;

    friend bool operator==(ConstIterator const& left, ConstIterator const& right) { return left.isEqual(right); }

protected:
    bool isEqual(ConstIterator const& other) const;

    std::unique_ptr<IteratorIf> m_iterator; // null in one made by default
};

/// As `ConstIterator`, for writing. Reading through it makes its container the only user of its store.
class Iterator : public ConstIterator
{
public:
    using ConstIterator::ConstIterator;

    Iterator& operator++();
    Iterator operator++(int);
    Iterator& operator--();
    Iterator operator--(int);

    Item operator*() const;
};
}

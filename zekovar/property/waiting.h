#pragma once

#include "zekovar/foundation/vector.h"
#include "zekovar/property/value.h"

#include <memory>

namespace ZK::Property
{
/// The pending children of one value: what its subscripts handed out and nobody has assigned to yet.
///
/// Each child leads here and not to the value itself, so it finds its parent after the parent was moved. A child that is
/// assigned to while its parent can't take it any more (it has become something else) stays here, alone, so that its
/// reference stays good.
class alignas(16) Value::Waiting
{
public:
    /// Children at one time; the oldest goes for a further one.
    static constexpr unsigned int LARGEST = 16;

    explicit Waiting(Value* parent) : m_parent(parent) {}

    Waiting(Waiting const&) = delete;
    Waiting& operator=(Waiting const&) = delete;
    ~Waiting();

    void setParent(Value* parent) { m_parent = parent; }

    /// The child that waits for this place, made if there is none.
    Value& childAt(unsigned int index);
    Value& childAt(String const& key);

    /// Keeps what the parent has just been, while it changes its type, so that an element of it can still be assigned to
    /// the child that comes: `v["key"] = v[0]`.
    void retire(Value&& old) { m_retired = std::move(old); }

    /// Brings a child, which now has a type, into the parent. This object may be gone afterwards.
    void join(Value& child);

private:
    struct Child
    {
        Value* element; // owned, null if it is a member
        Member* node;   // owned, null if it is an element
        unsigned int index;

        Value& value() const { return element != nullptr ? *element : node->value; }

        void destroy() const
        {
            delete element;
            delete node;
        }
    };

    Value& add(Child const& child);
    void forget(unsigned int place);

    Value* m_parent;
    ZKVector<Child> m_children;
    Value m_retired;
};
}

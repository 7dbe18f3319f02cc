#pragma once

#include "zekovar/foundation/vector.h"
#include "zekovar/property/template_token.h"

namespace ZK::Property::Template
{
/// What one rendering knows: the values that its open sections stand at, the innermost on top, and how much work it may
/// still do.
///
/// The values aren't owned; whoever pushes one pops it again before it goes.
class Context
{
public:
    /// What one rendering may spend. A node, an argument, a pass through a section and a value that is asked for a
    /// name count `STEP`, each byte that is put into a text and each value that `auto` reads counts 1.
    static constexpr unsigned int MAX_WORK = 1u << 28;
    static constexpr unsigned int STEP = 32;

    Context() : m_frames(FRAME_GRAIN) {}

    void push(Value const& value) { m_frames.add(&value); }

    void pop() { m_frames.removeLast(); }

    /// A literal gives its value, the name "this" the top of the stack, another name the member of the topmost object
    /// that has it. An unknown name gives `invalid()`.
    Value const& lookup(ArgToken const& argument);

    /// Counts work; false from the moment on that more than `MAX_WORK` was counted. The rendering ends then: templates
    /// multiply, so a short one with many sections inside each other would keep its thread busy for good.
    bool spend(unsigned int work)
    {
        if (work > m_workLeft)
            m_isExhausted = true;
        else
            m_workLeft -= work;
        return !m_isExhausted;
    }

    bool isExhausted() const { return m_isExhausted; }

private:
    static constexpr unsigned int FRAME_GRAIN = 16;

    ZKVector<Value const*> m_frames;
    unsigned int m_workLeft = MAX_WORK;
    bool m_isExhausted = false;
};
}

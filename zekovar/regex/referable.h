#pragma once

/// Base of compiled patterns, their nodes and what works on them: a count of references for `ZKPtr`.
///
/// The count isn't atomic: an object of this family, and every pointer to it, belongs to one thread at a time.
///
///     ZKPtr<RE_Matcher> any(new RE_AnyCharMatcher()); // the count starts at 0, so the pointer alone owns it
class RE_Referable
{
public:
    virtual void addRef() const { ++m_count; }

    /// Drops a reference; the last one deletes the object.
    virtual void release() const
    {
        if (--m_count == 0)
            delete this;
    }

    virtual ~RE_Referable() = default;

    /// What `ZKPtr` calls on an object with a lock; these objects have none.
    void protectedRelease() const { release(); }

    /// 0 for an object that no pointer owns, one on the stack for instance.
    int getRefCount() const { return m_count; }

protected:
    RE_Referable() = default;

    // References belong to the object, not to its value.
    RE_Referable(RE_Referable const&) {}

    RE_Referable& operator=(RE_Referable const&) { return *this; }

private:
    mutable int m_count = 0;
};

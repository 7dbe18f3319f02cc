#pragma once

#include "zekovar/foundation/xcode.h"

#include <pthread.h>

class ZKThreadAttribute;

/// A slot that holds one attribute for each thread.
///
/// Safe from all threads: each sees its own attribute only. Lives as long as the library, since threads that end use
/// it.
class ZKThreadAttributeType
{
public:
    enum DestructionMode
    {
        DELETE_ATTRIBUTE = 0, ///< the attribute is deleted when its thread ends
        KEEP_ATTRIBUTE = 1    ///< somebody else owns the attribute
    };

    /// The type of attributes that belong to no slot.
    static ZKThreadAttributeType s_none;

    explicit ZKThreadAttributeType(DestructionMode mode);

    ZKThreadAttributeType(ZKThreadAttributeType const&) = delete;
    ZKThreadAttributeType& operator=(ZKThreadAttributeType const&) = delete;

    /// Deletes no attribute.
    ~ZKThreadAttributeType();

    /// Stores the calling thread's attribute, or null; the one before isn't deleted. `XCODE_FAILURE` if there is no
    /// memory or the process has run out of slots: the attribute then still belongs to the caller.
    XCode set(ZKThreadAttribute* attribute) const;

    /// The calling thread's attribute, or null.
    ZKThreadAttribute* get() const
    {
        return m_valid ? static_cast<ZKThreadAttribute*>(pthread_getspecific(m_key)) : nullptr;
    }

    /// Empties the calling thread's slot and deletes the attribute that was in it.
    void clear() const;

    /// Deletes an attribute that isn't null.
    static void DESTROY_ATTRIBUTE(void* attribute);

private:
    pthread_key_t m_key;
    bool m_valid;
};

/// The base of what a `ZKThreadAttributeType` stores for a thread.
class ZKThreadAttribute
{
public:
    explicit ZKThreadAttribute(ZKThreadAttributeType const& type = ZKThreadAttributeType::s_none) : m_type(type) {}

    ZKThreadAttribute(ZKThreadAttribute const&) = delete;
    ZKThreadAttribute& operator=(ZKThreadAttribute const&) = delete;

    virtual ~ZKThreadAttribute() = default;

    ZKThreadAttributeType const& getType() const { return m_type; }

private:
    ZKThreadAttributeType const& m_type;
};

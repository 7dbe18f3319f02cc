#include "zekovar/threads/thread_attribute.h"

ZKThreadAttributeType::ZKThreadAttributeType(DestructionMode mode) : m_key(0)
{
    m_valid = pthread_key_create(&m_key, mode == DELETE_ATTRIBUTE ? DESTROY_ATTRIBUTE : nullptr) == 0;
}

ZKThreadAttributeType::~ZKThreadAttributeType()
{
    if (m_valid)
        pthread_key_delete(m_key);
}

XCode ZKThreadAttributeType::set(ZKThreadAttribute* attribute) const
{
    return testExpression(m_valid && pthread_setspecific(m_key, attribute) == 0);
}

void ZKThreadAttributeType::clear() const
{
    ZKThreadAttribute* const attribute = get();
    set(nullptr);
    delete attribute;
}

void ZKThreadAttributeType::DESTROY_ATTRIBUTE(void* attribute)
{
    delete static_cast<ZKThreadAttribute*>(attribute);
}

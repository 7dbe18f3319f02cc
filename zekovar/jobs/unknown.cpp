#include "zekovar/jobs/unknown.h"

CObject::CObject() : RefCounted(nullptr)
{
}

void CObject::addRef()
{
    RefCounted::addRef();
}

void CObject::release()
{
    RefCounted::release();
}

void CObject::protectedRelease()
{
    RefCounted::protectedRelease();
}

ZKLock* CObject::getLock()
{
    return RefCounted::getLock();
}

XCode CObject::queryInterface(ZK::UUID const& iid, void** result)
{
    if (result != nullptr)
        *result = iid == IID_Unknown() ? static_cast<IUnknown*>(this) : nullptr;
    return XCODE_FAILURE;
}

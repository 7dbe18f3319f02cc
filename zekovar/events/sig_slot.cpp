#include "zekovar/events/sig_slot.h"

namespace ZK::Sig::Detail
{
void SlotAdapter::addRef()
{
    SlotBase::addRef();
    m_slot.addRef();
}

void SlotAdapter::release()
{
    // the adapter goes with the slot's last reference
    SlotBase& slot = m_slot;
    if (tryRelease() && m_disconnectWhenReleased)
        slot.disconnect(true);
    slot.release();
}
}

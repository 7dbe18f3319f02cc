#pragma once

#include "zekovar/foundation/ptr.h"
#include "zekovar/foundation/ref_counted.h"
#include "zekovar/foundation/uuid.h"
#include "zekovar/foundation/xcode.h"

/// Identifiers of interfaces (`IID_`, and `IID()` of the interface itself) and of classes (`CID_`).
///
/// Each refers to a constant record, exists from its first use to the end of the process and is safe from all threads.
/// Nothing in the library creates objects by class identifier.
ZK::UUID const& IID_Unknown();
ZK::UUID const& CID_Unknown();
ZK::UUID const& CID_WeakIdentity();

/// Base of all interfaces: a counted object that is asked at run time which interfaces it offers.
///
/// An interface derives from it, adds pure operations, and names itself:
///
///     class ILamp : public IUnknown
///     {
///     public:
///         static ZK::UUID const& IID();
///         virtual XCode turnOn() = 0;
///     };
class IUnknown : public ZK::RefCountedIf
{
public:
    /// Asks for the interface `iid`. On success `result` holds it together with a reference that the caller releases;
    /// an unknown interface gives `XCODE_FAILURE` and null. A null `result` makes it a mere test, which counts nothing.
    /// Safe from all threads that hold a reference.
    virtual XCode queryInterface(ZK::UUID const& iid, void** result) = 0;

    /// The typed form: releases what `target` holds, and on success `target` holds the interface, else it is null.
    ///
    ///     ZKPtr<ZK::IFutureStream> stream;
    ///     if (future->queryIf(stream)) stream->sendData("yes\n");
    template <class T>
    XCode queryIf(ZKPtr<T>& target)
    {
        ZKPtr<IUnknown> const self(target ? this : nullptr); // the target may hold the last other reference
        target.setObj(nullptr);
        void* object = nullptr;
        XCode code = queryInterface(T::IID(), &object);
        if (code.isSuccess())
            target.setObj(ZK::MovePtr<T>(static_cast<T*>(object)));
        return code;
    }
};

/// The root of all component classes: counts references, needs no lock, and offers no interface by itself.
///
/// Whoever calls `new` owns one reference.
class CObject : public IUnknown, public ZK::RefCounted
{
public:
    CObject();

    void addRef() override;
    void release() override;
    void protectedRelease() override;
    ZKLock* getLock() override;

    /// Always `XCODE_FAILURE`, even where `result` gets this object, uncounted, for `IID_Unknown()`: an object without
    /// interfaces can't be reached by a query.
    XCode queryInterface(ZK::UUID const& iid, void** result) override;
};

/// Puts `Interface` on the class `Self`, which extends `Base`; a chain of them adds interfaces one by one. It also joins
/// the counting operations of both sides, so a pointer to either counts the one object.
///
///     class Lamp : public CInherit<Lamp, CObject, ILamp>
///     {
///     public:
///         XCode turnOn() override;
///     };
///     ZKPtr<ILamp> lamp(ZK::MovePtr<ILamp>(new Lamp()));
template <class Self, class Base, class Interface>
class CInherit : public Base, public Interface
{
public:
    using Base::Base;

    void addRef() override { Base::addRef(); }

    void release() override { Base::release(); }

    void protectedRelease() override { Base::protectedRelease(); }

    ZKLock* getLock() override { return Base::getLock(); }

    /// Interfaces of `Base` answer first, so `IID_Unknown()` gives that of the innermost `CInherit`.
    XCode queryInterface(ZK::UUID const& iid, void** result) override
    {
        if (Base::queryInterface(iid, result).isSuccess())
            return XCODE_SUCCESS;
        if (iid == Interface::IID() || iid == IID_Unknown())
        {
            Interface* const self = this;
            if (result != nullptr)
            {
                self->addRef();
                *result = self;
            }
            return XCODE_SUCCESS;
        }
        if (result != nullptr)
            *result = nullptr;
        return XCODE_FAILURE;
    }
};

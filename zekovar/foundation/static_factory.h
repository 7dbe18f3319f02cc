#pragma once

#include "zekovar/foundation/hash_table.h"
#include "zekovar/foundation/singleton.h"
#include "zekovar/foundation/string.h"

/// Makes objects of one class derived from `Base`; what the manager keeps under a key.
template <class Base>
class ZKStaticFactoryBase
{
public:
    explicit ZKStaticFactoryBase(String const& key) : m_key(key) {}

    ZKStaticFactoryBase(ZKStaticFactoryBase const&) = delete;
    ZKStaticFactoryBase& operator=(ZKStaticFactoryBase const&) = delete;

    virtual ~ZKStaticFactoryBase() = default;

    /// A new object, which is the caller's.
    virtual Base* createInstance() = 0;

    String const& getKey() const { return m_key; }

private:
    String m_key;
};

/// Finds the factories of the classes derived from `Base` by their keys.
///
/// It has no lock: factories come and go while the process loads and exits, and only look-ups run in between, from any
/// thread.
template <class Base>
class ZKStaticFactoryManager : private ZKSingleton<ZKStaticFactoryManager<Base>>
{
public:
    /// A new object from the factory of this key, which is the caller's; null for an unknown key.
    static Base* CREATE_INSTANCE(String const& key)
    {
        ZKStaticFactoryBase<Base>* factory = nullptr;
        return INSTANCE().m_factories.get(key, factory) ? factory->createInstance() : nullptr;
    }

    static void REGISTER_FACTORY(String const& key, ZKStaticFactoryBase<Base>& factory)
    {
        INSTANCE().registerFactory(key, factory);
    }

    /// Removes whatever factory stands under the key.
    static void UNREGISTER_FACTORY(String const& key) { INSTANCE().m_factories.remove(key); }

    /// A key that is taken keeps its factory; the new one is silently dropped. The factory isn't owned.
    void registerFactory(String const& key, ZKStaticFactoryBase<Base>& factory)
    {
        if (!m_factories.contains(key))
            m_factories.add(key, &factory);
    }

private:
    friend class ZKSingleton<ZKStaticFactoryManager>;
    using ZKSingleton<ZKStaticFactoryManager>::INSTANCE;

    ZKStaticFactoryManager() = default;

    ZKStringHashTable<ZKStaticFactoryBase<Base>*> m_factories;
};

/// A static object of this class makes `Derived` known under `key` for as long as it lives.
///
///     ZKStaticFactory<Shape, Circle> const circles("circle");
///     Shape* shape = ZKStaticFactoryManager<Shape>::CREATE_INSTANCE("circle");
///
/// The destructor frees the key even if another factory held it first, so two factories shouldn't share one.
template <class Base, class Derived>
class ZKStaticFactory : public ZKStaticFactoryBase<Base>
{
public:
    explicit ZKStaticFactory(String const& key) : ZKStaticFactoryBase<Base>(key)
    {
        ZKStaticFactoryManager<Base>::REGISTER_FACTORY(key, *this);
    }

    ~ZKStaticFactory() override { ZKStaticFactoryManager<Base>::UNREGISTER_FACTORY(this->getKey()); }

    Base* createInstance() override { return new Derived(); }
};

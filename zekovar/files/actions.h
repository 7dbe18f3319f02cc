#pragma once

#include "zekovar/diagnostics/observer.h"
#include "zekovar/foundation/list.h"
#include "zekovar/foundation/string.h"
#include "zekovar/foundation/xcode.h"

#include <atomic>

class ZKLock;

/// An engine of events and rules, which lives outside this library. What the texts mean is its own affair.
class IActions
{
public:
    /// What the engine tells its observers; the engine's header defines it.
    class Observer;

    virtual void addRef() const = 0;
    virtual void release() const = 0;
    virtual void protectedRelease() const = 0;

    /// May be null.
    virtual ZKLock* getLock() = 0;

    virtual XCode addObserver(Observer* observer) = 0;
    virtual XCode addObserver(ObserverDelegate<IActions, Observer>* delegate) = 0;
    virtual XCode removeObserver(Observer* observer) = 0;
    virtual XCode removeObserver(ObserverDelegate<IActions, Observer>* delegate) = 0;
    virtual XCode onSystemUp() = 0;
    virtual XCode addRule(String const& rule) = 0;
    virtual XCode removeRule(String const& rule) = 0;
    virtual XCode addRuleCondition(String const& rule, String const& source, String const& event,
                                   String const& value) = 0;
    virtual XCode removeRuleCondition(String const& rule, String const& source, String const& event,
                                      String const& value) = 0;
    virtual XCode setRuleActions(String const& rule, ZKList<String> const& actions) = 0;
    virtual XCode registerEvent(String const& source, String const& event, String const& value) = 0;
    virtual XCode unregisterEvent(String const& source, String const& event, String const& value) = 0;
    virtual XCode sendEvent(String const& source, String const& event, String const& value) = 0;

    virtual ~IActions() = default;
};

/// The door to the engine of the process: code calls the static operations at all times, and a daemon that has an engine
/// registers it. Until then an object of this class stands in, whose operations do nothing and succeed.
///
///     Actions::SEND_EVENT("link", "state", "up");
///
/// The static operations are as safe from other threads as the engine. Registering is meant for the start of a daemon;
/// the caller keeps the engine alive until no thread can be inside it any more.
class Actions : public IActions
{
public:
    void addRef() const override {}

    void release() const override {}

    void protectedRelease() const override {}

    ZKLock* getLock() override { return nullptr; }

    XCode addObserver(Observer* observer) override;
    XCode addObserver(ObserverDelegate<IActions, Observer>* delegate) override;
    XCode removeObserver(Observer* observer) override;
    XCode removeObserver(ObserverDelegate<IActions, Observer>* delegate) override;
    XCode onSystemUp() override;
    XCode addRule(String const& rule) override;
    XCode removeRule(String const& rule) override;
    XCode addRuleCondition(String const& rule, String const& source, String const& event, String const& value) override;
    XCode removeRuleCondition(String const& rule, String const& source, String const& event,
                              String const& value) override;
    XCode setRuleActions(String const& rule, ZKList<String> const& actions) override;
    XCode registerEvent(String const& source, String const& event, String const& value) override;
    XCode unregisterEvent(String const& source, String const& event, String const& value) override;
    XCode sendEvent(String const& source, String const& event, String const& value) override;

    /// The object that does nothing. It is there from load time on and never goes.
    static Actions* INSTANCE() { return &s_instance; }

    /// Sends all calls to `engine`, which takes no reference; null is `INSTANCE()`. Always succeeds.
    static XCode REGISTER_ACTIONS_INTERFACE(IActions* engine);

    /// Goes back to `INSTANCE()`, whatever `engine` is. Always succeeds.
    static XCode UNREGISTER_ACTIONS_INTERFACE(IActions* engine);

    /// @name The engine's operations
    /// @{
    static XCode ADD_OBSERVER(Observer* observer);
    static XCode ADD_OBSERVER(ObserverDelegate<IActions, Observer>* delegate);
    static XCode REMOVE_OBSERVER(Observer* observer);
    static XCode REMOVE_OBSERVER(ObserverDelegate<IActions, Observer>* delegate);
    static XCode ON_SYSTEM_UP();
    static XCode ADD_RULE(String const& rule);
    static XCode REMOVE_RULE(String const& rule);
    static XCode ADD_RULE_CONDITION(String const& rule, String const& source, String const& event, String const& value);
    static XCode REMOVE_RULE_CONDITION(String const& rule, String const& source, String const& event,
                                       String const& value);
    static XCode SET_RULE_ACTIONS(String const& rule, ZKList<String> const& actions);
    static XCode REGISTER_EVENT(String const& source, String const& event, String const& value);
    static XCode UNREGISTER_EVENT(String const& source, String const& event, String const& value);
    static XCode SEND_EVENT(String const& source, String const& event, String const& value);
    /// @}

    /// The registered engine or `INSTANCE()`, never null.
    static std::atomic<IActions*> s_pActions;

private:
    static Actions& s_instance;
};

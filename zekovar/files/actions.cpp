#include "zekovar/files/actions.h"

namespace
{
/// What was registered is seen as its maker left it.
IActions& current()
{
    return *Actions::s_pActions.load(std::memory_order_acquire);
}

XCode setCurrent(IActions* actions)
{
    Actions::s_pActions.store(actions, std::memory_order_release);
    return XCODE_SUCCESS;
}
}

XCode Actions::addObserver(Observer*)
{
    return XCODE_SUCCESS;
}

XCode Actions::addObserver(ObserverDelegate<IActions, Observer>*)
{
    return XCODE_SUCCESS;
}

XCode Actions::removeObserver(Observer*)
{
    return XCODE_SUCCESS;
}

XCode Actions::removeObserver(ObserverDelegate<IActions, Observer>*)
{
    return XCODE_SUCCESS;
}

XCode Actions::onSystemUp()
{
    return XCODE_SUCCESS;
}

XCode Actions::addRule(String const&)
{
    return XCODE_SUCCESS;
}

XCode Actions::removeRule(String const&)
{
    return XCODE_SUCCESS;
}

XCode Actions::addRuleCondition(String const&, String const&, String const&, String const&)
{
    return XCODE_SUCCESS;
}

XCode Actions::removeRuleCondition(String const&, String const&, String const&, String const&)
{
    return XCODE_SUCCESS;
}

XCode Actions::setRuleActions(String const&, ZKList<String> const&)
{
    return XCODE_SUCCESS;
}

XCode Actions::registerEvent(String const&, String const&, String const&)
{
    return XCODE_SUCCESS;
}

XCode Actions::unregisterEvent(String const&, String const&, String const&)
{
    return XCODE_SUCCESS;
}

XCode Actions::sendEvent(String const&, String const&, String const&)
{
    return XCODE_SUCCESS;
}

XCode Actions::REGISTER_ACTIONS_INTERFACE(IActions* engine)
{
    return setCurrent(engine != nullptr ? engine : INSTANCE());
}

XCode Actions::UNREGISTER_ACTIONS_INTERFACE(IActions*)
{
    return setCurrent(INSTANCE());
}

XCode Actions::ADD_OBSERVER(Observer* observer)
{
    return current().addObserver(observer);
}

XCode Actions::ADD_OBSERVER(ObserverDelegate<IActions, Observer>* delegate)
{
    return current().addObserver(delegate);
}

XCode Actions::REMOVE_OBSERVER(Observer* observer)
{
    return current().removeObserver(observer);
}

XCode Actions::REMOVE_OBSERVER(ObserverDelegate<IActions, Observer>* delegate)
{
    return current().removeObserver(delegate);
}

XCode Actions::ON_SYSTEM_UP()
{
    return current().onSystemUp();
}

XCode Actions::ADD_RULE(String const& rule)
{
    return current().addRule(rule);
}

XCode Actions::REMOVE_RULE(String const& rule)
{
    return current().removeRule(rule);
}

XCode Actions::ADD_RULE_CONDITION(String const& rule, String const& source, String const& event, String const& value)
{
    return current().addRuleCondition(rule, source, event, value);
}

XCode Actions::REMOVE_RULE_CONDITION(String const& rule, String const& source, String const& event, String const& value)
{
    return current().removeRuleCondition(rule, source, event, value);
}

XCode Actions::SET_RULE_ACTIONS(String const& rule, ZKList<String> const& actions)
{
    return current().setRuleActions(rule, actions);
}

XCode Actions::REGISTER_EVENT(String const& source, String const& event, String const& value)
{
    return current().registerEvent(source, event, value);
}

XCode Actions::UNREGISTER_EVENT(String const& source, String const& event, String const& value)
{
    return current().unregisterEvent(source, event, value);
}

XCode Actions::SEND_EVENT(String const& source, String const& event, String const& value)
{
    return current().sendEvent(source, event, value);
}

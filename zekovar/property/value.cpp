#include "zekovar/property/value.h"

#include "zekovar/foundation/everlasting.h"
#include "zekovar/property/store.h"
#include "zekovar/property/waiting.h"

namespace ZK::Property
{
namespace
{
constinit ZK::Detail::Everlasting<Value const> s_invalid;

// Never destroyed, so that threads which still run while the process exits go on using it.
Value const& makeShared(Value::Type type)
{
    auto* const value = new Value();
    value->copyOnWrite(type);
    return *value;
}
}

Value const& invalid()
{
    return s_invalid.object;
}

Value const& array()
{
    static Value const& s_array = makeShared(Value::Type::ARRAY);
    return s_array;
}

Value const& object()
{
    static Value const& s_object = makeShared(Value::Type::OBJECT);
    return s_object;
}

Value::Value(Store* store) noexcept : m_payload{.store = store}, m_tag(tagOf(store->getType()))
{
}

Value::Value(XCode const& value) : Value(new Store(value))
{
}

Value::Value(String&& value) : Value(new Store(std::move(value)))
{
}

Value::Value(TString<char>&& value) : Value(new Store(std::move(value)))
{
}

Value::Value(std::initializer_list<Value> elements) : Value()
{
    bool isObject = true;
    for (Value const& element : elements)
        isObject = isObject && element.isArray() && element.size() == 2 && element[0].asString() != nullptr;
    copyOnWrite(isObject ? Type::OBJECT : Type::ARRAY);
    for (Value const& element : elements)
    {
        if (isObject)
            setMember(*element[0].asString(), element[1]);
        else
            add(element);
    }
}

Value& Value::operator=(Value const& other)
{
    if (this != &other)
    {
        Value copy(other);
        assign(copy);
    }
    return *this;
}

Value& Value::operator=(Value&& other)
{
    if (this == &other)
        return *this;
    Value taken;
    taken.takeContent(other);
    if (waiting() == nullptr && other.waiting() != whereWaiting())
        takeWaiting(other);
    assign(taken);
    return *this;
}

// What this value held goes to `taken`.
void Value::assign(Value& taken)
{
    Waiting* const where = whereWaiting();
    Type const type = taken.getType();
    std::swap(m_payload, taken.m_payload);
    taken.setType(getType());
    setType(type);
    if (taken.isInvalid())
        taken.m_payload.waiting = nullptr;
    if (isInvalid())
        m_payload.waiting = where;
    notifyValueInitialized(where);
}

void Value::destroy() noexcept
{
    setWaiting(nullptr);
    if (hasStore())
        m_payload.store->release();
}

// For a value that is "Invalid". False if the store can't be shared, because somebody may write to its elements.
bool Value::share(Value const& other)
{
    if (other.isInvalid())
        return true;
    if (other.hasStore())
    {
        if (other.m_payload.store->isHandedOut())
            return false;
        other.m_payload.store->addRef();
    }
    m_payload = other.m_payload;
    setType(other.getType());
    return true;
}

// For a value that is "Invalid".
void Value::copyFrom(Value const& other)
{
    if (share(other))
        return;
    m_payload.store = Store::DUPLICATE(*other.m_payload.store);
    setType(other.getType());
}

// For a value without pending children.
void Value::takeWaiting(Value& other) noexcept
{
    m_tag |= other.m_tag & ~TYPE_MASK;
    other.m_tag &= TYPE_MASK;
    if (waiting() != nullptr)
        waiting()->setParent(this);
}

// Drops the children that waited so far.
void Value::setWaiting(Waiting* waiting)
{
    delete this->waiting();
    m_tag = reinterpret_cast<uintptr_t>(waiting) | (m_tag & TYPE_MASK);
}

Value::Waiting& Value::makeWaiting()
{
    if (waiting() == nullptr)
        setWaiting(new Waiting(this));
    return *waiting();
}

void Value::notifyValueInitialized(Waiting* waiting)
{
    if (waiting != nullptr && !isInvalid())
        waiting->join(*this);
}

// Takes `child` over, unless this is no array any more or the gap is too wide.
bool Value::onArrayValueInitialized(unsigned int index, Value* child)
{
    if (!isArray())
        return false;
    copyOnWrite();
    if (!fillArrayWithNullValues(index))
        return false;
    Store& store = *m_payload.store;
    if (index < store.size())
        store.elements().replace(index, std::unique_ptr<Value>(child));
    else
        store.elements().adopt(std::unique_ptr<Value>(child));
    store.setHandedOut();
    return true;
}

// Takes `node` over, unless this is no object any more.
bool Value::onObjectValueInitialized(Member* node)
{
    if (!isObject())
        return false;
    copyOnWrite();
    Store& store = *m_payload.store;
    unsigned int const place = store.findPlace(node->key);
    if (place != Detail::MemberIndex::NOT_FOUND)
        store.replaceMember(place, std::unique_ptr<Member>(node));
    else
        store.addMember(std::unique_ptr<Member>(node));
    store.setHandedOut();
    return true;
}

bool Value::isEqual(Value const& other) const
{
    return Store::ARE_EQUAL(*this, other);
}

XCode const* Value::asXCode() const
{
    return getType() == Type::XCODE ? &m_payload.store->code() : nullptr;
}

String const* Value::asString() const
{
    return getType() == Type::STRING ? &m_payload.store->text() : nullptr;
}

TString<char> const* Value::asBinary() const
{
    return getType() == Type::BINARY ? &m_payload.store->bytes() : nullptr;
}

unsigned int Value::size() const
{
    if (hasStore())
        return m_payload.store->size();
    return isInvalid() || isNull() ? 0 : 1;
}

void Value::clear()
{
    if (isInvalid())
        return;
    if (hasStore() && !m_payload.store->isShared())
    {
        m_payload.store->clear();
        return;
    }
    Value empty = EMPTY(getType());
    assign(empty);
}

bool Value::copyOnWrite()
{
    if (!hasStore() || !m_payload.store->isShared())
        return false;
    Store* const own = Store::DUPLICATE(*m_payload.store);
    std::exchange(m_payload.store, own)->release();
    return true;
}

bool Value::copyOnWrite(Type target)
{
    if (getType() == target)
        return copyOnWrite();
    changeType(target);
    return true;
}

// Gives back what this value was.
Value Value::changeType(Type target)
{
    Value content;
    if (isInvalid() || target < Type::ARRAY)
        content = EMPTY(target);
    else
        content = target == Type::ARRAY ? toArray() : toObject();
    assign(content);
    return content;
}

Value Value::EMPTY(Type type)
{
    switch (type)
    {
    case Type::INVALID:
        return Value();
    case Type::NULL_VALUE:
        return nullptr;
    case Type::BOOLEAN:
        return false;
    case Type::INTEGER:
        return 0;
    case Type::FLOATING:
        return 0.0;
    default:
        return Value(new Store(type));
    }
}

// The value as the only element; of an object the values of its members.
Value Value::toArray() const
{
    Value result = EMPTY(Type::ARRAY);
    if (!isObject())
        result.add(*this);
    for (unsigned int i = 0; isObject() && i < size(); i++)
        result.add(memberAt(i)->value);
    return result;
}

// The value as the only member under its own text; of an array one such member for each element.
Value Value::toObject() const
{
    Value result = EMPTY(Type::OBJECT);
    unsigned int const count = isArray() ? size() : 1;
    for (unsigned int i = 0; i < count; i++)
    {
        Value const& source = isArray() ? (*this)[i] : *this;
        result.m_payload.store->addMember(std::unique_ptr<Member>(new Member{source.toString(), source}));
    }
    return result;
}

// As `writableStore`, for a subscript. In `v["key"] = v[0]` the element is found before the array turns into an object,
// and read afterwards, so the array is kept until then.
Value::Store& Value::subscriptStore(Type type)
{
    if (getType() == type)
        return writableStore(type);
    Value old = changeType(type);
    if (old.getType() >= Type::ARRAY)
        makeWaiting().retire(std::move(old));
    return *m_payload.store;
}

// For who may keep references to elements and write to them.
void Value::handOutChildren()
{
    copyOnWrite();
    if (getType() >= Type::ARRAY)
        m_payload.store->setHandedOut();
}

Value const& Value::operator[](unsigned int index) const
{
    return isArray() && index < size() ? std::as_const(*m_payload.store).elements()[index] : invalid();
}

Value const& Value::operator[](String const& key) const
{
    Value const* const member = find(key);
    return member != nullptr ? *member : invalid();
}

Value& Value::operator[](unsigned int index)
{
    Store& store = subscriptStore(Type::ARRAY);
    if (index >= store.size())
        return makeWaiting().childAt(index);
    store.setHandedOut();
    return store.elements()[index];
}

Value& Value::operator[](String const& key)
{
    Store& store = subscriptStore(Type::OBJECT);
    Member* const member = store.find(key);
    if (member == nullptr)
        return makeWaiting().childAt(key);
    store.setHandedOut();
    return member->value;
}

Value const* Value::find(String const& key) const
{
    Member const* const member = isObject() ? m_payload.store->find(key) : nullptr;
    return member != nullptr ? &member->value : nullptr;
}

Value::Member const* Value::memberAt(unsigned int index) const
{
    return isObject() && index < size() ? &m_payload.store->memberAt(index) : nullptr;
}

namespace
{
std::unique_ptr<IteratorIf> makeIterator(Value const& value)
{
    if (value.isArray())
        return std::make_unique<ArrayIterator>();
    if (value.isObject())
        return std::make_unique<ObjectIterator>();
    return std::make_unique<PrimitiveIterator>();
}

template <class I>
I iteratorAt(Value const& value, void (IteratorIf::*init)(Value*))
{
    std::unique_ptr<IteratorIf> iterator = makeIterator(value);
    (iterator.get()->*init)(const_cast<Value*>(&value)); // a ConstIterator gives it out as constant again
    return I(std::move(iterator));
}
}

ConstIterator Value::begin() const
{
    return iteratorAt<ConstIterator>(*this, &IteratorIf::initBegin);
}

ConstIterator Value::end() const
{
    return iteratorAt<ConstIterator>(*this, &IteratorIf::initEnd);
}

Iterator Value::begin()
{
    copyOnWrite();
    return iteratorAt<Iterator>(*this, &IteratorIf::initBegin);
}

Iterator Value::end()
{
    copyOnWrite();
    return iteratorAt<Iterator>(*this, &IteratorIf::initEnd);
}
}

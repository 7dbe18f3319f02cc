#include "zekovar/foundation/static_factory.h"

#include "zekovar/foundation/singleton.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <thread>
#include <vector>

namespace
{
struct Shape
{
    virtual ~Shape() = default;
};

struct Circle : Shape
{
};

struct Square : Shape
{
};

using Manager = ZKStaticFactoryManager<Shape>;

template <class T>
bool makes(char const* key)
{
    std::unique_ptr<Shape> const shape(Manager::CREATE_INSTANCE(key));
    return dynamic_cast<T*>(shape.get()) != nullptr;
}

ZKStaticFactory<Shape, Circle> const circles("circle"); // before main, as factories are
}

TEST(StaticFactory, FirstFactoryOfAKeyStays)
{
    EXPECT_TRUE(makes<Circle>("circle"));
    EXPECT_EQ(Manager::CREATE_INSTANCE("hexagon"), nullptr);
    {
        ZKStaticFactory<Shape, Square> squares("square");
        ZKStaticFactory<Shape, Circle> unused("triangle");
        Manager::REGISTER_FACTORY("square", unused);
        EXPECT_TRUE(makes<Square>("square"));
        EXPECT_EQ(squares.getKey(), String("square"));
    }
    EXPECT_EQ(Manager::CREATE_INSTANCE("square"), nullptr);
}

TEST(Singleton, RacingThreadsMakeOneInstance)
{
    static std::atomic<int> made{0};

    struct Counted
    {
        Counted() { std::this_thread::yield(), made++; }
    };

    std::vector<std::thread> threads;
    for (int i = 0; i < 8; i++)
        threads.emplace_back([] { EXPECT_EQ(&ZKSingleton<Counted>::INSTANCE(), &ZKSingleton<Counted>::INSTANCE()); });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(made, 1);
}

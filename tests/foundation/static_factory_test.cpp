#include "zekovar/foundation/static_factory.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <thread>

namespace
{
struct Shape
{
    virtual ~Shape() = default;
};

template <int SIDES>
struct Polygon : Shape
{
};

using Manager = ZKStaticFactoryManager<Shape>;

template <class T>
bool makes(char const* key)
{
    std::unique_ptr<Shape> const shape(Manager::CREATE_INSTANCE(key));
    return dynamic_cast<T*>(shape.get()) != nullptr;
}

ZKStaticFactory<Shape, Polygon<3>> const triangles("triangle"); // before main, as factories are
}

TEST(StaticFactory, FirstFactoryOfAKeyStays)
{
    EXPECT_TRUE(makes<Polygon<3>>("triangle"));
    {
        ZKStaticFactory<Shape, Polygon<4>> squares("square");
        ZKStaticFactory<Shape, Polygon<6>> hexagons("hexagon");
        Manager::REGISTER_FACTORY("square", hexagons);
        EXPECT_TRUE(makes<Polygon<4>>("square"));
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

    std::vector<std::jthread> threads;
    for (int i = 0; i < 8; i++)
        threads.emplace_back([] { EXPECT_EQ(&ZKSingleton<Counted>::INSTANCE(), &ZKSingleton<Counted>::INSTANCE()); });
    threads.clear();
    EXPECT_EQ(made, 1);
}

#include "kiv/Factory.h"
#include "kiv/ObjectRegistrar.h"
#include "kiv/Singleton.h"
#include "kiv/thread/CSuspendable.h"

#include <boost/function.hpp>
#include <boost/thread/thread.hpp>

#include <gmock/gmock.h>

#include <memory>
#include <string>

namespace {

struct Shape {
    explicit Shape(int a) : area(a) {}
    virtual ~Shape() = default;
    virtual char const* Kind() const = 0;
    int area;
};
template <char K>
struct Known : Shape {
    using Shape::Shape;
    char const* Kind() const override {
        static char const kind[] = {K, '\0'};
        return kind;
    }
};
using ShapeFactory = kiv::Factory<std::string, Shape, boost::function<Shape*(int const&)>>;

TEST(Registry, FirstRegistrationOfANameWinsAndNamesAreInOrder) {
    kiv::ObjectRegistrar<ShapeFactory, Known<'b'>> const b("b");
    kiv::ObjectRegistrar<ShapeFactory, Known<'B'>> const upper("B");
    kiv::ObjectRegistrar<ShapeFactory, Known<'x'>> const again("b");
    ShapeFactory* const factory = kiv::Singleton<ShapeFactory>::Instance();
    EXPECT_FALSE(factory->Register("b", {}));
    EXPECT_TRUE(factory->Register("empty", {}));

    std::unique_ptr<Shape> const shape(factory->GetAllocator("b")(7));
    EXPECT_STREQ(shape->Kind(), "b");
    EXPECT_EQ(shape->area, 7);
    EXPECT_THAT(factory->Names(), testing::ElementsAre("B", "b", "empty"));
    EXPECT_TRUE(factory->GetAllocator("empty").empty());
    EXPECT_THROW(factory->GetAllocator("unknown")(1), boost::bad_function_call);
}

TEST(Suspendable, WaitersReturnOnlyOnceItIsComplete) {
    kiv::thread::CSuspendable command;
    int answer = 0; // written before completion, read after it: no lock of its own
    boost::thread_group waiters;
    for (int i = 0; i < 3; ++i) {
        waiters.create_thread([&] {
            command.Suspend();
            EXPECT_EQ(answer, 42);
        });
    }
    answer = 42;
    command.Complete();
    waiters.join_all();
    command.Suspend(); // completed already: returns at once
}

TEST(Suspendable, WaitingThreadCanBeInterrupted) {
    kiv::thread::CSuspendable never;
    bool interrupted = false;
    boost::thread waiter([&] {
        try {
            never.Suspend();
        } catch (boost::thread_interrupted const&) {
            interrupted = true;
        }
    });
    waiter.interrupt();
    waiter.join();
    EXPECT_TRUE(interrupted);
}

} // namespace

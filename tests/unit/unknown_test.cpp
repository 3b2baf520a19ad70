#include "tests/unit/component_objects.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <thread>
#include <type_traits>
#include <vector>

namespace zta::test {
namespace {

template <class Base>
class Unknown : public testing::Test {
protected:
    using TestObject = Object<Base>;
    static constexpr unsigned kFirstCount = std::is_same_v<Base, CZtLightUnknown> ? 1 : 0;

    /// An object without an outer object, with one reference.
    static TestObject* MakeOwned(std::function<void(TestObject&)> at_end = {})
    {
        auto* object = new TestObject(std::move(at_end), L"name", static_cast<IUnknown*>(nullptr));
        if (kFirstCount == 0) {
            object->NonDelegatingAddRef();
        }
        return object;
    }

    /// The address of an object without an outer object as its own outer unknown.
    static void* Self(TestObject* object) { return static_cast<INonDelegatingUnknown*>(object); }

    /// Creates an object with one of the constructors, checks it and deletes it like its creator.
    template <class... Arguments>
    static void ExpectCreated(IUnknown* outer, Arguments... arguments)
    {
        const int objects = g_i32Objects;
        auto* object = new TestObject({}, arguments...);
        EXPECT_EQ(g_i32Objects, objects + 1);
        EXPECT_EQ(object->m_ulRefCount, kFirstCount);
        EXPECT_EQ(object->m_pOuterUnknown, outer != nullptr ? outer : Self(object));
        delete static_cast<Base*>(object);
        EXPECT_EQ(g_i32Objects, objects);
    }
};

using Bases = testing::Types<CZtLightUnknown, CZtUnknown>;
TYPED_TEST_SUITE(Unknown, Bases);

TYPED_TEST(Unknown, IsCreatedByEachConstructor)
{
    Outer outer;
    for (IUnknown* owner : {static_cast<IUnknown*>(nullptr), static_cast<IUnknown*>(&outer)}) {
        int status = 77;
        this->ExpectCreated(owner, L"name", owner, &status);
        EXPECT_EQ(status, 0);
        this->ExpectCreated(owner, L"name", owner);
        if constexpr (std::is_same_v<TypeParam, CZtUnknown>) {
            for (const bool flag : {false, true}) {
                status = 77;
                this->ExpectCreated(owner, flag, L"name", owner, &status);
                EXPECT_EQ(status, 0);
            }
        }
    }
    EXPECT_EQ(outer.references, 100U) << "no reference on the outer object";
}

TYPED_TEST(Unknown, TheLastReleaseDeletesIt)
{
    const int objects = g_i32Objects;
    int ends = 0;
    auto* object = this->MakeOwned([&](auto&) { ++ends; });
    EXPECT_EQ(object->NonDelegatingAddRef(), 2U);
    EXPECT_EQ(object->NonDelegatingAddRef(), 3U);
    EXPECT_EQ(object->NonDelegatingRelease(), 2U);
    EXPECT_EQ(object->NonDelegatingRelease(), 1U);
    EXPECT_EQ(ends, 0);
    EXPECT_EQ(g_i32Objects, objects + 1);
    EXPECT_EQ(object->NonDelegatingRelease(), 0U);
    EXPECT_EQ(ends, 1);
    EXPECT_EQ(g_i32Objects, objects);
}

TEST(LightUnknown, TheFirstReleaseDeletesItIfNoneWasAdded)
{
    const int objects = g_i32Objects;
    auto* object = new CZtLightUnknown(L"name", nullptr);
    EXPECT_EQ(g_i32Objects, objects + 1);
    EXPECT_EQ(object->NonDelegatingRelease(), 0U);
    EXPECT_EQ(g_i32Objects, objects);
}

TYPED_TEST(Unknown, ADestructorThatUsesItsObjectRunsOnce)
{
    int ends = 0;
    std::vector<unsigned long> counts;
    auto* object = this->MakeOwned([&](auto& self) {
        ++ends;
        counts.push_back(self.m_ulRefCount);
        counts.push_back(self.NonDelegatingAddRef());
        counts.push_back(self.NonDelegatingRelease());
    });
    EXPECT_EQ(object->NonDelegatingRelease(), 0U);
    EXPECT_EQ(ends, 1);
    EXPECT_EQ(counts, (std::vector<unsigned long>{1, 2, 1}));
}

TYPED_TEST(Unknown, ACountThatWrapsToZeroReadsAsOne)
{
    auto* object = this->MakeOwned();
    object->m_ulRefCount = 0xFFFFFFFF;
    EXPECT_EQ(object->NonDelegatingAddRef(), 1U);
    EXPECT_EQ(object->m_ulRefCount, 0U);
    object->m_ulRefCount = 1;
    object->NonDelegatingRelease();
}

TYPED_TEST(Unknown, ReturnsItsNonDelegatingInterfaceAsIUnknown)
{
    auto* object = this->MakeOwned();
    const _GUID copy = IID_IUnknown; // another address with the same bytes
    for (const _GUID* iid : {&IID_IUnknown, &copy}) {
        void* result = nullptr;
        EXPECT_EQ(object->NonDelegatingQueryInterface(*iid, &result), 0);
        EXPECT_EQ(result, this->Self(object));
        EXPECT_EQ(object->m_ulRefCount, 2U);
        EXPECT_EQ(static_cast<IUnknown*>(result)->Release(), 1U) << "called through IUnknown";
    }
    object->NonDelegatingRelease();
}

TYPED_TEST(Unknown, RejectsAnUnknownInterface)
{
    auto* object = this->MakeOwned();
    for (const _GUID* iid : {&kIidOfNothing, &IID_IClassFactory}) {
        void* result = object;
        EXPECT_EQ(object->NonDelegatingQueryInterface(*iid, &result), static_cast<int>(0x80004002));
        EXPECT_EQ(result, nullptr);
        EXPECT_EQ(object->m_ulRefCount, 1U);
    }
    object->NonDelegatingRelease();
}

TYPED_TEST(Unknown, ADerivedClassAddsItsInterfaces)
{
    auto* object = this->MakeOwned();
    void* result = nullptr;
    EXPECT_EQ(object->QueryInterface(kIidOfObject, &result), kObjectFound);
    EXPECT_EQ(result, static_cast<IUnknown*>(object));
    EXPECT_EQ(object->m_ulRefCount, 2U);
    EXPECT_EQ(object->AddRef(), 3U);
    EXPECT_EQ(object->Release(), 2U);
    object->Release();
    object->Release();
}

TYPED_TEST(Unknown, AnAggregatedObjectDelegatesToItsOuterObject)
{
    Outer outer;
    int ends = 0;
    auto* object = new Object<TypeParam>([&](auto&) { ++ends; }, L"name", &outer);
    object->NonDelegatingAddRef();
    const unsigned count = object->m_ulRefCount;

    IUnknown* delegating = object;
    EXPECT_EQ(delegating->AddRef(), 101U);
    EXPECT_EQ(delegating->Release(), 100U);
    void* result = nullptr;
    EXPECT_EQ(delegating->QueryInterface(kIidOfNothing, &result), 5);
    EXPECT_EQ(result, &outer);
    EXPECT_EQ(outer.queries, 1);
    EXPECT_EQ(object->m_ulRefCount, count) << "untouched";

    EXPECT_EQ(object->NonDelegatingQueryInterface(kIidOfObject, &result), kObjectFound);
    EXPECT_EQ(result, delegating);
    EXPECT_EQ(outer.references, 101U) << "an interface of the aggregate counts on the outer object";
    EXPECT_EQ(object->NonDelegatingQueryInterface(IID_IUnknown, &result), 0);
    EXPECT_EQ(result, this->Self(object));
    EXPECT_EQ(object->m_ulRefCount, count + 1) << "its own IUnknown counts on the object";

    for (unsigned left = count + 1; left > 0; --left) {
        EXPECT_EQ(ends, 0);
        object->NonDelegatingRelease();
    }
    EXPECT_EQ(ends, 1);
}

TYPED_TEST(Unknown, ZtGetInterfaceAddsAReference)
{
    auto* object = this->MakeOwned();
    void* result = nullptr;
    EXPECT_EQ(ZtGetInterface(object, &result), 0);
    EXPECT_EQ(result, this->Self(object));
    EXPECT_EQ(object->NonDelegatingRelease(), 1U);
    object->NonDelegatingRelease();
}

TYPED_TEST(Unknown, CountsExactlyOverThreads)
{
    constexpr int kThreads = 4;
    constexpr int kRounds = 20000;
    const int objects = g_i32Objects;
    std::atomic<int> ends{0};
    auto* shared = this->MakeOwned([&](auto&) { ++ends; });
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) {
        shared->NonDelegatingAddRef();
        threads.emplace_back([shared] {
            for (int round = 0; round < kRounds; ++round) {
                shared->NonDelegatingAddRef();
                auto* own = TestFixture::MakeOwned();
                shared->NonDelegatingRelease();
                own->NonDelegatingRelease();
            }
            shared->NonDelegatingRelease();
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(ends, 0);
    EXPECT_EQ(g_i32Objects, objects + 1);
    EXPECT_EQ(shared->NonDelegatingRelease(), 0U);
    EXPECT_EQ(ends, 1);
    EXPECT_EQ(g_i32Objects, objects);
}

TYPED_TEST(Unknown, TheLastOfManyThreadsDeletesItOnce)
{
    constexpr int kThreads = 4;
    for (int round = 0; round < 200; ++round) {
        std::atomic<int> ends{0};
        std::atomic<bool> go{false};
        auto* shared = this->MakeOwned([&](auto&) { ++ends; });
        std::vector<std::thread> threads;
        for (int i = 1; i < kThreads; ++i) {
            shared->NonDelegatingAddRef();
        }
        for (int i = 0; i < kThreads; ++i) {
            threads.emplace_back([&go, shared] {
                while (!go) {
                    std::this_thread::yield();
                }
                shared->NonDelegatingRelease();
            });
        }
        go = true;
        for (std::thread& thread : threads) {
            thread.join();
        }
        ASSERT_EQ(ends, 1);
    }
}

} // namespace
} // namespace zta::test

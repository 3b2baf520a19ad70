#include "component/class_factory.h"
#include "tests/unit/component_objects.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <type_traits>

namespace zta::test {
namespace {

constexpr _GUID kClsid = {0xAAAAAAAA, 0xBBBB, 0xCCCC, {1, 2, 3, 4, 5, 6, 7, 8}};

/// The behavior of the test's class when it creates an object, and the result.
struct Script {
    int status = 0;
    int calls = 0;
    int first_status = 77; ///< of the status argument before it was written
    IUnknown* outer = nullptr;
    INonDelegatingUnknown* object = nullptr;
    int ends = 0;
};

Script g_script;

INonDelegatingUnknown* CreateNothing(IUnknown*, int* phr)
{
    ++g_script.calls;
    *phr = g_script.status;
    return nullptr;
}

template <class Base>
INonDelegatingUnknown* CreateObject(IUnknown* outer, int* phr)
{
    ++g_script.calls;
    g_script.outer = outer;
    g_script.first_status = *phr;
    *phr = g_script.status;
    g_script.object = new Object<Base>([](auto&) { ++g_script.ends; }, L"object", outer);
    return g_script.object;
}

/// An object that derives from neither base class.
class Foreign : public INonDelegatingUnknown {
public:
    ~Foreign() override { ++g_script.ends; }

    int NonDelegatingQueryInterface(const _GUID& /*riid*/, void** /*ppv*/) override { return ++g_script.calls; }
    unsigned long NonDelegatingAddRef() override { return static_cast<unsigned long>(++g_script.calls); }
    unsigned long NonDelegatingRelease() override { return static_cast<unsigned long>(++g_script.calls); }
};

INonDelegatingUnknown* CreateForeign(IUnknown*, int* phr)
{
    ++g_script.calls;
    *phr = g_script.status;
    return new Foreign;
}

/// An object whose vtable has no type information, as another compiler can create it.
struct ForeignTable {
    const void* slots;
    int complete_ends;
    int deleting_ends;
};

int QueryForeignTable(ForeignTable* /*object*/, const _GUID& /*riid*/, void** /*ppv*/)
{
    return ++g_script.calls;
}

unsigned long CountForeignTable(ForeignTable* /*object*/)
{
    return static_cast<unsigned long>(++g_script.calls);
}

void EndForeignTable(ForeignTable* object)
{
    ++object->complete_ends;
}

void DeleteForeignTable(ForeignTable* object)
{
    ++object->deleting_ends;
}

const void* const kForeignTableTable[] = {
    nullptr, // the offset to the top
    nullptr, // the type information
    reinterpret_cast<const void*>(QueryForeignTable),
    reinterpret_cast<const void*>(CountForeignTable),
    reinterpret_cast<const void*>(CountForeignTable),
    reinterpret_cast<const void*>(EndForeignTable),
    reinterpret_cast<const void*>(DeleteForeignTable),
};

ForeignTable g_foreign_table;

INonDelegatingUnknown* CreateForeignTable(IUnknown*, int* phr)
{
    ++g_script.calls;
    *phr = g_script.status;
    g_foreign_table = {&kForeignTableTable[2], 0, 0};
    return reinterpret_cast<INonDelegatingUnknown*>(&g_foreign_table);
}

INonDelegatingUnknown* Throw(IUnknown*, int*)
{
    throw std::runtime_error("creator");
}

using Creator = INonDelegatingUnknown* (*)(IUnknown*, int*);

/// A factory of a class with the given creator function, with one reference.
class ClassFactory : public testing::Test {
protected:
    void SetUp() override
    {
        g_script = Script();
        objects_before_ = g_i32Objects;
    }

    void TearDown() override
    {
        if (factory_ != nullptr) {
            EXPECT_EQ(factory_->Release(), 0U);
        }
        EXPECT_EQ(g_i32Objects, objects_before_);
        EXPECT_EQ(CZtClassFactory::ms_i32LockedCount, 0);
    }

    IClassFactory& Factory(Creator creator = CreateNothing)
    {
        template_ = {L"test class", &kClsid, creator, nullptr, nullptr};
        factory_ = new CZtClassFactory(&template_);
        factory_->AddRef();
        return *factory_;
    }

    int objects_before_ = 0;
    int untouched_ = 0;
    void* result_ = &untouched_; ///< an output that a failed call must not write

private:
    CZtFactoryTemplate template_{};
    IClassFactory* factory_ = nullptr;
};

TEST_F(ClassFactory, CountsAsAnObjectWhileItLives)
{
    const CZtFactoryTemplate entry = {L"test class", &kClsid, CreateNothing, nullptr, nullptr};
    auto* factory = new CZtClassFactory(&entry);
    EXPECT_EQ(g_i32Objects, objects_before_ + 1);
    EXPECT_EQ(factory->AddRef(), 1U) << "created without a reference";
    EXPECT_EQ(factory->AddRef(), 2U);
    EXPECT_EQ(factory->Release(), 1U);
    EXPECT_EQ(g_i32Objects, objects_before_ + 1);
    EXPECT_EQ(factory->Release(), 0U);
    EXPECT_EQ(g_i32Objects, objects_before_);
}

TEST_F(ClassFactory, HasTwoInterfaces)
{
    IClassFactory& factory = Factory();
    const _GUID copy = IID_IClassFactory;
    for (const _GUID* iid : {&IID_IUnknown, &IID_IClassFactory, &copy}) {
        void* result = nullptr;
        EXPECT_EQ(factory.QueryInterface(*iid, &result), 0);
        EXPECT_EQ(result, &factory);
        EXPECT_EQ(factory.Release(), 1U) << "the query acquired a reference";
    }
}

TEST_F(ClassFactory, DoesNotWriteTheOutputForAnotherInterface)
{
    IClassFactory& factory = Factory();
    EXPECT_EQ(factory.QueryInterface(kIidOfNothing, &result_), static_cast<int>(0x80004002));
    EXPECT_EQ(result_, &untouched_);
    factory.AddRef();
    EXPECT_EQ(factory.Release(), 1U) << "no reference was acquired";
}

TEST_F(ClassFactory, LockServerCountsForTheWholeModule)
{
    IClassFactory& factory = Factory();
    EXPECT_EQ(factory.LockServer(1), 0);
    EXPECT_EQ(factory.LockServer(-7), 0) << "any nonzero value locks";
    EXPECT_EQ(CZtClassFactory::ms_i32LockedCount, 2);
    EXPECT_EQ(factory.LockServer(0), 0);
    EXPECT_EQ(CZtClassFactory::ms_i32LockedCount, 1);
    EXPECT_EQ(factory.LockServer(0), 0);
    EXPECT_EQ(CZtClassFactory::ms_i32LockedCount, 0);
}

TEST_F(ClassFactory, ReportsTheFailureOrOutOfMemoryForACreatorThatReturnsNull)
{
    IClassFactory& factory = Factory(CreateNothing);
    const struct {
        int created;
        int status;
    } cases[] = {{0, static_cast<int>(0x8007000E)},
                 {1, static_cast<int>(0x8007000E)},
                 {ZT_E_INVALID_POINTER, ZT_E_INVALID_POINTER}};
    for (const auto& c : cases) {
        g_script.status = c.created;
        EXPECT_EQ(factory.CreateInstance(nullptr, IID_IUnknown, &result_), c.status) << c.created;
        EXPECT_EQ(result_, &untouched_);
    }
    EXPECT_EQ(g_script.calls, 3);
}

TEST_F(ClassFactory, PropagatesTheExceptionOfACreator)
{
    EXPECT_THROW(Factory(Throw).CreateInstance(nullptr, IID_IUnknown, &result_), std::runtime_error);
}

TEST_F(ClassFactory, DeletesAnObjectOfAnyClassThatReportsAFailure)
{
    g_script.status = ZT_E_FAIL;
    EXPECT_EQ(Factory(CreateForeign).CreateInstance(nullptr, kIidOfObject, &result_), ZT_E_FAIL);
    EXPECT_EQ(g_script.ends, 1);
    EXPECT_EQ(g_script.calls, 1) << "no operation of the object was called";
    EXPECT_EQ(result_, &untouched_);
}

TEST_F(ClassFactory, DeletesAnObjectWithoutTypeInformationThroughItsSlot)
{
    g_script.status = ZT_E_INVALID_POINTER;
    EXPECT_EQ(Factory(CreateForeignTable).CreateInstance(nullptr, kIidOfObject, &result_), ZT_E_INVALID_POINTER);
    EXPECT_EQ(g_foreign_table.deleting_ends, 1);
    EXPECT_EQ(g_foreign_table.complete_ends, 0) << "the deleting destructor calls it itself";
    EXPECT_EQ(g_script.calls, 1) << "no operation of the object was called";
    EXPECT_EQ(result_, &untouched_);
}

/// The tests of classes with both base classes.
template <class Base>
class ClassFactoryOn : public ClassFactory {
protected:
    IClassFactory& ObjectFactory() { return Factory(CreateObject<Base>); }
};

using Bases = testing::Types<CZtLightUnknown, CZtUnknown>;
TYPED_TEST_SUITE(ClassFactoryOn, Bases);

TYPED_TEST(ClassFactoryOn, DeletesAnObjectThatReportsAFailure)
{
    g_script.status = ZT_E_FAIL;
    EXPECT_EQ(this->ObjectFactory().CreateInstance(nullptr, kIidOfObject, &this->result_), ZT_E_FAIL);
    EXPECT_EQ(g_script.ends, 1);
    EXPECT_EQ(this->result_, &this->untouched_);
    EXPECT_EQ(g_i32Objects, this->objects_before_ + 1) << "only the factory is left";
}

TYPED_TEST(ClassFactoryOn, ReturnsTheRequestedInterface)
{
    g_script.status = 1; // no failure
    void* result = nullptr;
    EXPECT_EQ(this->ObjectFactory().CreateInstance(nullptr, kIidOfObject, &result), kObjectFound);
    EXPECT_EQ(g_script.first_status, 0);
    EXPECT_EQ(g_script.outer, nullptr);
    auto* object = dynamic_cast<Object<TypeParam>*>(g_script.object);
    ASSERT_NE(object, nullptr);
    EXPECT_EQ(result, static_cast<IUnknown*>(object));
    const unsigned first = std::is_same_v<TypeParam, CZtLightUnknown> ? 1 : 0;
    EXPECT_EQ(object->count_at_query, first + 1);
    EXPECT_EQ(object->m_ulRefCount, first + 1);
    EXPECT_EQ(g_script.ends, 0);
    while (g_script.ends == 0) {
        object->NonDelegatingRelease();
    }
}

TYPED_TEST(ClassFactoryOn, AFailedQueryKeepsTheReferencesOfTheCreator)
{
    EXPECT_EQ(this->ObjectFactory().CreateInstance(nullptr, kIidOfNothing, &this->result_), E_NOINTERFACE);
    EXPECT_EQ(this->result_, nullptr) << "written by the object";
    if (std::is_same_v<TypeParam, CZtUnknown>) {
        EXPECT_EQ(g_script.ends, 1) << "the reference around the query was the last";
    } else {
        EXPECT_EQ(g_script.ends, 0) << "the object keeps its first reference";
        EXPECT_EQ(g_script.object->NonDelegatingRelease(), 0U);
    }
}

TYPED_TEST(ClassFactoryOn, AggregatesUnderIUnknownOnly)
{
    Outer outer;
    IClassFactory& factory = this->ObjectFactory();
    EXPECT_EQ(factory.CreateInstance(&outer, kIidOfObject, &this->result_), static_cast<int>(0x80004002));
    EXPECT_EQ(this->result_, &this->untouched_);
    EXPECT_EQ(g_script.calls, 0) << "nothing was created";

    const _GUID copy = IID_IUnknown;
    EXPECT_EQ(factory.CreateInstance(&outer, copy, &this->result_), 0);
    EXPECT_EQ(g_script.outer, &outer);
    EXPECT_EQ(this->result_, static_cast<void*>(g_script.object)) << "the non-delegating interface";
    EXPECT_EQ(outer.references, 100U);
    EXPECT_EQ(outer.queries, 0);
    while (g_script.ends == 0) {
        static_cast<IUnknown*>(this->result_)->Release();
    }
    EXPECT_EQ(outer.references, 100U);
}

} // namespace
} // namespace zta::test

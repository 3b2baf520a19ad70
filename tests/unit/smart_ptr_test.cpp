#include "component/smart_ptr.h"

#include <zta/host_interfaces.h>

#include <gtest/gtest.h>

#include <string>
#include <type_traits>
#include <vector>

namespace {

/// Counts its references and records the calls in a list that several objects can share.
template <class Interface>
class Counted : public Interface {
public:
    explicit Counted(std::string name = "", std::vector<std::string>* trace = nullptr)
        : name_(std::move(name)), trace_(trace)
    {
    }

    int QueryInterface(const _GUID&, void**) override { return 0; }
    unsigned long AddRef() override
    {
        Trace("+");
        return ++references;
    }
    unsigned long Release() override
    {
        Trace("-");
        return --references;
    }

    unsigned long references = 0;

private:
    void Trace(const char* sign)
    {
        if (trace_ != nullptr) {
            trace_->push_back(sign + name_);
        }
    }

    std::string name_;
    std::vector<std::string>* trace_;
};

/// The functions that IZtAudioSamples inherits.
template <class Interface>
class CountedContents : public Counted<Interface> {
public:
    using Counted<Interface>::Counted;

    int MarkWriteStartTime() override { return 0; }
    int MarkWriteStopTime() override { return 0; }
    int SignalReadCompletion() override { return 0; }
    int SignalWriteCompletion() override { return 0; }
    int SetErrorCode(int) override { return 0; }
    int GetErrorCode(int*) override { return 17; }
};

using CountedContent = CountedContents<IZtAVContent>;

class CountedSamples : public CountedContents<IZtAudioSamples> {
public:
    using CountedContents::CountedContents;

    int SetPolarity(std::uint32_t) override { return 0; }
    int SetWaveFormat(SZtaWaveFormatInfo*) override { return 0; }
    int GetAudioSamplesDescription(SZtAudioSamplesDescription*) override { return 0; }
    int GetBufferAndLength(void**, unsigned long*) override { return 0; }
    int GetBufferCapacity(unsigned long*) override { return 0; }
    int GetLengthInSampleFrames(unsigned long*) override { return 0; }
    int SetFadeIn(bool) override { return 0; }
    int SetFadeOut(bool) override { return 0; }
    int SetLength(unsigned long) override { return 0; }
};

/// The tests of the two interfaces that the module instantiates.
template <class Object>
class SmartPtr : public testing::Test {
protected:
    using Interface = std::conditional_t<std::is_base_of_v<IZtAudioSamples, Object>, IZtAudioSamples, IZtAVContent>;
    using Pointer = TZtSmartPtr<Interface>;

    template <class Use>
    static void ExpectMisuse(const std::string& message, Use use)
    {
        try {
            use();
            ADD_FAILURE() << "no exception: " << message;
        } catch (const CZtSmartPointerException& error) {
            EXPECT_EQ(error.GetMessage(), message);
        }
    }
};

using Objects = testing::Types<CountedSamples, CountedContent>;
TYPED_TEST_SUITE(SmartPtr, Objects);

TYPED_TEST(SmartPtr, StartsEmptyAndThrowsOnUse)
{
    typename TestFixture::Pointer pointer;
    EXPECT_TRUE(!pointer);
    EXPECT_TRUE(pointer == nullptr);
    EXPECT_EQ(static_cast<typename TestFixture::Interface*>(pointer), nullptr) << "no exception";
    this->ExpectMisuse("TZtSmartPtr::operator* -> Internal pointer is NULL!", [&] { static_cast<void>(*pointer); });
    this->ExpectMisuse("TZtSmartPtr::operator-> -> Internal pointer is NULL!", [&] { pointer->MarkWriteStopTime(); });
}

TYPED_TEST(SmartPtr, HoldsOneReference)
{
    TypeParam object;
    {
        typename TestFixture::Pointer pointer;
        typename TestFixture::Interface* result = pointer = &object;
        EXPECT_EQ(result, &object);
        EXPECT_EQ(object.references, 1U);
        EXPECT_FALSE(!pointer);
        EXPECT_TRUE(pointer == &object);
        EXPECT_FALSE(pointer == nullptr);
        EXPECT_EQ(static_cast<typename TestFixture::Interface*>(pointer), &object);
        EXPECT_EQ(*pointer, &object);
        EXPECT_EQ(pointer->GetErrorCode(nullptr), 17);
        EXPECT_EQ(object.references, 1U) << "access acquires no reference";
    }
    EXPECT_EQ(object.references, 0U);
}

TYPED_TEST(SmartPtr, AcquiresTheNewReferenceBeforeItReleasesTheOld)
{
    std::vector<std::string> trace;
    TypeParam first("first", &trace);
    TypeParam second("second", &trace);
    {
        typename TestFixture::Pointer pointer;
        pointer = &first;
        pointer = &second;
        EXPECT_EQ(trace, (std::vector<std::string>{"+first", "+second", "-first"}));
        trace.clear();
        pointer = &second;
        EXPECT_EQ(trace, (std::vector<std::string>{"+second", "-second"})) << "assigning it to itself is safe";
        EXPECT_EQ(second.references, 1U);
    }
    EXPECT_EQ(first.references, 0U);
    EXPECT_EQ(second.references, 0U);
}

TYPED_TEST(SmartPtr, AssigningNullReleases)
{
    TypeParam object;
    typename TestFixture::Pointer pointer;
    pointer = &object;
    EXPECT_EQ((pointer = nullptr), nullptr);
    EXPECT_EQ(object.references, 0U);
    EXPECT_TRUE(!pointer);
    pointer = nullptr;
    EXPECT_TRUE(!pointer);
}

TYPED_TEST(SmartPtr, IsFilledAsAnOutputArgumentOnlyWhileEmpty)
{
    TypeParam object;
    {
        typename TestFixture::Pointer pointer;
        object.AddRef();
        *&pointer = &object;
        EXPECT_TRUE(pointer == &object);
        EXPECT_EQ(object.references, 1U) << "the reference that came with it";
        this->ExpectMisuse("TZtSmartPtr::operator& -> Internal pointer will be overriden!",
                           [&] { static_cast<void>(&pointer); });
        EXPECT_EQ(object.references, 1U);
        EXPECT_TRUE(pointer == &object);
    }
    EXPECT_EQ(object.references, 0U);
}

class ThrowsOnRelease : public Counted<IUnknown> {
public:
    unsigned long Release() override { throw 1; }
};

TEST(SmartPtrDeathTest, AnExceptionThatEscapesReleaseEndsTheProcess)
{
    EXPECT_DEATH(
        {
            ThrowsOnRelease object;
            try {
                TZtSmartPtr<IUnknown> pointer;
                *&pointer = &object;
            } catch (int) {
            }
        },
        "");
}

TEST(SmartPtrException, IsABaseExceptionAndIsCopiedAndAssigned)
{
    const CZtSmartPointerException original("text");
    CZtSmartPointerException copy(original);
    EXPECT_EQ(copy.GetMessage(), "text");
    copy = CZtSmartPointerException("other");
    EXPECT_EQ(copy.GetMessage(), "other");
    CZtBaseException base(original);
    base = CZtBaseException("base");
    EXPECT_EQ(base.GetMessage(), "base");
    try {
        throw original;
    } catch (const CZtBaseException& error) {
        EXPECT_EQ(error.GetMessage(), "text");
        EXPECT_NE(dynamic_cast<const CZtSmartPointerException*>(&error), nullptr);
    }
}

} // namespace

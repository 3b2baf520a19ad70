// The slots of the vtables against the definition in slots.c: C++ objects called from C, and a host in C called by an
// engine.

#include "tests/contract/slot_spies.h"
#include "tests/contract/slots.h"

#include "component/exceptions.h"
#include "component/smart_ptr.h"
#include "component/unknown.h"
#include "kernels/bit_depth.h"
#include "kernels/data_type.h"
#include "kernels/fade.h"
#include "kernels/mono_to_stereo.h"
#include "kernels/mux_conversion.h"
#include "kernels/stereo_to_mono.h"
#include "kernels/volume.h"
#include "resampler/resample_audio.h"
#include "support/ini_file.h"

#include <zta/zta.h>

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <new>
#include <numeric>
#include <string>
#include <vector>

namespace zta::test {
namespace {

TEST(Slots, OfTheInterfacesAreInOrder)
{
    ExpectSlotCalls<SlotSpy<IUnknown>, IUnknown>(slots_call_unknown, 0, 0);
    ExpectSlotCalls<ClassFactorySpy, IClassFactory>(slots_call_class_factory, 5, 6);
    ExpectSlotCalls<EngineFactorySpy, IZtaAudioSamplesEngineFactory>(slots_call_engine_factory, 5, 5);
    ExpectSlotCalls<EngineSpy, IZtaAudioSamplesEngine>(slots_call_engine, 5, 15);
}

template <class Base, class... Arguments>
void ExpectDestructorSlots(int complete, int deleting, const Arguments&... arguments)
{
    const auto destroy = [&](Base* object, bool isDeleting) {
        slots_destroy(object, isDeleting ? deleting : complete);
    };
    ExpectDestructors<Base>(destroy, arguments...);
}

TEST(Slots, ThreeAndFourAreTheDestructors)
{
    ExpectDestructorSlots<ClassFactorySpy>(3, 4);
    ExpectDestructorSlots<EngineFactorySpy>(3, 4);
    ExpectDestructorSlots<EngineSpy>(3, 4);
}

template <class Base>
struct NonDelegating : Base {
    NonDelegating() : Base(L"NonDelegating", nullptr) {}

    int NonDelegatingQueryInterface(const _GUID& riid, void** ppv) override { return CheckArguments(0, &riid, ppv); }
    unsigned long NonDelegatingAddRef() override { return 101; }
    unsigned long NonDelegatingRelease() override { return 102; }
};

template <class Base>
void ExpectNonDelegatingSlots()
{
    ExpectSlotCalls<NonDelegating<Base>, INonDelegatingUnknown>(slots_call_non_delegating_unknown, 0, 0);
    ExpectDestructorSlots<NonDelegating<Base>>(3, 4);
}

TEST(Slots, OfTheNonDelegatingUnknownsAreInOrder)
{
    ExpectNonDelegatingSlots<CZtLightUnknown>();
    ExpectNonDelegatingSlots<CZtUnknown>();
}

template <class Interface>
void ExpectSmartPointerSlots()
{
    CBuffer buffer;
    c_buffer_init(&buffer, 1, 1, 16, 16, nullptr, 0, 0);
    using Pointer = TZtSmartPtr<Interface>;
    alignas(Pointer) unsigned char memory[sizeof(Pointer)];
    auto* pointer = new (memory) Pointer();
    void* field = memory + 8;
    std::vector<void*> results(10);
    slots_call_smart_pointer(pointer, &buffer, results.data());
    EXPECT_EQ(results, (std::vector<void*>{pointer, nullptr, field, &buffer, nullptr, &buffer, &buffer, &buffer,
                                           pointer, nullptr}));
    EXPECT_EQ(buffer.references, 1);
    EXPECT_EQ(buffer.calls[1], 1);
    EXPECT_EQ(buffer.calls[2], 1);
}

/// The field is read after the destructor, as separately compiled code may do.
template <class Interface>
void ExpectSmartPointersDestructorToWriteNull()
{
    CBuffer buffer;
    c_buffer_init(&buffer, 1, 1, 16, 16, nullptr, 0, 0);
    using Pointer = TZtSmartPtr<Interface>;
    alignas(Pointer) unsigned char memory[sizeof(Pointer)];
    auto* pointer = new (memory) Pointer();
    *pointer = reinterpret_cast<Interface*>(&buffer);
    ASSERT_EQ(slots_pointer_at(memory, 8), &buffer);
    const long references = buffer.references;
    slots_destroy(pointer, 0);
    EXPECT_EQ(buffer.references, references - 1);
    EXPECT_EQ(slots_pointer_at(memory, 8), nullptr);
}

TEST(Slots, SmartPointersDestructorWritesNull)
{
    ExpectSmartPointersDestructorToWriteNull<IZtAudioSamples>();
    ExpectSmartPointersDestructorToWriteNull<IZtAVContent>();
}

TEST(Slots, OfSmartPointersAreInOrder)
{
    ExpectSmartPointerSlots<IZtAudioSamples>();
    ExpectSmartPointerSlots<IZtAVContent>();
}

template <class... Classes>
void ExpectDestructorsFirst()
{
    (ExpectDestructorSlots<Classes>(0, 1), ...);
}

TEST(Slots, OfClassesWithoutAnInterfaceAreTheDestructors)
{
    ExpectDestructorSlots<CZtBaseException>(0, 1, std::string("text"));
    ExpectDestructorSlots<CZtSmartPointerException>(0, 1, std::string("text"));
    ExpectDestructorSlots<CZtIniFile>(0, 1, std::string(), false);
    ExpectDestructorsFirst<CZtaAudioProcessingUtil, CZtaConvertBitDepth, CZtaConvertDataType, CZtaApplyFade,
                           CZtaApplyVolume, CZtaConvertMonoToStereo, CZtaConvertStereoToMono, CZtaConvertMonoToMux,
                           CZtaConvertStereoToMux, CZtaConvertMuxToMono, CZtaConvertMuxToStereo, CZtaResampleAudio>();
}

TEST(Slots, ClassFactoryOfTheModuleLocksIt)
{
    const int before = g_i32Objects;
    CLock lock{};
    ASSERT_EQ(c_lock_server(&lock), 0);
    EXPECT_EQ(lock.locked, 0);
    EXPECT_EQ(lock.can_unload_locked, 1);
    EXPECT_EQ(lock.unlocked, 0);
    EXPECT_EQ(lock.can_unload_unlocked, 1);
    EXPECT_EQ(lock.can_unload_released, 0);
    EXPECT_EQ(g_i32Objects, before);
}

/// An engine with a host in C.
class CHostSlots : public testing::Test {
protected:
    static constexpr std::uint32_t kPcm = 1;
    static constexpr std::uint32_t kMulti = 3;

    void SetUp() override
    {
        c_host_init(&host_);
        unsigned long left = 1;
        ASSERT_EQ(c_create_engine(&host_, &engine_, &left), 0);
        EXPECT_EQ(left, 0U);
        std::iota(source_data_.begin(), source_data_.end(), static_cast<unsigned char>(1));
        destination_data_.fill(0xEE);
    }

    void TearDown() override
    {
        if (engine_ != nullptr) {
            EXPECT_EQ(c_release(engine_), 0U);
        }
        EXPECT_EQ(host_.alive, 0);
    }

    void Source(std::uint32_t type, std::uint32_t bits, std::uint32_t valid_bits, unsigned long length)
    {
        c_buffer_init(&source_, 1, type, bits, valid_bits, source_data_.data(), source_data_.size(), length);
    }

    void Destination(std::uint32_t type, std::uint32_t bits, std::uint32_t valid_bits, unsigned long length)
    {
        c_buffer_init(&destination_, 1, type, bits, valid_bits, destination_data_.data(), destination_data_.size(),
                      length);
    }

    CHost host_{};
    void* engine_ = nullptr;
    CBuffer source_{};
    CBuffer destination_{};
    std::array<unsigned char, 64> source_data_{};
    std::array<unsigned char, 64> destination_data_{};
};

TEST_F(CHostSlots, CreationCallsCreateAudioSamplesOnly)
{
    EXPECT_EQ(host_.calls[0], 0);
    EXPECT_EQ(host_.calls[1], 0);
    EXPECT_EQ(host_.calls[2], 0);
    EXPECT_EQ(host_.calls[3], 131);
    EXPECT_EQ(host_.alive, 131);
    const std::vector<std::uint32_t> request(std::begin(host_.request), std::end(host_.request));
    EXPECT_EQ(request, (std::vector<std::uint32_t>{56, 0, 192000, 0, 0, 1, 0, 24, 2, 1, 48000, 32, 32, 0}));
}

TEST_F(CHostSlots, EngineHasTwoTablesAndOneReferenceCount)
{
    // That of the non-delegating unknown, and at offset 24 that of the engine interface.
    void* owning = static_cast<char*>(engine_) - 24;
    void* result = nullptr;
    EXPECT_EQ(c_query_unknown(engine_, &result), 0);
    EXPECT_EQ(result, owning);
    EXPECT_EQ(c_query_engine(owning, &result), 0);
    EXPECT_EQ(result, engine_);
    EXPECT_EQ(c_add_ref(owning), 4U);
    EXPECT_EQ(c_release(engine_), 3U);
    EXPECT_EQ(c_release(owning), 2U);
    EXPECT_EQ(c_release(owning), 1U);
    slots_destroy(engine_, 4);
    engine_ = nullptr;
    EXPECT_EQ(host_.alive, 0);
}

TEST_F(CHostSlots, StreamHasTwoTablesAndCountsInTheFirst)
{
    const int before = g_i32Objects;
    for (const unsigned long offset : {0UL, 8UL}) {
        void* stream = nullptr;
        ASSERT_EQ(c_create_resampler(engine_, 2, &stream), 0);
        EXPECT_EQ(g_i32Objects, before + 1);
        EXPECT_EQ(c_add_ref(stream), 2U);
        EXPECT_EQ(c_release(stream), 1U);
        void* result = nullptr;
        EXPECT_EQ(c_query_unknown(stream, &result), 0);
        EXPECT_EQ(result, stream);

        // The second table has a reference count of its own, which is not used.
        void* frame = static_cast<char*>(stream) + 8;
        EXPECT_EQ(c_add_ref(frame), 1U);
        EXPECT_EQ(c_query_unknown(frame, &result), 0);
        EXPECT_EQ(result, frame);
        EXPECT_EQ(c_release(frame), 1U);

        slots_destroy(static_cast<char*>(stream) + offset, 4);
        EXPECT_EQ(g_i32Objects, before);
    }
}

// Letters of the call order: a QueryInterface, d and e the marks, f and g the signals, h and i SetErrorCode
// and GetErrorCode, j SetPolarity, k SetWaveFormat, l GetAudioSamplesDescription, m GetBufferAndLength,
// n GetBufferCapacity, o GetLengthInSampleFrames, p and q the fades, r SetLength.

TEST_F(CHostSlots, ByteCopyMakesItsCallsInOrder)
{
    Source(kPcm, 16, 16, 40);
    Destination(kPcm, 16, 16, 0);
    EXPECT_EQ(c_copy(engine_, &source_, &destination_), 0);
    EXPECT_STREQ(source_.order, "aillimf");
    EXPECT_STREQ(destination_.order, "aldlnmeg");
    EXPECT_EQ(std::memcmp(source_data_.data(), destination_data_.data(), 40), 0);
    EXPECT_EQ(destination_data_[40], 0xEE);
    EXPECT_EQ(source_.references, 1);
    EXPECT_EQ(destination_.references, 1);
}

TEST_F(CHostSlots, ConversionSetsTheValidLengthOfTheOutput)
{
    Source(kPcm, 16, 16, 8);
    Destination(kPcm, 32, 24, 0);
    EXPECT_EQ(c_copy(engine_, &source_, &destination_), 0);
    EXPECT_EQ(destination_.calls[17], 1);
    EXPECT_EQ(destination_.length, 16U);
    EXPECT_EQ(std::memcmp(destination_data_.data(), "\0\0\1\2\0\0\3\4\0\0\5\6\0\0\7\10", 16), 0);
}

TEST_F(CHostSlots, TwentyValidBitsBecomeTwentyFourOnTheHostsBuffer)
{
    Source(kPcm, 32, 20, 8);
    Destination(kPcm, 32, 24, 8);
    EXPECT_EQ(c_copy(engine_, &source_, &destination_), 0);
    EXPECT_EQ(source_.calls[10], 1);
    EXPECT_EQ(source_.format[5], 24U);
    EXPECT_EQ(destination_.calls[10], 0);
}

TEST_F(CHostSlots, DuplicatePropagatesPolarityAndFades)
{
    Source(kPcm, 16, 16, 40);
    source_.polarity = 77;
    source_.fade_in = 1;
    Destination(kPcm, 16, 16, 40);
    destination_.fade_out = 1;
    EXPECT_EQ(c_duplicate(engine_, &source_, 4, &destination_, 10, 6), 0);
    EXPECT_EQ(destination_.polarity, 77U);
    EXPECT_EQ(destination_.fade_in, 1);
    EXPECT_EQ(destination_.fade_out, 0);
    EXPECT_EQ(std::memcmp(source_data_.data() + 4, destination_data_.data() + 10, 6), 0);
    EXPECT_EQ(destination_data_[9], 0xEE);
    EXPECT_EQ(destination_data_[16], 0xEE);
}

TEST_F(CHostSlots, FadeFlagsAreSetAndClearedOnTheDestination)
{
    Source(kPcm, 16, 16, 40);
    source_.fade_in = 1;
    Destination(kPcm, 16, 16, 40);
    EXPECT_EQ(c_copy(engine_, &source_, &destination_), 0);
    EXPECT_EQ(destination_.calls[15], 2);
    EXPECT_EQ(destination_.calls[16], 2);
    EXPECT_EQ(destination_.fade_in, 0);
    EXPECT_EQ(source_.fade_in, 1);
}

TEST_F(CHostSlots, MultiFormatTo16In16ComparesLengthsInFrames)
{
    Source(kMulti, 32, 16, 16);
    Destination(kPcm, 16, 16, 8);
    EXPECT_EQ(c_copy(engine_, &source_, &destination_), 0);
    EXPECT_EQ(source_.calls[14] + destination_.calls[14], 2);
}

TEST_F(CHostSlots, FailureIsRecordedOnTheDestinationAndSignaled)
{
    Source(kPcm, 16, 16, 40);
    Destination(kPcm, 16, 16, 0);
    destination_.capacity = 39;
    EXPECT_EQ(c_copy(engine_, &source_, &destination_), ZT_E_DESTINATION_BUFFER_TOO_SMALL);
    EXPECT_EQ(destination_.error_code, ZT_E_DESTINATION_BUFFER_TOO_SMALL);
    EXPECT_EQ(destination_data_[0], 0xEE);
    EXPECT_EQ(source_.calls[5], 1);
    EXPECT_EQ(destination_.calls[6], 1);
    EXPECT_EQ(source_.references, 1);
    // The byte copy leaks the reference that it acquires to record the failure.
    EXPECT_EQ(destination_.references, 2);
}

TEST_F(CHostSlots, ErrorCodeOfTheSourceIsPropagated)
{
    Source(kPcm, 16, 16, 40);
    source_.error_code = ZT_E_FAIL;
    Destination(kPcm, 16, 16, 0);
    EXPECT_EQ(c_copy(engine_, &source_, &destination_), ZT_E_FAIL);
    EXPECT_STREQ(source_.order, "aif");
    EXPECT_STREQ(destination_.order, "ahg");
    EXPECT_EQ(destination_.error_code, ZT_E_FAIL);
}

} // namespace
} // namespace zta::test

// The sizes and offsets that hosts have compiled in, as literal numbers, and the order of the fields of the module's
// own classes.

#include "component/class_factory.h"
#include "component/exceptions.h"
#include "component/hresult.h"
#include "component/smart_ptr.h"
#include "component/unknown.h"
#include "engine/audio_samples_engine.h"
#include "engine/engine_factory.h"
#include "kernels/audio_processing_util.h"
#include "kernels/sample_format.h"
#include "resampler/polyphase_resampler.h"
#include "support/ini_file.h"

#include <zta/zta.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <vector>

namespace {

// The records of the boundary are plain: the compiler itself checks them.
template <class T>
constexpr bool kPlain = std::is_standard_layout_v<T>&& std::is_trivially_copyable_v<T>;

static_assert(kPlain<_GUID> && sizeof(_GUID) == 16 && alignof(_GUID) == 4);
static_assert(offsetof(_GUID, Data1) == 0);
static_assert(offsetof(_GUID, Data2) == 4);
static_assert(offsetof(_GUID, Data3) == 6);
static_assert(offsetof(_GUID, Data4) == 8);

static_assert(kPlain<SZtaWaveFormatInfo> && sizeof(SZtaWaveFormatInfo) == 24 && alignof(SZtaWaveFormatInfo) == 4);
static_assert(offsetof(SZtaWaveFormatInfo, ulSize) == 0);
static_assert(offsetof(SZtaWaveFormatInfo, ulChannels) == 4);
static_assert(offsetof(SZtaWaveFormatInfo, eDataType) == 8);
static_assert(offsetof(SZtaWaveFormatInfo, ulSamplesPerSec) == 12);
static_assert(offsetof(SZtaWaveFormatInfo, ulBitsPerSample) == 16);
static_assert(offsetof(SZtaWaveFormatInfo, ulValidBitsPerSample) == 20);

static_assert(kPlain<SZtAudioSamplesDescription> && sizeof(SZtAudioSamplesDescription) == 40);
static_assert(alignof(SZtAudioSamplesDescription) == 4);
static_assert(offsetof(SZtAudioSamplesDescription, ulSize) == 0);
static_assert(offsetof(SZtAudioSamplesDescription, ePolarity) == 4);
static_assert(offsetof(SZtAudioSamplesDescription, ulHostAttribute) == 8);
static_assert(offsetof(SZtAudioSamplesDescription, bFadeIn) == 12);
static_assert(offsetof(SZtAudioSamplesDescription, bFadeOut) == 13);
static_assert(offsetof(SZtAudioSamplesDescription, sWaveFormat) == 16);

static_assert(kPlain<SZtCreateAudioSamplesDescription> && sizeof(SZtCreateAudioSamplesDescription) == 56);
static_assert(alignof(SZtCreateAudioSamplesDescription) == 8);
static_assert(offsetof(SZtCreateAudioSamplesDescription, ulSize) == 0);
static_assert(offsetof(SZtCreateAudioSamplesDescription, ui64BufferSize) == 8);
static_assert(offsetof(SZtCreateAudioSamplesDescription, ePolarity) == 16);
static_assert(offsetof(SZtCreateAudioSamplesDescription, ulHostAttribute) == 20);
static_assert(offsetof(SZtCreateAudioSamplesDescription, bFadeIn) == 24);
static_assert(offsetof(SZtCreateAudioSamplesDescription, bFadeOut) == 25);
static_assert(offsetof(SZtCreateAudioSamplesDescription, sWaveFormat) == 28);

static_assert(kPlain<SZtAudioMonoVolumeInfo> && sizeof(SZtAudioMonoVolumeInfo) == 12);
static_assert(alignof(SZtAudioMonoVolumeInfo) == 4);
static_assert(offsetof(SZtAudioMonoVolumeInfo, ulChannelRef) == 0);
static_assert(offsetof(SZtAudioMonoVolumeInfo, fStartVolume) == 4);
static_assert(offsetof(SZtAudioMonoVolumeInfo, fEndVolume) == 8);

static_assert(kPlain<SZtVersionInfo> && sizeof(SZtVersionInfo) == 181 && alignof(SZtVersionInfo) == 1);
static_assert(offsetof(SZtVersionInfo, achRevision) == 0);
static_assert(offsetof(SZtVersionInfo, achRelease) == 40);
static_assert(offsetof(SZtVersionInfo, achBuild) == 168);

static_assert(kPlain<CZtFactoryTemplate> && sizeof(CZtFactoryTemplate) == 40);
static_assert(offsetof(CZtFactoryTemplate, m_pwszName) == 0);
static_assert(offsetof(CZtFactoryTemplate, m_pClsid) == 8);
static_assert(offsetof(CZtFactoryTemplate, m_pfnCreateInstance) == 16);
static_assert(offsetof(CZtFactoryTemplate, m_pfnInitClass) == 24);
static_assert(offsetof(CZtFactoryTemplate, m_pfnRegister) == 32);

static_assert(kPlain<SZtAProcessingFormatAndFunctionIndex> && sizeof(SZtAProcessingFormatAndFunctionIndex) == 12);
static_assert(offsetof(SZtAProcessingFormatAndFunctionIndex, eInputFormat) == 0);
static_assert(offsetof(SZtAProcessingFormatAndFunctionIndex, eOutputFormat) == 4);
static_assert(offsetof(SZtAProcessingFormatAndFunctionIndex, iFunctionIndex) == 8);

static_assert(kPlain<SZtAListOfProcessingFormatsAndFunctionIndex>);
static_assert(sizeof(SZtAListOfProcessingFormatsAndFunctionIndex) == 16);
static_assert(offsetof(SZtAListOfProcessingFormatsAndFunctionIndex, iFormatCount) == 0);
static_assert(offsetof(SZtAListOfProcessingFormatsAndFunctionIndex, psFormats) == 8);

static_assert(kPlain<SZtAudioBufferInformations> && sizeof(SZtAudioBufferInformations) == 72);
static_assert(offsetof(SZtAudioBufferInformations, pvBuffer) == 0);
static_assert(offsetof(SZtAudioBufferInformations, ulValidFrames) == 8);
static_assert(offsetof(SZtAudioBufferInformations, ulCapacityFrames) == 16);
static_assert(offsetof(SZtAudioBufferInformations, iBytesPerFrame) == 24);
static_assert(offsetof(SZtAudioBufferInformations, eFormat) == 28);
static_assert(offsetof(SZtAudioBufferInformations, sDescription) == 32);

static_assert(std::is_same_v<std::underlying_type_t<EZtAudioDataType>, std::uint32_t>);
static_assert(keZtAudioDataTypePcm == 1 && keZtAudioDataTypeFloat == 2 && keZtAudioDataTypeMultiFormat == 3 &&
              keZtAudioDataTypeOpaque == 4);
static_assert(std::is_same_v<std::underlying_type_t<EZtAudioResamplerMode>, std::uint32_t>);
static_assert(keZtAudioResamplerModeRestart == 2);
static_assert(std::is_same_v<std::underlying_type_t<EZtAudioSampleFormatProperty>, std::uint32_t>);
static_assert(CZtIniFile::keCommentCharPound == 35 && CZtIniFile::keCommentCharSemicolon == 59);
static_assert(std::is_same_v<std::underlying_type_t<CZtIniFile::CommentChar>, unsigned int>);

/// Where a field lies in its object. In this platform's object model a pointer to a data member is that offset.
template <class Object, class Field>
std::ptrdiff_t OffsetOf(Field Object::*field)
{
    static_assert(sizeof(field) == sizeof(std::ptrdiff_t));
    std::ptrdiff_t offset = 0;
    std::memcpy(&offset, &field, sizeof(offset));
    return offset;
}

using Offsets = std::vector<std::ptrdiff_t>;

} // namespace

/// A friend of the classes whose order of fields is part of the contract.
struct SZtLayoutProbe {
    static Offsets LightUnknown()
    {
        return {OffsetOf(&CZtLightUnknown::m_pOuterUnknown), OffsetOf(&CZtLightUnknown::m_ulRefCount)};
    }

    static Offsets Unknown()
    {
        return {OffsetOf(&CZtUnknown::m_pOuterUnknown), OffsetOf(&CZtUnknown::m_ulRefCount),
                OffsetOf(&CZtUnknown::m_pReserved)};
    }

    static Offsets ClassFactory()
    {
        return {OffsetOf(&CZtClassFactory::m_pTemplate), OffsetOf(&CZtClassFactory::m_lRefCount)};
    }

    static Offsets HResult() { return {OffsetOf(&CZtHResult::m_hr), OffsetOf(&CZtHResult::m_psAllowedErrors)}; }

    template <class T>
    static Offsets SmartPtr()
    {
        return {OffsetOf(&TZtSmartPtr<T>::m_pInterface)};
    }

    static Offsets IniFile()
    {
        return {OffsetOf(&CZtIniFile::m_sFileName), OffsetOf(&CZtIniFile::m_aoContent),
                OffsetOf(&CZtIniFile::m_bAutoSave), OffsetOf(&CZtIniFile::m_bDirty)};
    }

    static Offsets ProcessingUtil() { return {OffsetOf(&CZtaAudioProcessingUtil::m_psProcessingFormats)}; }

    static Offsets MonoToStereo() { return {OffsetOf(&CZtaConvertMonoToStereo::m_oTable)}; }
    static Offsets StereoToMono() { return {OffsetOf(&CZtaConvertStereoToMono::m_oTable)}; }

    static Offsets Volume()
    {
        return {OffsetOf(&CZtaApplyVolume::m_oTable), OffsetOf(&CZtaApplyVolume::m_plVolumeSettings)};
    }

    static const std::int32_t* VolumeSettings(const CZtaApplyVolume& volume) { return volume.m_plVolumeSettings; }
    static const auto& UpperLimits() { return CZtaApplyVolume::ms_alPosSaturation; }
    static const auto& LowerLimits() { return CZtaApplyVolume::ms_alNegSaturation; }

    static Offsets Engine()
    {
        using Engine = CZtaAudioSamplesEngine;
        return {
            OffsetOf(&Engine::m_pHostEngine),
            OffsetOf(&Engine::m_pSavedInput),
            OffsetOf(&Engine::m_pSavedOutput),
            OffsetOf(&Engine::m_apSavedBuffers),
            OffsetOf(&Engine::m_ui64SavedBufferCount),
            OffsetOf(&Engine::m_asSavedVolumes),
            OffsetOf(&Engine::m_ui64SavedVolumeCount),
            OffsetOf(&Engine::m_ui64SavedSourceOffset),
            OffsetOf(&Engine::m_ui64SavedDestinationOffset),
            OffsetOf(&Engine::m_ui64SavedLength),
            OffsetOf(&Engine::m_pScratch0),
            OffsetOf(&Engine::m_pScratch1),
            OffsetOf(&Engine::m_pScratch2),
            OffsetOf(&Engine::m_apFadeScratch),
            OffsetOf(&Engine::m_apConvertScratch),
            OffsetOf(&Engine::m_pSavedResamplerState),
            OffsetOf(&Engine::m_eSavedResamplerMode),
        };
    }

    /// The kernels, then the latch.
    static Offsets EngineTail()
    {
        using Engine = CZtaAudioSamplesEngine;
        return {
            OffsetOf(&Engine::m_oConvertBitDepth),     OffsetOf(&Engine::m_oConvertDataType),
            OffsetOf(&Engine::m_oApplyFade),           OffsetOf(&Engine::m_oConvertMonoToStereo),
            OffsetOf(&Engine::m_oConvertStereoToMono), OffsetOf(&Engine::m_oConvertMonoToMux),
            OffsetOf(&Engine::m_oConvertStereoToMux),  OffsetOf(&Engine::m_oConvertMuxToMono),
            OffsetOf(&Engine::m_oConvertMuxToStereo),  OffsetOf(&Engine::m_oApplyVolume),
            OffsetOf(&Engine::m_oResampleAudio),       OffsetOf(&Engine::m_ui32Busy),
        };
    }

    /// The table, what it holds as far as an object shows it, and the volume step.
    template <class Kernels>
    static Offsets Mux()
    {
        const Kernels kernels;
        const auto offset = [&kernels](const void* field) {
            return static_cast<const char*>(field) - reinterpret_cast<const char*>(&kernels);
        };
        return {OffsetOf(&Kernels::m_oTable), offset(kernels.m_psProcessingFormats->psFormats),
                offset(kernels.m_psProcessingFormats), OffsetOf(&Kernels::m_oApplyVolume)};
    }

    static_assert(sizeof(CZtaAudioSamplesEngine::m_apSavedBuffers) == 64 * 8);
    static_assert(sizeof(CZtaAudioSamplesEngine::m_asSavedVolumes) == 64 * 12);
    static_assert(sizeof(CZtaAudioSamplesEngine::m_apFadeScratch) == 64 * 8);
    static_assert(sizeof(CZtaAudioSamplesEngine::m_apConvertScratch) == 64 * 8);
    static_assert(sizeof(CZtaAudioSamplesEngine::m_ui32Busy) == 4);
    static_assert(sizeof(CZtLightUnknown::m_ulRefCount) == 4);
    static_assert(sizeof(CZtUnknown::m_ulRefCount) == 4);
    static_assert(sizeof(CZtClassFactory::m_lRefCount) == 8);
};

namespace {

TEST(Layout, Unknowns)
{
    EXPECT_EQ(SZtLayoutProbe::LightUnknown(), (Offsets{8, 16}));
    EXPECT_EQ(sizeof(CZtLightUnknown), 24U);
    EXPECT_EQ(SZtLayoutProbe::Unknown(), (Offsets{8, 16, 24}));
    EXPECT_EQ(sizeof(CZtUnknown), 32U);
    EXPECT_EQ(sizeof(g_i32Objects), 4U);
}

TEST(Layout, ClassFactory)
{
    EXPECT_EQ(SZtLayoutProbe::ClassFactory(), (Offsets{8, 16}));
    EXPECT_EQ(sizeof(CZtClassFactory), 24U);
    EXPECT_EQ(sizeof(CZtClassFactory::ms_i32LockedCount), 4U);
}

TEST(Layout, StatusValue)
{
    EXPECT_EQ(SZtLayoutProbe::HResult(), (Offsets{0, 8}));
    EXPECT_EQ(sizeof(CZtHResult), 16U);
}

TEST(Layout, SmartPointers)
{
    EXPECT_EQ(SZtLayoutProbe::SmartPtr<IZtAudioSamples>(), (Offsets{8}));
    EXPECT_EQ(SZtLayoutProbe::SmartPtr<IZtAVContent>(), (Offsets{8}));
    EXPECT_EQ(sizeof(TZtSmartPtr<IZtAudioSamples>), 16U);
    EXPECT_EQ(sizeof(TZtSmartPtr<IZtAVContent>), 16U);
}

TEST(Layout, Exceptions)
{
    EXPECT_EQ(sizeof(CZtBaseException), 8 + sizeof(std::string));
    EXPECT_EQ(sizeof(CZtSmartPointerException), sizeof(CZtBaseException));
}

TEST(Layout, IniFile)
{
    EXPECT_EQ(SZtLayoutProbe::IniFile(), (Offsets{8, 40, 64, 65}));
    EXPECT_EQ(sizeof(CZtIniFile), 72U);

    using Record = CZtIniFile::Record;
    EXPECT_EQ((Offsets{OffsetOf(&Record::Comments), OffsetOf(&Record::Commented), OffsetOf(&Record::Section),
                       OffsetOf(&Record::Key), OffsetOf(&Record::Value)}),
              (Offsets{0, 32, 40, 72, 104}));
    EXPECT_EQ(sizeof(Record), 136U);
}

TEST(Layout, KernelBase)
{
    EXPECT_EQ(SZtLayoutProbe::ProcessingUtil(), (Offsets{8}));
    EXPECT_EQ(sizeof(CZtaAudioProcessingUtil), 16U);
}

TEST(Layout, MonoAndStereoKernels)
{
    EXPECT_EQ(SZtLayoutProbe::MonoToStereo(), (Offsets{16}));
    EXPECT_EQ(sizeof(CZtaConvertMonoToStereo), 144U);
    EXPECT_EQ(SZtLayoutProbe::StereoToMono(), (Offsets{16}));
    EXPECT_EQ(sizeof(CZtaConvertStereoToMono), 144U);
}

TEST(Layout, VolumeKernel)
{
    EXPECT_EQ(SZtLayoutProbe::Volume(), (Offsets{16, 232}));
    EXPECT_EQ(sizeof(CZtaApplyVolume), 240U);
    for (const auto* limits : {&SZtLayoutProbe::UpperLimits(), &SZtLayoutProbe::LowerLimits()}) {
        static_assert(sizeof(*limits) == 16);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(limits) % 16, 0U);
    }
    for (int lane = 0; lane < 4; ++lane) {
        EXPECT_EQ(SZtLayoutProbe::UpperLimits()[lane], 8388607);
        EXPECT_EQ(SZtLayoutProbe::LowerLimits()[lane], -8388608);
    }
}

using Lanes = std::vector<std::int32_t>;

/// The settings block for ramps over ten frames. Channel c starts at 1 + c parts and steps by 1 + c parts a frame.
Lanes VolumeSettings(unsigned long channels)
{
    CZtaApplyVolume volume;
    std::vector<SZtAudioMonoVolumeInfo> records;
    for (unsigned long c = 0; c < channels; ++c) {
        const auto parts = static_cast<float>(1 + c);
        records.push_back({0, parts / 4096.0f, parts * 11.1f / 4096.0f});
    }
    EXPECT_EQ(volume.SetVolumeSettings(records.data(), channels, 10), 0);
    const std::int32_t* block = SZtLayoutProbe::VolumeSettings(volume);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block) % 16, 0U);
    return {block, block + 2 * std::max(channels, 4UL)};
}

TEST(Layout, VolumeSettingsHaveFourGainsThenFourIncrementsForEachGroup)
{
    EXPECT_EQ(VolumeSettings(1), (Lanes{1, 2, 3, 4, 4, 4, 4, 4}));
    EXPECT_EQ(VolumeSettings(2), (Lanes{1, 2, 2, 4, 2, 4, 2, 4}));
    for (std::int32_t channels : {4, 8, 16, 32, 64}) {
        Lanes expected;
        for (std::int32_t c = 0; c < channels; c += 4) {
            for (int half = 0; half < 2; ++half) { // each channel's step is as large as its gain
                expected.insert(expected.end(), {c + 1, c + 2, c + 3, c + 4});
            }
        }
        EXPECT_EQ(VolumeSettings(static_cast<unsigned long>(channels)), expected);
    }
}

TEST(Layout, Engine)
{
    EXPECT_EQ(SZtLayoutProbe::Engine(),
              (Offsets{32, 40, 48, 56, 568, 576, 1344, 1352, 1360, 1368, 1376, 1384, 1392, 1400, 1912, 2424, 2432}));
    EXPECT_EQ(sizeof(CZtaConvertBitDepth), 1040U);
    EXPECT_EQ(sizeof(CZtaConvertDataType), 312U);
    EXPECT_EQ(sizeof(CZtaApplyFade), 480U);
    EXPECT_EQ(SZtLayoutProbe::EngineTail(),
              (Offsets{2440, 3480, 3792, 4272, 4416, 4560, 5256, 5952, 6648, 7344, 7584, 7672}));
    EXPECT_EQ(sizeof(CZtaAudioSamplesEngine), 7680U);
}

TEST(Layout, ResamplerStream)
{
    using Stream = CPolyphaseResampler;
    EXPECT_EQ((Offsets{OffsetOf(&Stream::m_eHint), OffsetOf(&Stream::m_pSpec), OffsetOf(&Stream::m_ulInputRate),
                       OffsetOf(&Stream::m_ulOutputRate), OffsetOf(&Stream::m_ulFilterLength),
                       OffsetOf(&Stream::m_ulWorkSamples), OffsetOf(&Stream::m_ulChannels),
                       OffsetOf(&Stream::m_ulHistoryStride), OffsetOf(&Stream::m_ulPrimeSamples),
                       OffsetOf(&Stream::m_aulHistoryCount), OffsetOf(&Stream::m_adTime),
                       OffsetOf(&Stream::m_psWorkBuffer), OffsetOf(&Stream::m_psHistory), OffsetOf(&Stream::m_fRollOff),
                       OffsetOf(&Stream::m_fAlpha), OffsetOf(&Stream::m_lRefCount)}),
              (Offsets{40, 48, 56, 64, 72, 80, 88, 96, 104, 112, 240, 368, 376, 384, 388, 392}));
    EXPECT_EQ(sizeof(Stream), 400U);
    EXPECT_EQ(sizeof(CZtaResampleAudio), 88U);
}

TEST(Layout, EngineHasItsServiceInterfaceBehindTheLightUnknown)
{
    // Converted from an address that is never read, so that no engine is needed.
    auto* engine = reinterpret_cast<CZtaAudioSamplesEngine*>(0x10000);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(static_cast<CZtLightUnknown*>(engine)), 0x10000U);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(static_cast<IZtaAudioSamplesEngine*>(engine)), 0x10000U + 24);
}

TEST(Layout, FactoryHasItsServiceInterfaceBehindTheUnknownAndNoFields)
{
    auto* factory = reinterpret_cast<CZtaAudioSamplesEngineFactory*>(0x10000);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(static_cast<CZtUnknown*>(factory)), 0x10000U);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(static_cast<IZtaAudioSamplesEngineFactory*>(factory)), 0x10000U + 32);
    EXPECT_EQ(sizeof(CZtaAudioSamplesEngineFactory), 40U);
}

TEST(Layout, MuxKernelsHaveRowsThenTheirListThenFunctionsThenTheVolumeStep)
{
    const Offsets expected = {16, 16, 200, 456}; // 15 rows of 12 bytes, the list, 15 functions of 16 bytes
    EXPECT_EQ(SZtLayoutProbe::Mux<CZtaConvertMonoToMux>(), expected);
    EXPECT_EQ(SZtLayoutProbe::Mux<CZtaConvertStereoToMux>(), expected);
    EXPECT_EQ(SZtLayoutProbe::Mux<CZtaConvertMuxToMono>(), expected);
    EXPECT_EQ(SZtLayoutProbe::Mux<CZtaConvertMuxToStereo>(), expected);
    EXPECT_EQ(sizeof(CZtaConvertMonoToMux), 696U);
    EXPECT_EQ(sizeof(CZtaConvertStereoToMux), 696U);
    EXPECT_EQ(sizeof(CZtaConvertMuxToMono), 696U);
    EXPECT_EQ(sizeof(CZtaConvertMuxToStereo), 696U);
}

TEST(Layout, Identifiers)
{
    // Each identifier's 16 bytes, as they lie in memory.
    const auto expect = [](const _GUID& id, std::initializer_list<unsigned char> bytes) {
        ASSERT_EQ(bytes.size(), sizeof(id));
        EXPECT_EQ(std::memcmp(&id, bytes.begin(), sizeof(id)), 0) << std::hex << id.Data1;
    };
    expect(IID_IUnknown, {0, 0, 0, 0, 0, 0, 0, 0, 0xC0, 0, 0, 0, 0, 0, 0, 0x46});
    expect(IID_IClassFactory, {1, 0, 0, 0, 0, 0, 0, 0, 0xC0, 0, 0, 0, 0, 0, 0, 0x46});
    expect(IID_IZtAVContent,
           {0x66, 0x61, 0x90, 0xE7, 0xF4, 0x30, 0x30, 0x4F, 0xAE, 0x1E, 0x2F, 0xCF, 0xAE, 0x96, 0x93, 0x30});
    expect(IID_IZtAudioSamples,
           {0x8E, 0xF2, 0xB1, 0x20, 0x24, 0xA5, 0x97, 0x49, 0xA7, 0x68, 0xF4, 0xFF, 0x63, 0x42, 0x36, 0x3E});
    expect(IID_IZtQuonEnginePrivate,
           {0x96, 0x12, 0x27, 0x1E, 0x50, 0x1E, 0xC9, 0x40, 0x8B, 0xB5, 0xFB, 0x13, 0xF8, 0x13, 0x3B, 0x96});
    expect(CLSID_ZtaAudioSamplesEngine,
           {0x97, 0x00, 0xF2, 0x45, 0x19, 0xF5, 0xCF, 0x4D, 0x80, 0xD8, 0xCC, 0x0D, 0x06, 0xCB, 0xF2, 0x59});
    expect(IID_IZtaAudioSamplesEngine,
           {0x45, 0x4C, 0x3A, 0x1E, 0xAD, 0xA1, 0x85, 0x43, 0xA6, 0x50, 0x1C, 0x3D, 0xB4, 0x28, 0xF3, 0xCB});
    expect(IID_IZtaAudioSamplesEngineFactory,
           {0xA8, 0xF6, 0x93, 0x85, 0x42, 0x40, 0xB9, 0x42, 0x86, 0xD0, 0x71, 0x60, 0xA7, 0x5F, 0x5F, 0x87});
}

} // namespace

// Sizes and offsets that compiled hosts rely on, as literal numbers, and the fields of the exported classes.

#include "component/class_factory.h"
#include "component/exceptions.h"
#include "component/hresult.h"
#include "component/module.h"
#include "component/smart_ptr.h"
#include "component/unknown.h"
#include "engine/audio_samples_engine.h"
#include "engine/engine_factory.h"
#include "kernels/audio_processing_util.h"
#include "kernels/sample_format.h"
#include "resampler/polyphase_resampler.h"
#include "support/ini_file.h"

#include <zta/ipp.h>
#include <zta/zta.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <vector>

namespace {

// The records have standard layout, so these are checks at compile time.
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

static_assert(std::is_same_v<std::underlying_type_t<EZtLogPackage>, std::uint32_t> && keZtLogPackageComponent == 21004);
static_assert(std::is_same_v<std::underlying_type_t<EZtLogLevel>, std::uint32_t> && keZtLogLevelError == 4);
static_assert(std::is_same_v<std::underlying_type_t<IppStatus>, std::int32_t>);
static_assert(std::is_same_v<std::underlying_type_t<IppHintAlgorithm>, std::uint32_t>);
static_assert(ippAlgHintFast == 1 && ippAlgHintAccurate == 2);

// Exported data.
static_assert(sizeof(g_asFormatOfProperty) == 27 * 24);
static_assert(sizeof(g_i32Objects) == 4 && sizeof(g_hInst) == 4 && sizeof(g_iTemplates) == 4);
static_assert(sizeof(g_achVersionInfo) == 181);

} // namespace

// The fields of the classes have fixed offsets although the classes do not have standard layout: the platform's ABI
// defines the offsets, the language does not, so the compilers warn.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Winvalid-offsetof"
#define ZTA_FIELD_AT(offset, Class, field) static_assert(offsetof(Class, field) == (offset))
#define ZTA_SIZED_AT(offset, size, Class, field)                                                                       \
    static_assert(offsetof(Class, field) == (offset) && sizeof(Class::field) == (size))

/// A friend of the classes whose field order is part of the binary interface.
struct SZtLayoutProbe {
    ZTA_FIELD_AT(8, CZtLightUnknown, m_pOuterUnknown);
    ZTA_SIZED_AT(16, 4, CZtLightUnknown, m_ulRefCount);
    static_assert(sizeof(CZtLightUnknown) == 24);

    ZTA_FIELD_AT(8, CZtUnknown, m_pOuterUnknown);
    ZTA_SIZED_AT(16, 4, CZtUnknown, m_ulRefCount);
    ZTA_SIZED_AT(24, 8, CZtUnknown, m_pReserved);
    static_assert(sizeof(CZtUnknown) == 32);

    ZTA_FIELD_AT(8, CZtClassFactory, m_pTemplate);
    ZTA_SIZED_AT(16, 8, CZtClassFactory, m_lRefCount);
    static_assert(sizeof(CZtClassFactory) == 24 && sizeof(CZtClassFactory::ms_i32LockedCount) == 4);

    ZTA_SIZED_AT(0, 4, CZtHResult, m_hr);
    ZTA_FIELD_AT(8, CZtHResult, m_psAllowedErrors);
    static_assert(sizeof(CZtHResult) == 16);

    ZTA_FIELD_AT(8, TZtSmartPtr<IZtAudioSamples>, m_pInterface);
    ZTA_FIELD_AT(8, TZtSmartPtr<IZtAVContent>, m_pInterface);
    static_assert(sizeof(TZtSmartPtr<IZtAudioSamples>) == 16 && sizeof(TZtSmartPtr<IZtAVContent>) == 16);

    static_assert(sizeof(CZtBaseException) == 8 + sizeof(std::string));
    static_assert(sizeof(CZtSmartPointerException) == sizeof(CZtBaseException));

    ZTA_FIELD_AT(8, CZtIniFile, m_sFileName);
    ZTA_FIELD_AT(40, CZtIniFile, m_aoContent);
    ZTA_FIELD_AT(64, CZtIniFile, m_bAutoSave);
    ZTA_FIELD_AT(65, CZtIniFile, m_bDirty);
    static_assert(sizeof(CZtIniFile) == 72);
    ZTA_FIELD_AT(0, CZtIniFile::Record, Comments);
    ZTA_SIZED_AT(32, 4, CZtIniFile::Record, Commented);
    ZTA_FIELD_AT(40, CZtIniFile::Record, Section);
    ZTA_FIELD_AT(72, CZtIniFile::Record, Key);
    ZTA_FIELD_AT(104, CZtIniFile::Record, Value);
    static_assert(sizeof(CZtIniFile::Record) == 136);

    // After the field of their base, the kernel classes have 12 bytes for each table entry, the list of the entries,
    // 16 bytes for each function, and then their own fields.
    ZTA_FIELD_AT(8, CZtaAudioProcessingUtil, m_psProcessingFormats);
    static_assert(sizeof(CZtaAudioProcessingUtil) == 16);

    ZTA_SIZED_AT(16, 36 * 28 + 16, CZtaConvertBitDepth, m_oTable);
    static_assert(sizeof(CZtaConvertBitDepth) == 1040);
    ZTA_SIZED_AT(16, 10 * 28 + 16, CZtaConvertDataType, m_oTable);
    static_assert(sizeof(CZtaConvertDataType) == 312);
    ZTA_SIZED_AT(16, 8, CZtaApplyFade, m_ulFadeFrames);
    ZTA_SIZED_AT(24, 10 * 28 + 16, CZtaApplyFade, m_oFadeIn);
    ZTA_SIZED_AT(320, 10 * 16, CZtaApplyFade, m_apfnFadeOut);
    static_assert(sizeof(CZtaApplyFade) == 480);
    ZTA_SIZED_AT(16, 4 * 28 + 16, CZtaConvertMonoToStereo, m_oTable);
    static_assert(sizeof(CZtaConvertMonoToStereo) == 144);
    ZTA_SIZED_AT(16, 4 * 28 + 16, CZtaConvertStereoToMono, m_oTable);
    static_assert(sizeof(CZtaConvertStereoToMono) == 144);
    ZTA_SIZED_AT(16, 7 * 28 + 4 + 16, CZtaApplyVolume, m_oTable);
    ZTA_FIELD_AT(232, CZtaApplyVolume, m_plVolumeSettings);
    static_assert(sizeof(CZtaApplyVolume) == 240);
    static_assert(sizeof(CZtaApplyVolume::ms_alPosSaturation) == 16 &&
                  sizeof(CZtaApplyVolume::ms_alNegSaturation) == 16);

#define ZTA_MUX_CLASS(Class)                                                                                           \
    ZTA_SIZED_AT(16, 15 * 28 + 4 + 16, Class, m_oTable);                                                               \
    ZTA_SIZED_AT(456, 240, Class, m_oApplyVolume);                                                                     \
    static_assert(sizeof(Class) == 696)
    ZTA_MUX_CLASS(CZtaConvertMonoToMux);
    ZTA_MUX_CLASS(CZtaConvertStereoToMux);
    ZTA_MUX_CLASS(CZtaConvertMuxToMono);
    ZTA_MUX_CLASS(CZtaConvertMuxToStereo);
#undef ZTA_MUX_CLASS

    ZTA_SIZED_AT(16, 2 * 28 + 16, CZtaResampleAudio, m_oTable);
    static_assert(sizeof(CZtaResampleAudio) == 88);

    ZTA_SIZED_AT(40, 4, CPolyphaseResampler, m_eHint);
    ZTA_FIELD_AT(48, CPolyphaseResampler, m_pSpec);
    ZTA_FIELD_AT(56, CPolyphaseResampler, m_ulInputRate);
    ZTA_FIELD_AT(64, CPolyphaseResampler, m_ulOutputRate);
    ZTA_FIELD_AT(72, CPolyphaseResampler, m_ulFilterLength);
    ZTA_FIELD_AT(80, CPolyphaseResampler, m_ulWorkSamples);
    ZTA_FIELD_AT(88, CPolyphaseResampler, m_ulChannels);
    ZTA_FIELD_AT(96, CPolyphaseResampler, m_ulHistoryStride);
    ZTA_FIELD_AT(104, CPolyphaseResampler, m_ulPrimeSamples);
    ZTA_SIZED_AT(112, 16 * 8, CPolyphaseResampler, m_aulHistoryCount);
    ZTA_SIZED_AT(240, 16 * 8, CPolyphaseResampler, m_adTime);
    ZTA_FIELD_AT(368, CPolyphaseResampler, m_psWorkBuffer);
    ZTA_FIELD_AT(376, CPolyphaseResampler, m_psHistory);
    ZTA_FIELD_AT(384, CPolyphaseResampler, m_fRollOff);
    ZTA_FIELD_AT(388, CPolyphaseResampler, m_fAlpha);
    ZTA_SIZED_AT(392, 4, CPolyphaseResampler, m_lRefCount);
    static_assert(sizeof(CPolyphaseResampler) == 400);

    static_assert(sizeof(CZtaAudioSamplesEngineFactory) == 40);

    ZTA_FIELD_AT(32, CZtaAudioSamplesEngine, m_pHostEngine);
    ZTA_FIELD_AT(40, CZtaAudioSamplesEngine, m_pSavedInput);
    ZTA_FIELD_AT(48, CZtaAudioSamplesEngine, m_pSavedOutput);
    ZTA_SIZED_AT(56, 64 * 8, CZtaAudioSamplesEngine, m_apSavedBuffers);
    ZTA_FIELD_AT(568, CZtaAudioSamplesEngine, m_ui64SavedBufferCount);
    ZTA_SIZED_AT(576, 64 * 12, CZtaAudioSamplesEngine, m_asSavedVolumes);
    ZTA_FIELD_AT(1344, CZtaAudioSamplesEngine, m_ui64SavedVolumeCount);
    ZTA_FIELD_AT(1352, CZtaAudioSamplesEngine, m_ui64SavedSourceOffset);
    ZTA_FIELD_AT(1360, CZtaAudioSamplesEngine, m_ui64SavedDestinationOffset);
    ZTA_FIELD_AT(1368, CZtaAudioSamplesEngine, m_ui64SavedLength);
    ZTA_FIELD_AT(1376, CZtaAudioSamplesEngine, m_pScratch0);
    ZTA_FIELD_AT(1384, CZtaAudioSamplesEngine, m_pScratch1);
    ZTA_FIELD_AT(1392, CZtaAudioSamplesEngine, m_pScratch2);
    ZTA_SIZED_AT(1400, 64 * 8, CZtaAudioSamplesEngine, m_apFadeScratch);
    ZTA_SIZED_AT(1912, 64 * 8, CZtaAudioSamplesEngine, m_apConvertScratch);
    ZTA_FIELD_AT(2424, CZtaAudioSamplesEngine, m_pSavedResamplerState);
    ZTA_SIZED_AT(2432, 4, CZtaAudioSamplesEngine, m_eSavedResamplerMode);
    ZTA_FIELD_AT(2440, CZtaAudioSamplesEngine, m_oConvertBitDepth);
    ZTA_FIELD_AT(3480, CZtaAudioSamplesEngine, m_oConvertDataType);
    ZTA_FIELD_AT(3792, CZtaAudioSamplesEngine, m_oApplyFade);
    ZTA_FIELD_AT(4272, CZtaAudioSamplesEngine, m_oConvertMonoToStereo);
    ZTA_FIELD_AT(4416, CZtaAudioSamplesEngine, m_oConvertStereoToMono);
    ZTA_FIELD_AT(4560, CZtaAudioSamplesEngine, m_oConvertMonoToMux);
    ZTA_FIELD_AT(5256, CZtaAudioSamplesEngine, m_oConvertStereoToMux);
    ZTA_FIELD_AT(5952, CZtaAudioSamplesEngine, m_oConvertMuxToMono);
    ZTA_FIELD_AT(6648, CZtaAudioSamplesEngine, m_oConvertMuxToStereo);
    ZTA_FIELD_AT(7344, CZtaAudioSamplesEngine, m_oApplyVolume);
    ZTA_FIELD_AT(7584, CZtaAudioSamplesEngine, m_oResampleAudio);
    ZTA_SIZED_AT(7672, 4, CZtaAudioSamplesEngine, m_ui32Busy);
    static_assert(sizeof(CZtaAudioSamplesEngine) == 7680);

    static const std::int32_t* VolumeSettings(const CZtaApplyVolume& volume)
    {
        return volume.m_plVolumeSettings;
    }
    static const auto& UpperLimits()
    {
        return CZtaApplyVolume::ms_alPosSaturation;
    }
    static const auto& LowerLimits()
    {
        return CZtaApplyVolume::ms_alNegSaturation;
    }

    /// The number of table entries of an object, and the offsets of the entries and of their list.
    struct KernelTable {
        int count;
        std::ptrdiff_t entries;
        std::ptrdiff_t list;
        bool operator==(const KernelTable&) const = default;
    };

    template <class Kernels>
    static KernelTable TableLayout()
    {
        const Kernels kernels;
        const auto offset = [&kernels](const void* field) {
            return static_cast<const char*>(field) - reinterpret_cast<const char*>(&kernels);
        };
        const SZtAListOfProcessingFormatsAndFunctionIndex* list = kernels.m_psProcessingFormats;
        return {list->iFormatCount, offset(list->psFormats), offset(list)};
    }
};
#undef ZTA_SIZED_AT
#undef ZTA_FIELD_AT
#pragma GCC diagnostic pop

namespace {

TEST(Layout, KernelClassesHaveTheTableEntriesBeforeTheirList)
{
    using Probe = SZtLayoutProbe;
    EXPECT_EQ(Probe::TableLayout<CZtaConvertBitDepth>(), (Probe::KernelTable{36, 16, 448}));
    EXPECT_EQ(Probe::TableLayout<CZtaConvertDataType>(), (Probe::KernelTable{10, 16, 136}));
    EXPECT_EQ(Probe::TableLayout<CZtaApplyFade>(), (Probe::KernelTable{10, 24, 144}));
    EXPECT_EQ(Probe::TableLayout<CZtaConvertMonoToStereo>(), (Probe::KernelTable{4, 16, 64}));
    EXPECT_EQ(Probe::TableLayout<CZtaConvertStereoToMono>(), (Probe::KernelTable{4, 16, 64}));
    EXPECT_EQ(Probe::TableLayout<CZtaConvertMonoToMux>(), (Probe::KernelTable{15, 16, 200}));
    EXPECT_EQ(Probe::TableLayout<CZtaConvertStereoToMux>(), (Probe::KernelTable{15, 16, 200}));
    EXPECT_EQ(Probe::TableLayout<CZtaConvertMuxToMono>(), (Probe::KernelTable{15, 16, 200}));
    EXPECT_EQ(Probe::TableLayout<CZtaConvertMuxToStereo>(), (Probe::KernelTable{15, 16, 200}));
    EXPECT_EQ(Probe::TableLayout<CZtaApplyVolume>(), (Probe::KernelTable{7, 16, 104}));
    EXPECT_EQ(Probe::TableLayout<CZtaResampleAudio>(), (Probe::KernelTable{2, 16, 40}));
}

TEST(Layout, VolumeLimitsHaveOneValueForEachLane)
{
    for (const auto* limits : {&SZtLayoutProbe::UpperLimits(), &SZtLayoutProbe::LowerLimits()}) {
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(limits) % 16, 0U);
    }
    for (int lane = 0; lane < 4; ++lane) {
        EXPECT_EQ(SZtLayoutProbe::UpperLimits()[lane], 8388607);
        EXPECT_EQ(SZtLayoutProbe::LowerLimits()[lane], -8388608);
    }
}

using Lanes = std::vector<std::int32_t>;

/// Returns the settings for ramps over ten frames. In units of 1/4096, channel c starts at 1 + c and its step is 1 + c.
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
            for (int half = 0; half < 2; ++half) { // the step of each channel equals its gain
                expected.insert(expected.end(), {c + 1, c + 2, c + 3, c + 4});
            }
        }
        EXPECT_EQ(VolumeSettings(static_cast<unsigned long>(channels)), expected);
    }
}

TEST(Layout, EngineHasItsInterfaceAfterTheLightUnknown)
{
    // Converts an address that is not read, so that no engine is needed.
    auto* engine = reinterpret_cast<CZtaAudioSamplesEngine*>(0x10000);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(static_cast<CZtLightUnknown*>(engine)), 0x10000U);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(static_cast<IZtaAudioSamplesEngine*>(engine)), 0x10000U + 24);
}

TEST(Layout, FactoryHasItsInterfaceAfterTheUnknown)
{
    auto* factory = reinterpret_cast<CZtaAudioSamplesEngineFactory*>(0x10000);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(static_cast<CZtUnknown*>(factory)), 0x10000U);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(static_cast<IZtaAudioSamplesEngineFactory*>(factory)), 0x10000U + 32);
}

TEST(Layout, StreamHasItsBaseAfterTheUnknown)
{
    auto* stream = reinterpret_cast<CPolyphaseResampler*>(0x10000);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(static_cast<IUnknown*>(stream)), 0x10000U);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(static_cast<CZtUnknown*>(stream)), 0x10000U + 8);
}

TEST(Layout, IdentifiersHaveTheirBytes)
{
    // The 16 bytes of each identifier in memory order.
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

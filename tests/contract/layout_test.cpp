// Sizes and offsets that compiled hosts rely on, as literal numbers, and the fields of the exported classes.

#include "tests/contract/for_each.h"

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
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

// Asserts the offset of each field in its list, or offset and size: ZTA_FIELDS_AT(Class, (0, first), (4, second)).
#define ZTA_FIELDS_AT(Class, ...) ZTA_FOR_EACH(ZTA_FIELD_AT, Class, __VA_ARGS__) static_assert(true)
#define ZTA_FIELD_AT(Class, field)                                                                                     \
    static_assert(ZTA_OFFSET_OF(Class, ZTA_SECOND field) == (ZTA_FIRST field), #Class " " #field);
#define ZTA_SIZED_FIELDS_AT(Class, ...) ZTA_FOR_EACH(ZTA_SIZED_FIELD_AT, Class, __VA_ARGS__) static_assert(true)
#define ZTA_SIZED_FIELD_AT(Class, field)                                                                               \
    static_assert(ZTA_OFFSET_OF(Class, ZTA_THIRD field) == (ZTA_FIRST field), #Class " " #field);                      \
    static_assert(ZTA_SIZE_OF(Class, ZTA_THIRD field) == (ZTA_SECOND field), #Class " " #field);
#define ZTA_FIRST(first, ...) first
#define ZTA_SECOND(first, second, ...) second
#define ZTA_THIRD(first, second, third) third
#define ZTA_OFFSET_OF(Class, field) offsetof(Class, field)
#define ZTA_SIZE_OF(Class, field) sizeof(Class::field)

namespace {

// The records have standard layout, so these are checks at compile time.
template <class T>
constexpr bool kPlain = std::is_standard_layout_v<T>&& std::is_trivially_copyable_v<T>;

static_assert(kPlain<_GUID> && sizeof(_GUID) == 16 && alignof(_GUID) == 4);
ZTA_FIELDS_AT(_GUID, (0, Data1), (4, Data2), (6, Data3), (8, Data4));

static_assert(kPlain<SZtaWaveFormatInfo> && sizeof(SZtaWaveFormatInfo) == 24 && alignof(SZtaWaveFormatInfo) == 4);
ZTA_FIELDS_AT(SZtaWaveFormatInfo, (0, ulSize), (4, ulChannels), (8, eDataType), (12, ulSamplesPerSec),
              (16, ulBitsPerSample), (20, ulValidBitsPerSample));

static_assert(kPlain<SZtAudioSamplesDescription> && sizeof(SZtAudioSamplesDescription) == 40);
static_assert(alignof(SZtAudioSamplesDescription) == 4);
ZTA_FIELDS_AT(SZtAudioSamplesDescription, (0, ulSize), (4, ePolarity), (8, ulHostAttribute), (12, bFadeIn),
              (13, bFadeOut), (16, sWaveFormat));

static_assert(kPlain<SZtCreateAudioSamplesDescription> && sizeof(SZtCreateAudioSamplesDescription) == 56);
static_assert(alignof(SZtCreateAudioSamplesDescription) == 8);
ZTA_FIELDS_AT(SZtCreateAudioSamplesDescription, (0, ulSize), (8, ui64BufferSize), (16, ePolarity),
              (20, ulHostAttribute), (24, bFadeIn), (25, bFadeOut), (28, sWaveFormat));

static_assert(kPlain<SZtAudioMonoVolumeInfo> && sizeof(SZtAudioMonoVolumeInfo) == 12);
static_assert(alignof(SZtAudioMonoVolumeInfo) == 4);
ZTA_FIELDS_AT(SZtAudioMonoVolumeInfo, (0, ulChannelRef), (4, fStartVolume), (8, fEndVolume));

static_assert(kPlain<SZtVersionInfo> && sizeof(SZtVersionInfo) == 181 && alignof(SZtVersionInfo) == 1);
ZTA_FIELDS_AT(SZtVersionInfo, (0, achRevision), (40, achRelease), (168, achBuild));

static_assert(kPlain<CZtFactoryTemplate> && sizeof(CZtFactoryTemplate) == 40);
ZTA_FIELDS_AT(CZtFactoryTemplate, (0, m_pwszName), (8, m_pClsid), (16, m_pfnCreateInstance), (24, m_pfnInitClass),
              (32, m_pfnRegister));

static_assert(kPlain<SZtAProcessingFormatAndFunctionIndex> && sizeof(SZtAProcessingFormatAndFunctionIndex) == 12);
ZTA_FIELDS_AT(SZtAProcessingFormatAndFunctionIndex, (0, eInputFormat), (4, eOutputFormat), (8, iFunctionIndex));

static_assert(kPlain<SZtAListOfProcessingFormatsAndFunctionIndex>);
static_assert(sizeof(SZtAListOfProcessingFormatsAndFunctionIndex) == 16);
ZTA_FIELDS_AT(SZtAListOfProcessingFormatsAndFunctionIndex, (0, iFormatCount), (8, psFormats));

static_assert(kPlain<SZtAudioBufferInformations> && sizeof(SZtAudioBufferInformations) == 72);
ZTA_FIELDS_AT(SZtAudioBufferInformations, (0, pvBuffer), (8, ulValidFrames), (16, ulCapacityFrames),
              (24, iBytesPerFrame), (28, eFormat), (32, sDescription));

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
/// A friend of the classes whose field order is part of the binary interface.
struct SZtLayoutProbe {
    ZTA_FIELDS_AT(CZtLightUnknown, (8, m_pOuterUnknown));
    ZTA_SIZED_FIELDS_AT(CZtLightUnknown, (16, 4, m_ulRefCount));
    static_assert(sizeof(CZtLightUnknown) == 24);

    ZTA_FIELDS_AT(CZtUnknown, (8, m_pOuterUnknown));
    ZTA_SIZED_FIELDS_AT(CZtUnknown, (16, 4, m_ulRefCount), (24, 8, m_pReserved));
    static_assert(sizeof(CZtUnknown) == 32);

    ZTA_FIELDS_AT(CZtClassFactory, (8, m_pTemplate));
    ZTA_SIZED_FIELDS_AT(CZtClassFactory, (16, 8, m_lRefCount));
    static_assert(sizeof(CZtClassFactory) == 24 && sizeof(CZtClassFactory::ms_i32LockedCount) == 4);

    ZTA_FIELDS_AT(CZtHResult, (8, m_psAllowedErrors));
    ZTA_SIZED_FIELDS_AT(CZtHResult, (0, 4, m_hr));
    static_assert(sizeof(CZtHResult) == 16);

    ZTA_FIELDS_AT(TZtSmartPtr<IZtAudioSamples>, (8, m_pInterface));
    ZTA_FIELDS_AT(TZtSmartPtr<IZtAVContent>, (8, m_pInterface));
    static_assert(sizeof(TZtSmartPtr<IZtAudioSamples>) == 16 && sizeof(TZtSmartPtr<IZtAVContent>) == 16);

    static_assert(sizeof(CZtBaseException) == 8 + sizeof(std::string));
    static_assert(sizeof(CZtSmartPointerException) == sizeof(CZtBaseException));

    ZTA_FIELDS_AT(CZtIniFile, (8, m_sFileName), (40, m_aoContent), (64, m_bAutoSave), (65, m_bDirty));
    static_assert(sizeof(CZtIniFile) == 72);
    ZTA_FIELDS_AT(CZtIniFile::Record, (0, Comments), (40, Section), (72, Key), (104, Value));
    ZTA_SIZED_FIELDS_AT(CZtIniFile::Record, (32, 4, Commented));
    static_assert(sizeof(CZtIniFile::Record) == 136);

    // After the field of their base, the kernel classes have 12 bytes for each table entry, the list of the entries,
    // 16 bytes for each function, and then their own fields.
    ZTA_FIELDS_AT(CZtaAudioProcessingUtil, (8, m_psProcessingFormats));
    static_assert(sizeof(CZtaAudioProcessingUtil) == 16);

    ZTA_SIZED_FIELDS_AT(CZtaConvertBitDepth, (16, 36 * 28 + 16, m_oTable));
    static_assert(sizeof(CZtaConvertBitDepth) == 1040);
    ZTA_SIZED_FIELDS_AT(CZtaConvertDataType, (16, 10 * 28 + 16, m_oTable));
    static_assert(sizeof(CZtaConvertDataType) == 312);
    ZTA_SIZED_FIELDS_AT(CZtaApplyFade, (16, 8, m_ulFadeFrames), (24, 10 * 28 + 16, m_oFadeIn),
                        (320, 10 * 16, m_apfnFadeOut));
    static_assert(sizeof(CZtaApplyFade) == 480);
    ZTA_SIZED_FIELDS_AT(CZtaConvertMonoToStereo, (16, 4 * 28 + 16, m_oTable));
    static_assert(sizeof(CZtaConvertMonoToStereo) == 144);
    ZTA_SIZED_FIELDS_AT(CZtaConvertStereoToMono, (16, 4 * 28 + 16, m_oTable));
    static_assert(sizeof(CZtaConvertStereoToMono) == 144);
    ZTA_FIELDS_AT(CZtaApplyVolume, (232, m_plVolumeSettings));
    ZTA_SIZED_FIELDS_AT(CZtaApplyVolume, (16, 7 * 28 + 4 + 16, m_oTable));
    static_assert(sizeof(CZtaApplyVolume) == 240);
    static_assert(sizeof(CZtaApplyVolume::ms_alPosSaturation) == 16 &&
                  sizeof(CZtaApplyVolume::ms_alNegSaturation) == 16);

#define ZTA_MUX_CLASS(Class)                                                                                           \
    ZTA_SIZED_FIELDS_AT(Class, (16, 15 * 28 + 4 + 16, m_oTable), (456, 240, m_oApplyVolume));                          \
    static_assert(sizeof(Class) == 696)
    ZTA_MUX_CLASS(CZtaConvertMonoToMux);
    ZTA_MUX_CLASS(CZtaConvertStereoToMux);
    ZTA_MUX_CLASS(CZtaConvertMuxToMono);
    ZTA_MUX_CLASS(CZtaConvertMuxToStereo);
#undef ZTA_MUX_CLASS

    ZTA_SIZED_FIELDS_AT(CZtaResampleAudio, (16, 2 * 28 + 16, m_oTable));
    static_assert(sizeof(CZtaResampleAudio) == 88);

    ZTA_FIELDS_AT(CPolyphaseResampler, (48, m_pSpec), (56, m_ulInputRate), (64, m_ulOutputRate), (72, m_ulFilterLength),
                  (80, m_ulWorkSamples), (88, m_ulChannels), (96, m_ulHistoryStride), (104, m_ulPrimeSamples),
                  (368, m_psWorkBuffer), (376, m_psHistory), (384, m_fRollOff), (388, m_fAlpha));
    ZTA_SIZED_FIELDS_AT(CPolyphaseResampler, (40, 4, m_eHint), (112, 16 * 8, m_aulHistoryCount),
                        (240, 16 * 8, m_adTime), (392, 4, m_lRefCount));
    static_assert(sizeof(CPolyphaseResampler) == 400);

    static_assert(sizeof(CZtaAudioSamplesEngineFactory) == 40);

    ZTA_FIELDS_AT(CZtaAudioSamplesEngine, (32, m_pHostEngine), (40, m_pSavedInput), (48, m_pSavedOutput),
                  (568, m_ui64SavedBufferCount), (1344, m_ui64SavedVolumeCount), (1352, m_ui64SavedSourceOffset),
                  (1360, m_ui64SavedDestinationOffset), (1368, m_ui64SavedLength), (1376, m_pScratch0),
                  (1384, m_pScratch1), (1392, m_pScratch2), (2424, m_pSavedResamplerState), (2440, m_oConvertBitDepth),
                  (3480, m_oConvertDataType), (3792, m_oApplyFade), (4272, m_oConvertMonoToStereo),
                  (4416, m_oConvertStereoToMono), (4560, m_oConvertMonoToMux), (5256, m_oConvertStereoToMux),
                  (5952, m_oConvertMuxToMono), (6648, m_oConvertMuxToStereo), (7344, m_oApplyVolume),
                  (7584, m_oResampleAudio));
    ZTA_SIZED_FIELDS_AT(CZtaAudioSamplesEngine, (56, 64 * 8, m_apSavedBuffers), (576, 64 * 12, m_asSavedVolumes),
                        (1400, 64 * 8, m_apFadeScratch), (1912, 64 * 8, m_apConvertScratch),
                        (2432, 4, m_eSavedResamplerMode), (7672, 4, m_ui32Busy));
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

TEST(Layout, IdentifiersHaveTheirPublishedValues)
{
    const auto text = [](const _GUID& guid) {
        char buffer[64];
        const std::uint8_t* last = guid.Data4;
        std::snprintf(buffer, sizeof(buffer), "%08X-%04X-%04X-%02X%02X-%02X%02X%02X%02X%02X%02X", guid.Data1,
                      guid.Data2, guid.Data3, last[0], last[1], last[2], last[3], last[4], last[5], last[6], last[7]);
        return std::string(buffer);
    };
    EXPECT_EQ(text(IID_IZtAVContent), "E7906166-30F4-4F30-AE1E-2FCFAE969330");
    EXPECT_EQ(text(IID_IZtAudioSamples), "20B1F28E-A524-4997-A768-F4FF6342363E");
    EXPECT_EQ(text(IID_IZtQuonEnginePrivate), "1E271296-1E50-40C9-8BB5-FB13F8133B96");
    EXPECT_EQ(text(CLSID_ZtaAudioSamplesEngine), "45F20097-F519-4DCF-80D8-CC0D06CBF259");
    EXPECT_EQ(text(IID_IZtaAudioSamplesEngine), "1E3A4C45-A1AD-4385-A650-1C3DB428F3CB");
    EXPECT_EQ(text(IID_IZtaAudioSamplesEngineFactory), "8593F6A8-4042-42B9-86D0-7160A75F5F87");
    EXPECT_EQ(text(IID_IUnknown), "00000000-0000-0000-C000-000000000046");
    EXPECT_EQ(text(IID_IClassFactory), "00000001-0000-0000-C000-000000000046");
}

} // namespace

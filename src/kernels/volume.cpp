#include "kernels/volume.h"

#include "kernels/kernel_call.h"
#include "kernels/loops/loops.h"

#include <zta/status.h>

#include <algorithm>
#include <bit>
#include <cstdlib>
#include <cstring>

#include <immintrin.h>

namespace {

constexpr unsigned long kBlockBytes = 1024;
constexpr unsigned long kBlockAlignment = 16;
constexpr unsigned long kGroupLanes = SZtaGainRamp::kGroupLanes;
constexpr unsigned long kMaxChannels = SZtaGainRamp::kMaxGroups * kGroupLanes;
static_assert(kBlockBytes >= kMaxChannels * 2 * sizeof(std::int32_t));

constexpr float kUnity = 4096.0f;
constexpr float kMaxGain = 8.0f;

/// The gain that converts to 32767, the maximum multiplier.
constexpr auto kGainBelowMax = std::bit_cast<float>(0x40FFFF2E);

/// Returns true for the formats that pass the format checks of the operation. 24-in-24 passes them, but has no table
/// entry.
bool IsVolumeFormat(EZtAudioSampleFormatProperty eFormat)
{
    return (eFormat >= keZtAudioSampleFormat24In32Mono && eFormat <= keZtAudioSampleFormat24In32Mux64) ||
           eFormat == keZtAudioSampleFormat24In24Mono || eFormat == keZtAudioSampleFormat24In24Stereo;
}

bool IsInRange(float fGain)
{
    return !(fGain > kMaxGain || fGain < 0.0f);
}

/// Returns true for gains from 0 to below 8: as integers, their bits are in order and below those of all other values.
bool IsBelowMax(float fGain)
{
    return std::bit_cast<std::uint32_t>(fGain) < std::bit_cast<std::uint32_t>(kMaxGain);
}

void ClampBelowMaxGain(float& rfGain)
{
    if (rfGain == kMaxGain) {
        rfGain = kGainBelowMax;
    }
}

using FloatGroup = float __attribute__((vector_size(16)));
using IntegerGroup = std::uint32_t __attribute__((vector_size(16)));

/// Truncates to integers. NaN and values that do not fit in 32 bits give 0x80000000.
IntegerGroup Truncate(FloatGroup vValues)
{
    return reinterpret_cast<IntegerGroup>(_mm_cvttps_epi32(vValues));
}

} // namespace

alignas(16) const std::int32_t CZtaApplyVolume::ms_alPosSaturation[4] = {0x7FFFFF, 0x7FFFFF, 0x7FFFFF, 0x7FFFFF};
alignas(16) const std::int32_t CZtaApplyVolume::ms_alNegSaturation[4] = {-0x800000, -0x800000, -0x800000, -0x800000};

static_assert(ZtaPairsAreUnique({ZTA_VOLUME_LIST(ZTA_SAME_FORMAT_PAIR)}));

CZtaApplyVolume::CZtaApplyVolume()
    : m_oTable({ZTA_VOLUME_LIST(ZTA_SAME_FORMAT_TABLE_ENTRY)}),
      m_plVolumeSettings(static_cast<std::int32_t*>(std::aligned_alloc(kBlockAlignment, kBlockBytes)))
{
    m_psProcessingFormats = m_oTable.List();
}

CZtaApplyVolume::~CZtaApplyVolume()
{
    std::free(m_plVolumeSettings);
}

int CZtaApplyVolume::ApplyVolume(IZtAudioSamples* pInput, IZtAudioSamples* pOutput, SZtAudioMonoVolumeInfo* psVolumes,
                                 unsigned long ulChannels)
{
    if (ulChannels == 0 || ulChannels > kMaxChannels) {
        return ZT_E_INVALID_PARAMETER;
    }
    SZtAudioBufferInformations sInput{};
    SZtAudioBufferInformations sOutput{};
    if (ZtaQueryBuffers(*this, {{pOutput, sOutput}}) < 0) {
        return ZT_E_INVALID_PARAMETER;
    }
    if (!IsVolumeFormat(sOutput.eFormat)) {
        return ZT_E_OUTPUT_FORMAT_NOT_SUPPORTED;
    }
    if (ZtaQueryBuffers(*this, {{pInput, sInput}}) < 0) {
        return ZT_E_INVALID_PARAMETER;
    }
    if (!IsVolumeFormat(sInput.eFormat)) {
        return ZT_E_INPUT_FORMAT_NOT_SUPPORTED;
    }
    if (sInput.eFormat != sOutput.eFormat) {
        return ZT_E_BUFFER_FORMAT_MISMATCH;
    }
    if (sOutput.ulValidFrames != sInput.ulValidFrames) {
        return sOutput.ulValidFrames < sInput.ulValidFrames ? ZT_E_DESTINATION_BUFFER_TOO_SMALL
                                                            : ZT_E_BUFFER_SIZE_MISMATCH;
    }
    if (ulChannels != sInput.sDescription.sWaveFormat.ulChannels) {
        return ZT_E_INVALID_PARAMETER;
    }
    const int iStatus = ZtaDispatchKernel(
        *this, m_oTable, sInput.eFormat, sOutput.eFormat, sInput.ulValidFrames, [&](Function pfnKernel) {
            return (this->*pfnKernel)(sInput.pvBuffer, sOutput.pvBuffer, psVolumes, ulChannels, sInput.ulValidFrames);
        });
    return iStatus < 0 ? iStatus : ZtaSetValidFrames(pOutput, sOutput, sOutput.ulValidFrames);
}

int CZtaApplyVolume::SetVolumeSettings(SZtAudioMonoVolumeInfo* psVolumes, unsigned long ulChannels,
                                       unsigned long ulFrames)
{
    if (psVolumes == nullptr) {
        return ZT_E_INVALID_POINTER;
    }
    if (ulChannels == 0) {
        return ZT_E_ARRAY_TOO_SMALL;
    }
    for (unsigned long i = 0; i < ulChannels; ++i) {
        if (IsBelowMax(psVolumes[i].fStartVolume) && IsBelowMax(psVolumes[i].fEndVolume)) {
            continue;
        }
        if (!IsInRange(psVolumes[i].fStartVolume) || !IsInRange(psVolumes[i].fEndVolume)) {
            return ZT_E_INVALID_PARAMETER;
        }
        // The replacement is observable by the caller, even if a later record fails.
        ClampBelowMaxGain(psVolumes[i].fStartVolume);
        ClampBelowMaxGain(psVolumes[i].fEndVolume);
    }
    if (ulChannels > kMaxChannels || !ZtaIsPowerOfTwo(ulChannels)) {
        return ZT_E_INVALID_PARAMETER;
    }
    // The constructor cannot report that the allocation failed.
    if (m_plVolumeSettings == nullptr) {
        return E_OUTOFMEMORY;
    }
    const unsigned long ulFramesPerCycle = std::max(kGroupLanes / ulChannels, 1UL);
    const float fFrames = static_cast<float>(ulFrames);
    std::int32_t* plGroup = m_plVolumeSettings;
    for (unsigned long ulFirst = 0; ulFirst < ulFramesPerCycle * ulChannels; ulFirst += kGroupLanes) {
        FloatGroup vStart;
        FloatGroup vEnd;
        IntegerGroup vFrame;
        for (unsigned long i = 0; i < kGroupLanes; ++i) {
            const SZtAudioMonoVolumeInfo& rsVolume = psVolumes[(ulFirst + i) & (ulChannels - 1)];
            vStart[i] = rsVolume.fStartVolume;
            vEnd[i] = rsVolume.fEndVolume;
            vFrame[i] = static_cast<std::uint32_t>(i >> std::countr_zero(ulChannels));
        }
        const IntegerGroup vStep = Truncate((vEnd - vStart) / fFrames * kUnity);
        const IntegerGroup vGain = Truncate(vStart * kUnity) + vFrame * vStep;
        const IntegerGroup vCycleStep = vStep * static_cast<std::uint32_t>(ulFramesPerCycle);
        std::memcpy(plGroup, &vGain, sizeof(vGain));
        std::memcpy(plGroup + kGroupLanes, &vCycleStep, sizeof(vCycleStep));
        plGroup += 2 * kGroupLanes;
    }
    return ZT_NOERROR;
}

int CZtaApplyVolume::ApplyVolume24bitIn32Mux4_2_1(void* pvInput, void* pvOutput, SZtAudioMonoVolumeInfo* psVolumes,
                                                  unsigned long ulChannels, unsigned long ulFrames)
{
    const bool bChannelsFit = ulChannels == 1 || ulChannels == 2 || ulChannels == 4;
    // Required behavior: the count of groups has 16 bits, and a count of 0 processes nothing. Mono buffers of less than
    // four frames and stereo buffers of one frame are never scaled.
    const bool bScales = (ulFrames * ulChannels / kGroupLanes & 0xFFFF) != 0;
    return Scale(bChannelsFit, bScales, pvInput, pvOutput, psVolumes, ulChannels, ulFrames);
}

int CZtaApplyVolume::ApplyVolume24bitIn32Mux8(void* pvInput, void* pvOutput, SZtAudioMonoVolumeInfo* psVolumes,
                                              unsigned long ulChannels, unsigned long ulFrames)
{
    return Scale(ulChannels == 8, true, pvInput, pvOutput, psVolumes, ulChannels, ulFrames);
}

int CZtaApplyVolume::ApplyVolume24bitIn32Mux64_32_16(void* pvInput, void* pvOutput, SZtAudioMonoVolumeInfo* psVolumes,
                                                     unsigned long ulChannels, unsigned long ulFrames)
{
    const bool bChannelsFit = ulChannels == 16 || ulChannels == 32 || ulChannels == 64;
    return Scale(bChannelsFit, true, pvInput, pvOutput, psVolumes, ulChannels, ulFrames);
}

/// Validates the arguments of a kernel, fills the settings block and applies the gain ramp.
int CZtaApplyVolume::Scale(bool bChannelsFit, bool bScales, const void* pvInput, void* pvOutput,
                           SZtAudioMonoVolumeInfo* psVolumes, unsigned long ulChannels, unsigned long ulFrames)
{
    if (ulFrames == 0) {
        return ZT_NOERROR;
    }
    if (!bChannelsFit) {
        return ZT_E_INVALID_PARAMETER;
    }
    if (pvInput == nullptr || pvOutput == nullptr) {
        return ZT_E_INVALID_POINTER;
    }
    const int iStatus = SetVolumeSettings(psVolumes, ulChannels, ulFrames);
    if (iStatus >= 0 && bScales) {
        const SZtaGainRamp sRamp = {m_plVolumeSettings, std::max(ulChannels / kGroupLanes, 1UL), ms_alPosSaturation,
                                    ms_alNegSaturation};
        ZtaActiveLoops().pfnApplyGainRamp(pvInput, pvOutput, ulFrames * ulChannels, &sRamp);
    }
    return iStatus;
}

#include "kernels/mux_conversion.h"

#include "component/hresult.h"
#include "kernels/kernel_call.h"
#include "kernels/mux_kernels.h"

#include <zta/status.h>

#include <algorithm>
#include <cstring>
#include <iterator>

namespace {

constexpr unsigned long kMaxBuffers = 64;

/// A format that the array may have, and the bytes of its elements, which are mono samples or stereo frames.
struct SElementFormat {
    EZtAudioSampleFormatProperty eFormat;
    unsigned long ulBytes;
};

constexpr SElementFormat kMonoElements[] = {
    {keZtAudioSampleFormat24In32Mono, 4}, {keZtAudioSampleFormat24In24Mono, 3}, {keZtAudioSampleFormat16In16Mono, 2}};
constexpr SElementFormat kStereoElements[] = {{keZtAudioSampleFormat24In32Stereo, 8},
                                              {keZtAudioSampleFormat24In24Stereo, 6},
                                              {keZtAudioSampleFormat16In16Stereo, 4}};

/// The differences between the four operations.
struct SMuxTraits {
    unsigned long ulMaxBuffers; ///< 0 and more than this are ZT_E_INVALID_PARAMETER

    /// The channels of one buffer. Required behavior: the count of volumes is divided by it and then compared, so one
    /// volume more passes this check. The volume step may reject it later.
    unsigned long ulChannels;

    const SElementFormat (&rasElements)[3];
    int iUnsupportedStatus;         ///< the status of any other format in the array
    const ZtaMuxKernel* pfnKernels; ///< by function index
};

#define ZTA_MUX_KERNEL(in, out, name, kernel) &ZtaCallMuxKernel<kernel>,
constexpr ZtaMuxKernel kMonoToMuxKernels[] = {ZTA_MONO_TO_MUX_LIST(ZTA_MUX_KERNEL)};
constexpr ZtaMuxKernel kStereoToMuxKernels[] = {ZTA_STEREO_TO_MUX_LIST(ZTA_MUX_KERNEL)};
constexpr ZtaMuxKernel kMuxToMonoKernels[] = {ZTA_MUX_TO_MONO_LIST(ZTA_MUX_KERNEL)};
constexpr ZtaMuxKernel kMuxToStereoKernels[] = {ZTA_MUX_TO_STEREO_LIST(ZTA_MUX_KERNEL)};
#undef ZTA_MUX_KERNEL

constexpr SMuxTraits kMonoToMux = {64, 1, kMonoElements, ZT_E_INPUT_FORMAT_NOT_SUPPORTED, kMonoToMuxKernels};
constexpr SMuxTraits kStereoToMux = {32, 2, kStereoElements, ZT_E_INPUT_FORMAT_NOT_SUPPORTED, kStereoToMuxKernels};
constexpr SMuxTraits kMuxToMono = {64, 1, kMonoElements, ZT_E_OUTPUT_FORMAT_NOT_SUPPORTED, kMuxToMonoKernels};
/// Required behavior: the operation accepts 64 buffers. The kernels reject more than 32, but only if there are frames.
constexpr SMuxTraits kMuxToStereo = {64, 2, kStereoElements, ZT_E_OUTPUT_FORMAT_NOT_SUPPORTED, kMuxToStereoKernels};

static_assert(ZtaPairsAreUnique({ZTA_MONO_TO_MUX_LIST(ZTA_FORMAT_PAIR)}));
static_assert(ZtaPairsAreUnique({ZTA_STEREO_TO_MUX_LIST(ZTA_FORMAT_PAIR)}));
static_assert(ZtaPairsAreUnique({ZTA_MUX_TO_MONO_LIST(ZTA_FORMAT_PAIR)}));
static_assert(ZtaPairsAreUnique({ZTA_MUX_TO_STEREO_LIST(ZTA_FORMAT_PAIR)}));

/// The arguments of one call.
struct SMuxCall {
    IZtAudioSamples** ppBuffers;
    unsigned long ulCount;
    IZtAudioSamples* pMux;
    SZtAudioMonoVolumeInfo* psVolumes;
    unsigned long ulVolumeCount;
};

/// One call of one of the four operations: the buffer info of all buffers, and the steps that the four share.
class CMuxOperation {
public:
    // NOLINTNEXTLINE(clang-analyzer-optin.cplusplus.UninitializedObject): the steps set each field before they read it
    CMuxOperation(CZtaAudioProcessingUtil& rUtil, CZtaApplyVolume& rVolume,
                  SZtAListOfProcessingFormatsAndFunctionIndex* psFormats, const SMuxTraits& rsTraits,
                  const SMuxCall& rsCall)
        : m_rUtil(rUtil), m_rVolume(rVolume), m_psFormats(psFormats), m_rsTraits(rsTraits), m_rsCall(rsCall)
    {
    }

    int Interleave();
    int Deinterleave();

private:
    /// Properties of the first buffer of the array. The others may have another container, but must have as many valid
    /// frames.
    struct SArrayFormat {
        EZtAudioSampleFormatProperty eFormat;
        unsigned long ulBytesPerFrame;
        unsigned long ulValidFrames;
    };

    int ValidateCounts() const;
    int QueryBuffers();
    int QueryArray();
    void ClampMaxFrames(unsigned long ulBufferFrames, unsigned long ulFrameBytes, unsigned long ulProcessedFrameBytes);
    int RunKernel(EZtAudioSampleFormatProperty eInput, EZtAudioSampleFormatProperty eOutput);

    CZtaAudioProcessingUtil& m_rUtil;
    CZtaApplyVolume& m_rVolume;
    SZtAListOfProcessingFormatsAndFunctionIndex* m_psFormats;
    const SMuxTraits& m_rsTraits;
    const SMuxCall& m_rsCall;

    void* m_apvBuffers[kMaxBuffers];
    SArrayFormat m_sFirst;
    unsigned long m_ulElementBytes; ///< of the first buffer
    SZtAudioBufferInformations m_sMux{};

    /// The frames that every buffer has memory for. Fewer than those of the first buffer only if the array mixes
    /// containers, or if the mux is smaller than its outputs are long.
    unsigned long m_ulMaxFrames = kUnboundedFrames;
};

int CMuxOperation::ValidateCounts() const
{
    if (m_rsCall.ulCount == 0 || m_rsCall.ulCount > m_rsTraits.ulMaxBuffers) {
        return ZT_E_INVALID_PARAMETER;
    }
    if (m_rsCall.ulVolumeCount == 0) {
        return ZT_NOERROR;
    }
    if (m_rsCall.ulVolumeCount / m_rsTraits.ulChannels != m_rsCall.ulCount) {
        return ZT_E_INVALID_PARAMETER;
    }
    return m_rsCall.psVolumes == nullptr ? ZT_E_INVALID_POINTER : ZT_NOERROR;
}

/// Queries the array in its order, then the mux.
int CMuxOperation::QueryBuffers()
{
    int iStatus = ValidateCounts();
    if (iStatus < 0) {
        return iStatus;
    }
    iStatus = QueryArray();
    if (iStatus < 0) {
        return iStatus;
    }
    iStatus = ZtaQueryBuffers(m_rUtil, {{m_rsCall.pMux, m_sMux}});
    if (iStatus >= 0) {
        ClampMaxFrames(std::max(m_sMux.ulValidFrames, m_sMux.ulCapacityFrames),
                       static_cast<unsigned long>(m_sMux.iBytesPerFrame), m_ulElementBytes * m_rsCall.ulCount);
    }
    return iStatus;
}

int CMuxOperation::QueryArray()
{
    SZtaBufferProperties sPrevious = {};
    for (unsigned long i = 0; i < m_rsCall.ulCount; ++i) {
        SZtaBufferProperties sBuffer;
        if (sBuffer.Query(m_rsCall.ppBuffers[i]) < 0) {
            return ZT_E_INVALID_PARAMETER;
        }
        m_apvBuffers[i] = sBuffer.pvBuffer;
        // A buffer with the same properties as the previous one needs no second check.
        if (i != 0 && sBuffer.HasSameProperties(sPrevious)) {
            continue;
        }
        sPrevious = sBuffer;

        EZtAudioSampleFormatProperty eFormat;
        if (m_rUtil.GetSampleFormat(&sBuffer.sDescription.sWaveFormat, &eFormat) < 0) {
            return ZT_E_INVALID_PARAMETER;
        }
        const auto psElement =
            std::find_if(std::begin(m_rsTraits.rasElements), std::end(m_rsTraits.rasElements),
                         [eFormat](const SElementFormat& rsElement) { return rsElement.eFormat == eFormat; });
        if (psElement == std::end(m_rsTraits.rasElements)) {
            return m_rsTraits.iUnsupportedStatus;
        }
        const unsigned long ulFrameBytes = ZtaBytesPerFrame(sBuffer.sDescription.sWaveFormat);
        const unsigned long ulValidFrames = sBuffer.ulLength / ulFrameBytes;
        if (i == 0) {
            m_sFirst = {eFormat, ulFrameBytes, ulValidFrames};
            m_ulElementBytes = psElement->ulBytes;
        } else if (ulValidFrames != m_sFirst.ulValidFrames) {
            return ZT_E_BUFFER_SIZE_MISMATCH;
        }
        ClampMaxFrames(std::max(ulValidFrames, sBuffer.ulCapacity / ulFrameBytes), ulFrameBytes, m_ulElementBytes);
    }
    return ZT_NOERROR;
}

/// Clamps the maximum of frames to those in the memory of one buffer: ulBufferFrames frames of ulFrameBytes bytes. The
/// kernel processes ulProcessedFrameBytes bytes for each frame, which is another number if containers are mixed.
void CMuxOperation::ClampMaxFrames(unsigned long ulBufferFrames, unsigned long ulFrameBytes,
                                   unsigned long ulProcessedFrameBytes)
{
    // The sizes are almost always equal: this saves a division.
    if (ulFrameBytes != ulProcessedFrameBytes) {
        ulBufferFrames = ulBufferFrames * ulFrameBytes / ulProcessedFrameBytes;
    }
    m_ulMaxFrames = std::min(m_ulMaxFrames, ulBufferFrames);
}

/// Finds the kernel of a format pair and, unless the buffers are empty, calls it for all frames of the first buffer.
///
/// The kernels are those behind the member functions of the class's table. They are called directly, because the
/// members have no argument for the frames in memory.
int CMuxOperation::RunKernel(EZtAudioSampleFormatProperty eInput, EZtAudioSampleFormatProperty eOutput)
{
    int iFunctionIndex = 0;
    const int iStatus =
        m_rUtil.ValidateProcessingFormatAndGetFunctionIndex(eInput, eOutput, m_psFormats, &iFunctionIndex);
    if (iStatus < 0 || m_sFirst.ulValidFrames == 0) {
        return iStatus;
    }
    return m_rsTraits.pfnKernels[iFunctionIndex](m_apvBuffers, m_rsCall.ulCount, m_sMux.pvBuffer,
                                                 m_sFirst.ulValidFrames, m_ulMaxFrames);
}

int CMuxOperation::Interleave()
{
    int iStatus = QueryBuffers();
    if (iStatus < 0) {
        return iStatus;
    }
    if (m_sMux.ulValidFrames < m_sFirst.ulValidFrames) {
        return ZT_E_DESTINATION_BUFFER_TOO_SMALL;
    }
    iStatus = RunKernel(m_sFirst.eFormat, m_sMux.eFormat);
    if (iStatus < 0) {
        return iStatus;
    }
    if (m_rsCall.ulVolumeCount != 0) {
        return m_rVolume.ApplyVolume(m_rsCall.pMux, m_rsCall.pMux, m_rsCall.psVolumes, m_rsCall.ulVolumeCount);
    }
    return ZtaSetValidFrames(m_rsCall.pMux, m_sMux, m_sFirst.ulValidFrames);
}

int CMuxOperation::Deinterleave()
{
    int iStatus = QueryBuffers();
    if (iStatus < 0) {
        return iStatus;
    }
    if (m_sFirst.ulValidFrames < m_sMux.ulValidFrames) {
        return ZT_E_DESTINATION_BUFFER_TOO_SMALL;
    }
    iStatus = RunKernel(m_sMux.eFormat, m_sFirst.eFormat);
    if (iStatus < 0) {
        return iStatus;
    }
    // A failure does not end the loop: every buffer gets its length or its volume.
    const unsigned long ulLength = m_sFirst.ulBytesPerFrame * m_sMux.ulValidFrames;
    const unsigned long ulChannels = m_rsTraits.ulChannels;
    for (unsigned long i = 0; i < m_rsCall.ulCount; ++i) {
        IZtAudioSamples* pOutput = m_rsCall.ppBuffers[i];
        const int iLast =
            m_rsCall.ulVolumeCount == 0
                ? pOutput->SetLength(ulLength)
                : m_rVolume.ApplyVolume(pOutput, pOutput, &m_rsCall.psVolumes[i * ulChannels], ulChannels);
        if (iLast < 0) {
            iStatus = iLast;
        }
    }
    return iStatus;
}

} // namespace

CZtaConvertMonoToMux::CZtaConvertMonoToMux() : m_oTable({ZTA_MONO_TO_MUX_LIST(ZTA_TABLE_ENTRY)})
{
    m_psProcessingFormats = m_oTable.List();
}

CZtaConvertStereoToMux::CZtaConvertStereoToMux() : m_oTable({ZTA_STEREO_TO_MUX_LIST(ZTA_TABLE_ENTRY)})
{
    m_psProcessingFormats = m_oTable.List();
}

CZtaConvertMuxToMono::CZtaConvertMuxToMono() : m_oTable({ZTA_MUX_TO_MONO_LIST(ZTA_TABLE_ENTRY)})
{
    m_psProcessingFormats = m_oTable.List();
}

CZtaConvertMuxToStereo::CZtaConvertMuxToStereo() : m_oTable({ZTA_MUX_TO_STEREO_LIST(ZTA_TABLE_ENTRY)})
{
    m_psProcessingFormats = m_oTable.List();
}

CZtaConvertMonoToMux::~CZtaConvertMonoToMux() = default;
CZtaConvertStereoToMux::~CZtaConvertStereoToMux() = default;
CZtaConvertMuxToMono::~CZtaConvertMuxToMono() = default;
CZtaConvertMuxToStereo::~CZtaConvertMuxToStereo() = default;

int CZtaConvertMonoToMux::SuggestFormat(SZtaWaveFormatInfo* psIn, SZtaWaveFormatInfo* psOut,
                                        SZtaWaveFormatInfo* psSuggestedIn, SZtaWaveFormatInfo* psSuggestedOut)
{
    return CZtHResult(SuggestFormatInOutBuffers(psIn, psOut, psSuggestedIn, psSuggestedOut));
}

int CZtaConvertStereoToMux::SuggestFormat(SZtaWaveFormatInfo* psIn, SZtaWaveFormatInfo* psOut,
                                          SZtaWaveFormatInfo* psSuggestedIn, SZtaWaveFormatInfo* psSuggestedOut)
{
    return CZtHResult(SuggestFormatInOutBuffers(psIn, psOut, psSuggestedIn, psSuggestedOut));
}

int CZtaConvertMuxToMono::SuggestFormat(SZtaWaveFormatInfo* psIn, SZtaWaveFormatInfo* psOut,
                                        SZtaWaveFormatInfo* psSuggestedIn, SZtaWaveFormatInfo* psSuggestedOut)
{
    return CZtHResult(SuggestFormatInOutBuffers(psIn, psOut, psSuggestedIn, psSuggestedOut));
}

int CZtaConvertMuxToStereo::SuggestFormat(SZtaWaveFormatInfo* psIn, SZtaWaveFormatInfo* psOut,
                                          SZtaWaveFormatInfo* psSuggestedIn, SZtaWaveFormatInfo* psSuggestedOut)
{
    return CZtHResult(SuggestFormatInOutBuffers(psIn, psOut, psSuggestedIn, psSuggestedOut));
}

int CZtaConvertMonoToMux::ConvertMonoToMux(IZtAudioSamples** ppMono, unsigned long ulMonoCount, IZtAudioSamples* pMux,
                                           SZtAudioMonoVolumeInfo* psVolumes, unsigned long ulVolumeCount)
{
    const SMuxCall sCall = {ppMono, ulMonoCount, pMux, psVolumes, ulVolumeCount};
    return CMuxOperation(*this, m_oApplyVolume, m_oTable.List(), kMonoToMux, sCall).Interleave();
}

int CZtaConvertStereoToMux::ConvertStereoToMux(IZtAudioSamples** ppStereo, unsigned long ulStereoCount,
                                               IZtAudioSamples* pMux, SZtAudioMonoVolumeInfo* psVolumes,
                                               unsigned long ulVolumeCount)
{
    const SMuxCall sCall = {ppStereo, ulStereoCount, pMux, psVolumes, ulVolumeCount};
    return CMuxOperation(*this, m_oApplyVolume, m_oTable.List(), kStereoToMux, sCall).Interleave();
}

int CZtaConvertMuxToMono::ConvertMuxToMono(IZtAudioSamples* pMux, IZtAudioSamples** ppMono, unsigned long ulMonoCount,
                                           SZtAudioMonoVolumeInfo* psVolumes, unsigned long ulVolumeCount)
{
    const SMuxCall sCall = {ppMono, ulMonoCount, pMux, psVolumes, ulVolumeCount};
    return CMuxOperation(*this, m_oApplyVolume, m_oTable.List(), kMuxToMono, sCall).Deinterleave();
}

int CZtaConvertMuxToStereo::ConvertMuxToStereo(IZtAudioSamples* pMux, IZtAudioSamples** ppStereo,
                                               unsigned long ulStereoCount, SZtAudioMonoVolumeInfo* psVolumes,
                                               unsigned long ulVolumeCount)
{
    const SMuxCall sCall = {ppStereo, ulStereoCount, pMux, psVolumes, ulVolumeCount};
    return CMuxOperation(*this, m_oApplyVolume, m_oTable.List(), kMuxToStereo, sCall).Deinterleave();
}

#define ZTA_INTERLEAVE_DEFINITION(type, name, kernel)                                                                  \
    int type::name(void** ppvSources, unsigned long ulBufferCount, void* pvMux, unsigned long ulFrames)                \
    {                                                                                                                  \
        return kernel(ppvSources, ulBufferCount, pvMux, ulFrames, kUnboundedFrames);                                   \
    }
#define ZTA_DEINTERLEAVE_DEFINITION(type, name, kernel)                                                                \
    int type::name(void* pvMux, void** ppvDestinations, unsigned long ulBufferCount, unsigned long ulFrames)           \
    {                                                                                                                  \
        return kernel(ppvDestinations, ulBufferCount, pvMux, ulFrames, kUnboundedFrames);                              \
    }

#define ZTA_MUX_ENTRY(in, out, name, kernel) ZTA_INTERLEAVE_DEFINITION(CZtaConvertMonoToMux, name, kernel)
ZTA_MONO_TO_MUX_LIST(ZTA_MUX_ENTRY)
ZTA_MONO_TO_MUX_ANY_COUNT_LIST(ZTA_MUX_ENTRY)
#undef ZTA_MUX_ENTRY
#define ZTA_MUX_ENTRY(in, out, name, kernel) ZTA_INTERLEAVE_DEFINITION(CZtaConvertStereoToMux, name, kernel)
ZTA_STEREO_TO_MUX_LIST(ZTA_MUX_ENTRY)
ZTA_STEREO_TO_MUX_ANY_COUNT_LIST(ZTA_MUX_ENTRY)
#undef ZTA_MUX_ENTRY
#define ZTA_MUX_ENTRY(in, out, name, kernel) ZTA_DEINTERLEAVE_DEFINITION(CZtaConvertMuxToMono, name, kernel)
ZTA_MUX_TO_MONO_LIST(ZTA_MUX_ENTRY)
ZTA_MUX_TO_MONO_ANY_COUNT_LIST(ZTA_MUX_ENTRY)
#undef ZTA_MUX_ENTRY
#define ZTA_MUX_ENTRY(in, out, name, kernel) ZTA_DEINTERLEAVE_DEFINITION(CZtaConvertMuxToStereo, name, kernel)
ZTA_MUX_TO_STEREO_LIST(ZTA_MUX_ENTRY)
ZTA_MUX_TO_STEREO_ANY_COUNT_LIST(ZTA_MUX_ENTRY)
#undef ZTA_MUX_ENTRY

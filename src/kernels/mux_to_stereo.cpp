#include "kernels/mux_to_stereo.h"

#include "component/hresult.h"
#include "kernels/mux_kernels.h"

#include <iterator>

namespace {

#define ZTA_MUX_ENTRY(in, out, name, body) {keZtAudioSampleFormat##in, keZtAudioSampleFormat##out},
constexpr SZtaFormatPair kPairs[] = {ZTA_MUX_TO_STEREO_LIST(ZTA_MUX_ENTRY)};
#undef ZTA_MUX_ENTRY
static_assert(std::size(kPairs) == 15 && ZtaPairsAreUnique(kPairs));

#define ZTA_MUX_ENTRY(in, out, name, body) &ZtaCallMuxKernel<body>,
constexpr ZtaMuxKernel kKernels[] = {ZTA_MUX_TO_STEREO_LIST(ZTA_MUX_ENTRY)};
#undef ZTA_MUX_ENTRY

/// The kernels stop at 32 buffers: more are refused, but only if there are frames.
constexpr SZtaMuxTraits kRules = ZtaStereoTraits(64, ZT_E_OUTPUT_FORMAT_NOT_SUPPORTED, kKernels);

} // namespace

#define ZTA_MUX_ENTRY(in, out, name, body)                                                                             \
    {keZtAudioSampleFormat##in, keZtAudioSampleFormat##out, &CZtaConvertMuxToStereo::name},
CZtaConvertMuxToStereo::CZtaConvertMuxToStereo() : m_oTable({ZTA_MUX_TO_STEREO_LIST(ZTA_MUX_ENTRY)})
{
    m_psProcessingFormats = m_oTable.List();
}
#undef ZTA_MUX_ENTRY

CZtaConvertMuxToStereo::~CZtaConvertMuxToStereo() = default;

int CZtaConvertMuxToStereo::SuggestFormat(SZtaWaveFormatInfo* psIn, SZtaWaveFormatInfo* psOut,
                                          SZtaWaveFormatInfo* psSuggestedIn, SZtaWaveFormatInfo* psSuggestedOut)
{
    return CZtHResult(SuggestFormatInOutBuffers(psIn, psOut, psSuggestedIn, psSuggestedOut));
}

int CZtaConvertMuxToStereo::ConvertMuxToStereo(IZtAudioSamples* pMux, IZtAudioSamples** ppStereo,
                                               unsigned long ulStereoCount, SZtAudioMonoVolumeInfo* psVolumes,
                                               unsigned long ulVolumeCount)
{
    return ZtaDeinterleaveMux(*this, m_oTable, m_oApplyVolume, kRules,
                              {ppStereo, ulStereoCount, pMux, psVolumes, ulVolumeCount});
}

#define ZTA_MUX_ENTRY(in, out, name, body)                                                                             \
    int CZtaConvertMuxToStereo::name(void* pvMux, void** ppvDestinations, unsigned long ulBufferCount,                 \
                                     unsigned long ulFrames)                                                           \
    {                                                                                                                  \
        return body(pvMux, ppvDestinations, ulBufferCount, ulFrames);                                                  \
    }
ZTA_MUX_TO_STEREO_LIST(ZTA_MUX_ENTRY)
#undef ZTA_MUX_ENTRY

int CZtaConvertMuxToStereo::_Convert1MuxToNStereoFor24in32Buffer(void* pvMux, void** ppvDestinations,
                                                                 unsigned long ulBufferCount, unsigned long ulFrames)
{
    return kDeinterleaveStereo24In32(pvMux, ppvDestinations, ulBufferCount, ulFrames);
}

int CZtaConvertMuxToStereo::_Convert1MuxToNStereoFor24in24Buffer(void* pvMux, void** ppvDestinations,
                                                                 unsigned long ulBufferCount, unsigned long ulFrames)
{
    return kDeinterleaveStereo24In24(pvMux, ppvDestinations, ulBufferCount, ulFrames);
}

int CZtaConvertMuxToStereo::_Convert1MuxToNStereoFor16in16Buffer(void* pvMux, void** ppvDestinations,
                                                                 unsigned long ulBufferCount, unsigned long ulFrames)
{
    return kDeinterleaveStereo16In16(pvMux, ppvDestinations, ulBufferCount, ulFrames);
}

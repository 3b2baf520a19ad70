#include "kernels/stereo_to_mux.h"

#include "component/hresult.h"
#include "kernels/mux_kernels.h"

#include <iterator>

namespace {

#define ZTA_MUX_ENTRY(in, out, name, body) {keZtAudioSampleFormat##in, keZtAudioSampleFormat##out},
constexpr SZtaFormatPair kPairs[] = {ZTA_STEREO_TO_MUX_LIST(ZTA_MUX_ENTRY)};
#undef ZTA_MUX_ENTRY
static_assert(std::size(kPairs) == 15 && ZtaPairsAreUnique(kPairs));

#define ZTA_MUX_ENTRY(in, out, name, body) &ZtaCallMuxKernel<body>,
constexpr ZtaMuxKernel kKernels[] = {ZTA_STEREO_TO_MUX_LIST(ZTA_MUX_ENTRY)};
#undef ZTA_MUX_ENTRY

constexpr SZtaMuxTraits kRules = ZtaStereoTraits(32, ZT_E_INPUT_FORMAT_NOT_SUPPORTED, kKernels);

} // namespace

#define ZTA_MUX_ENTRY(in, out, name, body)                                                                             \
    {keZtAudioSampleFormat##in, keZtAudioSampleFormat##out, &CZtaConvertStereoToMux::name},
CZtaConvertStereoToMux::CZtaConvertStereoToMux() : m_oTable({ZTA_STEREO_TO_MUX_LIST(ZTA_MUX_ENTRY)})
{
    m_psProcessingFormats = m_oTable.List();
}
#undef ZTA_MUX_ENTRY

CZtaConvertStereoToMux::~CZtaConvertStereoToMux() = default;

int CZtaConvertStereoToMux::SuggestFormat(SZtaWaveFormatInfo* psIn, SZtaWaveFormatInfo* psOut,
                                          SZtaWaveFormatInfo* psSuggestedIn, SZtaWaveFormatInfo* psSuggestedOut)
{
    return CZtHResult(SuggestFormatInOutBuffers(psIn, psOut, psSuggestedIn, psSuggestedOut));
}

int CZtaConvertStereoToMux::ConvertStereoToMux(IZtAudioSamples** ppStereo, unsigned long ulStereoCount,
                                               IZtAudioSamples* pMux, SZtAudioMonoVolumeInfo* psVolumes,
                                               unsigned long ulVolumeCount)
{
    return ZtaInterleaveMux(*this, m_oTable, m_oApplyVolume, kRules,
                            {ppStereo, ulStereoCount, pMux, psVolumes, ulVolumeCount});
}

#define ZTA_MUX_ENTRY(in, out, name, body)                                                                             \
    int CZtaConvertStereoToMux::name(void** ppvSources, unsigned long ulBufferCount, void* pvMux,                      \
                                     unsigned long ulFrames)                                                           \
    {                                                                                                                  \
        return body(ppvSources, ulBufferCount, pvMux, ulFrames);                                                       \
    }
ZTA_STEREO_TO_MUX_LIST(ZTA_MUX_ENTRY)
#undef ZTA_MUX_ENTRY

int CZtaConvertStereoToMux::_ConvertNStereoTo1Mux(void** ppvSources, unsigned long ulBufferCount, void* pvMux,
                                                  unsigned long ulFrames)
{
    return kInterleaveStereo24In32(ppvSources, ulBufferCount, pvMux, ulFrames);
}

int CZtaConvertStereoToMux::_ConvertNStereoTo1MuxFor24in24Buffer(void** ppvSources, unsigned long ulBufferCount,
                                                                 void* pvMux, unsigned long ulFrames)
{
    return kInterleaveStereo24In24(ppvSources, ulBufferCount, pvMux, ulFrames);
}

int CZtaConvertStereoToMux::_ConvertNStereoTo1MuxFor16in16Buffer(void** ppvSources, unsigned long ulBufferCount,
                                                                 void* pvMux, unsigned long ulFrames)
{
    return kInterleaveStereo16In16(ppvSources, ulBufferCount, pvMux, ulFrames);
}

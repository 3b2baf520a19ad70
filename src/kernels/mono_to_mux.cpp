#include "kernels/mono_to_mux.h"

#include "component/hresult.h"
#include "kernels/mux_kernels.h"

#include <iterator>

namespace {

#define ZTA_MUX_ENTRY(in, out, name, body) {keZtAudioSampleFormat##in, keZtAudioSampleFormat##out},
constexpr SZtaFormatPair kPairs[] = {ZTA_MONO_TO_MUX_LIST(ZTA_MUX_ENTRY)};
#undef ZTA_MUX_ENTRY
static_assert(std::size(kPairs) == 15 && ZtaPairsAreUnique(kPairs));

#define ZTA_MUX_ENTRY(in, out, name, body) &ZtaCallMuxKernel<body>,
constexpr ZtaMuxKernel kKernels[] = {ZTA_MONO_TO_MUX_LIST(ZTA_MUX_ENTRY)};
#undef ZTA_MUX_ENTRY

constexpr SZtaMuxTraits kRules = ZtaMonoTraits(ZT_E_INPUT_FORMAT_NOT_SUPPORTED, kKernels);

} // namespace

#define ZTA_MUX_ENTRY(in, out, name, body)                                                                             \
    {keZtAudioSampleFormat##in, keZtAudioSampleFormat##out, &CZtaConvertMonoToMux::name},
CZtaConvertMonoToMux::CZtaConvertMonoToMux() : m_oTable({ZTA_MONO_TO_MUX_LIST(ZTA_MUX_ENTRY)})
{
    m_psProcessingFormats = m_oTable.List();
}
#undef ZTA_MUX_ENTRY

CZtaConvertMonoToMux::~CZtaConvertMonoToMux() = default;

int CZtaConvertMonoToMux::SuggestFormat(SZtaWaveFormatInfo* psIn, SZtaWaveFormatInfo* psOut,
                                        SZtaWaveFormatInfo* psSuggestedIn, SZtaWaveFormatInfo* psSuggestedOut)
{
    return CZtHResult(SuggestFormatInOutBuffers(psIn, psOut, psSuggestedIn, psSuggestedOut));
}

int CZtaConvertMonoToMux::ConvertMonoToMux(IZtAudioSamples** ppMono, unsigned long ulMonoCount, IZtAudioSamples* pMux,
                                           SZtAudioMonoVolumeInfo* psVolumes, unsigned long ulVolumeCount)
{
    return ZtaInterleaveMux(*this, m_oTable, m_oApplyVolume, kRules,
                            {ppMono, ulMonoCount, pMux, psVolumes, ulVolumeCount});
}

#define ZTA_MUX_ENTRY(in, out, name, body)                                                                             \
    int CZtaConvertMonoToMux::name(void** ppvSources, unsigned long ulBufferCount, void* pvMux,                        \
                                   unsigned long ulFrames)                                                             \
    {                                                                                                                  \
        return body(ppvSources, ulBufferCount, pvMux, ulFrames);                                                       \
    }
ZTA_MONO_TO_MUX_LIST(ZTA_MUX_ENTRY)
#undef ZTA_MUX_ENTRY

int CZtaConvertMonoToMux::_ConvertNMonoTo1Mux(void** ppvSources, unsigned long ulBufferCount, void* pvMux,
                                              unsigned long ulFrames)
{
    return kInterleaveMono24In32(ppvSources, ulBufferCount, pvMux, ulFrames);
}

int CZtaConvertMonoToMux::_ConvertNMonoTo1MuxFor24in24Buffer(void** ppvSources, unsigned long ulBufferCount,
                                                             void* pvMux, unsigned long ulFrames)
{
    return kInterleaveMono24In24(ppvSources, ulBufferCount, pvMux, ulFrames);
}

int CZtaConvertMonoToMux::_ConvertNMonoTo1MuxFor16in16Buffer(void** ppvSources, unsigned long ulBufferCount,
                                                             void* pvMux, unsigned long ulFrames)
{
    return kInterleaveMono16In16(ppvSources, ulBufferCount, pvMux, ulFrames);
}

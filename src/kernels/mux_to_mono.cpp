#include "kernels/mux_to_mono.h"

#include "component/hresult.h"
#include "kernels/mux_kernels.h"

#include <iterator>

namespace {

#define ZTA_MUX_ENTRY(in, out, name, body) {keZtAudioSampleFormat##in, keZtAudioSampleFormat##out},
constexpr SZtaFormatPair kPairs[] = {ZTA_MUX_TO_MONO_LIST(ZTA_MUX_ENTRY)};
#undef ZTA_MUX_ENTRY
static_assert(std::size(kPairs) == 15 && ZtaPairsAreUnique(kPairs));

#define ZTA_MUX_ENTRY(in, out, name, body) &ZtaCallMuxKernel<body>,
constexpr ZtaMuxKernel kKernels[] = {ZTA_MUX_TO_MONO_LIST(ZTA_MUX_ENTRY)};
#undef ZTA_MUX_ENTRY

constexpr SZtaMuxTraits kRules = ZtaMonoTraits(ZT_E_OUTPUT_FORMAT_NOT_SUPPORTED, kKernels);

} // namespace

#define ZTA_MUX_ENTRY(in, out, name, body)                                                                             \
    {keZtAudioSampleFormat##in, keZtAudioSampleFormat##out, &CZtaConvertMuxToMono::name},
CZtaConvertMuxToMono::CZtaConvertMuxToMono() : m_oTable({ZTA_MUX_TO_MONO_LIST(ZTA_MUX_ENTRY)})
{
    m_psProcessingFormats = m_oTable.List();
}
#undef ZTA_MUX_ENTRY

CZtaConvertMuxToMono::~CZtaConvertMuxToMono() = default;

int CZtaConvertMuxToMono::SuggestFormat(SZtaWaveFormatInfo* psIn, SZtaWaveFormatInfo* psOut,
                                        SZtaWaveFormatInfo* psSuggestedIn, SZtaWaveFormatInfo* psSuggestedOut)
{
    return CZtHResult(SuggestFormatInOutBuffers(psIn, psOut, psSuggestedIn, psSuggestedOut));
}

int CZtaConvertMuxToMono::ConvertMuxToMono(IZtAudioSamples* pMux, IZtAudioSamples** ppMono, unsigned long ulMonoCount,
                                           SZtAudioMonoVolumeInfo* psVolumes, unsigned long ulVolumeCount)
{
    return ZtaDeinterleaveMux(*this, m_oTable, m_oApplyVolume, kRules,
                              {ppMono, ulMonoCount, pMux, psVolumes, ulVolumeCount});
}

#define ZTA_MUX_ENTRY(in, out, name, body)                                                                             \
    int CZtaConvertMuxToMono::name(void* pvMux, void** ppvDestinations, unsigned long ulBufferCount,                   \
                                   unsigned long ulFrames)                                                             \
    {                                                                                                                  \
        return body(pvMux, ppvDestinations, ulBufferCount, ulFrames);                                                  \
    }
ZTA_MUX_TO_MONO_LIST(ZTA_MUX_ENTRY)
#undef ZTA_MUX_ENTRY

int CZtaConvertMuxToMono::_Convert1MuxToNMonoFor24in32Buffer(void* pvMux, void** ppvDestinations,
                                                             unsigned long ulBufferCount, unsigned long ulFrames)
{
    return kDeinterleaveMono24In32(pvMux, ppvDestinations, ulBufferCount, ulFrames);
}

int CZtaConvertMuxToMono::_Convert1MuxToNMonoFor24in24Buffer(void* pvMux, void** ppvDestinations,
                                                             unsigned long ulBufferCount, unsigned long ulFrames)
{
    return kDeinterleaveMono24In24(pvMux, ppvDestinations, ulBufferCount, ulFrames);
}

int CZtaConvertMuxToMono::_Convert1MuxToNMonoFor16in16Buffer(void* pvMux, void** ppvDestinations,
                                                             unsigned long ulBufferCount, unsigned long ulFrames)
{
    return kDeinterleaveMono16In16(pvMux, ppvDestinations, ulBufferCount, ulFrames);
}

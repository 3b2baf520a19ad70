#include "kernels/bit_depth.h"

#include "kernels/conversion_kernels.h"
#include "kernels/loops/loops.h"

#include <zta/status.h>

namespace {

static_assert(ZtaPairsAreUnique({ZTA_BIT_DEPTH_LIST(ZTA_FORMAT_PAIR)}));

/// Converts whole frames until all bytes of the input are consumed. The last frame may reach beyond them. Frames
/// without samples consume nothing.
int ConvertWholeFrames(ZtaConversion pfnLoop, unsigned long ulInputSample, unsigned long ulOutputSample,
                       unsigned long ulChannels, unsigned long ulInputBytes, const void* pvInput,
                       unsigned long ulOutputBytes, void* pvOutput)
{
    const unsigned long ulFrameBytes = ulChannels * ulInputSample;
    unsigned long ulSamples = 0;
    if (ulFrameBytes != 0) {
        ulSamples = (ulInputBytes / ulFrameBytes + (ulInputBytes % ulFrameBytes != 0)) * ulChannels;
    }
    pfnLoop(pvInput, pvOutput, ulSamples);
    const bool bSizesMatch = ulSamples * ulInputSample == ulInputBytes && ulSamples * ulOutputSample == ulOutputBytes;
    return bSizesMatch ? ZT_NOERROR : ZT_E_BUFFER_SIZE_MISMATCH;
}

} // namespace

CZtaConvertBitDepth::CZtaConvertBitDepth() : m_oTable({ZTA_BIT_DEPTH_LIST(ZTA_TABLE_ENTRY)})
{
    m_psProcessingFormats = m_oTable.List();
}

CZtaConvertBitDepth::~CZtaConvertBitDepth() = default;

int CZtaConvertBitDepth::ConvertBitDepth(IZtAudioSamples* pInput, IZtAudioSamples* pOutput)
{
    SZtAudioBufferInformations sInput{};
    SZtAudioBufferInformations sOutput{};
    int iStatus = ZtaQueryConversion(*this, {pInput, sInput}, {pOutput, sOutput});
    if (iStatus < 0) {
        return iStatus;
    }
    iStatus = ZtaDispatchConversion(*this, m_oTable, sInput, sOutput);
    return iStatus < 0 ? iStatus : ZtaSetValidFrames(pOutput, sOutput, sInput.ulValidFrames);
}

int CZtaConvertBitDepth::QueryFormatSupported(SZtaWaveFormatInfo* psIn, SZtaWaveFormatInfo* psOut, bool* pbSupported)
{
    return QueryFormatSupportedInOutBuffers(psIn, psOut, pbSupported);
}

#define ZTA_BIT_DEPTH_ENTRY(in, out, name, loop, samples)                                                              \
    ZTA_DEFINE_CONVERSION_KERNEL(CZtaConvertBitDepth, name, loop, samples)
ZTA_BIT_DEPTH_LIST(ZTA_BIT_DEPTH_ENTRY)
#undef ZTA_BIT_DEPTH_ENTRY

int CZtaConvertBitDepth::ConvertBitDepth16To32(unsigned long ulChannels, unsigned long ulInputBytes, void* pvInput,
                                               unsigned long ulOutputBytes, void* pvOutput, bool bLsbAligned)
{
    const SZtaSampleLoops& rsLoops = ZtaActiveLoops();
    return ConvertWholeFrames(bLsbAligned ? rsLoops.pfn16To32LsbAligned : rsLoops.pfn16To32, 2, 4, ulChannels,
                              ulInputBytes, pvInput, ulOutputBytes, pvOutput);
}

int CZtaConvertBitDepth::ConvertBitDepth24To32(unsigned long ulChannels, unsigned long ulInputBytes, void* pvInput,
                                               unsigned long ulOutputBytes, void* pvOutput, bool bLsbAligned)
{
    const SZtaSampleLoops& rsLoops = ZtaActiveLoops();
    return ConvertWholeFrames(bLsbAligned ? rsLoops.pfn24To32LsbAligned : rsLoops.pfn24To32, 3, 4, ulChannels,
                              ulInputBytes, pvInput, ulOutputBytes, pvOutput);
}

int CZtaConvertBitDepth::ConvertBitDepth32To24(unsigned long ulChannels, unsigned long ulInputBytes, void* pvInput,
                                               unsigned long ulOutputBytes, void* pvOutput, bool bLsbAligned)
{
    const SZtaSampleLoops& rsLoops = ZtaActiveLoops();
    return ConvertWholeFrames(bLsbAligned ? rsLoops.pfn32To24LsbAligned : rsLoops.pfn32To24, 4, 3, ulChannels,
                              ulInputBytes, pvInput, ulOutputBytes, pvOutput);
}

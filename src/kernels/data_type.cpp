#include "kernels/data_type.h"

#include "kernels/conversion_kernels.h"
#include "kernels/loops/loops.h"

#include <zta/status.h>

static_assert(ZtaPairsAreUnique({ZTA_DATA_TYPE_LIST(ZTA_SAME_FORMAT_PAIR)}));

CZtaConvertDataType::CZtaConvertDataType() : m_oTable({ZTA_DATA_TYPE_LIST(ZTA_SAME_FORMAT_TABLE_ENTRY)})
{
    m_psProcessingFormats = m_oTable.List();
}

CZtaConvertDataType::~CZtaConvertDataType() = default;

int CZtaConvertDataType::ConvertDataType(IZtAudioSamples* pInput, IZtAudioSamples* pOutput)
{
    SZtAudioBufferInformations sInput{};
    SZtAudioBufferInformations sOutput{};
    const int iStatus = ZtaQueryConversion(*this, {pInput, sInput}, {pOutput, sOutput});
    if (iStatus < 0) {
        return iStatus;
    }
    if (sInput.eFormat != sOutput.eFormat || sInput.iBytesPerFrame != sOutput.iBytesPerFrame ||
        sInput.sDescription.sWaveFormat.ulChannels != sOutput.sDescription.sWaveFormat.ulChannels) {
        return ZT_E_BUFFER_FORMAT_MISMATCH;
    }
    return ZtaDispatchConversion(*this, m_oTable, sInput, sOutput);
}

int CZtaConvertDataType::QueryFormatSupported(SZtaWaveFormatInfo* psIn, SZtaWaveFormatInfo* psOut, bool* pbSupported)
{
    return QueryFormatSupportedInOutBuffers(psIn, psOut, pbSupported);
}

#define ZTA_DATA_TYPE_ENTRY(layout, name, loop, samples)                                                               \
    ZTA_DEFINE_CONVERSION_KERNEL(CZtaConvertDataType, name, loop, samples)
ZTA_DATA_TYPE_LIST(ZTA_DATA_TYPE_ENTRY)
#undef ZTA_DATA_TYPE_ENTRY

int CZtaConvertDataType::ConvertBitDepthFrom16In32MultiFormatTo16In16Pcm(
    IZtAudioSamples* pInput, const SZtAudioSamplesDescription* psDescription, IZtAudioSamples* pOutput)
{
    void* pvInput = nullptr;
    void* pvOutput = nullptr;
    unsigned long ulBytes = 0; // not used: the lengths are compared in frames
    int iStatus = pInput->GetBufferAndLength(&pvInput, &ulBytes);
    if (iStatus < 0) {
        return iStatus;
    }
    iStatus = pOutput->GetBufferAndLength(&pvOutput, &ulBytes);
    if (iStatus < 0) {
        return iStatus;
    }
    unsigned long ulInputFrames = 0;
    unsigned long ulOutputFrames = 0;
    iStatus = pInput->GetLengthInSampleFrames(&ulInputFrames);
    if (iStatus < 0) {
        return iStatus;
    }
    iStatus = pOutput->GetLengthInSampleFrames(&ulOutputFrames);
    if (iStatus < 0) {
        return iStatus;
    }
    if (ulInputFrames != ulOutputFrames) {
        return ZT_E_BUFFER_SIZE_MISMATCH;
    }
    ZtaActiveLoops().pfnMultiFormatTo16In16(pvInput, pvOutput, ulInputFrames * psDescription->sWaveFormat.ulChannels);
    return iStatus;
}

#include "kernels/audio_processing_util.h"

#include "kernels/loops/loops.h"

#include <zta/status.h>

#include <bit>
#include <cmath>

namespace {

/// Formats that differ only in the channel count, which is a power of two up to `ulMaxChannels`. Their properties are
/// consecutive, beginning with that of the mono format.
struct SFormatFamily {
    EZtAudioDataType eDataType;
    std::uint32_t ulBitsPerSample;
    std::uint32_t ulValidBitsPerSample;
    std::uint32_t ulSamplesPerSec;
    std::uint32_t ulMaxChannels;
    EZtAudioSampleFormatProperty eMono;
};

// clang-format off

// 16-bit samples in 32-bit containers are classified as 16-in-16: the frame size does not follow from the property.
// Samples of 20 valid bits are classified as 24-in-32.
constexpr SFormatFamily kFormatFamilies[] = {
    {keZtAudioDataTypePcm,         16, 16, 48000, 64, keZtAudioSampleFormat16In16Mono},
    {keZtAudioDataTypePcm,         32, 16, 48000,  2, keZtAudioSampleFormat16In16Mono},
    {keZtAudioDataTypeMultiFormat, 32, 16, 48000,  2, keZtAudioSampleFormat16In16Mono},
    {keZtAudioDataTypePcm,         32, 20, 48000,  2, keZtAudioSampleFormat24In32Mono},
    {keZtAudioDataTypePcm,         32, 24, 48000, 64, keZtAudioSampleFormat24In32Mono},
    {keZtAudioDataTypeMultiFormat, 32, 24, 48000, 64, keZtAudioSampleFormat24In32Mono},
    {keZtAudioDataTypeFloat,       32, 32, 48000,  2, keZtAudioSampleFormatFloat32Mono},
    {keZtAudioDataTypePcm,         16, 16, 44100,  2, keZtAudioSampleFormat16In16Mono44k},
    {keZtAudioDataTypePcm,         24, 24, 48000, 64, keZtAudioSampleFormat24In24Mono},
};

// clang-format on

bool Matches(const SFormatFamily& rsFamily, const SZtaWaveFormatInfo& rsFormat)
{
    return rsFormat.eDataType == rsFamily.eDataType && rsFormat.ulBitsPerSample == rsFamily.ulBitsPerSample &&
           rsFormat.ulValidBitsPerSample == rsFamily.ulValidBitsPerSample &&
           rsFormat.ulSamplesPerSec == rsFamily.ulSamplesPerSec && ZtaIsPowerOfTwo(rsFormat.ulChannels) &&
           rsFormat.ulChannels <= rsFamily.ulMaxChannels;
}

EZtAudioSampleFormatProperty Classify(const SZtaWaveFormatInfo& rsFormat)
{
    for (const SFormatFamily& rsFamily : kFormatFamilies) {
        if (Matches(rsFamily, rsFormat)) {
            const int iDoublings = std::countr_zero(rsFormat.ulChannels);
            return static_cast<EZtAudioSampleFormatProperty>(rsFamily.eMono + static_cast<std::uint32_t>(iDoublings));
        }
    }
    // With any data type, rate and channel count: such a buffer can be queried, and no table entry has this property.
    if (rsFormat.ulBitsPerSample == 32 && rsFormat.ulValidBitsPerSample == 24) {
        return keZtAudioSampleFormat24In32Other;
    }
    return keZtAudioSampleFormatInvalid;
}

int ClassifyFormat(const SZtaWaveFormatInfo& rsFormat, EZtAudioSampleFormatProperty& reProperty)
{
    reProperty = Classify(rsFormat);
    return reProperty == keZtAudioSampleFormatInvalid ? ZT_E_FORMAT_NOT_SUPPORTED : ZT_NOERROR;
}

/// Classifies the input and, if that succeeds, the output.
int ClassifyFormats(const SZtaWaveFormatInfo& rsIn, const SZtaWaveFormatInfo& rsOut,
                    EZtAudioSampleFormatProperty& reInput, EZtAudioSampleFormatProperty& reOutput)
{
    const int iStatus = ClassifyFormat(rsIn, reInput);
    return iStatus < 0 ? iStatus : ClassifyFormat(rsOut, reOutput);
}

// IsMono and IsStereo select the layouts at 48000 Hz that SuggestFormatSingleBuffer may suggest.

bool IsMono(EZtAudioSampleFormatProperty eProperty)
{
    return eProperty == keZtAudioSampleFormat16In16Mono || eProperty == keZtAudioSampleFormat24In32Mono ||
           eProperty == keZtAudioSampleFormatFloat32Mono || eProperty == keZtAudioSampleFormat24In24Mono;
}

bool IsStereo(EZtAudioSampleFormatProperty eProperty)
{
    return eProperty == keZtAudioSampleFormat16In16Stereo || eProperty == keZtAudioSampleFormat24In32Stereo ||
           eProperty == keZtAudioSampleFormatFloat32Stereo || eProperty == keZtAudioSampleFormat24In24Stereo;
}

} // namespace

int SZtaBufferProperties::Query(IZtAudioSamples* pSamples)
{
    int iStatus = pSamples->GetAudioSamplesDescription(&sDescription);
    if (iStatus < 0) {
        return iStatus;
    }
    iSuccessfulCalls = 1;
    iStatus = pSamples->GetBufferAndLength(&pvBuffer, &ulLength);
    if (iStatus < 0) {
        return iStatus;
    }
    iSuccessfulCalls = 2;
    iStatus = pSamples->GetBufferCapacity(&ulCapacity);
    return iStatus < 0 ? iStatus : ZT_NOERROR;
}

CZtaAudioProcessingUtil::CZtaAudioProcessingUtil()
{
    // Detects the CPU features and the cache now, outside the real-time path: CPUID is slow in a virtual machine.
    ZtaActiveLoops();
    ZtaMinStreamedBytes();
}

CZtaAudioProcessingUtil::~CZtaAudioProcessingUtil() = default;

int CZtaAudioProcessingUtil::GetSampleFormat(SZtaWaveFormatInfo* psFormat, EZtAudioSampleFormatProperty* peProperty)
{
    return ClassifyFormat(*psFormat, *peProperty);
}

int CZtaAudioProcessingUtil::GetBufferInformations(IZtAudioSamples* pSamples, void** ppvBuffer,
                                                   unsigned long* pulValidFrames, unsigned long* pulCapacityFrames,
                                                   int* piBytesPerFrame, EZtAudioSampleFormatProperty* peFormat,
                                                   SZtAudioSamplesDescription* psDescription)
{
    SZtaBufferProperties sBuffer;
    sBuffer.sDescription = *psDescription;
    const int iStatus = sBuffer.Query(pSamples);
    *psDescription = sBuffer.sDescription;
    SZtaWaveFormatInfo* const psFormat = &psDescription->sWaveFormat;
    const std::uint32_t ulBytesPerFrame = ZtaBytesPerFrame(*psFormat);
    if (sBuffer.iSuccessfulCalls >= 1) {
        *piBytesPerFrame = static_cast<int>(ulBytesPerFrame);
    }
    if (sBuffer.iSuccessfulCalls >= 2) {
        *ppvBuffer = sBuffer.pvBuffer;
        *pulValidFrames = sBuffer.ulLength / ulBytesPerFrame;
    }
    if (iStatus < 0) {
        return iStatus;
    }
    *pulCapacityFrames = sBuffer.ulCapacity / ulBytesPerFrame;
    return GetSampleFormat(psFormat, peFormat);
}

int CZtaAudioProcessingUtil::GetBufferInformations(IZtAudioSamples* pSamples,
                                                   SZtAudioBufferInformations* psInformations)
{
    return GetBufferInformations(pSamples, &psInformations->pvBuffer, &psInformations->ulValidFrames,
                                 &psInformations->ulCapacityFrames, &psInformations->iBytesPerFrame,
                                 &psInformations->eFormat, &psInformations->sDescription);
}

int CZtaAudioProcessingUtil::ValidateProcessingFormatAndGetFunctionIndex(
    EZtAudioSampleFormatProperty eInput, EZtAudioSampleFormatProperty eOutput,
    SZtAListOfProcessingFormatsAndFunctionIndex* psList, int* piFunctionIndex)
{
    for (int i = 0; i < psList->iFormatCount; ++i) {
        const SZtAProcessingFormatAndFunctionIndex& rsEntry = psList->psFormats[i];
        if (rsEntry.eInputFormat == eInput && rsEntry.eOutputFormat == eOutput) {
            *piFunctionIndex = rsEntry.iFunctionIndex;
            return ZT_NOERROR;
        }
    }
    return ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED;
}

int CZtaAudioProcessingUtil::SuggestFormatInOutBuffers(SZtaWaveFormatInfo* psIn, SZtaWaveFormatInfo* psOut,
                                                       SZtaWaveFormatInfo* psSuggestedIn,
                                                       SZtaWaveFormatInfo* psSuggestedOut)
{
    EZtAudioSampleFormatProperty eInput;
    EZtAudioSampleFormatProperty eOutput;
    int iStatus = ClassifyFormats(*psIn, *psOut, eInput, eOutput);
    if (iStatus < 0) {
        return iStatus;
    }

    int iFunctionIndex;
    iStatus = ValidateProcessingFormatAndGetFunctionIndex(eInput, eOutput, m_psProcessingFormats, &iFunctionIndex);
    if (iStatus >= 0) {
        *psSuggestedIn = *psIn;
        *psSuggestedOut = *psOut;
        return ZT_NOERROR;
    }

    const int iCount = m_psProcessingFormats->iFormatCount;
    const SZtAProcessingFormatAndFunctionIndex* const psEntries = m_psProcessingFormats->psFormats;
    if (iCount < 1) {
        return iStatus;
    }
    for (int i = 0; i < iCount; ++i) {
        if (psEntries[i].eOutputFormat == eOutput) {
            *psSuggestedIn = g_asFormatOfProperty[psEntries[i].eInputFormat];
            *psSuggestedOut = *psOut;
            return ZT_NOERROR;
        }
    }
    for (int i = 0; i < iCount; ++i) {
        if (psEntries[i].eInputFormat == eInput) {
            *psSuggestedIn = *psIn;
            *psSuggestedOut = g_asFormatOfProperty[psEntries[i].eOutputFormat];
            return ZT_NOERROR;
        }
    }
    // Required behavior: the first entry for stereo at 44100 Hz, the last one for all other formats, including mono at
    // 44100 Hz.
    const SZtAProcessingFormatAndFunctionIndex& rsEntry =
        psEntries[eInput == keZtAudioSampleFormat16In16Stereo44k ? 0 : iCount - 1];
    *psSuggestedIn = g_asFormatOfProperty[rsEntry.eInputFormat];
    *psSuggestedOut = g_asFormatOfProperty[rsEntry.eOutputFormat];
    return ZT_NOERROR;
}

int CZtaAudioProcessingUtil::SuggestFormatSingleBuffer(SZtaWaveFormatInfo* psFormat, SZtaWaveFormatInfo* psSuggested)
{
    EZtAudioSampleFormatProperty eProperty;
    int iStatus = GetSampleFormat(psFormat, &eProperty);
    if (iStatus < 0) {
        return iStatus;
    }

    int iFunctionIndex;
    iStatus = ValidateProcessingFormatAndGetFunctionIndex(eProperty, eProperty, m_psProcessingFormats, &iFunctionIndex);
    if (iStatus >= 0) {
        *psSuggested = *psFormat;
        return ZT_NOERROR;
    }

    // Required behavior: stereo for every format but mono at 48000 Hz.
    const auto Fits = IsMono(eProperty) ? IsMono : IsStereo;
    for (int i = m_psProcessingFormats->iFormatCount - 1; i >= 0; --i) {
        const EZtAudioSampleFormatProperty eCandidate = m_psProcessingFormats->psFormats[i].eInputFormat;
        if (Fits(eCandidate)) {
            *psSuggested = g_asFormatOfProperty[eCandidate];
            return ZT_NOERROR;
        }
    }
    return iStatus;
}

int CZtaAudioProcessingUtil::QueryFormatSupportedInOutBuffers(SZtaWaveFormatInfo* psIn, SZtaWaveFormatInfo* psOut,
                                                              bool* pbSupported)
{
    *pbSupported = false;

    EZtAudioSampleFormatProperty eInput;
    EZtAudioSampleFormatProperty eOutput;
    const int iStatus = ClassifyFormats(*psIn, *psOut, eInput, eOutput);
    if (iStatus < 0) {
        return iStatus;
    }

    int iFunctionIndex;
    *pbSupported =
        ValidateProcessingFormatAndGetFunctionIndex(eInput, eOutput, m_psProcessingFormats, &iFunctionIndex) >= 0;
    return ZT_NOERROR;
}

int CZtaAudioProcessingUtil::QueryFormatSupportedSingleBuffer(SZtaWaveFormatInfo* psFormat, bool* pbSupported)
{
    return QueryFormatSupportedInOutBuffers(psFormat, psFormat, pbSupported);
}

float ConvertToDBFS(float fValue, float fReference)
{
    if (fValue == 0.0f) {
        return -999.9f;
    }
    return 20.0f * std::log10(fValue / fReference);
}

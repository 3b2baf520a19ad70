#pragma once

#include "kernels/sample_format.h"

#include <zta/host_interfaces.h>

#include <cstring>

/// One thing that a kernel class does. The order of a class's rows is behaviour: searches take the first hit.
struct ZTA_API SZtAProcessingFormatAndFunctionIndex {
    EZtAudioSampleFormatProperty eInputFormat;
    EZtAudioSampleFormatProperty eOutputFormat;
    std::int32_t iFunctionIndex; ///< into the class's own array of member functions
};

struct ZTA_API SZtAListOfProcessingFormatsAndFunctionIndex {
    std::int32_t iFormatCount;
    SZtAProcessingFormatAndFunctionIndex* psFormats;
};

/// By a mask: without an instruction for it, std::has_single_bit counts all bits.
constexpr bool ZtaIsPowerOfTwo(unsigned long ul)
{
    return ul != 0 && (ul & (ul - 1)) == 0;
}

/// Container bits beyond whole bytes do not count.
constexpr std::uint32_t ZtaBytesPerFrame(const SZtaWaveFormatInfo& rsFormat)
{
    return rsFormat.ulBitsPerSample / 8 * rsFormat.ulChannels;
}

/// The digest of a buffer. The caller sets `sDescription.ulSize` to 40 before it asks for one.
struct ZTA_API SZtAudioBufferInformations {
    void* pvBuffer;                 ///< the first sample
    unsigned long ulValidFrames;    ///< sample frames of valid data
    unsigned long ulCapacityFrames; ///< sample frames that the buffer can hold
    std::int32_t iBytesPerFrame;
    EZtAudioSampleFormatProperty eFormat;
    SZtAudioSamplesDescription sDescription;
};

/// What a buffer reports of itself. This is the one place that queries it.
struct SZtaBufferProperties {
    SZtAudioSamplesDescription sDescription{sizeof(SZtAudioSamplesDescription), 0, 0, false, false, {}};
    void* pvBuffer = nullptr;
    unsigned long ulLength = 0;   ///< bytes
    unsigned long ulCapacity = 0; ///< bytes
    int iSuccessfulCalls = 0;     ///< of the three host calls; the fields of the others are not valid

    /// Queries description, length and capacity, in this order, up to the first failure.
    ZTA_INTERNAL int Query(IZtAudioSamples* pSamples);

    /// Compares what the format, the valid length and the capacity follow from.
    bool HasSameProperties(const SZtaBufferProperties& rsOther) const
    {
        return std::memcmp(&sDescription.sWaveFormat, &rsOther.sDescription.sWaveFormat, sizeof(SZtaWaveFormatInfo)) ==
                   0 &&
               ulLength == rsOther.ulLength && ulCapacity == rsOther.ulCapacity;
    }
};

/// The base of every kernel class: it reduces wave formats to the few layouts that kernels know and searches the
/// derived class's rows.
///
/// Statuses of the host's buffers are passed on unchanged. Nothing here changes an object, so several threads may ask
/// one kernel object about formats. [any thread] [no allocation] [no lock]
class ZTA_API CZtaAudioProcessingUtil {
public:
    /// The derived constructor points `m_psProcessingFormats` at its own list.
    CZtaAudioProcessingUtil();
    CZtaAudioProcessingUtil(const CZtaAudioProcessingUtil&) = delete;
    CZtaAudioProcessingUtil& operator=(const CZtaAudioProcessingUtil&) = delete;
    virtual ~CZtaAudioProcessingUtil();

    /// Classifies a format.
    /// Errors  ZT_E_FORMAT_NOT_SUPPORTED: no property fits; `*peProperty` is then 0
    int GetSampleFormat(SZtaWaveFormatInfo* psFormat, EZtAudioSampleFormatProperty* peProperty);

    /// Digests a buffer. On ZT_E_FORMAT_NOT_SUPPORTED all other outputs have been written. The buffer's frame must
    /// have at least one byte.
    int GetBufferInformations(IZtAudioSamples* pSamples, void** ppvBuffer, unsigned long* pulValidFrames,
                              unsigned long* pulCapacityFrames, int* piBytesPerFrame,
                              EZtAudioSampleFormatProperty* peFormat, SZtAudioSamplesDescription* psDescription);
    int GetBufferInformations(IZtAudioSamples* pSamples, SZtAudioBufferInformations* psInformations);

    /// Finds the first row of a pair.
    /// Errors  ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED: no row; `*piFunctionIndex` is left alone
    int ValidateProcessingFormatAndGetFunctionIndex(EZtAudioSampleFormatProperty eInput,
                                                    EZtAudioSampleFormatProperty eOutput,
                                                    SZtAListOfProcessingFormatsAndFunctionIndex* psList,
                                                    int* piFunctionIndex);

    /// Suggests formats near the given ones that a row processes: the pair itself, else another input, else another
    /// output, else a whole row. Succeeds whenever both formats can be classified.
    int SuggestFormatInOutBuffers(SZtaWaveFormatInfo* psIn, SZtaWaveFormatInfo* psOut,
                                  SZtaWaveFormatInfo* psSuggestedIn, SZtaWaveFormatInfo* psSuggestedOut);

    /// The same for a class that works in place.
    /// Errors  ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED: nothing fits; `*psSuggested` is left alone
    int SuggestFormatSingleBuffer(SZtaWaveFormatInfo* psFormat, SZtaWaveFormatInfo* psSuggested);

    /// A format that cannot be classified is an error; one that no row processes is success with false.
    int QueryFormatSupportedInOutBuffers(SZtaWaveFormatInfo* psIn, SZtaWaveFormatInfo* psOut, bool* pbSupported);
    int QueryFormatSupportedSingleBuffer(SZtaWaveFormatInfo* psFormat, bool* pbSupported);

protected:
    SZtAListOfProcessingFormatsAndFunctionIndex* m_psProcessingFormats;

    friend struct SZtLayoutProbe;
};

/// `fValue` in decibels relative to `fReference`; -999.9 for a value of zero.
ZTA_API float ConvertToDBFS(float fValue, float fReference);

#pragma once

#include "kernels/sample_format.h"

#include <zta/audio_records.h>
#include <zta/export.h>
#include <zta/host_interfaces.h>

#include <cstdint>
#include <cstring>

/// An entry of a kernel table. The order of entries is observable: searches return the first match.
struct ZTA_API SZtAProcessingFormatAndFunctionIndex {
    EZtAudioSampleFormatProperty eInputFormat;
    EZtAudioSampleFormatProperty eOutputFormat;
    std::int32_t iFunctionIndex; ///< into the class's own array of member functions
};

/// A kernel table.
struct ZTA_API SZtAListOfProcessingFormatsAndFunctionIndex {
    std::int32_t iFormatCount;
    SZtAProcessingFormatAndFunctionIndex* psFormats;
};

/// Uses a mask: without a population count instruction, std::has_single_bit counts bit by bit.
constexpr bool ZtaIsPowerOfTwo(unsigned long ul)
{
    return ul != 0 && (ul & (ul - 1)) == 0;
}

/// Returns the bytes of a sample frame. Ignores container bits beyond whole bytes.
constexpr std::uint32_t ZtaBytesPerFrame(const SZtaWaveFormatInfo& rsFormat)
{
    return rsFormat.ulBitsPerSample / 8 * rsFormat.ulChannels;
}

/// The buffer info. The caller sets `sDescription.ulSize` to 40 before the query.
struct ZTA_API SZtAudioBufferInformations {
    void* pvBuffer;                 ///< the first sample
    unsigned long ulValidFrames;    ///< sample frames of valid data
    unsigned long ulCapacityFrames; ///< sample frames that the buffer can hold
    std::int32_t iBytesPerFrame;
    EZtAudioSampleFormatProperty eFormat;
    SZtAudioSamplesDescription sDescription;
};

/// What a buffer reports of itself. The kernel classes query the buffer info through this record only.
struct SZtaBufferProperties {
    SZtAudioSamplesDescription sDescription{sizeof(SZtAudioSamplesDescription), 0, 0, false, false, {}};
    void* pvBuffer = nullptr;
    unsigned long ulLength = 0;   ///< bytes
    unsigned long ulCapacity = 0; ///< bytes
    int iSuccessfulCalls = 0;     ///< of the first two host calls; the fields of a failed call are not valid

    /// Queries description, length and capacity, in this order, up to the first failure.
    ZTA_INTERNAL int Query(IZtAudioSamples* pSamples);

    /// Returns true if both buffers have the same format, valid length and capacity. The address does not matter.
    bool HasSameProperties(const SZtaBufferProperties& rsOther) const
    {
        return std::memcmp(&sDescription.sWaveFormat, &rsOther.sDescription.sWaveFormat, sizeof(SZtaWaveFormatInfo)) ==
                   0 &&
               ulLength == rsOther.ulLength && ulCapacity == rsOther.ulCapacity;
    }
};

/// The base of every kernel class: classifies wave formats and searches the kernel table of the derived class.
///
/// Returns the status codes of host calls unchanged. No function changes the object: several threads may use it.
/// [any thread] [real-time], except the constructor: the first one of the process executes CPUID
class ZTA_API CZtaAudioProcessingUtil {
public:
    /// The derived constructor sets `m_psProcessingFormats` to its own list.
    CZtaAudioProcessingUtil();
    CZtaAudioProcessingUtil(const CZtaAudioProcessingUtil&) = delete;
    CZtaAudioProcessingUtil& operator=(const CZtaAudioProcessingUtil&) = delete;
    virtual ~CZtaAudioProcessingUtil();

    /// Classifies a format.
    /// Errors  ZT_E_FORMAT_NOT_SUPPORTED  no property matches; `*peProperty` is then 0
    int GetSampleFormat(SZtaWaveFormatInfo* psFormat, EZtAudioSampleFormatProperty* peProperty);

    /// Queries the buffer info. On ZT_E_FORMAT_NOT_SUPPORTED all other outputs are written. The frame size of the
    /// buffer must not be 0.
    int GetBufferInformations(IZtAudioSamples* pSamples, void** ppvBuffer, unsigned long* pulValidFrames,
                              unsigned long* pulCapacityFrames, int* piBytesPerFrame,
                              EZtAudioSampleFormatProperty* peFormat, SZtAudioSamplesDescription* psDescription);
    int GetBufferInformations(IZtAudioSamples* pSamples, SZtAudioBufferInformations* psInformations);

    /// Finds the first table entry of a pair and stores its function index.
    /// Errors  ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED  no table entry; `*piFunctionIndex` is not written
    int ValidateProcessingFormatAndGetFunctionIndex(EZtAudioSampleFormatProperty eInput,
                                                    EZtAudioSampleFormatProperty eOutput,
                                                    SZtAListOfProcessingFormatsAndFunctionIndex* psList,
                                                    int* piFunctionIndex);

    /// Suggests formats near the given ones that a table entry processes: the pair itself, else another input, else
    /// another output, else both of an entry.
    /// Errors  ZT_E_FORMAT_NOT_SUPPORTED  a format cannot be classified; the suggestions are not written
    int SuggestFormatInOutBuffers(SZtaWaveFormatInfo* psIn, SZtaWaveFormatInfo* psOut,
                                  SZtaWaveFormatInfo* psSuggestedIn, SZtaWaveFormatInfo* psSuggestedOut);

    /// The same for a class that processes in place.
    /// Errors  ZT_E_FORMAT_NOT_SUPPORTED             the format cannot be classified
    ///         ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED  no entry matches; `*psSuggested` is not written
    int SuggestFormatSingleBuffer(SZtaWaveFormatInfo* psFormat, SZtaWaveFormatInfo* psSuggested);

    /// Stores true if a table entry processes the formats, otherwise false.
    /// Errors  ZT_E_FORMAT_NOT_SUPPORTED  a format cannot be classified; the result is false
    int QueryFormatSupportedInOutBuffers(SZtaWaveFormatInfo* psIn, SZtaWaveFormatInfo* psOut, bool* pbSupported);
    int QueryFormatSupportedSingleBuffer(SZtaWaveFormatInfo* psFormat, bool* pbSupported);

protected:
    SZtAListOfProcessingFormatsAndFunctionIndex* m_psProcessingFormats;

    friend struct SZtLayoutProbe;
};

/// Returns `fValue` in decibels relative to `fReference`, or -999.9 if `fValue` is 0.
ZTA_API float ConvertToDBFS(float fValue, float fReference);

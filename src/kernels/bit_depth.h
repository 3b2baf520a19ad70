#pragma once

#include "kernels/bit_depth_list.h"
#include "kernels/kernel_table.h"

/// Converts between the sample layouts of one channel count and rate: 16-in-16, 24-in-32, 24-in-24 and float.
///
/// Narrowing drops low bits, float to integer truncates towards zero, and nothing saturates. Kernels have no state:
/// several threads may use one object on different buffers. [any thread] [real-time]
class ZTA_API CZtaConvertBitDepth : public CZtaAudioProcessingUtil {
public:
    CZtaConvertBitDepth();
    ~CZtaConvertBitDepth() override;

    /// Converts the valid frames of the input and sets the valid length of the output to them.
    /// Errors  ZT_E_FORMAT_NOT_SUPPORTED             a format that cannot be classified
    ///         ZT_E_DESTINATION_BUFFER_TOO_SMALL     the capacity of the output is below the valid frames of the input
    ///         ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED  no table entry for the pair
    ///         any other code                        from the buffers
    int ConvertBitDepth(IZtAudioSamples* pInput, IZtAudioSamples* pOutput);

    int QueryFormatSupported(SZtaWaveFormatInfo* psIn, SZtaWaveFormatInfo* psOut, bool* pbSupported);

    // The kernels of the table. ulFrames counts sample frames. Input and output may be the same if the conversion keeps
    // the sample size; other overlaps are not supported. Each kernel returns 0.
#define ZTA_BIT_DEPTH_ENTRY(in, out, name, loop, samples)                                                              \
    int name(unsigned long ulFrames, void* pvInput, void* pvOutput);
    ZTA_BIT_DEPTH_LIST(ZTA_BIT_DEPTH_ENTRY)
#undef ZTA_BIT_DEPTH_ENTRY

    // Conversions of whole frames of ulChannels samples until ulInputBytes are consumed. bLsbAligned selects the
    // alignment in the 32-bit container; the two directions are then not inverse.
    // Errors  ZT_E_BUFFER_SIZE_MISMATCH  the converted frames differ in size from ulInputBytes or ulOutputBytes; the
    //                                    output is written nevertheless

    /// b0 b1 becomes 0 b0 b0 b1, or b0 b1 0 0 if bLsbAligned.
    int ConvertBitDepth16To32(unsigned long ulChannels, unsigned long ulInputBytes, void* pvInput,
                              unsigned long ulOutputBytes, void* pvOutput, bool bLsbAligned);

    /// b0 b1 b2 becomes 0 b0 b1 b2, or b0 b1 b2 0 if bLsbAligned.
    int ConvertBitDepth24To32(unsigned long ulChannels, unsigned long ulInputBytes, void* pvInput,
                              unsigned long ulOutputBytes, void* pvOutput, bool bLsbAligned);

    /// b0 b1 b2 b3 becomes b1 b2 b3, or b3 b2 b1 if bLsbAligned.
    int ConvertBitDepth32To24(unsigned long ulChannels, unsigned long ulInputBytes, void* pvInput,
                              unsigned long ulOutputBytes, void* pvOutput, bool bLsbAligned);

private:
    using Self = CZtaConvertBitDepth;
    using Function = int (Self::*)(unsigned long ulFrames, void* pvInput, void* pvOutput);

    TZtaKernelTable<Function, ZTA_ENTRY_COUNT(ZTA_BIT_DEPTH_LIST)> m_oTable;

    friend struct SZtLayoutProbe;
};

#pragma once

#include "kernels/kernel_table.h"

// clang-format off

/// The kernel table of CZtaConvertDataType:
///   X(layout of input and output, kernel, loop, samples per frame)
#define ZTA_DATA_TYPE_LIST(X) \
    X(16In16Mono,   ConvertDataTypeMMFToPCM16bitMono,       MultiFormatTo16, 1) \
    X(16In16Stereo, ConvertDataTypeMMFToPCM16bitStereo,     MultiFormatTo16, 2) \
    X(16In16Mux4,   ConvertDataTypeMMFToPCM16bitMux4,       MultiFormatTo16, 4) \
    X(16In16Mux8,   ConvertDataTypeMMFToPCM16bitMux8,       MultiFormatTo16, 8) \
    X(16In16Mux16,  ConvertDataTypeMMFToPCM16bitMux16,      MultiFormatTo16, 16) \
    X(24In32Mono,   ConvertDataTypeMMFToPCM24In32bitMono,   MultiFormatTo24, 1) \
    X(24In32Stereo, ConvertDataTypeMMFToPCM24In32bitStereo, MultiFormatTo24, 2) \
    X(24In32Mux4,   ConvertDataTypeMMFToPCM24In32bitMux4,   MultiFormatTo24, 4) \
    X(24In32Mux8,   ConvertDataTypeMMFToPCM24In32bitMux8,   MultiFormatTo24, 8) \
    X(24In32Mux16,  ConvertDataTypeMMFToPCM24In32bitMux16,  MultiFormatTo24, 16)

// clang-format on

/// Extracts the PCM samples of multi-format words.
///
/// A multi-format word (MMF in the names) holds its audio field in bits 27 to 4, as an AES3 subframe does; a 16-bit
/// sample fills bits 27 to 12. The other bits are dropped. Kernels have no state: several threads may use one object on
/// different buffers. [any thread] [real-time]
class ZTA_API CZtaConvertDataType : public CZtaAudioProcessingUtil {
public:
    CZtaConvertDataType();
    ~CZtaConvertDataType() override;

    /// Converts the valid frames of the input to PCM samples in containers of the same size. Does not set the valid
    /// length of the output, and does not check that the input is multi-format.
    /// Errors  ZT_E_FORMAT_NOT_SUPPORTED             a format that cannot be classified
    ///         ZT_E_DESTINATION_BUFFER_TOO_SMALL     the capacity of the output is below the valid frames of the input
    ///         ZT_E_BUFFER_FORMAT_MISMATCH           layouts, frame sizes or channel counts differ
    ///         ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED  no table entry for the layout
    ///         any other code                        from the buffers
    int ConvertDataType(IZtAudioSamples* pInput, IZtAudioSamples* pOutput);

    int QueryFormatSupported(SZtaWaveFormatInfo* psIn, SZtaWaveFormatInfo* psOut, bool* pbSupported);

    // The kernels of the table, on 32-bit words. ulFrames counts sample frames. Input and output may be the same. Each
    // kernel returns 0.
#define ZTA_DATA_TYPE_ENTRY(layout, name, loop, samples)                                                               \
    int name(unsigned long ulFrames, void* pvInput, void* pvOutput);
    ZTA_DATA_TYPE_LIST(ZTA_DATA_TYPE_ENTRY)
#undef ZTA_DATA_TYPE_ENTRY

    /// Converts 16-bit multi-format words to 16-bit samples. Does not set the valid length of the output, which must
    /// equal that of the input, in frames.
    /// psDescription  of the input
    /// Errors         ZT_E_BUFFER_SIZE_MISMATCH  the frame counts differ
    ///                any other code             from the buffers
    int ConvertBitDepthFrom16In32MultiFormatTo16In16Pcm(IZtAudioSamples* pInput,
                                                        const SZtAudioSamplesDescription* psDescription,
                                                        IZtAudioSamples* pOutput);

private:
    using Self = CZtaConvertDataType;
    using Function = int (Self::*)(unsigned long ulFrames, void* pvInput, void* pvOutput);

    TZtaKernelTable<Function, ZTA_ENTRY_COUNT(ZTA_DATA_TYPE_LIST)> m_oTable;

    friend struct SZtLayoutProbe;
};

#include <zta/error_text.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <thread>

namespace {

struct StatusText {
    std::uint32_t code;
    const wchar_t* text;
};

// clang-format off
constexpr StatusText kTexts[] = {
    {0, L"ZT_NOERROR: No error"},
    {1, L"ZT_FALSE: FALSE"},
    {0x89998003, L"ZT_E_NOT_IMPLEMENTED: The requested operation is not implemented."},
    {0x8999802F, L"ZT_E_MODULE_BUSY: The module is still processing the last requested operation."},
    {0x89998032, L"ZT_E_READ_COUNT_NOT_INCREMENTED: Each SignalReadCompletion should match a IncrementReadCount."},
    {0x89998033, L"ZT_E_WRITE_COUNT_NOT_INCREMENTED: Each SignalWriteCompletion should match a IncrementWriteCount."},
    {0x8999803A, L"ZT_E_FORMAT_NOT_SUPPORTED: The format of the surface or audio samples is not supported in the requested processing."},
    {0x8999803B, L"ZT_E_INPUT_FORMAT_NOT_SUPPORTED: The format of the input surface or audio samples is not supported in the requested processing."},
    {0x8999803C, L"ZT_E_OUTPUT_FORMAT_NOT_SUPPORTED: The format of the output surface or audio samples is not supported in the requested processing."},
    {0x8999803D, L"ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED: The source and destination format imply a processing that is not supported."},
    {0x8999803E, L"ZT_E_DESTINATION_BUFFER_TOO_SMALL: Destination buffer is too small."},
    {0x8999803F, L"ZT_E_BUFFER_SIZE_MISMATCH: Input buffer must have the same number of bytes(or samples) as outout buffer."},
    {0x89998040, L"ZT_E_BUFFER_FORMAT_MISMATCH: Input buffers or output buffers (audiosamples) must have the same format."},
    {0x89998044, L"ZT_E_INVALID_PARAMETER: One of the method parameter is invalid."},
    {0x89998045, L"ZT_E_INVALID_POINTER: One of the method parameter is a uninitialized pointer."},
    {0x89998070, L"ZT_E_INCONSISTENCY_DETECTED: There's an inconsistency that was detected by the object."},
    {0x89998071, L"ZT_E_ARRAY_TOO_SMALL: Provided array is too small."},
    {0x899980D2, L"ZT_E_SOURCE_BUFFER_TOO_SMALL: The source buffer is smaller than what it should be"},
    {0x899980F7, L"ZT_E_PARAMETER_ARRAY_TOO_BIG: Parameter array too big"},
    {0x89998121, L"ZT_E_UNSUPPORTED_AUDIO_DATA_TYPE: The audio data type is not supported on the selected profile"},
    {0x89998161, L"ZT_E_INCOMPATIBLE_BITS_PER_SAMPLE: At audio sample creation, valid bits per sample is not compatible with total bits per sample"},
    {0x89998165, L"ZT_E_INVALID_AUDIO_CHANNEL_TYPE: Specified channel type not supported or invalid"},
    {0x89998166, L"ZT_E_INVALID_AUDIO_SAMPLING_RATE: Specified sampling rate not supported or invalid"},
    {0x89998167, L"ZT_E_INVALID_AUDIO_DATA_TYPE: Specified data type not supported or invalid"},
    {0x89998362, L"ZT_E_AUDIO_CHANNEL_SELECT_COUNT_MISMATCH: The audio channels selected is not compatible with the channel capture type or total channel count"},
    {0x8999836F, L"ZT_E_AUDIO_FORMAT_MISMATCH: The source and destinatios buffers have different audio formats"},
    {0x89998FFF, L"ZT_E_FAIL: Generic error."},
    // The error codes that an input may have.
    {0xA306F002, L"kZtSynchroStatusPlayedLate: Sync: Output dropped a buffer, played late"},
    {0xA306F003, L"kZtSynchroStatusCancelledLate: Sync: Buffer has been dropped, cancelled late"},
    {0xA306F004, L"kZtSynchroStatusRepeatedFrame: Sync: Output repeated a buffer"},
    {0xA306F00C, L"kZtSynchroStatusInvalidBufferTime: Sync: Invalid buffer time (late or not respect the preroll)"},
    {0xA306F00D, L"kZtSynchroStatusDeviceNotReady: Sync: Device cannot accept buffer because it is busy"},
    {0xE306F000, L"kZtSynchroStatusCancelled: Sync: Buffer has been dropped, cancelled"},
};
// clang-format on

std::wstring TextOf(std::uint32_t code)
{
    return ztErrorToString(static_cast<int>(code));
}

TEST(ErrorText, ReturnsTheTextsOfTheStatusCodes)
{
    for (const StatusText& status : kTexts) {
        EXPECT_EQ(TextOf(status.code), status.text) << std::hex << status.code;
    }
}

TEST(ErrorText, IsUnknownForOtherCodes)
{
    for (const std::uint32_t code :
         {0x00000002U, 0x7FFFFFFFU, 0x80000000U, 0x80004002U, 0x80004005U, 0x8007000EU, 0x89998FFEU, 0xFFFFFFFFU}) {
        EXPECT_EQ(TextOf(code), L"Unknown error") << std::hex << code;
    }
}

TEST(ErrorText, IsStatic)
{
    for (const std::uint32_t code : {0x8999802FU, 0x00000002U}) {
        const wchar_t* here = ztErrorToString(static_cast<int>(code));
        const wchar_t* there = nullptr;
        std::thread([&] { there = ztErrorToString(static_cast<int>(code)); }).join();
        EXPECT_EQ(here, there);
    }
}

} // namespace

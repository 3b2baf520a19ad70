/// The statuses, one row each: code, name, sentence. The text of a status is "name: sentence".
///
/// Rows stand in ascending order of the code as an unsigned number; a lookup searches them. Texts are data, with their
/// misspellings.
#pragma once

// clang-format off
#define ZTA_STATUS_LIST(ROW) \
    ROW(0x00000000, ZT_NOERROR, "No error") \
    ROW(0x00000001, ZT_FALSE, "FALSE") \
    ROW(0x89998003, ZT_E_NOT_IMPLEMENTED, "The requested operation is not implemented.") \
    ROW(0x8999802F, ZT_E_MODULE_BUSY, "The module is still processing the last requested operation.") \
    ROW(0x89998032, ZT_E_READ_COUNT_NOT_INCREMENTED, "Each SignalReadCompletion should match a IncrementReadCount.") \
    ROW(0x89998033, ZT_E_WRITE_COUNT_NOT_INCREMENTED, "Each SignalWriteCompletion should match a IncrementWriteCount.") \
    ROW(0x8999803A, ZT_E_FORMAT_NOT_SUPPORTED, "The format of the surface or audio samples is not supported in the requested processing.") \
    ROW(0x8999803B, ZT_E_INPUT_FORMAT_NOT_SUPPORTED, "The format of the input surface or audio samples is not supported in the requested processing.") \
    ROW(0x8999803C, ZT_E_OUTPUT_FORMAT_NOT_SUPPORTED, "The format of the output surface or audio samples is not supported in the requested processing.") \
    ROW(0x8999803D, ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED, "The source and destination format imply a processing that is not supported.") \
    ROW(0x8999803E, ZT_E_DESTINATION_BUFFER_TOO_SMALL, "Destination buffer is too small.") \
    ROW(0x8999803F, ZT_E_BUFFER_SIZE_MISMATCH, "Input buffer must have the same number of bytes(or samples) as outout buffer.") \
    ROW(0x89998040, ZT_E_BUFFER_FORMAT_MISMATCH, "Input buffers or output buffers (audiosamples) must have the same format.") \
    ROW(0x89998044, ZT_E_INVALID_PARAMETER, "One of the method parameter is invalid.") \
    ROW(0x89998045, ZT_E_INVALID_POINTER, "One of the method parameter is a uninitialized pointer.") \
    ROW(0x89998070, ZT_E_INCONSISTENCY_DETECTED, "There's an inconsistency that was detected by the object.") \
    ROW(0x89998071, ZT_E_ARRAY_TOO_SMALL, "Provided array is too small.") \
    ROW(0x899980D2, ZT_E_SOURCE_BUFFER_TOO_SMALL, "The source buffer is smaller than what it should be") \
    ROW(0x899980F7, ZT_E_PARAMETER_ARRAY_TOO_BIG, "Parameter array too big") \
    ROW(0x89998121, ZT_E_UNSUPPORTED_AUDIO_DATA_TYPE, "The audio data type is not supported on the selected profile") \
    ROW(0x89998161, ZT_E_INCOMPATIBLE_BITS_PER_SAMPLE, "At audio sample creation, valid bits per sample is not compatible with total bits per sample") \
    ROW(0x89998165, ZT_E_INVALID_AUDIO_CHANNEL_TYPE, "Specified channel type not supported or invalid") \
    ROW(0x89998166, ZT_E_INVALID_AUDIO_SAMPLING_RATE, "Specified sampling rate not supported or invalid") \
    ROW(0x89998167, ZT_E_INVALID_AUDIO_DATA_TYPE, "Specified data type not supported or invalid") \
    ROW(0x89998362, ZT_E_AUDIO_CHANNEL_SELECT_COUNT_MISMATCH, "The audio channels selected is not compatible with the channel capture type or total channel count") \
    ROW(0x8999836F, ZT_E_AUDIO_FORMAT_MISMATCH, "The source and destinatios buffers have different audio formats") \
    ROW(0x89998FFF, ZT_E_FAIL, "Generic error.") \
    ROW(0xA306F002, kZtSynchroStatusPlayedLate, "Sync: Output dropped a buffer, played late") \
    ROW(0xA306F003, kZtSynchroStatusCancelledLate, "Sync: Buffer has been dropped, cancelled late") \
    ROW(0xA306F004, kZtSynchroStatusRepeatedFrame, "Sync: Output repeated a buffer") \
    ROW(0xA306F00C, kZtSynchroStatusInvalidBufferTime, "Sync: Invalid buffer time (late or not respect the preroll)") \
    ROW(0xA306F00D, kZtSynchroStatusDeviceNotReady, "Sync: Device cannot accept buffer because it is busy") \
    ROW(0xE306F000, kZtSynchroStatusCancelled, "Sync: Buffer has been dropped, cancelled")
// clang-format on

#include "host/formats.h"

namespace zta::host {

namespace {

std::string ChannelsName(std::uint32_t channels)
{
    switch (channels) {
    case 1:
        return "mono";
    case 2:
        return "stereo";
    default:
        return std::to_string(channels) + " channels";
    }
}

std::string WidthName(const SZtaWaveFormatInfo& format)
{
    return std::to_string(format.ulValidBitsPerSample) + "-in-" + std::to_string(format.ulBitsPerSample);
}

std::string SampleName(const SZtaWaveFormatInfo& format)
{
    switch (format.eDataType) {
    case keZtAudioDataTypePcm:
        return WidthName(format);
    case keZtAudioDataTypeFloat:
        return "float " + std::to_string(format.ulBitsPerSample);
    case keZtAudioDataTypeMultiFormat:
        return "multi-format " + WidthName(format);
    case keZtAudioDataTypeOpaque:
        return "opaque " + WidthName(format);
    }
    return "type " + std::to_string(std::uint32_t{format.eDataType}) + " " + WidthName(format);
}

} // namespace

std::string FormatName(const SZtaWaveFormatInfo& format)
{
    return SampleName(format) + " " + ChannelsName(format.ulChannels) + ", " + std::to_string(format.ulSamplesPerSec) +
           " Hz";
}

} // namespace zta::host

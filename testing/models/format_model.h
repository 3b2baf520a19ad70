/// Reference model of the format classification. Type, container, valid bits, rate and channels are tested in this
/// order.
#pragma once

#include <zta/audio_records.h>

#include <cstdint>
#include <cstring>
#include <optional>

namespace models {

inline std::optional<std::uint32_t> PropertyForChannels(std::uint32_t channels, std::uint32_t mono)
{
    switch (channels) {
    case 1:
        return mono;
    case 2:
        return mono + 1;
    case 4:
        return mono + 2;
    case 8:
        return mono + 3;
    case 16:
        return mono + 4;
    case 32:
        return mono + 5;
    case 64:
        return mono + 6;
    default:
        return std::nullopt;
    }
}

inline std::optional<std::uint32_t> PcmProperty(std::uint32_t container, std::uint32_t valid, std::uint32_t rate,
                                                std::uint32_t channels)
{
    if ((container == 16 || container == 32) && valid == 16 && rate == 48000 && channels == 1) {
        return 1;
    }
    if ((container == 16 || container == 32) && valid == 16 && rate == 48000 && channels == 2) {
        return 2;
    }
    if (container == 32) {
        if (valid == 20 && rate == 48000 && channels == 1) {
            return 8;
        }
        if (valid == 20 && rate == 48000 && channels == 2) {
            return 9;
        }
        if (valid == 24) {
            const auto width = rate == 48000 ? PropertyForChannels(channels, 8) : std::nullopt;
            return width ? width : 15;
        }
        return std::nullopt;
    }
    if (container == 16) {
        if (valid != 16) {
            return std::nullopt;
        }
        if (rate == 44100) {
            return channels == 1 ? std::optional<std::uint32_t>(18)
                                 : (channels == 2 ? std::optional<std::uint32_t>(19) : std::nullopt);
        }
        return rate == 48000 ? PropertyForChannels(channels, 1) : std::nullopt;
    }
    if (container == 24) {
        return valid == 24 && rate == 48000 ? PropertyForChannels(channels, 20) : std::nullopt;
    }
    return std::nullopt;
}

inline std::optional<std::uint32_t> FloatProperty(std::uint32_t container, std::uint32_t valid, std::uint32_t rate,
                                                  std::uint32_t channels)
{
    if (container != 32) {
        return std::nullopt;
    }
    if (valid == 32 && rate == 48000 && channels == 1) {
        return 16;
    }
    if (valid == 32 && rate == 48000 && channels == 2) {
        return 17;
    }
    return valid == 24 ? std::optional<std::uint32_t>(15) : std::nullopt;
}

inline std::optional<std::uint32_t> MultiFormatProperty(std::uint32_t container, std::uint32_t valid,
                                                        std::uint32_t rate, std::uint32_t channels)
{
    if (container != 32) {
        return std::nullopt;
    }
    if (valid == 16) {
        if (rate == 48000 && channels == 1) {
            return 1;
        }
        return rate == 48000 && channels == 2 ? std::optional<std::uint32_t>(2) : std::nullopt;
    }
    if (valid == 24) {
        const auto width = rate == 48000 ? PropertyForChannels(channels, 8) : std::nullopt;
        return width ? width : 15;
    }
    return std::nullopt;
}

/// Returns the property of a format, or nothing for a rejected one.
inline std::optional<std::uint32_t> Property(std::uint32_t type, std::uint32_t container, std::uint32_t valid,
                                             std::uint32_t rate, std::uint32_t channels)
{
    switch (type) {
    case 1:
        return PcmProperty(container, valid, rate, channels);
    case 2:
        return FloatProperty(container, valid, rate, channels);
    case 3:
        return MultiFormatProperty(container, valid, rate, channels);
    default:
        return container == 32 && valid == 24 ? std::optional<std::uint32_t>(15) : std::nullopt;
    }
}

inline std::optional<std::uint32_t> Property(const SZtaWaveFormatInfo& format)
{
    return Property(format.eDataType, format.ulBitsPerSample, format.ulValidBitsPerSample, format.ulSamplesPerSec,
                    format.ulChannels);
}

/// Returns the regular format of a property, which must not be 0 or 15.
inline SZtaWaveFormatInfo FormatOfProperty(std::uint32_t property)
{
    struct Family {
        std::uint32_t mono;
        EZtAudioDataType type;
        std::uint32_t rate;
        std::uint32_t container;
        std::uint32_t valid;
    };
    constexpr Family kFamilies[] = {{20, keZtAudioDataTypePcm, 48000, 24, 24},
                                    {18, keZtAudioDataTypePcm, 44100, 16, 16},
                                    {16, keZtAudioDataTypeFloat, 48000, 32, 32},
                                    {8, keZtAudioDataTypePcm, 48000, 32, 24},
                                    {1, keZtAudioDataTypePcm, 48000, 16, 16}};
    const Family* family = kFamilies;
    while (property < family->mono) {
        ++family;
    }
    return {sizeof(SZtaWaveFormatInfo),
            std::uint32_t{1} << (property - family->mono),
            family->type,
            family->rate,
            family->container,
            family->valid};
}

/// Returns true for the regular format of a property, whose frame size the property determines.
inline bool IsRegular(const SZtaWaveFormatInfo& format)
{
    const auto property = Property(format);
    if (!property || *property == 15) {
        return false;
    }
    const SZtaWaveFormatInfo regular = FormatOfProperty(*property);
    return std::memcmp(&format, &regular, sizeof(format)) == 0;
}

} // namespace models

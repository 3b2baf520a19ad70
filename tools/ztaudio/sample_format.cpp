#include "tools/ztaudio/sample_format.h"

#include "host/formats.h"

#include <sndfile.h>

#include <array>

namespace {

struct Entry {
    SampleFormat format;
    std::string_view name;
    int subtype;
    SZtaWaveFormatInfo (*wave)(std::uint32_t channels, std::uint32_t rate);
};

constexpr std::array<Entry, 4> kEntries = {{
    {SampleFormat::Pcm16, "16", SF_FORMAT_PCM_16, zta::host::Pcm16},
    {SampleFormat::Pcm24In32, "24in32", SF_FORMAT_PCM_24, zta::host::Pcm24In32},
    {SampleFormat::Pcm24In24, "24in24", SF_FORMAT_PCM_24, zta::host::Pcm24In24},
    {SampleFormat::Float32, "float", SF_FORMAT_FLOAT, zta::host::Float32},
}};

const Entry& EntryOf(SampleFormat format)
{
    return kEntries.at(static_cast<std::size_t>(format));
}

} // namespace

std::string_view NameOf(SampleFormat format)
{
    return EntryOf(format).name;
}

std::optional<SampleFormat> ParseSampleFormat(std::string_view name)
{
    if (name == "24") {
        return SampleFormat::Pcm24In24; // what a file of 24 bits holds
    }
    for (const Entry& entry : kEntries) {
        if (entry.name == name) {
            return entry.format;
        }
    }
    return std::nullopt;
}

std::vector<std::string> SampleFormatNames()
{
    std::vector<std::string> names;
    names.reserve(std::size(kEntries) + 1);
    for (const Entry& entry : kEntries) {
        names.emplace_back(entry.name);
    }
    names.emplace_back("24");
    return names;
}

int FileSubtype(SampleFormat format)
{
    return EntryOf(format).subtype;
}

std::size_t BytesOf(SampleFormat format)
{
    return zta::host::BytesPerFrame(WaveFormat(format, 1, zta::host::kDefaultRate));
}

SZtaWaveFormatInfo WaveFormat(SampleFormat format, std::uint32_t channels, std::uint32_t rate)
{
    return EntryOf(format).wave(channels, rate);
}

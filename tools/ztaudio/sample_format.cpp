#include "tools/ztaudio/sample_format.h"

#include "host/formats.h"

#include <sndfile.h>

#include <array>

namespace {

struct Row {
    SampleFormat word;
    std::string_view name;
    int subtype;
    SZtaWaveFormatInfo (*format)(std::uint32_t channels, std::uint32_t rate);
};

constexpr std::array<Row, 4> kRows = {{
    {SampleFormat::Pcm16, "16", SF_FORMAT_PCM_16, zta::host::Pcm16},
    {SampleFormat::Pcm24In32, "24in32", SF_FORMAT_PCM_24, zta::host::Pcm24In32},
    {SampleFormat::Pcm24In24, "24in24", SF_FORMAT_PCM_24, zta::host::Pcm24In24},
    {SampleFormat::Float32, "float", SF_FORMAT_FLOAT, zta::host::Float32},
}};

const Row& RowOf(SampleFormat word)
{
    return kRows.at(static_cast<std::size_t>(word));
}

} // namespace

std::string_view NameOf(SampleFormat word)
{
    return RowOf(word).name;
}

std::optional<SampleFormat> ParseSampleFormat(std::string_view name)
{
    if (name == "24") {
        return SampleFormat::Pcm24In24; // what a file of 24 bits holds
    }
    for (const Row& row : kRows) {
        if (row.name == name) {
            return row.word;
        }
    }
    return std::nullopt;
}

std::vector<std::string> SampleFormatNames()
{
    std::vector<std::string> names;
    names.reserve(std::size(kRows) + 1);
    for (const Row& row : kRows) {
        names.emplace_back(row.name);
    }
    names.emplace_back("24");
    return names;
}

int FileSubtype(SampleFormat word)
{
    return RowOf(word).subtype;
}

std::size_t BytesOf(SampleFormat word)
{
    return zta::host::BytesPerFrame(WaveFormat(word, 1, zta::host::kDefaultRate));
}

SZtaWaveFormatInfo WaveFormat(SampleFormat word, std::uint32_t channels, std::uint32_t rate)
{
    return RowOf(word).format(channels, rate);
}

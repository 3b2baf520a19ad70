/// Checks and draws the results of scripts/demo.
///
/// demo_check ORIGINAL RESULT STEP... compares RESULT with the 16-bit file ORIGINAL after the steps; "FILE#C" is
/// channel C of a file, from 1. A step is a format of ztaudio, with "+fades" for a fade-in and a fade-out; "longest=N"
/// appends silence up to N sample frames; "gain=START:END" is a gain ramp over the whole length, in factors. The
/// arithmetic is implemented here a second time, without the engine's code, in integers and double precision.
///
/// demo_check --waveforms OUT.svg TITLE NAME=FILE[#C][@FIRST+COUNT]... draws one waveform for each name, of COUNT
/// sample frames from FIRST or of all.
#include "tools/common/svg_plot.h"

#include <sndfile.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iomanip>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace {

constexpr std::int64_t kFadeFrames = 200;

enum class Kind { Pcm16, Pcm24, Float };

/// 16-bit samples as numbers, 24-bit samples MSB-aligned, floats as their bits.
using Samples = std::vector<std::int32_t>;

struct Sound {
    Kind kind = Kind::Pcm16;
    std::int64_t channels = 1;
    Samples samples;

    std::int64_t Frames() const { return static_cast<std::int64_t>(samples.size()) / channels; }
};

Sound ReadFile(const std::string& path)
{
    SF_INFO info{};
    SNDFILE* file = sf_open(path.c_str(), SFM_READ, &info);
    if (file == nullptr) {
        throw std::runtime_error(path + ": " + sf_strerror(nullptr));
    }
    Sound sound;
    sound.channels = info.channels;
    sound.samples.resize(static_cast<std::size_t>(info.frames * info.channels));
    const auto count = static_cast<sf_count_t>(sound.samples.size());
    sf_count_t read = 0;
    switch (info.format & SF_FORMAT_SUBMASK) {
    case SF_FORMAT_PCM_16:
        sound.kind = Kind::Pcm16;
        read = sf_read_int(file, sound.samples.data(), count);
        std::ranges::transform(sound.samples, sound.samples.begin(), [](std::int32_t sample) { return sample >> 16; });
        break;
    case SF_FORMAT_PCM_24:
        sound.kind = Kind::Pcm24;
        read = sf_read_int(file, sound.samples.data(), count);
        break;
    case SF_FORMAT_FLOAT: {
        sound.kind = Kind::Float;
        std::vector<float> floats(sound.samples.size());
        read = sf_read_float(file, floats.data(), count);
        std::ranges::transform(floats, sound.samples.begin(), [](float f) { return std::bit_cast<std::int32_t>(f); });
        break;
    }
    default:
        break;
    }
    sf_close(file);
    if (read != count) {
        throw std::runtime_error(path + ": cannot read its samples");
    }
    return sound;
}

Sound ReadSound(const std::string& name)
{
    const auto mark = name.rfind('#');
    Sound sound = ReadFile(name.substr(0, mark));
    if (mark == std::string::npos) {
        return sound;
    }
    const auto channel = static_cast<std::size_t>(std::stoul(name.substr(mark + 1)) - 1);
    Samples samples;
    for (std::size_t i = channel; i < sound.samples.size(); i += static_cast<std::size_t>(sound.channels)) {
        samples.push_back(sound.samples[i]);
    }
    return {sound.kind, 1, samples};
}

// In double precision, rounding a product or quotient of two floats twice gives the same float as rounding it once.
std::int32_t Quotient(std::int32_t sample, double divisor)
{
    return std::bit_cast<std::int32_t>(static_cast<float>(static_cast<float>(sample) / divisor));
}

std::int32_t TruncatedProduct(std::int32_t bits, double factor)
{
    const float product = static_cast<float>(std::bit_cast<float>(bits) * factor);
    const bool fits = product >= -2147483648.0F && product < 2147483648.0F;
    return fits ? static_cast<std::int32_t>(std::trunc(product)) : INT32_MIN;
}

std::int32_t ConvertSample(std::int32_t sample, Kind from, Kind to)
{
    if (from == to) {
        return sample;
    }
    switch (to) {
    case Kind::Pcm16:
        return from == Kind::Pcm24 ? sample >> 16 : static_cast<std::int16_t>(TruncatedProduct(sample, 32767.0));
    case Kind::Pcm24:
        return from == Kind::Pcm16 ? sample * 65536 : TruncatedProduct(sample, 2147483648.0);
    case Kind::Float:
        return Quotient(sample, from == Kind::Pcm16 ? 32767.0 : 2147483392.0);
    }
    return 0;
}

/// Entry i of the fade curve: scale * (1 - (1 - t)^2) with t = (i + 1) / 200, rounded to the nearest integer.
std::int64_t Gain(std::int64_t i, std::int64_t scale)
{
    const std::int64_t rest = kFadeFrames - 1 - i;
    const std::int64_t unit = kFadeFrames * kFadeFrames;
    return (2 * scale * (unit - rest * rest) + unit) / (2 * unit);
}

std::int32_t FadeSample(std::int32_t sample, Kind kind, std::int64_t entry)
{
    if (kind == Kind::Pcm16) {
        return static_cast<std::int32_t>((sample * Gain(entry, 32767)) >> 15);
    }
    const std::int64_t product = sample * Gain(entry, 2147483647);
    return static_cast<std::int32_t>((product >> 32) * 2);
}

/// One conversion. If the output format supports no fades, faded blocks are converted through 24-in-32. Fades of short
/// files and of several channels are not supported here.
Sound Convert(const Sound& in, Kind to, bool fades)
{
    if (fades && (in.channels != 1 || in.Frames() < 2 * kFadeFrames)) {
        throw std::runtime_error("fades are checked on mono files of 400 frames and more");
    }
    Sound out = in;
    out.kind = to;
    const Kind fadeKind = to == Kind::Float ? Kind::Pcm24 : to;
    for (std::int64_t i = 0; i < static_cast<std::int64_t>(in.samples.size()); ++i) {
        std::int32_t& sample = out.samples[static_cast<std::size_t>(i)];
        const std::int64_t toEnd = in.Frames() - 1 - i;
        if (fades && (i < kFadeFrames || toEnd < kFadeFrames)) {
            sample = ConvertSample(sample, in.kind, fadeKind);
            sample = FadeSample(sample, fadeKind, std::min(i, toEnd));
            sample = ConvertSample(sample, fadeKind, to);
        } else {
            sample = ConvertSample(sample, in.kind, to);
        }
    }
    return out;
}

/// The gain of each frame is rounded to the nearest step of 1/4096. The product loses its 12 fraction bits and
/// saturates to 24 bits.
Sound Scale(const Sound& in, std::string_view ramp)
{
    if (in.kind != Kind::Pcm24 || in.channels != 1 || in.Frames() < 2) {
        throw std::runtime_error("gains are checked on mono files of 24 bits");
    }
    const double start = std::round(4096.0 * std::stod(std::string(ramp.substr(0, ramp.find(':')))));
    const double end = std::round(4096.0 * std::stod(std::string(ramp.substr(ramp.find(':') + 1))));
    Sound out = in;
    for (std::size_t i = 0; i < in.samples.size(); ++i) {
        const double line = start + (end - start) * static_cast<double>(i) / static_cast<double>(in.Frames() - 1);
        const auto gain = static_cast<std::int64_t>(std::min(std::floor(line + 0.5), 32767.0)); // less than 8
        const std::int64_t product = (in.samples[i] >> 8) * gain >> 12;
        out.samples[i] = static_cast<std::int32_t>(std::clamp<std::int64_t>(product, -0x800000, 0x7FFFFF)) * 256;
    }
    return out;
}

/// The result of each step is stored in a file, which does not keep the low byte of 24-in-32.
Sound ConvertByStep(const Sound& in, std::string_view step)
{
    if (step.starts_with("longest=")) {
        Sound out = in;
        out.samples.resize(std::stoul(std::string(step.substr(std::strlen("longest=")))));
        return out;
    }
    if (step.starts_with("gain=")) {
        return Scale(in, step.substr(std::strlen("gain=")));
    }
    const bool fades = step.ends_with("+fades");
    const std::string_view format = step.substr(0, step.size() - (fades ? std::strlen("+fades") : 0));
    if (format == "16") {
        return Convert(in, Kind::Pcm16, fades);
    }
    if (format == "float") {
        return Convert(in, Kind::Float, fades);
    }
    if (format == "24in32" || format == "24in24") {
        Sound out = Convert(in, Kind::Pcm24, fades);
        std::ranges::for_each(out.samples, [](std::int32_t& sample) { sample &= ~0xFF; });
        return out;
    }
    throw std::runtime_error("unknown step: " + std::string(step));
}

int Check(int argc, char** argv)
{
    const Sound original = ReadSound(argv[1]);
    const Sound result = ReadSound(argv[2]);
    Sound expected = original;
    for (int i = 3; i < argc; ++i) {
        expected = ConvertByStep(expected, argv[i]);
    }
    if (result.kind != expected.kind || result.channels != expected.channels ||
        result.samples.size() != expected.samples.size()) {
        throw std::runtime_error(std::string(argv[2]) + ": unexpected format or length");
    }
    const auto [found, wanted] = std::ranges::mismatch(result.samples, expected.samples);
    if (found != result.samples.end()) {
        throw std::runtime_error(std::string(argv[2]) + ": sample " + std::to_string(found - result.samples.begin()) +
                                 " is " + std::to_string(*found) + ", expected " + std::to_string(*wanted));
    }
    const bool same = result.kind == original.kind && result.samples == original.samples;
    std::printf("%zu %s\n", result.samples.size(), same ? "equal the recording" : "exact");
    return EXIT_SUCCESS;
}

double Amplitude(std::int32_t sample, Kind kind)
{
    switch (kind) {
    case Kind::Pcm16:
        return sample / 32768.0;
    case Kind::Pcm24:
        return sample / 2147483648.0;
    case Kind::Float:
        return std::bit_cast<float>(sample);
    }
    return 0;
}

/// One waveform of a picture: the range of the samples in each column of pixels.
struct Lane {
    std::string name;
    std::vector<std::pair<double, double>> columns; ///< lowest and highest sample
};

constexpr int kColumns = 900;
constexpr int kLaneHeight = 84;
constexpr int kTitleHeight = 34;

/// description  NAME=FILE[#C][@FIRST+COUNT]
Lane ReadLane(const std::string& description)
{
    const auto equals = description.find('=');
    const auto range = description.rfind('@');
    if (equals == std::string::npos) {
        throw std::runtime_error("no name of a waveform: " + description);
    }
    const bool isWhole = range == std::string::npos;
    const Sound sound = ReadSound(description.substr(equals + 1, isWhole ? range : range - equals - 1));
    std::size_t first = 0;
    std::size_t count = sound.samples.size();
    if (!isWhole) {
        first = std::stoul(description.substr(range + 1));
        count = std::stoul(description.substr(description.find('+', range) + 1));
    }
    if (sound.channels != 1 || count == 0 || first + count > sound.samples.size()) {
        throw std::runtime_error(description + ": not a range of one channel");
    }
    Lane lane{description.substr(0, equals), {}};
    // With fewer frames than columns, a column spans two frames and the waveform is a line.
    for (std::size_t column = 0; column < kColumns; ++column) {
        const std::size_t begin = first + column * count / kColumns;
        const std::size_t end = std::min(first + (column + 1) * count / kColumns + 1, first + count);
        const auto [low, high] = std::minmax_element(
            sound.samples.begin() + static_cast<std::ptrdiff_t>(begin),
            sound.samples.begin() + static_cast<std::ptrdiff_t>(end),
            [&sound](std::int32_t a, std::int32_t b) { return Amplitude(a, sound.kind) < Amplitude(b, sound.kind); });
        lane.columns.emplace_back(Amplitude(*low, sound.kind), Amplitude(*high, sound.kind));
    }
    return lane;
}

/// All lanes have one scale, on which the largest sample fills its lane.
std::string DrawLanes(const std::string& title, const std::vector<Lane>& lanes)
{
    double peak = 1e-6;
    for (const Lane& lane : lanes) {
        for (const auto& [low, high] : lane.columns) {
            peak = std::max({peak, std::abs(low), std::abs(high)});
        }
    }
    const auto height = kTitleHeight + kLaneHeight * static_cast<int>(lanes.size());
    std::ostringstream svg;
    svg << std::fixed << std::setprecision(1);
    svg << R"(<svg xmlns="http://www.w3.org/2000/svg" font-family="sans-serif" font-size="12" width=")" << kColumns
        << "\" height=\"" << height << "\">\n"
        << R"(<rect width="100%" height="100%" fill="#fff"/>)"
        << "\n<text x=\"8\" y=\"22\" font-size=\"15\">" << title << "</text>\n";
    for (std::size_t i = 0; i < lanes.size(); ++i) {
        const double middle = kTitleHeight + kLaneHeight * (static_cast<double>(i) + 0.5);
        const double scale = (kLaneHeight / 2.0 - 4) / peak;
        svg << R"(<path stroke="#ddd" d="M0 )" << middle << 'h' << kColumns << R"("/><path stroke="#1f5fa8" d=")";
        for (std::size_t column = 0; column < lanes[i].columns.size(); ++column) {
            const auto [low, high] = lanes[i].columns[column];
            svg << 'M' << column << ' ' << middle - high * scale << 'V' << middle - low * scale + 0.5;
        }
        svg << "\"/>\n<text x=\"8\" y=\"" << middle - kLaneHeight / 2.0 + 14 << "\">" << lanes[i].name << "</text>\n";
    }
    svg << "</svg>\n";
    return svg.str();
}

int Draw(int argc, char** argv)
{
    std::vector<Lane> lanes;
    for (int i = 4; i < argc; ++i) {
        lanes.push_back(ReadLane(argv[i]));
    }
    WriteText(argv[2], DrawLanes(argv[3], lanes));
    return EXIT_SUCCESS;
}

} // namespace

int main(int argc, char** argv)
{
    const bool draws = argc > 1 && std::strcmp(argv[1], "--waveforms") == 0;
    if (argc < (draws ? 5 : 4)) {
        std::fprintf(stderr, "usage: demo_check ORIGINAL RESULT STEP...\n"
                             "       demo_check --waveforms OUT.svg TITLE NAME=FILE[#C][@FIRST+COUNT]...\n");
        return 2;
    }
    try {
        return draws ? Draw(argc, argv) : Check(argc, argv);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "demo_check: %s\n", error.what());
        return EXIT_FAILURE;
    }
}

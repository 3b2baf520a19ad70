/// Checks what scripts/demo made: demo_check ORIGINAL RESULT STEP...
///
/// ORIGINAL is a 16-bit file, RESULT what became of it through the steps; of a mux "FILE#C" is channel C, from 1. A
/// step is named like the format that ztaudio was asked for, with "+fades" behind it where a fade-in and a fade-out
/// were asked for; "longest=N" continues with silence to N sample frames, and "gain=START:END" is a ramp of gains over
/// the whole length, given as factors. The laws stand here a second time, worked out without the engine's code, in
/// whole numbers and double precision.
#include <sndfile.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace {

constexpr std::int64_t kFadeFrames = 200;

enum class Kind { Pcm16, Pcm24, Float };

/// A 16-bit sample as a number, a 24-bit sample in the top of the word, a float by its bits.
using Words = std::vector<std::int32_t>;

struct Sound {
    Kind kind = Kind::Pcm16;
    std::int64_t channels = 1;
    Words words;

    std::int64_t Frames() const { return static_cast<std::int64_t>(words.size()) / channels; }
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
    sound.words.resize(static_cast<std::size_t>(info.frames * info.channels));
    const auto count = static_cast<sf_count_t>(sound.words.size());
    sf_count_t read = 0;
    switch (info.format & SF_FORMAT_SUBMASK) {
    case SF_FORMAT_PCM_16:
        sound.kind = Kind::Pcm16;
        read = sf_read_int(file, sound.words.data(), count);
        std::ranges::transform(sound.words, sound.words.begin(), [](std::int32_t word) { return word >> 16; });
        break;
    case SF_FORMAT_PCM_24:
        sound.kind = Kind::Pcm24;
        read = sf_read_int(file, sound.words.data(), count);
        break;
    case SF_FORMAT_FLOAT: {
        sound.kind = Kind::Float;
        std::vector<float> floats(sound.words.size());
        read = sf_read_float(file, floats.data(), count);
        std::ranges::transform(floats, sound.words.begin(), [](float f) { return std::bit_cast<std::int32_t>(f); });
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
    Words words;
    for (std::size_t i = channel; i < sound.words.size(); i += static_cast<std::size_t>(sound.channels)) {
        words.push_back(sound.words[i]);
    }
    return {sound.kind, 1, words};
}

// Doubles hold the exact product or quotient of two floats closely enough that rounding it once more gives the float.
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

std::int32_t ConvertSample(std::int32_t word, Kind from, Kind to)
{
    if (from == to) {
        return word;
    }
    switch (to) {
    case Kind::Pcm16:
        return from == Kind::Pcm24 ? word >> 16 : static_cast<std::int16_t>(TruncatedProduct(word, 32767.0));
    case Kind::Pcm24:
        return from == Kind::Pcm16 ? word * 65536 : TruncatedProduct(word, 2147483648.0);
    case Kind::Float:
        return Quotient(word, from == Kind::Pcm16 ? 32767.0 : 2147483392.0);
    }
    return 0;
}

/// Entry i of a gain curve: scale * (1 - (1 - t)^2) with t = (i + 1) / 200, rounded to the nearest whole number.
std::int64_t Gain(std::int64_t i, std::int64_t scale)
{
    const std::int64_t rest = kFadeFrames - 1 - i;
    const std::int64_t unit = kFadeFrames * kFadeFrames;
    return (2 * scale * (unit - rest * rest) + unit) / (2 * unit);
}

std::int32_t FadeSample(std::int32_t word, Kind kind, std::int64_t entry)
{
    if (kind == Kind::Pcm16) {
        return static_cast<std::int32_t>((word * Gain(entry, 32767)) >> 15);
    }
    const std::int64_t product = word * Gain(entry, 2147483647);
    return static_cast<std::int32_t>((product >> 32) * 2);
}

/// One conversion. Where a block is faded and the target takes no fades, it goes through 24-in-32. Fades of files that
/// are too short for two of them, and the fades of several channels, are not told here.
Sound Convert(const Sound& in, Kind to, bool fades)
{
    if (fades && (in.channels != 1 || in.Frames() < 2 * kFadeFrames)) {
        throw std::runtime_error("fades are checked on mono files of 400 frames and more");
    }
    Sound out = in;
    out.kind = to;
    const Kind fadeKind = to == Kind::Float ? Kind::Pcm24 : to;
    for (std::int64_t i = 0; i < static_cast<std::int64_t>(in.words.size()); ++i) {
        std::int32_t& word = out.words[static_cast<std::size_t>(i)];
        const std::int64_t toEnd = in.Frames() - 1 - i;
        if (fades && (i < kFadeFrames || toEnd < kFadeFrames)) {
            word = ConvertSample(word, in.kind, fadeKind);
            word = FadeSample(word, fadeKind, std::min(i, toEnd));
            word = ConvertSample(word, fadeKind, to);
        } else {
            word = ConvertSample(word, in.kind, to);
        }
    }
    return out;
}

/// The gain of each frame is the one nearest to the line from the first frame's to the last one's. Of the product 12
/// fraction bits are cut off, and what is left is limited to 24 bits.
Sound Scale(const Sound& in, std::string_view ramp)
{
    if (in.kind != Kind::Pcm24 || in.channels != 1 || in.Frames() < 2) {
        throw std::runtime_error("gains are checked on mono files of 24 bits");
    }
    const double start = std::round(4096.0 * std::stod(std::string(ramp.substr(0, ramp.find(':')))));
    const double end = std::round(4096.0 * std::stod(std::string(ramp.substr(ramp.find(':') + 1))));
    Sound out = in;
    for (std::size_t i = 0; i < in.words.size(); ++i) {
        const double line = start + (end - start) * static_cast<double>(i) / static_cast<double>(in.Frames() - 1);
        const auto gain = static_cast<std::int64_t>(std::min(std::floor(line + 0.5), 32767.0)); // 8 is out of reach
        const std::int64_t product = (in.words[i] >> 8) * gain >> 12;
        out.words[i] = static_cast<std::int32_t>(std::clamp<std::int64_t>(product, -0x800000, 0x7FFFFF)) * 256;
    }
    return out;
}

/// A step is done through the engine; then a file keeps it, and of a 24-bit word a file has no low byte.
Sound ConvertByStep(const Sound& in, std::string_view step)
{
    if (step.starts_with("longest=")) {
        Sound out = in;
        out.words.resize(std::stoul(std::string(step.substr(std::strlen("longest=")))));
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
        std::ranges::for_each(out.words, [](std::int32_t& word) { word &= ~0xFF; });
        return out;
    }
    throw std::runtime_error("no such step: " + std::string(step));
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
        result.words.size() != expected.words.size()) {
        throw std::runtime_error(std::string(argv[2]) + ": is not of the format and length that were asked for");
    }
    const auto [is, shouldBe] = std::ranges::mismatch(result.words, expected.words);
    if (is != result.words.end()) {
        throw std::runtime_error(std::string(argv[2]) + ": sample " + std::to_string(is - result.words.begin()) +
                                 " is " + std::to_string(*is) + " and should be " + std::to_string(*shouldBe));
    }
    const bool same = result.kind == original.kind && result.words == original.words;
    std::printf("%zu %s\n", result.words.size(), same ? "equal to the original" : "exact by the law");
    return EXIT_SUCCESS;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc < 4) {
        std::fprintf(stderr, "usage: demo_check ORIGINAL RESULT STEP...\n");
        return 2;
    }
    try {
        return Check(argc, argv);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "demo_check: %s\n", error.what());
        return EXIT_FAILURE;
    }
}

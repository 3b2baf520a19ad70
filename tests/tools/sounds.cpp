#include "tests/tools/sounds.h"

#include "testing/models/gain_model.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <iterator>
#include <random>

namespace {

constexpr long kFadeFrames = 200;

std::int32_t Bits(float value)
{
    return std::bit_cast<std::int32_t>(value);
}

std::int32_t TruncateToInt32(float product)
{
    return product >= -0x1p31F && product < 0x1p31F ? static_cast<std::int32_t>(product) : INT32_MIN;
}

std::int32_t ConvertSample(std::int32_t sample, int from, int to)
{
    if (from == to) {
        return sample;
    }
    if (to == SF_FORMAT_PCM_16) {
        return from == SF_FORMAT_PCM_24
                   ? sample >> 16
                   : static_cast<std::int16_t>(TruncateToInt32(std::bit_cast<float>(sample) * 32767.0F));
    }
    if (to == SF_FORMAT_PCM_24) {
        return from == SF_FORMAT_PCM_16 ? sample * 65536
                                        : TruncateToInt32(std::bit_cast<float>(sample) * 2147483648.0F);
    }
    return Bits(static_cast<float>(sample) / (from == SF_FORMAT_PCM_16 ? 32767.0F : 2147483392.0F));
}

double Curve(long entry)
{
    const double rest = 1.0 - static_cast<double>(entry + 1) / kFadeFrames;
    return 1.0 - rest * rest;
}

void FadeFrame(Sound& sound, long frame, long entry)
{
    std::int32_t* samples = &sound.samples[static_cast<std::size_t>(frame * sound.channels)];
    const auto gain16 = static_cast<std::int32_t>(std::lround(Curve(entry) * 32767.0));
    const auto gain32 = static_cast<std::int64_t>(std::llround(Curve(entry) * 2147483647.0));
    if (sound.Subtype() == SF_FORMAT_PCM_16 && sound.channels == 2) {
        const bool leftNegative = samples[0] * gain16 < 0;
        samples[0] = samples[0] * gain16 >> 15;
        samples[1] = (samples[1] * gain16 >> 15) | (leftNegative ? 1 : 0);
        return;
    }
    for (int c = 0; c < sound.channels; ++c) {
        if (sound.Subtype() == SF_FORMAT_PCM_16) {
            samples[c] = samples[c] * gain16 >> 15;
        } else if (sound.channels <= 2) {
            samples[c] = static_cast<std::int32_t>((samples[c] * gain32 >> 32) * 2);
        } else {
            const std::int32_t high = samples[c] >> 16;
            const std::int32_t low = samples[c] & 0xFFFF;
            samples[c] = (high * gain16 + ((low >> 1) * gain16 >> 15)) * 2;
        }
    }
}

Sound Faded(Sound sound, bool fadeIn, bool fadeOut)
{
    const long length = std::min(kFadeFrames, sound.Frames());
    for (long k = 0; fadeIn && k < length; ++k) {
        FadeFrame(sound, k, k);
    }
    for (long k = 0; fadeOut && k < length; ++k) {
        FadeFrame(sound, sound.Frames() - length + k, kFadeFrames - 1 - k);
    }
    return sound;
}

Sound ToSubtype(const Sound& sound, int subtype)
{
    Sound result = sound;
    result.format = SF_FORMAT_WAV | subtype;
    std::ranges::transform(sound.samples, result.samples.begin(),
                           [&](std::int32_t sample) { return ConvertSample(sample, sound.Subtype(), subtype); });
    return result;
}

} // namespace

void ExpectSame(const Sound& actual, const Sound& expected)
{
    EXPECT_EQ(actual.Subtype(), expected.Subtype());
    EXPECT_EQ(actual.channels, expected.channels);
    EXPECT_EQ(actual.rate, expected.rate);
    ASSERT_EQ(actual.samples.size(), expected.samples.size());
    const auto [is, shouldBe] = std::ranges::mismatch(actual.samples, expected.samples);
    if (is != actual.samples.end()) {
        ADD_FAILURE() << "sample " << is - actual.samples.begin() << " is " << *is << ", should be " << *shouldBe;
    }
}

void WriteSound(const std::string& path, const Sound& sound)
{
    SF_INFO info{};
    info.format = sound.format;
    info.channels = sound.channels;
    info.samplerate = sound.rate;
    SNDFILE* file = sf_open(path.c_str(), SFM_WRITE, &info);
    ASSERT_NE(file, nullptr) << path << ": " << sf_strerror(nullptr);
    const auto count = static_cast<sf_count_t>(sound.samples.size());
    if (sound.Subtype() == SF_FORMAT_FLOAT || sound.Subtype() == SF_FORMAT_DOUBLE ||
        sound.Subtype() == SF_FORMAT_VORBIS) {
        std::vector<float> floats(sound.samples.size());
        std::ranges::transform(sound.samples, floats.begin(), [](auto sample) { return std::bit_cast<float>(sample); });
        EXPECT_EQ(sf_write_float(file, floats.data(), count), count);
    } else {
        std::vector<int> samples = sound.samples;
        if (sound.Subtype() == SF_FORMAT_PCM_16) {
            std::ranges::for_each(samples, [](int& sample) { sample *= 65536; });
        }
        EXPECT_EQ(sf_write_int(file, samples.data(), count), count);
    }
    EXPECT_EQ(sf_close(file), 0);
}

Sound ReadSound(const std::string& path)
{
    SF_INFO info{};
    SNDFILE* file = sf_open(path.c_str(), SFM_READ, &info);
    EXPECT_NE(file, nullptr) << path << ": " << sf_strerror(nullptr);
    if (file == nullptr) {
        return {};
    }
    Sound sound{info.format, info.channels, info.samplerate, {}};
    const sf_count_t count = info.frames * info.channels;
    sound.samples.resize(static_cast<std::size_t>(count));
    if (sound.Subtype() == SF_FORMAT_FLOAT) {
        std::vector<float> floats(sound.samples.size());
        EXPECT_EQ(sf_read_float(file, floats.data(), count), count);
        std::ranges::transform(floats, sound.samples.begin(), Bits);
    } else {
        EXPECT_EQ(sf_read_int(file, sound.samples.data(), count), count);
        if (sound.Subtype() == SF_FORMAT_PCM_16) {
            std::ranges::for_each(sound.samples, [](int& sample) { sample >>= 16; });
        }
    }
    sf_close(file);
    return sound;
}

SoundFile OpenSound(const std::string& path)
{
    SF_INFO info{};
    SoundFile file(sf_open(path.c_str(), SFM_READ, &info), sf_close);
    EXPECT_NE(file, nullptr) << path << ": " << sf_strerror(nullptr);
    return file;
}

void WriteDescribedSound(const std::string& path, int format, int channels,
                         const std::function<void(SNDFILE*)>& describe)
{
    SF_INFO info{};
    info.format = format;
    info.channels = channels;
    info.samplerate = 48000;
    const SoundFile file(sf_open(path.c_str(), SFM_WRITE, &info), sf_close);
    ASSERT_NE(file, nullptr) << path << ": " << sf_strerror(nullptr);
    describe(file.get());
    const std::vector<int> samples(static_cast<std::size_t>(1000 * channels), 1 << 20);
    EXPECT_EQ(sf_writef_int(file.get(), samples.data(), 1000), 1000);
}

Sound Noise(int subtype, int channels, long frames, int rate)
{
    Sound sound{SF_FORMAT_WAV | subtype, channels, rate, {}};
    std::mt19937 random(20231u + static_cast<unsigned>(frames * 64 + channels));
    for (long i = 0; i < frames * channels; ++i) {
        const auto sample = i == 0 ? INT32_MIN : i == 1 ? INT32_MAX : i == 2 ? -1 : static_cast<std::int32_t>(random());
        switch (subtype) {
        case SF_FORMAT_PCM_16:
            sound.samples.push_back(sample >> 16);
            break;
        case SF_FORMAT_PCM_24:
            sound.samples.push_back(sample & ~0xFF);
            break;
        case SF_FORMAT_PCM_32:
            sound.samples.push_back(sample);
            break;
        default:
            sound.samples.push_back(Bits(static_cast<float>(sample & ~0x7F) * 0x1p-31F));
            break;
        }
    }
    return sound;
}

Sound Converted(const Sound& sound, const std::string& format, bool fadeIn, bool fadeOut)
{
    const int to = format == "16" ? SF_FORMAT_PCM_16 : format == "float" ? SF_FORMAT_FLOAT : SF_FORMAT_PCM_24;
    Sound result = ToSubtype(sound, to);
    if (fadeIn || fadeOut) {
        // A block with a fade is converted through a format that has fades: 200 frames, or the whole file if two of
        // them do not fit.
        const int fadedAs = to == SF_FORMAT_FLOAT ? SF_FORMAT_PCM_24 : to;
        const Sound faded = ToSubtype(Faded(ToSubtype(sound, fadedAs), fadeIn, fadeOut), to);
        const long frames = sound.Frames();
        const bool whole = fadeIn && fadeOut && frames < 2 * kFadeFrames;
        for (long frame = 0; frame < frames; ++frame) {
            if (whole || (fadeIn && frame < kFadeFrames) || (fadeOut && frame >= frames - kFadeFrames)) {
                const auto at = static_cast<std::ptrdiff_t>(frame * sound.channels);
                std::copy_n(faded.samples.begin() + at, sound.channels, result.samples.begin() + at);
            }
        }
    }
    if (to == SF_FORMAT_PCM_24) { // a file does not contain the low byte
        std::ranges::for_each(result.samples, [](std::int32_t& sample) { sample &= ~0xFF; });
    }
    return result;
}

Sound Interleaved(const std::vector<Sound>& sounds)
{
    Sound mux{sounds[0].format, 0, sounds[0].rate, {}};
    long frames = 0;
    for (const Sound& sound : sounds) {
        mux.channels += sound.channels;
        frames = std::max(frames, sound.Frames());
    }
    for (long frame = 0; frame < frames; ++frame) {
        for (const Sound& sound : sounds) {
            for (int c = 0; c < sound.channels; ++c) {
                mux.samples.push_back(
                    frame < sound.Frames() ? sound.samples[static_cast<std::size_t>(frame * sound.channels + c)] : 0);
            }
        }
    }
    return mux;
}

Sound Channels(const Sound& mux, int first, int count)
{
    Sound part{mux.format, count, mux.rate, {}};
    for (long frame = 0; frame < mux.Frames(); ++frame) {
        for (int c = first; c < first + count; ++c) {
            part.samples.push_back(mux.samples[static_cast<std::size_t>(frame * mux.channels + c)]);
        }
    }
    return part;
}

namespace {

double GainAt(const Sound& sound, const std::vector<GainRamp>& ramps, std::size_t i)
{
    const double last = std::max(1.0, static_cast<double>(sound.Frames() - 1));
    const auto channels = static_cast<std::size_t>(sound.channels);
    const GainRamp& ramp = ramps[i % channels];
    // So small a product is exact, and the quotient is never rounded onto a half.
    const double climb = static_cast<double>(ramp.end - ramp.start) * static_cast<double>(i / channels) / last;
    return std::floor(ramp.start + climb + 0.5);
}

} // namespace

long CountOverloads(const Sound& sound, const std::vector<GainRamp>& ramps)
{
    long count = 0;
    for (std::size_t i = 0; i < sound.samples.size(); ++i) {
        count += std::abs(sound.samples[i] * 0x1p-31 * GainAt(sound, ramps, i) / 4096) > 1.0 ? 1 : 0;
    }
    return count;
}

Sound Floats(const std::vector<float>& values, int channels, int rate)
{
    Sound sound{SF_FORMAT_WAV | SF_FORMAT_FLOAT, channels, rate, {}};
    std::ranges::transform(values, std::back_inserter(sound.samples), Bits);
    return sound;
}

Sound Limited(const Sound& floats, const std::string& format)
{
    const float largest = format == "16" ? 1.0F : std::nextafter(1.0F, 0.0F);
    const float lowest = format == "16" ? -32768.0F / 32767.0F : -1.0F;
    Sound result = floats;
    for (std::int32_t& sample : result.samples) {
        const auto value = std::bit_cast<float>(sample);
        sample = Bits(std::isnan(value) ? 0.0F : value > largest ? largest : value < lowest ? lowest : value);
    }
    return result;
}

std::string OverloadLine(const std::string& path, long count, const std::string& what)
{
    return count == 0 ? ""
                      : "ztaudio: " + path + ": " + std::to_string(count) + (count == 1 ? " sample" : " samples") +
                            " beyond full scale " + what + "\n";
}

Sound Scaled(const Sound& sound, const std::vector<GainRamp>& ramps)
{
    Sound result = sound;
    for (std::size_t i = 0; i < sound.samples.size(); ++i) {
        const double gain = GainAt(sound, ramps, i);
        result.samples[i] = static_cast<std::int32_t>(models::Scaled(
            static_cast<std::uint32_t>(sound.samples[i]), static_cast<std::int64_t>(std::min(gain, 32767.0))));
    }
    return result;
}

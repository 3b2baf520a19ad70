#include "kernels/audio_processing_util.h"

#include "tests/unit/kernel_test.h"

#include <cmath>
#include <cstring>
#include <limits>
#include <ostream>

// In the namespace of the type, where GoogleTest finds them.
static bool operator==(const SZtaWaveFormatInfo& a, const SZtaWaveFormatInfo& b)
{
    return std::memcmp(&a, &b, sizeof a) == 0;
}

static std::ostream& operator<<(std::ostream& out, const SZtaWaveFormatInfo& format)
{
    return out << "{size " << format.ulSize << ", channels " << format.ulChannels << ", type " << format.eDataType
               << ", rate " << format.ulSamplesPerSec << ", bits " << format.ulValidBitsPerSample << " in "
               << format.ulBitsPerSample << "}";
}

namespace zta::test {
namespace {

constexpr int kHostFailure = static_cast<int>(0x80001234);

/// A format that has no property.
constexpr SZtaWaveFormatInfo kUnknown{24, 2, keZtAudioDataTypePcm, 96000, 16, 16};

/// The value of outputs before a call that must not write them.
constexpr SZtaWaveFormatInfo kUntouched{1, 2, keZtAudioDataTypeOpaque, 3, 4, 5};

SZtaWaveFormatInfo FormatOf(std::uint32_t property)
{
    return g_asFormatOfProperty[property];
}

/// A format with the same property that is not the one of the table of formats.
SZtaWaveFormatInfo Modified(std::uint32_t property)
{
    SZtaWaveFormatInfo format = FormatOf(property);
    format.ulSize = 99;
    return format;
}

struct Entry {
    std::uint32_t input;
    std::uint32_t output;
    int functionIndex;
};

/// A kernel class with chosen table entries.
class Kernel : public CZtaAudioProcessingUtil {
public:
    explicit Kernel(const std::vector<Entry>& entries)
    {
        for (const Entry& entry : entries) {
            entries_.push_back({static_cast<EZtAudioSampleFormatProperty>(entry.input),
                                static_cast<EZtAudioSampleFormatProperty>(entry.output), entry.functionIndex});
        }
        list_ = {static_cast<std::int32_t>(entries_.size()), entries_.data()};
        m_psProcessingFormats = &list_;
    }

    int Validate(std::uint32_t input, std::uint32_t output, int* functionIndex)
    {
        return ValidateProcessingFormatAndGetFunctionIndex(static_cast<EZtAudioSampleFormatProperty>(input),
                                                           static_cast<EZtAudioSampleFormatProperty>(output), &list_,
                                                           functionIndex);
    }

    void SetCount(int count) { list_.iFormatCount = count; }

private:
    std::vector<SZtAProcessingFormatAndFunctionIndex> entries_;
    SZtAListOfProcessingFormatsAndFunctionIndex list_{};
};

// --- Buffer info, from both functions --------------------------------------------------------------------------------

/// The outputs of a query, initialized with values that no query returns.
struct BufferInfo {
    int status = 1;
    void* buffer = reinterpret_cast<void*>(0x11);
    unsigned long validFrames = 22;
    unsigned long capacityFrames = 33;
    int bytesPerFrame = 44;
    EZtAudioSampleFormatProperty property = static_cast<EZtAudioSampleFormatProperty>(55);
    SZtAudioSamplesDescription description = {40, 66, 77, true, true, kUntouched};
};

BufferInfo InSeparateOutputs(FakeAudioSamples& samples)
{
    CZtaAudioProcessingUtil util;
    BufferInfo info;
    info.status = util.GetBufferInformations(&samples, &info.buffer, &info.validFrames, &info.capacityFrames,
                                             &info.bytesPerFrame, &info.property, &info.description);
    return info;
}

BufferInfo InOneRecord(FakeAudioSamples& samples)
{
    CZtaAudioProcessingUtil util;
    BufferInfo info;
    SZtAudioBufferInformations record{info.buffer,        info.validFrames, info.capacityFrames,
                                      info.bytesPerFrame, info.property,    info.description};
    info.status = util.GetBufferInformations(&samples, &record);
    return {info.status,           record.pvBuffer, record.ulValidFrames, record.ulCapacityFrames,
            record.iBytesPerFrame, record.eFormat,  record.sDescription};
}

TEST(BytesPerFrame, CountsTheWholeBytesOfTheContainer)
{
    for (unsigned bits = 0; bits <= 64; ++bits) {
        EXPECT_EQ(ZtaBytesPerFrame(WaveFormat(1, bits, 16, 48000, 3)), bits / 8 * 3) << bits;
    }
}

class BufferInfoQuery : public testing::TestWithParam<BufferInfo (*)(FakeAudioSamples&)> {
protected:
    BufferInfo Query(FakeAudioSamples& samples) { return GetParam()(samples); }
};

INSTANTIATE_TEST_SUITE_P(Both, BufferInfoQuery, testing::Values(InSeparateOutputs, InOneRecord),
                         [](const auto& function) {
                             return function.param == InSeparateOutputs ? "SeparateOutputs" : "OneRecord";
                         });

TEST_P(BufferInfoQuery, ReturnsLengthsFormatAndDescription)
{
    FakeAudioSamples samples(WaveFormat(1, 32, 24, 48000, 8), 100, 480);
    samples.polarity = 3;
    samples.fadeOut = true;

    const BufferInfo info = Query(samples);
    EXPECT_EQ(info.status, 0);
    EXPECT_EQ(info.buffer, samples.data.data());
    EXPECT_EQ(info.validFrames, 100u);
    EXPECT_EQ(info.capacityFrames, 480u);
    EXPECT_EQ(info.bytesPerFrame, 32);
    EXPECT_EQ(info.property, keZtAudioSampleFormat24In32Mux8);
    EXPECT_EQ(info.description.ulSize, 40u);
    EXPECT_EQ(info.description.ePolarity, 3u);
    EXPECT_FALSE(info.description.bFadeIn);
    EXPECT_TRUE(info.description.bFadeOut);
    EXPECT_EQ(info.description.sWaveFormat, samples.format);

    EXPECT_EQ(samples.calls, kQueryCalls);
    EXPECT_EQ(samples.descriptionSizes, kDescriptionSize) << "the size that the caller wrote";
}

TEST_P(BufferInfoQuery, CountsTheWholeFramesOfTheContainer)
{
    const struct {
        SZtaWaveFormatInfo format;
        unsigned long length;
        unsigned long capacity;
        int bytesPerFrame;
        unsigned long validFrames;
        unsigned long capacityFrames;
        EZtAudioSampleFormatProperty property;
    } cases[] = {
        {WaveFormat(1, 24, 24, 48000, 2), 6 * 7 + 5, 6 * 9 + 1, 6, 7, 9, keZtAudioSampleFormat24In24Stereo},
        // Bits are divided by eight before the multiplication: not 20 * 6 / 8.
        {WaveFormat(1, 20, 16, 48000, 6), 120, 0, 12, 10, 0, keZtAudioSampleFormatInvalid},
        // The property is that of 16-in-16.
        {WaveFormat(3, 32, 16, 48000, 2), 80, 160, 8, 10, 20, keZtAudioSampleFormat16In16Stereo},
        {WaveFormat(1, 16, 16, 48000, 1), 0x2'0000'0006, 0x4'0000'0008, 2, 0x1'0000'0003, 0x2'0000'0004,
         keZtAudioSampleFormat16In16Mono},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(&c - cases);
        FakeAudioSamples samples(c.format, 0, 0);
        samples.length = c.length;
        samples.capacity = c.capacity;
        const BufferInfo info = Query(samples);
        EXPECT_EQ(info.bytesPerFrame, c.bytesPerFrame);
        EXPECT_EQ(info.validFrames, c.validFrames);
        EXPECT_EQ(info.capacityFrames, c.capacityFrames);
        EXPECT_EQ(info.property, c.property);
    }
}

TEST_P(BufferInfoQuery, IsCompleteIfTheFormatCannotBeClassified)
{
    FakeAudioSamples samples(kUnknown, 10, 20);
    const BufferInfo info = Query(samples);
    EXPECT_EQ(info.status, ZT_E_FORMAT_NOT_SUPPORTED);
    EXPECT_EQ(info.buffer, samples.data.data());
    EXPECT_EQ(info.validFrames, 10u);
    EXPECT_EQ(info.capacityFrames, 20u);
    EXPECT_EQ(info.bytesPerFrame, 4);
    EXPECT_EQ(info.property, keZtAudioSampleFormatInvalid);
    EXPECT_EQ(info.description.sWaveFormat, kUnknown);
}

TEST_P(BufferInfoQuery, EndsAtTheFirstFailedCall)
{
    for (int failed = 0; failed < 3; ++failed) {
        FakeAudioSamples samples(WaveFormat(1, 16, 16, 48000, 1), 1, 2);
        samples.*kQueryStatuses[failed] = kHostFailure;
        const BufferInfo info = Query(samples);
        const BufferInfo untouched;
        EXPECT_EQ(info.status, kHostFailure);
        EXPECT_EQ(samples.calls, Calls(kQueryCalls.begin(), kQueryCalls.begin() + failed + 1));
        EXPECT_EQ(info.bytesPerFrame, failed > 0 ? 2 : untouched.bytesPerFrame);
        EXPECT_EQ(info.description.sWaveFormat, failed > 0 ? samples.format : kUntouched);
        EXPECT_EQ(info.buffer, failed > 1 ? samples.data.data() : untouched.buffer);
        EXPECT_EQ(info.validFrames, failed > 1 ? 1u : untouched.validFrames);
        EXPECT_EQ(info.capacityFrames, untouched.capacityFrames);
        EXPECT_EQ(info.property, untouched.property);
    }
}

TEST_P(BufferInfoQuery, ContinuesAfterPositiveStatuses)
{
    FakeAudioSamples samples(WaveFormat(1, 16, 16, 48000, 1), 1, 2);
    samples.descriptionStatus = samples.bufferStatus = samples.capacityStatus = 1;
    const BufferInfo info = Query(samples);
    EXPECT_EQ(info.status, 0);
    EXPECT_EQ(info.capacityFrames, 2u);
    EXPECT_EQ(info.property, keZtAudioSampleFormat16In16Mono);
}

// --- Validation ------------------------------------------------------------------------------------------------------

TEST(Validation, ReturnsTheFunctionIndexOfTheFirstEntryOfThePairAndWritesNoOther)
{
    Kernel kernel({{1, 8, 70}, {1, 9, 71}, {2, 9, 72}, {1, 9, 73}});
    const struct {
        std::uint32_t input;
        std::uint32_t output;
        int index; ///< -5 if no entry has the pair
    } cases[] = {{1, 9, 71}, {2, 9, 72}, {1, 8, 70}, {2, 8, -5}, {8, 1, -5}, {0, 0, -5}};
    for (const auto& c : cases) {
        int index = -5;
        EXPECT_EQ(kernel.Validate(c.input, c.output, &index), c.index == -5 ? ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED : 0);
        EXPECT_EQ(index, c.index) << c.input << " to " << c.output;
    }
}

TEST(Validation, ReadsNoEntryBeyondTheCount)
{
    Kernel kernel({{1, 1, 70}, {2, 2, 71}});
    int index = -5;
    for (const int count : {1, 0, -1}) {
        kernel.SetCount(count);
        EXPECT_EQ(kernel.Validate(2, 2, &index), ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED) << count;
        EXPECT_EQ(kernel.Validate(1, 1, &index), count == 1 ? 0 : ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED) << count;
    }
    EXPECT_EQ(index, 70);
}

TEST(Validation, UsesTheListOfItsArgument)
{
    Kernel kernel({{1, 1, 70}});
    SZtAProcessingFormatAndFunctionIndex entry{keZtAudioSampleFormat16In16Stereo, keZtAudioSampleFormat16In16Stereo, 9};
    SZtAListOfProcessingFormatsAndFunctionIndex list{1, &entry};
    int index = -5;
    EXPECT_EQ(kernel.ValidateProcessingFormatAndGetFunctionIndex(keZtAudioSampleFormat16In16Stereo,
                                                                 keZtAudioSampleFormat16In16Stereo, &list, &index),
              0);
    EXPECT_EQ(index, 9);
}

// --- Queries ---------------------------------------------------------------------------------------------------------

/// Expects the same answer for each value that the output had before.
void ExpectSupport(const std::vector<Entry>& entries, SZtaWaveFormatInfo input, SZtaWaveFormatInfo output,
                   bool isSupported, int status = 0)
{
    for (bool supported : {false, true}) {
        EXPECT_EQ(Kernel(entries).QueryFormatSupportedInOutBuffers(&input, &output, &supported), status);
        EXPECT_EQ(supported, isSupported) << input << " to " << output;
    }
}

void ExpectSupport(const std::vector<Entry>& entries, SZtaWaveFormatInfo format, bool isSupported, int status = 0)
{
    for (bool supported : {false, true}) {
        EXPECT_EQ(Kernel(entries).QueryFormatSupportedSingleBuffer(&format, &supported), status);
        EXPECT_EQ(supported, isSupported) << format;
    }
}

TEST(Query, IsTrueForPairsOfTheTableOnly)
{
    const std::vector<Entry> entries = {{1, 8, 0}, {2, 9, 1}};
    ExpectSupport(entries, FormatOf(2), FormatOf(9), true);
    ExpectSupport(entries, FormatOf(9), FormatOf(2), false);
    ExpectSupport(entries, FormatOf(15), FormatOf(9), false);
    ExpectSupport(entries, kUnknown, FormatOf(8), false, ZT_E_FORMAT_NOT_SUPPORTED);
    ExpectSupport(entries, FormatOf(1), kUnknown, false, ZT_E_FORMAT_NOT_SUPPORTED);
    ExpectSupport(entries, kUnknown, kUnknown, false, ZT_E_FORMAT_NOT_SUPPORTED);
    ExpectSupport({}, FormatOf(1), FormatOf(8), false);
}

TEST(Query, UsesASingleFormatForInputAndOutput)
{
    const std::vector<Entry> entries = {{1, 1, 0}, {2, 9, 1}, {9, 2, 2}};
    ExpectSupport(entries, FormatOf(1), true);
    ExpectSupport(entries, FormatOf(2), false);
    ExpectSupport(entries, FormatOf(9), false);
    ExpectSupport(entries, kUnknown, false, ZT_E_FORMAT_NOT_SUPPORTED);
    ExpectSupport({}, FormatOf(1), false);
}

// --- Suggestions -----------------------------------------------------------------------------------------------------

TEST(PairSuggestion, KeepsTheOutputThenTheInputThenUsesAnEntryOfTheTable)
{
    const SZtaWaveFormatInfo mono16In32 = WaveFormat(1, 32, 16, 48000, 1);
    const SZtaWaveFormatInfo mono20In32 = WaveFormat(1, 32, 20, 48000, 1);
    const std::vector<Entry> three = {{2, 9, 0}, {1, 8, 1}, {20, 16, 2}};
    const struct {
        const char* name;
        std::vector<Entry> entries;
        SZtaWaveFormatInfo input;
        SZtaWaveFormatInfo output;
        SZtaWaveFormatInfo suggestedInput;
        SZtaWaveFormatInfo suggestedOutput;
        int status = 0;
    } cases[] = {
        {"a pair of the table", {{2, 9, 0}, {1, 8, 1}}, mono16In32, mono20In32, mono16In32, mono20In32},
        // Entries with the input 1 are before and after it.
        {"the first entry with the output",
         {{1, 8, 0}, {2, 9, 1}, {17, 9, 2}, {1, 17, 3}},
         Modified(1),
         Modified(9),
         FormatOf(2),
         Modified(9)},
        {"the first entry with the input",
         {{2, 9, 0}, {1, 8, 1}, {1, 17, 2}},
         Modified(1),
         Modified(26),
         Modified(1),
         FormatOf(8)},
        {"the last entry", three, FormatOf(3), FormatOf(26), FormatOf(20), FormatOf(16)},
        {"the last entry", three, FormatOf(14), FormatOf(26), FormatOf(20), FormatOf(16)},
        {"the last entry", three, FormatOf(17), FormatOf(26), FormatOf(20), FormatOf(16)},
        {"the last entry", three, FormatOf(18), FormatOf(26), FormatOf(20), FormatOf(16)},
        {"the last entry", three, FormatOf(26), FormatOf(26), FormatOf(20), FormatOf(16)},
        {"the last entry", three, WaveFormat(1, 32, 24, 96000, 2), FormatOf(26), FormatOf(20), FormatOf(16)},
        {"the first entry for stereo at 44100", three, FormatOf(19), FormatOf(26), FormatOf(2), FormatOf(9)},
        {"the last entry for an output of stereo at 44100", three, FormatOf(26), FormatOf(19), FormatOf(20),
         FormatOf(16)},
        {"the output for stereo at 44100",
         {{2, 9, 0}, {19, 2, 1}, {20, 16, 2}},
         FormatOf(19),
         FormatOf(16),
         FormatOf(20),
         FormatOf(16)},
        {"the input for stereo at 44100",
         {{2, 9, 0}, {19, 2, 1}, {20, 16, 2}},
         FormatOf(19),
         FormatOf(26),
         FormatOf(19),
         FormatOf(2)},
        {"one entry as the first", {{2, 9, 0}}, FormatOf(19), FormatOf(26), FormatOf(2), FormatOf(9)},
        {"one entry as the last", {{2, 9, 0}}, FormatOf(18), FormatOf(26), FormatOf(2), FormatOf(9)},
        {"an unknown input", {{2, 9, 0}}, kUnknown, FormatOf(9), kUntouched, kUntouched, ZT_E_FORMAT_NOT_SUPPORTED},
        {"an unknown output", {{2, 9, 0}}, FormatOf(2), kUnknown, kUntouched, kUntouched, ZT_E_FORMAT_NOT_SUPPORTED},
        {"two unknown formats", {{2, 9, 0}}, kUnknown, kUnknown, kUntouched, kUntouched, ZT_E_FORMAT_NOT_SUPPORTED},
        {"an empty table", {}, FormatOf(2), FormatOf(9), kUntouched, kUntouched, ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED},
        {"an empty table", {}, FormatOf(19), FormatOf(9), kUntouched, kUntouched, ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED},
    };
    for (auto c : cases) {
        SCOPED_TRACE(testing::Message() << c.name << ": " << c.input << " to " << c.output);
        SZtaWaveFormatInfo input = kUntouched;
        SZtaWaveFormatInfo output = kUntouched;
        EXPECT_EQ(Kernel(c.entries).SuggestFormatInOutBuffers(&c.input, &c.output, &input, &output), c.status);
        EXPECT_EQ(input, c.suggestedInput);
        EXPECT_EQ(output, c.suggestedOutput);
    }
}

void ExpectSingleSuggestion(const std::vector<Entry>& entries, SZtaWaveFormatInfo format,
                            const SZtaWaveFormatInfo& suggested, int status = 0)
{
    SZtaWaveFormatInfo result = kUntouched;
    EXPECT_EQ(Kernel(entries).SuggestFormatSingleBuffer(&format, &result), status) << format;
    EXPECT_EQ(result, suggested) << format;
}

void ExpectNoSingleSuggestion(const std::vector<Entry>& entries, const SZtaWaveFormatInfo& format,
                              int status = ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED)
{
    ExpectSingleSuggestion(entries, format, kUntouched, status);
}

TEST(SingleSuggestion, KeepsAFormatOfTheTable)
{
    const SZtaWaveFormatInfo format = WaveFormat(1, 32, 20, 48000, 2);
    ExpectSingleSuggestion({{1, 1, 0}, {9, 9, 1}, {2, 2, 2}}, format, format);
}

TEST(SingleSuggestion, SearchesBackwardsForMonoIfGivenMonoAndForStereoOtherwise)
{
    for (const std::uint32_t property : {16u, 20u}) {
        ExpectSingleSuggestion({{1, 1, 0}, {8, 8, 1}, {2, 2, 2}, {5, 5, 3}}, FormatOf(property), FormatOf(8));
    }
    for (const std::uint32_t property : {3u, 7u, 14u, 15u, 17u, 18u, 19u, 21u, 26u}) {
        ExpectSingleSuggestion({{2, 2, 0}, {9, 9, 1}, {1, 1, 2}, {5, 5, 3}}, FormatOf(property), FormatOf(9));
    }
    ExpectSingleSuggestion({{2, 2, 0}, {5, 5, 1}}, FormatOf(3), FormatOf(2));
    // Mono at 44100 is not treated as mono.
    ExpectNoSingleSuggestion({{1, 1, 0}, {8, 8, 1}}, FormatOf(18));
    ExpectSingleSuggestion({{2, 2, 0}, {8, 8, 1}}, FormatOf(18), FormatOf(2));
}

TEST(SingleSuggestion, FindsFourMonoAndFourStereoFormats)
{
    for (std::uint32_t held = 1; held < 27; ++held) {
        const bool mono = held == 1 || held == 8 || held == 16 || held == 20;
        const bool stereo = held == 2 || held == 9 || held == 17 || held == 21;
        // The entry has different properties for input and output, so every given property is searched for.
        const std::vector<Entry> entries = {{held, 0, 0}};
        for (std::uint32_t given = 1; given < 27; ++given) {
            SCOPED_TRACE(held);
            const bool givenMono = given == 1 || given == 8 || given == 16 || given == 20;
            const bool hit = givenMono ? mono : stereo;
            ExpectSingleSuggestion(entries, FormatOf(given), hit ? FormatOf(held) : kUntouched,
                                   hit ? 0 : ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED);
        }
    }
}

TEST(SingleSuggestion, DoesNotWriteItsOutputIfItFindsNothing)
{
    for (const std::uint32_t property : {1u, 2u}) {
        ExpectNoSingleSuggestion({{5, 2, 0}, {5, 1, 1}}, FormatOf(property)); // only inputs are compared
        ExpectNoSingleSuggestion({}, FormatOf(property));
    }
    ExpectNoSingleSuggestion({{2, 2, 0}}, kUnknown, ZT_E_FORMAT_NOT_SUPPORTED);
}

// --- Decibels --------------------------------------------------------------------------------------------------------

TEST(ConvertToDBFS, ReturnsAFloorForZeroWithAnyReference)
{
    const float infinity = std::numeric_limits<float>::infinity();
    const float nan = std::numeric_limits<float>::quiet_NaN();
    for (const float zero : {0.0f, -0.0f}) {
        for (const float reference : {1.0f, 0.0f, -0.0f, -1.0f, infinity, nan}) {
            EXPECT_EQ(ConvertToDBFS(zero, reference), -999.9f) << reference;
        }
    }
}

TEST(ConvertToDBFS, IsTwentyTimesTheSinglePrecisionLogarithmOfTheRatio)
{
    EXPECT_EQ(ConvertToDBFS(1.0f, 1.0f), 0.0f);
    EXPECT_EQ(ConvertToDBFS(32768.0f, 32768.0f), 0.0f);
    EXPECT_EQ(ConvertToDBFS(10.0f, 1.0f), 20.0f);
    EXPECT_EQ(ConvertToDBFS(1.0f, 100.0f), -40.0f);
    EXPECT_EQ(ConvertToDBFS(0.5f, 1.0f), static_cast<float>(20.0 * double{std::log10(0.5f)}));
    EXPECT_EQ(ConvertToDBFS(3.0f, 7.0f), static_cast<float>(20.0 * double{std::log10(3.0f / 7.0f)}));
    EXPECT_NEAR(ConvertToDBFS(0.5f, 1.0f), -6.0206f, 1e-4f); // the logarithm's own rounding
}

TEST(ConvertToDBFS, ReturnsNaNOrInfinityForInvalidRatios)
{
    EXPECT_TRUE(std::isnan(ConvertToDBFS(std::numeric_limits<float>::quiet_NaN(), 1.0f)));
    EXPECT_TRUE(std::isnan(ConvertToDBFS(-1.0f, 1.0f)));
    EXPECT_EQ(ConvertToDBFS(1.0f, 0.0f), std::numeric_limits<float>::infinity());
}

} // namespace
} // namespace zta::test

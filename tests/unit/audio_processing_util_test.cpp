#include "kernels/audio_processing_util.h"

#include "testing/fake_audio_samples.h"

#include <zta/status.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <ostream>
#include <vector>

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

namespace {

using Calls = std::vector<std::string>;
using QueryStatus = int FakeAudioSamples::*;

constexpr int kHostFailure = static_cast<int>(0x80001234);

/// A format that has no property.
constexpr SZtaWaveFormatInfo kUnknown{24, 2, keZtAudioDataTypePcm, 96000, 16, 16};

/// The value of outputs before a call that must not write them.
constexpr SZtaWaveFormatInfo kUntouched{1, 2, keZtAudioDataTypeOpaque, 3, 4, 5};

SZtaWaveFormatInfo FormatOf(std::uint32_t property)
{
    return g_asFormatOfProperty[property];
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

class BufferInfoQuery : public ::testing::TestWithParam<BufferInfo (*)(FakeAudioSamples&)> {
protected:
    BufferInfo Query(FakeAudioSamples& samples) { return GetParam()(samples); }
};

INSTANTIATE_TEST_SUITE_P(Both, BufferInfoQuery, ::testing::Values(InSeparateOutputs, InOneRecord),
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
}

TEST_P(BufferInfoQuery, PassesTheCallersRecordSize)
{
    FakeAudioSamples samples(WaveFormat(1, 16, 16, 48000, 1), 1, 1);
    Query(samples);
    EXPECT_EQ(samples.descriptionSizes, std::vector<std::uint32_t>{40});
}

TEST_P(BufferInfoQuery, CallsTheHostThreeTimesInOrder)
{
    FakeAudioSamples samples(WaveFormat(1, 16, 16, 48000, 1), 1, 1);
    Query(samples);
    EXPECT_EQ(samples.calls,
              (std::vector<std::string>{"GetAudioSamplesDescription", "GetBufferAndLength", "GetBufferCapacity"}));
}

TEST_P(BufferInfoQuery, CountsWholeFramesOnly)
{
    FakeAudioSamples samples(WaveFormat(1, 24, 24, 48000, 2), 0, 0);
    samples.length = 6 * 7 + 5;
    samples.capacity = 6 * 9 + 1;
    const BufferInfo info = Query(samples);
    EXPECT_EQ(info.bytesPerFrame, 6);
    EXPECT_EQ(info.validFrames, 7u);
    EXPECT_EQ(info.capacityFrames, 9u);
}

TEST_P(BufferInfoQuery, DividesBitsByEightBeforeItMultiplies)
{
    FakeAudioSamples samples(WaveFormat(1, 20, 16, 48000, 6), 0, 0);
    samples.length = 120;
    const BufferInfo info = Query(samples);
    EXPECT_EQ(info.bytesPerFrame, 12); // not 20 * 6 / 8
    EXPECT_EQ(info.validFrames, 10u);
}

TEST_P(BufferInfoQuery, ComputesTheFrameSizeFromTheContainerNotFromTheProperty)
{
    FakeAudioSamples samples(WaveFormat(3, 32, 16, 48000, 2), 10, 20);
    const BufferInfo info = Query(samples);
    EXPECT_EQ(info.property, keZtAudioSampleFormat16In16Stereo);
    EXPECT_EQ(info.bytesPerFrame, 8);
    EXPECT_EQ(info.validFrames, 10u);
    EXPECT_EQ(info.capacityFrames, 20u);
}

TEST_P(BufferInfoQuery, CountsFramesBeyond32Bits)
{
    FakeAudioSamples samples(WaveFormat(1, 16, 16, 48000, 1), 0, 0);
    samples.length = 0x2'0000'0006;
    samples.capacity = 0x4'0000'0008;
    const BufferInfo info = Query(samples);
    EXPECT_EQ(info.validFrames, 0x1'0000'0003u);
    EXPECT_EQ(info.capacityFrames, 0x2'0000'0004u);
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
    const Calls calls = {"GetAudioSamplesDescription", "GetBufferAndLength", "GetBufferCapacity"};
    const QueryStatus statuses[] = {&FakeAudioSamples::descriptionStatus, &FakeAudioSamples::bufferStatus,
                                    &FakeAudioSamples::capacityStatus};
    for (int failed = 0; failed < 3; ++failed) {
        FakeAudioSamples samples(WaveFormat(1, 16, 16, 48000, 1), 1, 2);
        samples.*statuses[failed] = kHostFailure;
        const BufferInfo info = Query(samples);
        const BufferInfo untouched;
        EXPECT_EQ(info.status, kHostFailure);
        EXPECT_EQ(samples.calls, Calls(calls.begin(), calls.begin() + failed + 1));
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

TEST(Validation, ReturnsTheFunctionIndexOfTheFirstEntryOfThePair)
{
    Kernel kernel({{1, 8, 70}, {1, 9, 71}, {2, 9, 72}, {1, 9, 73}});
    int index = -1;
    EXPECT_EQ(kernel.Validate(1, 9, &index), 0);
    EXPECT_EQ(index, 71);
    EXPECT_EQ(kernel.Validate(2, 9, &index), 0);
    EXPECT_EQ(index, 72);
    EXPECT_EQ(kernel.Validate(1, 8, &index), 0);
    EXPECT_EQ(index, 70);
}

TEST(Validation, DoesNotWriteTheIndexIfNoEntryHasThePair)
{
    Kernel kernel({{1, 8, 70}, {2, 9, 71}});
    int index = -5;
    EXPECT_EQ(kernel.Validate(1, 9, &index), ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED);
    EXPECT_EQ(kernel.Validate(8, 1, &index), ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED);
    EXPECT_EQ(kernel.Validate(0, 0, &index), ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED);
    EXPECT_EQ(index, -5);
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

struct Support {
    int status;
    bool supported;

    bool operator==(const Support&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Support& support)
{
    return out << "status " << std::hex << support.status << (support.supported ? " supported" : " not supported");
}

Support Query(Kernel& kernel, SZtaWaveFormatInfo input, SZtaWaveFormatInfo output, bool before)
{
    const int status = kernel.QueryFormatSupportedInOutBuffers(&input, &output, &before);
    return {status, before};
}

Support Query(Kernel& kernel, SZtaWaveFormatInfo format, bool before)
{
    const int status = kernel.QueryFormatSupportedSingleBuffer(&format, &before);
    return {status, before};
}

TEST(Query, IsTrueForPairsOfTheTableOnly)
{
    Kernel kernel({{1, 8, 0}, {2, 9, 1}});
    for (const bool before : {false, true}) {
        EXPECT_EQ(Query(kernel, FormatOf(2), FormatOf(9), before), (Support{0, true}));
        EXPECT_EQ(Query(kernel, FormatOf(9), FormatOf(2), before), (Support{0, false}));
        EXPECT_EQ(Query(kernel, FormatOf(15), FormatOf(9), before), (Support{0, false}));
    }
}

TEST(Query, RejectsAPairThatCannotBeClassified)
{
    Kernel kernel({{1, 8, 0}});
    for (const bool before : {false, true}) {
        EXPECT_EQ(Query(kernel, kUnknown, FormatOf(8), before), (Support{ZT_E_FORMAT_NOT_SUPPORTED, false}));
        EXPECT_EQ(Query(kernel, FormatOf(1), kUnknown, before), (Support{ZT_E_FORMAT_NOT_SUPPORTED, false}));
        EXPECT_EQ(Query(kernel, kUnknown, kUnknown, before), (Support{ZT_E_FORMAT_NOT_SUPPORTED, false}));
    }
}

TEST(Query, UsesASingleFormatForInputAndOutput)
{
    Kernel kernel({{1, 1, 0}, {2, 9, 1}, {9, 2, 2}});
    for (const bool before : {false, true}) {
        EXPECT_EQ(Query(kernel, FormatOf(1), before), (Support{0, true}));
        EXPECT_EQ(Query(kernel, FormatOf(2), before), (Support{0, false}));
        EXPECT_EQ(Query(kernel, FormatOf(9), before), (Support{0, false}));
        EXPECT_EQ(Query(kernel, kUnknown, before), (Support{ZT_E_FORMAT_NOT_SUPPORTED, false}));
    }
}

TEST(Query, SupportsNothingOnAnEmptyTable)
{
    Kernel kernel({});
    EXPECT_EQ(Query(kernel, FormatOf(1), FormatOf(8), true), (Support{0, false}));
    EXPECT_EQ(Query(kernel, FormatOf(1), true), (Support{0, false}));
}

// --- Suggestions for a pair ------------------------------------------------------------------------------------------

struct Pair {
    int status;
    SZtaWaveFormatInfo input;
    SZtaWaveFormatInfo output;

    bool operator==(const Pair&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Pair& pair)
{
    return out << "status " << std::hex << pair.status << std::dec << " input " << pair.input << " output "
               << pair.output;
}

Pair Suggest(Kernel& kernel, SZtaWaveFormatInfo input, SZtaWaveFormatInfo output)
{
    Pair pair{1, kUntouched, kUntouched};
    pair.status = kernel.SuggestFormatInOutBuffers(&input, &output, &pair.input, &pair.output);
    return pair;
}

/// Returns a format with the same property that is not the one of the table of formats.
SZtaWaveFormatInfo Modified(SZtaWaveFormatInfo format)
{
    format.ulSize = 99;
    return format;
}

TEST(PairSuggestion, CopiesAPairThatIsProcessed)
{
    Kernel kernel({{2, 9, 0}, {1, 8, 1}});
    const SZtaWaveFormatInfo input = WaveFormat(1, 32, 16, 48000, 1);
    const SZtaWaveFormatInfo output = WaveFormat(1, 32, 20, 48000, 1);
    EXPECT_EQ(Suggest(kernel, input, output), (Pair{0, input, output}));
}

TEST(PairSuggestion, PrefersToKeepTheOutput)
{
    Kernel kernel({{1, 8, 0}, {2, 9, 1}, {17, 9, 2}, {1, 17, 3}});
    // Entries with the input 1 are before and after it; the first entry with the output is used.
    EXPECT_EQ(Suggest(kernel, Modified(FormatOf(1)), Modified(FormatOf(9))),
              (Pair{0, FormatOf(2), Modified(FormatOf(9))}));
}

TEST(PairSuggestion, KeepsTheInputIfNoEntryHasTheOutput)
{
    Kernel kernel({{2, 9, 0}, {1, 8, 1}, {1, 17, 2}});
    EXPECT_EQ(Suggest(kernel, Modified(FormatOf(1)), Modified(FormatOf(26))),
              (Pair{0, Modified(FormatOf(1)), FormatOf(8)}));
}

TEST(PairSuggestion, FallsBackToTheLastEntry)
{
    Kernel kernel({{2, 9, 0}, {1, 8, 1}, {20, 16, 2}});
    for (const std::uint32_t input : {3u, 14u, 17u, 18u, 26u}) {
        EXPECT_EQ(Suggest(kernel, FormatOf(input), FormatOf(26)), (Pair{0, FormatOf(20), FormatOf(16)})) << input;
    }
    EXPECT_EQ(Suggest(kernel, WaveFormat(1, 32, 24, 96000, 2), FormatOf(26)), (Pair{0, FormatOf(20), FormatOf(16)}));
}

TEST(PairSuggestion, FallsBackToTheFirstEntryForStereoAt44100)
{
    Kernel kernel({{2, 9, 0}, {1, 8, 1}, {20, 16, 2}});
    EXPECT_EQ(Suggest(kernel, FormatOf(19), FormatOf(26)), (Pair{0, FormatOf(2), FormatOf(9)}));
    EXPECT_EQ(Suggest(kernel, FormatOf(26), FormatOf(19)), (Pair{0, FormatOf(20), FormatOf(16)}))
        << "the output's property has no effect";
}

TEST(PairSuggestion, SearchesForStereoAt44100LikeForOtherFormats)
{
    Kernel kernel({{2, 9, 0}, {19, 2, 1}, {20, 16, 2}});
    EXPECT_EQ(Suggest(kernel, FormatOf(19), FormatOf(16)), (Pair{0, FormatOf(20), FormatOf(16)}));
    EXPECT_EQ(Suggest(kernel, FormatOf(19), FormatOf(26)), (Pair{0, FormatOf(19), FormatOf(2)}));
}

TEST(PairSuggestion, UsesASingleEntryAsFirstAndLast)
{
    Kernel kernel({{2, 9, 0}});
    EXPECT_EQ(Suggest(kernel, FormatOf(19), FormatOf(26)), (Pair{0, FormatOf(2), FormatOf(9)}));
    EXPECT_EQ(Suggest(kernel, FormatOf(18), FormatOf(26)), (Pair{0, FormatOf(2), FormatOf(9)}));
}

TEST(PairSuggestion, DoesNotWriteItsOutputsIfAFormatCannotBeClassified)
{
    Kernel kernel({{2, 9, 0}});
    const Pair rejected{ZT_E_FORMAT_NOT_SUPPORTED, kUntouched, kUntouched};
    EXPECT_EQ(Suggest(kernel, kUnknown, FormatOf(9)), rejected);
    EXPECT_EQ(Suggest(kernel, FormatOf(2), kUnknown), rejected);
    EXPECT_EQ(Suggest(kernel, kUnknown, kUnknown), rejected);
}

TEST(PairSuggestion, FailsWithAnEmptyTable)
{
    Kernel kernel({});
    const Pair rejected{ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED, kUntouched, kUntouched};
    EXPECT_EQ(Suggest(kernel, FormatOf(2), FormatOf(9)), rejected);
    EXPECT_EQ(Suggest(kernel, FormatOf(19), FormatOf(9)), rejected);
}

// --- Suggestions for one buffer --------------------------------------------------------------------------------------

struct Single {
    int status;
    SZtaWaveFormatInfo format;

    bool operator==(const Single&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Single& single)
{
    return out << "status " << std::hex << single.status << std::dec << " format " << single.format;
}

Single Suggest(Kernel& kernel, SZtaWaveFormatInfo format)
{
    Single single{1, kUntouched};
    single.status = kernel.SuggestFormatSingleBuffer(&format, &single.format);
    return single;
}

const Single kNoSuggestion{ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED, kUntouched};

TEST(SingleSuggestion, CopiesAFormatThatIsProcessed)
{
    Kernel kernel({{1, 1, 0}, {9, 9, 1}, {2, 2, 2}});
    EXPECT_EQ(Suggest(kernel, WaveFormat(1, 32, 20, 48000, 2)), (Single{0, WaveFormat(1, 32, 20, 48000, 2)}));
}

TEST(SingleSuggestion, SearchesBackwardsForMonoIfGivenMono)
{
    Kernel kernel({{1, 1, 0}, {8, 8, 1}, {2, 2, 2}, {5, 5, 3}});
    EXPECT_EQ(Suggest(kernel, FormatOf(16)), (Single{0, FormatOf(8)}));
    EXPECT_EQ(Suggest(kernel, FormatOf(20)), (Single{0, FormatOf(8)}));
}

TEST(SingleSuggestion, SearchesBackwardsForStereoOtherwise)
{
    Kernel kernel({{2, 2, 0}, {9, 9, 1}, {1, 1, 2}, {5, 5, 3}});
    for (const std::uint32_t property : {3u, 7u, 14u, 15u, 17u, 18u, 19u, 21u, 26u}) {
        EXPECT_EQ(Suggest(kernel, FormatOf(property)), (Single{0, FormatOf(9)})) << property;
    }
}

TEST(SingleSuggestion, FindsFourMonoAndFourStereoFormats)
{
    for (std::uint32_t held = 1; held < 27; ++held) {
        const bool mono = held == 1 || held == 8 || held == 16 || held == 20;
        const bool stereo = held == 2 || held == 9 || held == 17 || held == 21;
        // The entry has different properties for input and output, so every given property is searched for.
        Kernel kernel({{held, 0, 0}});
        for (std::uint32_t given = 1; given < 27; ++given) {
            const bool givenMono = given == 1 || given == 8 || given == 16 || given == 20;
            const bool hit = givenMono ? mono : stereo;
            SZtaWaveFormatInfo format = FormatOf(given);
            EXPECT_EQ(Suggest(kernel, format), hit ? (Single{0, FormatOf(held)}) : kNoSuggestion)
                << "given " << given << ", held " << held;
        }
    }
}

TEST(SingleSuggestion, ComparesInputsOnly)
{
    Kernel kernel({{5, 2, 0}, {5, 1, 1}});
    EXPECT_EQ(Suggest(kernel, FormatOf(2)), kNoSuggestion);
    EXPECT_EQ(Suggest(kernel, FormatOf(1)), kNoSuggestion);
}

TEST(SingleSuggestion, FindsTheFirstEntry)
{
    Kernel kernel({{2, 2, 0}, {5, 5, 1}});
    EXPECT_EQ(Suggest(kernel, FormatOf(3)), (Single{0, FormatOf(2)}));
}

TEST(SingleSuggestion, DoesNotTreatMonoAt44100AsMono)
{
    Kernel monoOnly({{1, 1, 0}, {8, 8, 1}});
    EXPECT_EQ(Suggest(monoOnly, FormatOf(18)), kNoSuggestion);
    Kernel both({{2, 2, 0}, {8, 8, 1}});
    EXPECT_EQ(Suggest(both, FormatOf(18)), (Single{0, FormatOf(2)}));
}

TEST(SingleSuggestion, FailsWithAnEmptyTable)
{
    Kernel kernel({});
    EXPECT_EQ(Suggest(kernel, FormatOf(1)), kNoSuggestion);
    EXPECT_EQ(Suggest(kernel, FormatOf(2)), kNoSuggestion);
}

TEST(SingleSuggestion, DoesNotWriteItsOutputIfTheFormatCannotBeClassified)
{
    Kernel kernel({{2, 2, 0}});
    EXPECT_EQ(Suggest(kernel, kUnknown), (Single{ZT_E_FORMAT_NOT_SUPPORTED, kUntouched}));
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

#include "kernels/audio_processing_util.h"

#include "testing/fake_audio_samples.h"

#include <zta/status.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <ostream>
#include <vector>

// GoogleTest finds these by the types' own namespace.
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

constexpr int kFormatNotSupported = static_cast<int>(0x8999803A);
constexpr int kProcessingFormatNotSupported = static_cast<int>(0x8999803D);
constexpr int kHostFailure = static_cast<int>(0x80001234);

/// A format that no property fits.
constexpr SZtaWaveFormatInfo kUnknown{24, 2, keZtAudioDataTypePcm, 96000, 16, 16};

/// What outputs hold before a call that should leave them alone.
constexpr SZtaWaveFormatInfo kUntouched{1, 2, keZtAudioDataTypeOpaque, 3, 4, 5};

SZtaWaveFormatInfo FormatOf(std::uint32_t property)
{
    return g_asFormatOfProperty[property];
}

struct Row {
    std::uint32_t input;
    std::uint32_t output;
    int functionIndex;
};

/// A kernel class with the rows that a test chooses.
class Kernel : public CZtaAudioProcessingUtil {
public:
    explicit Kernel(const std::vector<Row>& rows)
    {
        for (const Row& row : rows) {
            rows_.push_back({static_cast<EZtAudioSampleFormatProperty>(row.input),
                             static_cast<EZtAudioSampleFormatProperty>(row.output), row.functionIndex});
        }
        list_ = {static_cast<std::int32_t>(rows_.size()), rows_.data()};
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
    std::vector<SZtAProcessingFormatAndFunctionIndex> rows_;
    SZtAListOfProcessingFormatsAndFunctionIndex list_{};
};

// --- The digest, in both forms ---------------------------------------------------------------------------------------

/// The outputs of a digest, filled with values that no digest gives.
struct Digest {
    int status = 1;
    void* buffer = reinterpret_cast<void*>(0x11);
    unsigned long validFrames = 22;
    unsigned long capacityFrames = 33;
    int bytesPerFrame = 44;
    EZtAudioSampleFormatProperty property = static_cast<EZtAudioSampleFormatProperty>(55);
    SZtAudioSamplesDescription description = {40, 66, 77, true, true, kUntouched};
};

Digest InSeparateOutputs(FakeAudioSamples& samples)
{
    CZtaAudioProcessingUtil util;
    Digest digest;
    digest.status = util.GetBufferInformations(&samples, &digest.buffer, &digest.validFrames, &digest.capacityFrames,
                                               &digest.bytesPerFrame, &digest.property, &digest.description);
    return digest;
}

Digest InOneRecord(FakeAudioSamples& samples)
{
    CZtaAudioProcessingUtil util;
    Digest digest;
    SZtAudioBufferInformations record{digest.buffer,        digest.validFrames, digest.capacityFrames,
                                      digest.bytesPerFrame, digest.property,    digest.description};
    digest.status = util.GetBufferInformations(&samples, &record);
    return {digest.status,         record.pvBuffer, record.ulValidFrames, record.ulCapacityFrames,
            record.iBytesPerFrame, record.eFormat,  record.sDescription};
}

class BufferDigest : public ::testing::TestWithParam<Digest (*)(FakeAudioSamples&)> {
protected:
    Digest Ask(FakeAudioSamples& samples) { return GetParam()(samples); }
};

INSTANTIATE_TEST_SUITE_P(BothForms, BufferDigest, ::testing::Values(InSeparateOutputs, InOneRecord),
                         [](const auto& form) {
                             return form.param == InSeparateOutputs ? "SeparateOutputs" : "OneRecord";
                         });

TEST_P(BufferDigest, TellsWhatTheBufferHolds)
{
    FakeAudioSamples samples(WaveFormat(1, 32, 24, 48000, 8), 100, 480);
    samples.polarity = 3;
    samples.fadeOut = true;

    const Digest digest = Ask(samples);
    EXPECT_EQ(digest.status, 0);
    EXPECT_EQ(digest.buffer, samples.data.data());
    EXPECT_EQ(digest.validFrames, 100u);
    EXPECT_EQ(digest.capacityFrames, 480u);
    EXPECT_EQ(digest.bytesPerFrame, 32);
    EXPECT_EQ(digest.property, keZtAudioSampleFormat24In32Mux8);
    EXPECT_EQ(digest.description.ulSize, 40u);
    EXPECT_EQ(digest.description.ePolarity, 3u);
    EXPECT_FALSE(digest.description.bFadeIn);
    EXPECT_TRUE(digest.description.bFadeOut);
    EXPECT_EQ(digest.description.sWaveFormat, samples.format);
}

TEST_P(BufferDigest, HandsTheHostTheCallersRecordSize)
{
    FakeAudioSamples samples(WaveFormat(1, 16, 16, 48000, 1), 1, 1);
    Ask(samples);
    EXPECT_EQ(samples.descriptionSizes, std::vector<std::uint32_t>{40});
}

TEST_P(BufferDigest, AsksTheHostThreeTimesInOrder)
{
    FakeAudioSamples samples(WaveFormat(1, 16, 16, 48000, 1), 1, 1);
    Ask(samples);
    EXPECT_EQ(samples.calls,
              (std::vector<std::string>{"GetAudioSamplesDescription", "GetBufferAndLength", "GetBufferCapacity"}));
}

TEST_P(BufferDigest, CountsWholeFramesOnly)
{
    FakeAudioSamples samples(WaveFormat(1, 24, 24, 48000, 2), 0, 0);
    samples.length = 6 * 7 + 5;
    samples.capacity = 6 * 9 + 1;
    const Digest digest = Ask(samples);
    EXPECT_EQ(digest.bytesPerFrame, 6);
    EXPECT_EQ(digest.validFrames, 7u);
    EXPECT_EQ(digest.capacityFrames, 9u);
}

TEST_P(BufferDigest, DividesBitsByEightBeforeItMultiplies)
{
    FakeAudioSamples samples(WaveFormat(1, 20, 16, 48000, 6), 0, 0);
    samples.length = 120;
    const Digest digest = Ask(samples);
    EXPECT_EQ(digest.bytesPerFrame, 12); // not 20 * 6 / 8
    EXPECT_EQ(digest.validFrames, 10u);
}

TEST_P(BufferDigest, TakesTheFrameSizeFromTheContainerNotFromTheProperty)
{
    FakeAudioSamples samples(WaveFormat(3, 32, 16, 48000, 2), 10, 20);
    const Digest digest = Ask(samples);
    EXPECT_EQ(digest.property, keZtAudioSampleFormat16In16Stereo);
    EXPECT_EQ(digest.bytesPerFrame, 8);
    EXPECT_EQ(digest.validFrames, 10u);
    EXPECT_EQ(digest.capacityFrames, 20u);
}

TEST_P(BufferDigest, CountsFramesBeyond32Bits)
{
    FakeAudioSamples samples(WaveFormat(1, 16, 16, 48000, 1), 0, 0);
    samples.length = 0x2'0000'0006;
    samples.capacity = 0x4'0000'0008;
    const Digest digest = Ask(samples);
    EXPECT_EQ(digest.validFrames, 0x1'0000'0003u);
    EXPECT_EQ(digest.capacityFrames, 0x2'0000'0004u);
}

TEST_P(BufferDigest, IsCompleteWhenTheFormatCannotBeClassified)
{
    FakeAudioSamples samples(kUnknown, 10, 20);
    const Digest digest = Ask(samples);
    EXPECT_EQ(digest.status, kFormatNotSupported);
    EXPECT_EQ(digest.buffer, samples.data.data());
    EXPECT_EQ(digest.validFrames, 10u);
    EXPECT_EQ(digest.capacityFrames, 20u);
    EXPECT_EQ(digest.bytesPerFrame, 4);
    EXPECT_EQ(digest.property, keZtAudioSampleFormatInvalid);
    EXPECT_EQ(digest.description.sWaveFormat, kUnknown);
}

TEST_P(BufferDigest, EndsWhenTheHostHasNoDescription)
{
    FakeAudioSamples samples(WaveFormat(1, 16, 16, 48000, 1), 1, 2);
    samples.descriptionStatus = kHostFailure;
    const Digest digest = Ask(samples);
    const Digest untouched;
    EXPECT_EQ(digest.status, kHostFailure);
    EXPECT_EQ(samples.calls, std::vector<std::string>{"GetAudioSamplesDescription"});
    EXPECT_EQ(digest.bytesPerFrame, untouched.bytesPerFrame);
    EXPECT_EQ(digest.buffer, untouched.buffer);
    EXPECT_EQ(digest.validFrames, untouched.validFrames);
    EXPECT_EQ(digest.capacityFrames, untouched.capacityFrames);
    EXPECT_EQ(digest.property, untouched.property);
    EXPECT_EQ(digest.description.sWaveFormat, kUntouched);
}

TEST_P(BufferDigest, EndsWhenTheHostHasNoData)
{
    FakeAudioSamples samples(WaveFormat(1, 16, 16, 48000, 1), 1, 2);
    samples.bufferStatus = kHostFailure;
    const Digest digest = Ask(samples);
    const Digest untouched;
    EXPECT_EQ(digest.status, kHostFailure);
    EXPECT_EQ(samples.calls, (std::vector<std::string>{"GetAudioSamplesDescription", "GetBufferAndLength"}));
    EXPECT_EQ(digest.bytesPerFrame, 2);
    EXPECT_EQ(digest.buffer, untouched.buffer);
    EXPECT_EQ(digest.validFrames, untouched.validFrames);
    EXPECT_EQ(digest.capacityFrames, untouched.capacityFrames);
    EXPECT_EQ(digest.property, untouched.property);
    EXPECT_EQ(digest.description.sWaveFormat, samples.format);
}

TEST_P(BufferDigest, EndsWhenTheHostHasNoCapacity)
{
    FakeAudioSamples samples(WaveFormat(1, 16, 16, 48000, 1), 1, 2);
    samples.capacityStatus = kHostFailure;
    const Digest digest = Ask(samples);
    const Digest untouched;
    EXPECT_EQ(digest.status, kHostFailure);
    EXPECT_EQ(digest.bytesPerFrame, 2);
    EXPECT_EQ(digest.buffer, samples.data.data());
    EXPECT_EQ(digest.validFrames, 1u);
    EXPECT_EQ(digest.capacityFrames, untouched.capacityFrames);
    EXPECT_EQ(digest.property, untouched.property);
}

TEST_P(BufferDigest, GoesOnAfterStatusesThatAreNoFailures)
{
    FakeAudioSamples samples(WaveFormat(1, 16, 16, 48000, 1), 1, 2);
    samples.descriptionStatus = samples.bufferStatus = samples.capacityStatus = 1;
    const Digest digest = Ask(samples);
    EXPECT_EQ(digest.status, 0);
    EXPECT_EQ(digest.capacityFrames, 2u);
    EXPECT_EQ(digest.property, keZtAudioSampleFormat16In16Mono);
}

// --- Validation ------------------------------------------------------------------------------------------------------

TEST(Validation, GivesTheFunctionIndexOfTheFirstRowOfThePair)
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

TEST(Validation, LeavesTheIndexAloneWhenNoRowHasBothSides)
{
    Kernel kernel({{1, 8, 70}, {2, 9, 71}});
    int index = -5;
    EXPECT_EQ(kernel.Validate(1, 9, &index), kProcessingFormatNotSupported);
    EXPECT_EQ(kernel.Validate(8, 1, &index), kProcessingFormatNotSupported);
    EXPECT_EQ(kernel.Validate(0, 0, &index), kProcessingFormatNotSupported);
    EXPECT_EQ(index, -5);
}

TEST(Validation, LooksAtNoRowBeyondTheCount)
{
    Kernel kernel({{1, 1, 70}, {2, 2, 71}});
    int index = -5;
    for (const int count : {1, 0, -1}) {
        kernel.SetCount(count);
        EXPECT_EQ(kernel.Validate(2, 2, &index), kProcessingFormatNotSupported) << count;
        EXPECT_EQ(kernel.Validate(1, 1, &index), count == 1 ? 0 : kProcessingFormatNotSupported) << count;
    }
    EXPECT_EQ(index, 70);
}

TEST(Validation, UsesTheListThatItIsHanded)
{
    Kernel kernel({{1, 1, 70}});
    SZtAProcessingFormatAndFunctionIndex row{keZtAudioSampleFormat16In16Stereo, keZtAudioSampleFormat16In16Stereo, 9};
    SZtAListOfProcessingFormatsAndFunctionIndex list{1, &row};
    int index = -5;
    EXPECT_EQ(kernel.ValidateProcessingFormatAndGetFunctionIndex(keZtAudioSampleFormat16In16Stereo,
                                                                 keZtAudioSampleFormat16In16Stereo, &list, &index),
              0);
    EXPECT_EQ(index, 9);
}

// --- Queries ---------------------------------------------------------------------------------------------------------

struct Answer {
    int status;
    bool supported;

    bool operator==(const Answer&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Answer& answer)
{
    return out << "status " << std::hex << answer.status << (answer.supported ? " supported" : " not supported");
}

Answer Query(Kernel& kernel, SZtaWaveFormatInfo input, SZtaWaveFormatInfo output, bool before)
{
    const int status = kernel.QueryFormatSupportedInOutBuffers(&input, &output, &before);
    return {status, before};
}

Answer Query(Kernel& kernel, SZtaWaveFormatInfo format, bool before)
{
    const int status = kernel.QueryFormatSupportedSingleBuffer(&format, &before);
    return {status, before};
}

TEST(Query, TellsProcessedPairsFromOthers)
{
    Kernel kernel({{1, 8, 0}, {2, 9, 1}});
    for (const bool before : {false, true}) {
        EXPECT_EQ(Query(kernel, FormatOf(2), FormatOf(9), before), (Answer{0, true}));
        EXPECT_EQ(Query(kernel, FormatOf(9), FormatOf(2), before), (Answer{0, false}));
        EXPECT_EQ(Query(kernel, FormatOf(15), FormatOf(9), before), (Answer{0, false}));
    }
}

TEST(Query, RejectsAPairThatCannotBeClassified)
{
    Kernel kernel({{1, 8, 0}});
    for (const bool before : {false, true}) {
        EXPECT_EQ(Query(kernel, kUnknown, FormatOf(8), before), (Answer{kFormatNotSupported, false}));
        EXPECT_EQ(Query(kernel, FormatOf(1), kUnknown, before), (Answer{kFormatNotSupported, false}));
        EXPECT_EQ(Query(kernel, kUnknown, kUnknown, before), (Answer{kFormatNotSupported, false}));
    }
}

TEST(Query, TakesASingleFormatForBothSides)
{
    Kernel kernel({{1, 1, 0}, {2, 9, 1}, {9, 2, 2}});
    for (const bool before : {false, true}) {
        EXPECT_EQ(Query(kernel, FormatOf(1), before), (Answer{0, true}));
        EXPECT_EQ(Query(kernel, FormatOf(2), before), (Answer{0, false}));
        EXPECT_EQ(Query(kernel, FormatOf(9), before), (Answer{0, false}));
        EXPECT_EQ(Query(kernel, kUnknown, before), (Answer{kFormatNotSupported, false}));
    }
}

TEST(Query, SupportsNothingOnAnEmptyTable)
{
    Kernel kernel({});
    EXPECT_EQ(Query(kernel, FormatOf(1), FormatOf(8), true), (Answer{0, false}));
    EXPECT_EQ(Query(kernel, FormatOf(1), true), (Answer{0, false}));
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

/// A format that a property fits without being the one that the table of formats gives.
SZtaWaveFormatInfo Variant(SZtaWaveFormatInfo format)
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

TEST(PairSuggestion, KeepsTheOutputFirst)
{
    Kernel kernel({{1, 8, 0}, {2, 9, 1}, {17, 9, 2}, {1, 17, 3}});
    // Entries with the input 1 are before and after it; the first entry with the output wins.
    EXPECT_EQ(Suggest(kernel, Variant(FormatOf(1)), Variant(FormatOf(9))),
              (Pair{0, FormatOf(2), Variant(FormatOf(9))}));
}

TEST(PairSuggestion, KeepsTheInputWhenNoRowHasTheOutput)
{
    Kernel kernel({{2, 9, 0}, {1, 8, 1}, {1, 17, 2}});
    EXPECT_EQ(Suggest(kernel, Variant(FormatOf(1)), Variant(FormatOf(26))),
              (Pair{0, Variant(FormatOf(1)), FormatOf(8)}));
}

TEST(PairSuggestion, FallsBackToTheLastRow)
{
    Kernel kernel({{2, 9, 0}, {1, 8, 1}, {20, 16, 2}});
    for (const std::uint32_t input : {3u, 14u, 17u, 18u, 26u}) {
        EXPECT_EQ(Suggest(kernel, FormatOf(input), FormatOf(26)), (Pair{0, FormatOf(20), FormatOf(16)})) << input;
    }
    EXPECT_EQ(Suggest(kernel, WaveFormat(1, 32, 24, 96000, 2), FormatOf(26)), (Pair{0, FormatOf(20), FormatOf(16)}));
}

TEST(PairSuggestion, FallsBackToTheFirstRowForStereoAt44100)
{
    Kernel kernel({{2, 9, 0}, {1, 8, 1}, {20, 16, 2}});
    EXPECT_EQ(Suggest(kernel, FormatOf(19), FormatOf(26)), (Pair{0, FormatOf(2), FormatOf(9)}));
    EXPECT_EQ(Suggest(kernel, FormatOf(26), FormatOf(19)), (Pair{0, FormatOf(20), FormatOf(16)}))
        << "the output's property counts for nothing";
}

TEST(PairSuggestion, SearchesForStereoAt44100AsForAnyOther)
{
    Kernel kernel({{2, 9, 0}, {19, 2, 1}, {20, 16, 2}});
    EXPECT_EQ(Suggest(kernel, FormatOf(19), FormatOf(16)), (Pair{0, FormatOf(20), FormatOf(16)}));
    EXPECT_EQ(Suggest(kernel, FormatOf(19), FormatOf(26)), (Pair{0, FormatOf(19), FormatOf(2)}));
}

TEST(PairSuggestion, TakesTheOnlyRowFromEitherEnd)
{
    Kernel kernel({{2, 9, 0}});
    EXPECT_EQ(Suggest(kernel, FormatOf(19), FormatOf(26)), (Pair{0, FormatOf(2), FormatOf(9)}));
    EXPECT_EQ(Suggest(kernel, FormatOf(18), FormatOf(26)), (Pair{0, FormatOf(2), FormatOf(9)}));
}

TEST(PairSuggestion, LeavesTheOutputsAloneWhenAFormatCannotBeClassified)
{
    Kernel kernel({{2, 9, 0}});
    const Pair refused{kFormatNotSupported, kUntouched, kUntouched};
    EXPECT_EQ(Suggest(kernel, kUnknown, FormatOf(9)), refused);
    EXPECT_EQ(Suggest(kernel, FormatOf(2), kUnknown), refused);
    EXPECT_EQ(Suggest(kernel, kUnknown, kUnknown), refused);
}

TEST(PairSuggestion, HasNothingToSuggestFromAnEmptyTable)
{
    Kernel kernel({});
    const Pair refused{kProcessingFormatNotSupported, kUntouched, kUntouched};
    EXPECT_EQ(Suggest(kernel, FormatOf(2), FormatOf(9)), refused);
    EXPECT_EQ(Suggest(kernel, FormatOf(19), FormatOf(9)), refused);
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

const Single kNoSuggestion{kProcessingFormatNotSupported, kUntouched};

TEST(SingleSuggestion, CopiesAFormatThatIsProcessed)
{
    Kernel kernel({{1, 1, 0}, {9, 9, 1}, {2, 2, 2}});
    EXPECT_EQ(Suggest(kernel, WaveFormat(1, 32, 20, 48000, 2)), (Single{0, WaveFormat(1, 32, 20, 48000, 2)}));
}

TEST(SingleSuggestion, SearchesBackwardsForMonoWhenGivenMono)
{
    Kernel kernel({{1, 1, 0}, {8, 8, 1}, {2, 2, 2}, {5, 5, 3}});
    EXPECT_EQ(Suggest(kernel, FormatOf(16)), (Single{0, FormatOf(8)}));
    EXPECT_EQ(Suggest(kernel, FormatOf(20)), (Single{0, FormatOf(8)}));
}

TEST(SingleSuggestion, SearchesBackwardsForStereoWhenGivenAnythingElse)
{
    Kernel kernel({{2, 2, 0}, {9, 9, 1}, {1, 1, 2}, {5, 5, 3}});
    for (const std::uint32_t property : {3u, 7u, 14u, 15u, 17u, 18u, 19u, 21u, 26u}) {
        EXPECT_EQ(Suggest(kernel, FormatOf(property)), (Single{0, FormatOf(9)})) << property;
    }
}

TEST(SingleSuggestion, KnowsFourMonoAndFourStereoLayouts)
{
    for (std::uint32_t held = 1; held < 27; ++held) {
        const bool mono = held == 1 || held == 8 || held == 16 || held == 20;
        const bool stereo = held == 2 || held == 9 || held == 17 || held == 21;
        // No row has the same property on both sides, so that every property given is searched for.
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

TEST(SingleSuggestion, LooksAtInputsOnly)
{
    Kernel kernel({{5, 2, 0}, {5, 1, 1}});
    EXPECT_EQ(Suggest(kernel, FormatOf(2)), kNoSuggestion);
    EXPECT_EQ(Suggest(kernel, FormatOf(1)), kNoSuggestion);
}

TEST(SingleSuggestion, ReachesTheFirstRow)
{
    Kernel kernel({{2, 2, 0}, {5, 5, 1}});
    EXPECT_EQ(Suggest(kernel, FormatOf(3)), (Single{0, FormatOf(2)}));
}

TEST(SingleSuggestion, TakesMonoAt44100ForNoMono)
{
    Kernel monoOnly({{1, 1, 0}, {8, 8, 1}});
    EXPECT_EQ(Suggest(monoOnly, FormatOf(18)), kNoSuggestion);
    Kernel both({{2, 2, 0}, {8, 8, 1}});
    EXPECT_EQ(Suggest(both, FormatOf(18)), (Single{0, FormatOf(2)}));
}

TEST(SingleSuggestion, HasNothingToSuggestFromAnEmptyTable)
{
    Kernel kernel({});
    EXPECT_EQ(Suggest(kernel, FormatOf(1)), kNoSuggestion);
    EXPECT_EQ(Suggest(kernel, FormatOf(2)), kNoSuggestion);
}

TEST(SingleSuggestion, LeavesTheOutputAloneWhenTheFormatCannotBeClassified)
{
    Kernel kernel({{2, 2, 0}});
    EXPECT_EQ(Suggest(kernel, kUnknown), (Single{kFormatNotSupported, kUntouched}));
}

// --- Decibels --------------------------------------------------------------------------------------------------------

TEST(ConvertToDBFS, GivesAFloorForZeroWhateverTheReference)
{
    const float infinity = std::numeric_limits<float>::infinity();
    const float nan = std::numeric_limits<float>::quiet_NaN();
    for (const float zero : {0.0f, -0.0f}) {
        for (const float reference : {1.0f, 0.0f, -0.0f, -1.0f, infinity, nan}) {
            EXPECT_EQ(ConvertToDBFS(zero, reference), -999.9f) << reference;
        }
    }
}

TEST(ConvertToDBFS, IsTwentyTimesTheSingleLogarithmOfTheRatio)
{
    EXPECT_EQ(ConvertToDBFS(1.0f, 1.0f), 0.0f);
    EXPECT_EQ(ConvertToDBFS(32768.0f, 32768.0f), 0.0f);
    EXPECT_EQ(ConvertToDBFS(10.0f, 1.0f), 20.0f);
    EXPECT_EQ(ConvertToDBFS(1.0f, 100.0f), -40.0f);
    EXPECT_EQ(ConvertToDBFS(0.5f, 1.0f), static_cast<float>(20.0 * double{std::log10(0.5f)}));
    EXPECT_EQ(ConvertToDBFS(3.0f, 7.0f), static_cast<float>(20.0 * double{std::log10(3.0f / 7.0f)}));
    EXPECT_NEAR(ConvertToDBFS(0.5f, 1.0f), -6.0206f, 1e-4f); // the logarithm's own rounding
}

TEST(ConvertToDBFS, DoesNotCatchNaNOrNegativeRatios)
{
    EXPECT_TRUE(std::isnan(ConvertToDBFS(std::numeric_limits<float>::quiet_NaN(), 1.0f)));
    EXPECT_TRUE(std::isnan(ConvertToDBFS(-1.0f, 1.0f)));
    EXPECT_EQ(ConvertToDBFS(1.0f, 0.0f), std::numeric_limits<float>::infinity());
}

} // namespace

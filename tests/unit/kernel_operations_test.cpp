// The behavior that the operations of the kernel classes have in common, and their queries for supported formats.

#include "kernels/bit_depth.h"
#include "kernels/data_type.h"
#include "kernels/fade.h"
#include "kernels/mono_to_stereo.h"
#include "kernels/mux_conversion.h"
#include "kernels/stereo_to_mono.h"
#include "kernels/volume.h"
#include "tests/unit/kernel_test.h"

#include <gtest/gtest.h>

#include <ostream>
#include <type_traits>

namespace zta::test {
namespace {

constexpr unsigned long kFrames = 200; // the shortest mux buffer that can be faded

using Buffers = std::vector<FakeAudioSamples>;

/// An operation and its buffers, in the order in which it queries them.
struct Operation {
    struct Buffer {
        SZtaWaveFormatInfo format;
        bool isOutput;
        int queryFailure = 0;                               ///< the status if a query fails; 0 for that of the query
        int unclassifiedFormat = ZT_E_FORMAT_NOT_SUPPORTED; ///< the status for a format that cannot be classified
    };

    std::string name;
    std::vector<Buffer> buffers;
    int (*run)(Buffers& buffers);
    bool setsLength = false;
    bool hidesSuccess = false; ///< of setting a length
};

void PrintTo(const Operation& operation, std::ostream* stream)
{
    *stream << operation.name;
}

Operation::Buffer Input(int property)
{
    return {FormatOfProperty(property), false};
}

Operation::Buffer Output(int property)
{
    return {FormatOfProperty(property), true};
}

/// The same buffer, with failures of which the status is hidden.
Operation::Buffer Hidden(Operation::Buffer buffer)
{
    buffer.queryFailure = ZT_E_INVALID_PARAMETER;
    buffer.unclassifiedFormat = ZT_E_INVALID_PARAMETER;
    return buffer;
}

Operation MonoToStereo(const std::string& format, int mono, int stereo)
{
    return {"ConvertMonoToStereo" + format,
            {Input(mono), Input(mono), Output(stereo)},
            [](Buffers& b) { return CZtaConvertMonoToStereo().ConvertMonoToStereo(&b[0], &b[1], &b[2]); },
            true};
}

Operation StereoToMono(const std::string& format, int mono, int stereo)
{
    return {"ConvertStereoToMono" + format,
            {Input(stereo), Output(mono), Output(mono)},
            [](Buffers& b) { return CZtaConvertStereoToMono().ConvertStereoToMono(&b[0], &b[1], &b[2]); },
            true};
}

Operation Fade(const std::string& format, int property)
{
    return {"ApplyFade" + format, {Output(property)}, [](Buffers& b) {
                b[0].fadeIn = true;
                b[0].fadeOut = true;
                return CZtaApplyFade().ApplyFade(&b[0]);
            }};
}

/// Runs an operation on an array of buffers and the mux behind them.
template <class Class, auto Function>
int RunMux(Buffers& buffers)
{
    std::vector<IZtAudioSamples*> array;
    for (std::size_t i = 0; i + 1 < buffers.size(); ++i) {
        array.push_back(&buffers[i]);
    }
    IZtAudioSamples* const mux = &buffers.back();
    if constexpr (std::is_invocable_v<decltype(Function), Class, IZtAudioSamples*, IZtAudioSamples**, unsigned long,
                                      SZtAudioMonoVolumeInfo*, unsigned long>) {
        return (Class().*Function)(mux, array.data(), array.size(), nullptr, 0);
    } else {
        return (Class().*Function)(array.data(), array.size(), mux, nullptr, 0);
    }
}

const Operation kOperations[] = {
    {"ConvertBitDepth",
     {Input(1), Output(8)},
     [](Buffers& b) { return CZtaConvertBitDepth().ConvertBitDepth(&b[0], &b[1]); },
     true},
    {"ConvertDataType",
     {{WaveFormat(3, 32, 24, 48000, 1), false}, Output(8)},
     [](Buffers& b) { return CZtaConvertDataType().ConvertDataType(&b[0], &b[1]); }},
    {"ApplyVolume",
     {Hidden(Output(9)), Hidden(Input(9))},
     [](Buffers& b) {
         SZtAudioMonoVolumeInfo volumes[] = {{0, 0.5f, 0.5f}, {0, 1.0f, 1.0f}};
         return CZtaApplyVolume().ApplyVolume(&b[1], &b[0], volumes, 2);
     },
     true},
    {"ConvertMonoToMux",
     {Hidden(Input(8)), Hidden(Input(8)), Hidden(Input(8)), Hidden(Input(8)), Output(10)},
     RunMux<CZtaConvertMonoToMux, &CZtaConvertMonoToMux::ConvertMonoToMux>,
     true},
    {"ConvertStereoToMux",
     {Hidden(Input(9)), Hidden(Input(9)), Output(10)},
     RunMux<CZtaConvertStereoToMux, &CZtaConvertStereoToMux::ConvertStereoToMux>,
     true},
    {"ConvertMuxToMono",
     {Hidden(Output(8)), Hidden(Output(8)), Hidden(Output(8)), Hidden(Output(8)), Input(10)},
     RunMux<CZtaConvertMuxToMono, &CZtaConvertMuxToMono::ConvertMuxToMono>,
     true,
     true},
    {"ConvertMuxToStereo",
     {Hidden(Output(9)), Hidden(Output(9)), Input(10)},
     RunMux<CZtaConvertMuxToStereo, &CZtaConvertMuxToStereo::ConvertMuxToStereo>,
     true,
     true},
    MonoToStereo("16In16", 1, 2),
    MonoToStereo("16In16At44100", 18, 19),
    MonoToStereo("24In32", 8, 9),
    MonoToStereo("24In24", 20, 21),
    StereoToMono("16In16", 1, 2),
    StereoToMono("16In16At44100", 18, 19),
    StereoToMono("24In32", 8, 9),
    StereoToMono("24In24", 20, 21),
    Fade("16In16Mono", 1),
    Fade("16In16Stereo", 2),
    Fade("16In16Mux4", 3),
    Fade("16In16Mux8", 4),
    Fade("16In16Mux16", 5),
    Fade("24In32Mono", 8),
    Fade("24In32Stereo", 9),
    Fade("24In32Mux4", 10),
    Fade("24In32Mux8", 11),
    Fade("24In32Mux16", 12),
};

class KernelOperation : public testing::TestWithParam<Operation> {
protected:
    /// Buffers with random samples, with `frames` valid frames.
    static Buffers MakeBuffers(unsigned long frames = kFrames)
    {
        Buffers buffers;
        for (const Operation::Buffer& buffer : GetParam().buffers) {
            buffers.push_back(RandomSamples(buffer.format, frames, kFrames));
        }
        return buffers;
    }

    static int Run(Buffers& buffers) { return GetParam().run(buffers); }
    static bool IsOutput(std::size_t i) { return GetParam().buffers[i].isOutput; }

    static void ExpectUnchanged(const Buffers& buffers, const Buffers& before)
    {
        for (std::size_t i = 0; i < buffers.size(); ++i) {
            EXPECT_EQ(buffers[i].data, before[i].data) << "buffer " << i;
            EXPECT_TRUE(buffers[i].lengthsSet.empty()) << "buffer " << i;
        }
    }

    /// Expects that no buffer behind the given one was called.
    static void ExpectNoQueryBehind(const Buffers& buffers, std::size_t last)
    {
        for (std::size_t i = 0; i < buffers.size(); ++i) {
            EXPECT_EQ(buffers[i].calls.empty(), i > last) << "buffer " << i;
        }
    }

    static void ExpectLengthsSet(const Buffers& buffers, unsigned long frames)
    {
        for (std::size_t i = 0; i < buffers.size(); ++i) {
            const bool isSet = IsOutput(i) && GetParam().setsLength;
            const SZtaWaveFormatInfo& format = buffers[i].format;
            const unsigned long bytes = frames * format.ulChannels * (format.ulBitsPerSample / 8);
            EXPECT_EQ(buffers[i].lengthsSet, isSet ? Lengths{bytes} : Lengths()) << "buffer " << i;
        }
    }
};

INSTANTIATE_TEST_SUITE_P(All, KernelOperation, testing::ValuesIn(kOperations),
                         [](const auto& operation) { return operation.param.name; });

TEST_P(KernelOperation, QueriesEachBufferOnceAndSetsTheLengthsOfItsOutputs)
{
    Buffers buffers = MakeBuffers();
    EXPECT_EQ(Run(buffers), 0);
    for (std::size_t i = 0; i < buffers.size(); ++i) {
        EXPECT_EQ(buffers[i].calls, IsOutput(i) && GetParam().setsLength ? kQueryAndLengthCalls : kQueryCalls) << i;
        EXPECT_EQ(buffers[i].descriptionSizes, kDescriptionSize) << i;
    }
    ExpectLengthsSet(buffers, kFrames);
}

TEST_P(KernelOperation, EndsAtTheFirstFailedQuery)
{
    for (const QueryStatus query : kQueryStatuses) {
        for (std::size_t i = 0; i < GetParam().buffers.size(); ++i) {
            Buffers buffers = MakeBuffers();
            const Buffers before = buffers;
            buffers[i].*query = -77;
            const int failure = GetParam().buffers[i].queryFailure;
            EXPECT_EQ(Run(buffers), failure != 0 ? failure : -77) << "buffer " << i;
            ExpectUnchanged(buffers, before);
            ExpectNoQueryBehind(buffers, i);
        }
    }
}

TEST_P(KernelOperation, AcceptsPositiveStatusesOfQueries)
{
    for (const QueryStatus query : kQueryStatuses) {
        for (std::size_t i = 0; i < GetParam().buffers.size(); ++i) {
            Buffers buffers = MakeBuffers();
            Buffers expected = buffers;
            buffers[i].*query = 5;
            EXPECT_EQ(Run(buffers), 0) << "buffer " << i;
            EXPECT_EQ(Run(expected), 0);
            for (std::size_t k = 0; k < buffers.size(); ++k) {
                EXPECT_EQ(buffers[k].data, expected[k].data) << "buffer " << k;
            }
            ExpectLengthsSet(buffers, kFrames);
        }
    }
}

TEST_P(KernelOperation, RejectsFormatsThatCannotBeClassified)
{
    for (std::size_t i = 0; i < GetParam().buffers.size(); ++i) {
        Buffers buffers = MakeBuffers();
        buffers[i].format = kUnclassifiedFormat;
        const Buffers before = buffers;
        EXPECT_EQ(Run(buffers), GetParam().buffers[i].unclassifiedFormat) << "buffer " << i;
        ExpectUnchanged(buffers, before);
        ExpectNoQueryBehind(buffers, i);
    }
}

TEST_P(KernelOperation, ReturnsTheStatusOfSettingTheLastLength)
{
    for (const int status : {-5, 3}) {
        Buffers buffers = MakeBuffers();
        Buffers expected = buffers;
        const std::size_t last = IsOutput(0) ? 0 : buffers.size() - 1;
        buffers[last].setLengthStatus = status;
        EXPECT_EQ(Run(buffers), GetParam().setsLength && !(GetParam().hidesSuccess && status > 0) ? status : 0);
        EXPECT_EQ(Run(expected), 0);
        EXPECT_EQ(buffers[last].data, expected[last].data);
    }
}

TEST_P(KernelOperation, OfEmptyBuffersOnlySetsLengths)
{
    Buffers buffers = MakeBuffers(0);
    const Buffers before = buffers;
    EXPECT_EQ(Run(buffers), 0);
    for (std::size_t i = 0; i < buffers.size(); ++i) {
        EXPECT_EQ(buffers[i].data, before[i].data) << i;
    }
    ExpectLengthsSet(buffers, 0);
}

// ---- Queries for supported formats ----

template <class Kernel>
int Query(SZtaWaveFormatInfo input, SZtaWaveFormatInfo output, bool* supported)
{
    return Kernel().QueryFormatSupported(&input, &output, supported);
}

TEST(QueryFormatSupported, IsTrueForPairsWithATableEntry)
{
    constexpr int kRejected = ZT_E_FORMAT_NOT_SUPPORTED;
    const SZtaWaveFormatInfo unknown = WaveFormat(1, 8, 8, 48000, 1);
    const SZtaWaveFormatInfo multiFormat = WaveFormat(3, 32, 24, 48000, 2);
    const auto format = FormatOfProperty;
    const struct {
        int (*query)(SZtaWaveFormatInfo input, SZtaWaveFormatInfo output, bool* supported);
        SZtaWaveFormatInfo input;
        SZtaWaveFormatInfo output;
        int status;
        bool isSupported;
    } cases[] = {
        {Query<CZtaConvertBitDepth>, format(1), format(8), 0, true},
        {Query<CZtaConvertBitDepth>, format(1), format(9), 0, false},
        {Query<CZtaConvertBitDepth>, format(1), format(1), 0, false},
        {Query<CZtaConvertBitDepth>, unknown, format(8), kRejected, false},
        {Query<CZtaConvertDataType>, multiFormat, format(9), 0, true},
        {Query<CZtaConvertDataType>, multiFormat, format(8), 0, false},
        {Query<CZtaConvertDataType>, format(9), WaveFormat(3, 32, 16, 48000, 4), kRejected, false},
        {Query<CZtaConvertMonoToStereo>, format(1), format(2), 0, true},
        {Query<CZtaConvertMonoToStereo>, format(18), format(19), 0, true},
        {Query<CZtaConvertMonoToStereo>, format(8), format(9), 0, true},
        {Query<CZtaConvertMonoToStereo>, format(20), format(21), 0, true},
        {Query<CZtaConvertMonoToStereo>, format(2), format(1), 0, false},
        {Query<CZtaConvertMonoToStereo>, format(19), format(18), 0, false},
        {Query<CZtaConvertMonoToStereo>, format(9), format(8), 0, false},
        {Query<CZtaConvertMonoToStereo>, format(21), format(20), 0, false},
        {Query<CZtaConvertMonoToStereo>, unknown, format(2), kRejected, false},
        {Query<CZtaConvertStereoToMono>, format(2), format(1), 0, true},
        {Query<CZtaConvertStereoToMono>, format(19), format(18), 0, true},
        {Query<CZtaConvertStereoToMono>, format(9), format(8), 0, true},
        {Query<CZtaConvertStereoToMono>, format(21), format(20), 0, true},
        {Query<CZtaConvertStereoToMono>, format(1), format(2), 0, false},
        {Query<CZtaConvertStereoToMono>, format(18), format(19), 0, false},
        {Query<CZtaConvertStereoToMono>, format(8), format(9), 0, false},
        {Query<CZtaConvertStereoToMono>, format(20), format(21), 0, false},
        {Query<CZtaConvertStereoToMono>, format(2), unknown, kRejected, false},
    };
    for (const auto& expected : cases) {
        for (const bool before : {false, true}) {
            bool isSupported = before;
            EXPECT_EQ(expected.query(expected.input, expected.output, &isSupported), expected.status)
                << &expected - cases;
            EXPECT_EQ(isSupported, expected.isSupported) << &expected - cases;
        }
    }
}

} // namespace
} // namespace zta::test

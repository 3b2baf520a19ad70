// The named kernels of the four mux classes and the kernels for any count behind them.

#include "testing/mux_cases.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <numeric>
#include <random>

namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr int kInvalidParameter = static_cast<int>(0x89998044);
constexpr int kInvalidPointer = static_cast<int>(0x89998045);
constexpr std::size_t kZone = 64;
constexpr std::uint8_t kPoison = 0xA5;

Bytes RandomBytes(std::size_t count)
{
    static std::mt19937 random(27);
    Bytes bytes(count);
    std::generate(bytes.begin(), bytes.end(), [] { return static_cast<std::uint8_t>(random()); });
    return bytes;
}

std::vector<Bytes> RandomBuffers(std::size_t count, std::size_t bytes)
{
    std::vector<Bytes> buffers(count);
    std::generate(buffers.begin(), buffers.end(), [=] { return RandomBytes(bytes); });
    return buffers;
}

/// Memory that shows whether anything was written beside it.
struct Zoned {
    explicit Zoned(std::size_t bytes) : memory(bytes + 2 * kZone, kPoison) {}

    std::uint8_t* Data() { return memory.data() + kZone; }
    std::size_t Size() const { return memory.size() - 2 * kZone; }

    /// True if it begins with `expected` and all the rest is as it was.
    bool Holds(const Bytes& expected) const
    {
        const auto first = memory.begin() + kZone;
        const auto last = first + static_cast<std::ptrdiff_t>(expected.size());
        const auto IsPoison = [](std::uint8_t byte) { return byte == kPoison; };
        return expected.size() <= Size() && std::equal(expected.begin(), expected.end(), first) &&
               std::all_of(memory.begin(), first, IsPoison) && std::all_of(last, memory.end(), IsPoison);
    }

    Bytes memory;
};

std::vector<void*> Pointers(std::vector<Bytes>& buffers)
{
    std::vector<void*> pointers;
    for (Bytes& buffer : buffers) {
        pointers.push_back(buffer.data());
    }
    return pointers;
}

std::vector<void*> Pointers(std::vector<Zoned>& buffers)
{
    std::vector<void*> pointers;
    for (Zoned& buffer : buffers) {
        pointers.push_back(buffer.Data());
    }
    return pointers;
}

std::vector<void*> Advanced(std::vector<void*> pointers, std::size_t bytes)
{
    for (void*& pointer : pointers) {
        pointer = static_cast<std::uint8_t*>(pointer) + bytes;
    }
    return pointers;
}

std::vector<MuxCase> Assemblies(bool inBlocks)
{
    std::vector<MuxCase> rows;
    for (const auto* table : {&kMonoToMuxCases, &kStereoToMuxRows}) {
        std::copy_if(table->begin(), table->end(), std::back_inserter(rows),
                     [=](const MuxCase& row) { return (row.blockFrames != 0) == inBlocks; });
    }
    return rows;
}

std::vector<MuxCase> Splits(bool inBlocks)
{
    std::vector<MuxCase> rows;
    for (const auto* table : {&kMuxToMonoRows, &kMuxToStereoRows}) {
        std::copy_if(table->begin(), table->end(), std::back_inserter(rows),
                     [=](const MuxCase& row) { return (row.blockFrames != 0) == inBlocks; });
    }
    return rows;
}

unsigned long MostBuffers(const MuxCase& row)
{
    const int layout = row.assemble != nullptr ? row.input : row.output;
    return layout == 8 || layout == 20 || layout == 1 ? 64 : 32;
}

bool Is24In24(const MuxCase& row)
{
    return row.input >= 20;
}

bool IsMux16To16Mono(const MuxCase& row)
{
    return row.input == 12 && row.output == 8;
}

/// What a split gives, as buffers: exact, but for the one fault of 16 channels of mono 24-in-32.
std::vector<Bytes> Expected(const MuxCase& row, std::vector<Bytes> buffers, unsigned long frames)
{
    for (Bytes& buffer : buffers) {
        buffer.resize(frames * row.elementBytes);
    }
    if (IsMux16To16Mono(row) && frames % 4 == 3) {
        for (std::size_t c = 12; c < 16; ++c) {
            std::copy(buffers[c - 4].end() - 4, buffers[c - 4].end(), buffers[c].end() - 4);
        }
    }
    return buffers;
}

template <class Class>
void ExpectRows(const std::vector<MuxCase>& rows)
{
    struct Open : Class {
        using Class::m_psProcessingFormats;
    };
    Open kernels;
    ASSERT_EQ(rows.size(), 15u);
    ASSERT_EQ(kernels.m_psProcessingFormats->iFormatCount, 15);
    for (int i = 0; i < 15; ++i) {
        const SZtAProcessingFormatAndFunctionIndex& row = kernels.m_psProcessingFormats->psFormats[i];
        EXPECT_EQ(static_cast<int>(row.eInputFormat), rows[static_cast<std::size_t>(i)].input) << i;
        EXPECT_EQ(static_cast<int>(row.eOutputFormat), rows[static_cast<std::size_t>(i)].output) << i;
        EXPECT_EQ(row.iFunctionIndex, i);
    }
}

TEST(MuxKernels, HaveTheirTableEntriesInOrder)
{
    ExpectRows<CZtaConvertMonoToMux>(kMonoToMuxCases);
    ExpectRows<CZtaConvertStereoToMux>(kStereoToMuxRows);
    ExpectRows<CZtaConvertMuxToMono>(kMuxToMonoRows);
    ExpectRows<CZtaConvertMuxToStereo>(kMuxToStereoRows);
}

TEST(MuxKernels, InterleaveEveryLengthAndNoMore)
{
    for (const bool inBlocks : {true, false}) {
        for (const MuxCase& row : Assemblies(inBlocks)) {
            std::vector<Bytes> buffers = RandomBuffers(row.buffers, 300 * row.elementBytes);
            const std::vector<void*> pointers = Pointers(buffers);
            const std::vector<Bytes> before = buffers;
            const Bytes all = Muxed(buffers, row.elementBytes, 300);
            for (unsigned long frames = inBlocks ? 0 : 1; frames <= 300; ++frames) {
                Zoned mux(row.buffers * row.elementBytes * (frames + 1));
                std::vector<void*> sources = pointers;
                ASSERT_EQ(row.assemble(sources.data(), row.buffers, mux.Data(), frames), 0) << row.name;
                const auto end = all.begin() + static_cast<std::ptrdiff_t>(frames * row.buffers * row.elementBytes);
                ASSERT_TRUE(mux.Holds(Bytes(all.begin(), end))) << row.name << ", " << frames << " frames";
                ASSERT_EQ(sources, inBlocks ? pointers : Advanced(pointers, frames * row.elementBytes)) << row.name;
            }
            ASSERT_EQ(buffers, before) << row.name;
        }
    }
}

TEST(MuxKernels, DeinterleaveEveryLengthAndNoMore)
{
    for (const bool inBlocks : {true, false}) {
        for (const MuxCase& row : Splits(inBlocks)) {
            const std::vector<Bytes> buffers = RandomBuffers(row.buffers, 300 * row.elementBytes);
            Bytes mux = Muxed(buffers, row.elementBytes, 300);
            const Bytes before = mux;
            for (unsigned long frames = inBlocks ? 0 : 1; frames <= 300; ++frames) {
                std::vector<Zoned> outputs(row.buffers, Zoned((frames + 1) * row.elementBytes));
                const std::vector<void*> pointers = Pointers(outputs);
                std::vector<void*> destinations = pointers;
                ASSERT_EQ(row.split(mux.data(), destinations.data(), row.buffers, frames), 0) << row.name;
                const std::vector<Bytes> expected = Expected(row, buffers, frames);
                for (std::size_t i = 0; i < row.buffers; ++i) {
                    ASSERT_TRUE(outputs[i].Holds(expected[i])) << row.name << ", " << frames << " frames, output " << i;
                }
                ASSERT_EQ(destinations, inBlocks ? pointers : Advanced(pointers, frames * row.elementBytes))
                    << row.name;
            }
            ASSERT_EQ(mux, before) << row.name;
        }
    }
}

// ---- Kernels of one count of buffers ----

TEST(MuxFixedCountKernels, ValidateNothingWithoutFrames)
{
    for (const MuxCase& row : Assemblies(true)) {
        EXPECT_EQ(row.assemble(nullptr, 99, nullptr, 0), 0) << row.name;
    }
    for (const MuxCase& row : Splits(true)) {
        EXPECT_EQ(row.split(nullptr, nullptr, 99, 0), 0) << row.name;
    }
}

TEST(MuxFixedCountKernels, RejectOtherCountsBeforeEntries)
{
    for (const unsigned long frames : {1ul, 4ul, 9ul}) {
        for (const MuxCase& row : Assemblies(true)) {
            for (const unsigned long count : {0ul, row.buffers - 1, row.buffers + 1, 64ul}) {
                std::vector<void*> sources(64, nullptr);
                Zoned mux(4096);
                EXPECT_EQ(row.assemble(sources.data(), count, mux.Data(), frames), kInvalidParameter) << row.name;
                EXPECT_TRUE(mux.Holds({})) << row.name;
            }
        }
        for (const MuxCase& row : Splits(true)) {
            for (const unsigned long count : {0ul, row.buffers - 1, row.buffers + 1, 64ul}) {
                std::vector<void*> destinations(64, nullptr);
                Bytes mux(4096);
                EXPECT_EQ(row.split(mux.data(), destinations.data(), count, frames), kInvalidParameter) << row.name;
            }
        }
    }
}

TEST(MuxFixedCountKernels, RejectANullPlaneEachWithItsStatus)
{
    for (const MuxCase& row : Assemblies(true)) {
        const int status = std::string(row.name) == "Convert16MonoToMux16" ? kInvalidPointer : kInvalidParameter;
        std::vector<Bytes> buffers = RandomBuffers(row.buffers, 5 * row.elementBytes);
        Zoned mux(5 * row.buffers * row.elementBytes);
        for (std::size_t i = 0; i < row.buffers; ++i) {
            std::vector<void*> sources = Pointers(buffers);
            sources[i] = nullptr;
            EXPECT_EQ(row.assemble(sources.data(), row.buffers, mux.Data(), 5), status) << row.name << " " << i;
        }
        EXPECT_EQ(row.assemble(nullptr, row.buffers, mux.Data(), 5), status) << row.name;
        EXPECT_TRUE(mux.Holds({})) << row.name;
    }
    for (const MuxCase& row : Splits(true)) {
        Bytes mux = RandomBytes(5 * row.buffers * row.elementBytes);
        std::vector<Zoned> outputs(row.buffers, Zoned(5 * row.elementBytes));
        for (std::size_t i = 0; i < row.buffers; ++i) {
            std::vector<void*> destinations = Pointers(outputs);
            destinations[i] = nullptr;
            EXPECT_EQ(row.split(mux.data(), destinations.data(), row.buffers, 5), kInvalidPointer) << row.name;
        }
        EXPECT_EQ(row.split(mux.data(), nullptr, row.buffers, 5), kInvalidPointer) << row.name;
        for (const Zoned& output : outputs) {
            EXPECT_TRUE(output.Holds({})) << row.name;
        }
    }
}

struct Moved {
    unsigned long frames;
    unsigned long moved;
};

/// Where the count of blocks has no low 16 bits, the tail alone is moved.
std::vector<Moved> LongLengths(const MuxCase& row)
{
    if (row.blockFrames == 2) {
        return {{131071, 131071}, {131072, 0}, {131073, 1}, {131074, 131074}, {262144, 0}, {262145, 1}, {393216, 0}};
    }
    return {{262143, 262143}, {262144, 0},      {262145, 1}, {262146, 2},
            {262147, 3},      {262148, 262148}, {524288, 0}, {524289, 1}};
}

TEST(MuxFixedCountKernels, InterleaveTheTailAloneWhereTheCountOfBlocksHasNoLowBits)
{
    for (const MuxCase& row : Assemblies(true)) {
        const bool countsWhole = std::string(row.name) == "Convert16MonoToMux16";
        std::vector<Bytes> buffers = RandomBuffers(row.buffers, 524289 * row.elementBytes);
        std::vector<void*> sources = Pointers(buffers);
        for (const Moved& length : LongLengths(row)) {
            const unsigned long moved = countsWhole ? length.frames : length.moved;
            Zoned mux(length.frames * row.buffers * row.elementBytes);
            EXPECT_EQ(row.assemble(sources.data(), row.buffers, mux.Data(), length.frames), 0) << row.name;
            EXPECT_TRUE(mux.Holds(Muxed(buffers, row.elementBytes, moved))) << row.name << " " << length.frames;
        }
    }
}

TEST(MuxFixedCountKernels, DeinterleaveTheTailAloneWhereTheCountOfBlocksHasNoLowBits)
{
    for (const MuxCase& row : Splits(true)) {
        const std::vector<Bytes> buffers = RandomBuffers(row.buffers, 524289 * row.elementBytes);
        Bytes mux = Muxed(buffers, row.elementBytes, 524289);
        for (const Moved& length : LongLengths(row)) {
            std::vector<Zoned> outputs(row.buffers, Zoned(length.frames * row.elementBytes));
            std::vector<void*> destinations = Pointers(outputs);
            EXPECT_EQ(row.split(mux.data(), destinations.data(), row.buffers, length.frames), 0) << row.name;
            const std::vector<Bytes> expected = Expected(row, buffers, length.moved);
            for (std::size_t i = 0; i < row.buffers; ++i) {
                EXPECT_TRUE(outputs[i].Holds(expected[i])) << row.name << " " << length.frames << " output " << i;
            }
        }
    }
}

TEST(MuxFixedCountKernels, RepeatChannels8To11InTheThirdFrameOfATailOf16Channels)
{
    CZtaConvertMuxToMono kernels;
    for (const std::uint32_t frames : {1u, 2u, 3u, 4u, 5u, 6u, 7u, 8u, 9u, 10u, 11u, 15u, 19u}) {
        std::vector<std::uint32_t> mux(16 * frames);
        std::iota(mux.begin(), mux.end(), 1u); // sample s of channel c is 16 s + c + 1
        std::vector<std::vector<std::uint32_t>> outputs(16, std::vector<std::uint32_t>(frames));
        std::vector<void*> destinations;
        for (auto& output : outputs) {
            destinations.push_back(output.data());
        }
        EXPECT_EQ(kernels.ConvertMux16To16Mono(mux.data(), destinations.data(), 16, frames), 0);
        const bool faulty = frames == 3 || frames == 7 || frames == 11 || frames == 15 || frames == 19;
        for (std::uint32_t c = 0; c < 16; ++c) {
            for (std::uint32_t s = 0; s < frames; ++s) {
                const bool here = faulty && s == frames - 1 && c >= 12;
                EXPECT_EQ(outputs[c][s], 16 * s + (here ? c - 4 : c) + 1) << frames << " " << c << " " << s;
            }
        }
    }
}

// ---- Kernels of any count of buffers ----

TEST(MuxAnyCountKernels, CheckTheCountsThenTheMuxThenThePlanes)
{
    for (const MuxCase& row : Assemblies(false)) {
        std::vector<Bytes> buffers = RandomBuffers(65, 4 * row.elementBytes);
        std::vector<void*> sources = Pointers(buffers);
        const std::vector<void*> before = sources;
        Zoned mux(65 * 4 * row.elementBytes);
        for (const unsigned long count : {0ul, 1ul, MostBuffers(row) + 1}) {
            EXPECT_EQ(row.assemble(sources.data(), count, mux.Data(), 4), kInvalidParameter) << row.name;
            EXPECT_EQ(row.assemble(sources.data(), count, nullptr, 4), kInvalidParameter) << row.name;
        }
        EXPECT_EQ(row.assemble(sources.data(), row.buffers, mux.Data(), 0), kInvalidParameter) << row.name;
        EXPECT_EQ(row.assemble(sources.data(), row.buffers, nullptr, 0), kInvalidParameter) << row.name;
        EXPECT_EQ(row.assemble(sources.data(), row.buffers, nullptr, 4), kInvalidPointer) << row.name;
        EXPECT_EQ(row.assemble(nullptr, row.buffers, nullptr, 4), kInvalidPointer) << row.name;
        EXPECT_EQ(sources, before) << row.name;
        EXPECT_TRUE(mux.Holds({})) << row.name;
        if (Is24In24(row)) {
            for (std::size_t i = 0; i < row.buffers; ++i) {
                sources = before;
                sources[i] = nullptr;
                EXPECT_EQ(row.assemble(sources.data(), row.buffers, mux.Data(), 4), kInvalidParameter) << row.name;
                EXPECT_EQ(row.assemble(sources.data(), row.buffers, nullptr, 4), kInvalidPointer) << row.name;
            }
            EXPECT_TRUE(mux.Holds({})) << row.name;
        }
    }
    for (const MuxCase& row : Splits(false)) {
        Bytes mux = RandomBytes(65 * 4 * row.elementBytes);
        std::vector<Zoned> outputs(65, Zoned(4 * row.elementBytes));
        const std::vector<void*> before = Pointers(outputs);
        std::vector<void*> destinations = before;
        for (const unsigned long count : {0ul, 1ul, MostBuffers(row) + 1}) {
            EXPECT_EQ(row.split(mux.data(), destinations.data(), count, 4), kInvalidParameter) << row.name;
            EXPECT_EQ(row.split(mux.data(), nullptr, count, 4), kInvalidParameter) << row.name;
        }
        EXPECT_EQ(row.split(mux.data(), destinations.data(), row.buffers, 0), kInvalidParameter) << row.name;
        EXPECT_EQ(row.split(mux.data(), nullptr, row.buffers, 0), kInvalidParameter) << row.name;
        EXPECT_EQ(row.split(mux.data(), nullptr, row.buffers, 4), kInvalidPointer) << row.name;
        EXPECT_EQ(row.split(nullptr, nullptr, row.buffers, 4), kInvalidPointer) << row.name;
        for (std::size_t i = 0; i < row.buffers; ++i) {
            destinations = before;
            destinations[i] = nullptr;
            EXPECT_EQ(row.split(mux.data(), destinations.data(), row.buffers, 4), kInvalidPointer) << row.name;
            EXPECT_EQ(row.split(nullptr, destinations.data(), row.buffers, 4), kInvalidPointer) << row.name;
        }
        for (const Zoned& output : outputs) {
            EXPECT_TRUE(output.Holds({})) << row.name;
        }
    }
}

TEST(MuxAnyCountKernels, AcceptAnyCountUnderAnyName)
{
    for (const MuxCase& row : Assemblies(false)) {
        std::vector<Bytes> buffers = RandomBuffers(MostBuffers(row), 21 * row.elementBytes);
        for (unsigned long count = 2; count <= MostBuffers(row); ++count) {
            std::vector<Bytes> some(buffers.begin(), buffers.begin() + static_cast<std::ptrdiff_t>(count));
            std::vector<void*> sources = Pointers(some);
            Zoned mux(count * 21 * row.elementBytes);
            ASSERT_EQ(row.assemble(sources.data(), count, mux.Data(), 21), 0) << row.name << " " << count;
            ASSERT_TRUE(mux.Holds(Muxed(some, row.elementBytes, 21))) << row.name << " " << count;
        }
    }
    for (const MuxCase& row : Splits(false)) {
        const std::vector<Bytes> buffers = RandomBuffers(MostBuffers(row), 21 * row.elementBytes);
        for (unsigned long count = 2; count <= MostBuffers(row); ++count) {
            const std::vector<Bytes> some(buffers.begin(), buffers.begin() + static_cast<std::ptrdiff_t>(count));
            Bytes mux = Muxed(some, row.elementBytes, 21);
            std::vector<Zoned> outputs(count, Zoned(21 * row.elementBytes));
            std::vector<void*> destinations = Pointers(outputs);
            ASSERT_EQ(row.split(mux.data(), destinations.data(), count, 21), 0) << row.name << " " << count;
            for (std::size_t i = 0; i < count; ++i) {
                ASSERT_TRUE(outputs[i].Holds(some[i])) << row.name << " " << count;
            }
        }
    }
}

TEST(MuxAnyCountKernels, ReadANullArrayAsSilenceExceptIn24In24)
{
    for (const MuxCase& row : Assemblies(false)) {
        const std::size_t bytes = row.buffers * 7 * row.elementBytes;
        Zoned mux(bytes + 16);
        if (Is24In24(row)) {
            EXPECT_EQ(row.assemble(nullptr, row.buffers, mux.Data(), 7), kInvalidParameter) << row.name;
            EXPECT_TRUE(mux.Holds({})) << row.name;
        } else {
            EXPECT_EQ(row.assemble(nullptr, row.buffers, mux.Data(), 7), 0) << row.name;
            EXPECT_TRUE(mux.Holds(Bytes(bytes))) << row.name;
        }
    }
}

TEST(MuxAnyCountKernels, ReadANullMuxAsSilence)
{
    for (const MuxCase& row : Splits(false)) {
        std::vector<Zoned> outputs(row.buffers, Zoned(8 * row.elementBytes));
        std::vector<void*> destinations = Pointers(outputs);
        EXPECT_EQ(row.split(nullptr, destinations.data(), row.buffers, 7), 0) << row.name;
        for (const Zoned& output : outputs) {
            EXPECT_TRUE(output.Holds(Bytes(7 * row.elementBytes))) << row.name;
        }
        EXPECT_EQ(destinations, Pointers(outputs)) << row.name;
    }
}

/// A counted body, by its own name.
struct Body {
    const char* name;
    unsigned long mostBuffers;
    unsigned long elementBytes;
    MuxCase::CallInterleave assemble;
    MuxCase::Split split;
};

#define ZTA_BODY(type, function, most, bytes)                                                                          \
    {                                                                                                                  \
#function, most, bytes,                                                                                        \
            [](void** s, unsigned long n, void* m, unsigned long f) { return type().function(s, n, m, f); }, nullptr   \
    }
#define ZTA_SPLIT_BODY(type, function, most, bytes)                                                                    \
    {                                                                                                                  \
#function, most, bytes, nullptr,                                                                               \
            [](void* m, void** d, unsigned long n, unsigned long f) { return type().function(m, d, n, f); }            \
    }

const Body kBodies[] = {
    ZTA_BODY(CZtaConvertMonoToMux, _ConvertNMonoTo1Mux, 64, 4),
    ZTA_BODY(CZtaConvertMonoToMux, _ConvertNMonoTo1MuxFor24in24Buffer, 64, 3),
    ZTA_BODY(CZtaConvertMonoToMux, _ConvertNMonoTo1MuxFor16in16Buffer, 64, 2),
    ZTA_BODY(CZtaConvertStereoToMux, _ConvertNStereoTo1Mux, 32, 8),
    ZTA_BODY(CZtaConvertStereoToMux, _ConvertNStereoTo1MuxFor24in24Buffer, 32, 6),
    ZTA_BODY(CZtaConvertStereoToMux, _ConvertNStereoTo1MuxFor16in16Buffer, 32, 4),
    ZTA_SPLIT_BODY(CZtaConvertMuxToMono, _Convert1MuxToNMonoFor24in32Buffer, 64, 4),
    ZTA_SPLIT_BODY(CZtaConvertMuxToMono, _Convert1MuxToNMonoFor24in24Buffer, 64, 3),
    ZTA_SPLIT_BODY(CZtaConvertMuxToMono, _Convert1MuxToNMonoFor16in16Buffer, 64, 2),
    ZTA_SPLIT_BODY(CZtaConvertMuxToStereo, _Convert1MuxToNStereoFor24in32Buffer, 32, 8),
    ZTA_SPLIT_BODY(CZtaConvertMuxToStereo, _Convert1MuxToNStereoFor24in24Buffer, 32, 6),
    ZTA_SPLIT_BODY(CZtaConvertMuxToStereo, _Convert1MuxToNStereoFor16in16Buffer, 32, 4),
};
#undef ZTA_BODY
#undef ZTA_SPLIT_BODY

TEST(MuxAnyCountKernels, MoveTheirElementsAndAdvanceThePointers)
{
    for (const Body& body : kBodies) {
        for (const unsigned long count : {2ul, 3ul, body.mostBuffers}) {
            std::vector<Bytes> buffers = RandomBuffers(count, 45 * body.elementBytes);
            Bytes muxed = Muxed(buffers, body.elementBytes, 45);
            if (body.assemble != nullptr) {
                Zoned mux(muxed.size());
                std::vector<void*> sources = Pointers(buffers);
                EXPECT_EQ(body.assemble(sources.data(), count, mux.Data(), 45), 0) << body.name;
                EXPECT_TRUE(mux.Holds(muxed)) << body.name;
                EXPECT_EQ(sources, Advanced(Pointers(buffers), 45 * body.elementBytes)) << body.name;
                EXPECT_EQ(body.assemble(sources.data(), body.mostBuffers + 1, mux.Data(), 45), kInvalidParameter);
            } else {
                std::vector<Zoned> outputs(count, Zoned(45 * body.elementBytes));
                std::vector<void*> destinations = Pointers(outputs);
                EXPECT_EQ(body.split(muxed.data(), destinations.data(), count, 45), 0) << body.name;
                EXPECT_EQ(destinations, Advanced(Pointers(outputs), 45 * body.elementBytes)) << body.name;
                for (std::size_t i = 0; i < count; ++i) {
                    EXPECT_TRUE(outputs[i].Holds(buffers[i])) << body.name;
                }
                EXPECT_EQ(body.split(muxed.data(), destinations.data(), body.mostBuffers + 1, 45), kInvalidParameter);
            }
        }
    }
}

} // namespace

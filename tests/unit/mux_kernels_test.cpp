// The named kernels of the four mux classes and the kernels for any count behind them.

#include "tests/unit/mux_cases.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>

namespace zta::test {
namespace {

constexpr std::size_t kZone = 64;

/// Memory that shows writes outside the expected bytes.
struct Zoned {
    explicit Zoned(std::size_t bytes) : memory(bytes + 2 * kZone, kPoison) {}

    std::uint8_t* data() { return memory.data() + kZone; }

    /// Returns true if it begins with `expected` and all other bytes are unchanged.
    bool Holds(const Bytes& expected) const
    {
        const auto first = memory.begin() + kZone;
        const auto last = first + static_cast<std::ptrdiff_t>(expected.size());
        const auto IsPoison = [](std::uint8_t byte) { return byte == kPoison; };
        return expected.size() <= memory.size() - 2 * kZone && std::equal(expected.begin(), expected.end(), first) &&
               std::all_of(memory.begin(), first, IsPoison) && std::all_of(last, memory.end(), IsPoison);
    }

    Bytes memory;
};

template <class Buffer>
std::vector<void*> Pointers(std::vector<Buffer>& buffers)
{
    std::vector<void*> pointers;
    for (Buffer& buffer : buffers) {
        pointers.push_back(buffer.data());
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

/// The kernels of one count of buffers, or those of any count.
std::vector<MuxCase> Kernels(bool haveFixedCount)
{
    std::vector<MuxCase> kernels;
    for (const auto* cases : {&kMonoToMuxCases, &kStereoToMuxCases, &kMuxToMonoCases, &kMuxToStereoCases}) {
        std::copy_if(cases->begin(), cases->end(), std::back_inserter(kernels),
                     [=](const MuxCase& kernel) { return kernel.HasFixedCount() == haveFixedCount; });
    }
    return kernels;
}

unsigned long MaxBuffers(const MuxCase& kernel)
{
    const int property = kernel.PlaneProperty();
    return property == 8 || property == 20 || property == 1 ? 64 : 32;
}

bool Is24In24(const MuxCase& kernel)
{
    return kernel.PlaneProperty() >= 20;
}

bool IsConvert16MonoToMux16(const MuxCase& kernel)
{
    return std::string(kernel.name) == "Convert16MonoToMux16";
}

/// The input of a kernel, and calls of the kernel with new outputs.
class Transfer {
public:
    /// Random samples in the planes or, in the same order, in the mux.
    Transfer(const MuxCase& kernel, std::size_t count, unsigned long maxFrames) : kernel_(kernel), planes_(count)
    {
        std::generate(planes_.begin(), planes_.end(), [&] { return RandomBytes(maxFrames * kernel.elementBytes); });
        mux_ = Interleaved(planes_, kernel.elementBytes, maxFrames);
        inputPlanes_ = planes_;
        inputMux_ = mux_;
    }

    /// Creates outputs for `frames` frames.
    void ClearOutputs(unsigned long frames)
    {
        outputMux_ = Zoned(kernel_.interleaves ? planes_.size() * frames * kernel_.elementBytes : 0);
        outputPlanes_.assign(planes_.size(), Zoned(kernel_.interleaves ? 0 : frames * kernel_.elementBytes));
        pointers = PlanePointers();
    }

    std::vector<void*> PlanePointers()
    {
        return kernel_.interleaves ? Pointers(inputPlanes_) : Pointers(outputPlanes_);
    }
    void* Mux() { return kernel_.interleaves ? outputMux_.data() : inputMux_.data(); }

    int Run(unsigned long frames) { return Run(planes_.size(), frames); }
    int Run(unsigned long count, unsigned long frames) { return kernel_.run(pointers.data(), count, Mux(), frames); }

    /// Returns true if the outputs hold `frames` frames of the input and nothing else.
    bool Holds(unsigned long frames) const
    {
        const std::size_t bytes = frames * kernel_.elementBytes;
        if (kernel_.interleaves) {
            return outputMux_.Holds(First(mux_, bytes * planes_.size()));
        }
        // Required behavior: see RepeatChannels8To11InTheThirdFrameOfATailOf16Channels.
        const bool repeatsChannels = kernel_.input == 12 && kernel_.output == 8 && frames % 4 == 3;
        for (std::size_t i = 0; i < planes_.size(); ++i) {
            Bytes expected = First(planes_[i], bytes);
            if (repeatsChannels && i >= 12) {
                std::copy_n(planes_[i - 4].begin() + static_cast<std::ptrdiff_t>(bytes - 4), 4, expected.end() - 4);
            }
            if (!outputPlanes_[i].Holds(expected)) {
                return false;
            }
        }
        return true;
    }

    /// Returns true if the outputs hold `frames` frames of silence.
    bool HoldsSilence(unsigned long frames) const
    {
        const Bytes silence(frames * kernel_.elementBytes);
        return kernel_.interleaves ? outputMux_.Holds(Bytes(silence.size() * planes_.size()))
                                   : std::all_of(outputPlanes_.begin(), outputPlanes_.end(),
                                                 [&](const Zoned& output) { return output.Holds(silence); });
    }

    bool HasUnchangedInput() const { return inputPlanes_ == planes_ && inputMux_ == mux_; }

    std::vector<void*> pointers; ///< the array that the kernel receives

private:
    static Bytes First(const Bytes& bytes, std::size_t count)
    {
        return {bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(count)};
    }

    const MuxCase& kernel_;
    std::vector<Bytes> planes_;
    Bytes mux_;
    std::vector<Bytes> inputPlanes_;
    Bytes inputMux_;
    std::vector<Zoned> outputPlanes_;
    Zoned outputMux_{0};
};

TEST(MuxKernels, HaveTheirTableEntriesInOrder)
{
    for (const auto* cases : {&kMonoToMuxCases, &kStereoToMuxCases, &kMuxToMonoCases, &kMuxToStereoCases}) {
        EXPECT_EQ(cases->size(), 15u);
    }
    ExpectTableEntries<CZtaConvertMonoToMux>(kMonoToMuxCases, &MuxCase::input, &MuxCase::output);
    ExpectTableEntries<CZtaConvertStereoToMux>(kStereoToMuxCases, &MuxCase::input, &MuxCase::output);
    ExpectTableEntries<CZtaConvertMuxToMono>(kMuxToMonoCases, &MuxCase::input, &MuxCase::output);
    ExpectTableEntries<CZtaConvertMuxToStereo>(kMuxToStereoCases, &MuxCase::input, &MuxCase::output);
}

TEST(MuxKernels, MoveEveryLengthAndNoMore)
{
    for (const bool haveFixedCount : {true, false}) {
        for (const MuxCase& kernel : Kernels(haveFixedCount)) {
            Transfer transfer(kernel, kernel.buffers, 300);
            for (unsigned long frames = haveFixedCount ? 0 : 1; frames <= 300; ++frames) {
                transfer.ClearOutputs(frames + 1);
                ASSERT_EQ(transfer.Run(frames), 0) << kernel.name;
                ASSERT_TRUE(transfer.Holds(frames)) << kernel.name << ", " << frames << " frames";
                // Kernels of any count advance the pointers of the array.
                ASSERT_EQ(transfer.pointers,
                          Advanced(transfer.PlanePointers(), haveFixedCount ? 0 : frames * kernel.elementBytes))
                    << kernel.name;
            }
            ASSERT_TRUE(transfer.HasUnchangedInput()) << kernel.name;
        }
    }
}

// ---- Kernels of one count of buffers ----

TEST(MuxFixedCountKernels, ValidateNothingWithoutFrames)
{
    for (const MuxCase& kernel : Kernels(true)) {
        EXPECT_EQ(kernel.run(nullptr, 99, nullptr, 0), 0) << kernel.name;
    }
}

TEST(MuxFixedCountKernels, RejectOtherCountsBeforeNullPlanes)
{
    for (const MuxCase& kernel : Kernels(true)) {
        for (const unsigned long frames : {1ul, 4ul, 9ul}) {
            for (const unsigned long count : {0ul, kernel.buffers - 1, kernel.buffers + 1, 64ul}) {
                std::vector<void*> planes(64, nullptr);
                Zoned mux(4096);
                EXPECT_EQ(kernel.run(planes.data(), count, mux.data(), frames), ZT_E_INVALID_PARAMETER) << kernel.name;
                EXPECT_TRUE(mux.Holds({})) << kernel.name;
            }
        }
    }
}

TEST(MuxFixedCountKernels, RejectANullPlaneEachWithItsStatus)
{
    for (const MuxCase& kernel : Kernels(true)) {
        const bool isParameter = kernel.interleaves && !IsConvert16MonoToMux16(kernel);
        const int status = isParameter ? ZT_E_INVALID_PARAMETER : ZT_E_INVALID_POINTER;
        Transfer transfer(kernel, kernel.buffers, 5);
        transfer.ClearOutputs(5);
        for (std::size_t i = 0; i < kernel.buffers; ++i) {
            transfer.pointers = transfer.PlanePointers();
            transfer.pointers[i] = nullptr;
            EXPECT_EQ(transfer.Run(5), status) << kernel.name << " " << i;
        }
        EXPECT_EQ(kernel.run(nullptr, kernel.buffers, transfer.Mux(), 5), status) << kernel.name;
        EXPECT_TRUE(transfer.Holds(0)) << kernel.name;
    }
}

TEST(MuxFixedCountKernels, MoveOnlyTheTailIfTheLow16BitsOfTheBlockCountAreZero)
{
    struct Length {
        unsigned long frames;
        unsigned long moved;
    };
    const std::vector<Length> blocksOfTwo = {{131071, 131071}, {131072, 0}, {131073, 1}, {131074, 131074},
                                             {262144, 0},      {262145, 1}, {393216, 0}};
    const std::vector<Length> blocksOfFour = {{262143, 262143}, {262144, 0},      {262145, 1}, {262146, 2},
                                              {262147, 3},      {262148, 262148}, {524288, 0}, {524289, 1}};
    for (const MuxCase& kernel : Kernels(true)) {
        Transfer transfer(kernel, kernel.buffers, 524289);
        for (const Length& length : kernel.blockFrames == 2 ? blocksOfTwo : blocksOfFour) {
            transfer.ClearOutputs(length.frames);
            EXPECT_EQ(transfer.Run(length.frames), 0) << kernel.name;
            EXPECT_TRUE(transfer.Holds(IsConvert16MonoToMux16(kernel) ? length.frames : length.moved))
                << kernel.name << " " << length.frames;
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
        EXPECT_EQ(kernels.ConvertMux16To16Mono(mux.data(), Pointers(outputs).data(), 16, frames), 0);
        const bool repeats = frames == 3 || frames == 7 || frames == 11 || frames == 15 || frames == 19;
        for (std::uint32_t c = 0; c < 16; ++c) {
            for (std::uint32_t s = 0; s < frames; ++s) {
                const bool isRepeated = repeats && s == frames - 1 && c >= 12;
                EXPECT_EQ(outputs[c][s], 16 * s + (isRepeated ? c - 4 : c) + 1) << frames << " " << c << " " << s;
            }
        }
    }
}

// ---- Kernels of any count of buffers ----

TEST(MuxAnyCountKernels, ValidateTheCountsThenTheMuxThenThePlanes)
{
    for (const MuxCase& kernel : Kernels(false)) {
        Transfer transfer(kernel, 65, 4);
        transfer.ClearOutputs(4);
        const unsigned long buffers = kernel.buffers;
        for (const unsigned long count : {0ul, 1ul, MaxBuffers(kernel) + 1}) {
            EXPECT_EQ(kernel.run(transfer.pointers.data(), count, transfer.Mux(), 4), ZT_E_INVALID_PARAMETER)
                << kernel.name;
            EXPECT_EQ(kernel.run(transfer.pointers.data(), count, nullptr, 4), ZT_E_INVALID_PARAMETER) << kernel.name;
            EXPECT_EQ(kernel.run(nullptr, count, transfer.Mux(), 4), ZT_E_INVALID_PARAMETER) << kernel.name;
        }
        EXPECT_EQ(kernel.run(transfer.pointers.data(), buffers, transfer.Mux(), 0), ZT_E_INVALID_PARAMETER)
            << kernel.name;
        EXPECT_EQ(kernel.run(transfer.pointers.data(), buffers, nullptr, 0), ZT_E_INVALID_PARAMETER) << kernel.name;
        EXPECT_EQ(kernel.run(nullptr, buffers, transfer.Mux(), 0), ZT_E_INVALID_PARAMETER) << kernel.name;
        EXPECT_EQ(kernel.run(nullptr, buffers, nullptr, 4), ZT_E_INVALID_POINTER) << kernel.name;
        if (kernel.interleaves) {
            EXPECT_EQ(kernel.run(transfer.pointers.data(), buffers, nullptr, 4), ZT_E_INVALID_POINTER) << kernel.name;
        } else {
            EXPECT_EQ(kernel.run(nullptr, buffers, transfer.Mux(), 4), ZT_E_INVALID_POINTER) << kernel.name;
        }
        EXPECT_EQ(transfer.pointers, transfer.PlanePointers()) << kernel.name;
        for (std::size_t i = 0; i < buffers && (!kernel.interleaves || Is24In24(kernel)); ++i) {
            transfer.pointers = transfer.PlanePointers();
            transfer.pointers[i] = nullptr;
            EXPECT_EQ(transfer.Run(buffers, 4), kernel.interleaves ? ZT_E_INVALID_PARAMETER : ZT_E_INVALID_POINTER)
                << kernel.name;
            EXPECT_EQ(kernel.run(transfer.pointers.data(), buffers, nullptr, 4), ZT_E_INVALID_POINTER) << kernel.name;
        }
        EXPECT_TRUE(transfer.Holds(0)) << kernel.name;
    }
}

TEST(MuxAnyCountKernels, AcceptAnyCountUnderAnyName)
{
    for (const MuxCase& kernel : Kernels(false)) {
        for (unsigned long count = 2; count <= MaxBuffers(kernel); ++count) {
            Transfer transfer(kernel, count, 21);
            transfer.ClearOutputs(21);
            ASSERT_EQ(transfer.Run(21), 0) << kernel.name << " " << count;
            ASSERT_TRUE(transfer.Holds(21)) << kernel.name << " " << count;
        }
    }
}

TEST(MuxAnyCountKernels, ReadANullInputAsSilenceExceptPlanesOf24In24)
{
    for (const MuxCase& kernel : Kernels(false)) {
        Transfer transfer(kernel, kernel.buffers, 8);
        transfer.ClearOutputs(8);
        const bool isRejected = kernel.interleaves && Is24In24(kernel);
        const int status = kernel.interleaves ? kernel.run(nullptr, kernel.buffers, transfer.Mux(), 7)
                                              : kernel.run(transfer.pointers.data(), kernel.buffers, nullptr, 7);
        EXPECT_EQ(status, isRejected ? ZT_E_INVALID_PARAMETER : 0) << kernel.name;
        EXPECT_TRUE(transfer.HoldsSilence(isRejected ? 0 : 7)) << kernel.name;
        EXPECT_EQ(transfer.pointers, transfer.PlanePointers()) << kernel.name;
    }
}

TEST(MuxAnyCountKernels, MoveTheirElementsAndAdvanceThePointers)
{
    for (const MuxCase& kernel : kAnyCountCases) {
        for (const unsigned long count : {2ul, 3ul, kernel.buffers}) {
            Transfer transfer(kernel, count, 45);
            transfer.ClearOutputs(45);
            EXPECT_EQ(transfer.Run(45), 0) << kernel.name;
            EXPECT_TRUE(transfer.Holds(45)) << kernel.name;
            EXPECT_EQ(transfer.pointers, Advanced(transfer.PlanePointers(), 45 * kernel.elementBytes)) << kernel.name;
            EXPECT_EQ(transfer.Run(kernel.buffers + 1, 45), ZT_E_INVALID_PARAMETER) << kernel.name;
        }
    }
}

} // namespace
} // namespace zta::test

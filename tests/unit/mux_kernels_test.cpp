// The named kernels of the four mux classes and the kernels for any count behind them.

#include "tests/unit/mux_cases.h"

#include <gtest/gtest.h>

#include <algorithm>

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
        // Required behavior: the third frame of a tail of 16 channels repeats channels 8 to 11 in channels 12 to 15.
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
    for (const MuxCase& kernel : Kernels(true)) {
        const unsigned long block = kernel.blockFrames;
        const unsigned long wrap = block << 16;
        Transfer transfer(kernel, kernel.buffers, 3 * wrap);
        for (const unsigned long frames :
             {wrap - 1, wrap, wrap + 1, wrap + 2, wrap + 3, wrap + block, 2 * wrap, 2 * wrap + 1, 3 * wrap}) {
            const bool movesAll = IsConvert16MonoToMux16(kernel) || frames / block % 65536 != 0;
            transfer.ClearOutputs(frames);
            EXPECT_EQ(transfer.Run(frames), 0) << kernel.name;
            EXPECT_TRUE(transfer.Holds(movesAll ? frames : frames % block)) << kernel.name << " " << frames;
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

TEST(MuxAnyCountKernels, AcceptAnyCountUnderAnyNameAndAdvanceThePointers)
{
    std::vector<MuxCase> kernels = Kernels(false);
    kernels.insert(kernels.end(), kAnyCountCases.begin(), kAnyCountCases.end());
    for (const MuxCase& kernel : kernels) {
        for (unsigned long count = 2; count <= MaxBuffers(kernel); ++count) {
            SCOPED_TRACE(testing::Message() << kernel.name << " " << count);
            Transfer transfer(kernel, count, 45);
            transfer.ClearOutputs(45);
            ASSERT_EQ(transfer.Run(45), 0);
            ASSERT_TRUE(transfer.Holds(45));
            ASSERT_EQ(transfer.pointers, Advanced(transfer.PlanePointers(), 45 * kernel.elementBytes));
            ASSERT_EQ(transfer.Run(MaxBuffers(kernel) + 1, 45), ZT_E_INVALID_PARAMETER);
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

} // namespace
} // namespace zta::test

// The signal functions with any sizes, rates, lengths, null pointers and feature masks, in every variant that this CPU
// supports: status codes, and samples compared with testing/models/resampler_model.h. Memory has the exact size that
// each function receives, so AddressSanitizer detects every overrun.

#include "fuzz/fuzz_input.h"
#include "signal/variant_selection.h"
#include "testing/filter_spec.h"
#include "testing/noise.h"

#include <cmath>
#include <limits>
#include <memory>
#include <numeric>

namespace {

using zta::fuzz::FuzzInput;
using zta::test::Noise;
using zta::test::SignalVariant;

constexpr int kLargestBlock = 0x7FFFFFFE;

struct Free {
    void operator()(void* memory) const { std::free(memory); }
};
using Block = std::unique_ptr<IppsResamplingPolyphaseFixed_16s, Free>;

Block MakeBlock(int size)
{
    void* memory = nullptr;
    ZTA_FUZZ_CHECK(posix_memalign(&memory, 16, static_cast<std::size_t>(size)) == 0);
    return Block(static_cast<IppsResamplingPolyphaseFixed_16s*>(memory));
}

std::vector<std::int16_t> MakeSamples(FuzzInput& choices, std::size_t count)
{
    Noise noise(choices.Any<std::uint16_t>());
    const bool fullScale = choices.ConsumeBool();
    std::vector<std::int16_t> samples(count);
    for (std::int16_t& sample : samples) {
        const auto value = static_cast<std::int16_t>(noise.Next());
        sample = fullScale ? (value < 0 ? std::int16_t{-32768} : std::int16_t{32767}) : value;
    }
    return samples;
}

/// A count: mostly small, sometimes any value.
int MakeCount(FuzzInput& choices, std::size_t usual)
{
    return choices.ConsumeWithOdds(16) ? choices.Any<int>() : static_cast<int>(choices.ConsumeIndex(usual));
}

void CheckSetAndMove(FuzzInput& choices, const SignalVariant& build)
{
    const int len = static_cast<int>(choices.ConsumeIndex(600)) - 2;
    const auto capacity = static_cast<std::size_t>(std::max(len, 0));
    const auto value = choices.Any<std::int16_t>();
    const bool null = choices.ConsumeWithOdds(16);
    std::vector<std::int16_t> memory = MakeSamples(choices, capacity);
    std::vector<std::int16_t> expected = memory;
    const IppStatus status = null ? ippStsNullPtrErr : len < 1 ? ippStsSizeErr : ippStsNoErr;
    if (status == ippStsNoErr) {
        std::fill(expected.begin(), expected.end(), value);
    }
    std::int16_t none = 0;
    std::int16_t* const begin = memory.empty() ? &none : memory.data();
    ZTA_FUZZ_CHECK(build.ippsSet_16s(value, null ? nullptr : begin, len) == status);
    ZTA_FUZZ_CHECK(memory == expected);

    // Source and destination are in one memory block and may overlap.
    const std::size_t distance = choices.ConsumeIndex(capacity + 1);
    const bool forwards = choices.ConsumeBool();
    memory = MakeSamples(choices, capacity + distance);
    expected = memory;
    const std::size_t from = forwards ? 0 : distance;
    const std::size_t to = forwards ? distance : 0;
    if (status == ippStsNoErr) {
        std::memmove(expected.data() + to, expected.data() + from, capacity * sizeof(std::int16_t));
    }
    std::int16_t* const start = memory.empty() ? &none : memory.data();
    const bool nullSource = null && choices.ConsumeBool();
    ZTA_FUZZ_CHECK(build.ippsMove_16s(nullSource ? nullptr : start + from, null && !nullSource ? nullptr : start + to,
                                      len) == status);
    ZTA_FUZZ_CHECK(memory == expected);
}

/// Returns the size of a filter, or -1 above the limit. The library forms the number of taps in 32 bits: if it wraps,
/// the size is meaningless.
std::int64_t SizeOf(const models::FilterPlan& plan)
{
    const double tapCount = static_cast<double>(plan.outRate / std::gcd(plan.inRate, plan.outRate)) * plan.length;
    if (tapCount > 0x1p40) {
        return -1; // the model has 64 bits
    }
    const models::BlockLayout layout(plan);
    if (layout.coefficients > 0x7FFFFFFF) {
        return -1;
    }
    const std::int64_t taps = layout.outRate * layout.stride;
    const std::int64_t size = layout.size + layout.tapSize * (static_cast<std::int32_t>(taps) - taps);
    return size > kLargestBlock ? -1 : size;
}

void CheckSize(FuzzInput& choices, const SignalVariant& build)
{
    models::FilterPlan plan{MakeCount(choices, 100000), MakeCount(choices, 100000), MakeCount(choices, 300),
                            choices.ConsumeBool() ? models::TapKind::Floats : models::TapKind::Int16};
    int size = -7;
    int length = -7;
    int height = -7;
    const std::size_t null = choices.ConsumeIndex(16);
    const IppStatus status = build.ippsResamplePolyphaseFixedGetSize_16s(
        plan.inRate, plan.outRate, plan.length, null == 1 ? nullptr : &size, null == 2 ? nullptr : &length,
        null == 3 ? nullptr : &height, zta::test::HintOf(plan.kind));
    if (null >= 1 && null <= 3) {
        ZTA_FUZZ_CHECK(status == ippStsNullPtrErr);
    } else if (plan.inRate < 1 || plan.outRate < 1 || plan.length < 1) {
        ZTA_FUZZ_CHECK(status == ippStsSizeErr);
    } else if (const std::int64_t expected = SizeOf(plan); expected < 0) {
        ZTA_FUZZ_CHECK(status == ippStsBadArgErr);
    } else {
        ZTA_FUZZ_CHECK(status == ippStsNoErr);
        ZTA_FUZZ_CHECK(size == expected);
        ZTA_FUZZ_CHECK(length == (plan.length + 3) / 4 * 4);
        ZTA_FUZZ_CHECK(height == plan.outRate / std::gcd(plan.inRate, plan.outRate));
    }
    if (status != ippStsNoErr) {
        ZTA_FUZZ_CHECK(size == -7 && length == -7 && height == -7);
    }
}

float MakeParameter(FuzzInput& choices, float usual)
{
    constexpr float kOdd[] = {0.0F, -1.0F, 1e30F, std::numeric_limits<float>::quiet_NaN()};
    return choices.ConsumeWithOdds(16) ? choices.OneOf(kOdd) : usual;
}

void CheckRun(FuzzInput& choices, const SignalVariant& build)
{
    constexpr int kRates[][2] = {{44100, 48000}, {48000, 44100}, {1, 1}, {1, 3}, {7, 3}, {2, 1}};
    const auto& rates = choices.OneOf(kRates);
    models::FilterPlan plan{rates[0], rates[1], 32,
                            choices.ConsumeBool() ? models::TapKind::Floats : models::TapKind::Int16};
    if (choices.ConsumeBool()) {
        plan.inRate = 1 + static_cast<int>(choices.ConsumeIndex(250));
        plan.outRate = 1 + static_cast<int>(choices.ConsumeIndex(250));
        plan.length = 1 + static_cast<int>(choices.ConsumeIndex(80));
    }
    int size = 0;
    int length = 0;
    int height = 0;
    ZTA_FUZZ_CHECK(build.ippsResamplePolyphaseFixedGetSize_16s(plan.inRate, plan.outRate, plan.length, &size, &length,
                                                               &height, zta::test::HintOf(plan.kind)) == ippStsNoErr);
    const Block block = MakeBlock(size);
    const float rollOff = MakeParameter(choices, static_cast<float>(1 + choices.ConsumeIndex(255)) / 256.0F);
    const float alpha = MakeParameter(choices, 1.0F + static_cast<float>(choices.ConsumeIndex(200)) / 16.0F);
    // NaN is not rejected.
    const bool good = !(rollOff <= 0.0F || rollOff > 1.0F || alpha < 1.0F);
    const IppStatus made = build.ippsResamplePolyphaseFixedInit_16s(plan.inRate, plan.outRate, plan.length, rollOff,
                                                                    alpha, block.get(), zta::test::HintOf(plan.kind));
    ZTA_FUZZ_CHECK(made == (good ? ippStsNoErr : ippStsBadArgErr));
    if (!good || std::isnan(rollOff) || !(alpha < 700.0F)) {
        return; // such windows exceed the range of double, and the model does not cover them
    }

    // From half a filter before the first position to half a filter after the last possible one.
    const models::BlockHead head = models::HeadOf(block.get());
    const int len = static_cast<int>(choices.ConsumeIndex(500)) - 1;
    const double fraction = static_cast<double>(choices.Any<std::uint16_t>()) / 65536.0;
    const double start = head.halfLen + static_cast<int>(choices.ConsumeIndex(3)) + fraction;
    const std::size_t count = static_cast<std::size_t>(static_cast<int>(start) + std::max(len, 0) + head.halfLen + 1);
    const std::vector<std::int16_t> source = MakeSamples(choices, count);
    const std::size_t capacity =
        static_cast<std::size_t>((std::int64_t{std::max(len, 0)} * plan.outRate + plan.inRate - 1) / plan.inRate + 1);
    std::vector<std::int16_t> samples(capacity);
    constexpr float kNorms[] = {1.0F, 0.5F, -1.0F, 3.0F, 0.0F};
    const float norm = choices.OneOf(kNorms);
    double time = start;
    int outputs = -7;
    const IppStatus status =
        build.ippsResamplePolyphaseFixed_16s(source.data(), len, samples.data(), norm, &time, &outputs, block.get());
    ZTA_FUZZ_CHECK(status == (len < 1 ? ippStsSizeErr : ippStsNoErr));
    if (len < 1) {
        ZTA_FUZZ_CHECK(time == start && outputs == -7);
        return;
    }
    const bool sumsInFloat = std::string(build.prefix) == "m7" || std::string(build.prefix) == "n8";
    const models::ResampleResult model = models::Run(source.data(), len, norm, start, block.get(), sumsInFloat);
    ZTA_FUZZ_CHECK(outputs == static_cast<int>(model.samples.size()));
    ZTA_FUZZ_CHECK(std::abs(time - model.time) < 1e-9);
    for (std::size_t i = 0; i < model.samples.size(); ++i) {
        const int difference = std::abs(samples[i] - model.samples[i]);
        ZTA_FUZZ_CHECK(difference == 0 || (model.unsure[i] && difference == 1));
    }
}

void CheckMemory(FuzzInput& choices)
{
    constexpr int kMost = 0x7FFFFFFF - 72;
    constexpr int kOdd[] = {0, -1, kMost + 1, std::numeric_limits<int>::max(), std::numeric_limits<int>::min()};
    const int len = choices.ConsumeWithOdds(3) ? choices.OneOf(kOdd) : static_cast<int>(choices.ConsumeIndex(10000));
    unsigned char* const memory = ippsMalloc_8u(len);
    ZTA_FUZZ_CHECK((memory != nullptr) == (len >= 1 && len <= kMost));
    ZTA_FUZZ_CHECK(reinterpret_cast<std::uintptr_t>(memory) % 64 == 0);
    if (memory != nullptr) {
        std::memset(memory, 0xA5, static_cast<std::size_t>(len));
    }
    ippsFree(memory);
}

/// Masks that select no variant beyond those of this CPU.
void CheckFeatures(FuzzInput& choices)
{
    const std::uint64_t detected = ZtaDetectCpuFeatures(ZtaReadCpuid());
    const std::uint64_t asked = choices.Any<std::uint64_t>() & (detected | kUnknownFeatures);
    std::uint64_t checked = asked;
    IppStatus expected = ZtaCheckFeatures(checked, detected);
    const SZtaSelection selection = ZtaSelectVariant(checked);
    if (selection.eStatus != ippStsNoErr) {
        expected = selection.eStatus;
    }
    // Some selections imply more features than requested; only those that this CPU supports are made.
    if ((selection.ui64Enabled & ~(detected | kUnknownFeatures)) == 0) {
        const IppStatus status = ippSetCpuFeatures(asked);
        ZTA_FUZZ_CHECK(status == expected || status == ippStsUnknownFeature || status == ippStsFeatureNotSupported ||
                       status == ippStsFeaturesCombination || status == ippStsNotSupportedCpu);
        ZTA_FUZZ_CHECK((ippGetEnabledCpuFeatures() & selection.ui64Enabled) == selection.ui64Enabled);
        ZTA_FUZZ_CHECK(ownGetFeature(selection.ui64Enabled) == 1);
        std::int16_t sample = 0;
        ZTA_FUZZ_CHECK(ippsSet_16s(5, &sample, 1) == ippStsNoErr && sample == 5);
    }
    ZTA_FUZZ_CHECK(ippSetCpuFeatures(detected) >= 0);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const std::vector<SignalVariant> builds = zta::test::SupportedSignalVariants();
    FuzzInput choices(data, size);
    for (int step = 0; step < 20 && !choices.IsEmpty(); ++step) {
        const std::size_t function = choices.ConsumeIndex(8);
        const SignalVariant& build = builds[choices.ConsumeIndex(builds.size())];
        switch (function) {
        case 0:
            CheckSetAndMove(choices, build);
            break;
        case 1:
        case 2:
            CheckSize(choices, build);
            break;
        case 3:
            CheckMemory(choices);
            break;
        case 4:
            CheckFeatures(choices);
            break;
        default:
            CheckRun(choices, build);
            break;
        }
    }
    return 0;
}

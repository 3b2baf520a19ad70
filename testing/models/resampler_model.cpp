#include "testing/models/resampler_model.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <numeric>

namespace models {

namespace {

std::int64_t RoundUp(std::int64_t value, std::int64_t multiple)
{
    return (value + multiple - 1) / multiple * multiple;
}

double BesselI0(double x)
{
    double sum = 1.0;
    double term = 1.0;
    for (int k = 1;; ++k) {
        const double quotient = x * 0.5 / k;
        term = term * (quotient * quotient);
        sum = sum + term;
        if (term < 1e-21 * sum) {
            return sum;
        }
    }
}

std::int16_t RoundToInt16(double value)
{
    return static_cast<std::int16_t>(std::trunc(value > 0.0 ? value + 0.5 : value - 0.5));
}

} // namespace

BlockLayout::BlockLayout(const FilterPlan& plan)
{
    const std::int64_t divisor = std::gcd(plan.inRate, plan.outRate);
    inRate = plan.inRate / divisor;
    outRate = plan.outRate / divisor;
    const std::int64_t length = RoundUp(plan.length, 4);
    halfLen = length / 2;
    const bool words = plan.kind == TapKind::Int16;
    stride = words ? RoundUp(plan.length + 1, 8) : RoundUp(plan.length + 1, 4);
    tapSize = words ? 2 : 4;
    // Everything before the fraction is truncated is single precision.
    const double ratio = static_cast<double>(outRate) / static_cast<double>(inRate);
    volatile float reach =
        static_cast<float>(ratio < 1.0 ? static_cast<double>(length) * ratio : static_cast<double>(length));
    reach = reach + 1e-5f;
    volatile float rate = static_cast<float>(std::max(inRate, outRate));
    rate = 0.5f * rate;
    reach = rate * reach;
    coefficients = static_cast<std::int64_t>(reach) + 1;
    const std::int64_t steps = RoundUp(outRate, 8) * 2;
    rowPointers = 48 + steps;
    const std::int64_t pointers = RoundUp(outRate + 1, 4) * 8;
    rows = rowPointers + pointers;
    prototype = rows + outRate * stride * tapSize - (words ? 0 : 8);
    size = words ? steps + pointers + 8 * coefficients + 58 + 2 * (outRate * stride + coefficients)
                 : pointers + 4 * outRate * stride + steps + 8 * coefficients + 48;
}

std::vector<double> Prototype(const BlockLayout& layout, float rollOff, float alpha)
{
    const std::int64_t m = std::max(layout.inRate, layout.outRate);
    const double c = 3.141592653589793 / static_cast<double>(m);
    const double scale = 1.0 / BesselI0(alpha);
    const std::int64_t last = layout.coefficients - 1;
    std::vector<double> taps(static_cast<std::size_t>(layout.coefficients));
    taps[0] = rollOff;
    for (std::int64_t n = 1; n <= last; ++n) {
        const double at = static_cast<double>(n);
        const double sinc = std::sin(rollOff * c * at) / (at * c);
        const double u = at * (1.0 / static_cast<double>(last));
        const double w = std::sqrt(std::max(0.0, 1.0 - u * u));
        taps[static_cast<std::size_t>(n)] = BesselI0(w * alpha) * scale * sinc;
    }
    // The gain: relative to the input rate for upsampling, to the output rate for downsampling.
    const std::int64_t grid = layout.inRate > layout.outRate ? layout.inRate : layout.outRate;
    double sides = taps[static_cast<std::size_t>(last)];
    if (layout.inRate > layout.outRate && last % grid != 0) {
        sides = 0.0;
    }
    for (std::int64_t n = grid; n < std::min(last, layout.halfLen * layout.outRate); n += grid) {
        sides += taps[static_cast<std::size_t>(n)];
    }
    const double gain = taps[0] + 2.0 * sides;
    for (double& tap : taps) {
        tap *= 1.0 / gain;
    }
    return taps;
}

std::vector<double> PhaseTaps(const BlockLayout& layout, const std::vector<double>& prototype, std::int64_t phase)
{
    // Phase 0 is centered on a sample and has both outermost taps.
    std::vector<double> row;
    for (std::int64_t sample = phase == 0 ? -layout.halfLen : 1 - layout.halfLen; sample <= layout.halfLen; ++sample) {
        const std::int64_t distance = std::abs(sample * layout.outRate - phase);
        const bool outer = distance == layout.halfLen * layout.outRate;
        row.push_back(outer ? prototype.back() : prototype[static_cast<std::size_t>(distance)]);
    }
    return row;
}

std::vector<std::int16_t> Steps(const BlockLayout& layout)
{
    // From the first sample of one output to the first sample of the next output.
    const auto first = [&layout](std::int64_t position) {
        return position / layout.outRate + (position % layout.outRate == 0 ? 0 : 1);
    };
    std::vector<std::int16_t> steps(static_cast<std::size_t>(layout.outRate));
    for (std::int64_t k = 0; k < layout.outRate; ++k) {
        const std::int64_t position = k * layout.inRate;
        steps[static_cast<std::size_t>(position % layout.outRate)] =
            static_cast<std::int16_t>(first(position + layout.inRate) - first(position));
    }
    return steps;
}

bool IsRoundedTap(std::int16_t tap, double value)
{
    const double scaled = value * 16384.0;
    return tap == RoundToInt16(scaled) || tap == RoundToInt16(scaled + 1e-9) || tap == RoundToInt16(scaled - 1e-9);
}

bool IsRoundedTap(float tap, double value)
{
    return tap == static_cast<float>(value) || tap == static_cast<float>(value * (1.0 + 1e-14)) ||
           tap == static_cast<float>(value * (1.0 - 1e-14));
}

BlockHead HeadOf(const void* block)
{
    static_assert(sizeof(BlockHead) == 48);
    BlockHead head;
    std::memcpy(&head, block, sizeof(head));
    return head;
}

ResampleResult Run(const std::int16_t* source, int len, float norm, double time, const void* block, bool sumsInFloat)
{
    const BlockHead head = HeadOf(block);
    const std::int64_t outRate = head.outRate;
    const std::int64_t whole = static_cast<std::int64_t>(time);
    const double fraction = time - static_cast<double>(whole);
    const double gain = static_cast<double>(norm) * static_cast<double>(head.tapScale) *
                        std::min(1.0, head.outRate / static_cast<double>(head.inRate));
    // NOLINTNEXTLINE(bugprone-incorrect-roundings): the phase is defined as truncation after adding a half
    const auto phase = static_cast<std::int64_t>(head.outRate * fraction + 0.5);

    ResampleResult result;
    std::int64_t now = whole * outRate + phase;
    for (; now < (whole + len) * outRate; now += head.inRate) {
        const std::int64_t row = now % outRate;
        const std::int16_t* samples = source + now / outRate + (row == 0 ? 0 : 1) - head.halfLen;
        const std::int64_t count = 2 * std::int64_t{head.halfLen} + (row == 0 ? 1 : 0);
        const void* taps = head.rows[row];
        double value = 0.0;
        bool unsure = false;
        if (head.tapKind == 2) {
            std::int64_t sum = 0;
            for (std::int64_t i = 0; i < count; ++i) {
                sum += std::int64_t{samples[i]} * static_cast<const std::int16_t*>(taps)[i];
            }
            value = static_cast<double>(sum) * gain;
        } else {
            long double sum = 0.0;
            for (std::int64_t i = 0; i < count; ++i) {
                const float tap = static_cast<const float*>(taps)[i];
                const bool exact = !sumsInFloat && i == count - 1 && count % 2 == 1;
                sum += exact ? static_cast<double>(samples[i]) * static_cast<double>(tap)
                             : static_cast<double>(static_cast<float>(samples[i]) * tap);
            }
            value = sumsInFloat ? static_cast<float>(sum) * gain : static_cast<double>(sum) * gain;
            const double distance = std::abs(std::abs(value - std::trunc(value)) - 0.5);
            unsure = distance < (sumsInFloat ? 1e-2 : 1e-9);
        }
        double rounded = std::trunc(value < 0.0 ? value - 0.5 : value + 0.5);
        rounded = value > 32767.0 ? 32767.0 : value < -32768.0 ? -32768.0 : rounded;
        result.samples.push_back(static_cast<std::int16_t>(rounded));
        result.unsure.push_back(unsure);
    }
    result.time = fraction + static_cast<double>(now - phase) / static_cast<double>(outRate);
    return result;
}

} // namespace models

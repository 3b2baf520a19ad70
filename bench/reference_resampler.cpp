#include "bench/reference_resampler.h"

#include <algorithm>

int ReferenceResample(const std::int16_t* source, int len, std::int16_t* destination, double* time,
                      const IppsResamplingPolyphaseFixed_16s& filter)
{
    const int index = static_cast<int>(*time);
    const double fraction = *time - index;
    const int phase = static_cast<int>(filter.outRate * fraction + 0.5);
    const double ratio = static_cast<double>(filter.outRate) / filter.inRate;
    const double gain = static_cast<double>(filter.tapScale) * std::min(1.0, ratio);
    const std::int16_t* samples = source + index + (phase == 0 ? 0 : 1) - filter.halfLen;
    const int end = (index + len) * filter.outRate;
    int now = index * filter.outRate + phase;
    int outputs = 0;
    for (; now < end; now += filter.inRate) {
        const int row = now % filter.outRate;
        const int taps = 2 * filter.halfLen + (row == 0 ? 1 : 0);
        const auto* tap = static_cast<const std::int16_t*>(filter.pRows[row]);
        std::int64_t sum = 0;
        for (int i = 0; i < taps; ++i) {
            sum += samples[i] * tap[i];
        }
        const double value = std::clamp(static_cast<double>(sum) * gain, -32768.0, 32767.0);
        destination[outputs++] = static_cast<std::int16_t>(value < 0.0 ? value - 0.5 : value + 0.5);
        samples += filter.pStep[row];
    }
    *time = fraction + (now - phase) / static_cast<double>(filter.outRate);
    return outputs;
}

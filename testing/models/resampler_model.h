#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

/// Reference model of the resampler, written from the definitions: each tap from its distance to the output, each
/// output from its position.
namespace models {

enum class TapKind { Int16, Floats };

struct FilterPlan {
    int inRate;
    int outRate;
    int length;
    TapKind kind;
};

/// The size of a filter in memory, and the offsets of its parts.
struct BlockLayout {
    explicit BlockLayout(const FilterPlan& plan);

    std::int64_t inRate; ///< in lowest terms
    std::int64_t outRate;
    std::int64_t halfLen;
    std::int64_t stride; ///< in taps
    std::int64_t tapSize;
    std::int64_t coefficients;
    std::int64_t rowPointers;
    std::int64_t rows;
    std::int64_t prototype;
    std::int64_t size; ///< as reported to the caller
};

/// The normalized prototype filter by the distance from its center, in units of 1 / outRate of an input sample, before
/// scaling and quantization.
std::vector<double> Prototype(const BlockLayout& layout, float rollOff, float alpha);

/// The taps of one phase, without the entries that phases share.
std::vector<double> PhaseTaps(const BlockLayout& layout, const std::vector<double>& prototype, std::int64_t phase);

/// The step table.
std::vector<std::int16_t> Steps(const BlockLayout& layout);

/// Whether a 16-bit or single-precision tap is `value` rounded, or as near to a tie as the last bits of a double are.
bool IsRoundedTap(std::int16_t tap, double value);
bool IsRoundedTap(float tap, double value);

/// The head of a filter in memory.
struct BlockHead {
    std::int32_t inRate;
    std::int32_t outRate;
    float tapScale;
    std::int32_t halfLen;
    std::int32_t tapKind;
    std::int32_t gap;
    const std::int16_t* steps;
    const void* const* rows;
    std::uint32_t reserved;
    std::uint32_t end;
};

/// Reads the head of a filter.
BlockHead HeadOf(const void* block);

struct ResampleResult {
    std::vector<std::int16_t> samples;
    std::vector<bool> unsure; ///< where the last bits of a sum of floats decide
    double time;
};

/// `sumsInFloat`: sums of single-precision products are rounded to float, and no product is exempt from that.
ResampleResult Run(const std::int16_t* source, int len, float norm, double time, const void* block, bool sumsInFloat);

} // namespace models

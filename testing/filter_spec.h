#pragma once

#include "testing/guarded_buffer.h"
#include "testing/models/resampler_model.h"
#include "testing/signal_variants.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <vector>

namespace zta::test {

inline IppHintAlgorithm HintOf(models::TapKind kind)
{
    return kind == models::TapKind::Int16 ? ippAlgHintFast : ippAlgHintAccurate;
}

/// Memory for a filter that ends as close to a guard page as its alignment allows.
class FilterBlock {
public:
    static constexpr std::uint8_t kPoison = 0xA5;

    explicit FilterBlock(std::size_t size)
        : size_(size), buffer_(std::make_unique<GuardedBuffer>(size + 16)),
          begin_(buffer_->End() - (size + 15) / 16 * 16)
    {
        std::memset(buffer_->Begin(), kPoison, buffer_->Size());
    }

    IppsResamplingPolyphaseFixed_16s* Get() const
    {
        return reinterpret_cast<IppsResamplingPolyphaseFixed_16s*>(begin_);
    }
    std::uint8_t* Bytes() const { return begin_; }
    std::size_t Size() const { return size_; }
    models::BlockHead Head() const { return models::HeadOf(begin_); }
    template <class Tap>
    const Tap* PhaseTaps(std::int64_t phase) const
    {
        return static_cast<const Tap*>(Head().rows[phase]);
    }
    bool IsUntouchedFrom(std::size_t offset) const
    {
        return std::all_of(begin_ + offset, buffer_->End(), [](std::uint8_t byte) { return byte == kPoison; }) &&
               std::all_of(buffer_->Begin(), begin_, [](std::uint8_t byte) { return byte == kPoison; });
    }

private:
    std::size_t size_;
    std::unique_ptr<GuardedBuffer> buffer_;
    std::uint8_t* begin_;
};

/// Initializes a filter with one variant.
inline FilterBlock MakeFilter(const SignalVariant& build, const models::FilterPlan& plan, float rollOff = 1.0f,
                              float alpha = 9.0f)
{
    int size = 0;
    int length = 0;
    int height = 0;
    build.ippsResamplePolyphaseFixedGetSize_16s(plan.inRate, plan.outRate, plan.length, &size, &length, &height,
                                                HintOf(plan.kind));
    FilterBlock block(static_cast<std::size_t>(size));
    build.ippsResamplePolyphaseFixedInit_16s(plan.inRate, plan.outRate, plan.length, rollOff, alpha, block.Get(),
                                             HintOf(plan.kind));
    return block;
}

/// A filter with given taps: equal rates, so one phase, with tap i at sample i - 2.
template <class Tap>
class OnePhaseFilter {
public:
    OnePhaseFilter(std::array<Tap, 5> taps, float scale) : taps_(taps)
    {
        models::BlockHead head{};
        head.inRate = 1;
        head.outRate = 1;
        head.tapScale = scale;
        head.halfLen = 2;
        head.tapKind = sizeof(Tap) == 2 ? 2 : 1;
        head.steps = &step_;
        head.rows = rows_;
        std::memcpy(head_, &head, sizeof(head));
    }
    OnePhaseFilter(const OnePhaseFilter&) = delete;
    OnePhaseFilter& operator=(const OnePhaseFilter&) = delete;

    const IppsResamplingPolyphaseFixed_16s* Get() const
    {
        return reinterpret_cast<const IppsResamplingPolyphaseFixed_16s*>(head_);
    }

private:
    alignas(16) std::array<Tap, 5> taps_;
    std::int16_t step_ = 1;
    const void* rows_[1] = {taps_.data()};
    alignas(16) std::uint8_t head_[48];
};

} // namespace zta::test

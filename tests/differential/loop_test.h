/// Base class of the tests that compare the loops of each variant with a reference model.
#pragma once

#include "kernels/loops/loops.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <random>
#include <string>
#include <tuple>
#include <vector>

namespace zta::test {

using Bytes = std::vector<std::uint8_t>;

inline constexpr std::uint8_t kPoison = 0xA5;

inline bool IsPoison(std::uint8_t byte)
{
    return byte == kPoison;
}

/// A buffer between guard bytes, at any alignment.
class PoisonedBuffer {
public:
    PoisonedBuffer(std::size_t size, std::size_t offset)
        : memory_(size + 2 * kZone + offset, kPoison), at_(kZone + offset)
    {
    }

    std::uint8_t* Data() { return memory_.data() + at_; }

    /// Returns true if the buffer begins with these bytes and all other bytes are poison.
    bool Holds(const Bytes& bytes) const
    {
        for (std::size_t i = 0; i < memory_.size(); ++i) {
            const bool isInside = i >= at_ && i - at_ < bytes.size();
            if (memory_[i] != (isInside ? bytes[i - at_] : kPoison)) {
                return false;
            }
        }
        return true;
    }

private:
    static constexpr std::size_t kZone = 128;

    Bytes memory_;
    std::size_t at_;
};

/// The parameters are the index of a variant and that of a case. Variants that this CPU does not support are skipped.
class LoopTest : public testing::TestWithParam<std::tuple<std::size_t, std::size_t>> {
protected:
    void SetUp() override
    {
        if (!variant_.IsSupported(ZtaDetectCpuFeatures(ZtaReadCpuid()))) {
            GTEST_SKIP() << "not supported by this CPU: " << variant_.psLoops->pszName;
        }
    }

    Bytes RandomBytes(std::size_t count)
    {
        Bytes bytes(count);
        std::generate(bytes.begin(), bytes.end(), [this] { return static_cast<std::uint8_t>(random_()); });
        return bytes;
    }

    static std::size_t CaseIndex() { return std::get<1>(GetParam()); }

    const SZtaLoopVariant& variant_ = kLoopVariants[std::get<0>(GetParam())];
    const SZtaSampleLoops& loops_ = *variant_.psLoops;
    std::mt19937 random_{27};
};

/// Every variant with each of `count` cases.
inline auto AllVariants(std::size_t count)
{
    return testing::Combine(testing::Range(std::size_t{0}, std::size(kLoopVariants)),
                            testing::Range(std::size_t{0}, count));
}

/// The name of a test case: the variant and `name(case)`.
template <class Name>
auto VariantAnd(Name name)
{
    return [name](const auto& param) {
        return std::string(kLoopVariants[std::get<0>(param.param)].psLoops->pszName) + "_" +
               name(std::get<1>(param.param));
    };
}

} // namespace zta::test

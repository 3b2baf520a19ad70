/// The header of a filter's block. The tables that it points to follow it in the same block.
#pragma once

#include <cstddef>
#include <cstdint>

struct IppsResamplingPolyphaseFixed_16s {
    std::int32_t inRate;  ///< in lowest terms
    std::int32_t outRate; ///< in lowest terms; also the number of phases
    float tapScale;       ///< the value of a tap of 1
    std::int32_t halfLen; ///< a phase has 2 * halfLen taps, and phase 0 one more
    std::int32_t tapKind; ///< 2 for 16-bit taps, 1 for single-precision taps
    std::int16_t* pStep;  ///< samples to advance after an output of each phase
    void** pRows;         ///< the taps of each phase; one entry more may point to the packed filter bank
    std::uint32_t reserved;
    std::uint32_t ulPackedBankKey; ///< nonzero if the filter has a packed filter bank (see packed_filter_bank.h)
};

static_assert(sizeof(IppsResamplingPolyphaseFixed_16s) == 48);
static_assert(offsetof(IppsResamplingPolyphaseFixed_16s, outRate) == 4);
static_assert(offsetof(IppsResamplingPolyphaseFixed_16s, tapScale) == 8);
static_assert(offsetof(IppsResamplingPolyphaseFixed_16s, halfLen) == 12);
static_assert(offsetof(IppsResamplingPolyphaseFixed_16s, tapKind) == 16);
static_assert(offsetof(IppsResamplingPolyphaseFixed_16s, pStep) == 24);
static_assert(offsetof(IppsResamplingPolyphaseFixed_16s, pRows) == 32);
static_assert(offsetof(IppsResamplingPolyphaseFixed_16s, reserved) == 40);
static_assert(offsetof(IppsResamplingPolyphaseFixed_16s, ulPackedBankKey) == 44);

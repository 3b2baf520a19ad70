#pragma once

#include <cstdint>

/// The scaling of one 24-in-32 sample, in wide integers and without shifts.
namespace models {

inline std::int64_t FloorOfQuotient(std::int64_t value, std::int64_t divisor)
{
    const std::int64_t quotient = value / divisor;
    return value % divisor < 0 ? quotient - 1 : quotient;
}

/// The word at a gain with 12 fraction bits, limited to 24 bits.
inline std::uint32_t Scaled(std::uint32_t word, std::int64_t gain)
{
    const std::int64_t value = FloorOfQuotient(static_cast<std::int32_t>(word), 16);
    const std::int64_t high = FloorOfQuotient(value, 65536);
    const std::int64_t low = value - high * 65536;
    std::int64_t product = high * gain + low / 2 * gain / 32768;
    product = product > 8388607 ? 8388607 : product;
    product = product < -8388608 ? -8388608 : product;
    return static_cast<std::uint32_t>(static_cast<std::uint64_t>(product) * 256);
}

} // namespace models

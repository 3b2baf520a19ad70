/// Shared by the fuzz targets: choices consumed from an input, and checks.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <type_traits>

/// Ends the process if a condition does not hold, which is a finding for the fuzzer and the replay.
#define ZTA_FUZZ_CHECK(condition)                                                                                      \
    (static_cast<bool>(condition) ? static_cast<void>(0) : ::zta::fuzz::Fail(__FILE__, __LINE__, #condition))

namespace zta::fuzz {

[[noreturn]] inline void Fail(const char* file, int line, const char* condition)
{
    std::fprintf(stderr, "%s:%d: does not hold: %s\n", file, line, condition);
    std::abort();
}

/// Consumes choices from the front of an input. After its end, every choice is 0, so every input is valid.
class FuzzInput {
public:
    FuzzInput(const std::uint8_t* data, std::size_t size) : data_(data), left_(size) {}

    [[nodiscard]] bool IsEmpty() const { return left_ == 0; }

    /// Any value of a number's type.
    template <class Number>
    Number Any()
    {
        static_assert(std::is_arithmetic_v<Number>);
        Number value{};
        const std::size_t consumed = std::min(sizeof(value), left_);
        std::memcpy(&value, data_, consumed);
        Skip(consumed);
        return value;
    }

    /// 0 to count - 1. A small count consumes one byte.
    std::size_t ConsumeIndex(std::size_t count)
    {
        return (count <= 256 ? Any<std::uint8_t>() : Any<std::uint32_t>()) % count;
    }

    bool ConsumeBool() { return ConsumeIndex(2) == 1; }

    /// True once in `count` on average, and at the end of the input false.
    bool ConsumeWithOdds(std::size_t count) { return ConsumeIndex(count) == count - 1; }

    template <class Item, std::size_t Count>
    const Item& OneOf(const Item (&items)[Count])
    {
        return items[ConsumeIndex(Count)];
    }

    /// Up to `maxBytes` bytes.
    std::string Text(std::size_t maxBytes)
    {
        const std::size_t consumed = std::min(maxBytes, left_);
        std::string text(reinterpret_cast<const char*>(data_), consumed);
        Skip(consumed);
        return text;
    }

private:
    void Skip(std::size_t count)
    {
        data_ += count;
        left_ -= count;
    }

    const std::uint8_t* data_;
    std::size_t left_;
};

} // namespace zta::fuzz

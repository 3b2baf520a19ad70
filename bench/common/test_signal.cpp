#include "bench/common/test_signal.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <new>
#include <random>
#include <stdexcept>

#include <sys/mman.h>

namespace bench {

namespace {

constexpr std::size_t kPage = 4096;
constexpr std::size_t kLine = 64;
/// Seventeen cache lines: visits each line of a page before a line repeats, and keeps neighbors far enough apart to
/// avoid false store-to-load dependencies.
constexpr std::size_t kStagger = 17 * kLine;

struct FormatEntry {
    std::size_t bytes;
    const char* name;
    EZtAudioDataType type;
    std::uint32_t container;
    std::uint32_t valid;
};

const FormatEntry& FormatEntryOf(Sample sample)
{
    static constexpr FormatEntry kEntries[] = {
        {2, "16", keZtAudioDataTypePcm, 16, 16},
        {4, "24-in-32", keZtAudioDataTypePcm, 32, 24},
        {3, "24-in-24", keZtAudioDataTypePcm, 24, 24},
        {4, "float", keZtAudioDataTypeFloat, 32, 32},
        {4, "multi-format 16", keZtAudioDataTypeMultiFormat, 32, 16},
        {4, "multi-format 24", keZtAudioDataTypeMultiFormat, 32, 24},
        {8, "64-bit words", keZtAudioDataTypeOpaque, 64, 64},
    };
    return kEntries[static_cast<std::size_t>(sample)];
}

template <typename T>
T Load(const std::byte* at)
{
    T value;
    std::memcpy(&value, at, sizeof value);
    return value;
}

template <typename T>
void Store(std::byte* at, T value)
{
    std::memcpy(at, &value, sizeof value);
}

/// Returns sample `i` of a plane as a number.
class Source {
public:
    explicit Source(Content content) : content_(content) {}

    double Next(std::size_t i)
    {
        const double noise = values_(random_);
        switch (content_) {
        case Content::Silence:
            return 0;
        case Content::FadeTail: // the end of a fade of 60 dB over 4800 samples
            return noise * 1e-4 * std::pow(10.0, -3.0 * static_cast<double>(i % 4800) / 4800);
        case Content::Denormal:
            return noise * 1e-39;
        case Content::Noise:
            break;
        }
        return noise;
    }

private:
    Content content_;
    std::minstd_rand random_{7};
    std::uniform_real_distribution<double> values_{-0.98, 0.98};
};

void StoreSample(Sample sample, std::byte* at, double value)
{
    const auto word = static_cast<std::uint32_t>(static_cast<std::int32_t>(std::lround(value * 0x1p23))) << 8;
    switch (sample) {
    case Sample::Int16:
        return Store(at, static_cast<std::int16_t>(std::lround(value * 0x1p15)));
    case Sample::Int24In32:
        return Store(at, word);
    case Sample::Int24In24:
        return static_cast<void>(std::memcpy(at, reinterpret_cast<const std::byte*>(&word) + 1, 3));
    case Sample::Float:
        return Store(at, static_cast<float>(value));
    case Sample::Multi16:
    case Sample::Multi24:
        return Store(at, word >> 4 | 0x50000005U); // other bits of the word are set, too
    case Sample::Word64:
        return Store(at, std::bit_cast<std::uint64_t>(value));
    }
}

} // namespace

std::size_t BytesOf(Sample sample)
{
    return FormatEntryOf(sample).bytes;
}

const char* NameOf(Sample sample)
{
    return FormatEntryOf(sample).name;
}

SZtaWaveFormatInfo FormatOf(Sample sample, std::uint32_t channels, std::uint32_t rate)
{
    const FormatEntry& entry = FormatEntryOf(sample);
    return {sizeof(SZtaWaveFormatInfo), channels, entry.type, rate, entry.container, entry.valid};
}

Memory::Memory(std::size_t bytes) : start_(nullptr), size_((bytes + 2 * kPage - 1) / kPage * kPage)
{
    void* address = mmap(nullptr, size_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (address == MAP_FAILED) {
        throw std::bad_alloc();
    }
    start_ = static_cast<std::byte*>(address);
    std::memset(start_, 1, size_);
}

Memory::~Memory()
{
    munmap(start_, size_);
}

std::byte* Memory::Allocate(std::size_t bytes, Placement placement)
{
    std::size_t at = (used_ + kLine - 1) / kLine * kLine;
    if (placement == Placement::SamePage) {
        at = (used_ + kPage - 1) / kPage * kPage;
    }
    if (at + bytes > size_) {
        throw std::logic_error("the memory of a workload is too small");
    }
    used_ = at + bytes + (placement == Placement::Staggered ? kStagger : 0);
    return start_ + at;
}

std::size_t Memory::RequiredBytes(std::size_t bytes, Placement placement)
{
    return bytes + kLine + (placement == Placement::Staggered ? kStagger : kPage);
}

BufferLayout MakeLayout(const std::shared_ptr<Memory>& memory, Sample sample, std::uint32_t channelsOfPlane,
                        std::size_t planes, std::size_t frames, Placement placement, std::size_t minPlaneBytes)
{
    BufferLayout layout{sample, channelsOfPlane, frames, {}, memory};
    for (std::size_t i = 0; i < planes; ++i) {
        layout.planes.push_back(
            memory->Allocate(std::max(minPlaneBytes, frames * channelsOfPlane * BytesOf(sample)), placement));
    }
    return layout;
}

const char* NameOf(Content content)
{
    static constexpr const char* kNames[] = {"noise", "silence", "fade tail", "denormals"};
    return kNames[static_cast<std::size_t>(content)];
}

void Fill(const BufferLayout& layout, Content content)
{
    Source source(content);
    const std::size_t bytes = BytesOf(layout.sample);
    for (std::byte* plane : layout.planes) {
        for (std::size_t i = 0; i < layout.frames * layout.channelsOfPlane; ++i) {
            StoreSample(layout.sample, plane + i * bytes, source.Next(i));
        }
    }
}

void Poison(const BufferLayout& layout)
{
    for (std::byte* plane : layout.planes) {
        std::memset(plane, 0x5A, layout.PlaneBytes());
    }
}

double ValueAt(Sample sample, const std::byte* at)
{
    switch (sample) {
    case Sample::Int16:
        return Load<std::int16_t>(at) * 0x1p-15;
    case Sample::Int24In32:
        return (Load<std::int32_t>(at) >> 8) * 0x1p-23;
    case Sample::Int24In24:
        return (static_cast<std::int32_t>(static_cast<std::uint32_t>(at[0]) << 8 |
                                          static_cast<std::uint32_t>(at[1]) << 16 |
                                          static_cast<std::uint32_t>(at[2]) << 24) >>
                8) *
               0x1p-23;
    case Sample::Float:
        return static_cast<double>(Load<float>(at));
    case Sample::Multi16:
        return (static_cast<std::int32_t>(Load<std::uint32_t>(at) << 4) >> 16) * 0x1p-15;
    case Sample::Multi24:
        return (static_cast<std::int32_t>(Load<std::uint32_t>(at) << 4) >> 8) * 0x1p-23;
    case Sample::Word64:
        return Load<double>(at);
    }
    return 0;
}

} // namespace bench

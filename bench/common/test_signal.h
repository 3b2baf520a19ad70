/// Test signals, and memory at chosen page offsets for them.
#pragma once

#include <zta/audio_records.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace bench {

enum class Sample { Int16, Int24In32, Int24In24, Float, Multi16, Multi24, Word64 };

std::size_t BytesOf(Sample sample);
const char* NameOf(Sample sample);
SZtaWaveFormatInfo FormatOf(Sample sample, std::uint32_t channels, std::uint32_t rate = 48000);

/// The page offsets of buffers.
enum class Placement {
    Staggered, ///< different offsets, as far as a page has cache lines
    SamePage   ///< each at the start of a page
};

/// One memory block, touched before it is measured.
class Memory {
public:
    explicit Memory(std::size_t bytes);
    ~Memory();
    Memory(const Memory&) = delete;
    Memory& operator=(const Memory&) = delete;

    std::byte* Allocate(std::size_t bytes, Placement placement);

    /// Returns the maximum size of the buffers of a placement.
    static std::size_t RequiredBytes(std::size_t bytes, Placement placement);

private:
    std::byte* start_;
    std::size_t size_;
    std::size_t used_ = 0;
};

/// The inputs or outputs of a workload: planes with the same number of interleaved channels.
struct BufferLayout {
    Sample sample;
    std::uint32_t channelsOfPlane;
    std::size_t frames;
    std::vector<std::byte*> planes;
    std::shared_ptr<Memory> memory;

    std::size_t PlaneBytes() const { return frames * channelsOfPlane * BytesOf(sample); }
    std::size_t Bytes() const { return PlaneBytes() * planes.size(); }
    std::uint32_t Channels() const { return channelsOfPlane * static_cast<std::uint32_t>(planes.size()); }
};

/// Allocates the planes of a layout. `minPlaneBytes` is the minimum capacity of each plane.
BufferLayout MakeLayout(const std::shared_ptr<Memory>& memory, Sample sample, std::uint32_t channelsOfPlane,
                        std::size_t planes, std::size_t frames, Placement placement, std::size_t minPlaneBytes = 0);

enum class Content { Noise, Silence, FadeTail, Denormal };
const char* NameOf(Content content);

void Fill(const BufferLayout& layout, Content content);
/// Fills the outputs with a pattern that no contender produces, so that missing writes are detected.
void Poison(const BufferLayout& layout);

/// Returns a sample as a number, relative to full scale.
double ValueAt(Sample sample, const std::byte* at);

} // namespace bench

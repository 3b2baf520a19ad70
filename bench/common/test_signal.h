/// The samples that the contenders work on: memory at chosen places, and what is in it.
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

/// How buffers lie to each other.
enum class Placement {
    Staggered, ///< at offsets within their pages that are all different, as far as pages have lines
    SamePage   ///< each at the start of a page
};

/// Memory in one piece, touched before it is measured.
class Memory {
public:
    explicit Memory(std::size_t bytes);
    ~Memory();
    Memory(const Memory&) = delete;
    Memory& operator=(const Memory&) = delete;

    std::byte* Allocate(std::size_t bytes, Placement placement);

    /// What the buffers of a placement take at most.
    static std::size_t RequiredBytes(std::size_t bytes, Placement placement);

private:
    std::byte* start_;
    std::size_t size_;
    std::size_t used_ = 0;
};

/// One side of a work: planes of equally many interleaved channels.
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

/// `roomBytes` is what the memory of each plane has at least.
BufferLayout MakeSide(const std::shared_ptr<Memory>& memory, Sample sample, std::uint32_t channelsOfPlane,
                      std::size_t planes, std::size_t frames, Placement placement, std::size_t roomBytes = 0);

enum class Content { Noise, Silence, FadeTail, Denormal };
const char* NameOf(Content content);

void Fill(const BufferLayout& side, Content content);
/// What no contender writes: a result that was not written is told.
void Poison(const BufferLayout& side);

/// One sample as a number at full scale 1.
double ValueAt(Sample sample, const std::byte* at);

} // namespace bench

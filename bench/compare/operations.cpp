#include "bench/compare/operations.h"

namespace bench {

namespace {

constexpr std::size_t kFrames = 1024;

BufferLayout NewLayout(Sample sample, std::uint32_t channelsOfPlane, std::size_t planes, std::size_t frames)
{
    const std::size_t bytes = frames * channelsOfPlane * BytesOf(sample);
    const auto memory = std::make_shared<Memory>(planes * Memory::RequiredBytes(bytes, Placement::Staggered));
    const BufferLayout layout = MakeLayout(memory, sample, channelsOfPlane, planes, frames, Placement::Staggered);
    Fill(layout, Content::Noise);
    return layout;
}

class Operations {
public:
    void AddCopy(const char* name, Sample from, Sample to, std::uint32_t channels, std::size_t frames = kFrames,
                 bool fades = false)
    {
        const BufferLayout in = NewLayout(from, channels, 1, frames);
        const BufferLayout out = NewLayout(to, channels, 1, frames);
        Add(name, [=](const Engine& engine) { return CopyJob(engine, in, out, fades); });
    }

    void AddVolume(const char* name, std::uint32_t channels)
    {
        const BufferLayout in = NewLayout(Sample::Int24In32, channels, 1, kFrames);
        const BufferLayout out = NewLayout(Sample::Int24In32, channels, 1, kFrames);
        Add(name, [=](const Engine& engine) { return VolumeJob(engine, in, out, 0.5F, 2.5F); });
    }

    void AddStereo(const char* interleaveName, const char* deinterleaveName)
    {
        const BufferLayout monos = NewLayout(Sample::Int24In32, 1, 2, kFrames);
        const BufferLayout stereo = NewLayout(Sample::Int24In32, 2, 1, kFrames);
        Add(interleaveName, [=](const Engine& engine) { return StereoJob(engine, monos, stereo, true); });
        Add(deinterleaveName, [=](const Engine& engine) { return StereoJob(engine, monos, stereo, false); });
    }

    void AddMux(const std::string& name, Sample sample, std::uint32_t channelsOfPlane, std::size_t planes)
    {
        const BufferLayout many = NewLayout(sample, channelsOfPlane, planes, kFrames);
        const BufferLayout mux = NewLayout(sample, many.Channels(), 1, kFrames);
        Add(name + ", interleave", [=](const Engine& engine) { return MuxJob(engine, many, mux, true); });
        Add(name + ", deinterleave", [=](const Engine& engine) { return MuxJob(engine, many, mux, false); });
    }

    void AddResampling(const char* name, const Rates& rates)
    {
        Add(name, [=](const Engine& engine) -> Job {
            return [stream = std::make_shared<ResamplerStream>(engine, rates, kFrames)] { stream->Call(); };
        });
    }

    std::vector<Operation> Build() { return std::move(operations_); }

private:
    void Add(std::string name, std::function<Job(const Engine&)> makeJob)
    {
        operations_.push_back({std::move(name), std::move(makeJob)});
    }

    std::vector<Operation> operations_;
};

} // namespace

std::vector<Operation> MakeOperations()
{
    using enum Sample;
    Operations operations;
    operations.AddCopy("copy, one frame", Int16, Int16, 1, 1);
    operations.AddCopy("copy, 16", Int16, Int16, 2);
    operations.AddCopy("copy with fades, 24-in-32", Int24In32, Int24In32, 2, kFrames, true);
    operations.AddCopy("16 to 24-in-32", Int16, Int24In32, 2);
    operations.AddCopy("24-in-32 to 16", Int24In32, Int16, 2);
    operations.AddCopy("16 to float", Int16, Float, 2);
    operations.AddCopy("float to 16", Float, Int16, 2);
    operations.AddCopy("24-in-32 to float", Int24In32, Float, 2);
    operations.AddCopy("float to 24-in-32", Float, Int24In32, 2);
    operations.AddCopy("24-in-24 to 24-in-32", Int24In24, Int24In32, 2);
    operations.AddCopy("24-in-32 to 24-in-24", Int24In32, Int24In24, 2);
    operations.AddCopy("multi-format 24 to 24-in-32", Multi24, Int24In32, 2);
    operations.AddCopy("multi-format 16 to 16", Multi16, Int16, 2);
    operations.AddStereo("mono to stereo", "stereo to mono");
    operations.AddMux("8 mono x 24-in-32", Int24In32, 1, 8);
    operations.AddMux("16 mono x 16", Int16, 1, 16);
    operations.AddMux("64 mono x 24-in-32", Int24In32, 1, 64);
    operations.AddMux("8 stereo x 24-in-32", Int24In32, 2, 8);
    operations.AddMux("32 stereo x 16", Int16, 2, 32);
    operations.AddVolume("gain ramp, stereo", 2);
    operations.AddVolume("gain ramp, 16 channels", 16);
    operations.AddResampling("44100 to 48000, mono", {44100, 48000, 1});
    operations.AddResampling("48000 to 44100, stereo", {48000, 44100, 2});
    return operations.Build();
}

} // namespace bench

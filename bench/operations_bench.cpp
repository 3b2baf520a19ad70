// The engine's operations through the interface, on the reference host, beside a baseline: copies of the bytes that
// they read and write; for one small copy the host calls alone, and for resampling the filter alone.
//
// Each measurement interleaves the operation and its baseline, so that a drift of the machine affects both. The counter
// "share" is the time of the baseline divided by that of the operation.

#include "bench/common/direct_calls.h"
#include "bench/common/measure.h"
#include "host/formats.h"
#include "host/host_engine.h"
#include "host/module.h"
#include "testing/buffer_policies.h"
#include "testing/operations.h"

#include <zta/ipp.h>
#include <zta/sample_loops.h>
#include <zta/status.h>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace {

using zta::host::Pcm16;
using zta::host::Pcm24In32;
using zta::host::Ref;
using zta::test::ClocklessBuffer;
using zta::test::OperationKind;

/// The reference host's buffer without its clock, so that the operation is measured and not the host.
Ref<ClocklessBuffer> MakeBuffer(const SZtaWaveFormatInfo& format, std::size_t frames)
{
    auto buffer = zta::test::MakeClockless(format, frames);
    for (std::size_t i = 0; i < buffer->Capacity(); ++i) {
        buffer->Data()[i] = static_cast<std::byte>(i * 37);
    }
    return buffer;
}

using Buffers = std::vector<Ref<ClocklessBuffer>>;

double Time(int repetitions, const std::function<void()>& work)
{
    const double start = bench::ThreadSeconds();
    for (int i = 0; i < repetitions; ++i) {
        work();
    }
    return (bench::ThreadSeconds() - start) / repetitions;
}

/// Measures `work` and `baseline`, interleaved.
void Compare(benchmark::State& state, const std::function<void()>& work, const std::function<void()>& baseline)
{
    work();
    baseline();
    const double once = std::max(Time(8, work), 1e-7);
    const int repetitions = std::max(1, static_cast<int>(2e-4 / once));
    std::vector<double> shares;
    for ([[maybe_unused]] auto _ : state) {
        const double worked = Time(repetitions, work);
        const double measured = Time(repetitions, baseline);
        state.SetIterationTime(worked);
        shares.push_back(measured / worked);
    }
    state.counters["share"] = bench::Median(std::move(shares));
}

struct Bench {
    explicit Bench(const std::string& path) : module(path) {}

    zta::host::Module module;
    Ref<zta::host::HostEngine> host = zta::host::HostEngine::Create();
    Ref<IZtaAudioSamplesEngine> engine = module.CreateEngine(*host);
};

void Announce(const Buffers& inputs, const Buffers& outputs)
{
    for (const auto& input : inputs) {
        input->AnnounceRead();
    }
    for (const auto& output : outputs) {
        output->AnnounceWrite();
    }
}

void Check(const Bench& bench, int status)
{
    if (status < 0) {
        std::fprintf(stderr, "an operation failed: %s\n", bench.module.ErrorText(status).c_str());
        std::exit(1);
    }
}

Buffers MakeBuffers(std::size_t count, const SZtaWaveFormatInfo& format, std::size_t frames)
{
    Buffers buffers;
    for (std::size_t i = 0; i < count; ++i) {
        buffers.push_back(MakeBuffer(format, frames));
    }
    return buffers;
}

std::vector<IZtAudioSamples*> Pointers(const Buffers& buffers)
{
    std::vector<IZtAudioSamples*> pointers;
    for (const auto& buffer : buffers) {
        pointers.push_back(buffer.Get());
    }
    return pointers;
}

using FormatOf = SZtaWaveFormatInfo (*)(std::uint32_t channels, std::uint32_t rate);

/// One operation on buffers of one sample format and length.
struct Workload {
    OperationKind kind;
    std::uint32_t channels;
    std::size_t frames;
    FormatOf format;

    [[nodiscard]] std::string Name() const
    {
        return std::string(OperationName(kind))
            .append(format == Pcm16 ? "/16/" : "/24in32/")
            .append(std::to_string(channels))
            .append("ch/")
            .append(std::to_string(frames));
    }

    [[nodiscard]] bool IsSupported() const
    {
        switch (kind) {
        case OperationKind::Copy:
        case OperationKind::Duplicate:
            return true;
        case OperationKind::Volume:
            return format == Pcm24In32;
        case OperationKind::MonoToStereo:
        case OperationKind::StereoToMono:
            return channels == 2;
        case OperationKind::Resample:
            return false; // see MeasureResampler
        default:
            return channels > 2;
        }
    }
};

/// Measures an operation beside copies of the bytes that it reads and writes. Interleaving copies every input to a
/// scratch buffer, an extra pass.
void Measure(benchmark::State& state, Bench& bench, const Workload& workload)
{
    const auto counts = zta::test::CountBuffers(workload.kind, workload.channels);
    const auto inputs = MakeBuffers(counts.inputs, workload.format(counts.inputChannels, 48000), workload.frames);
    const auto outputs = MakeBuffers(counts.outputs, workload.format(counts.outputChannels, 48000), workload.frames);
    zta::test::OperationCall call{.kind = workload.kind, .inputs = Pointers(inputs), .outputs = Pointers(outputs)};
    const std::size_t bytes = inputs.size() * inputs.front()->Length();
    if (workload.kind == OperationKind::Duplicate) {
        call.length = bytes;
    } else if (workload.kind == OperationKind::Volume) {
        call.volumes.assign(workload.channels, {0, 0.25F, 0.75F});
    }
    const int passes = zta::test::IsInterleave(workload.kind) ? 2 : 1;
    std::vector<std::byte> from(bytes, std::byte{1});
    std::vector<std::byte> to(bytes);
    Compare(
        state,
        [&] {
            Announce(inputs, outputs);
            Check(bench, call.Run(*bench.engine));
        },
        [&] {
            for (int pass = 0; pass < passes; ++pass) {
                std::memcpy(to.data(), from.data(), bytes);
                benchmark::DoNotOptimize(to.data());
                benchmark::ClobberMemory();
            }
        });
}

/// A filter bank of the module, applied to one span of samples.
class FilterOnly {
public:
    FilterOnly(const Bench& bench, std::uint32_t from, std::uint32_t to, std::size_t frames)
        : run_(bench.module.Symbol<decltype(&ippsResamplePolyphaseFixed_16s)>("ippsResamplePolyphaseFixed_16s")),
          frames_(frames), input_(frames + 64), output_(frames * to / from + 64)
    {
        int size = 0;
        int length = 0;
        int height = 0;
        const auto in = static_cast<int>(from);
        const auto out = static_cast<int>(to);
        bench.module.Symbol<decltype(&ippsResamplePolyphaseFixedGetSize_16s)>("ippsResamplePolyphaseFixedGetSize_16s")(
            in, out, 32, &size, &length, &height, ippAlgHintFast);
        block_.resize(static_cast<std::size_t>(size) / sizeof(Aligned) + 1);
        bench.module.Symbol<decltype(&ippsResamplePolyphaseFixedInit_16s)>("ippsResamplePolyphaseFixedInit_16s")(
            in, out, 32, 1.0F, 9.0F, Bank(), ippAlgHintFast);
    }

    void operator()()
    {
        double time = 17.0;
        int outputs = 0;
        run_(input_.data(), static_cast<int>(frames_), output_.data(), 1.0F, &time, &outputs, Bank());
        benchmark::DoNotOptimize(output_.data());
        benchmark::ClobberMemory();
    }

private:
    struct alignas(64) Aligned {
        std::byte bytes[64];
    };

    IppsResamplingPolyphaseFixed_16s* Bank()
    {
        return reinterpret_cast<IppsResamplingPolyphaseFixed_16s*>(block_.data());
    }

    decltype(&ippsResamplePolyphaseFixed_16s) run_;
    std::size_t frames_;
    std::vector<std::int16_t> input_;
    std::vector<std::int16_t> output_;
    std::vector<Aligned> block_;
};

/// One buffer of a stream, beside the filter alone over as many samples of each channel.
void MeasureResampler(benchmark::State& state, Bench& bench, std::uint32_t channels, std::uint32_t from,
                      std::uint32_t to, std::size_t frames)
{
    SZtaWaveFormatInfo in = Pcm16(channels, from);
    SZtaWaveFormatInfo out = Pcm16(channels, to);
    IUnknown* made = nullptr;
    Check(bench, bench.engine->CreateAudioResampler(&in, &out, &made));
    const auto stream = Ref<IUnknown>::Adopt(made);
    const auto input = MakeBuffer(in, frames);
    const auto output = MakeBuffer(out, frames * to / from + frames + 2);
    FilterOnly run(bench, from, to, frames);
    Compare(
        state,
        [&] {
            input->AnnounceRead();
            output->AnnounceWrite();
            Check(bench, bench.engine->ProcessAudioResampler(input.Get(), output.Get(), keZtAudioResamplerModeContinue,
                                                             stream.Get()));
        },
        [&] {
            for (std::uint32_t channel = 0; channel < channels; ++channel) {
                run();
            }
        });
}

void MeasureAgainstHostCalls(benchmark::State& state, Bench& bench, std::size_t frames)
{
    const auto source = MakeBuffer(Pcm16(1), frames);
    const auto destination = MakeBuffer(Pcm16(1), frames);
    Compare(
        state,
        [&] {
            source->AnnounceRead();
            destination->AnnounceWrite();
            Check(bench, bench.engine->CopyAudioSamples(source.Get(), destination.Get()));
        },
        [&] {
            source->AnnounceRead();
            destination->AnnounceWrite();
            bench::CopyDirectly(*source, *destination);
        });
}

/// Selects the variant of the sample loops that the option of this program names: --loop-variant=NAME, or its former
/// spelling --loops=NAME.
void SelectLoops(const Bench& bench, int argc, char** argv)
{
    for (int i = 1; i < argc; ++i) {
        const std::string_view argument = argv[i];
        const bool isOption = argument.starts_with("--loop-variant=") || argument.starts_with("--loops=");
        const auto select = bench.module.Symbol<decltype(&ztSelectSampleLoops)>("ztSelectSampleLoops");
        if (!isOption || select(argv[i] + argument.find('=') + 1) < 0) {
            std::fprintf(stderr, "%s: unknown option, or a variant that this CPU does not support\n", argv[i]);
            std::exit(1);
        }
    }
}

} // namespace

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    static Bench bench(ZTA_MODULE_PATH);
    SelectLoops(bench, argc, argv);
    for (const std::size_t frames : {1024U, 4800U}) {
        for (const std::uint32_t channels : {2U, 8U, 16U, 32U, 64U}) {
            for (const FormatOf format : {FormatOf{Pcm24In32}, FormatOf{Pcm16}}) {
                for (const OperationKind kind : zta::test::kOperationKinds) {
                    const Workload workload{kind, channels, frames, format};
                    if (workload.IsSupported()) {
                        benchmark::RegisterBenchmark(
                            workload.Name().c_str(),
                            [workload](benchmark::State& state) { Measure(state, bench, workload); })
                            ->UseManualTime()
                            ->Iterations(200);
                    }
                }
            }
        }
    }
    for (const std::size_t frames : {1U, 1024U}) {
        benchmark::RegisterBenchmark(
            std::string("CopyToHostCalls/").append(std::to_string(frames)).c_str(),
            [frames](benchmark::State& state) { MeasureAgainstHostCalls(state, bench, frames); })
            ->UseManualTime()
            ->Iterations(500);
    }
    for (const std::uint32_t channels : {1U, 2U}) {
        for (const std::uint32_t from : {44100U, 48000U}) {
            for (const std::size_t frames : {160U, 1024U, 4800U}) {
                const std::uint32_t to = 44100U + 48000U - from;
                std::string name = "Resample/";
                name.append(std::to_string(from)).append("/").append(std::to_string(channels)).append("ch/");
                name.append(std::to_string(frames));
                benchmark::RegisterBenchmark(
                    name.c_str(),
                    [=](benchmark::State& state) { MeasureResampler(state, bench, channels, from, to, frames); })
                    ->UseManualTime()
                    ->Iterations(200);
            }
        }
    }
    benchmark::RunSpecifiedBenchmarks();
}

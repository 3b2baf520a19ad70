#include "bench/common/copy_by_hand.h"
#include "bench/common/jobs.h"
#include "bench/common/models.h"
#include "bench/peers/work.h"

#include <array>

namespace bench {

namespace {

/// A buffer that counts the calls of each kind.
class TallyBuffer : public PlainBuffer {
public:
    using PlainBuffer::PlainBuffer;
    using Tally = std::array<int, 12>;

    const Tally& Counts() const { return counts_; }
    void Clear() { counts_ = {}; }

    int QueryInterface(const _GUID& riid, void** ppv) override
    {
        return Counted(0, PlainBuffer::QueryInterface(riid, ppv));
    }
    unsigned long AddRef() override
    {
        ++counts_[1];
        return PlainBuffer::AddRef();
    }
    unsigned long Release() override
    {
        ++counts_[2];
        return PlainBuffer::Release();
    }
    int MarkWriteStartTime() override { return Counted(3, 0); }
    int MarkWriteStopTime() override { return Counted(4, 0); }
    int SignalReadCompletion() override { return Counted(5, 0); }
    int SignalWriteCompletion() override { return Counted(6, 0); }
    int GetErrorCode(int* code) override { return Counted(7, PlainBuffer::GetErrorCode(code)); }
    int GetAudioSamplesDescription(SZtAudioSamplesDescription* description) override
    {
        return Counted(8, PlainBuffer::GetAudioSamplesDescription(description));
    }
    int GetBufferAndLength(void** data, unsigned long* length) override
    {
        return Counted(9, PlainBuffer::GetBufferAndLength(data, length));
    }
    int GetBufferCapacity(unsigned long* capacity) override
    {
        return Counted(10, PlainBuffer::GetBufferCapacity(capacity));
    }
    int SetLength(unsigned long length) override { return Counted(11, PlainBuffer::SetLength(length)); }

private:
    int Counted(std::size_t which, int status)
    {
        ++counts_[which];
        return status;
    }

    Tally counts_{};
};

/// The yardstick makes the engine's calls, as many of each kind on each buffer.
std::optional<std::string> CompareCalls(const Bench& bench)
{
    std::byte memory[2][8]{};
    const SZtaWaveFormatInfo format = FormatOf(Sample::Int16, 1);
    TallyBuffer source(format, memory[0], 2, 2);
    TallyBuffer destination(format, memory[1], 2, 2);
    bench.spread.Require(bench.spread->CopyAudioSamples(&source, &destination));
    const auto engines = std::pair(source.Counts(), destination.Counts());
    source.Clear();
    destination.Clear();
    CopyByHand(source, destination);
    if (engines != std::pair(source.Counts(), destination.Counts())) {
        return "the engine makes other host calls than the yardstick";
    }
    return std::nullopt;
}

Work MakeOneFrame(const Bench& bench)
{
    const auto memory = std::make_shared<Memory>(2 * Memory::RoomFor(2, Placement::Spread));
    const Side in = MakeSide(memory, Sample::Int16, 1, 1, 1, Placement::Spread);
    const Side out = MakeSide(memory, Sample::Int16, 1, 1, 1, Placement::Spread);
    const auto source = std::make_shared<BufferSet>(in);
    const auto target = std::make_shared<BufferSet>(out);
    const Check copied = EqualTo(out, [in, out] { return Converted(in, out); });
    Work work;
    work.prepare = [in, out] {
        Fill(in, Content::Noise);
        Poison(out);
    };
    work.contenders.push_back(MakeContender("engine", Role::Library, CopyJob(bench.spread, in, out), [&bench, copied] {
        const auto calls = CompareCalls(bench);
        return calls ? calls : copied();
    }));
    work.contenders.push_back(MakeContender(
        "host calls, latch and copy", Role::Yardstick, [source, target] { CopyByHand(*source->One(), *target->One()); },
        copied));
    work.targets = {{Role::Yardstick, 1 / 1.25}};
    return work;
}

} // namespace

void AddCallCost(std::vector<WorkRow>& rows, const Bench& bench)
{
    rows.push_back({"Cost of a call", "copy of one frame", [&bench] { return MakeOneFrame(bench); }});
}

} // namespace bench

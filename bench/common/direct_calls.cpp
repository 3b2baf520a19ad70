#include "bench/common/direct_calls.h"

#include <atomic>
#include <cstring>

// In a file of its own, where the compiler sees no buffer class that it could call directly.

namespace bench {

namespace {

std::atomic<std::uint32_t> busy;

void Query(IZtAudioSamples& buffer)
{
    void* content = nullptr;
    buffer.QueryInterface(IID_IZtAVContent, &content);
}

void ReadCode(IZtAudioSamples& buffer)
{
    int code = 0;
    buffer.GetErrorCode(&code);
}

SZtAudioSamplesDescription Describe(IZtAudioSamples& buffer)
{
    SZtAudioSamplesDescription description{};
    description.ulSize = sizeof description;
    buffer.GetAudioSamplesDescription(&description);
    return description;
}

struct Bytes {
    void* data = nullptr;
    unsigned long length = 0;
};

Bytes GetBytes(IZtAudioSamples& buffer)
{
    Bytes bytes;
    buffer.GetBufferAndLength(&bytes.data, &bytes.length);
    return bytes;
}

unsigned long Capacity(IZtAudioSamples& buffer)
{
    unsigned long capacity = 0;
    buffer.GetBufferCapacity(&capacity);
    return capacity;
}

/// Returns the length.
unsigned long QueryBuffer(IZtAudioSamples& buffer)
{
    Describe(buffer);
    Capacity(buffer);
    return GetBytes(buffer).length;
}

void Propagate(IZtAudioSamples& buffer, const SZtAudioSamplesDescription& description)
{
    buffer.SetPolarity(description.ePolarity);
    buffer.SetFadeIn(description.bFadeIn);
    buffer.SetFadeOut(description.bFadeOut);
}

/// The calls before and after the samples are copied.
template <class Move>
void CopyWithCalls(IZtAudioSamples& source, IZtAudioSamples& destination, Move move)
{
    Query(destination);
    Query(source);
    ReadCode(source);
    Describe(source);
    Describe(destination);
    busy.exchange(1);
    for (int reference = 0; reference < 2; ++reference) { // the saved operand's, and the worker's own
        source.AddRef();
        destination.AddRef();
    }
    destination.MarkWriteStartTime();
    Describe(source);
    Describe(destination);
    ReadCode(source);
    move();
    source.Release();
    destination.Release();
    busy.exchange(0);
    source.SignalReadCompletion();
    destination.MarkWriteStopTime();
    destination.SignalWriteCompletion();
    for (int reference = 0; reference < 2; ++reference) { // the worker's, and the query's
        source.Release();
        destination.Release();
    }
}

} // namespace

void CopyDirectly(IZtAudioSamples& source, IZtAudioSamples& destination)
{
    CopyWithCalls(source, destination, [&] {
        const Bytes from = GetBytes(source);
        Capacity(destination);
        std::memcpy(GetBytes(destination).data, from.data, from.length);
    });
}

void MakeConversionCalls(IZtAudioSamples& source, IZtAudioSamples& destination)
{
    CopyWithCalls(source, destination, [&] {
        QueryBuffer(source);
        destination.SetLength(QueryBuffer(destination));
    });
}

void MakeInterleaveCalls(IZtAudioSamples** inputs, IZtAudioSamples** scratchBuffers, unsigned long count,
                         IZtAudioSamples& mux)
{
    Query(mux);
    for (unsigned long i = 0; i < count; ++i) {
        Describe(*inputs[i]);
        Query(*inputs[i]);
        ReadCode(*inputs[i]);
        inputs[i]->Release();
    }
    Describe(mux);
    busy.exchange(1);
    for (unsigned long i = 0; i < count; ++i) {
        inputs[i]->AddRef();
    }
    mux.AddRef();
    mux.MarkWriteStartTime();

    mux.AddRef();
    Describe(mux);
    SZtAudioSamplesDescription input{};
    for (unsigned long i = 0; i < count; ++i) {
        input = Describe(*inputs[i]);
        const unsigned long length = GetBytes(*inputs[i]).length;
        scratchBuffers[i]->SetWaveFormat(&input.sWaveFormat);
        scratchBuffers[i]->SetLength(length);
        GetBytes(*inputs[i]);
        Capacity(*scratchBuffers[i]);
        GetBytes(*scratchBuffers[i]);
    }
    Propagate(mux, input);
    for (unsigned long i = 0; i < count; ++i) {
        QueryBuffer(*scratchBuffers[i]);
    }
    mux.SetLength(QueryBuffer(mux));
    for (unsigned long i = 0; i < count; ++i) {
        inputs[i]->Release();
    }
    mux.Release();
    busy.exchange(0);
    for (unsigned long i = 0; i < count; ++i) {
        inputs[i]->SignalReadCompletion();
    }
    mux.MarkWriteStopTime();
    mux.SignalWriteCompletion();
    mux.Release();
    mux.Release();
}

void MakeDeinterleaveCalls(IZtAudioSamples& mux, IZtAudioSamples** outputs, unsigned long count)
{
    Query(mux);
    ReadCode(mux);
    Describe(mux);
    for (unsigned long i = 0; i < count; ++i) {
        Query(*outputs[i]);
        Describe(*outputs[i]);
    }
    busy.exchange(1);
    for (unsigned long i = 0; i < count; ++i) {
        outputs[i]->AddRef();
    }
    mux.AddRef();
    for (unsigned long i = 0; i < count; ++i) {
        outputs[i]->MarkWriteStartTime();
    }

    mux.AddRef();
    const SZtAudioSamplesDescription description = Describe(mux);
    Describe(*outputs[0]);
    unsigned long length = 0;
    for (unsigned long i = 0; i < count; ++i) {
        length = QueryBuffer(*outputs[i]);
    }
    QueryBuffer(mux);
    for (unsigned long i = 0; i < count; ++i) {
        outputs[i]->SetLength(length);
    }
    for (unsigned long i = 0; i < count; ++i) {
        Propagate(*outputs[i], description);
    }
    for (unsigned long i = 0; i < count; ++i) {
        outputs[i]->Release();
    }
    mux.Release();
    busy.exchange(0);
    mux.SignalReadCompletion();
    for (unsigned long i = 0; i < count; ++i) {
        outputs[i]->MarkWriteStopTime();
        outputs[i]->SignalWriteCompletion();
    }
    mux.Release();
    for (unsigned long i = 0; i < count; ++i) {
        outputs[i]->Release();
    }
    mux.Release();
}

} // namespace bench

// The smallest host: a buffer and a host engine, with nothing but <zta/zta.h>. It is linked against the module.
#include <cstdio>
#include <cstring>
#include <vector>
#include <zta/zta.h>

using Request = SZtCreateAudioSamplesDescription;
struct Buffer final : IZtAudioSamples {
    explicit Buffer(const Request& request) : format(request.sWaveFormat), data(request.ui64BufferSize / 4) {}
    int QueryInterface(const _GUID& id, void** p) override
    {
        *p = std::memcmp(&id, &IID_IZtAVContent, sizeof id) == 0 ? (++references, this) : nullptr;
        return *p != nullptr ? ZT_NOERROR : E_NOINTERFACE;
    }
    unsigned long AddRef() override { return ++references; }
    unsigned long Release() override { return --references != 0 ? references : (delete this, 0); }
    int MarkWriteStartTime() override { return 0; }
    int MarkWriteStopTime() override { return 0; }
    int SignalReadCompletion() override { return 0; }
    int SignalWriteCompletion() override { return 0; }
    int SetErrorCode(int code) override { return error = code, 0; }
    int GetErrorCode(int* code) override { return *code = error, 0; }
    int SetPolarity(std::uint32_t) override { return 0; }
    int SetWaveFormat(SZtaWaveFormatInfo* f) override { return format = *f, 0; }
    int GetAudioSamplesDescription(SZtAudioSamplesDescription* d) override { return *d = {40, 0, 0, 0, 0, format}, 0; }
    int GetBufferAndLength(void** p, unsigned long* n) override { return *p = data.data(), *n = length, 0; }
    int GetBufferCapacity(unsigned long* n) override { return *n = data.size() * 4, 0; }
    int GetLengthInSampleFrames(unsigned long* n) override { return *n = length / FrameBytes(), 0; }
    int SetFadeIn(bool) override { return 0; }
    int SetFadeOut(bool) override { return 0; }
    int SetLength(unsigned long n) override { return length = n, 0; }
    unsigned long FrameBytes() const { return format.ulBitsPerSample / 8UL * format.ulChannels; }
    SZtaWaveFormatInfo format;
    std::vector<std::uint32_t> data;
    unsigned long length = 0, references = 1;
    int error = 0;
};
struct Host final : IZtQuonEnginePrivate {
    int QueryInterface(const _GUID&, void** p) override { return *p = nullptr, E_NOINTERFACE; }
    unsigned long AddRef() override { return 1; }
    unsigned long Release() override { return 1; }
    int CreateAudioSamples(Request* r, IZtAudioSamples** p) override { return *p = new Buffer(*r), 0; }
} host;
int main()
{
    void* p = nullptr;
    DllGetClassObject(CLSID_ZtaAudioSamplesEngine, IID_IClassFactory, &p);
    auto* const classFactory = static_cast<IClassFactory*>(p);
    classFactory->CreateInstance(nullptr, IID_IZtaAudioSamplesEngineFactory, &p);
    auto* const factory = static_cast<IZtaAudioSamplesEngineFactory*>(p);
    IZtaAudioSamplesEngine* engine = nullptr;
    factory->CreateAudioSamplesEngine(&host, 0, &engine);
    Buffer source({56, 4, 0, 0, false, false, {24, 1, keZtAudioDataTypePcm, 48000, 16, 16}});
    Buffer destination({56, 4, 0, 0, false, false, {24, 1, keZtAudioDataTypePcm, 48000, 32, 24}});
    source.data[0] = 12345, source.length = 2;
    const int status = engine->CopyAudioSamples(&source, &destination);
    std::printf("12345 becomes 0x%08X, %ls\n", destination.data[0], ztErrorToString(status));
    engine->Release(), factory->Release(), classFactory->Release();
    return status;
}

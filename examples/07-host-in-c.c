// A complete host in C: loads the module with dlopen, implements the buffers and the host engine, converts a buffer
// from 16 to 24 bits, interleaves four channels with gains, and unloads the module.
#include <zta/c/zta.h>

#include <dlfcn.h>
#include <stdio.h>
#include <stdlib.h>

// A buffer. The engine sees its first field, the pointer to the table.
typedef struct Buffer {
    IZtAudioSamples base;
    unsigned long references; // one thread uses this host; with several threads this counter must be atomic
    SZtaWaveFormatInfo format;
    unsigned char* data;
    unsigned long capacity; // bytes
    unsigned long length;   // valid bytes
    uint32_t polarity;
    bool fadeIn;
    bool fadeOut;
    int errorCode;
    int openReads; // announced accesses without a completion signal
    int openWrites;
} Buffer;

static int aliveBuffers = 0;

static Buffer* ToBuffer(IZtAudioSamples* samples)
{
    return (Buffer*)samples; // the table is the first field
}

static int QueryInterface(IZtAudioSamples* samples, const _GUID* id, void** object)
{
    const bool known = ZtIsEqualGuid(id, &IID_IUnknown) || ZtIsEqualGuid(id, &IID_IZtAVContent) ||
                       ZtIsEqualGuid(id, &IID_IZtAudioSamples);
    *object = known ? samples : NULL;
    if (known) {
        IZtAudioSamples_AddRef(samples);
    }
    return known ? ZT_NOERROR : E_NOINTERFACE;
}

static unsigned long AddRef(IZtAudioSamples* samples)
{
    return ++ToBuffer(samples)->references;
}

static unsigned long Release(IZtAudioSamples* samples)
{
    Buffer* buffer = ToBuffer(samples);
    const unsigned long references = --buffer->references;
    if (references == 0) {
        free(buffer->data);
        free(buffer);
        --aliveBuffers;
    }
    return references;
}

static int MarkWriteStartTime(IZtAudioSamples* samples)
{
    (void)samples;
    return ZT_NOERROR;
}

static int MarkWriteStopTime(IZtAudioSamples* samples)
{
    (void)samples;
    return ZT_NOERROR;
}

static int SignalReadCompletion(IZtAudioSamples* samples)
{
    --ToBuffer(samples)->openReads;
    return ZT_NOERROR;
}

static int SignalWriteCompletion(IZtAudioSamples* samples)
{
    --ToBuffer(samples)->openWrites;
    return ZT_NOERROR;
}

static int SetErrorCode(IZtAudioSamples* samples, int code)
{
    ToBuffer(samples)->errorCode = code;
    return ZT_NOERROR;
}

static int GetErrorCode(IZtAudioSamples* samples, int* code)
{
    *code = ToBuffer(samples)->errorCode;
    return ZT_NOERROR;
}

static int SetPolarity(IZtAudioSamples* samples, uint32_t polarity)
{
    ToBuffer(samples)->polarity = polarity;
    return ZT_NOERROR;
}

static int SetWaveFormat(IZtAudioSamples* samples, SZtaWaveFormatInfo* format)
{
    ToBuffer(samples)->format = *format;
    return ZT_NOERROR;
}

static int GetAudioSamplesDescription(IZtAudioSamples* samples, SZtAudioSamplesDescription* description)
{
    const Buffer* buffer = ToBuffer(samples);
    if (description->ulSize != sizeof(*description)) {
        return ZT_E_INVALID_PARAMETER;
    }
    description->ePolarity = buffer->polarity;
    description->ulHostAttribute = 0;
    description->bFadeIn = buffer->fadeIn;
    description->bFadeOut = buffer->fadeOut;
    description->sWaveFormat = buffer->format;
    return ZT_NOERROR;
}

static int GetBufferAndLength(IZtAudioSamples* samples, void** data, unsigned long* length)
{
    *data = ToBuffer(samples)->data;
    *length = ToBuffer(samples)->length;
    return ZT_NOERROR;
}

static int GetBufferCapacity(IZtAudioSamples* samples, unsigned long* capacity)
{
    *capacity = ToBuffer(samples)->capacity;
    return ZT_NOERROR;
}

static int GetLengthInSampleFrames(IZtAudioSamples* samples, unsigned long* frames)
{
    const Buffer* buffer = ToBuffer(samples);
    const unsigned long frameBytes = (unsigned long)(buffer->format.ulBitsPerSample / 8) * buffer->format.ulChannels;
    *frames = frameBytes == 0 ? 0 : buffer->length / frameBytes;
    return ZT_NOERROR;
}

static int SetFadeIn(IZtAudioSamples* samples, bool fadeIn)
{
    ToBuffer(samples)->fadeIn = fadeIn;
    return ZT_NOERROR;
}

static int SetFadeOut(IZtAudioSamples* samples, bool fadeOut)
{
    ToBuffer(samples)->fadeOut = fadeOut;
    return ZT_NOERROR;
}

static int SetLength(IZtAudioSamples* samples, unsigned long length)
{
    if (length > ToBuffer(samples)->capacity) {
        return ZT_E_INVALID_PARAMETER;
    }
    ToBuffer(samples)->length = length;
    return ZT_NOERROR;
}

static const IZtAudioSamplesVtbl bufferTable = {
    .QueryInterface = QueryInterface,
    .AddRef = AddRef,
    .Release = Release,
    .MarkWriteStartTime = MarkWriteStartTime,
    .MarkWriteStopTime = MarkWriteStopTime,
    .SignalReadCompletion = SignalReadCompletion,
    .SignalWriteCompletion = SignalWriteCompletion,
    .SetErrorCode = SetErrorCode,
    .GetErrorCode = GetErrorCode,
    .SetPolarity = SetPolarity,
    .SetWaveFormat = SetWaveFormat,
    .GetAudioSamplesDescription = GetAudioSamplesDescription,
    .GetBufferAndLength = GetBufferAndLength,
    .GetBufferCapacity = GetBufferCapacity,
    .GetLengthInSampleFrames = GetLengthInSampleFrames,
    .SetFadeIn = SetFadeIn,
    .SetFadeOut = SetFadeOut,
    .SetLength = SetLength,
};

// Creates a buffer with one reference, or returns NULL.
static Buffer* CreateBuffer(SZtaWaveFormatInfo format, unsigned long capacity)
{
    Buffer* buffer = calloc(1, sizeof(*buffer));
    unsigned char* data = calloc(1, capacity);
    if (buffer == NULL || data == NULL) {
        free(buffer);
        free(data);
        return NULL;
    }
    buffer->base.lpVtbl = &bufferTable;
    buffer->references = 1;
    buffer->format = format;
    buffer->data = data;
    buffer->capacity = capacity;
    ++aliveBuffers;
    return buffer;
}

// The host engine: one object, alive as long as the program.
static int HostQueryInterface(IZtQuonEnginePrivate* host, const _GUID* id, void** object)
{
    const bool known = ZtIsEqualGuid(id, &IID_IUnknown) || ZtIsEqualGuid(id, &IID_IZtQuonEnginePrivate);
    *object = known ? host : NULL;
    return known ? ZT_NOERROR : E_NOINTERFACE;
}

static unsigned long HostAddRefOrRelease(IZtQuonEnginePrivate* host)
{
    (void)host;
    return 1;
}

static int HostCreateAudioSamples(IZtQuonEnginePrivate* host, SZtCreateAudioSamplesDescription* request,
                                  IZtAudioSamples** samples)
{
    (void)host;
    Buffer* buffer = CreateBuffer(request->sWaveFormat, request->ui64BufferSize);
    *samples = buffer != NULL ? &buffer->base : NULL;
    return buffer != NULL ? ZT_NOERROR : E_OUTOFMEMORY;
}

static const IZtQuonEnginePrivateVtbl hostTable = {
    .QueryInterface = HostQueryInterface,
    .AddRef = HostAddRefOrRelease,
    .Release = HostAddRefOrRelease,
    .CreateAudioSamples = HostCreateAudioSamples,
};

// The module.
static void* module;
static ztErrorToStringFn* errorToString;

static void Check(int status, const char* what)
{
    if (status < 0) {
        fprintf(stderr, "%s: %ls\n", what, errorToString(status));
        exit(1);
    }
}

static void Expect(bool holds, const char* what)
{
    if (!holds) {
        fprintf(stderr, "%s\n", what);
        exit(1);
    }
}

// Stores the address of a function of the module in *function, a pointer to a function.
static void Find(const char* name, void* function)
{
    void* address = dlsym(module, name);
    Expect(address != NULL, name);
    memcpy(function, &address, sizeof(address));
}

static IZtaAudioSamplesEngine* CreateEngine(DllGetClassObjectFn* getClassObject, IZtQuonEnginePrivate* host)
{
    void* object = NULL;
    Check(getClassObject(&CLSID_ZtaAudioSamplesEngine, &IID_IClassFactory, &object), "DllGetClassObject");
    IClassFactory* classFactory = object;
    Check(IClassFactory_CreateInstance(classFactory, NULL, &IID_IZtaAudioSamplesEngineFactory, &object),
          "CreateInstance");
    IZtaAudioSamplesEngineFactory* factory = object;
    IZtaAudioSamplesEngine* engine = NULL;
    Check(IZtaAudioSamplesEngineFactory_CreateAudioSamplesEngine(factory, host, 0, &engine),
          "CreateAudioSamplesEngine");
    IZtaAudioSamplesEngineFactory_Release(factory);
    IClassFactory_Release(classFactory);
    return engine;
}

static SZtaWaveFormatInfo Pcm(uint32_t channels, uint32_t containerBits, uint32_t validBits)
{
    const SZtaWaveFormatInfo format = {sizeof(format), channels, keZtAudioDataTypePcm, 48000, containerBits, validBits};
    return format;
}

static uint32_t ReadWord(const Buffer* buffer, unsigned long index)
{
    uint32_t word;
    memcpy(&word, buffer->data + index * sizeof(word), sizeof(word));
    return word;
}

enum { kSamples = 6, kChannels = 4 };

// Converts 16-bit samples to 24-in-32.
static void Convert(IZtaAudioSamplesEngine* engine)
{
    const int16_t samples[kSamples] = {0, 1, -1, 12345, 32767, -32768};
    Buffer* source = CreateBuffer(Pcm(1, 16, 16), sizeof(samples));
    Buffer* destination = CreateBuffer(Pcm(1, 32, 24), kSamples * 4);
    Expect(source != NULL && destination != NULL, "out of memory");
    memcpy(source->data, samples, sizeof(samples));
    source->length = sizeof(samples);

    ++source->openReads;
    ++destination->openWrites;
    Check(IZtaAudioSamplesEngine_CopyAudioSamples(engine, &source->base, &destination->base), "CopyAudioSamples");
    for (unsigned long i = 0; i < destination->length / 4; ++i) {
        printf("%6d becomes 0x%08X\n", samples[i], (unsigned)ReadWord(destination, i));
    }
    Expect(source->openReads == 0 && destination->openWrites == 0, "a completion signal is missing");
    IZtAudioSamples_Release(&source->base);
    IZtAudioSamples_Release(&destination->base);
}

// Interleaves mono buffers into one mux. Channel c has the constant 0.25 and the gain c + 1.
static void Interleave(IZtaAudioSamplesEngine* engine)
{
    IZtAudioSamples* planes[kChannels];
    SZtAudioMonoVolumeInfo volumes[kChannels];
    Buffer* mux = CreateBuffer(Pcm(kChannels, 32, 24), kSamples * kChannels * 4);
    Expect(mux != NULL, "out of memory");
    for (int c = 0; c < kChannels; ++c) {
        Buffer* plane = CreateBuffer(Pcm(1, 32, 24), kSamples * 4);
        Expect(plane != NULL, "out of memory");
        for (int i = 0; i < kSamples; ++i) {
            const uint32_t quarter = 0x20000000;
            memcpy(plane->data + i * 4, &quarter, sizeof(quarter));
        }
        plane->length = kSamples * 4;
        plane->openReads = 1;
        planes[c] = &plane->base;
        volumes[c].ulChannelRef = 0;
        volumes[c].fStartVolume = volumes[c].fEndVolume = (float)(c + 1);
    }
    mux->openWrites = 1;
    mux->length = mux->capacity; // with volumes, the mux must have the length of its inputs
    Check(IZtaAudioSamplesEngine_CopyAudioSamplesMonoToMux(engine, planes, kChannels, &mux->base, volumes, kChannels),
          "CopyAudioSamplesMonoToMux");
    printf("mux of %d channels, first frame:", kChannels);
    for (unsigned long c = 0; c < kChannels; ++c) {
        printf(" %.6f", (double)(int32_t)ReadWord(mux, c) / 2147483648.0);
    }
    printf("\n");
    for (int c = 0; c < kChannels; ++c) {
        Expect(ToBuffer(planes[c])->openReads == 0, "a completion signal is missing");
        IZtAudioSamples_Release(planes[c]);
    }
    Expect(mux->openWrites == 0, "a completion signal is missing");
    IZtAudioSamples_Release(&mux->base);
}

int main(int argc, char** argv)
{
    module = dlopen(argc > 1 ? argv[1] : "libZtaAudioSamplesEngine.so.1", RTLD_NOW | RTLD_LOCAL);
    if (module == NULL) {
        fprintf(stderr, "%s\n", dlerror());
        return 1;
    }
    DllEntryPointFn* entryPoint;
    DllGetClassObjectFn* getClassObject;
    DllCanUnloadNowFn* canUnloadNow;
    Find("ztErrorToString", &errorToString);
    Find("DllEntryPoint", &entryPoint);
    Find("DllGetClassObject", &getClassObject);
    Find("DllCanUnloadNow", &canUnloadNow);

    entryPoint(1, (void*)(uintptr_t)kZtModuleLoad);
    IZtQuonEnginePrivate host = {&hostTable};
    IZtaAudioSamplesEngine* engine = CreateEngine(getClassObject, &host);
    printf("scratch buffers of the engine: %d\n", aliveBuffers);
    Convert(engine);
    Interleave(engine);
    IZtaAudioSamplesEngine_Release(engine);
    printf("buffers left: %d\n", aliveBuffers);
    Expect(canUnloadNow() == 0, "an object of the module is still alive");
    entryPoint(1, (void*)(uintptr_t)kZtModuleUnload);
    return dlclose(module) == 0 ? 0 : 1;
}

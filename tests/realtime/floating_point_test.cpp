// The module neither changes the floating-point mode of the host nor depends on flush-to-zero.

#include "testing/scenarios.h"
#include "testing/temp_directory.h"
#include "tests/realtime/realtime_test_support.h"

#include <immintrin.h>

#include <cstdint>
#include <cstring>
#include <filesystem>
#include <vector>

#include <dlfcn.h>

namespace zta::test {
namespace {

using Bytes = std::vector<std::byte>;

constexpr unsigned kFlushToZero = 0x8000;
constexpr unsigned kDenormalsAreZero = 0x0040;
constexpr unsigned kRoundUp = 0x4000;
constexpr unsigned kDefault = 0x1F80; // all exceptions masked
constexpr unsigned kFlags = 0x003F;   // exception flags are not part of the mode

struct Modes {
    unsigned mxcsr;
    std::uint16_t x87;
    bool operator==(const Modes&) const = default;
};

Modes Now()
{
    Modes modes{_mm_getcsr() & ~kFlags, 0};
    asm volatile("fnstcw %0" : "=m"(modes.x87));
    return modes;
}

void Set(const Modes& modes)
{
    _mm_setcsr(modes.mxcsr);
    asm volatile("fldcw %0" : : "m"(modes.x87));
}

/// Sets a mode for a scope.
class Mode {
public:
    explicit Mode(unsigned mxcsr, std::uint16_t x87 = 0x037F) : before_(Now()) { Set({mxcsr, x87}); }
    ~Mode() { Set(before_); }
    Mode(const Mode&) = delete;
    Mode& operator=(const Mode&) = delete;

private:
    Modes before_;
};

TEST(FloatingPointMode, IsLeftAloneByLoadingAndUnloading)
{
    // A copy, because the program has already loaded the module itself.
    TempDirectory directory;
    const std::string copy = directory.File("copy.so");
    std::filesystem::copy_file(ZTA_MODULE_PATH, copy);
    EXPECT_EQ(Now(), (Modes{kDefault, 0x037F})) << "the program's start loaded the module, too";
    const Mode mode(kDefault | kRoundUp, 0x027F); // x87: double precision
    const Modes before = Now();
    EXPECT_EQ(before, (Modes{kDefault | kRoundUp, 0x027F})) << "the mode is set";
    void* module = dlopen(copy.c_str(), RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(module, nullptr) << dlerror();
    EXPECT_EQ(Now(), before);
    EXPECT_EQ(dlclose(module), 0);
    EXPECT_EQ(Now(), before);
}

class FloatingPointOf : public RealtimeEngine, public testing::WithParamInterface<ScenarioCase> {
protected:
    /// Returns the outputs of the operation under a mode. The streams and buffers are created under it as well.
    std::vector<Bytes> Result(unsigned mxcsr)
    {
        const Mode mode(mxcsr);
        const Modes before = Now();
        const Scenario scenario = GetParam().Make();
        EXPECT_EQ(RunAnnounced(scenario, *engine_), GetParam().status);
        EXPECT_EQ(Now(), before);
        return OutputBytes(scenario);
    }
};

TEST_P(FloatingPointOf, LeavesTheModeAndGivesTheSameUnderFlushing)
{
    if (GetParam().leaksReference && !RealtimeTrap::IsAvailable()) {
        GTEST_SKIP() << "the sanitizer would report the reference that stays";
    }
    const std::vector<Bytes> expected = Result(kDefault);
    EXPECT_EQ(Result(kDefault | kFlushToZero | kDenormalsAreZero), expected);
}

INSTANTIATE_TEST_SUITE_P(Operations, FloatingPointOf, testing::ValuesIn(Scenarios()),
                         [](const auto& parameter) { return parameter.param.name; });

TEST(FloatingPointMode, DenormalFloatsAreSilenceEitherWay)
{
    const auto hostEngine = host::HostEngine::Create();
    host::Module module(ZTA_MODULE_PATH);
    const auto engine = module.CreateEngine(*hostEngine.Get());
    constexpr std::size_t kFrames = 64;
    const auto source = host::AudioBuffer::Create(host::Float32(1), kFrames * 4);
    for (std::size_t i = 0; i < kFrames; ++i) {
        const std::uint32_t bits = static_cast<std::uint32_t>(i % 2 << 31 | (i * 131071 + 1));
        std::memcpy(source->Data() + 4 * i, &bits, sizeof(bits));
    }
    source->SetValidLength(source->Capacity());
    for (const SZtaWaveFormatInfo& format : {host::Pcm16(1), host::Pcm24In32(1)}) {
        for (const unsigned mxcsr : {kDefault, kDefault | kFlushToZero | kDenormalsAreZero}) {
            const Mode mode(mxcsr);
            const auto destination = host::AudioBuffer::Create(format, kFrames * host::BytesPerFrame(format));
            std::memset(destination->Data(), 0x55, destination->Capacity());
            source->AnnounceRead();
            destination->AnnounceWrite();
            EXPECT_EQ(engine->CopyAudioSamples(source.Get(), destination.Get()), 0);
            EXPECT_EQ(Bytes(destination->Data(), destination->Data() + destination->Capacity()),
                      Bytes(destination->Capacity()));
        }
    }
}

} // namespace
} // namespace zta::test

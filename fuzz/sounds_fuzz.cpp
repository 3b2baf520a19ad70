// Reads any bytes as a sound file, as the tool reads its inputs. libsndfile is not instrumented.

#include "fuzz/fuzz_input.h"
#include "host/formats.h"
#include "testing/temp_directory.h"
#include "tools/common/failure.h"
#include "tools/ztaudio/block_reader.h"
#include "tools/ztaudio/length_check.h"
#include "tools/ztaudio/sound_file_reader.h"

namespace {

using zta::fuzz::FuzzInput;

/// A file can claim any number of frames; this many are enough.
constexpr sf_count_t kMostFrames = 20000;
constexpr std::uint32_t kMostChannels = 64;

void Read(const std::filesystem::path& path, sf_count_t blockFrames, bool fadeIn, bool fadeOut)
{
    SoundFileReader sound(path);
    for (const Tag& tag : sound.Tags()) {
        ZTA_FUZZ_CHECK(!tag.text.empty());
    }
    ZTA_FUZZ_CHECK(sound.Channels() > 0 && sound.Frames() >= 0);
    if (sound.Channels() > kMostChannels) {
        return;
    }
    BlockReader blocks(sound, blockFrames, fadeIn, fadeOut);
    if (blocks.MaxFrames() > kMostFrames) {
        return;
    }
    sf_count_t given = 0;
    bool last = false;
    for (Block block; given < kMostFrames && blocks.Next(block);) {
        ZTA_FUZZ_CHECK(!last);
        ZTA_FUZZ_CHECK(block.frames > 0 && block.frames <= blocks.MaxFrames());
        ZTA_FUZZ_CHECK(!block.fadeIn || (fadeIn && given == 0));
        ZTA_FUZZ_CHECK(!block.fadeOut || fadeOut);
        last = block.fadeOut;
        // Every byte is there.
        const std::size_t bytes = static_cast<std::size_t>(block.frames) * sound.Channels() * BytesOf(sound.Format());
        const std::vector<std::byte> copy(block.samples, block.samples + bytes);
        ZTA_FUZZ_CHECK(std::memcmp(copy.data(), block.samples, bytes) == 0);
        given += block.frames;
    }
    sound.RequireWhole();
}

} // namespace

/// Leaks of system libraries on damaged files are not checked.
extern "C" __attribute__((visibility("default"))) const char* __lsan_default_suppressions()
{
    return "leak:libsndfile\nleak:libvorbis\n";
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const TempDirectory directory;
    if (size < 2) {
        return 0;
    }
    // The last bytes select how to read, so that the file begins at offset 0.
    FuzzInput choices(data + size - 2, 2);
    const auto blockFrames = static_cast<sf_count_t>(1 + choices.ConsumeIndex(256) * 5);
    const std::size_t fades = choices.ConsumeIndex(4);
    const std::string path = directory.File("fuzz.sound");
    WriteTextFile(path, std::string(reinterpret_cast<const char*>(data), size - 2));
    CheckLength(path);
    try {
        Read(path, blockFrames, (fades & 1) != 0, (fades & 2) != 0);
    } catch (const Failure& failure) {
        ZTA_FUZZ_CHECK(std::string(failure.what()).find(path) == 0);
    }
    return 0;
}

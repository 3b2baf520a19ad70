/// make_tone FILE HERTZ DBFS RATE SECONDS: writes a sine for scripts/demo, as a mono WAV file of 16 bits.
#include "tools/maintainer/sine.h"

#include <sndfile.h>

#include <cstdio>
#include <cstdlib>

namespace {

bool ReadNumber(const char* text, double& number)
{
    char* end = nullptr;
    number = std::strtod(text, &end);
    return end != text && *end == '\0';
}

} // namespace

int main(int argc, char** argv)
{
    double hertz = 0;
    double decibels = 0;
    double rate = 0;
    double seconds = 0;
    if (argc != 6 || !ReadNumber(argv[2], hertz) || !ReadNumber(argv[3], decibels) || !ReadNumber(argv[4], rate) ||
        !ReadNumber(argv[5], seconds)) {
        std::fprintf(stderr, "usage: make_tone FILE HERTZ DBFS RATE SECONDS\n");
        return 2;
    }
    const auto samples = MakeSine(hertz, decibels, rate, static_cast<std::size_t>(rate * seconds));
    SF_INFO info{};
    info.format = SF_FORMAT_WAV | SF_FORMAT_PCM_16;
    info.channels = 1;
    info.samplerate = static_cast<int>(rate);
    SNDFILE* file = sf_open(argv[1], SFM_WRITE, &info);
    const auto count = static_cast<sf_count_t>(samples.size());
    if (file == nullptr || sf_write_short(file, samples.data(), count) != count || sf_close(file) != 0) {
        std::fprintf(stderr, "make_tone: cannot write %s\n", argv[1]);
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}

// Prints docs/status-codes.md, the page of all statuses, from the table that the module is built from.
#include <cstdint>
#include <cstdio>
#include <iterator>

namespace {

constexpr const char* kHead = R"(# Error codes

A status is a signed 32-bit number, below 0 for a failure. `ztErrorToString` answers a code of this page with
`name: text` and any other with `Unknown error`. `zta/status.h` has a constant for each name; for a block of codes it is
the first of them. What the library itself returns, and when, is told in [the host's guide](host-guide.md); the other
codes belong to the media engine around it, and reach the library on a buffer.

This page is printed by `make status-codes` from `include/zta/status_codes.def`.
)";

struct Status {
    std::uint32_t code;
    unsigned connector_bits;
    const char* name;
    const char* sentence;
};

constexpr Status kStatuses[] = {
#define ZTA_STATUS_RANGE(code, bits, name, sentence) {code, bits, #name, sentence},
#define ZTA_STATUS_ENTRY(code, name, sentence) ZTA_STATUS_RANGE(code, 0, name, sentence)
#include <zta/status_codes.def>
};

struct Family {
    std::uint32_t first_code;
    const char* heading;
    const char* text;
};

constexpr Family kFamilies[] = {
    {0x00000000, "Success", "What a call returns that did its work."},
    {0x09990001, "Warnings", "`ZT_W_...`: the work was done, with something that the caller may want to know."},
    {0x09992000, "Notifications", "`ZT_M_...`: something happened that was to be expected."},
    {0x89998001, "Errors", "`ZT_E_...`: the work was not done, or not all of it."},
    {0x8F3D0200, "Errors of shared graphics", "`ZT_E_...`: no picture could be shared with a graphics processor."},
    {0xA306F002, "Statuses of synchronized buffers",
     "`kZtSynchroStatus...`: what became of a buffer that a device was to play or capture in time."},
    {0xEFAC9200, "Malfunctions of an output",
     "`kZtkStatus...`: each row is one text for a block of codes, whose low bits are the number of the connector."},
};

} // namespace

int main()
{
    std::fputs(kHead, stdout);
    const Family* next = kFamilies;
    for (const Status& status : kStatuses) {
        if (next != std::end(kFamilies) && status.code >= next->first_code) {
            std::printf("\n## %s\n\n%s\n\n| code | name | text |\n|---|---|---|\n", next->heading, next->text);
            ++next;
        }
        std::printf("| 0x%08X", status.code);
        if (status.connector_bits != 0) {
            std::printf(" to 0x%08X", status.code + (std::uint32_t{1} << status.connector_bits) - 1);
        }
        std::printf(" | `%s` | %s |\n", status.name, status.sentence);
    }
    return std::fflush(stdout) == 0 ? 0 : 1;
}

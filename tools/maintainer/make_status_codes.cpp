// Prints docs/status-codes.md, the page of all status codes, from the table that the module is built from.
#include <cstdint>
#include <cstdio>
#include <iterator>

namespace {

constexpr const char* kHead = R"(# Status codes

A status code is a signed 32-bit integer, negative for failure. `ztErrorToString` returns `name: text` for a code of this
page and `Unknown error` for any other. `zta/status.h` has a constant for each name; for a range of codes it is the first
of them. [The host's guide](host-guide.md) describes the codes that the library returns. The other codes belong to the
media engine around it; a buffer can carry them as its error code.

`make status-codes` writes this page from `include/zta/status_codes.def`.
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
    {0x00000000, "Success", "The operation succeeded."},
    {0x09990001, "Warnings", "`ZT_W_...`: the operation succeeded; the text describes a limitation."},
    {0x09992000, "Notifications", "`ZT_M_...`: an expected event."},
    {0x89998001, "Errors", "`ZT_E_...`: the operation failed, or was not completed."},
    {0x8F3D0200, "Errors of shared graphics", "`ZT_E_...`: a picture could not be shared with a graphics processor."},
    {0xA306F002, "Status codes of synchronized buffers",
     "`kZtSynchroStatus...`: the result of playing or capturing a buffer at a given time."},
    {0xEFAC9200, "Malfunctions of an output",
     "`kZtkStatus...`: each row is one text for a range of codes, whose low bits are the number of the connector."},
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

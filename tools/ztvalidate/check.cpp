#include "tools/ztvalidate/check.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <iterator>

namespace zta::validate {

namespace {

struct Status {
    std::uint32_t code;
    const char* name;
};

const Status kStatuses[] = {
#define ZTA_STATUS_ENTRY(code, name, description) {code, #name},
#include <zta/status_codes.def>
};

} // namespace

std::string GroupName(const Check& check)
{
    return check.name.substr(0, check.name.rfind('.'));
}

void RequireStatus(int actual, int expected, const std::string& what)
{
    Require(actual == expected, what + " returns " + StatusText(actual) + ", not " + StatusText(expected));
}

std::string StatusText(int status)
{
    char code[16];
    std::snprintf(code, sizeof(code), "0x%08X", static_cast<unsigned int>(status));
    const auto* const entry = std::find_if(std::begin(kStatuses), std::end(kStatuses),
                                           [=](const Status& known) { return static_cast<int>(known.code) == status; });
    return entry == std::end(kStatuses) ? code : std::string(code) + " (" + entry->name + ")";
}

const char* ResultName(Result result)
{
    constexpr std::array<const char*, 5> kNames = {"passed", "warning", "failed", "crashed", "skipped"};
    return kNames[static_cast<std::size_t>(result)];
}

bool IsBad(const Outcome& outcome)
{
    return outcome.result == Result::Failed || outcome.result == Result::Crashed;
}

Outcome PerformCheck(const Check& check, const Context& context)
{
    try {
        check.run(context);
        return {Result::Passed};
    } catch (const CheckFailure& failure) {
        return {Result::Failed, failure.what()};
    } catch (const CheckWarning& warning) {
        return {Result::Warning, warning.what()};
    } catch (const CheckSkipped& reason) {
        return {Result::Skipped, reason.what()};
    } catch (const std::exception& error) {
        return {Result::Failed, error.what()};
    } catch (...) {
        return {Result::Failed, "an exception that is not derived from std::exception"};
    }
}

} // namespace zta::validate

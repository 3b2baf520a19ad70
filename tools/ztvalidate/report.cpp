#include "tools/ztvalidate/report.h"

#include "version_values.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>

namespace zta::validate {

namespace {

constexpr std::array kResults = {Result::Passed, Result::Warning, Result::Failed, Result::Crashed, Result::Skipped};

std::size_t Count(const Report& report, Result result)
{
    return static_cast<std::size_t>(
        std::ranges::count(report.lines, result, [](const ReportLine& line) { return line.outcome.result; }));
}

/// What a module wrote may hold anything: only what a terminal shows as it is gets through.
std::string Printable(std::string text)
{
    std::ranges::replace_if(
        text, [](char c) { return (c >= 0 && c < ' ') || c == 0x7F; }, ' ');
    return text;
}

std::string Indented(const std::string& text)
{
    std::string indented;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t end = std::min(text.find('\n', at), text.size());
        indented += "         | " + Printable(text.substr(at, end - at)) + "\n";
        at = end + 1;
    }
    return indented;
}

} // namespace

bool Report::IsGood() const
{
    return Count(*this, Result::Failed) + Count(*this, Result::Crashed) == 0;
}

std::string LineText(const ReportLine& line)
{
    std::string result = ResultName(line.outcome.result);
    result.resize(9, ' ');
    std::string text = result + line.check->name + ": " + line.check->description + "\n";
    if (!line.outcome.detail.empty()) {
        text += "         > " + Printable(line.outcome.detail) + "\n";
    }
    return text + Indented(line.outcome.output);
}

std::string SummaryText(const Report& report)
{
    std::string text = std::to_string(report.lines.size()) + " checks:";
    for (const Result result : kResults) {
        text += std::string(result == kResults.front() ? " " : ", ") + std::to_string(Count(report, result)) + " " +
                ResultName(result);
    }
    return text + "\n";
}

std::string JsonText(const Report& report)
{
    using Json = nlohmann::ordered_json;
    Json checks = Json::array();
    for (const ReportLine& line : report.lines) {
        checks.push_back({{"name", line.check->name},
                          {"sentence", line.check->description},
                          {"result", ResultName(line.outcome.result)},
                          {"detail", line.outcome.detail},
                          {"output", line.outcome.output},
                          {"seconds", line.outcome.seconds}});
    }
    Json totals;
    for (const Result result : kResults) {
        totals[ResultName(result)] = Count(report, result);
    }
    const Json json = {{"tool", "ztvalidate"},
                       {"version", ZTA_RELEASE},
                       {report.kind, report.context.subject},
                       {"seed", report.context.seed},
                       {"good", report.IsGood()},
                       {"totals", totals},
                       {"checks", checks}};
    return json.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

} // namespace zta::validate

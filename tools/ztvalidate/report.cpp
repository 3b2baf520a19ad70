#include "tools/ztvalidate/report.h"

#include "version_values.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <cstdio>
#include <filesystem>

namespace zta::validate {

namespace {

constexpr std::array kResults = {Result::Passed, Result::Warning, Result::Failed, Result::Crashed, Result::Skipped};

bool IsControl(char c)
{
    return (c >= 0 && c < ' ') || c == 0x7F;
}

/// Output of a module can hold any byte: replaces what could control a terminal.
std::string Printable(std::string text)
{
    std::ranges::replace_if(text, IsControl, ' ');
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

/// Text that XML 1.0 can hold: other control characters and bytes outside ASCII become question marks.
std::string XmlEscaped(const std::string& text)
{
    std::string escaped;
    for (const char c : text) {
        switch (c) {
        case '&':
            escaped += "&amp;";
            break;
        case '<':
            escaped += "&lt;";
            break;
        case '>':
            escaped += "&gt;";
            break;
        case '"':
            escaped += "&quot;";
            break;
        case '\n':
            escaped += "&#10;";
            break;
        default:
            escaped += IsControl(c) || static_cast<unsigned char>(c) >= 0x80 ? '?' : c;
        }
    }
    return escaped;
}

std::string XmlAttribute(const char* name, const std::string& value)
{
    return std::string(" ") + name + "=\"" + XmlEscaped(value) + "\"";
}

std::string SecondsText(double seconds)
{
    char text[32];
    std::snprintf(text, sizeof(text), "%.6f", seconds);
    return text;
}

std::size_t CountResult(const std::vector<ReportLine>& lines, Result result)
{
    return static_cast<std::size_t>(
        std::ranges::count(lines, result, [](const ReportLine& line) { return line.outcome.result; }));
}

bool HasRunGood(const SubjectReport& subject)
{
    return CountResult(subject.lines, Result::Failed) + CountResult(subject.lines, Result::Crashed) == 0 &&
           CountResult(subject.lines, Result::Passed) + CountResult(subject.lines, Result::Warning) != 0;
}

std::string JunitCase(const Report& report, const SubjectReport& subject, const ReportLine& line)
{
    const Outcome& outcome = line.outcome;
    std::string text = "    <testcase" + XmlAttribute("classname", GroupName(*line.check)) +
                       XmlAttribute("name", line.check->name) + XmlAttribute("time", SecondsText(outcome.seconds));
    if (outcome.result == Result::Passed) {
        return text + "/>\n";
    }
    text += ">\n";
    if (outcome.result == Result::Skipped) {
        text += "      <skipped" + XmlAttribute("message", outcome.detail) + "/>\n";
    } else if (IsBad(outcome)) {
        const std::string element = outcome.result == Result::Failed ? "failure" : "error";
        text += "      <" + element + XmlAttribute("message", outcome.detail) + ">" +
                XmlEscaped(line.check->description + "\n" + outcome.detail +
                           "\nrerun: " + RerunCommand(report, subject.context, *line.check)) +
                "</" + element + ">\n";
    }
    if (outcome.result == Result::Warning) {
        text += "      <system-out>" + XmlEscaped("warning: " + outcome.detail) + "</system-out>\n";
    } else if (!outcome.output.empty()) {
        text += "      <system-out>" + XmlEscaped(outcome.output) + "</system-out>\n";
    }
    return text + "    </testcase>\n";
}

} // namespace

std::size_t Report::Count(Result result) const
{
    std::size_t count = 0;
    for (const SubjectReport& subject : subjects) {
        count += CountResult(subject.lines, result);
    }
    return count;
}

std::size_t Report::LineCount() const
{
    std::size_t count = 0;
    for (const SubjectReport& subject : subjects) {
        count += subject.lines.size();
    }
    return count;
}

bool Report::IsGood() const
{
    return checkCount != 0 && LineCount() == checkCount && std::ranges::all_of(subjects, HasRunGood);
}

std::string ShellQuoted(const std::string& word)
{
    constexpr const char* kPlain = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_-+=./,:@%";
    if (!word.empty() && word.find_first_not_of(kPlain) == std::string::npos) {
        return word;
    }
    std::string quoted = "'";
    for (const char c : word) {
        quoted += c == '\'' ? "'\\''" : std::string(1, c);
    }
    return quoted + "'";
}

std::string RerunCommand(const Report& report, const Context& context, const Check& check)
{
    return ShellQuoted(report.program) + " --in-process --seed " + std::to_string(report.seed) + " --only " +
           check.name + (report.isHost ? " --host " : " ") + ShellQuoted(context.subject);
}

std::string LineText(const Report& report, const Context& context, const ReportLine& line)
{
    std::string result = ResultName(line.outcome.result);
    result.resize(9, ' ');
    std::string text = result + line.check->name + ": " + line.check->description + "\n";
    if (!line.outcome.detail.empty()) {
        text += "         > " + Printable(line.outcome.detail) + "\n";
    }
    text += Indented(line.outcome.output);
    if (IsBad(line.outcome)) {
        const std::string command = RerunCommand(report, context, *line.check);
        text += "         rerun: " + command + "\n         debug: gdb --args " + command + "\n";
    }
    return text;
}

std::string VerdictText(const Report& report)
{
    std::string text = report.IsGood() ? "verdict: passed" : "verdict: failed";
    if (report.LineCount() != report.checkCount) {
        text += ", interrupted after " + std::to_string(report.LineCount()) + " of " +
                std::to_string(report.checkCount) + " checks";
    } else if (!report.IsGood() && report.Count(Result::Failed) + report.Count(Result::Crashed) == 0) {
        text += ", no check applies";
    }
    text += " (" + std::to_string(report.LineCount()) + " checks:";
    for (const Result result : kResults) {
        text += std::string(result == kResults.front() ? " " : ", ") + std::to_string(report.Count(result)) + " " +
                ResultName(result);
    }
    return text + ")\n";
}

std::string JsonText(const Report& report)
{
    using Json = nlohmann::ordered_json;
    Json subjects = Json::array();
    Json checks = Json::array();
    for (const SubjectReport& subject : report.subjects) {
        const std::string path = std::filesystem::absolute(subject.context.subject).string();
        subjects.push_back(path);
        for (const ReportLine& line : subject.lines) {
            Json check = {{"subject", path},
                          {"name", line.check->name},
                          {"description", line.check->description},
                          {"result", ResultName(line.outcome.result)},
                          {"detail", line.outcome.detail},
                          {"output", line.outcome.output},
                          {"seconds", line.outcome.seconds}};
            if (IsBad(line.outcome)) {
                check["rerun"] = RerunCommand(report, subject.context, *line.check);
            }
            checks.push_back(check);
        }
    }
    Json totals;
    for (const Result result : kResults) {
        totals[ResultName(result)] = report.Count(result);
    }
    const Json json = {
        {"tool", "ztvalidate"}, {"version", ZTA_RELEASE},  {report.isHost ? "hosts" : "modules", subjects},
        {"seed", report.seed},  {"good", report.IsGood()}, {"totals", totals},
        {"checks", checks}};
    return json.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

std::string JunitText(const Report& report)
{
    const auto counts = [](std::size_t tests, std::size_t failed, std::size_t crashed) {
        return XmlAttribute("tests", std::to_string(tests)) + XmlAttribute("failures", std::to_string(failed)) +
               XmlAttribute("errors", std::to_string(crashed));
    };
    std::string text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<testsuites name=\"ztvalidate\"" +
                       counts(report.LineCount(), report.Count(Result::Failed), report.Count(Result::Crashed)) + ">\n";
    for (const SubjectReport& subject : report.subjects) {
        double seconds = 0;
        for (const ReportLine& line : subject.lines) {
            seconds += line.outcome.seconds;
        }
        text += "  <testsuite" + XmlAttribute("name", subject.context.subject) +
                counts(subject.lines.size(), CountResult(subject.lines, Result::Failed),
                       CountResult(subject.lines, Result::Crashed)) +
                XmlAttribute("skipped", std::to_string(CountResult(subject.lines, Result::Skipped))) +
                XmlAttribute("time", SecondsText(seconds)) + ">\n    <properties>\n      <property name=\"seed\"" +
                XmlAttribute("value", std::to_string(report.seed)) + "/>\n    </properties>\n";
        for (const ReportLine& line : subject.lines) {
            text += JunitCase(report, subject, line);
        }
        text += "  </testsuite>\n";
    }
    return text + "</testsuites>\n";
}

} // namespace zta::validate

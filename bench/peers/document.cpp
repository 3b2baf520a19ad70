#include "bench/common/text.h"
#include "bench/peers/result.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <map>
#include <sstream>
#include <stdexcept>

namespace bench {

namespace {

std::string Read(const std::filesystem::path& file)
{
    std::ifstream stream(file);
    std::stringstream text;
    text << stream.rdbuf();
    if (!stream) {
        throw std::runtime_error("cannot read " + file.string());
    }
    return text.str();
}

void Write(const std::filesystem::path& file, const std::string& text)
{
    std::ofstream stream(file);
    stream << text;
    stream.close();
    if (!stream) {
        throw std::runtime_error("cannot write " + file.string());
    }
}

void Replace(std::string& text, const std::string& field, const std::string& with)
{
    const std::size_t at = text.find(field);
    if (at == std::string::npos) {
        throw std::runtime_error("the template lacks " + field);
    }
    text.replace(at, field.size(), with);
}

std::string Quoted(const std::string& text)
{
    std::string quoted = "\"";
    for (const char letter : text) {
        if (letter == '"' || letter == '\\') {
            quoted += '\\';
        }
        quoted += static_cast<unsigned char>(letter) < 0x20 ? ' ' : letter;
    }
    return quoted + '"';
}

const char* NameOf(Role role)
{
    static constexpr const char* kNames[] = {"library", "limit", "peer", "yardstick", "calls", "other"};
    return kNames[static_cast<std::size_t>(role)];
}

/// Paragraphs by the heading "[family]" above them.
std::map<std::string, std::string> ReadShortfalls(const std::filesystem::path& file)
{
    std::map<std::string, std::string> paragraphs;
    std::istringstream lines(Read(file));
    std::string family;
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with('[') && line.ends_with(']')) {
            family = line.substr(1, line.size() - 2);
        } else if (!family.empty()) {
            paragraphs[family] += line + "\n";
        }
    }
    return paragraphs;
}

std::string Microseconds(double seconds)
{
    char text[32];
    const double value = seconds * 1e6;
    std::snprintf(text, sizeof text, value < 10 ? "%.3f" : value < 1000 ? "%.1f" : "%.0f", value);
    return text;
}

std::string FileName(const std::string& family, Role role)
{
    std::string name;
    for (const char letter : family) {
        name += std::isalnum(static_cast<unsigned char>(letter)) != 0 ? static_cast<char>(std::tolower(letter)) : '-';
    }
    return Text({name, "-", NameOf(role), ".svg"});
}

/// One section: the table, its charts, and why it falls short where it does.
class Section {
public:
    Section(const std::string& family, const std::vector<const Result*>& results) : family_(family), results_(results)
    {
        for (const Result* result : results) {
            for (const Timed& timed : result->contenders) {
                Note(columns_, timed.name);
            }
            for (const Verdict& verdict : result->verdicts) {
                Note(roles_, verdict.target.against);
            }
        }
    }

    std::string ToText(const std::string& folder, const std::string& distance) const
    {
        std::string text = Text({"## ", family_, "\n\n", Table()});
        for (const Role role : roles_) {
            text += Text({"\n![", family_, ", ", RoleText(role), "](", folder, "/", FileName(family_, role), ")\n"});
        }
        for (const Result* result : results_) {
            for (const std::string& excluded : result->excluded) {
                text += Text({"\nLeft out of \"", result->name, "\", because its result is wrong: ", excluded, "\n"});
            }
        }
        if (MissesTarget()) {
            text += "\n";
            text += distance.empty() ? "Why it falls short is not yet known.\n" : distance;
        }
        while (text.ends_with("\n\n")) {
            text.pop_back();
        }
        return text;
    }

    void WriteCharts(const std::filesystem::path& folder) const
    {
        for (const Role role : roles_) {
            std::vector<Bar> bars;
            for (const Result* result : results_) {
                for (const Verdict& verdict : result->verdicts) {
                    if (verdict.target.against == role) {
                        bars.push_back({result->name, verdict.share, verdict.target.share,
                                        Text({Number(verdict.share), " (", verdict.against, ")"})});
                    }
                }
            }
            Write(folder / FileName(family_, role), BarChart(Text({family_, ": speed, ", RoleText(role)}), bars));
        }
    }

private:
    template <typename T>
    static void Note(std::vector<T>& known, const T& value)
    {
        if (std::find(known.begin(), known.end(), value) == known.end()) {
            known.push_back(value);
        }
    }

    bool MissesTarget() const
    {
        return std::any_of(results_.begin(), results_.end(), [](const Result* result) {
            return !std::all_of(result->verdicts.begin(), result->verdicts.end(), std::mem_fn(&Verdict::Reached));
        });
    }

    std::string Table() const
    {
        std::string head = "| work |";
        std::string rule = "|---|";
        for (const std::string& column : columns_) {
            head += Text({" ", column, " |"});
            rule += "---:|";
        }
        for (const Role role : roles_) {
            head += Text({" ", RoleText(role), " | target |"});
            rule += "---:|---|";
        }
        const bool withCalls = std::any_of(results_.begin(), results_.end(),
                                           [](const Result* result) { return result->withCalls.has_value(); });
        if (withCalls) {
            head += " of limit and calls |";
            rule += "---:|";
        }
        std::string text = Text({head, "\n", rule, "\n"});
        for (const Result* result : results_) {
            text += Text({"| ", result->name, " |"});
            for (const std::string& column : columns_) {
                const auto found = std::find_if(result->contenders.begin(), result->contenders.end(),
                                                [&](const Timed& timed) { return timed.name == column; });
                if (found != result->contenders.end()) {
                    text += Text({" ", Microseconds(found->seconds)});
                }
                text += " |";
            }
            for (const Role role : roles_) {
                text += VerdictCells(*result, role);
            }
            if (withCalls) {
                text += result->withCalls ? Text({" ", Number(*result->withCalls), " |"}) : " |";
            }
            text += "\n";
        }
        return text;
    }

    static std::string VerdictCells(const Result& result, Role role)
    {
        for (const Verdict& verdict : result.verdicts) {
            if (verdict.target.against == role) {
                return Text({" ", Number(verdict.share), " | ", Number(verdict.target.share),
                             verdict.Reached() ? " reached |" : " **not reached** |"});
            }
        }
        return " | |";
    }

    std::string family_;
    std::vector<const Result*> results_;
    std::vector<std::string> columns_;
    std::vector<Role> roles_;
};

std::string SurroundingsText(const Environment& surroundings)
{
    std::string peers;
    for (const std::string& peer : surroundings.peers) {
        peers += Text({peers.empty() ? "" : ", ", peer});
    }
    return Text({"| | |\n|---|---|\n| machine | ", surroundings.machine, " |\n| system | ", surroundings.system,
                 " |\n| compiler | ", surroundings.compiler, " |\n| date, revision | ", surroundings.date, ", ",
                 surroundings.revision, " |\n| peers | ", peers, " |\n"});
}

std::string QualityText(std::span<const Quality> qualities)
{
    std::string text = "| resampler | direction | 997 Hz | 15 kHz | counts as a peer |\n|---|---|---:|---:|---|\n";
    char line[160];
    for (const Quality& quality : qualities) {
        std::snprintf(line, sizeof line, "| %s | %u to %u | %.1f dB | %.1f dB | %s |\n", quality.name.c_str(),
                      quality.from, quality.to, quality.low, quality.high, quality.MeetsTarget() ? "yes" : "no");
        text += line;
    }
    return text;
}

} // namespace

void WriteJson(const Report& report, const std::filesystem::path& file)
{
    std::string text =
        Text({"{\"machine\": ", Quoted(report.surroundings.machine), ", \"date\": ", Quoted(report.surroundings.date),
              ", \"revision\": ", Quoted(report.surroundings.revision), ",\n\"works\": ["});
    char number[64];
    for (const Result& result : report.results) {
        text += &result == &report.results.front() ? "\n" : ",\n";
        text += Text({"{\"family\": ", Quoted(result.family), ", \"name\": ", Quoted(result.name), ", \"seconds\": {"});
        for (const Timed& timed : result.contenders) {
            std::snprintf(number, sizeof number, ": %.9g", timed.seconds);
            text += Text({&timed == &result.contenders.front() ? "" : ", ", Quoted(timed.name), number});
        }
        text += "}, \"targets\": [";
        for (const Verdict& verdict : result.verdicts) {
            std::snprintf(number, sizeof number, ", \"share\": %.4f, \"target\": %.4f}", verdict.share,
                          verdict.target.share);
            text += Text({&verdict == &result.verdicts.front() ? "" : ", ", "{\"role\": ",
                          Quoted(NameOf(verdict.target.against)), ", \"against\": ", Quoted(verdict.against), number});
        }
        text += "]}";
    }
    text += "\n],\n\"qualities\": [";
    for (const Quality& quality : report.qualities) {
        std::snprintf(number, sizeof number, ", \"low\": %.2f, \"high\": %.2f}", quality.low, quality.high);
        text += Text({&quality == &report.qualities.front() ? "\n" : ",\n", "{\"name\": ", Quoted(quality.name),
                      ", \"from\": ", std::to_string(quality.from), ", \"to\": ", std::to_string(quality.to), number});
    }
    std::filesystem::create_directories(file.parent_path());
    Write(file, text + "\n]}\n");
}

void WriteDocument(const Report& report, const std::filesystem::path& templateFile,
                   const std::filesystem::path& distancesFile, const std::filesystem::path& document)
{
    std::vector<std::string> order;
    std::map<std::string, std::vector<const Result*>> families;
    for (const Result& result : report.results) {
        if (!result.contenders.empty()) {
            auto& results = families[result.family];
            if (results.empty()) {
                order.push_back(result.family);
            }
            results.push_back(&result);
        }
    }
    const std::filesystem::path folder = document.parent_path() / document.stem();
    std::filesystem::create_directories(folder);
    auto distances = ReadShortfalls(distancesFile);
    std::string sections;
    for (const std::string& family : order) {
        const Section section(family, families[family]);
        section.WriteCharts(folder);
        sections += Text({sections.empty() ? "" : "\n", section.ToText(folder.filename().string(), distances[family])});
    }
    std::string text = Read(templateFile);
    Replace(text, "@SURROUNDINGS@\n", SurroundingsText(report.surroundings));
    Replace(text, "@QUALITIES@\n", QualityText(report.qualities));
    Replace(text, "@SECTIONS@\n", sections);
    Write(document, text);
}

} // namespace bench

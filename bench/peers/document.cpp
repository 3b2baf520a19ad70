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
    static constexpr const char* kNames[] = {"library", "bound", "peer", "baseline", "calls", "other"};
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
    for (auto& [name, text] : paragraphs) {
        while (text.ends_with("\n\n")) {
            text.pop_back();
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

/// The name of a family's files: lower case, with single hyphens.
std::string Slug(const std::string& family)
{
    std::string name;
    for (const char letter : family) {
        if (std::isalnum(static_cast<unsigned char>(letter)) != 0) {
            name += static_cast<char>(std::tolower(letter));
        } else if (!name.ends_with('-')) {
            name += '-';
        }
    }
    return name;
}

std::string ChartName(const std::string& family, Role role)
{
    return Text({Slug(family), "-", NameOf(role), ".svg"});
}

const Verdict* FindVerdict(const Result& result, Role role, const std::string& set)
{
    const auto found = std::find_if(result.verdicts.begin(), result.verdicts.end(), [&](const Verdict& verdict) {
        return verdict.target.against == role && verdict.instructionSet == set;
    });
    return found == result.verdicts.end() ? nullptr : &*found;
}

template <typename T>
void Note(std::vector<T>& known, const T& value)
{
    if (std::find(known.begin(), known.end(), value) == known.end()) {
        known.push_back(value);
    }
}

std::vector<std::string> SetsOf(std::span<const Result* const> results)
{
    std::vector<std::string> sets;
    for (const Result* result : results) {
        for (const Verdict& verdict : result->verdicts) {
            Note(sets, verdict.instructionSet);
        }
    }
    return sets;
}

/// The page of one family: the table and its charts.
class FamilyPage {
public:
    FamilyPage(const std::string& family, const std::vector<const Result*>& results)
        : family_(family), results_(results), sets_(SetsOf(results))
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

    std::string ToText(const std::string& shortfall) const
    {
        std::string text =
            Text({"# ", family_, "\n\nWritten by `make bench`. Times are microseconds of a call, medians; ",
                  "ratios are medians of each round's ratio. [The method](method.md) describes the ",
                  "measurement.\n\n", Times(), "\n", Shares()});
        for (const Role role : roles_) {
            text += Text({"\n![", family_, ", ", RoleText(role), "](", ChartName(family_, role), ")\n"});
        }
        for (const Result* result : results_) {
            for (const std::string& excluded : result->excluded) {
                text += Text({"\nExcluded from \"", result->name, "\", because its result is wrong: ", excluded, "\n"});
            }
        }
        if (!shortfall.empty()) {
            text += Text({"\n", shortfall});
        }
        return text;
    }

    void WriteCharts(const std::filesystem::path& folder) const
    {
        for (const Role role : roles_) {
            std::vector<Bar> bars;
            for (const Result* result : results_) {
                bool first = true;
                for (std::size_t set = 0; set < sets_.size(); ++set) {
                    if (const Verdict* verdict = FindVerdict(*result, role, sets_[set])) {
                        bars.push_back({first ? result->name : "", verdict->share, verdict->target.share,
                                        Text({Number(verdict->share), " (", verdict->against, ")"}),
                                        static_cast<int>(set)});
                        first = false;
                    }
                }
            }
            Write(folder / ChartName(family_, role),
                  BarChart(Text({family_, ": speed, ", RoleText(role)}), bars, sets_));
        }
    }

private:
    std::string Times() const
    {
        std::string head = "| workload |";
        std::string rule = "|---|";
        for (const std::string& column : columns_) {
            head += Text({" ", column, " |"});
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
            text += "\n";
        }
        return text;
    }

    std::string Shares() const
    {
        std::string head = "| workload |";
        std::string rule = "|---|";
        for (const Role role : roles_) {
            for (const std::string& set : sets_) {
                head += Text({" ", RoleText(role), set.empty() ? "" : ", ", set, " |"});
                rule += "---:|";
            }
        }
        const bool withCalls = std::any_of(results_.begin(), results_.end(),
                                           [](const Result* result) { return !result->withCalls.empty(); });
        for (std::size_t i = 0; withCalls && i < sets_.size(); ++i) {
            head += Text({" of bound and calls, ", sets_[i], " |"});
            rule += "---:|";
        }
        std::string text = Text({head, "\n", rule, "\n"});
        for (const Result* result : results_) {
            text += Text({"| ", result->name, " |"});
            for (const Role role : roles_) {
                for (const std::string& set : sets_) {
                    const Verdict* verdict = FindVerdict(*result, role, set);
                    text += verdict != nullptr ? Text({" ", Number(verdict->share), " |"}) : " |";
                }
            }
            for (std::size_t i = 0; withCalls && i < sets_.size(); ++i) {
                const auto found = result->withCalls.find(sets_[i]);
                text += found != result->withCalls.end() ? Text({" ", Number(found->second), " |"}) : " |";
            }
            text += "\n";
        }
        return text;
    }

    std::string family_;
    std::vector<const Result*> results_;
    std::vector<std::string> sets_;
    std::vector<std::string> columns_;
    std::vector<Role> roles_;
};

const Timed* FindTimed(const Result& result, const std::string& suffix)
{
    const auto found = std::find_if(result.contenders.begin(), result.contenders.end(), [&](const Timed& timed) {
        return timed.role == Role::Library && timed.name.ends_with(suffix);
    });
    return found == result.contenders.end() ? nullptr : &*found;
}

const Timed* FastestPeer(const Result& result)
{
    const Timed* fastest = nullptr;
    for (const Timed& timed : result.contenders) {
        if (timed.role == Role::Peer && (fastest == nullptr || timed.seconds < fastest->seconds)) {
            fastest = &timed;
        }
    }
    return fastest;
}

/// The workloads of the overview, in its order.
struct Headline {
    const char* family;
    const char* name;
};
constexpr Headline kHeadlines[] = {
    {"Conversions", "16 to 24-in-32, 16 KiB"},
    {"Conversions", "24-in-32 to float, 512 KiB"},
    {"Conversions", "float to 16, 64 MiB"},
    {"Mux", "mono to mux, 8 x 24-in-32, 1024 frames"},
    {"Mux", "mono to mux, 64 x 24-in-32, 1024 frames"},
    {"Mux", "stereo to mux, 64 x 24-in-32, 1024 frames"},
    {"Mux", "mux to mono, 64 x 24-in-32, 1024 frames"},
    {"Mux", "mux to stereo, 64 x 24-in-32, 1024 frames"},
    {"Resampling", "44100 to 48000, stereo, 1024 frames"},
    {"Resampling", "48000 to 44100, stereo, 1024 frames"},
    {"Call overhead", "copy of one frame"},
};

std::vector<const Result*> Headlines(const Report& report)
{
    std::vector<const Result*> found;
    for (const Headline& headline : kHeadlines) {
        for (const Result& result : report.results) {
            if (result.family == headline.family && result.name == headline.name) {
                found.push_back(&result);
            }
        }
    }
    return found;
}

std::string OverviewTable(std::span<const Result* const> results, const std::vector<std::string>& sets)
{
    std::string head = "| workload |";
    std::string rule = "|---|";
    const auto column = [&](std::initializer_list<std::string_view> name) {
        head += Text({" ", Text(name), " |"});
        rule += "---:|";
    };
    for (const std::string& set : sets) {
        column({"engine, ", set});
    }
    column({"fastest peer"});
    for (const std::string& set : sets) {
        column({"times the peer, ", set});
    }
    for (const std::string& set : sets) {
        column({"of the bound, ", set});
    }
    std::string text = Text({head, "\n", rule, "\n"});
    for (const Result* result : results) {
        text += Text({"| [", result->name, "](performance/", Slug(result->family), ".md) |"});
        for (const std::string& set : sets) {
            const Timed* engine = FindTimed(*result, ", " + set);
            text += engine != nullptr ? Text({" ", Microseconds(engine->seconds), " |"}) : " |";
        }
        const Timed* peer = FastestPeer(*result);
        text += peer != nullptr ? Text({" ", Microseconds(peer->seconds), " (", peer->name, ") |"}) : " |";
        for (const Role role : {Role::Peer, Role::Bound}) {
            for (const std::string& set : sets) {
                const Verdict* verdict = FindVerdict(*result, role, set);
                if (verdict == nullptr && role == Role::Bound) {
                    verdict = FindVerdict(*result, Role::Baseline, set);
                }
                text += verdict != nullptr ? Text({" ", Number(verdict->share), " |"}) : " |";
            }
        }
        text += "\n";
    }
    return text;
}

/// Microseconds of the engine and of the fastest peer, beside each other.
std::string TimeChart(const std::string& title, std::span<const Result* const> results,
                      const std::vector<std::string>& sets)
{
    std::vector<std::string> legend;
    for (const std::string& set : sets) {
        legend.push_back("engine, " + set);
    }
    legend.emplace_back("fastest other library");
    std::vector<Bar> bars;
    for (const Result* result : results) {
        bool first = true;
        const auto add = [&](const Timed* timed, std::size_t color, const std::string& note) {
            if (timed != nullptr) {
                bars.push_back({first ? result->name : "", timed->seconds * 1e6, 0,
                                Microseconds(timed->seconds) + " us" + note, static_cast<int>(color)});
                first = false;
            }
        };
        for (std::size_t set = 0; set < sets.size(); ++set) {
            add(FindTimed(*result, ", " + sets[set]), set, "");
        }
        const Timed* peer = FastestPeer(*result);
        add(peer, sets.size(), peer != nullptr ? ", " + peer->name : "");
    }
    return BarChart(title, bars, legend);
}

/// How many stereo streams one core resamples in real time, by the time of a buffer of 1024 frames.
std::string StreamsText(const Report& report, const std::vector<std::string>& sets)
{
    std::string text;
    for (const Result& result : report.results) {
        if (result.family == "Resampling" && result.name == "44100 to 48000, stereo, 1024 frames") {
            for (const std::string& set : sets) {
                if (const Timed* engine = FindTimed(result, ", " + set)) {
                    const double streams = 1024.0 / 44100.0 / engine->seconds;
                    text += Text(
                        {text.empty() ? "" : ", ", std::to_string(std::lround(streams / 100) * 100), " with ", set});
                }
            }
        }
    }
    return text.empty()
               ? ""
               : Text({"One core resamples this many stereo streams from 44100 to 48000 Hz in real time: ", text,
                       ".\n"});
}

std::string EnvironmentText(const Environment& environment)
{
    std::string peers;
    for (const std::string& peer : environment.peers) {
        peers += Text({peers.empty() ? "" : ", ", peer});
    }
    return Text({"Measured on ", environment.machine, "; ", environment.system, "; ", environment.compiler, "; ",
                 environment.date, ", revision ", environment.revision, ". Other libraries: ", peers, ".\n"});
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

/// The page for maintainers: every target, and those that are missed.
std::string TargetsText(const Report& report, const std::vector<std::string>& order)
{
    struct Count {
        std::size_t met = 0;
        std::size_t all = 0;
    };
    std::map<std::string, std::map<std::string, Count>> counts;
    std::vector<std::string> sets;
    std::string missed;
    for (const Result& result : report.results) {
        for (const Verdict& verdict : result.verdicts) {
            Note(sets, verdict.instructionSet);
            Count& count = counts[result.family][verdict.instructionSet];
            ++count.all;
            count.met += verdict.Reached() ? 1U : 0U;
            if (!verdict.Reached()) {
                missed += Text({"| [", result.family, "](", Slug(result.family), ".md) | ", result.name, " | ",
                                verdict.instructionSet, " | ", Number(verdict.share), " | ",
                                Number(verdict.target.share), " ", RoleText(verdict.target.against), " |\n"});
            }
        }
    }
    std::string text =
        "# Performance targets\n\nFor maintainers. Written by `make bench`. The page of each family gives "
        "the reasons for missed targets.\n\n| family |";
    std::string rule = "|---|";
    for (const std::string& set : sets) {
        text += Text({" met", set.empty() ? "" : ", ", set, " |"});
        rule += "---:|";
    }
    text += Text({"\n", rule, "\n"});
    for (const std::string& family : order) {
        text += Text({"| [", family, "](", Slug(family), ".md) |"});
        for (const std::string& set : sets) {
            const Count& count = counts[family][set];
            text +=
                count.all == 0 ? " |" : Text({" ", std::to_string(count.met), " of ", std::to_string(count.all), " |"});
        }
        text += "\n";
    }
    return missed.empty() ? text
                          : Text({text, "\n## Missed\n\n| family | workload | instruction set | measured | target |\n",
                                  "|---|---|---|---:|---|\n", missed});
}

} // namespace

void WriteJson(const Report& report, const std::filesystem::path& file)
{
    std::string text =
        Text({"{\"machine\": ", Quoted(report.environment.machine), ", \"date\": ", Quoted(report.environment.date),
              ", \"revision\": ", Quoted(report.environment.revision), ",\n\"works\": ["});
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
                          Quoted(NameOf(verdict.target.against)), ", \"set\": ", Quoted(verdict.instructionSet),
                          ", \"against\": ", Quoted(verdict.against), number});
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
                   const std::filesystem::path& shortfallsFile, const std::filesystem::path& document)
{
    std::vector<std::string> order;
    std::map<std::string, std::vector<const Result*>> families;
    for (const Result& result : report.results) {
        if (!result.contenders.empty()) {
            Note(order, result.family);
            families[result.family].push_back(&result);
        }
    }
    const std::filesystem::path folder = document.parent_path() / document.stem();
    std::filesystem::create_directories(folder);
    auto shortfalls = ReadShortfalls(shortfallsFile);
    std::string list;
    for (const std::string& family : order) {
        const FamilyPage page(family, families[family]);
        page.WriteCharts(folder);
        std::string text = page.ToText(shortfalls[family]);
        if (family == "Resampling") {
            text += Text(
                {"\n## Quality\n\nSignal to noise of a tone at -1 dBFS through each resampler, 16 bits in and out. ",
                 "Only settings that keep both tones 70 dB above the noise, in both directions, count as "
                 "peers.\n\n",
                 QualityText(report.qualities), "\n[The resampler's page](../resampler.md) has the passband.\n"});
        }
        Write(folder / (Slug(family) + ".md"), text);
        list +=
            Text({list.empty() ? "" : ", ", "[", family, "](", folder.filename().string(), "/", Slug(family), ".md)"});
    }
    Write(folder / "targets.md", TargetsText(report, order));

    const std::vector<const Result*> headlines = Headlines(report);
    const std::vector<std::string> sets = SetsOf(headlines);
    std::vector<const Result*> buffers;
    std::vector<const Result*> wide;
    for (const Result* result : headlines) {
        if (result->name.ends_with("1024 frames")) {
            buffers.push_back(result);
        }
        if (result->name.find("64 x") != std::string::npos) {
            wide.push_back(result);
        }
    }
    Write(folder / "buffers.svg", TimeChart("Microseconds for a buffer of 1024 frames", buffers, sets));
    Write(folder / "64-channels.svg", TimeChart("64 channels of 24-in-32, 1024 frames: microseconds", wide, sets));

    std::string text = Read(templateFile);
    Replace(text, "@ENVIRONMENT@\n", EnvironmentText(report.environment));
    Replace(text, "@TABLE@\n", OverviewTable(headlines, sets));
    Replace(text, "@STREAMS@\n", StreamsText(report, sets));
    Replace(text, "@FAMILIES@", list);
    Write(document, text);
}

} // namespace bench

#include "bench/peers/result.h"
#include "tools/common/format_text.h"

#include <algorithm>
#include <cmath>

namespace bench {

namespace {

constexpr double kLabels = 330;
constexpr double kWidth = 420;
constexpr double kText = 190;
constexpr double kTop = 34;
constexpr double kRow = 16;

} // namespace

std::string BarChart(const std::string& title, std::span<const Bar> bars, std::span<const std::string> legend)
{
    static constexpr const char* kColors[] = {"#2f6fa7", "#7fb2dd", "#c9a227"};
    double most = 1;
    for (const Bar& bar : bars) {
        most = std::max({most, bar.value, bar.target});
    }
    const double unit = kWidth / most;
    const double top = legend.size() > 1 ? kTop + kRow : kTop;
    const double bottom = top + kRow * static_cast<double>(bars.size());
    const double width = kLabels + kWidth + kText;
    std::string text =
        FormatText("<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 %g %g\" width=\"%g\" height=\"%g\" "
                   "font-family=\"sans-serif\" font-size=\"11\">\n"
                   "<rect width=\"100%%\" height=\"100%%\" fill=\"#fff\"/>\n"
                   "<text x=\"8\" y=\"20\" font-size=\"14\">%s</text>\n",
                   width, bottom + 10, width, bottom + 10, title.c_str());
    for (std::size_t i = 0; legend.size() > 1 && i < legend.size(); ++i) {
        const double x = kLabels + 160 * static_cast<double>(i);
        text += FormatText("<rect x=\"%g\" y=\"%g\" width=\"10\" height=\"10\" fill=\"%s\"/>\n", x, kTop - 4,
                           kColors[i % std::size(kColors)]);
        text += FormatText("<text x=\"%g\" y=\"%g\">%s</text>\n", x + 15, kTop + 5, legend[i].c_str());
    }
    double y = top;
    for (const Bar& bar : bars) {
        const bool missed = bar.value < bar.target;
        text += FormatText("<text x=\"%g\" y=\"%g\" text-anchor=\"end\">%s</text>\n", kLabels - 6, y + 11,
                           bar.label.c_str());
        text += FormatText("<rect x=\"%g\" y=\"%g\" width=\"%.1f\" height=\"%g\" fill=\"%s\"/>\n", kLabels, y + 2,
                           bar.value * unit, kRow - 4,
                           missed ? "#d1495b" : kColors[static_cast<std::size_t>(bar.color) % std::size(kColors)]);
        if (bar.target > 0) {
            text += FormatText("<path stroke=\"#000\" stroke-width=\"1.5\" d=\"M%.1f %gv%g\"/>\n",
                               kLabels + bar.target * unit, y + 1, kRow - 2);
        }
        text += FormatText("<text x=\"%.1f\" y=\"%g\">%s</text>\n",
                           kLabels + std::max(bar.value, bar.target) * unit + 5, y + 11, bar.text.c_str());
        y += kRow;
    }
    return text + "</svg>\n";
}

} // namespace bench

#include "bench/peers/result.h"

#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <cstdio>

namespace bench {

namespace {

constexpr double kLabels = 330;
constexpr double kWidth = 420;
constexpr double kText = 190;
constexpr double kTop = 34;
constexpr double kRow = 16;

[[gnu::format(printf, 1, 2)]] std::string Print(const char* format, ...)
{
    char text[512];
    std::va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    return text;
}

} // namespace

std::string BarChart(const std::string& title, std::span<const Bar> bars)
{
    double most = 1;
    for (const Bar& bar : bars) {
        most = std::max({most, bar.value, bar.target});
    }
    const double unit = kWidth / most;
    const double bottom = kTop + kRow * static_cast<double>(bars.size());
    const double width = kLabels + kWidth + kText;
    std::string text =
        Print("<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 %g %g\" width=\"%g\" height=\"%g\" "
              "font-family=\"sans-serif\" font-size=\"11\">\n"
              "<rect width=\"100%%\" height=\"100%%\" fill=\"#fff\"/>\n"
              "<text x=\"8\" y=\"20\" font-size=\"14\">%s</text>\n",
              width, bottom + 10, width, bottom + 10, title.c_str());
    double top = kTop;
    for (const Bar& bar : bars) {
        const bool reached = bar.value >= bar.target;
        text +=
            Print("<text x=\"%g\" y=\"%g\" text-anchor=\"end\">%s</text>\n", kLabels - 6, top + 11, bar.label.c_str());
        text += Print("<rect x=\"%g\" y=\"%g\" width=\"%.1f\" height=\"%g\" fill=\"%s\"/>\n", kLabels, top + 2,
                      bar.value * unit, kRow - 4, reached ? "#4d94cc" : "#d1495b");
        text += Print("<path stroke=\"#000\" stroke-width=\"1.5\" d=\"M%.1f %gv%g\"/>\n", kLabels + bar.target * unit,
                      top + 1, kRow - 2);
        text += Print("<text x=\"%.1f\" y=\"%g\">%s</text>\n", kLabels + std::max(bar.value, bar.target) * unit + 5,
                      top + 11, bar.text.c_str());
        top += kRow;
    }
    return text + "</svg>\n";
}

} // namespace bench

#include "tools/common/svg_plot.h"

#include "tools/common/output_file.h"

#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <cstdio>

namespace {

constexpr double kWidth = 840;
constexpr double kHeight = 430;
constexpr double kLeft = 66;
constexpr double kRight = 820;
constexpr double kTop = 58;
constexpr double kBottom = 376;
constexpr double kColumn = 0.5; // the width that is told apart

constexpr const char* kColours[] = {"#1f5fa8", "#d1495b", "#2e8b57", "#8a5fb0"};
constexpr const char* kShades[] = {"#e6eef7", "#cbdff1", "#a6cbe8", "#78b0dc", "#4d94cc",
                                   "#2f77b7", "#1b5b9c", "#0f427b", "#082c57", "#031a36"};
constexpr double kShadeDecibels = 10;

[[gnu::format(printf, 1, 2)]] std::string Print(const char* format, ...)
{
    char text[512];
    std::va_list arguments;
    va_start(arguments, format);
    // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): va_start has just run
    std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    return text;
}

std::string Escaped(std::string_view text)
{
    std::string result;
    for (const char letter : text) {
        switch (letter) {
        case '&':
            result += "&amp;";
            break;
        case '<':
            result += "&lt;";
            break;
        default:
            result += static_cast<unsigned char>(letter) < 0x20 ? ' ' : letter;
        }
    }
    return result;
}

/// The multiples of the axis's step that lie on it.
std::vector<double> Ticks(const Axis& axis)
{
    std::vector<double> ticks;
    const auto first = std::lround(std::ceil(axis.first / axis.step - 1e-9));
    const auto last = std::lround(std::floor(axis.last / axis.step + 1e-9));
    for (auto n = first; n <= last; ++n) {
        ticks.push_back(static_cast<double>(n) * axis.step);
    }
    return ticks;
}

} // namespace

SvgPlot::SvgPlot(std::string_view title, const Axis& x, const Axis& y) : x_(x), y_(y)
{
    head_ = Print("<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 %g %g\" width=\"%g\" height=\"%g\" "
                  "font-family=\"sans-serif\" font-size=\"12\">\n<rect width=\"100%%\" height=\"100%%\" "
                  "fill=\"#fff\"/>\n",
                  kWidth, kHeight, kWidth, kHeight);
    head_ += Print("<text x=\"%g\" y=\"22\" font-size=\"15\">", kLeft) + Escaped(title) + "</text>\n";
    std::string grid = "<path stroke=\"#ddd\" d=\"";
    std::string numbers;
    for (const double tick : Ticks(x)) {
        grid += Print("M%.1f %gV%g", X(tick), kTop, kBottom);
        numbers += Print("<text x=\"%.1f\" y=\"%g\" text-anchor=\"middle\">%.*f</text>\n", X(tick), kBottom + 17,
                         x.decimals, tick);
    }
    for (const double tick : Ticks(y)) {
        grid += Print("M%g %.1fH%g", kLeft, Y(tick), kRight);
        numbers += Print("<text x=\"%g\" y=\"%.1f\" text-anchor=\"end\">%.*f</text>\n", kLeft - 7, Y(tick) + 4,
                         y.decimals, tick);
    }
    head_ += grid + "\"/>\n" + numbers;
    head_ += Print("<text x=\"%g\" y=\"%g\" text-anchor=\"middle\">", (kLeft + kRight) / 2, kBottom + 40) +
             Escaped(x.label) + "</text>\n";
    head_ += Print("<text transform=\"translate(18 %g) rotate(-90)\" text-anchor=\"middle\">", (kTop + kBottom) / 2) +
             Escaped(y.label) + "</text>\n";
}

double SvgPlot::X(double value) const
{
    return kLeft + (kRight - kLeft) * (std::clamp(value, x_.first, x_.last) - x_.first) / (x_.last - x_.first);
}

double SvgPlot::Y(double value) const
{
    const double y = kBottom - (kBottom - kTop) * (value - y_.first) / (y_.last - y_.first);
    return std::clamp(y, 0.0, kHeight); // what is outside the plot is clipped
}

void SvgPlot::AddCurve(std::string_view name, std::span<const Point> points)
{
    const char* colour = kColours[curveCount_ % std::size(kColours)];
    const double place = kLeft + 190 * static_cast<double>(curveCount_);
    ++curveCount_;
    legend_ += Print("<path stroke=\"%s\" stroke-width=\"3\" d=\"M%g 42h18\"/><text x=\"%g\" y=\"46\">", colour, place,
                     place + 24) +
               Escaped(name) + "</text>\n";
    curves_ += Print("<path stroke=\"%s\" fill=\"none\" stroke-width=\"1.2\" stroke-linejoin=\"round\" d=\"", colour);
    char move = 'M';
    for (std::size_t i = 0; i < points.size();) {
        const double column = std::floor(X(points[i].x) / kColumn);
        double y = kHeight;
        for (; i < points.size() && std::floor(X(points[i].x) / kColumn) <= column; ++i) {
            y = std::min(y, Y(points[i].y));
        }
        curves_ += Print("%c%g %.1f", move, column * kColumn, y);
        move = 'L';
    }
    curves_ += "\"/>\n";
}

void SvgPlot::AddMap(std::span<const double> levels, std::size_t columns)
{
    const std::size_t rows = levels.size() / columns;
    const double width = (kRight - kLeft) / static_cast<double>(columns);
    const double height = (kBottom - kTop) / static_cast<double>(rows);
    const auto shade = [](double level) {
        const double shades = static_cast<double>(std::size(kShades));
        return static_cast<int>(std::clamp(std::ceil(level / kShadeDecibels + shades), 0.0, shades)) - 1;
    };
    std::vector<std::string> paths(std::size(kShades)); // in units of cells, from the lowest row on
    for (std::size_t row = 0; row < rows; ++row) {
        const auto line = levels.subspan(row * columns, columns);
        for (std::size_t first = 0; first < columns;) {
            const int of = shade(line[first]);
            std::size_t end = first + 1;
            while (end < columns && shade(line[end]) == of) {
                ++end;
            }
            if (of >= 0) {
                paths[static_cast<std::size_t>(of)] += Print("M%zu %zuh%zu", first, row, end - first);
            }
            first = end;
        }
    }
    map_ += Print("<g transform=\"translate(%g %g) scale(%.5f %.5f) translate(0 .5)\" stroke-width=\"1.05\">\n", kLeft,
                  kBottom, width, -height);
    for (std::size_t of = 0; of < paths.size(); ++of) {
        map_ += Print("<path stroke=\"%s\" d=\"", kShades[of]) + paths[of] + "\"/>\n";
        const double level = kShadeDecibels * (static_cast<double>(of) - static_cast<double>(std::size(kShades)));
        const double place = kLeft + 70 * static_cast<double>(of);
        legend_ += Print("<rect x=\"%g\" y=\"34\" width=\"16\" height=\"14\" fill=\"%s\"/><text x=\"%g\" y=\"46\">"
                         "&gt; %.0f</text>\n",
                         place, kShades[of], place + 20, level);
    }
    map_ += "</g>\n";
}

std::string SvgPlot::Text() const
{
    return head_ + map_ +
           Print("<clipPath id=\"plot\"><path d=\"M%g %gH%gV%gH%gz\"/></clipPath>\n<g clip-path=\"url(#plot)\">\n",
                 kLeft, kTop, kRight, kBottom, kLeft) +
           curves_ + "</g>\n" +
           Print("<rect x=\"%g\" y=\"%g\" width=\"%g\" height=\"%g\" fill=\"none\" stroke=\"#555\"/>\n", kLeft, kTop,
                 kRight - kLeft, kBottom - kTop) +
           legend_ + "</svg>\n";
}

void WriteText(const std::filesystem::path& path, const std::string& text)
{
    OutputFile file(path);
    file.Write(text.data(), static_cast<std::int64_t>(text.size()));
    file.Close();
    file.Publish();
    file.Keep();
}

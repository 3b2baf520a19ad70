#include "tools/common/svg_plot.h"

#include "tools/common/format_text.h"
#include "tools/common/output_file.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr double kWidth = 840;
constexpr double kHeight = 430;
constexpr double kLeft = 66;
constexpr double kRight = 820;
constexpr double kTop = 58;
constexpr double kBottom = 376;
constexpr double kColumn = 0.5; // the smallest width that is visible
constexpr double kLegendRow = 18;
constexpr double kLegendTop = 34;
constexpr double kCharacter = 7.2;

constexpr const char* kColors[] = {"#1f5fa8", "#d1495b", "#2e8b57", "#8a5fb0",
                                   "#c77c11", "#12838c", "#a0477e", "#5b6770"};
constexpr const char* kShades[] = {"#e6eef7", "#cbdff1", "#a6cbe8", "#78b0dc", "#4d94cc",
                                   "#2f77b7", "#1b5b9c", "#0f427b", "#082c57", "#031a36"};
constexpr double kShadeDecibels = 10;

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

using Ticks = std::vector<std::pair<double, std::string>>;

/// The multiples of the step of the axis that are on it.
Ticks LinearTicks(const Axis& axis)
{
    Ticks ticks;
    const auto first = std::lround(std::ceil(axis.first / axis.step - 1e-9));
    const auto last = std::lround(std::floor(axis.last / axis.step + 1e-9));
    for (auto n = first; n <= last; ++n) {
        const double value = static_cast<double>(n) * axis.step;
        ticks.emplace_back(value, FormatText("%.*f", axis.decimals, value));
    }
    return ticks;
}

Ticks LogarithmicTicks(const Axis& axis)
{
    Ticks ticks;
    double decade = std::pow(10, std::floor(std::log10(axis.first)));
    while (decade <= axis.last) {
        for (const double factor : {1, 2, 5}) {
            const double value = factor * decade;
            if (value >= axis.first * (1 - 1e-9) && value <= axis.last * (1 + 1e-9)) {
                ticks.emplace_back(value, FormatText("%g", value));
            }
        }
        decade *= 10;
    }
    return ticks;
}

Ticks TicksOf(const Axis& axis)
{
    if (!axis.ticks.empty()) {
        return axis.ticks;
    }
    return axis.logarithmic ? LogarithmicTicks(axis) : LinearTicks(axis);
}

/// The position of a value on an axis from 0 to 1.
double Position(const Axis& axis, double value)
{
    if (axis.logarithmic) {
        return std::log(std::max(value, 1e-300) / axis.first) / std::log(axis.last / axis.first);
    }
    return (value - axis.first) / (axis.last - axis.first);
}

} // namespace

Axis LinearAxis(double first, double last, std::string label)
{
    const double length = last - first;
    double step = std::pow(10, std::floor(std::log10(length / 4)));
    for (const double factor : {5, 2}) {
        if (length / (factor * step) >= 4) {
            step *= factor;
            break;
        }
    }
    return {.first = first,
            .last = last,
            .step = step,
            .label = std::move(label),
            .decimals = std::max(0, -static_cast<int>(std::floor(std::log10(step) + 1e-9)))};
}

SvgPlot::SvgPlot(std::string_view title, const Axis& x, const Axis& y) : title_(title), x_(x), y_(y) {}

double SvgPlot::X(double value) const
{
    return kLeft + (kRight - kLeft) * std::clamp(Position(x_, value), 0.0, 1.0);
}

double SvgPlot::Y(double value) const
{
    const double y = kBottom - (kBottom - kTop) * Position(y_, value);
    return std::clamp(y, 0.0, kHeight); // the clip path hides what is outside the plot
}

std::string SvgPlot::Color(std::size_t index) const
{
    if (index < std::size(kColors)) {
        return kColors[index];
    }
    // Hues a golden angle apart are as different as possible, for any number of them.
    return FormatText("hsl(%d 60%% 42%%)", static_cast<int>(std::fmod(137.508 * static_cast<double>(index), 360)));
}

void SvgPlot::AddCurve(std::string_view name, std::span<const Point> points)
{
    curves_ += FormatText("<path stroke=\"%s\" fill=\"none\" stroke-width=\"1.2\" stroke-linejoin=\"round\" d=\"",
                          Color(names_.size()).c_str());
    names_.emplace_back(name);
    char move = 'M';
    for (std::size_t i = 0; i < points.size();) {
        const double column = std::floor(X(points[i].x) / kColumn);
        double y = kHeight;
        for (; i < points.size() && std::floor(X(points[i].x) / kColumn) <= column; ++i) {
            y = std::min(y, Y(points[i].y));
        }
        curves_ += FormatText("%c%g %.1f", move, column * kColumn, y);
        move = 'L';
    }
    curves_ += "\"/>\n";
}

void SvgPlot::AddBands(std::string_view name, std::span<const Band> bands)
{
    const std::string color = Color(names_.size());
    names_.emplace_back(name);
    // The outline gives a band without height the thickness of a line.
    curves_ += FormatText("<path fill=\"%s\" stroke=\"%s\" stroke-width=\"0.7\" stroke-linejoin=\"round\" d=\"",
                          color.c_str(), color.c_str());
    char move = 'M';
    for (const Band& band : bands) {
        curves_ += FormatText("%c%.1f %.1f", move, X(band.x), Y(band.high));
        move = 'L';
    }
    for (std::size_t i = bands.size(); i-- > 0;) {
        curves_ += FormatText("L%.1f %.1f", X(bands[i].x), Y(bands[i].low));
    }
    curves_ += bands.empty() ? "\"/>\n" : "z\"/>\n";
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
            const int darkness = shade(line[first]);
            std::size_t end = first + 1;
            while (end < columns && shade(line[end]) == darkness) {
                ++end;
            }
            if (darkness >= 0) {
                paths[static_cast<std::size_t>(darkness)] += FormatText("M%zu %zuh%zu", first, row, end - first);
            }
            first = end;
        }
    }
    map_ += FormatText("<g transform=\"translate(%g %g) scale(%.5f %.5f) translate(0 .5)\" stroke-width=\"1.05\">\n",
                       kLeft, kBottom, width, -height);
    for (std::size_t i = 0; i < paths.size(); ++i) {
        map_ += FormatText("<path stroke=\"%s\" d=\"", kShades[i]) + paths[i] + "\"/>\n";
        const double level = kShadeDecibels * (static_cast<double>(i) - static_cast<double>(std::size(kShades)));
        const double x = kLeft + 70 * static_cast<double>(i);
        mapLegend_ +=
            FormatText("<rect x=\"%g\" y=\"34\" width=\"16\" height=\"14\" fill=\"%s\"/><text x=\"%g\" y=\"46\">"
                       "&gt; %.0f</text>\n",
                       x, kShades[i], x + 20, level);
    }
    map_ += "</g>\n";
}

std::string SvgPlot::Grid() const
{
    std::string grid = "<path stroke=\"#ddd\" d=\"";
    std::string numbers;
    for (const auto& [value, text] : TicksOf(x_)) {
        grid += FormatText("M%.1f %gV%g", X(value), kTop, kBottom);
        numbers += FormatText("<text x=\"%.1f\" y=\"%g\" text-anchor=\"middle\">%s</text>\n", X(value), kBottom + 17,
                              Escaped(text).c_str());
    }
    for (const auto& [value, text] : TicksOf(y_)) {
        grid += FormatText("M%g %.1fH%g", kLeft, Y(value), kRight);
        numbers += FormatText("<text x=\"%g\" y=\"%.1f\" text-anchor=\"end\">%s</text>\n", kLeft - 7, Y(value) + 4,
                              Escaped(text).c_str());
    }
    return grid + "\"/>\n" + numbers +
           FormatText("<text x=\"%g\" y=\"%g\" text-anchor=\"middle\">", (kLeft + kRight) / 2, kBottom + 40) +
           Escaped(x_.label) + "</text>\n" +
           FormatText("<text transform=\"translate(18 %g) rotate(-90)\" text-anchor=\"middle\">",
                      (kTop + kBottom) / 2) +
           Escaped(y_.label) + "</text>\n";
}

/// The names of the curves in rows above the plot. `height` becomes that of the rows after the first.
std::string SvgPlot::Legend(double& height) const
{
    height = 0;
    if (names_.empty()) {
        return mapLegend_;
    }
    const std::size_t longest =
        std::ranges::max_element(names_, {}, [](const std::string& name) { return name.size(); })->size();
    const double width = std::min(kRight - kLeft, 40 + kCharacter * static_cast<double>(longest));
    const auto perRow = static_cast<std::size_t>((kRight - kLeft) / width);
    const std::size_t lastRow = (names_.size() - 1) / perRow;
    height = kLegendRow * static_cast<double>(lastRow);
    std::string legend;
    for (std::size_t i = 0; i < names_.size(); ++i) {
        const double x = kLeft + width * static_cast<double>(i % perRow);
        const std::size_t row = i / perRow;
        const double y = kLegendTop + 8 + kLegendRow * static_cast<double>(row) - height;
        legend += FormatText("<path stroke=\"%s\" stroke-width=\"3\" d=\"M%g %gh18\"/><text x=\"%g\" y=\"%g\">",
                             Color(i).c_str(), x, y, x + 24, y + 4) +
                  Escaped(names_[i]) + "</text>\n";
    }
    return legend;
}

std::string SvgPlot::Text() const
{
    double above = 0; // the height that further rows of the legend need
    const std::string legend = Legend(above);
    const double top = 0.0 - above;
    const double height = kHeight + above;
    return FormatText("<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 %g %g %g\" width=\"%g\" height=\"%g\" "
                      "font-family=\"sans-serif\" font-size=\"12\">\n<rect y=\"%g\" width=\"%g\" height=\"%g\" "
                      "fill=\"#fff\"/>\n",
                      top, kWidth, height, kWidth, height, top, kWidth, height) +
           FormatText("<text x=\"%g\" y=\"%g\" font-size=\"15\">", kLeft, top + 22) + Escaped(title_) + "</text>\n" +
           Grid() + map_ +
           FormatText("<clipPath id=\"plot\"><path d=\"M%g %gH%gV%gH%gz\"/></clipPath>\n<g clip-path=\"url(#plot)\">\n",
                      kLeft, kTop, kRight, kBottom, kLeft) +
           curves_ + "</g>\n" +
           FormatText("<rect x=\"%g\" y=\"%g\" width=\"%g\" height=\"%g\" fill=\"none\" stroke=\"#555\"/>\n", kLeft,
                      kTop, kRight - kLeft, kBottom - kTop) +
           legend + "</svg>\n";
}

void WriteText(const std::filesystem::path& path, const std::string& text)
{
    OutputFile file(path);
    file.Write(text.data(), static_cast<std::int64_t>(text.size()));
    file.Close();
    file.Publish();
    file.Keep();
}

/// Small pictures of curves and maps, as SVG.
#pragma once

#include <filesystem>
#include <span>
#include <string>
#include <string_view>
#include <vector>

/// The values from the left or lower end to the other, with a line of the grid and a number every `step`.
struct Axis {
    double first;
    double last;
    double step;
    std::string label;
    int decimals = 0;
};

struct Point {
    double x;
    double y;
};

class SvgPlot {
public:
    SvgPlot(std::string_view title, const Axis& x, const Axis& y);

    /// Adds points, in ascending order of x, as a curve. Of points that are closer than the picture can show, the
    /// highest is drawn.
    void AddCurve(std::string_view name, std::span<const Point> points);

    /// Fills the plot with a grid of cells, row by row from the lowest: a level of -100 or less is blank, 0 is darkest.
    void AddMap(std::span<const double> levels, std::size_t columns);

    std::string Text() const;

private:
    double X(double value) const;
    double Y(double value) const;

    Axis x_;
    Axis y_;
    std::string head_;
    std::string map_;
    std::string curves_;
    std::string legend_;
    std::size_t curveCount_ = 0;
};

/// Writes the picture as a whole or, when this throws Failure, not at all.
void WriteText(const std::filesystem::path& path, const std::string& text);

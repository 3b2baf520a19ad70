/// Small pictures of curves and maps, as SVG.
#pragma once

#include <filesystem>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

/// The values from the left or lower end to the other. Grid lines have numbers.
struct Axis {
    double first;
    double last;
    double step; ///< of the grid of a linear axis
    std::string label;
    int decimals = 0;
    bool logarithmic = false;                               ///< grid lines at 1, 2 and 5 times the powers of 10
    std::vector<std::pair<double, std::string>> ticks = {}; ///< grid lines with texts, instead of numbers
};

/// A linear axis with a grid of 4 to 10 steps of 1, 2 or 5 times a power of 10.
Axis LinearAxis(double first, double last, std::string label);

struct Point {
    double x;
    double y;
};

/// The values of a curve between two values of y.
struct Band {
    double x;
    double low;
    double high;
};

class SvgPlot {
public:
    SvgPlot(std::string_view title, const Axis& x, const Axis& y);

    /// Adds points, in ascending order of x, as a curve. Of points that are closer than the picture can show, the
    /// highest is drawn.
    void AddCurve(std::string_view name, std::span<const Point> points);

    /// Adds the area between two curves, in ascending order of x.
    void AddBands(std::string_view name, std::span<const Band> bands);

    /// Fills the plot with a grid of cells, row by row from the lowest: a level of -100 or less is blank, 0 is darkest.
    void AddMap(std::span<const double> levels, std::size_t columns);

    std::string Text() const;

private:
    double X(double value) const;
    double Y(double value) const;
    std::string Color(std::size_t index) const;
    std::string Grid() const;
    std::string Legend(double& height) const;

    std::string title_;
    Axis x_;
    Axis y_;
    std::string map_;
    std::string mapLegend_;
    std::string curves_;
    std::vector<std::string> names_;
};

/// Writes the picture as a whole or, when this throws Failure, not at all.
void WriteText(const std::filesystem::path& path, const std::string& text);

#include "pictures/Svg.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>

namespace ktx {

namespace {

std::string escape(std::string const& text) {
    std::string escaped;
    for (char const c : text) {
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
            default:
                escaped += c;
        }
    }
    return escaped;
}

// Pixel coordinates with two decimals are plenty for a picture and keep files small.
std::string px(double value) {
    char buffer[32];
    std::snprintf(buffer, sizeof buffer, "%.2f", std::isfinite(value) ? value : 0.0);
    return buffer;
}

std::string withTitle(std::string const& element, std::string const& attributes, std::string const& title) {
    if (title.empty()) {
        return "  <" + element + " " + attributes + "/>\n";
    }
    return "  <" + element + " " + attributes + "><title>" + escape(title) + "</title></" + element + ">\n";
}

std::string pointList(std::vector<std::pair<double, double>> const& points) {
    std::string list;
    for (auto const& [x, y] : points) {
        if (!list.empty()) {
            list += ' ';
        }
        list += px(x) + "," + px(y);
    }
    return list;
}

std::string rgb(double r, double g, double b) {
    char buffer[8];
    auto const channel = [](double v) {
        return static_cast<unsigned>(std::lround(std::clamp(v, 0.0, 1.0) * 255.0));
    };
    std::snprintf(buffer, sizeof buffer, "#%02x%02x%02x", channel(r), channel(g), channel(b));
    return buffer;
}

double clampUnit(double t, double low) {
    return std::isfinite(t) ? std::clamp(t, low, 1.0) : 0.0;
}

}  // namespace

SvgDocument::SvgDocument(double width, double height) : width_(width), height_(height) {}

void SvgDocument::rect(double x, double y, double width, double height, std::string const& fill,
                       std::string const& title) {
    body_ += withTitle("rect",
                       "x=\"" + px(x) + "\" y=\"" + px(y) + "\" width=\"" + px(width) + "\" height=\"" +
                           px(height) + "\" fill=\"" + fill + "\"",
                       title);
}

void SvgDocument::line(double x1, double y1, double x2, double y2, std::string const& stroke,
                       double strokeWidth) {
    body_ += withTitle("line",
                       "x1=\"" + px(x1) + "\" y1=\"" + px(y1) + "\" x2=\"" + px(x2) + "\" y2=\"" + px(y2) +
                           "\" stroke=\"" + stroke + "\" stroke-width=\"" + px(strokeWidth) + "\"",
                       {});
}

void SvgDocument::polyline(std::vector<std::pair<double, double>> const& points, std::string const& stroke,
                           double strokeWidth, std::string const& title) {
    body_ += withTitle("polyline",
                       "points=\"" + pointList(points) + "\" fill=\"none\" stroke=\"" + stroke +
                           "\" stroke-width=\"" + px(strokeWidth) + "\" stroke-linejoin=\"round\"",
                       title);
}

void SvgDocument::polygon(std::vector<std::pair<double, double>> const& points, std::string const& fill,
                          std::string const& stroke, double strokeWidth) {
    body_ += withTitle("polygon",
                       "points=\"" + pointList(points) + "\" fill=\"" + fill + "\" stroke=\"" + stroke +
                           "\" stroke-width=\"" + px(strokeWidth) + "\"",
                       {});
}

void SvgDocument::circle(double cx, double cy, double radius, std::string const& fill,
                         std::string const& title) {
    body_ += withTitle(
        "circle",
        "cx=\"" + px(cx) + "\" cy=\"" + px(cy) + "\" r=\"" + px(radius) + "\" fill=\"" + fill + "\"", title);
}

void SvgDocument::text(double x, double y, std::string const& content, double size,
                       std::string const& anchor) {
    body_ += "  <text x=\"" + px(x) + "\" y=\"" + px(y) + "\" font-size=\"" + px(size) +
             "\" font-family=\"sans-serif\" text-anchor=\"" + anchor + "\">" + escape(content) + "</text>\n";
}

void SvgDocument::beginGroup(std::string const& name) {
    body_ += "  <g class=\"" + escape(name) + "\">\n";
}

void SvgDocument::endGroup() {
    body_ += "  </g>\n";
}

std::string SvgDocument::str() const {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" +
           px(width_) + "\" height=\"" + px(height_) + "\" viewBox=\"0 0 " + px(width_) + " " + px(height_) +
           "\">\n  <rect x=\"0\" y=\"0\" width=\"100%\" height=\"100%\" fill=\"white\"/>\n" + body_ +
           "</svg>\n";
}

std::string groupColour(int group) {
    static char const* const palette[] = {"#4e79a7", "#f28e2b", "#59a14f", "#e15759", "#76b7b2",
                                          "#edc948", "#b07aa1", "#ff9da7", "#9c755f", "#bab0ac"};
    int const count = static_cast<int>(sizeof palette / sizeof palette[0]);
    return palette[((group % count) + count) % count];
}

std::string divergingColour(double t) {
    double const v = clampUnit(t, -1.0);
    if (v < 0) {
        return rgb(0.85 + 0.8 * v, 0.85 + 0.5 * v, 0.85 + 0.05 * v);
    }
    return rgb(0.85 + 0.1 * v, 0.85 - 0.7 * v, 0.85 - 0.7 * v);
}

std::string sequentialColour(double t) {
    double const v = clampUnit(t, 0.0);
    return rgb(1.0 - 0.9 * v, 0.97 - 0.6 * v, 0.75 - 0.25 * v);
}

WorldToPicture::WorldToPicture(std::vector<std::pair<double, double>> const& points, double width,
                               double height, double margin)
    : height_(height) {
    double minX = std::numeric_limits<double>::max();
    double minY = minX;
    double maxX = std::numeric_limits<double>::lowest();
    double maxY = maxX;
    for (auto const& [x, y] : points) {
        minX = std::min(minX, x);
        maxX = std::max(maxX, x);
        minY = std::min(minY, y);
        maxY = std::max(maxY, y);
    }
    if (points.empty()) {
        minX = maxX = minY = maxY = 0.0;
    }
    double const spanX = maxX - minX;
    double const spanY = maxY - minY;
    double const usableWidth = width - 2 * margin;
    double const usableHeight = height - 2 * margin;
    double scale = std::numeric_limits<double>::max();
    if (spanX > 0) {
        scale = std::min(scale, usableWidth / spanX);
    }
    if (spanY > 0) {
        scale = std::min(scale, usableHeight / spanY);
    }
    scale_ =
        (scale == std::numeric_limits<double>::max() || !std::isfinite(scale) || scale <= 0) ? 1.0 : scale;
    offsetX_ = margin + (usableWidth - spanX * scale_) / 2 - minX * scale_;
    offsetY_ = margin + (usableHeight - spanY * scale_) / 2 - minY * scale_;
}

std::pair<double, double> WorldToPicture::operator()(std::pair<double, double> const& point) const {
    return {point.first * scale_ + offsetX_, height_ - (point.second * scale_ + offsetY_)};
}

}  // namespace ktx

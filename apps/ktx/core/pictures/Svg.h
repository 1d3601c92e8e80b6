// A small writer of standalone SVG pictures, and the colour scales the pictures share.
//
//   SvgDocument svg(640, 200);
//   svg.rect(10, 10, 30, 80, groupColour(0), "segment 0: value 0.4");   // the title shows on hover
//   svg.text(320, 190, "segment values", 12, "middle");
//   std::string const picture = svg.str();
//
// Coordinates are in pixels with y pointing down, as in SVG. Texts are XML-escaped.
#pragma once

#include <string>
#include <utility>
#include <vector>

namespace ktx {

class SvgDocument {
  public:
    SvgDocument(double width, double height);

    void rect(double x, double y, double width, double height, std::string const& fill,
              std::string const& title = {});
    void line(double x1, double y1, double x2, double y2, std::string const& stroke, double strokeWidth);
    void polyline(std::vector<std::pair<double, double>> const& points, std::string const& stroke,
                  double strokeWidth, std::string const& title = {});
    // A closed ring; `fill` may be "none".
    void polygon(std::vector<std::pair<double, double>> const& points, std::string const& fill,
                 std::string const& stroke, double strokeWidth);
    void circle(double cx, double cy, double radius, std::string const& fill, std::string const& title = {});
    // anchor: "start", "middle" or "end".
    void text(double x, double y, std::string const& content, double size,
              std::string const& anchor = "start");

    // Wraps the elements added until endGroup() in <g class="name">, so that readers (and tests) can find
    // the parts of a picture.
    void beginGroup(std::string const& name);
    void endGroup();

    std::string str() const;

  private:
    double width_;
    double height_;
    std::string body_;
};

// Distinct colours for neighbouring groups (a ten-colour cycle).
std::string groupColour(int group);
// A diverging scale: -1 blue, 0 light grey, +1 red; values outside [-1, 1] are clamped.
std::string divergingColour(double t);
// A sequential scale for values in [0, 1]: pale yellow to dark blue; clamped.
std::string sequentialColour(double t);

// Maps world coordinates (x right, y up) into a pixel frame (y down) keeping the aspect ratio.
class WorldToPicture {
  public:
    // The bounding box of `points` is fitted into [margin, width - margin] x [margin, height - margin].
    WorldToPicture(std::vector<std::pair<double, double>> const& points, double width, double height,
                   double margin);
    std::pair<double, double> operator()(std::pair<double, double> const& point) const;
    double scale() const { return scale_; }

  private:
    double scale_ = 1.0;
    double offsetX_ = 0.0;
    double offsetY_ = 0.0;
    double height_ = 0.0;
};

}  // namespace ktx

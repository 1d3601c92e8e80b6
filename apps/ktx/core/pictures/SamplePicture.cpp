#include "pictures/Pictures.h"
#include "pictures/Svg.h"

namespace ktx {

std::string samplePicture(std::vector<Point> const& outer, std::vector<std::vector<Point>> const& holes,
                          std::vector<Point> const& points, std::string const& title) {
    double const width = 800;
    double const height = 600;
    WorldToPicture const map(outer, width, height - 40, 30);
    auto const toPicture = [&](std::vector<Point> const& ring) {
        std::vector<Point> mapped;
        for (Point const& p : ring) {
            auto const q = map(p);
            mapped.emplace_back(q.first, q.second + 40);
        }
        return mapped;
    };
    SvgDocument svg(width, height);
    svg.text(width / 2, 24, title, 15, "middle");
    svg.beginGroup("outline");
    svg.polygon(toPicture(outer), "#e8eef6", "#34495e", 1.5);
    for (auto const& hole : holes) {
        svg.polygon(toPicture(hole), "white", "#34495e", 1.5);
    }
    svg.endGroup();
    svg.beginGroup("points");
    std::vector<Point> const mapped = toPicture(points);
    for (std::size_t i = 0; i < mapped.size(); ++i) {
        svg.circle(mapped[i].first, mapped[i].second, 4, "#c0392b", "point " + std::to_string(i));
    }
    svg.endGroup();
    return svg.str();
}

}  // namespace ktx

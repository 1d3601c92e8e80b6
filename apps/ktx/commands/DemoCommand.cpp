// ktx demo: the main job on a built-in closed drawbead line: curvature and lengths of its segments,
// grouping, recommended number of masters, master choice and interpolation, with a readable summary and
// SVG pictures in a folder.
#include "CommandSupport.h"
#include "input/DemoLine.h"
#include "output/GroupReport.h"
#include "output/OutputFiles.h"
#include "pictures/Pictures.h"

#include <Kestrel/MasterOptimizer4Interpolation.h>
#include <Kestrel/SegmentGrouper.h>

#include <sys/stat.h>
#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <memory>
#include <numeric>
#include <sstream>

namespace ktx {

namespace {

struct DemoOptions {
    std::string folder = "ktx-demo";
};

std::string fixed(double value, int decimals) {
    char buffer[64];
    std::snprintf(buffer, sizeof buffer, "%.*f", decimals, value);
    return buffer;
}

std::string joined(std::vector<int> const& numbers) {
    std::string text;
    for (int const n : numbers) {
        text += (text.empty() ? "" : " ") + std::to_string(n);
    }
    return text;
}

void createFolder(std::string const& folder) {
    if (::mkdir(folder.c_str(), 0777) != 0 && errno != EEXIST) {
        throw InputError("cannot create the picture folder '" + folder + "': " + std::strerror(errno));
    }
    struct stat status {};
    if (::stat(folder.c_str(), &status) != 0 || !S_ISDIR(status.st_mode)) {
        throw InputError("'" + folder + "' exists and is not a folder");
    }
}

double secondsSince(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

void runDemo(DemoOptions const& options) {
    createFolder(options.folder);
    DemoLine const line = makeDemoLine();
    int const n = static_cast<int>(line.values.size());
    std::ostringstream out;
    out << "ktx demo: " << line.description << "\n\n";

    // 1. Curvature and length of every segment from the line's geometry.
    std::vector<double> curvature;
    std::vector<double> lengths;
    Kestrel::SegmentGrouper::calculateSegmentCurvature(line.points, true, line.segments, curvature, lengths);
    double const total = std::accumulate(lengths.begin(), lengths.end(), 0.0);
    auto const sharpest = std::min_element(curvature.begin(), curvature.end());
    out << "Segments: " << n << ", total length " << fixed(total, 1) << " mm, lengths "
        << fixed(*std::min_element(lengths.begin(), lengths.end()), 1) << " to "
        << fixed(*std::max_element(lengths.begin(), lengths.end()), 1) << " mm\n";
    out << "Curvature: straight segments about 0, sharpest bend " << fixed(*sharpest, 4)
        << " 1/mm at segment " << (sharpest - curvature.begin())
        << " (a 60 mm corner turning counter-clockwise gives about " << fixed(-1.0 / 60.0, 4) << ")\n\n";

    // 2. Grouping of the segment values, weighted by the measured lengths: the cross-entropy search (one
    // optimisation per number of groups) and the exact search side by side.
    Kestrel::SegmentGrouper const grouper(line.values, lengths, true, Kestrel::SegmentGrouper::MinMax);
    auto const crossEntropyStart = std::chrono::steady_clock::now();
    std::vector<double> crossEntropyValues;
    std::vector<std::vector<int>> crossEntropyStarts;
    grouper.calculateCrossEntropyGroupings(crossEntropyValues, crossEntropyStarts,
                                           groupingProgress("ktx demo: grouping"));
    finishProgress();
    std::vector<int> starts;
    grouper.computeGroups(starts);
    double const crossEntropySeconds = secondsSince(crossEntropyStart);
    auto const exactStart = std::chrono::steady_clock::now();
    std::vector<double> exactValues;
    std::vector<std::vector<int>> exactStarts;
    grouper.calculateOptimalGroupings(exactValues, exactStarts);
    std::vector<int> exactChoice;
    grouper.computeOptimalGroups(exactChoice);
    double const exactSeconds = secondsSince(exactStart);
    out << "Grouping (largest value range inside a group), both searches:\n";
    out << "  cross-entropy: " << starts.size() << " groups starting at segments " << joined(starts)
        << ", value " << fixed(crossEntropyValues[starts.size()], 4) << ", " << fixed(crossEntropySeconds, 2)
        << " s\n";
    out << "  exact:         " << exactChoice.size() << " groups starting at segments " << joined(exactChoice)
        << ", value " << fixed(exactValues[exactChoice.size()], 4) << ", " << fixed(exactSeconds * 1000.0, 2)
        << " ms\n";
    out << "Groups of the cross-entropy search:\n";
    out << "  group  segments        length mm  value range\n";
    std::vector<GroupSummary> const groups =
        summariseGroups(line.values, lengths, true, Dispersion::MinMax, starts);
    for (std::size_t g = 0; g < groups.size(); ++g) {
        std::string const span =
            std::to_string(groups[g].start) + "-" + std::to_string((groups[g].end + n - 1) % n);
        char row[128];
        std::snprintf(row, sizeof row, "  %5zu  %-14s %10.1f  %.3f\n", g, span.c_str(), groups[g].length,
                      groups[g].dispersion);
        out << row;
    }

    // 3. How many masters the line needs.
    std::vector<int> segmentStarts(static_cast<std::size_t>(n));
    std::iota(segmentStarts.begin(), segmentStarts.end(), 0);
    int const recommended = Kestrel::SegmentGrouper::calculateRecommendedNumberOfMasterSegments(
        true, line.values, segmentStarts, lengths);
    out << "\nRecommended number of master segments: " << recommended << "\n";

    // 4. Where to put them, and how well the line is interpolated from their values.
    int const masterCount = std::clamp(recommended, 2, n);
    auto const model = std::make_shared<Kestrel::DrawbeadToyModel const>(lengths, line.ranges, true, nullptr);
    Kestrel::MasterOptimizer4DrawbeadToyModel const optimizer(model);
    std::vector<int> masters;
    optimizer.calculateOptimalMasterIndices(masterCount, masters, nullptr);
    std::vector<double> masterValues;
    for (int const m : masters) {
        masterValues.push_back(line.values[m]);
    }
    std::vector<double> const interpolated = *optimizer.interpolate(masters, masterValues);
    out << "Masters (" << masters.size() << "): segments " << joined(masters) << ", score "
        << fixed(optimizer.evaluateMasterChoice(masters), 6) << " (smaller is better)\n";
    out << "Interpolated from the masters' values (clamped to [0.1, 0.9], then mapped by (1 - cos(pi v)) / "
           "2): "
        << fixed(*std::min_element(interpolated.begin(), interpolated.end()), 3) << " to "
        << fixed(*std::max_element(interpolated.begin(), interpolated.end()), 3) << ", penalty "
        << fixed(model->calculatePenaltyValue(interpolated), 6) << "\n";

    // 5. Pictures.
    std::string const grouping = options.folder + "/grouping.svg";
    std::string const curvaturePath = options.folder + "/curvature.svg";
    std::string const mastersPath = options.folder + "/masters.svg";
    std::string const objectivePath = options.folder + "/objective.svg";
    OutputFiles outputs;
    outputs.add(grouping, groupPicture(line.values, lengths, starts, true,
                                       "Drawbead restraint per segment, coloured by group"));
    outputs.add(curvaturePath, curvaturePicture(line.points, true, line.segments, curvature,
                                                "Curvature of the drawbead line"));
    outputs.add(mastersPath, mastersPicture(lengths, line.ranges, masters, interpolated,
                                            "Master segments and the interpolated restraint"));
    outputs.add(objectivePath, objectivePicture(crossEntropyValues, exactValues,
                                                "Largest group range against the number of groups"));
    outputs.commit();
    out << "\nPictures written to the folder " << options.folder
        << ": grouping.svg, curvature.svg, masters.svg, objective.svg\n";
    writeStandardOutput(out.str());
}

}  // namespace

Command addDemoCommand(CLI::App& tool) {
    auto options = std::make_shared<DemoOptions>();
    CLI::App* command = tool.add_subcommand(
        "demo",
        "Run the main job on a built-in closed drawbead line of 30 segments: segment curvature and lengths, "
        "grouping by the cross-entropy and the exact search side by side, recommended number of masters, "
        "master choice and interpolation. Prints a summary and writes grouping.svg, curvature.svg, "
        "masters.svg and objective.svg (the objective against the number of groups for both searches) into "
        "a folder.");
    command->add_option("--dir", options->folder, "folder for the pictures (created if missing)")
        ->capture_default_str();
    command->footer("\nExample:\n  ktx demo --dir /tmp/ktx-demo\n");
    return {command, [options] { runDemo(*options); }};
}

}  // namespace ktx

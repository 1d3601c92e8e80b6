// ktx group: divide a line's segments into groups of similar values, report each group and the
// recommended number of master segments.
#include "CommandOutput.h"
#include "CommandSupport.h"
#include "input/GroupInput.h"
#include "input/HelpExamples.h"
#include "output/GroupReport.h"
#include "pictures/Pictures.h"

#include <Kestrel/SegmentGrouper.h>

#include <cmath>
#include <cstdio>
#include <iostream>
#include <memory>
#include <numeric>
#include <stdexcept>
#include <string>

namespace ktx {

namespace {

struct GroupOptions {
    InputSource input;
    CommandOutput output;
    std::string search = "cross-entropy";
    double maxSeconds = 60.0;
};

// The cross-entropy search grows about as n^5 (measured: 24 segments 0.15 s, 48 segments 4.2 to 4.8 s of
// processor time, Release build, OMP_NUM_THREADS=1, closed lines, both measures); kSecondsAt48 rounds that
// up. Lines whose estimate exceeds kNoteSeconds get a note on standard error; above --max-seconds the tool
// refuses to start.
constexpr double kSecondsAt48 = 5.0;
constexpr double kNoteSeconds = 10.0;

double estimatedCrossEntropySeconds(int segments) {
    return kSecondsAt48 * std::pow(static_cast<double>(segments) / 48.0, 5.0);
}

// The longest line whose estimate stays within `seconds`.
int segmentsWithin(double seconds) {
    return static_cast<int>(std::floor(48.0 * std::pow(seconds / kSecondsAt48, 0.2)));
}

std::string secondsText(double seconds) {
    char text[64];
    std::snprintf(text, sizeof text, seconds < 100.0 ? "%.0f s" : "%.3g s", seconds);
    return text;
}

// Refuses a cross-entropy search estimated above the limit; notes a long one on standard error.
void checkCrossEntropyTime(int segments, double maxSeconds) {
    double const estimate = estimatedCrossEntropySeconds(segments);
    std::string const capacity = "the cross-entropy search handles about " +
                                 std::to_string(segmentsWithin(maxSeconds)) + " segments within " +
                                 secondsText(maxSeconds) + " on one core";
    if (estimate > maxSeconds) {
        throw InputError(std::to_string(segments) + " segments would take about " + secondsText(estimate) +
                         " with the cross-entropy search (" + capacity +
                         "); use --search exact (milliseconds) or raise the limit with --max-seconds");
    }
    if (estimate > kNoteSeconds) {
        std::cerr << "ktx group: note: " << segments << " segments take about " << secondsText(estimate)
                  << " with the cross-entropy search (" << capacity
                  << "); --search exact takes milliseconds\n";
    }
}

// The grouping by the chosen search; the exact search's rejections of the line are input errors.
std::vector<int> computeStarts(Kestrel::SegmentGrouper const& grouper, GroupOptions const& options, int n) {
    std::vector<int> starts;
    if (options.search == "exact") {
        try {
            grouper.computeOptimalGroups(starts);
        } catch (std::invalid_argument const& error) {
            throw InputError(error.what());
        }
        return starts;
    }
    checkCrossEntropyTime(n, options.maxSeconds);
    grouper.computeGroups(starts, groupingProgress("ktx group"));
    finishProgress();
    return starts;
}

void runGroup(GroupOptions const& options) {
    options.output.checkWritable();
    GroupInput const input = readAndParse(options.input, parseGroupInput);
    int const n = static_cast<int>(input.values.size());

    Kestrel::SegmentGrouper const grouper(input.values, input.lengths, input.closed,
                                          input.measure == Dispersion::MinMax
                                              ? Kestrel::SegmentGrouper::MinMax
                                              : Kestrel::SegmentGrouper::Variance);
    std::vector<int> const starts = computeStarts(grouper, options, n);

    // Every segment is one point of the line here, weighted by its length.
    std::vector<int> segmentStarts(static_cast<std::size_t>(n));
    std::iota(segmentStarts.begin(), segmentStarts.end(), 0);
    int const recommended = Kestrel::SegmentGrouper::calculateRecommendedNumberOfMasterSegments(
        input.closed, input.values, segmentStarts, input.lengths);

    nlohmann::ordered_json groups = nlohmann::ordered_json::array();
    for (GroupSummary const& group :
         summariseGroups(input.values, input.lengths, input.closed, input.measure, starts)) {
        groups.push_back({{"start", group.start},
                          {"end", group.end},
                          {"segments", group.segments},
                          {"length", group.length},
                          {"dispersion", group.dispersion}});
    }
    nlohmann::ordered_json const result{
        {"segments", n},         {"closed", input.closed}, {"measure", dispersionName(input.measure)},
        {"groupStarts", starts}, {"groups", groups},       {"recommendedMasters", recommended}};
    options.output.write(formatJson(result), [&] {
        return groupPicture(input.values, input.lengths, starts, input.closed,
                            "Segment values coloured by group");
    });
}

}  // namespace

Command addGroupCommand(CLI::App& tool) {
    auto options = std::make_shared<GroupOptions>();
    CLI::App* command = tool.add_subcommand(
        "group",
        "Divide a line's segments into consecutive groups of similar values (one optimisation per number of "
        "groups), and recommend a number of master segments.\n"
        "Search: the default cross-entropy search grows about as n^5 (48 segments: about 5 s on one core); "
        "the tool estimates its time as 5 s * (n / 48)^5, notes lines above 10 s and refuses lines above "
        "--max-seconds (default 60 s: about 78 segments). --search exact finds the best grouping for every "
        "number of groups exactly, in milliseconds for hundreds of segments, and chooses the number of "
        "groups the same way.\n"
        "Input: {\"closed\": bool (default false), \"measure\": \"minmax\"|\"variance\" (default minmax), "
        "\"values\": [one per segment], \"lengths\": [one positive length per segment]}.\n"
        "Output: JSON with groupStarts, per group start/end/segments/length/dispersion, recommendedMasters. "
        "The environment variable KX_CONTROL_NUMBER_OF_LINE_DVS raises the recommendation.");
    addInputOption(*command, options->input);
    options->output.addOutputOption(*command);
    options->output.addPictureOption(*command, "also draw the segment values as bars coloured by group");
    command->add_option("--search", options->search, "cross-entropy (default) or exact")
        ->check(CLI::IsMember({"cross-entropy", "exact"}));
    command
        ->add_option("--max-seconds", options->maxSeconds,
                     "refuse a cross-entropy search estimated to take longer (default 60)")
        ->check(CLI::PositiveNumber);
    command->footer(helpFooter(examples::group, "ktx group examples/data/group.json --svg groups.svg"));
    return {command, [options] { runGroup(*options); }};
}

}  // namespace ktx

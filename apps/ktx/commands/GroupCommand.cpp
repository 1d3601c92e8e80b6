// ktx group: divide a line's segments into groups of similar values, report each group and the
// recommended number of master segments.
#include "CommandOutput.h"
#include "CommandSupport.h"
#include "input/GroupInput.h"
#include "input/HelpExamples.h"
#include "output/GroupReport.h"
#include "pictures/Pictures.h"

#include <Kestrel/SegmentGrouper.h>

#include <memory>
#include <numeric>

namespace ktx {

namespace {

struct GroupOptions {
    InputSource input;
    CommandOutput output;
};

void runGroup(GroupOptions const& options) {
    options.output.checkWritable();
    GroupInput const input = readAndParse(options.input, parseGroupInput);
    int const n = static_cast<int>(input.values.size());

    Kestrel::SegmentGrouper const grouper(input.values, input.lengths, input.closed,
                                          input.measure == Dispersion::MinMax
                                              ? Kestrel::SegmentGrouper::MinMax
                                              : Kestrel::SegmentGrouper::Variance);
    std::vector<int> starts;
    grouper.computeGroups(starts, groupingProgress("ktx group"));
    finishProgress();

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
        "Input: {\"closed\": bool (default false), \"measure\": \"minmax\"|\"variance\" (default minmax), "
        "\"values\": [one per segment], \"lengths\": [one positive length per segment]}.\n"
        "Output: JSON with groupStarts, per group start/end/segments/length/dispersion, recommendedMasters. "
        "The environment variable KX_CONTROL_NUMBER_OF_LINE_DVS raises the recommendation.");
    addInputOption(*command, options->input);
    options->output.addOutputOption(*command);
    options->output.addPictureOption(*command, "also draw the segment values as bars coloured by group");
    command->footer(helpFooter(examples::group, "ktx group examples/data/group.json --svg groups.svg"));
    return {command, [options] { runGroup(*options); }};
}

}  // namespace ktx

#include "CommandOutput.h"

#include "input/InputError.h"
#include "output/OutputFiles.h"

namespace ktx {

void CommandOutput::addOutputOption(CLI::App& command) {
    command.add_option("-o,--output", output_, "write the result to this file instead of standard output");
}

void CommandOutput::addPictureOption(CLI::App& command, std::string const& help) {
    command.add_option("--svg", picture_, help);
}

void CommandOutput::checkWritable() const {
    OutputFiles::checkWritable(output_);
    if (!picture_.empty()) {
        OutputFiles::checkWritable(picture_);
        if (OutputFiles::sameDestination(output_, picture_)) {
            throw InputError("-o/--output and --svg name the same destination '" + picture_ +
                             "'; give the picture its own file");
        }
    }
}

void CommandOutput::write(std::string result, std::function<std::string()> const& drawPicture) const {
    OutputFiles outputs;
    outputs.add(output_, std::move(result));
    if (!picture_.empty() && drawPicture) {
        outputs.add(picture_, drawPicture());
    }
    outputs.commit();
}

}  // namespace ktx

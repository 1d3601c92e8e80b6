#include "RecordingCrossEntropyOptimization.h"

namespace Kestrel {

namespace recording {

Recorder& recorder() {
    static Recorder instance;
    return instance;
}

}  // namespace recording

class CombinatorialCrossEntropyOptimization::Private {
  public:
    Objective const* objective = nullptr;
};

CombinatorialCrossEntropyOptimization::CombinatorialCrossEntropyOptimization(
    int pathLength, std::vector<std::vector<double>> const& matrix, Objective const& objective, bool ordered)
    : d_(std::make_shared<Private>()) {
    recording::Recorder& r = recording::recorder();
    r.events.push_back("construct");
    r.pathLength = pathLength;
    r.ordered = ordered;
    r.matrix = matrix;
    d_->objective = &objective;
}

CombinatorialCrossEntropyOptimization::~CombinatorialCrossEntropyOptimization() {
    recording::recorder().events.push_back("destroy");
}

void CombinatorialCrossEntropyOptimization::setPreGroups(std::vector<int> const* groups) {
    recording::Recorder& r = recording::recorder();
    r.events.push_back("setPreGroups");
    r.preGroups = groups;
}

double CombinatorialCrossEntropyOptimization::optimize(Parameters const& parameters, std::vector<int>& result,
                                                       Callback* callback, int basePopulation) {
    recording::Recorder& r = recording::recorder();
    r.events.push_back("optimize");
    r.parameters = parameters;
    r.callbackWasNull = callback == nullptr;
    r.basePopulation = basePopulation;
    r.resultOnEntry = result;
    r.probeScores.clear();
    for (std::vector<int> const& probe : r.probes) {
        r.probeScores.push_back((*d_->objective)(probe));
    }
    result = r.scripted;
    return 0.0;
}

}  // namespace Kestrel

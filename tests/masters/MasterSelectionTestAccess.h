// The tests' one way into the private members of the master optimisers and the drawbead toy model.
#pragma once

#include <Kestrel/MasterOptimizer4Interpolation.h>

#include <memory>
#include <vector>

namespace Kestrel {

class MasterSelectionTestAccess {
  public:
    static double masterChoiceEvaluator(MasterOptimizer4Interpolation const& optimiser,
                                        std::vector<int> const& choice) {
        return optimiser.masterChoiceEvaluator(choice);
    }

    static boost::function<double(std::vector<double> const&)> const& evaluator(
        MasterOptimizer4Interpolation const& optimiser) {
        return optimiser.getTheEvaluator();
    }

    static std::vector<std::pair<double, double>> const& minMaxData(
        MasterOptimizer4Interpolation const& optimiser) {
        return optimiser.minMaxData;
    }

    // Dispatched through the virtual slots of the base, as the optimiser's objective does.
    static double geometryBasedEvaluation(MasterOptimizer4Interpolation const& optimiser,
                                          std::vector<int> const& masterIndices) {
        return optimiser.geometryBasedEvaluation(masterIndices);
    }

    static std::shared_ptr<std::vector<double>> getInterpolation(
        MasterOptimizer4Interpolation const& optimiser, std::vector<int> const& masterIndices,
        std::vector<double> const& masterValues) {
        return optimiser.getInterpolation(masterIndices, masterValues);
    }

    static void enforceMinMaxData(MasterOptimizer4DrawbeadToyModel const& optimiser,
                                  std::vector<double>& values) {
        optimiser.enforceMinMaxData(values);
    }

    static void sanityCheck(MasterOptimizer4DrawbeadToyModel const& optimiser,
                            std::vector<int> const& masterIndices, std::vector<double> const& masterValues) {
        optimiser.sanityCheck(masterIndices, masterValues);
    }

    static std::shared_ptr<DrawbeadToyModel const> const& model(
        MasterOptimizer4DrawbeadToyModel const& optimiser) {
        return optimiser.model;
    }
};

}  // namespace Kestrel

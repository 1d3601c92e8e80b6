#include <Kestrel/CombinatorialCrossEntropyOptimization.h>

namespace Kestrel {

CombinatorialCrossEntropyOptimization::Parameters::Parameters(double smoothing, double quantile,
                                                              double sampleFactor, int stallIterations,
                                                              bool checkBestStall, int maxIterations,
                                                              PopulationDynamics populationDynamics)
    : smoothing(smoothing),
      quantile(quantile),
      sampleFactor(sampleFactor),
      stallIterations(stallIterations),
      checkBestStall(checkBestStall),
      maxIterations(maxIterations),
      populationDynamics(populationDynamics) {}

}  // namespace Kestrel

// An outside program that uses the installed library through its umbrella header.
#include <Kestrel/InformationTheory.h>

#include <cstdlib>
#include <iostream>
#include <vector>

// The library links the OpenMP runtime for its consumers but does not make them compile with OpenMP.
#if defined(_OPENMP)
#error "the library's target added the OpenMP compile flag to a consumer"
#endif
#if __cplusplus < 201703L
#error "the library's target did not make its consumer compile as C++17"
#endif

int main() {
    // The library-wide thread cap is exported and changes no result.
    Kestrel::setMaxNumberOfThreads(1);
    if (Kestrel::getMaxNumberOfThreads() != 1) {
        std::cerr << "consumer: thread cap not kept\n";
        return EXIT_FAILURE;
    }
    // Three items; the objective prefers item 2 first.
    std::vector<std::vector<double>> const matrix(4, std::vector<double>(3, 1.0 / 3.0));
    boost::function<double(std::vector<int> const&)> const objective = [](std::vector<int> const& selection) {
        return selection.empty() ? 1.0 : static_cast<double>(selection.front() != 2);
    };
    Kestrel::CombinatorialCrossEntropyOptimization optimiser(1, matrix, objective, true);
    Kestrel::CombinatorialCrossEntropyOptimization::Parameters const parameters{
        0.8, 0.05, 5.0, 3, true, 30, Kestrel::CombinatorialCrossEntropyOptimization::StaticPopulation};
    std::vector<int> best;
    double const score = optimiser.optimize(parameters, best, nullptr, 0);
    if (best.size() != 1 || best.front() != 2 || score != 0.0) {
        std::cerr << "consumer: unexpected result\n";
        return EXIT_FAILURE;
    }
    std::cout << "consumer: ok\n";
    return EXIT_SUCCESS;
}

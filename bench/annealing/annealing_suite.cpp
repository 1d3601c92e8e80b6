// Runs annealInBox4HSA on one named test function for seeds 1..S under a budget of evaluations and prints
// one line per seed: "seed bestValue evaluationsCharged". bench/annealing/compare_with_dual_annealing.py
// runs it for the whole suite.
//
//   annealing_suite FUNCTION DIMENSION BUDGET GRADIENT_COST SEEDS [SETTING=VALUE ...]
// SETTING is one of warmUpPoints, jumpFraction, descentCalls, coolingFactor, finalTemperatureRatio,
// freshStartInterval (the others keep the library's defaults); with any of them given, each line also
// shows the samples drawn.
#include <Kestrel/ReadyComponents4HSA.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

int main(int argc, char** argv) {
    if (argc < 6) {
        std::fprintf(stderr, "usage: annealing_suite FUNCTION DIMENSION BUDGET GRADIENT_COST SEEDS\n");
        return 2;
    }
    Kestrel::TestFunction4HSA const f = Kestrel::makeTestFunction4HSA(argv[1], std::atoi(argv[2]));
    Kestrel::AnnealingSettings4HSA settings;
    settings.evaluationBudget = std::strtoull(argv[3], nullptr, 10);
    settings.gradientCost = std::atoi(argv[4]);
    int const seeds = std::atoi(argv[5]);
    for (int k = 6; k < argc; ++k) {
        std::string const setting = argv[k];
        std::size_t const equals = setting.find('=');
        std::string const key = setting.substr(0, equals);
        double const value = equals == std::string::npos ? 0.0 : std::atof(setting.c_str() + equals + 1);
        if (key == "warmUpPoints") {
            settings.warmUpPoints = static_cast<int>(value);
        } else if (key == "jumpFraction") {
            settings.jumpFraction = value;
        } else if (key == "descentCalls") {
            settings.descentCalls = static_cast<int>(value);
        } else if (key == "coolingFactor") {
            settings.coolingFactor = value;
        } else if (key == "finalTemperatureRatio") {
            settings.finalTemperatureRatio = value;
        } else if (key == "freshStartInterval") {
            settings.freshStartInterval = static_cast<int>(value);
        } else {
            std::fprintf(stderr, "unknown setting %s\n", setting.c_str());
            return 2;
        }
    }
    for (int seed = 1; seed <= seeds; ++seed) {
        Kestrel::AnnealingResult4HSA const found = Kestrel::annealInBox4HSA(
            f.objective, f.gradient, f.box, static_cast<std::uint32_t>(seed), settings);
        std::printf("%d %.17g %llu", seed, found.bestValue,
                    static_cast<unsigned long long>(found.evaluations));
        if (argc > 6) {
            std::printf(" %llu", static_cast<unsigned long long>(found.samples));
        }
        std::printf("\n");
    }
    return 0;
}

// How the library's threads behave on an idle machine and on a busy one.
//
// Every case runs with one and with two threads (Kestrel::setMaxNumberOfThreads), alternately, under
// three loads that this program starts and stops itself as sibling processes:
//   idle    nothing else;
//   spin    one process spinning on one core;
//   openmp  one process running short two-thread OpenMP loops back to back (a host that computes with
//           OpenMP itself), with the runtime's default wait behaviour.
// It prints the median wall time of each and the ratio time(1 thread) / time(2 threads): above 1 the second
// thread helps, below 1 it hurts; "paired" is the median of the ratios of the two samples taken one after
// the other, which a slow drift of the machine's pace moves less. No OpenMP environment variable is needed.
//
// A sample is one call, or for short calls as many calls back to back as take about --sample-seconds
// (the count is fixed per case from a first timing, the same for one and two threads), as a host calling
// the library again and again does: a busy machine hands out cores in slices of a few milliseconds, and a
// single call of 10 ms would measure mostly where in a slice it started. The table gives seconds per call.
// Each cell takes at least --repeats samples per thread count, and more while they fit in --cell-seconds
// (always an odd number): a busy machine's pace drifts from second to second, and the medians of short
// cases settle only over many alternating samples.
//
//   thread_scaling [--repeats R] [--cell-seconds C] [--sample-seconds S] [--loads idle,spin,openmp]
//   [--cases groups24,groups36,groups48,masters,domain,latin]
//
// Each case checks once that one and two threads give the same result, so a fast wrong answer stops the run.
#include <Kestrel/InformationTheory.h>
#include <omp.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

extern char** environ;

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kSiblingSeconds = 900;  // a sibling ends by itself after this, should this program die first

// ---- sibling processes ----

double secondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

// Spins on one core until `seconds` have passed.
int spinSibling(double seconds) {
    Clock::time_point const start = Clock::now();
    volatile unsigned long counter = 0;
    while (secondsSince(start) < seconds) {
        for (int i = 0; i < 100000; ++i) {
            counter = counter + 1;
        }
    }
    return 0;
}

// Runs short two-thread OpenMP loops back to back until `seconds` have passed, each ending in a barrier,
// as a host computing with OpenMP does.
int openMpSibling(double seconds) {
    Clock::time_point const start = Clock::now();
    std::vector<double> data(1 << 14, 1.0);
    double total = 0.0;
    while (secondsSince(start) < seconds) {
        for (int loop = 0; loop < 100; ++loop) {
#pragma omp parallel for num_threads(2) schedule(static) reduction(+ : total)
            for (std::size_t i = 0; i < data.size(); ++i) {
                total += std::sqrt(data[i] + static_cast<double>(loop));
            }
        }
    }
    return total > 0.0 ? 0 : 1;
}

// A sibling process running this program with --sibling KIND; stopped when the object goes away.
class Sibling {
  public:
    explicit Sibling(std::string const& kind) {
        std::string const self = "/proc/self/exe";
        std::string const flag = "--sibling";
        std::string const seconds = std::to_string(kSiblingSeconds);
        std::vector<char*> argv{const_cast<char*>(self.c_str()), const_cast<char*>(flag.c_str()),
                                const_cast<char*>(kind.c_str()), const_cast<char*>(seconds.c_str()), nullptr};
        if (posix_spawn(&pid_, self.c_str(), nullptr, nullptr, argv.data(), environ) != 0) {
            throw std::runtime_error("cannot start the sibling process " + kind);
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(300));  // let it reach its loop
    }
    ~Sibling() {
        kill(pid_, SIGTERM);
        int status = 0;
        waitpid(pid_, &status, 0);
    }
    Sibling(Sibling const&) = delete;
    Sibling& operator=(Sibling const&) = delete;

  private:
    pid_t pid_ = 0;
};

std::unique_ptr<Sibling> startLoad(std::string const& load) {
    if (load == "idle") {
        return nullptr;
    }
    return std::make_unique<Sibling>(load);
}

// ---- cases ----

// One case: `run` does the work once and returns a fingerprint of its result.
struct Case {
    std::string name;
    std::function<std::string()> run;
};

template <class T>
std::string fingerprint(std::vector<T> const& values) {
    std::ostringstream text;
    text.precision(17);
    for (T const& value : values) {
        text << value << ' ';
    }
    return text.str();
}

// A closed line of n segments with smooth values and varying lengths, MinMax dispersion.
Case groupsCase(int n) {
    std::vector<double> values(static_cast<std::size_t>(n));
    std::vector<double> lengths(static_cast<std::size_t>(n));
    for (int i = 0; i < n; ++i) {
        values[static_cast<std::size_t>(i)] = std::sin(0.45 * i) + 0.3 * std::cos(1.7 * i);
        lengths[static_cast<std::size_t>(i)] = 1.0 + 0.5 * ((i * 7) % 5);
    }
    auto const grouper = std::make_shared<Kestrel::SegmentGrouper const>(values, lengths, true,
                                                                         Kestrel::SegmentGrouper::MinMax);
    return {"computeGroups n=" + std::to_string(n), [grouper] {
                std::vector<int> starts;
                grouper->computeGroups(starts);
                return fingerprint(starts);
            }};
}

// 8 masters on an open drawbead toy line of 40 segments.
Case mastersCase() {
    int const n = 40;
    std::vector<double> lengths(static_cast<std::size_t>(n));
    std::vector<std::pair<double, double>> bounds(static_cast<std::size_t>(n));
    for (int i = 0; i < n; ++i) {
        lengths[static_cast<std::size_t>(i)] = 2.0 + 1.5 * std::sin(0.7 * i);
        bounds[static_cast<std::size_t>(i)] = {0.1 + 0.01 * (i % 5), 0.9 - 0.01 * (i % 7)};
    }
    auto const model = std::make_shared<Kestrel::DrawbeadToyModel const>(lengths, bounds, false, nullptr);
    auto const optimiser = std::make_shared<Kestrel::MasterOptimizer4DrawbeadToyModel const>(model);
    return {"masters 40 segments, 8", [optimiser] {
                std::vector<int> masters;
                optimiser->calculateOptimalMasterIndices(8, masters, nullptr);
                return fingerprint(masters);
            }};
}

// 300 well-spread points of a square plate with a square hole.
Case domainCase() {
    auto const plate = std::make_shared<Kestrel::PolygonSampler2D>(
        Kestrel::PolygonSampler2D::Ring{{0.0, 0.0}, {10.0, 0.0}, {10.0, 10.0}, {0.0, 10.0}},
        std::vector<Kestrel::PolygonSampler2D::Ring>{{{4.0, 4.0}, {6.0, 4.0}, {6.0, 6.0}, {4.0, 6.0}}});
    return {"domain sampler k=300", [plate] {
                std::vector<Kestrel::DomainSampler2D::Point> points;
                plate->calculateSamples(300, points);
                std::vector<double> coordinates;
                for (auto const& point : points) {
                    coordinates.push_back(point.first);
                    coordinates.push_back(point.second);
                }
                return fingerprint(coordinates);
            }};
}

// A Latin population of 10^6 points over four factors of one coordinate each.
Case latinCase() {
    std::size_t const size = 1000000;
    std::vector<std::shared_ptr<Kestrel::CartesianProductSampler::Candidates>> factors;
    for (int f = 0; f < 4; ++f) {
        auto candidates = std::make_shared<Kestrel::CartesianProductSampler::Candidates>(size);
        for (std::size_t i = 0; i < size; ++i) {
            (*candidates)[i] = {static_cast<double>(i) + 0.25 * f};
        }
        factors.push_back(candidates);
    }
    return {"Latin sampler 1e6 x 4", [factors] {
                Kestrel::CartesianProductSampler const sampler(factors, {0, 1, 2, 3});
                auto const population = sampler.getPopulation();
                std::vector<double> some;
                for (std::size_t i = 0; i < population->size(); i += 99991) {
                    some.insert(some.end(), (*population)[i].begin(), (*population)[i].end());
                }
                return fingerprint(some);
            }};
}

std::vector<Case> allCases(std::vector<std::string> const& names) {
    std::vector<Case> cases;
    for (std::string const& name : names) {
        if (name == "groups24") {
            cases.push_back(groupsCase(24));
        } else if (name == "groups36") {
            cases.push_back(groupsCase(36));
        } else if (name == "groups48") {
            cases.push_back(groupsCase(48));
        } else if (name == "masters") {
            cases.push_back(mastersCase());
        } else if (name == "domain") {
            cases.push_back(domainCase());
        } else if (name == "latin") {
            cases.push_back(latinCase());
        } else {
            throw std::invalid_argument("unknown case " + name);
        }
    }
    return cases;
}

// ---- measuring ----

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    std::size_t const middle = values.size() / 2;
    return values.size() % 2 == 1 ? values[middle] : 0.5 * (values[middle - 1] + values[middle]);
}

// Seconds per call over `calls` calls back to back; every result is checked after the timing.
double timeSample(Case const& work, int threads, int calls, std::string const& expected) {
    Kestrel::setMaxNumberOfThreads(threads);
    std::vector<std::string> results(static_cast<std::size_t>(calls));
    Clock::time_point const start = Clock::now();
    for (std::string& result : results) {
        result = work.run();
    }
    double const seconds = secondsSince(start);
    for (std::string const& result : results) {
        if (result != expected) {
            throw std::runtime_error(work.name + ": the result changed with " + std::to_string(threads) +
                                     " threads");
        }
    }
    return seconds / calls;
}

std::vector<std::string> split(std::string const& text) {
    std::vector<std::string> parts;
    std::stringstream stream(text);
    std::string part;
    while (std::getline(stream, part, ',')) {
        parts.push_back(part);
    }
    return parts;
}

// Samples per thread count for a cell whose samples take about `sampleSeconds` each.
int samplesPerCell(int leastRepeats, double cellSeconds, double sampleSeconds) {
    int const fitting = static_cast<int>(cellSeconds / (2.0 * std::max(sampleSeconds, 1e-6)));
    int const repeats = std::max(leastRepeats, std::min(fitting, 1001));
    return repeats % 2 == 1 ? repeats : repeats + 1;
}

int measure(int leastRepeats, double cellSeconds, double sampleSeconds, std::vector<std::string> const& loads,
            std::vector<Case> const& cases) {
    double average[3] = {0.0, 0.0, 0.0};
    getloadavg(average, 3);
    std::printf("OpenMP threads available: %d; load average before: %.2f %.2f %.2f\n", omp_get_max_threads(),
                average[0], average[1], average[2]);
    std::printf(
        "medians of alternating samples (at least %d per thread count, more while a cell takes under %.0f "
        "s), "
        "a sample about %.2f s or one call\n\n",
        leastRepeats, cellSeconds, sampleSeconds);
    std::printf(
        "| case | beside | calls per sample | samples | 1 thread [s] | 2 threads [s] | t1 / t2 | paired |\n"
        "|---|---|---|---|---|---|---|---|\n");
    for (Case const& work : cases) {
        Kestrel::setMaxNumberOfThreads(1);
        Clock::time_point const first = Clock::now();
        std::string const expected = work.run();
        double const callSeconds = secondsSince(first);
        int const calls = static_cast<int>(std::max(1.0, std::ceil(sampleSeconds / callSeconds)));
        int const repeats = samplesPerCell(leastRepeats, cellSeconds, calls * callSeconds);
        Kestrel::setMaxNumberOfThreads(2);
        if (work.run() != expected) {
            std::fprintf(stderr, "%s: one and two threads disagree\n", work.name.c_str());
            return 1;
        }
        for (std::string const& load : loads) {
            // Let the machine settle, and the library forget what a team achieved under the last load.
            std::this_thread::sleep_for(std::chrono::milliseconds(1500));
            std::unique_ptr<Sibling> const sibling = startLoad(load);
            std::vector<double> one;
            std::vector<double> two;
            for (int r = 0; r < repeats; ++r) {
                // Alternate which thread count goes first so drifting load hits both alike.
                if (r % 2 == 0) {
                    one.push_back(timeSample(work, 1, calls, expected));
                    two.push_back(timeSample(work, 2, calls, expected));
                } else {
                    two.push_back(timeSample(work, 2, calls, expected));
                    one.push_back(timeSample(work, 1, calls, expected));
                }
            }
            double const t1 = median(one);
            double const t2 = median(two);
            std::vector<double> pairRatios;
            for (std::size_t i = 0; i < one.size(); ++i) {
                pairRatios.push_back(one[i] / two[i]);
            }
            std::printf("| %s | %s | %d | %d | %.4f | %.4f | %.2f | %.2f |\n", work.name.c_str(),
                        load.c_str(), calls, repeats, t1, t2, t1 / t2, median(pairRatios));
            std::fflush(stdout);
        }
    }
    Kestrel::setMaxNumberOfThreads(0);
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    try {
        if (argc == 4 && std::strcmp(argv[1], "--sibling") == 0) {
            double const seconds = std::atof(argv[3]);
            return std::strcmp(argv[2], "spin") == 0 ? spinSibling(seconds) : openMpSibling(seconds);
        }
        int repeats = 9;
        double cellSeconds = 12.0;
        double sampleSeconds = 0.25;
        std::vector<std::string> loads{"idle", "spin", "openmp"};
        std::vector<std::string> caseNames{"groups24", "groups36", "groups48", "masters", "domain", "latin"};
        for (int i = 1; i + 1 < argc; i += 2) {
            std::string const option = argv[i];
            if (option == "--repeats") {
                repeats = std::max(1, std::atoi(argv[i + 1]));
            } else if (option == "--cell-seconds") {
                cellSeconds = std::max(0.0, std::atof(argv[i + 1]));
            } else if (option == "--sample-seconds") {
                sampleSeconds = std::max(0.0, std::atof(argv[i + 1]));
            } else if (option == "--loads") {
                loads = split(argv[i + 1]);
            } else if (option == "--cases") {
                caseNames = split(argv[i + 1]);
            } else {
                std::fprintf(stderr, "unknown option %s\n", option.c_str());
                return 2;
            }
        }
        for (std::string const& load : loads) {
            if (load != "idle" && load != "spin" && load != "openmp") {
                std::fprintf(stderr, "unknown load %s\n", load.c_str());
                return 2;
            }
        }
        return measure(repeats, cellSeconds, sampleSeconds, loads, allCases(caseNames));
    } catch (std::exception const& error) {
        std::fprintf(stderr, "thread_scaling: %s\n", error.what());
        return 1;
    }
}

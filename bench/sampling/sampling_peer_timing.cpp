// Times the library's samplers for bench/sampling/compare_with_peers.py, on inputs the script also hands
// to its peers. Prints the median wall time and the median processor time (all threads) in seconds over
// the repetitions.
//
//   sampling_peer_timing lhs <points> <repetitions>
//       CartesianProductSampler over four factors of <points> one-coordinate candidates.
//   sampling_peer_timing kmeans <candidate file> <samples> <repetitions>
//       DomainSampler2D on the candidates in the file (raw little-endian float64 pairs x, y).
#include <Kestrel/PopulationSampling.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <fstream>
#include <iostream>
#include <string>

namespace {

using Point = Kestrel::DomainSampler2D::Point;

class FileCandidates : public Kestrel::DomainSampler2D {
  public:
    explicit FileCandidates(std::vector<Point> points) : points_(std::move(points)) {}
    void generateCandidates(int, std::vector<Point>& out) override { out = points_; }

  private:
    std::vector<Point> points_;
};

struct Seconds {
    double wall;
    double processor;
};

template <typename Run>
Seconds medianSeconds(int repetitions, Run run) {
    std::vector<double> wall;
    std::vector<double> processor;
    for (int r = 0; r < repetitions; ++r) {
        auto const start = std::chrono::steady_clock::now();
        std::clock_t const startClock = std::clock();
        run();
        processor.push_back(static_cast<double>(std::clock() - startClock) / CLOCKS_PER_SEC);
        wall.push_back(std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
    }
    std::sort(wall.begin(), wall.end());
    std::sort(processor.begin(), processor.end());
    return {wall[wall.size() / 2], processor[processor.size() / 2]};
}

Seconds timeLatinHypercube(std::size_t points, int repetitions) {
    std::vector<std::shared_ptr<Kestrel::CartesianProductSampler::Candidates>> factors;
    for (int f = 0; f < 4; ++f) {
        auto candidates = std::make_shared<Kestrel::CartesianProductSampler::Candidates>(points);
        for (std::size_t i = 0; i < points; ++i) {
            (*candidates)[i] = {(static_cast<double>(i) + 0.5) / static_cast<double>(points)};
        }
        factors.push_back(candidates);
    }
    return medianSeconds(repetitions, [&] {
        Kestrel::CartesianProductSampler sampler(factors, {0, 1, 2, 3});
    });
}

Seconds timeDomainSampler(std::string const& file, int samples, int repetitions) {
    std::ifstream in(file, std::ios::binary);
    std::vector<Point> points;
    double xy[2];
    while (in.read(reinterpret_cast<char*>(xy), sizeof xy)) {
        points.emplace_back(xy[0], xy[1]);
    }
    FileCandidates domain(points);
    std::vector<Point> out;
    return medianSeconds(repetitions, [&] { domain.calculateSamples(samples, out); });
}

}  // namespace

int main(int argc, char** argv) {
    std::vector<std::string> const args(argv + 1, argv + argc);
    if (args.size() == 3 && args[0] == "lhs") {
        Seconds const seconds = timeLatinHypercube(std::stoul(args[1]), std::stoi(args[2]));
        std::printf("%.6f %.6f\n", seconds.wall, seconds.processor);
        return 0;
    }
    if (args.size() == 4 && args[0] == "kmeans") {
        Seconds const seconds = timeDomainSampler(args[1], std::stoi(args[2]), std::stoi(args[3]));
        std::printf("%.6f %.6f\n", seconds.wall, seconds.processor);
        return 0;
    }
    std::cerr << "usage: sampling_peer_timing lhs <points> <repetitions>\n"
                 "       sampling_peer_timing kmeans <candidate file> <samples> <repetitions>\n";
    return 2;
}

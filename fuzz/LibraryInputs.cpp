#include "LibraryInputs.h"

#include <Kestrel/CombinatorialCrossEntropyOptimization.h>
#include <Kestrel/HamiltonianSimulatedAnnealing.h>
#include <Kestrel/MasterOptimizer4Interpolation.h>
#include <Kestrel/PopulationSampling.h>
#include <Kestrel/ReadyComponents4HSA.h>
#include <Kestrel/SegmentGrouper.h>

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace KestrelFuzz {

namespace {

// Escapes every handler below: an objective was handed a node number outside the matrix.
struct NodeOutsideMatrix {};

// Reads the input front to back; past its end every byte is 0.
class ByteReader {
  public:
    ByteReader(std::uint8_t const* data, std::size_t size) : data_(data), size_(size) {}

    std::uint8_t byte() { return position_ < size_ ? data_[position_++] : 0; }

    bool flag() { return (byte() & 1) != 0; }

    // lo ... hi (inclusive), hi - lo < 256.
    int between(int lo, int hi) { return lo + byte() % (hi - lo + 1); }

    // Mostly small indices around the valid range, sometimes the extremes of int.
    int index() {
        std::uint8_t const b = byte();
        if (b < 240) {
            return b % 12 - 2;
        }
        int const extremes[] = {INT_MIN, INT_MAX, INT_MIN + 1, INT_MAX - 1, -1000, 1000, 255, 256,
                                65536,   -65536,  12,          -3,          100,   4,    5,   6};
        return extremes[b - 240];
    }

    // Mostly ordinary values, sometimes zeros, negatives, NaN, infinities and values whose sums overflow.
    double number() {
        std::uint8_t const b = byte();
        if (b < 200) {
            return static_cast<double>(b) * 0.05;
        }
        double const special[] = {0.0,
                                  -0.0,
                                  -1.0,
                                  -0.25,
                                  1e-300,
                                  std::numeric_limits<double>::denorm_min(),
                                  1e300,
                                  1e308,
                                  -1e308,
                                  std::numeric_limits<double>::max(),
                                  std::numeric_limits<double>::infinity(),
                                  -std::numeric_limits<double>::infinity(),
                                  std::numeric_limits<double>::quiet_NaN(),
                                  1e-12,
                                  0.5,
                                  1.0};
        return special[(b - 200) % 16];
    }

    std::vector<double> numbers(int maxCount) {
        std::vector<double> result(static_cast<std::size_t>(between(0, maxCount)));
        for (double& value : result) {
            value = number();
        }
        return result;
    }

    std::vector<int> indices(int maxCount) {
        std::vector<int> result(static_cast<std::size_t>(between(0, maxCount)));
        for (int& value : result) {
            value = index();
        }
        return result;
    }

  private:
    std::uint8_t const* data_;
    std::size_t size_;
    std::size_t position_ = 0;
};

using Matrix = std::vector<std::vector<double>>;
using Optimiser = Kestrel::CombinatorialCrossEntropyOptimization;

// A matrix of up to 6 rows; rows usually have the n - 1 entries the update needs.
Matrix matrixFrom(ByteReader& in) {
    int const rows = in.between(0, 6);
    Matrix matrix(static_cast<std::size_t>(rows));
    for (std::vector<double>& row : matrix) {
        int const length = in.flag() ? in.between(0, 7) : rows - 1;
        for (int k = 0; k < length; ++k) {
            row.push_back(in.flag() ? in.number() : 0.25);
        }
    }
    return matrix;
}

// The optimiser with small, bounded populations (a base population, or the static size n (n - 1) f), so
// that every input runs quickly; the adaptive size without a base grows with the entropy and is left out.
void optimiser(ByteReader& in) {
    Matrix const matrix = matrixFrom(in);
    std::size_t widest = 0;
    for (std::vector<double> const& row : matrix) {
        widest = std::max(widest, row.size());
    }
    Optimiser::Objective const objective = [widest](std::vector<int> const& selection) {
        double sum = 0.0;
        for (int const node : selection) {
            if (node < 0 || static_cast<std::size_t>(node) > widest) {
                throw NodeOutsideMatrix();
            }
            sum += node;
        }
        return sum;
    };
    Optimiser optimiser(in.between(-1, 7), matrix, objective, in.flag());
    if (in.flag()) {
        std::vector<int> const groups = in.indices(5);
        optimiser.setPreGroups(&groups);
    }
    int const changeRows = in.between(0, 3);
    int const changeRow = in.index();
    double const written = in.number();
    Optimiser::Callback callback = [changeRows, changeRow, written](Matrix& m, double) {
        if (changeRows == 1) {
            m.resize(m.size() / 2);
        } else if (changeRows == 2 && changeRow >= 0 && static_cast<std::size_t>(changeRow) < m.size() &&
                   !m[static_cast<std::size_t>(changeRow)].empty()) {
            m[static_cast<std::size_t>(changeRow)][0] = written;
        } else if (changeRows == 3 && !m.empty()) {
            m.back().clear();
        }
    };
    double const smoothing = in.flag() ? 0.8 : in.number();
    double const quantile = in.flag() ? 0.05 : in.number();
    double const sampleFactor = 0.5 * in.between(1, 6);
    Optimiser::Parameters const parameters(smoothing, quantile, sampleFactor, in.between(0, 4), in.flag(),
                                           in.between(0, 5), Optimiser::StaticPopulation);
    std::vector<int> result;
    optimiser.optimize(parameters, result, in.flag() ? &callback : nullptr, in.between(0, 20));
}

void grouper(ByteReader& in) {
    std::vector<double> const values = in.numbers(5);
    std::vector<double> const lengths = in.flag() ? in.numbers(5) : std::vector<double>(values.size(), 1.0);
    auto const measure = static_cast<Kestrel::SegmentGrouper::DispersionMeasure>(in.between(0, 1));
    Kestrel::SegmentGrouper const grouper(values, lengths, in.flag(), measure);
    std::vector<int> result;
    grouper.computeGroups(result);
}

void recommendedMasters(ByteReader& in) {
    unsetenv("KX_CONTROL_NUMBER_OF_LINE_DVS");
    std::vector<double> const values = in.numbers(12);
    std::vector<int> const starts = in.indices(8);
    std::vector<double> const weights = in.numbers(12);
    Kestrel::SegmentGrouper::calculateRecommendedNumberOfMasterSegments(in.flag(), values, starts, weights);
}

void curvature(ByteReader& in) {
    std::vector<std::pair<double, double>> points(static_cast<std::size_t>(in.between(0, 12)));
    for (std::pair<double, double>& point : points) {
        point = {in.number(), in.number()};
    }
    std::vector<std::pair<int, int>> segments(static_cast<std::size_t>(in.between(0, 5)));
    for (std::pair<int, int>& segment : segments) {
        segment = {in.index(), in.index()};
    }
    std::vector<double> curvatures;
    std::vector<double> lengths;
    Kestrel::SegmentGrouper::calculateSegmentCurvature(points, in.flag(), segments, curvatures, lengths);
}

std::shared_ptr<Kestrel::DrawbeadToyModel const> toyModel(ByteReader& in) {
    std::vector<double> const lengths = in.numbers(6);
    std::vector<std::pair<double, double>> bounds(in.flag() ? static_cast<std::size_t>(in.between(0, 6))
                                                            : lengths.size());
    for (std::pair<double, double>& bound : bounds) {
        bound = {in.number(), in.number()};
    }
    std::vector<double> const transitions = in.numbers(6);
    return std::make_shared<Kestrel::DrawbeadToyModel const>(lengths, bounds, in.flag(),
                                                             in.flag() ? &transitions : nullptr);
}

void toyModelQueries(ByteReader& in) {
    std::shared_ptr<Kestrel::DrawbeadToyModel const> const model = toyModel(in);
    switch (in.between(0, 4)) {
        case 0:
            model->distance(in.index(), in.index());
            break;
        case 1:
            model->fullDistance(in.index(), in.index());
            break;
        case 2:
            model->calculatePenaltyValue(in.numbers(7));
            break;
        case 3: {
            Kestrel::MasterOptimizer4DrawbeadToyModel const optimiser(model);
            optimiser.interpolate(in.indices(6), in.numbers(6));
            break;
        }
        default: {
            Kestrel::MasterOptimizer4DrawbeadToyModel const optimiser(model);
            optimiser.evaluateMasterChoice(in.indices(6));
            break;
        }
    }
}

void masterSearch(ByteReader& in) {
    std::shared_ptr<Kestrel::DrawbeadToyModel const> const model =
        in.between(0, 15) == 0 ? nullptr : toyModel(in);
    Kestrel::MasterOptimizer4DrawbeadToyModel const optimiser(model);
    std::vector<int> const groups = in.indices(5);
    std::vector<int> result;
    optimiser.calculateOptimalMasterIndices(in.between(-1, 5), result, in.flag() ? &groups : nullptr);
}

// A gradient writing `written` entries and a wall letting `fraction` of each move through.
void integrator(ByteReader& in) {
    std::vector<double> position = in.numbers(3);
    std::vector<double> velocity = in.flag() ? in.numbers(3) : std::vector<double>(position.size(), 1.0);
    std::size_t const written = in.flag() ? static_cast<std::size_t>(in.between(0, 4)) : position.size();
    double const acceleration = in.number();
    double const fraction = in.number();
    bool const shrinkVelocity = in.between(0, 7) == 0;
    Kestrel::LeapfrogIntegrator::GradientFunction const gradient =
        [written, acceleration](std::vector<double> const&, std::vector<double>& out) {
            out.assign(written, acceleration);
        };
    Kestrel::LeapfrogIntegrator::CollisionFunction const wall =
        [fraction, shrinkVelocity](std::vector<double> const&, std::vector<double> const&,
                                   std::vector<double>& v, double& f) {
            if (shrinkVelocity) {
                v.clear();
            }
            f = fraction;
            return true;
        };
    Kestrel::LeapfrogIntegrator leapfrog(in.flag() ? &wall : nullptr, gradient, position, velocity);
    // At most two nominal steps of duration: with the progress rule, at most about 2 * 10^6 steps.
    double const h = 0.1 * in.between(1, 10);
    leapfrog.doSteps(h, h * 0.25 * in.between(0, 8));
}

void annealingComponents(ByteReader& in) {
    Kestrel::Box4HSA const box(static_cast<std::size_t>(in.between(1, 3)), {-1.0, 1.0});
    auto const domain = std::make_shared<Kestrel::BoxDomain4HSA>(box);
    switch (in.between(0, 4)) {
        case 0: {
            std::vector<double> velocity = in.numbers(4);
            double fraction = 1.0;
            domain->calculateCollision(in.numbers(4), in.numbers(4), velocity, fraction);
            break;
        }
        case 1: {
            Kestrel::TestFunction4HSA const f =
                Kestrel::makeTestFunction4HSA(in.flag() ? "himmelblau" : "ackley", 2);
            std::vector<double> const x = in.numbers(4);
            std::vector<double> g = in.numbers(4);
            f.objective(x);
            f.gradient(x, g);
            break;
        }
        case 2: {
            Kestrel::ObjectiveInterpolator4HSA const model(
                [](std::vector<double> const& x) { return x.empty() ? 0.0 : x[0]; },
                [](std::vector<double> const& x, std::vector<double>& g) { g.assign(x.size(), 1.0); });
            Kestrel::refineInBox4HSA(model, box, in.numbers(4), 0.01, in.between(0, 8));
            break;
        }
        case 3: {
            Kestrel::LeapfrogThermalBath4HSA const bath(7u, 0.1, 2);
            bath.suggestTemperatureAndChange();
            break;
        }
        default: {
            auto const model = std::make_shared<Kestrel::ObjectiveInterpolator4HSA>(
                [](std::vector<double> const& x) { return x.empty() ? 0.0 : x[0]; },
                [](std::vector<double> const& x, std::vector<double>& g) { g.assign(x.size(), 1.0); });
            auto bath = std::make_shared<Kestrel::LeapfrogThermalBath4HSA>(7u, 0.1, 2);
            Kestrel::HamiltonianSimulatedAnnealing const driver(in.flag() ? domain : nullptr, model,
                                                                in.flag() ? bath : nullptr);
            Kestrel::State4HSA state(in.numbers(4));
            bath->calculateSample({1.0, 0.0}, state);
            break;
        }
    }
}

// Hands out the candidates read from the input, whatever count is asked for.
class GivenCandidates : public Kestrel::DomainSampler2D {
  public:
    explicit GivenCandidates(std::vector<Point> points) : points_(std::move(points)) {}

  private:
    void generateCandidates(int, std::vector<Point>& out) override { out = points_; }

    std::vector<Point> points_;
};

void sampler(ByteReader& in) {
    std::vector<Kestrel::DomainSampler2D::Point> candidates(static_cast<std::size_t>(in.between(0, 30)));
    for (Kestrel::DomainSampler2D::Point& point : candidates) {
        point = {in.number(), in.number()};
    }
    GivenCandidates domain(std::move(candidates));
    std::vector<Kestrel::DomainSampler2D::Point> out;
    domain.calculateSamples(in.between(-1, 4), out);
}

}  // namespace

bool runLibraryInput(std::uint8_t const* data, std::size_t size) {
    ByteReader in(data, size);
    try {
        switch (in.between(0, 8)) {
            case 0:
                optimiser(in);
                break;
            case 1:
                grouper(in);
                break;
            case 2:
                recommendedMasters(in);
                break;
            case 3:
                curvature(in);
                break;
            case 4:
                toyModelQueries(in);
                break;
            case 5:
                masterSearch(in);
                break;
            case 6:
                integrator(in);
                break;
            case 7:
                annealingComponents(in);
                break;
            default:
                sampler(in);
                break;
        }
    } catch (std::invalid_argument const&) {
        return false;
    } catch (std::runtime_error const& error) {
        if (std::string(error.what()).find("makes no progress") == std::string::npos) {
            throw;
        }
        return false;
    } catch (std::logic_error const& error) {
        if (std::string(error.what()).find("init() has not been called") == std::string::npos) {
            throw;
        }
        return false;
    }
    return true;
}

}  // namespace KestrelFuzz

// Named multimodal test functions with their gradients, usual boxes and known global minima.
#include <Kestrel/ReadyComponents4HSA.h>

#include <cmath>
#include <cstddef>
#include <stdexcept>
#include <string>

namespace Kestrel {

namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr double kE = 2.71828182845904523536;

// A test function's gradient writes one entry per coordinate into an output of the same length.
void requireGradientLength(std::vector<double> const& x, std::vector<double> const& g) {
    if (g.size() != x.size()) {
        throw std::invalid_argument("test function gradient: the output has " + std::to_string(g.size()) +
                                    " entries for " + std::to_string(x.size()) + " coordinates");
    }
}

// himmelblau is defined in two dimensions only.
void requireTwoCoordinates(std::vector<double> const& p) {
    if (p.size() != 2) {
        throw std::invalid_argument("himmelblau: the position has " + std::to_string(p.size()) +
                                    " coordinates, not 2");
    }
}

double sphere(std::vector<double> const& x) {
    double sum = 0.0;
    for (double const xi : x) {
        sum += xi * xi;
    }
    return sum;
}

void sphereGradient(std::vector<double> const& x, std::vector<double>& g) {
    requireGradientLength(x, g);
    for (std::size_t i = 0; i < x.size(); ++i) {
        g[i] = 2.0 * x[i];
    }
}

double rastrigin(std::vector<double> const& x) {
    double sum = 10.0 * static_cast<double>(x.size());
    for (double const xi : x) {
        sum += xi * xi - 10.0 * std::cos(2.0 * kPi * xi);
    }
    return sum;
}

void rastriginGradient(std::vector<double> const& x, std::vector<double>& g) {
    requireGradientLength(x, g);
    for (std::size_t i = 0; i < x.size(); ++i) {
        g[i] = 2.0 * x[i] + 20.0 * kPi * std::sin(2.0 * kPi * x[i]);
    }
}

double ackley(std::vector<double> const& x) {
    double const n = static_cast<double>(x.size());
    double squares = 0.0;
    double cosines = 0.0;
    for (double const xi : x) {
        squares += xi * xi;
        cosines += std::cos(2.0 * kPi * xi);
    }
    return -20.0 * std::exp(-0.2 * std::sqrt(squares / n)) - std::exp(cosines / n) + 20.0 + kE;
}

void ackleyGradient(std::vector<double> const& x, std::vector<double>& g) {
    requireGradientLength(x, g);
    double const n = static_cast<double>(x.size());
    double squares = 0.0;
    double cosines = 0.0;
    for (double const xi : x) {
        squares += xi * xi;
        cosines += std::cos(2.0 * kPi * xi);
    }
    double const r = std::sqrt(squares / n);
    double const radial = r > 0.0 ? 4.0 * std::exp(-0.2 * r) / (n * r) : 0.0;
    double const ripple = 2.0 * kPi / n * std::exp(cosines / n);
    for (std::size_t i = 0; i < x.size(); ++i) {
        g[i] = radial * x[i] + ripple * std::sin(2.0 * kPi * x[i]);
    }
}

double himmelblau(std::vector<double> const& p) {
    requireTwoCoordinates(p);
    double const a = p[0] * p[0] + p[1] - 11.0;
    double const b = p[0] + p[1] * p[1] - 7.0;
    return a * a + b * b;
}

void himmelblauGradient(std::vector<double> const& p, std::vector<double>& g) {
    requireTwoCoordinates(p);
    requireGradientLength(p, g);
    double const a = p[0] * p[0] + p[1] - 11.0;
    double const b = p[0] + p[1] * p[1] - 7.0;
    g[0] = 4.0 * p[0] * a + 2.0 * b;
    g[1] = 2.0 * a + 4.0 * p[1] * b;
}

Box4HSA cube(int dimension, double half) {
    return Box4HSA(static_cast<std::size_t>(dimension), {-half, half});
}

}  // namespace

TestFunction4HSA makeTestFunction4HSA(std::string const& name, int dimension) {
    if (dimension < 1) {
        throw std::invalid_argument("makeTestFunction4HSA: the dimension must be at least 1");
    }
    std::vector<double> const origin(static_cast<std::size_t>(dimension), 0.0);
    TestFunction4HSA f;
    f.name = name;
    if (name == "sphere") {
        f.objective = &sphere;
        f.gradient = &sphereGradient;
        f.box = cube(dimension, 5.12);
        f.globalMinima = {origin};
    } else if (name == "rastrigin") {
        f.objective = &rastrigin;
        f.gradient = &rastriginGradient;
        f.box = cube(dimension, 5.12);
        f.globalMinima = {origin};
    } else if (name == "ackley") {
        f.objective = &ackley;
        f.gradient = &ackleyGradient;
        f.box = cube(dimension, 5.0);
        f.globalMinima = {origin};
    } else if (name == "himmelblau") {
        if (dimension != 2) {
            throw std::invalid_argument("makeTestFunction4HSA: himmelblau is defined in two dimensions only");
        }
        f.objective = &himmelblau;
        f.gradient = &himmelblauGradient;
        f.box = cube(2, 5.0);
        f.globalMinima = {{3.0, 2.0},
                          {-2.805118086952745, 3.131312518250573},
                          {-3.779310253377747, -3.283185991286170},
                          {3.584428340330492, -1.848126526964404}};
    } else {
        throw std::invalid_argument("makeTestFunction4HSA: unknown test function \"" + name +
                                    "\" (known: ackley, himmelblau, rastrigin, sphere)");
    }
    f.minimumValue = 0.0;
    return f;
}

std::vector<std::string> getTestFunctionNames4HSA() {
    return {"ackley", "himmelblau", "rastrigin", "sphere"};
}

}  // namespace Kestrel

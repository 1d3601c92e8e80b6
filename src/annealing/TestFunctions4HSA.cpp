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

// levy reads its first and last coordinates.
void requireSomeCoordinates(std::vector<double> const& x) {
    if (x.empty()) {
        throw std::invalid_argument("levy: the position has no coordinates");
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

double griewank(std::vector<double> const& x) {
    double squares = 0.0;
    double product = 1.0;
    for (std::size_t i = 0; i < x.size(); ++i) {
        squares += x[i] * x[i];
        product *= std::cos(x[i] / std::sqrt(static_cast<double>(i + 1)));
    }
    return 1.0 + squares / 4000.0 - product;
}

void griewankGradient(std::vector<double> const& x, std::vector<double>& g) {
    requireGradientLength(x, g);
    for (std::size_t i = 0; i < x.size(); ++i) {
        double others = 1.0;
        for (std::size_t j = 0; j < x.size(); ++j) {
            if (j != i) {
                others *= std::cos(x[j] / std::sqrt(static_cast<double>(j + 1)));
            }
        }
        double const root = std::sqrt(static_cast<double>(i + 1));
        g[i] = x[i] / 2000.0 + std::sin(x[i] / root) / root * others;
    }
}

// 418.98... * n is n times the height of -x sin(sqrt(|x|)) at its lowest point in [-500, 500], so the
// minimum value is 0 up to rounding (about 1e-12 n).
constexpr double kSchwefelHeight = 418.98288727243371;

double schwefel(std::vector<double> const& x) {
    double sum = kSchwefelHeight * static_cast<double>(x.size());
    for (double const xi : x) {
        sum -= xi * std::sin(std::sqrt(std::fabs(xi)));
    }
    return sum;
}

void schwefelGradient(std::vector<double> const& x, std::vector<double>& g) {
    requireGradientLength(x, g);
    for (std::size_t i = 0; i < x.size(); ++i) {
        double const root = std::sqrt(std::fabs(x[i]));
        g[i] = -(std::sin(root) + 0.5 * root * std::cos(root));
    }
}

// Levy's function in the variables w = 1 + (x - 1) / 4.
double levy(std::vector<double> const& x) {
    requireSomeCoordinates(x);
    std::size_t const n = x.size();
    double const first = std::sin(kPi * (1.0 + (x[0] - 1.0) / 4.0));
    double sum = first * first;
    for (std::size_t i = 0; i + 1 < n; ++i) {
        double const w = 1.0 + (x[i] - 1.0) / 4.0;
        double const s = std::sin(kPi * w + 1.0);
        sum += (w - 1.0) * (w - 1.0) * (1.0 + 10.0 * s * s);
    }
    double const w = 1.0 + (x[n - 1] - 1.0) / 4.0;
    double const s = std::sin(2.0 * kPi * w);
    return sum + (w - 1.0) * (w - 1.0) * (1.0 + s * s);
}

void levyGradient(std::vector<double> const& x, std::vector<double>& g) {
    requireSomeCoordinates(x);
    requireGradientLength(x, g);
    std::size_t const n = x.size();
    for (std::size_t i = 0; i < n; ++i) {
        g[i] = 0.0;
    }
    double const w0 = 1.0 + (x[0] - 1.0) / 4.0;
    g[0] = 2.0 * kPi * std::sin(kPi * w0) * std::cos(kPi * w0);
    for (std::size_t i = 0; i + 1 < n; ++i) {
        double const w = 1.0 + (x[i] - 1.0) / 4.0;
        double const s = std::sin(kPi * w + 1.0);
        g[i] += 2.0 * (w - 1.0) * (1.0 + 10.0 * s * s) +
                (w - 1.0) * (w - 1.0) * 20.0 * kPi * s * std::cos(kPi * w + 1.0);
    }
    double const w = 1.0 + (x[n - 1] - 1.0) / 4.0;
    double const s = std::sin(2.0 * kPi * w);
    g[n - 1] +=
        2.0 * (w - 1.0) * (1.0 + s * s) + (w - 1.0) * (w - 1.0) * 4.0 * kPi * s * std::cos(2.0 * kPi * w);
    for (std::size_t i = 0; i < n; ++i) {
        g[i] = g[i] / 4.0;
    }
}

double styblinskiTang(std::vector<double> const& x) {
    double sum = 0.0;
    for (double const xi : x) {
        sum += xi * xi * xi * xi - 16.0 * xi * xi + 5.0 * xi;
    }
    return 0.5 * sum;
}

void styblinskiTangGradient(std::vector<double> const& x, std::vector<double>& g) {
    requireGradientLength(x, g);
    for (std::size_t i = 0; i < x.size(); ++i) {
        g[i] = 2.0 * x[i] * x[i] * x[i] - 16.0 * x[i] + 2.5;
    }
}

// Where the derivative 2 x^3 - 16 x + 2.5 of each term vanishes at the lower of its two minima.
constexpr double kStyblinskiTangMinimiser = -2.903534027771178;
// Half of x^4 - 16 x^2 + 5 x at that point.
constexpr double kStyblinskiTangMinimum = -39.16616570377142;

double rosenbrock(std::vector<double> const& x) {
    double sum = 0.0;
    for (std::size_t i = 0; i + 1 < x.size(); ++i) {
        double const inner = x[i + 1] - x[i] * x[i];
        sum += 100.0 * inner * inner + (1.0 - x[i]) * (1.0 - x[i]);
    }
    return sum;
}

void rosenbrockGradient(std::vector<double> const& x, std::vector<double>& g) {
    requireGradientLength(x, g);
    for (std::size_t i = 0; i < x.size(); ++i) {
        g[i] = 0.0;
    }
    for (std::size_t i = 0; i + 1 < x.size(); ++i) {
        double const inner = x[i + 1] - x[i] * x[i];
        g[i] += -400.0 * x[i] * inner - 2.0 * (1.0 - x[i]);
        g[i + 1] += 200.0 * inner;
    }
}

Box4HSA cube(int dimension, double half) {
    return Box4HSA(static_cast<std::size_t>(dimension), {-half, half});
}

std::string knownNames() {
    std::string list;
    for (std::string const& known : getTestFunctionNames4HSA()) {
        list += (list.empty() ? "" : ", ") + known;
    }
    return list;
}

}  // namespace

TestFunction4HSA makeTestFunction4HSA(std::string const& name, int dimension) {
    if (dimension < 1) {
        throw std::invalid_argument("makeTestFunction4HSA: the dimension must be at least 1");
    }
    std::vector<double> const origin(static_cast<std::size_t>(dimension), 0.0);
    TestFunction4HSA f;
    f.name = name;
    double minimumValue = 0.0;
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
    } else if (name == "griewank") {
        f.objective = &griewank;
        f.gradient = &griewankGradient;
        f.box = cube(dimension, 600.0);
        f.globalMinima = {origin};
    } else if (name == "schwefel") {
        f.objective = &schwefel;
        f.gradient = &schwefelGradient;
        f.box = cube(dimension, 500.0);
        f.globalMinima = {std::vector<double>(origin.size(), 420.9687463599820)};
    } else if (name == "levy") {
        f.objective = &levy;
        f.gradient = &levyGradient;
        f.box = cube(dimension, 10.0);
        f.globalMinima = {std::vector<double>(origin.size(), 1.0)};
    } else if (name == "styblinski-tang") {
        f.objective = &styblinskiTang;
        f.gradient = &styblinskiTangGradient;
        f.box = cube(dimension, 5.0);
        f.globalMinima = {std::vector<double>(origin.size(), kStyblinskiTangMinimiser)};
        minimumValue = kStyblinskiTangMinimum * static_cast<double>(dimension);
    } else if (name == "rosenbrock") {
        f.objective = &rosenbrock;
        f.gradient = &rosenbrockGradient;
        f.box = Box4HSA(origin.size(), {-5.0, 10.0});
        f.globalMinima = {std::vector<double>(origin.size(), 1.0)};
    } else {
        throw std::invalid_argument("makeTestFunction4HSA: unknown test function \"" + name +
                                    "\" (known: " + knownNames() + ")");
    }
    f.minimumValue = minimumValue;
    return f;
}

std::vector<std::string> getTestFunctionNames4HSA() {
    return {"ackley",     "griewank", "himmelblau", "levy",           "rastrigin",
            "rosenbrock", "schwefel", "sphere",     "styblinski-tang"};
}

}  // namespace Kestrel

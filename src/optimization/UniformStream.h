// The stream of uniform draws of one seeded engine, kept once drawn.
//
// Draw k of the stream is the k-th uniform number of `boost::random::mt19937` seeded with the stream's
// seed, through `boost::random::uniform_real_distribution<double>` on [0, 1): one 32-bit engine output
// x per draw, u = x * 2^-32. The optimiser reseeds its generator with the same seed in every iteration,
// so every iteration reads the same leading draws: one stream shared by those generators draws each
// number once. Not safe for use from several threads at once.
#pragma once

#include <boost/random/mersenne_twister.hpp>
#include <boost/random/uniform_real_distribution.hpp>

#include <cstddef>
#include <vector>

namespace Kestrel::optimization {

class UniformStream {
  public:
    explicit UniformStream(unsigned int seed) : engine_(seed), uniform_(0.0, 1.0) {}

    // Draws begin ... begin + count - 1 of the stream, drawing in order the ones not drawn yet. The
    // pointer stays valid until the next call.
    double const* draws(std::size_t begin, std::size_t count) {
        std::size_t const end = begin + count;
        if (end > draws_.size()) {
            draws_.reserve(end);
            while (draws_.size() < end) {
                draws_.push_back(uniform_(engine_));
            }
        }
        return draws_.data() + begin;
    }

  private:
    boost::random::mt19937 engine_;
    boost::random::uniform_real_distribution<double> uniform_;
    std::vector<double> draws_;
};

}  // namespace Kestrel::optimization

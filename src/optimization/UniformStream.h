// The stream of uniform draws of one seeded engine, kept once drawn.
//
// Draw k of the stream is the k-th uniform number of `boost::random::mt19937` seeded with the stream's
// seed, through `boost::random::uniform_real_distribution<double>` on [0, 1): one 32-bit engine output
// x per draw, u = x * 2^-32. The optimiser reseeds its generator with the same seed in every iteration,
// so every iteration reads the same leading draws: one stream shared by those generators draws each
// number once. Its leading draws may come from a UniformPrefix drawn once for the whole process, so that
// the next optimisation does not draw them again. A stream is not safe for use from several threads at
// once; a prefix is immutable and may be shared by any number of streams on any threads.
#pragma once

#include <boost/random/mersenne_twister.hpp>
#include <boost/random/uniform_real_distribution.hpp>

#include <cstddef>
#include <memory>
#include <utility>
#include <vector>

namespace Kestrel::optimization {

// The first `count` draws of the stream of one seed, and the engine as it stands after them.
class UniformPrefix {
  public:
    UniformPrefix(unsigned int seed, std::size_t count) : engine_(seed) {
        boost::random::uniform_real_distribution<double> uniform(0.0, 1.0);
        draws_.resize(count);
        for (double& draw : draws_) {
            draw = uniform(engine_);
        }
    }

    std::vector<double> const& draws() const { return draws_; }
    boost::random::mt19937 const& engineAfter() const { return engine_; }

  private:
    boost::random::mt19937 engine_;
    std::vector<double> draws_;
};

class UniformStream {
  public:
    explicit UniformStream(unsigned int seed) : engine_(seed), uniform_(0.0, 1.0) {}

    // The stream whose leading draws are those of `prefix` (the stream of the prefix's seed).
    explicit UniformStream(std::shared_ptr<UniformPrefix const> prefix)
        : engine_(prefix->engineAfter()), uniform_(0.0, 1.0), prefix_(std::move(prefix)) {}

    // Draws begin ... begin + count - 1 of the stream, drawing in order the ones not drawn yet. The
    // pointer stays valid until the next call.
    double const* draws(std::size_t begin, std::size_t count) {
        std::size_t const end = begin + count;
        if (prefix_ != nullptr) {
            std::vector<double> const& shared = prefix_->draws();
            if (end <= shared.size()) {
                return shared.data() + begin;
            }
            if (draws_.empty()) {
                draws_.reserve(end);
                draws_.assign(shared.begin(), shared.end());  // the engine continues after these
            }
        }
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
    std::shared_ptr<UniformPrefix const> prefix_;
    std::vector<double> draws_;
};

}  // namespace Kestrel::optimization

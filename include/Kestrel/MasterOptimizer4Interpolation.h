// Choice of master positions on a line, from which the values of all other positions are interpolated.
//
// `MasterOptimizer4Interpolation` is an abstract base: it owns per-position value bounds and an evaluator of
// a full value vector, and turns the search for the best set of `numberOfMasters` positions into a
// cross-entropy optimisation (`CombinatorialCrossEntropyOptimization`, unordered selections). A derived
// class supplies the two model-specific operations through private virtuals: how a master choice is scored
// (`geometryBasedEvaluation`, smaller is better) and how a full value vector is interpolated from the values
// at the masters (`getInterpolation`). `DrawbeadToyModel` is a small geometric model of a drawbead line and
// `MasterOptimizer4DrawbeadToyModel` the concrete optimiser built on it.
//
// Cost: one `calculateOptimalMasterIndices` call on n positions runs up to 29 cross-entropy iterations, each
// drawing and scoring (n + 1) * n * 5 selections of `numberOfMasters` positions. With the toy model a score
// costs O(numberOfMasters): the optimiser tabulates every distance along the line once at construction
// (O(n^2) time and memory, up to 512 segments; longer lines sum distances segment by segment per score).
//
//   auto model = std::make_shared<Kestrel::DrawbeadToyModel const>(
//       std::vector<double>{2.0, 4.0, 6.0, 3.0, 5.0},                    // segment lengths
//       std::vector<std::pair<double, double>>(5, {0.1, 0.9}),           // admissible values per segment
//       true, nullptr);                                                  // closed line, derived transitions
//   Kestrel::MasterOptimizer4DrawbeadToyModel optimiser(model);
//   std::vector<int> masters;                                           // 0-based, ascending
//   optimiser.calculateOptimalMasterIndices(2, masters, nullptr);
//   double const score = optimiser.evaluateMasterChoice(masters);
//   auto const values = optimiser.interpolate(masters, {0.3, 0.7});   // one value per segment
//
// `MasterOptimizer4DrawbeadToyModel::calculateExactOptimalMasterIndices` finds the choice with the smallest
// toy-model score exactly, by dynamic programming over the masters along the line: O(m n^2) on an open
// line and O(m n^3 / 3) on a closed one (n = 200, m = 20: milliseconds).
//
// Guarantees: results are a deterministic function of the inputs, bit for bit, for any number of OpenMP
// threads. Sizes, indices and lengths that the computations cannot use are refused with
// std::invalid_argument naming the argument and the offending index or value, before any work. All queries
// are const; objects are immutable after construction and safe to read from several threads at once. The
// virtual table of `MasterOptimizer4Interpolation` (destructor, `getInterpolation`,
// `geometryBasedEvaluation`, in this order) is part of the binary interface: callers derive from it.
#pragma once

#include <Kestrel/Export.h>

#include <boost/function.hpp>

#include <memory>
#include <utility>
#include <vector>

namespace Kestrel {

class MasterSelectionTestAccess;

// Abstract master optimiser. Owns one (minimum, maximum) pair per position and an evaluator of a full value
// vector; copyable, no default constructor.
class KESTREL_API MasterOptimizer4Interpolation {
  public:
    // Copies the bounds (their count is the number of positions n) and takes the evaluator.
    MasterOptimizer4Interpolation(std::vector<std::pair<double, double>> const& minMaxData,
                                  boost::function<double(std::vector<double> const&)> evaluator);
    MasterOptimizer4Interpolation(MasterOptimizer4Interpolation const& other);
    MasterOptimizer4Interpolation(MasterOptimizer4Interpolation&& other) noexcept;
    MasterOptimizer4Interpolation& operator=(MasterOptimizer4Interpolation const& other);
    MasterOptimizer4Interpolation& operator=(MasterOptimizer4Interpolation&& other) noexcept;
    virtual ~MasterOptimizer4Interpolation();

    // Replaces `result` by the 0-based master positions, ascending.
    // - numberOfMasters <= 0 or no positions (n = 0): `result` is cleared, nothing runs.
    // - numberOfMasters == 1: {0}, or {(*preGroups)[0]} as it stands when `preGroups` is non-empty; no
    //   optimisation runs and the objective is never called.
    // - n == 1 and numberOfMasters >= 2: {0}.
    // - otherwise min(numberOfMasters, n) positions chosen by a cross-entropy optimisation whose objective
    //   is `geometryBasedEvaluation`; `preGroups` (sorted 0-based group starts, may be null) restricts the
    //   choice to at most one master per group and at most one outside every group.
    // Requires (checked when a search runs): `preGroups` strictly ascending within 0 ... n, leaving at least
    // as many groups (counting the positions outside every group as one) as masters; whatever the derived
    // class requires of its line (the toy model: every segment length positive, since a master on a
    // zero-length segment scores NaN). Deterministic for any number of threads; `geometryBasedEvaluation` is
    // called concurrently.
    // Throws: std::invalid_argument naming the first offending pre-group boundary (or the group count), or
    // the derived class's complaint, before any search and with `result` unchanged; whatever the derived
    // class throws, carried out of the parallel evaluation; allocation failures.
    void calculateOptimalMasterIndices(int numberOfMasters, std::vector<int>& result,
                                       std::vector<int> const* preGroups) const;

    // The full vector of n values interpolated from `masterValues[k]` given at position `masterIndices[k]`
    // (0-based, ascending along the line), as the derived class's `getInterpolation` computes it.
    // Throws: what the derived class throws (the toy model: std::invalid_argument for an index outside
    // 0 ... n - 1, indices not strictly ascending, or fewer values than indices).
    std::shared_ptr<std::vector<double>> interpolate(std::vector<int> const& masterIndices,
                                                     std::vector<double> const& masterValues) const;

    // The score of a master choice (0-based positions, in the order chosen; smaller is better), as the
    // derived class's `geometryBasedEvaluation` computes it. The toy model's score is NaN when a master
    // has length zero or lies outside 0 ... n - 1.
    double evaluateMasterChoice(std::vector<int> const& masterIndices) const;

  protected:
    // The evaluator of a full value vector given at construction.
    boost::function<double(std::vector<double> const&)> const& getTheEvaluator() const;

    // Installs a check that calculateOptimalMasterIndices runs before every search (two or more masters on
    // two or more positions). It throws std::invalid_argument for a line that the derived class's score
    // cannot rank. Copies keep it; an empty function checks nothing.
    void setSearchPrecondition(boost::function<void()> check);

  private:
    friend class MasterSelectionTestAccess;

    // Full vector of n values from the values at the masters.
    virtual std::shared_ptr<std::vector<double>> getInterpolation(
        std::vector<int> const& masterIndices, std::vector<double> const& masterValues) const = 0;
    // Score of a master choice, 0-based positions in the order chosen; smaller is better. Called
    // concurrently on a const object.
    virtual double geometryBasedEvaluation(std::vector<int> const& masterIndices) const = 0;

    // The cross-entropy objective: copies `choice` (1-based states), subtracts 1 from every entry and
    // returns `geometryBasedEvaluation` of the copy.
    double masterChoiceEvaluator(std::vector<int> const& choice) const;

    std::vector<std::pair<double, double>> minMaxData;
    boost::function<double(std::vector<double> const&)> evaluator;
    boost::function<void()> searchPrecondition;
};

// A chain of n segments along a drawbead line, open or closed: per segment a length and an admissible
// (minimum, maximum) value pair, and between each segment and the next a transition length. Measures
// distances along the line and scores a value vector by its discrete gradient energy. Immutable, copyable
// and movable; all queries are const and safe to call concurrently. Indices outside 0 ... n - 1 throw
// std::invalid_argument naming the argument.
class KESTREL_API DrawbeadToyModel {
  public:
    // Copies the lengths, the bounds and the flag. A non-null `transitionLengths` is copied as it stands;
    // a null one derives them: for n >= 2, n entries (closed) or n - 1 (open), entry i =
    // min(length[i], length[(i + 1) mod n]); for one segment on a closed line {length[0]}; otherwise none.
    // Throws: std::invalid_argument when the bounds and lengths differ in count, or naming the first segment
    // or transition length that is negative, NaN or infinite. Zero lengths are accepted.
    DrawbeadToyModel(std::vector<double> const& segmentLengths,
                     std::vector<std::pair<double, double>> const& minMaxData, bool closed,
                     std::vector<double> const* transitionLengths);

    // segmentLengths[i]. Throws: std::invalid_argument unless 0 <= i < n.
    double getSegmentLength(int i) const;
    std::vector<std::pair<double, double>> const& getMinMaxData() const;
    bool isClosed() const;
    // The transition lengths as given or derived at construction.
    std::vector<double> const& getTransitionLengths() const;

    // Sum of the lengths of the segments strictly between `from` and `to` going forward, summed in line
    // order: from + 1 ... to - 1, or for from > to, from + 1 ... n - 1 then 0 ... to - 1 (wrapping also on
    // an open line). No transition lengths; adjacent or equal indices give 0.
    // Throws: std::invalid_argument unless 0 <= from, to < n.
    double distance(int from, int to) const;

    // Middle of segment `from` to middle of segment `to`, going forward, summed in this order:
    // 0.5 * length[from], + transition[from], then + length[k] and + transition[k] for each segment k
    // strictly between (as for `distance`), then + 0.5 * length[to]. For from == to this is
    // (0.5 * length + transition) + 0.5 * length. A transition the vector does not hold (after the last
    // segment of an open line, or beyond a shorter caller-given vector) counts as 0.
    // Throws: std::invalid_argument unless 0 <= from, to < n.
    double fullDistance(int from, int to) const;

    // Discrete gradient energy of one value per segment: for each neighbour pair (i - 1, i), with
    // w = (length[i-1] + length[i]) * 0.5 + transition[i-1] and d = |values[i] - values[i-1]|, adds
    // (d / w)^2 * w (as r = d / w, (r * r) * w); a closed line adds the pair (n - 1, 0) with the last
    // transition (0 if there is none; a missing transition also counts as 0 for the other pairs).
    // A zero w gives a non-finite result. Throws: std::invalid_argument if values.size() < n.
    double calculatePenaltyValue(std::vector<double> const& values) const;

  private:
    friend class MasterSelectionTestAccess;

    std::vector<double> segmentLengths;
    std::vector<std::pair<double, double>> minMaxData;
    std::vector<double> transitionLengths;
    bool closed;
};

// The master optimiser for a `DrawbeadToyModel`: its objective rewards masters spread far apart along the
// line and penalises the length that the masters leave uncovered; its interpolation is linear in the
// distance along the line between neighbouring masters, clamped to each segment's bounds and mapped through
// (1 - cos(pi * v)) * 0.5. The evaluator of the base is the model's `calculatePenaltyValue`. Copyable and
// movable; copies share the (immutable) model. `evaluateMasterChoice` and `interpolate` are inherited.
class KESTREL_API MasterOptimizer4DrawbeadToyModel : public MasterOptimizer4Interpolation {
  public:
    // The model is shared, not copied. Throws: std::invalid_argument for a null model.
    explicit MasterOptimizer4DrawbeadToyModel(std::shared_ptr<DrawbeadToyModel const> model);
    MasterOptimizer4DrawbeadToyModel(MasterOptimizer4DrawbeadToyModel const& other);
    MasterOptimizer4DrawbeadToyModel(MasterOptimizer4DrawbeadToyModel&& other) noexcept;
    MasterOptimizer4DrawbeadToyModel& operator=(MasterOptimizer4DrawbeadToyModel const& other);
    MasterOptimizer4DrawbeadToyModel& operator=(MasterOptimizer4DrawbeadToyModel&& other) noexcept;
    ~MasterOptimizer4DrawbeadToyModel() override;

    // The exact counterpart of calculateOptimalMasterIndices: replaces `result` with the `numberOfMasters`
    // 0-based positions (ascending) whose score (evaluateMasterChoice) is the smallest, and returns that
    // score exactly as evaluateMasterChoice computes it for `result`. `preGroups` (may be null) restricts
    // the choice as the cross-entropy search's exclusion lists do: sorted boundaries b0 < ... < bk, group g
    // holding positions b(g) ... b(g+1) - 1; at most one master per group and at most one master among the
    // positions outside every group (before b0 or from bk on). A segment of length zero is never a master
    // (its score is NaN). No admissible choice scores lower by more than a relative 1e-12; among the
    // choices the search finds equal, the lexicographically smallest positions win. Deterministic for any
    // number of OpenMP threads. numberOfMasters = 1 is searched too (unlike calculateOptimalMasterIndices,
    // which returns the first position without scoring).
    // Cost, n segments and m masters: O(m n^2) on an open line, O(m n^3 / 3) on a closed one (one search
    // per first master), O(m n + n^2) memory.
    // Throws: std::invalid_argument for numberOfMasters outside 1 ... n, pre-groups out of 0 ... n or not
    // strictly ascending, or no admissible choice (too few segments of non-zero length or too few groups);
    // allocation failures. `result` keeps its former contents when anything throws.
    double calculateExactOptimalMasterIndices(int numberOfMasters, std::vector<int>& result,
                                              std::vector<int> const* preGroups) const;

  private:
    friend class MasterSelectionTestAccess;
    // What the score reads from the model, prepared once at construction and shared by copies.
    class Geometry;

    // Values at the masters, linear interpolation by `fullDistance` between the neighbouring masters
    // (wrapping on a closed line, constant before the first and after the last master on an open one),
    // then clamping and the cosine mapping. No masters give n NaN values.
    // Throws: std::invalid_argument for an index outside 0 ... n - 1, indices not strictly ascending, or
    // fewer values than indices.
    std::shared_ptr<std::vector<double>> getInterpolation(
        std::vector<int> const& masterIndices, std::vector<double> const& masterValues) const override;

    // With m masters, L the total length and M the masters' length: S = sum of 1 / fullDistance over
    // consecutive masters in the given order, + 1 / fullDistance(last, first) on a closed line, + 0.0 / (n *
    // length) per master (NaN for a zero-length master); returns ((L - M) * (c * 0.125)) / (L * L) + S with
    // c = m (closed) or m - 0.5 (open). A position outside 0 ... n - 1 gives NaN.
    double geometryBasedEvaluation(std::vector<int> const& masterIndices) const override;

    // Clamps values[i] to the model's pair i: raised to the minimum, then lowered to the maximum.
    void enforceMinMaxData(std::vector<double>& values) const;

    // Checks nothing and returns at once, whatever the arguments.
    void sanityCheck(std::vector<int> const& masterIndices, std::vector<double> const& masterValues) const;

    std::shared_ptr<DrawbeadToyModel const> model;
    std::shared_ptr<Geometry const> geometry;
};

}  // namespace Kestrel

#include <Kestrel/HamiltonianSimulatedAnnealing.h>

#include <gtest/gtest.h>

#include <deque>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace {

using Kestrel::CoolingSchedule4HSA;
using Kestrel::Domain4HSA;
using Kestrel::HamiltonianSimulatedAnnealing;
using Kestrel::Interpolator4HSA;
using Kestrel::State4HSA;
using Kestrel::ThermalBath4HSA;
using Pair = std::pair<double, double>;
using Log = std::vector<std::string>;

std::string text(std::vector<double> const& values) {
    std::ostringstream out;
    out << '[';
    for (std::size_t i = 0; i < values.size(); ++i) {
        out << (i ? "," : "") << values[i];
    }
    out << ']';
    return out.str();
}

std::string text(Pair const& tc) {
    std::ostringstream out;
    out << '(' << tc.first << ',' << tc.second << ')';
    return out.str();
}

class RecordingDomain : public Domain4HSA {
  public:
    explicit RecordingDomain(Log& log) : log_(&log) {}

  private:
    void proposeInitialPositionPrivate(std::vector<double>& position) const override {
        log_->push_back("domain.proposeInitialPosition size=" + std::to_string(position.size()));
        position = {1.0, 2.0};
    }
    bool calculateCollisionPrivate(std::vector<double> const&, std::vector<double> const&,
                                   std::vector<double>&, double&) const override {
        log_->push_back("domain.calculateCollision");
        return false;
    }
    int getDimensionalityPrivate() const override {
        log_->push_back("domain.getDimensionality");
        return 2;
    }
    Log* log_;
};

class RecordingInterpolator : public Interpolator4HSA {
  public:
    RecordingInterpolator(Log& log, double average, double deviation, Pair minMax)
        : log_(&log), average_(average), deviation_(deviation), minMax_(minMax) {}

  private:
    double calculateValuePrivate(std::vector<double> const&) const override {
        log_->push_back("interpolator.calculateValue");
        return 0.0;
    }
    void calculateGradientPrivate(std::vector<double> const&, std::vector<double>&) const override {
        log_->push_back("interpolator.calculateGradient");
    }
    Arrays improveQualityAtPrivate(std::deque<std::vector<double>> const& population) override {
        log_->push_back("interpolator.improveQualityAt size=" + std::to_string(population.size()));
        return {std::make_shared<std::vector<double>>(1, 7.0), nullptr};
    }
    double calculateAveragePrivate() const override {
        log_->push_back("interpolator.calculateAverage");
        return average_;
    }
    double calculateStdDeviationPrivate() const override {
        log_->push_back("interpolator.calculateStdDeviation");
        return deviation_;
    }
    std::pair<double, double> const calculateMinMaxPrivate() const override {
        log_->push_back("interpolator.calculateMinMax");
        return minMax_;
    }
    Log* log_;
    double average_;
    double deviation_;
    Pair minMax_;
};

// Moves the state by +1 in every coordinate per sample; may throw at a chosen sample.
class RecordingBath : public ThermalBath4HSA {
  public:
    explicit RecordingBath(Log& log, int throwAtSample = 0) : log_(&log), throwAtSample_(throwAtSample) {}
    std::shared_ptr<Domain4HSA const> domain() const { return getDomain(); }
    std::shared_ptr<Interpolator4HSA const> interpolator() const { return getInterpolator(); }

  private:
    void calculateSamplePrivate(Pair tc, State4HSA& state) override {
        log_->push_back("bath.calculateSample " + text(tc) + " " + text(state.getPosition()) +
                        " v=" + text(state.getVelocity()));
        if (++samples_ == throwAtSample_) {
            throw std::domain_error("sample failed");
        }
        for (double& x : state.getPosition()) {
            x += 1.0;
        }
    }
    void finalTaskPrivate(Pair tc, State4HSA const& state) override {
        log_->push_back("bath.finalTask " + text(tc) + " " + text(state.getPosition()));
    }
    Log* log_;
    int throwAtSample_;
    int samples_ = 0;
};

// Plays a script: for each call of proposeAdditionalPopulation, the size of the population to return
// (-1 for none); updateTemperature halves the temperature, sets the change to the call number and
// returns false at the chosen call.
class ScriptedSchedule : public CoolingSchedule4HSA {
  public:
    ScriptedSchedule(Log& log, std::vector<int> populations, int stopAtUpdate)
        : log_(&log), populations_(std::move(populations)), stopAtUpdate_(stopAtUpdate) {}

  private:
    std::shared_ptr<Population> proposeAdditionalPopulationPrivate(Pair tc, State4HSA const& state,
                                                                   ThermalBath4HSA const&) override {
        log_->push_back("schedule.proposeAdditionalPopulation " + text(tc) + " " + text(state.getPosition()));
        int const size = proposals_ < populations_.size() ? populations_[proposals_] : -1;
        ++proposals_;
        if (size < 0) {
            return nullptr;
        }
        return std::make_shared<Population>(static_cast<std::size_t>(size), std::vector<double>{0.0, 0.0});
    }
    bool updateTemperaturePrivate(Pair& tc) override {
        log_->push_back("schedule.updateTemperature " + text(tc));
        ++updates_;
        tc.first = 0.5 * tc.first;
        tc.second = updates_;
        return updates_ != stopAtUpdate_;
    }
    Log* log_;
    std::vector<int> populations_;
    std::size_t proposals_ = 0;
    int stopAtUpdate_;
    int updates_ = 0;
};

struct Rig {
    Log log;
    std::shared_ptr<RecordingDomain> domain = std::make_shared<RecordingDomain>(log);
    // min 0, max 10, average 2, deviation 1: temperature 3, change 3.
    std::shared_ptr<RecordingInterpolator> interpolator =
        std::make_shared<RecordingInterpolator>(log, 2.0, 1.0, Pair{0.0, 10.0});
    std::shared_ptr<RecordingBath> bath;
    explicit Rig(int throwAtSample = 0) : bath(std::make_shared<RecordingBath>(log, throwAtSample)) {}
};

TEST(HamiltonianSimulatedAnnealing, ConstructorInitialisesTheBath) {
    Rig rig;
    HamiltonianSimulatedAnnealing annealer(rig.domain, rig.interpolator, rig.bath);
    EXPECT_EQ(rig.bath->domain(), rig.domain);
    EXPECT_EQ(rig.bath->interpolator(), rig.interpolator);
    EXPECT_TRUE(rig.log.empty());
}

TEST(HamiltonianSimulatedAnnealing, CallOrderOfAWholeRun) {
    Rig rig;
    HamiltonianSimulatedAnnealing annealer(rig.domain, rig.interpolator, rig.bath);
    ScriptedSchedule schedule(rig.log, {-1, 2, -1}, 2);
    std::vector<double> result;
    annealer.driveHSA(schedule, result);
    Log const expected{
        "domain.proposeInitialPosition size=0",
        "interpolator.calculateStdDeviation",
        "interpolator.calculateMinMax",
        "interpolator.calculateAverage",
        "bath.calculateSample (3,3) [1,2] v=[0,0]",
        "schedule.proposeAdditionalPopulation (3,0) [2,3]",
        "bath.calculateSample (3,0) [2,3] v=[0,0]",
        "schedule.updateTemperature (3,0)",
        "schedule.proposeAdditionalPopulation (1.5,1) [3,4]",
        "interpolator.improveQualityAt size=2",
        "schedule.proposeAdditionalPopulation (1.5,1) [3,4]",
        "bath.calculateSample (1.5,1) [3,4] v=[0,0]",
        "schedule.updateTemperature (1.5,0)",
        "bath.finalTask (0.75,2) [4,5]",
    };
    EXPECT_EQ(rig.log, expected);
    EXPECT_EQ(result, (std::vector<double>{4.0, 5.0}));
}

TEST(HamiltonianSimulatedAnnealing, ScheduleStoppingAtOnceGivesTwoSamplesAndOneFinalTask) {
    Rig rig;
    HamiltonianSimulatedAnnealing annealer(rig.domain, rig.interpolator, rig.bath);
    ScriptedSchedule schedule(rig.log, {}, 1);
    std::vector<double> result;
    annealer.driveHSA(schedule, result);
    int samples = 0;
    int finalTasks = 0;
    for (std::string const& entry : rig.log) {
        samples += entry.rfind("bath.calculateSample", 0) == 0;
        finalTasks += entry.rfind("bath.finalTask", 0) == 0;
    }
    EXPECT_EQ(samples, 2);
    EXPECT_EQ(finalTasks, 1);
    EXPECT_EQ(rig.log.back(), "bath.finalTask (1.5,1) [3,4]");
}

TEST(HamiltonianSimulatedAnnealing, PopulationsBeforeAnEmptyOneRefineWithoutSampling) {
    for (int k : {1, 3, 5}) {
        Rig rig;
        HamiltonianSimulatedAnnealing annealer(rig.domain, rig.interpolator, rig.bath);
        std::vector<int> script(static_cast<std::size_t>(k), 4);
        ScriptedSchedule schedule(rig.log, script, 1);
        std::vector<double> result;
        annealer.driveHSA(schedule, result);
        // After the first sample: k (proposal, refinement) pairs, then the empty proposal and one sample.
        ASSERT_EQ(rig.log.size(), 5u + 2u * static_cast<std::size_t>(k) + 4u) << k;
        for (int i = 0; i < k; ++i) {
            EXPECT_EQ(rig.log[5 + 2 * i], "schedule.proposeAdditionalPopulation (3,0) [2,3]");
            EXPECT_EQ(rig.log[6 + 2 * i], "interpolator.improveQualityAt size=4");
        }
        EXPECT_EQ(rig.log[5 + 2 * k], "schedule.proposeAdditionalPopulation (3,0) [2,3]");
        EXPECT_EQ(rig.log[6 + 2 * k], "bath.calculateSample (3,0) [2,3] v=[0,0]");
    }
}

TEST(HamiltonianSimulatedAnnealing, ResultIsReplacedByTheStatePosition) {
    Rig rig;
    HamiltonianSimulatedAnnealing annealer(rig.domain, rig.interpolator, rig.bath);
    ScriptedSchedule schedule(rig.log, {}, 1);
    std::vector<double> result{9.0, 9.0, 9.0, 9.0, 9.0};
    annealer.driveHSA(schedule, result);
    EXPECT_EQ(result, (std::vector<double>{3.0, 4.0}));
}

TEST(HamiltonianSimulatedAnnealing, ExceptionsPassThroughAndLeaveResultUntouched) {
    Rig rig(2);
    HamiltonianSimulatedAnnealing annealer(rig.domain, rig.interpolator, rig.bath);
    ScriptedSchedule schedule(rig.log, {}, 5);
    std::vector<double> result{9.0};
    try {
        annealer.driveHSA(schedule, result);
        FAIL() << "no exception";
    } catch (std::domain_error const& error) {
        EXPECT_STREQ(error.what(), "sample failed");
    }
    EXPECT_EQ(result, std::vector<double>{9.0});
    EXPECT_EQ(rig.log.back().rfind("bath.calculateSample", 0), 0u);
}

TEST(HamiltonianSimulatedAnnealing, EachRunStartsAfreshFromTheInitialPosition) {
    Rig rig;
    HamiltonianSimulatedAnnealing annealer(rig.domain, rig.interpolator, rig.bath);
    std::vector<double> first;
    std::vector<double> second;
    ScriptedSchedule schedule(rig.log, {}, 1);
    annealer.driveHSA(schedule, first);
    ScriptedSchedule again(rig.log, {}, 1);
    HamiltonianSimulatedAnnealing copy(annealer);
    copy.driveHSA(again, second);
    EXPECT_EQ(first, second);
}

TEST(ThermalBath4HSA, SuggestionFromStatisticsWithSmallDeviation) {
    Rig rig;
    rig.bath->init(rig.domain, rig.interpolator);
    EXPECT_EQ(rig.bath->suggestTemperatureAndChange(), (Pair{3.0, 3.0}));
    EXPECT_EQ(rig.log, (Log{"interpolator.calculateStdDeviation", "interpolator.calculateMinMax",
                            "interpolator.calculateAverage"}));
}

TEST(ThermalBath4HSA, SuggestionFromStatisticsWithLargeDeviation) {
    Log log;
    auto bath = std::make_shared<RecordingBath>(log);
    bath->init(std::make_shared<RecordingDomain>(log),
               std::make_shared<RecordingInterpolator>(log, 2.0, 5.0, Pair{0.0, 10.0}));
    EXPECT_EQ(bath->suggestTemperatureAndChange(), (Pair{6.0, 5.0}));
}

TEST(ThermalBath4HSA, SuggestionWithAverageAboveMaximumAddsAPositiveTerm) {
    Log log;
    auto bath = std::make_shared<RecordingBath>(log);
    // min 0, max 10, average 12: above 12, d = -2, half of |d| is 1 < deviation 2.
    bath->init(std::make_shared<RecordingDomain>(log),
               std::make_shared<RecordingInterpolator>(log, 12.0, 2.0, Pair{0.0, 10.0}));
    EXPECT_EQ(bath->suggestTemperatureAndChange(), (Pair{13.0, 0.3 * 10.0}));
}

TEST(ThermalBath4HSA, AdjustLeavesThePairAndReleasesTheArrays) {
    Rig rig;
    auto values = std::make_shared<std::vector<double>>(3, 1.0);
    Pair tc{4.0, 0.5};
    rig.bath->adjustTemperatureAndChange(tc, {values, nullptr});
    EXPECT_EQ(tc, (Pair{4.0, 0.5}));
    EXPECT_EQ(values.use_count(), 1);
}

TEST(ThermalBath4HSA, AccessorsReturnNewOwnersAndCopiesShareTheObjects) {
    Rig rig;
    rig.bath->init(rig.domain, rig.interpolator);
    long const before = rig.domain.use_count();
    std::shared_ptr<Domain4HSA const> const domain = rig.bath->domain();
    EXPECT_EQ(rig.domain.use_count(), before + 1);
    RecordingBath const copy(*rig.bath);
    EXPECT_EQ(copy.interpolator(), rig.interpolator);
}

TEST(ThermalBath4HSA, DefaultFinalTaskDoesNothing) {
    class PlainBath : public ThermalBath4HSA {
        void calculateSamplePrivate(Pair, State4HSA& state) override { state.getPosition().push_back(1.0); }
    };
    PlainBath bath;
    State4HSA state(std::vector<double>{2.0});
    bath.calculateSample({1.0, 0.0}, state);
    bath.finalTask({1.0, 0.0}, state);
    EXPECT_EQ(state.getPosition(), (std::vector<double>{2.0, 1.0}));
}

TEST(Domain4HSA, PublicOperationsForwardToTheSubclass) {
    Log log;
    RecordingDomain const domain(log);
    std::vector<double> position;
    domain.proposeInitialPosition(position);
    std::vector<double> velocity{1.0};
    double fraction = 1.0;
    EXPECT_FALSE(domain.calculateCollision(position, position, velocity, fraction));
    EXPECT_EQ(domain.getDimensionality(), 2);
    EXPECT_EQ(position, (std::vector<double>{1.0, 2.0}));
    EXPECT_EQ(log, (Log{"domain.proposeInitialPosition size=0", "domain.calculateCollision",
                        "domain.getDimensionality"}));
}

TEST(Interpolator4HSA, PublicOperationsForwardToTheSubclass) {
    Log log;
    RecordingInterpolator model(log, 2.0, 1.0, Pair{0.0, 10.0});
    std::vector<double> gradient;
    EXPECT_EQ(model.calculateValue({1.0}), 0.0);
    model.calculateGradient({1.0}, gradient);
    Interpolator4HSA::Arrays const arrays = model.improveQualityAt({{1.0}, {2.0}, {3.0}});
    EXPECT_EQ(*arrays.first, std::vector<double>{7.0});
    EXPECT_EQ(model.calculateAverage(), 2.0);
    EXPECT_EQ(model.calculateStdDeviation(), 1.0);
    EXPECT_EQ(model.calculateMinMax(), (Pair{0.0, 10.0}));
    EXPECT_EQ(log, (Log{"interpolator.calculateValue", "interpolator.calculateGradient",
                        "interpolator.improveQualityAt size=3", "interpolator.calculateAverage",
                        "interpolator.calculateStdDeviation", "interpolator.calculateMinMax"}));
}

TEST(State4HSA, VelocityStartsAtZeroWithThePositionLength) {
    State4HSA state(std::vector<double>{1.5, -2.0, 3.0});
    EXPECT_EQ(state.getPosition(), (std::vector<double>{1.5, -2.0, 3.0}));
    EXPECT_EQ(state.getVelocity(), (std::vector<double>{0.0, 0.0, 0.0}));
    State4HSA const copy = state;
    EXPECT_EQ(copy.getVelocity().size(), 3u);
}

}  // namespace

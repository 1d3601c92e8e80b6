"""Annealing from Python: identical results to the C++ tool, the four customisation classes subclassed in
Python, the integrator, the ready components and the error mapping."""

import copy

import numpy as np
import pytest

import kestrel
from conftest import DATA, load


def test_anneal_in_box_matches_the_tool(ktx):
    expected = ktx("anneal", DATA / "anneal.json")
    job = load("anneal.json")
    f = kestrel.make_test_function(job["function"], len(job["box"]))
    found = kestrel.anneal_in_box(f.objective, f.gradient, job["box"], job["seed"])
    assert found.best_position.tolist() == expected["bestPosition"]
    assert found.best_value == expected["bestValue"]
    assert found.final_position.tolist() == expected["finalPosition"]
    assert found.evaluations == expected["evaluations"]
    assert found.objective_evaluations == expected["objectiveEvaluations"]
    assert found.gradient_evaluations == expected["gradientEvaluations"]
    assert found.samples == expected["samples"]


def test_python_callables_give_the_result_of_the_compiled_functions():
    f = kestrel.make_test_function("himmelblau")
    settings = kestrel.AnnealingSettings4HSA(evaluation_budget=1500)
    compiled = kestrel.anneal_in_box(f.objective, f.gradient, f.box, 11, settings)
    python = kestrel.anneal_in_box(lambda x: f.objective(x), lambda x: f.gradient(x), f.box, 11, settings)
    assert python.best_position.tolist() == compiled.best_position.tolist()
    assert python.objective_evaluations == compiled.objective_evaluations
    assert repr(python) == repr(compiled)


def test_an_exception_in_the_objective_comes_out_unchanged():
    def objective(x):
        if x[0] > 0.5:
            raise FloatingPointError("outside the model")
        return float(x @ x)

    with pytest.raises(FloatingPointError, match="outside the model"):
        kestrel.anneal_in_box(objective, lambda x: 2 * x, [[-1.0, 1.0]] * 2, 3)


def test_test_functions():
    names = kestrel.test_function_names()
    assert names == sorted(names) and {"ackley", "himmelblau", "rastrigin", "schwefel", "sphere"} <= set(names)
    sphere = kestrel.make_test_function("sphere", 3)
    assert sphere.objective([1.0, 2.0, 2.0]) == 9.0
    assert sphere.gradient(np.array([1.0, 0.0, -1.0])).tolist() == [2.0, 0.0, -2.0]
    assert sphere.box.shape == (3, 2) and sphere.global_minima.tolist() == [[0.0, 0.0, 0.0]]
    assert repr(sphere) == "TestFunction4HSA(name='sphere', dimension=3)"
    with pytest.raises(ValueError):
        kestrel.make_test_function("himmelblau", 3)
    with pytest.raises(ValueError):
        kestrel.make_test_function("no such function")


def test_settings_are_validated_and_copied():
    settings = kestrel.AnnealingSettings4HSA(cooling_factor=1.5)
    f = kestrel.make_test_function("sphere")
    with pytest.raises(ValueError):
        kestrel.anneal_in_box(f.objective, f.gradient, f.box, 1, settings)
    duplicate = copy.copy(settings)
    duplicate.evaluation_budget = 3
    assert settings.evaluation_budget == kestrel.AnnealingSettings4HSA().evaluation_budget == 0
    assert "evaluation_budget=3" in repr(duplicate)


class Interval(kestrel.Domain4HSA):
    """[-2, 2] with reflecting walls."""

    def get_dimensionality(self):
        return 1

    def propose_initial_position(self):
        return [1.5]

    def calculate_collision(self, start, end, velocity):
        if abs(end[0]) <= 2.0:
            return (False, 1.0)
        wall = 2.0 if end[0] > 2.0 else -2.0
        velocity[0] = -velocity[0]
        return (True, max(0.0, (wall - start[0]) / (end[0] - start[0])))


class Parabola(kestrel.Interpolator4HSA):
    def __init__(self):
        super().__init__()
        self.values = []

    def calculate_value(self, x):
        self.values.append(float(x[0] ** 2))
        return self.values[-1]

    def calculate_gradient(self, x):
        return -2.0 * x

    def improve_quality_at(self, population):
        for row in population:
            self.calculate_value(row)
        return (np.array(self.values), None)

    def calculate_average(self):
        return float(np.mean(self.values))

    def calculate_std_deviation(self):
        return float(np.std(self.values))

    def calculate_min_max(self):
        return (min(self.values), max(self.values))


class Descent(kestrel.ThermalBath4HSA):
    """Moves half way to the interpolator's minimum, with a leapfrog trajectory through the domain."""

    def __init__(self):
        super().__init__()
        self.finished = None

    def calculate_sample(self, temperature_and_change, state):
        model = self.get_interpolator()
        integrator = kestrel.LeapfrogIntegrator(state, model.calculate_gradient,
                                                self.get_domain().calculate_collision)
        integrator.do_steps(0.1, 0.5)
        state.position = state.position * 0.5

    def final_task(self, temperature_and_change, state):
        self.finished = (temperature_and_change, state.position.tolist())


class Steps(kestrel.CoolingSchedule4HSA):
    def __init__(self, steps):
        super().__init__()
        self.left = steps
        self.asked = 0

    def propose_additional_population(self, temperature_and_change, state, bath):
        self.asked += 1
        return [[0.5], [-0.5]] if self.asked == 1 else None

    def update_temperature(self, temperature_and_change):
        self.left -= 1
        return (self.left > 0, (temperature_and_change[0] * 0.5, temperature_and_change[1]))


def test_all_four_customisation_classes_in_python():
    model = Parabola()
    model.improve_quality_at(np.array([[1.0], [-1.0], [0.5]]))
    bath = Descent()
    driver = kestrel.HamiltonianSimulatedAnnealing(Interval(), model, bath)
    schedule = Steps(4)
    result = driver.drive_hsa(schedule)
    assert result.shape == (1,)
    assert abs(result[0]) <= 1.0, "every sample ends halved inside [-2, 2]"
    assert schedule.left == 0 and schedule.asked == 5
    assert bath.finished is not None and bath.finished[1] == result.tolist()
    assert 0.25 in model.values, "the proposed population was sampled"
    repeat_model = Parabola()
    repeat_model.improve_quality_at(np.array([[1.0], [-1.0], [0.5]]))
    repeat = kestrel.HamiltonianSimulatedAnnealing(Interval(), repeat_model, Descent()).drive_hsa(Steps(4))
    assert repeat.tolist() == result.tolist()


def test_python_components_mix_with_compiled_ones():
    f = kestrel.make_test_function("sphere", 2)
    model = kestrel.ObjectiveInterpolator4HSA(f.objective, f.gradient)
    model.improve_quality_at([[1.0, 2.0], [-3.0, 0.5]])
    bath = kestrel.LeapfrogThermalBath4HSA(seed=5, step=0.05, steps_per_sample=3)
    driver = kestrel.HamiltonianSimulatedAnnealing(kestrel.BoxDomain4HSA(f.box), model, bath)
    schedule = Steps(6)
    driver.drive_hsa(schedule)
    assert bath.number_of_samples == 7
    assert model.number_of_objective_calls >= 2 + 7
    assert model.best_value <= 0.25


def test_exceptions_in_overrides_pass_through_the_driver():
    class BrokenSchedule(Steps):
        def update_temperature(self, temperature_and_change):
            raise LookupError("no schedule")

    model = Parabola()
    model.improve_quality_at([[1.0]])
    driver = kestrel.HamiltonianSimulatedAnnealing(Interval(), model, Descent())
    with pytest.raises(LookupError, match="no schedule"):
        driver.drive_hsa(BrokenSchedule(3))

    class Incomplete(kestrel.Domain4HSA):
        pass

    with pytest.raises(TypeError, match="a Domain4HSA subclass must override get_dimensionality"):
        Incomplete().get_dimensionality()


def test_schedule_and_bath_methods_from_python():
    schedule = kestrel.GeometricCoolingSchedule4HSA(0.5, 0.3)
    assert schedule.update_temperature((1.0, 0.0)) == (True, (0.5, 0.0))
    assert schedule.update_temperature((0.5, 0.0)) == (False, (0.25, 0.0))
    assert schedule.number_of_cooling_steps == 2
    with pytest.raises(ValueError):
        kestrel.GeometricCoolingSchedule4HSA(1.0, 0.1)
    bath = kestrel.LeapfrogThermalBath4HSA(1, 0.1, 2)
    with pytest.raises(RuntimeError):
        bath.calculate_sample((1.0, 0.0), kestrel.State4HSA([0.0]))
    with pytest.raises(ValueError):
        kestrel.LeapfrogThermalBath4HSA(1, -0.1, 2)


def test_box_domain():
    domain = kestrel.BoxDomain4HSA([[0.0, 1.0], [0.0, 2.0]])
    assert domain.get_dimensionality() == 2
    assert domain.propose_initial_position().tolist() == [0.5, 1.0]
    velocity = np.array([1.0, 1.0])
    hit, fraction = domain.calculate_collision([0.5, 1.0], [1.5, 1.5], velocity)
    assert hit and fraction == 0.5 and velocity.tolist() == [-1.0, 1.0]
    with pytest.raises(ValueError):
        kestrel.BoxDomain4HSA([[1.0, 0.0]])
    with pytest.raises(ValueError):
        kestrel.BoxDomain4HSA([[0.0, 1.0]], initial_position=[2.0])
    assert copy.copy(domain).box.tolist() == [[0.0, 1.0], [0.0, 2.0]]


def test_objective_interpolator_statistics():
    model = kestrel.ObjectiveInterpolator4HSA(lambda x: float(x.sum()), lambda x: np.ones_like(x))
    with pytest.raises(RuntimeError, match="no objective value has been computed yet"):
        model.best_value
    values, best = model.improve_quality_at([[1.0, 2.0], [0.0, 1.0], [4.0, 4.0]])
    assert values.tolist() == [3.0, 1.0, 8.0] and best.tolist() == [0.0, 1.0]
    assert model.calculate_min_max() == (1.0, 8.0)
    assert model.calculate_average() == 4.0
    assert model.calculate_gradient([5.0, 5.0]).tolist() == [-1.0, -1.0]
    assert model.number_of_gradient_calls == 1


def test_leapfrog_integrator_on_a_spring():
    state = kestrel.State4HSA([1.0])
    integrator = kestrel.LeapfrogIntegrator(state, lambda x: -x)
    integrator.record_trajectory(True)
    integrator.do_steps(0.01, np.pi)
    assert state.position[0] == pytest.approx(-1.0, abs=1e-3)
    assert integrator.trajectory.shape == (315, 1)
    with pytest.raises(ValueError):
        integrator.do_steps(0.0, 1.0)
    with pytest.raises(ZeroDivisionError):
        kestrel.LeapfrogIntegrator(state, lambda x: 1 / 0).do_steps(0.1, 1.0)


def test_state_views_and_copies():
    state = kestrel.State4HSA([1.0, 2.0])
    state.velocity[:] = [0.5, -0.5]
    duplicate = copy.copy(state)
    state.position = [3.0, 4.0]
    assert duplicate.position.tolist() == [1.0, 2.0] and duplicate.velocity.tolist() == [0.5, -0.5]
    assert repr(state) == "State4HSA(position=[3.0, 4.0], velocity=[0.5, -0.5])"
    with pytest.raises(ValueError, match="position: expected 2 values, got 3"):
        state.position = [1.0, 2.0, 3.0]


def test_refine_in_box_polishes_through_the_interpolator():
    f = kestrel.make_test_function("rastrigin", 2)
    model = kestrel.ObjectiveInterpolator4HSA(f.objective, f.gradient)
    kestrel.refine_in_box(model, f.box, [1.1, -0.9], initial_step=1e-3, maximum_calls=60)
    assert model.best_value < f.objective([1.1, -0.9])
    assert model.number_of_objective_calls + model.number_of_gradient_calls <= 60
    with pytest.raises(ValueError, match="position: coordinate 0 lies outside the box"):
        kestrel.refine_in_box(model, f.box, [9.0, 0.0], 1e-3, 10)


def basin_hopping_run(seed):
    f = kestrel.make_test_function("rastrigin", 3)
    model = kestrel.ObjectiveInterpolator4HSA(f.objective, f.gradient)
    model.improve_quality_at([[2.3, -1.7, 3.1]])
    bath = kestrel.BasinHoppingThermalBath4HSA(seed, f.box, descent_calls=40, jump_fraction=0.5)
    domain = kestrel.BoxDomain4HSA(f.box, initial_position=[2.3, -1.7, 3.1])
    driver = kestrel.HamiltonianSimulatedAnnealing(domain, model, bath)
    driver.drive_hsa(Steps(30))
    return bath, model


def test_basin_hopping_bath_descends_and_repeats_bit_for_bit():
    bath, model = basin_hopping_run(11)
    again, model_again = basin_hopping_run(11)
    assert bath.number_of_samples == again.number_of_samples == 31  # one per temperature
    assert 0 < bath.number_of_accepted_samples == again.number_of_accepted_samples <= 31
    assert model.best_position.tolist() == model_again.best_position.tolist()
    assert model.best_value == model_again.best_value
    assert model.number_of_objective_calls == model_again.number_of_objective_calls
    assert model.best_value < kestrel.make_test_function("rastrigin", 3).objective(np.array([2.3, -1.7, 3.1]))
    # An accepted jump descends to the bottom of its basin: Rastrigin's minima lie within 0.03 of the grid.
    assert np.all(np.abs(model.best_position - np.round(model.best_position)) < 0.03)
    assert basin_hopping_run(12)[1].best_position.tolist() != model.best_position.tolist()
    assert repr(bath).startswith("BasinHoppingThermalBath4HSA(samples=31, accepted=")


def test_basin_hopping_bath_checks_its_arguments():
    with pytest.raises(ValueError):
        kestrel.BasinHoppingThermalBath4HSA(1, [[1.0, 0.0]], 10, 0.5)
    with pytest.raises(ValueError):
        kestrel.BasinHoppingThermalBath4HSA(1, [[0.0, 1.0]], -1, 0.5)
    for fraction in (0.0, 1.5):
        with pytest.raises(ValueError):
            kestrel.BasinHoppingThermalBath4HSA(1, [[0.0, 1.0]], 10, fraction)
    bath = kestrel.BasinHoppingThermalBath4HSA(1, [[0.0, 1.0]], 10, 0.5)
    with pytest.raises(RuntimeError):
        bath.calculate_sample((1.0, 0.0), kestrel.State4HSA([0.5]))

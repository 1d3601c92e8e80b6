"""kestrel: deterministic optimisation and sampling algorithms from Python and numpy.

The package wraps the C++ library KTXService_InformationTheory: every result is the library's, bit for
bit, for any number of OpenMP threads. Arrays cross the boundary as numpy arrays (inputs are converted
once to contiguous float64); long calls release the GIL; Python callbacks (objectives, overridden
methods, progress) are called with the GIL held, also from the library's worker threads, and an exception
they raise comes back to the caller unchanged.

Families:
    assignment   linear_sum_assignment, HungarianAlgorithm
    grouping     SegmentGrouper
    masters      DrawbeadToyModel, MasterOptimizer4Interpolation, MasterOptimizer4DrawbeadToyModel
    optimiser    CombinatorialCrossEntropyOptimization
    annealing    State4HSA, LeapfrogIntegrator, Domain4HSA, Interpolator4HSA, ThermalBath4HSA,
                 CoolingSchedule4HSA, HamiltonianSimulatedAnnealing, BoxDomain4HSA,
                 ObjectiveInterpolator4HSA, LeapfrogThermalBath4HSA, BasinHoppingThermalBath4HSA,
                 GeometricCoolingSchedule4HSA, AnnealingSettings4HSA, AnnealingResult4HSA,
                 TestFunction4HSA, make_test_function, test_function_names, anneal_in_box,
                 refine_in_box
    sampling     CartesianProductSampler, DomainSampler2D, PolygonSampler2D
    threads      set_max_number_of_threads, get_max_number_of_threads

Example:
    >>> import kestrel
    >>> rows, cols = kestrel.linear_sum_assignment([[4, 1, 3], [2, 0, 5], [3, 2, 2]])
    >>> cols.tolist()
    [1, 0, 2]
"""

from ._kestrel import (
    AnnealingResult4HSA,
    AnnealingSettings4HSA,
    BasinHoppingThermalBath4HSA,
    BoxDomain4HSA,
    CartesianProductSampler,
    CombinatorialCrossEntropyOptimization,
    CoolingSchedule4HSA,
    Domain4HSA,
    DomainSampler2D,
    DrawbeadToyModel,
    GeometricCoolingSchedule4HSA,
    Gradient4HSA,
    HamiltonianSimulatedAnnealing,
    HungarianAlgorithm,
    Interpolator4HSA,
    LeapfrogIntegrator,
    LeapfrogThermalBath4HSA,
    MasterOptimizer4DrawbeadToyModel,
    MasterOptimizer4Interpolation,
    Objective4HSA,
    ObjectiveInterpolator4HSA,
    PolygonSampler2D,
    SegmentGrouper,
    State4HSA,
    TestFunction4HSA,
    ThermalBath4HSA,
    anneal_in_box,
    linear_sum_assignment,
    get_max_number_of_threads,
    make_test_function,
    refine_in_box,
    set_max_number_of_threads,
    test_function_names,
)

__all__ = [
    "AnnealingResult4HSA",
    "AnnealingSettings4HSA",
    "BasinHoppingThermalBath4HSA",
    "BoxDomain4HSA",
    "CartesianProductSampler",
    "CombinatorialCrossEntropyOptimization",
    "CoolingSchedule4HSA",
    "Domain4HSA",
    "DomainSampler2D",
    "DrawbeadToyModel",
    "GeometricCoolingSchedule4HSA",
    "Gradient4HSA",
    "HamiltonianSimulatedAnnealing",
    "HungarianAlgorithm",
    "Interpolator4HSA",
    "LeapfrogIntegrator",
    "LeapfrogThermalBath4HSA",
    "MasterOptimizer4DrawbeadToyModel",
    "MasterOptimizer4Interpolation",
    "Objective4HSA",
    "ObjectiveInterpolator4HSA",
    "PolygonSampler2D",
    "SegmentGrouper",
    "State4HSA",
    "TestFunction4HSA",
    "ThermalBath4HSA",
    "anneal_in_box",
    "linear_sum_assignment",
    "get_max_number_of_threads",
    "make_test_function",
    "refine_in_box",
    "set_max_number_of_threads",
    "test_function_names",
]

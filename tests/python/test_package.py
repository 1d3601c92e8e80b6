"""The package itself: every public name documented with an example whose doctest passes, type stubs
that cover the whole module, the C++ exception mapping, and the worked example producing its picture."""

import ast
import doctest
import inspect
import os
import pathlib
import subprocess
import sys

import numpy as np
import pytest

import kestrel
from conftest import ROOT

PACKAGE = pathlib.Path(kestrel.__file__).parent


def public_objects():
    for name in kestrel.__all__:
        obj = getattr(kestrel, name)
        yield name, obj
        if inspect.isclass(obj):
            for member_name, member in vars(obj).items():
                if not member_name.startswith("_") and (callable(member) or isinstance(member, property)):
                    yield f"{name}.{member_name}", member


def test_all_names_are_exported():
    compiled = {name for name in dir(kestrel._kestrel) if not name.startswith("_")}
    assert compiled == set(kestrel.__all__)


@pytest.mark.parametrize("name", kestrel.__all__)
def test_every_class_and_function_has_a_docstring_with_an_example(name):
    doc = getattr(kestrel, name).__doc__ or ""
    assert "Example" in doc, f"{name} has no example"


def test_every_method_has_a_docstring():
    missing = [name for name, obj in public_objects()
               if not isinstance(obj, type) and not (getattr(obj, "__doc__", None) or "").strip()
               and not name.endswith((".name", ".value"))]
    assert missing == []


def test_docstring_examples_run():
    finder = doctest.DocTestFinder()
    runner = doctest.DocTestRunner(optionflags=doctest.ELLIPSIS | doctest.NORMALIZE_WHITESPACE)
    tests = finder.find(kestrel, "kestrel", globs={"kestrel": kestrel})
    for name in kestrel.__all__:
        tests += finder.find(getattr(kestrel, name), name, globs={"kestrel": kestrel})
    examples = sum(len(test.examples) for test in tests)
    for test in tests:
        runner.run(test)
    assert examples > 80
    assert runner.summarize(verbose=False).failed == 0


def test_stubs_cover_every_public_name():
    source = PACKAGE / "_kestrel.pyi"
    tree = ast.parse(source.read_text())
    stubbed = {node.name for node in tree.body if isinstance(node, (ast.ClassDef, ast.FunctionDef))}
    assert set(kestrel.__all__) <= stubbed
    classes = {node.name: node for node in tree.body if isinstance(node, ast.ClassDef)}
    for name, obj in public_objects():
        if "." in name:
            owner, member = name.split(".", 1)
            members = {getattr(n, "name", None) for n in classes[owner].body} | {
                t.id for n in classes[owner].body if isinstance(n, ast.AnnAssign) for t in [n.target]}
            assert member in members, f"{name} is missing from the stubs"
    assert (PACKAGE / "py.typed").exists()


def test_cpp_exceptions_map_to_python_exceptions_with_their_messages():
    with pytest.raises(ValueError, match="^BoxDomain4HSA: the box has no coordinates$"):  # invalid_argument
        kestrel.BoxDomain4HSA(np.zeros((0, 2)))
    with pytest.raises(IndexError, match="^invalid vector subscript$"):  # std::out_of_range
        kestrel.CartesianProductSampler([[1.0]], [3])
    with pytest.raises(RuntimeError, match="no objective value has been computed yet"):  # std::logic_error
        kestrel.ObjectiveInterpolator4HSA(lambda x: 0.0, lambda x: x).calculate_average()
    with pytest.raises(RuntimeError, match="^Missing implementation$"):  # std::logic_error
        measure = kestrel.SegmentGrouper.DispersionMeasure(5)
        kestrel.SegmentGrouper([1.0, 2.0, 3.0], [1.0] * 3, False, measure).compute_groups()
    with pytest.raises(RuntimeError, match="^LeapfrogIntegrator::doSteps: the integration makes no progress"):  # std::runtime_error
        state = kestrel.State4HSA([0.0])
        kestrel.LeapfrogIntegrator(state, lambda x: [1.0], lambda a, b, v: (True, 0.0)).do_steps(0.1, 1.0)


def test_the_worked_example_draws_its_picture(tmp_path):
    output = tmp_path / "masters.png"
    environment = dict(os.environ, MPLBACKEND="Agg", PYTHONPATH=str(PACKAGE.parent))
    completed = subprocess.run([sys.executable, str(ROOT / "examples" / "python" / "group_and_choose_masters.py"),
                                str(output)], capture_output=True, text=True, env=environment, check=True)
    assert "chosen segments" in completed.stdout
    assert output.exists() and output.stat().st_size > 10_000
    assert output.read_bytes()[:8] == b"\x89PNG\r\n\x1a\n"

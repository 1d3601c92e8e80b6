#!/usr/bin/env python3
"""Groups the segments of a drawbead line, chooses master segments and draws both into a PNG.

The line is the demo line of `ktx demo`: a closed drawbead around a 400 mm x 250 mm die opening with
60 mm corner radii, cut into 30 segments, each with the restraint value a process engineer would start
from. The script measures the segments, groups them by value, asks how many masters the line needs,
chooses them, interpolates the line from their values and saves a picture.

Usage: PYTHONPATH=build/python /usr/bin/python3 examples/python/group_and_choose_masters.py [out.png]
"""

import math
import sys

import matplotlib

matplotlib.use("Agg")  # draw into a file; no display needed
import matplotlib.pyplot as plt
import numpy as np

import kestrel

WIDTH, HEIGHT, RADIUS = 400.0, 250.0, 60.0  # mm
POINTS_PER_SEGMENT = 6


def demo_line():
    """Points, segments (first and last point) and one value per segment, counter-clockwise."""
    w, h, r = WIDTH / 2, HEIGHT / 2, RADIUS
    # (corner, x0, y0, dx, dy, start angle, segments, base value): sides, then the corner that follows.
    pieces = [
        (False, -w + r, -h, WIDTH - 2 * r, 0, 0, 6, 0.66),
        (True, w - r, -h + r, 0, 0, -math.pi / 2, 3, 0.30),
        (False, w, -h + r, 0, HEIGHT - 2 * r, 0, 3, 0.52),
        (True, w - r, h - r, 0, 0, 0, 3, 0.30),
        (False, w - r, h, -(WIDTH - 2 * r), 0, 0, 6, 0.66),
        (True, -w + r, h - r, 0, 0, math.pi / 2, 3, 0.30),
        (False, -w, h - r, 0, -(HEIGHT - 2 * r), 0, 3, 0.52),
        (True, -w + r, -h + r, 0, 0, math.pi, 3, 0.30),
    ]
    variation = {6: [0.0, 0.002, 0.004, 0.004, 0.002, 0.0], 3: [0.0, 0.003, 0.0]}
    corner_variation = [0.02, 0.0, 0.02]
    points, segments, values = [], [], []
    for corner, x0, y0, dx, dy, angle, count, base in pieces:
        for s in range(count):
            first = len(points)
            for j in range(POINTS_PER_SEGMENT):
                t = (s * POINTS_PER_SEGMENT + j) / (count * POINTS_PER_SEGMENT)
                if corner:
                    a = angle + t * math.pi / 2
                    points.append((x0 + RADIUS * math.cos(a), y0 + RADIUS * math.sin(a)))
                else:
                    points.append((x0 + t * dx, y0 + t * dy))
            segments.append((first, first + POINTS_PER_SEGMENT))
            values.append(base + (corner_variation if corner else variation[count])[s])
    segments[-1] = (segments[-1][0], len(points) - 1)  # the closing chord joins the last point to the first
    return np.array(points), np.array(segments), np.array(values)


def main(output):
    points, segments, values = demo_line()
    n = len(values)
    curvature, lengths = kestrel.SegmentGrouper.calculate_segment_curvature(points, True, segments)

    grouper = kestrel.SegmentGrouper(values, lengths, True, kestrel.SegmentGrouper.MinMax)
    starts = grouper.compute_groups(progress=lambda done, total: print(f"\rgrouping {done}/{total}", end=""))
    print(f"\ngroup starts: {starts.tolist()}")

    recommended = kestrel.SegmentGrouper.calculate_recommended_number_of_master_segments(
        True, values, np.arange(n), lengths)
    model = kestrel.DrawbeadToyModel(lengths, [[0.1, 0.9]] * n, closed=True)
    optimiser = kestrel.MasterOptimizer4DrawbeadToyModel(model)
    masters = optimiser.calculate_optimal_master_indices(min(max(recommended, 2), n))
    interpolated = optimiser.interpolate(masters, values[masters])
    print(f"recommended masters: {recommended}; chosen segments {masters.tolist()}, "
          f"score {optimiser.evaluate_master_choice(masters):.6f}")

    group_of = np.zeros(n, dtype=int)
    for g, start in enumerate(starts):
        end = starts[g + 1] if g + 1 < len(starts) else n
        group_of[start:end] = g
    group_of[: starts[0]] = len(starts) - 1  # the last group runs round the end of the closed line

    figure, (outline, profile) = plt.subplots(1, 2, figsize=(12, 4.5))
    colours = plt.get_cmap("tab10")
    for s, (first, last) in enumerate(segments):
        piece = points[first:last + 1] if last > first else points[[first, 0]]
        if s == n - 1:
            piece = np.vstack([piece, points[:1]])
        outline.plot(piece[:, 0], piece[:, 1], color=colours(group_of[s] % 10), linewidth=4)
    master_points = points[segments[masters, 0]]
    outline.plot(master_points[:, 0], master_points[:, 1], "k*", markersize=14, label="master segments")
    outline.set_aspect("equal")
    outline.set_title("Groups of similar restraint (colours) and masters")
    outline.legend(loc="center")

    profile.step(np.arange(n), values, where="mid", label="restraint value")
    profile.plot(np.arange(n), interpolated, "o-", label="interpolated from the masters")
    profile.plot(masters, values[masters], "k*", markersize=12, label="masters")
    profile.set_xlabel("segment")
    profile.set_title("Values along the line")
    profile.legend()
    figure.tight_layout()
    figure.savefig(output, dpi=90)
    print(f"wrote {output}")


if __name__ == "__main__":
    main(sys.argv[1] if len(sys.argv) > 1 else "grouping_and_masters.png")

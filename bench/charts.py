"""Draws the charts of a run as SVG that can be read on light and on dark pages."""

import os

import matplotlib

matplotlib.use("svg")
import matplotlib.pyplot as plt  # noqa: E402  (after the choice of what draws)

SIZES = (50, 10_000, 100_000)
FLOORS = ("F2 std::map", "F3 flat_hash_map")
OURS = {"file ticket": "#d55e00", "memory ticket": "#f0a35e"}
# Told apart by people who see few colours too, and on black as on white.
COLOURS = ("#0072b2", "#009e73", "#cc79a7", "#56b4e9", "#e69f00", "#8c6bb1", "#7f7f7f", "#41ab5d", "#a6761d", "#1f9e9e",
           "#c0504d", "#b5b52a")
INK = "#808080"
# File, title, unit of the axis, how many of it are a second, and the operation.
CHARTS = (
    ("read", "Read an integer", "nanoseconds", 1e9, "get_int"),
    ("load", "Load a file and read every value", "milliseconds", 1e3, "load_warm"),
)


def line(axes, results, operation, store, factor, colour, is_own):
    points = [(size, results.time(operation, store, size)) for size in SIZES]
    points = [(size, time * factor) for size, time in points if time is not None]
    if not points:
        return
    axes.plot(*zip(*points), marker="o", linestyle="--" if store in FLOORS else "-", markersize=5 if is_own else 3, linewidth=2.5 if is_own else 1.2, color=colour,
              label=store, zorder=3 if is_own else 2)


def draw_one(results, title, unit, factor, operation, directory, name):
    figure, axes = plt.subplots(figsize=(8, 4.5))
    colours = iter(COLOURS)
    for store in results.stores(operation):
        line(axes, results, operation, store, factor, OURS.get(store) or next(colours), store in OURS)
    axes.set_xscale("log")
    axes.set_yscale("log")
    axes.set_xticks(SIZES, [f"{size:,}" for size in SIZES])
    axes.minorticks_off()
    axes.set_xlabel("keys", color=INK)
    axes.set_ylabel(f"{unit}, logarithmic", color=INK)
    axes.set_title(title, color=INK)
    axes.tick_params(colors=INK)
    axes.grid(True, color=INK, alpha=0.25, linewidth=0.5)
    for spine in axes.spines.values():
        spine.set_color(INK)
    axes.legend(loc="center left", bbox_to_anchor=(1, 0.5), frameon=False, labelcolor=INK)
    figure.savefig(os.path.join(directory, f"{name}.svg"), transparent=True, bbox_inches="tight", metadata={"Date": None})
    plt.close(figure)


def draw(results, directory):
    """Writes the files into `directory` and returns their names, without the ending, and titles."""
    plt.rcParams.update({"svg.fonttype": "none", "svg.hashsalt": "charts", "font.family": "sans-serif", "font.size": 10})
    drawn = []
    for name, title, unit, factor, operation in CHARTS:
        draw_one(results, title, unit, factor, operation, directory, name)
        drawn.append((name, title + ", by number of keys and store"))
    return drawn

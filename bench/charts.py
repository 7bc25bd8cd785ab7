"""Draws the charts of a run as SVG: on a light card, or on a dark one where the reader's system prefers dark colours."""

import itertools
import os
import re

import matplotlib

matplotlib.use("svg")
import matplotlib.pyplot as plt  # noqa: E402  (after the back end is chosen)

SIZES = (50, 10_000, 100_000)
FLOORS = ("F1 pugixml", "F2 std::map", "F3 flat_hash_map", "F4 simdjson")
OURS = {"file ticket": "#d55e00", "memory ticket": "#e8964f"}
# Colours that colour-blind readers can tell apart, on black and on white.
COLOURS = ("#0072b2", "#009e73", "#cc79a7", "#56b4e9", "#e69f00", "#8c6bb1", "#7f7f7f", "#41ab5d", "#a6761d", "#1f9e9e",
           "#c0504d", "#b5b52a")
INK, PAPER, PEER = "#404550", "#fcfcfd", "#8a97ad"
DARK_INK, DARK_PAPER = "#d5dae3", "#1e232d"
# File, title, unit of the axis, units in a second, operation.
CHARTS = (
    ("read", "Read an integer", "nanoseconds", 1e9, "get_int"),
    ("load", "Load a file and read every value", "milliseconds", 1e3, "load_warm"),
)
OVERVIEW_SIZE = 10_000


def line(axes, results, operation, store, factor, colour, is_own):
    points = [(size, results.time(operation, store, size)) for size in SIZES]
    points = [(size, time * factor) for size, time in points if time is not None]
    if not points:
        return
    axes.plot(*zip(*points), marker="o", linestyle="--" if store in FLOORS else "-", markersize=5 if is_own else 3,
              linewidth=2.5 if is_own else 1.2, color=colour, label=store, zorder=3 if is_own else 2)


def colours_of(results):
    """Returns a colour for each store, the same in all charts."""
    others = sorted({store for *_, operation in CHARTS for store in results.stores(operation)} - set(OURS))
    return {**dict(zip(others, itertools.cycle(COLOURS))), **OURS}


def draw_lines(results, title, unit, factor, operation):
    """Draws one operation by number of keys, a line for each store."""
    figure, axes = plt.subplots(figsize=(8, 4.5))
    colours = colours_of(results)
    for store in results.stores(operation):
        line(axes, results, operation, store, factor, colours[store], store in OURS)
    axes.set_xscale("log")
    axes.set_yscale("log")
    axes.set_xticks(SIZES, [f"{size:,}" for size in SIZES])
    axes.minorticks_off()
    axes.set_xlabel("keys")
    axes.set_ylabel(f"{unit}, logarithmic")
    axes.set_title(title)
    axes.grid(True, color=INK, alpha=0.25, linewidth=0.5)
    axes.legend(loc="center left", bbox_to_anchor=(1, 0.5), frameon=False)
    return figure


def draw_bars(axes, results, title, unit, factor, operation):
    """Draws one operation with OVERVIEW_SIZE keys, a bar for each store that hosts could use; the fastest is on top."""
    times = {store: results.time(operation, store, OVERVIEW_SIZE) for store in results.stores(operation) if store not in FLOORS}
    times = sorted(((time * factor, store) for store, time in times.items() if time is not None), reverse=True)
    bars = axes.barh([store for _, store in times], [time for time, _ in times],
                     color=[OURS.get(store, PEER) for _, store in times], height=0.72)
    axes.bar_label(bars, [f"{time:,.0f}" if time >= 100 else f"{time:.3g}" for time, _ in times], padding=4, fontsize=9)
    axes.set_title(f"{title}, {unit}", fontsize=11, loc="left")
    axes.spines[:].set_visible(False)
    axes.tick_params(left=False, bottom=False, labelbottom=False)
    axes.margins(x=0.12)


def draw_overview(results):
    figure, panels = plt.subplots(1, 2, figsize=(9, 3.2), layout="constrained")
    figure.get_layout_engine().set(wspace=0.08)
    for axes, (_, *chart) in zip(panels, CHARTS):
        draw_bars(axes, results, *chart)
    figure.supxlabel(f"{OVERVIEW_SIZE:,} keys; shorter is better", fontsize=9)
    return figure


def save(figure, path):
    """Saves a chart, with rules that exchange ink and paper where the system prefers dark colours."""
    figure.savefig(path, bbox_inches="tight", pad_inches=0.2, metadata={"Date": None})
    plt.close(figure)
    rules = (f"#patch_1 path {{ fill: {DARK_PAPER} !important }}"
             f' [style*="fill: {INK}"] {{ fill: {DARK_INK} !important }}'
             f' [style*="stroke: {INK}"] {{ stroke: {DARK_INK} !important }}')
    with open(path, encoding="utf-8") as stream:
        text = stream.read()
    text = re.sub(r"(<style [^>]*>)", rf"\1@media (prefers-color-scheme: dark) {{ {rules} }} ", text, count=1)
    with open(path, "w", encoding="utf-8") as stream:
        stream.write(text)


def draw(results, directory):
    """Writes the charts into `directory`. Returns the names, without the ending, and titles of the charts, the overview first."""
    plt.rcParams.update({
        "svg.fonttype": "none", "svg.hashsalt": "charts", "font.family": "sans-serif", "font.size": 10,
        "figure.facecolor": PAPER, "axes.facecolor": "none", "text.color": INK, "axes.labelcolor": INK, "axes.edgecolor": INK,
        "xtick.color": INK, "ytick.color": INK})
    titles = ", and to ".join(title[0].lower() + title[1:] for _, title, *_ in CHARTS)
    save(draw_overview(results), os.path.join(directory, "overview.svg"))
    drawn = [("overview", f"Time to {titles}, with {OVERVIEW_SIZE:,} keys")]
    for name, *chart in CHARTS:
        save(draw_lines(results, *chart), os.path.join(directory, f"{name}.svg"))
        drawn.append((name, chart[0] + ", by number of keys and store"))
    return drawn

# SPDX-License-Identifier: MIT
"""Draws how the times of the program and of its peers grow with the library."""
import matplotlib

matplotlib.use("svg")
from matplotlib import pyplot, ticker  # noqa: E402

INK, FAINT, PAPER = "#24292f", "#d0d7de", "#fbfcfd"  # the paper is the picture's own, on any page
COLOURS = {"Marrowpulse": "#0072b2", "@node-steam/vdf": "#c04a00", "python3-vdf": "#6e5a9e"}


def milliseconds(value, _):
    return f"{value / 1000:g} s" if value >= 1000 else f"{value:g} ms"


def apart(ends):
    """Heights for the labels of curves that end at these heights: no label covers another."""
    heights, last = {}, 0
    for name, end in sorted(ends.items(), key=lambda item: item[1]):
        heights[name] = last = max(end, last * 1.5)
    return heights


def draw_panel(axes, title, sizes, curves):
    axes.set_title(title, loc="left", color=INK, fontsize=11, pad=14)
    axes.set_xscale("log")
    axes.set_yscale("log")
    heights = apart({name: times[-1] for name, times in curves.items()})
    for name, times in curves.items():
        ours = name == "Marrowpulse"
        axes.plot(sizes, times, color=COLOURS[name], linewidth=2.6 if ours else 1.8, marker="o",
                  markersize=5)
        axes.annotate(name, (sizes[-1], heights[name]), xytext=(10, 0), textcoords="offset points",
                      color=COLOURS[name], va="center", fontsize=10,
                      fontweight="bold" if ours else "normal")
    axes.set_xlabel("games in the library", color=INK, fontsize=10)
    axes.xaxis.set_major_locator(ticker.FixedLocator(sizes))
    axes.xaxis.set_major_formatter(ticker.FuncFormatter(lambda value, _: f"{value:,.0f}"))
    axes.xaxis.set_minor_locator(ticker.NullLocator())
    axes.yaxis.set_major_formatter(ticker.FuncFormatter(milliseconds))
    axes.yaxis.set_minor_locator(ticker.NullLocator())
    axes.grid(axis="y", color=FAINT, linewidth=0.8)
    axes.set_axisbelow(True)
    axes.tick_params(colors=INK, length=0, labelsize=10)
    for side in ("top", "right", "left"):
        axes.spines[side].set_visible(False)
    axes.spines["bottom"].set_color(INK)


def draw(path, sizes, panels):
    """One panel for each title in `panels`, with a list of milliseconds by size for each name."""
    matplotlib.rcParams.update({"font.family": "DejaVu Sans", "svg.hashsalt": "marrowpulse"})
    figure, rooms = pyplot.subplots(1, len(panels), figsize=(10.8, 4.1), facecolor=PAPER, sharey=True)
    for axes, (title, curves) in zip(rooms, panels.items()):
        axes.set_facecolor(PAPER)
        draw_panel(axes, title, sizes, curves)
        axes.tick_params(labelleft=True)
    figure.subplots_adjust(left=0.065, right=0.875, top=0.88, bottom=0.13, wspace=0.54)
    figure.savefig(path, facecolor=PAPER, metadata={"Date": None})

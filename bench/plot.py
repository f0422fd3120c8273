"""A plot of the ratios, as SVG: a group of bars a workload, on a logarithmic scale."""

from __future__ import annotations

import math
from typing import Any

COLORS = ["#0b6e4f", "#6bbf8a", "#4c72b0", "#7aa6d8", "#8c6bb1", "#c44e52", "#dd8452", "#937860"]
HEIGHT = 300
TOP = 46
LEFT = 46
BAR = 15
GAP = 26


def draw(ratios: dict[str, Any], workloads: list[str], floor: str) -> str:
    systems = [system for system in ratios[workloads[0]] if system != floor]
    largest = max(ratio for row in ratios.values() for ratio in row.values())
    low, high = math.log10(0.25), math.log10(largest * 1.3)

    def y(value: float) -> float:
        return TOP + HEIGHT * (high - math.log10(max(value, 0.25))) / (high - low)

    group = BAR * len(systems) + GAP
    width = LEFT + group * len(workloads) + 10
    height = TOP + HEIGHT + 30
    parts = [
        f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {width} {height}" width="{width}" '
        f'height="{height}" font-family="sans-serif" font-size="11">',
        f'<rect width="{width}" height="{height}" fill="white"/>',
    ]
    for exponent in range(-1, math.ceil(high) + 1):
        for factor in (1, 2, 5):
            value = factor * 10.0**exponent
            if low <= math.log10(value) <= high:
                stroke = "#333" if value == 1 else "#ddd"
                parts.append(
                    f'<line x1="{LEFT}" x2="{width - 10}" y1="{y(value):.1f}" y2="{y(value):.1f}" stroke="{stroke}"/>'
                    f'<text x="{LEFT - 6}" y="{y(value) + 4:.1f}" text-anchor="end">{value:g}</text>'
                )
    for index, workload in enumerate(workloads):
        left = LEFT + GAP / 2 + index * group
        for place, system in enumerate(systems):
            if system not in ratios[workload]:
                continue
            value = ratios[workload][system]
            top, bottom = sorted((y(value), y(1)))
            parts.append(
                f'<rect x="{left + place * BAR:.1f}" y="{top:.1f}" width="{BAR - 3}" '
                f'height="{max(bottom - top, 1):.1f}" fill="{COLORS[place % len(COLORS)]}">'
                f"<title>{escaped(system)}: {value:.2f}</title></rect>"
            )
        parts.append(
            f'<text x="{left + (group - GAP) / 2:.1f}" y="{TOP + HEIGHT + 18}" text-anchor="middle" '
            f'font-weight="bold">{workload}</text>'
        )
    step = (width - LEFT) / len(systems)
    for place, system in enumerate(systems):
        left = LEFT + place * step
        parts.append(
            f'<rect x="{left:.1f}" y="12" width="10" height="10" fill="{COLORS[place % len(COLORS)]}"/>'
            f'<text x="{left + 14:.1f}" y="21">{escaped(system)}</text>'
        )
    parts.append(f'<text x="{LEFT}" y="38" fill="#555">times the bare socket, both processes on one CPU</text>')
    parts.append("</svg>\n")
    return "\n".join(parts)


def escaped(text: str) -> str:
    return text.replace("&", "&amp;").replace("<", "&lt;")

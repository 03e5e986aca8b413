"""The sample "spiral": a stair that winds down the wall of a round well, from gold at the top to blue below.

The wall is one-sided and faces inwards: from outside one looks through it at the stair.
"""

import math
import os
import sys

sys.dont_write_bytecode = True
sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))

from kit import solids
from kit.palette import gradient
from kit.sample import Sample

WALL_RADIUS, EYE_RADIUS = 3.0, 1.55       # of the wall, and of the open eye that the stair winds around
STEPS, STEPS_PER_TURN, STEPS_PER_COLOUR = 72, 24, 2
RISE = 0.125                              # from one step to the next
BASE = 0.30                               # height of the first step
THICKNESS = 0.10
RAIL_HEIGHT = 0.62


def helix(radius, step, height):
    """The point over the middle of a step (which may be a fraction), `height` above its tread."""
    angle = math.tau * (step + 0.5) / STEPS_PER_TURN
    return (radius * math.cos(angle), radius * math.sin(angle), BASE + step * RISE + height)


def tread(step, overlap=0.10):
    """Vertices and faces of one wedge; it enters the wall by a hand's breadth so that no gap shows."""
    first = math.tau * (step - overlap) / STEPS_PER_TURN
    last = math.tau * (step + 1 + overlap) / STEPS_PER_TURN
    pieces = 4
    top = BASE + step * RISE
    outline = [(EYE_RADIUS, first + (last - first) * i / pieces) for i in range(pieces + 1)]
    outline += [(WALL_RADIUS + 0.05, first + (last - first) * (pieces - i) / pieces) for i in range(pieces + 1)]
    outline.reverse()  # counter-clockwise seen from above
    vertices = [(r * math.cos(a), r * math.sin(a), z) for z in (top - THICKNESS, top) for r, a in outline]
    count = len(outline)
    faces = [tuple(range(count))[::-1], tuple(range(count, 2 * count))]
    faces += [(i, (i + 1) % count, count + (i + 1) % count, count + i) for i in range(count)]
    return vertices, faces


def add_treads(sample):
    for colour in range(STEPS // STEPS_PER_COLOUR):
        material = sample.material("tread-%02d" % (colour + 1), gradient(colour / (STEPS // STEPS_PER_COLOUR - 1)),
                                   (0.10, 0.10, 0.10), 30.0)
        for k in range(STEPS_PER_COLOUR):
            step = colour * STEPS_PER_COLOUR + k
            vertices, faces = tread(step)
            solids.bevel(solids.mesh_object("tread-%02d" % (step + 1), vertices, faces, material), 0.022, 2)


def add_rail():
    points = [helix(EYE_RADIUS + 0.09, STEPS * i / 240 - 0.5, RAIL_HEIGHT) for i in range(241)]
    solids.tube("rail", points, 0.032, "brass", sides=12)
    points = [helix(EYE_RADIUS + 0.09, STEPS * i / 240 - 0.5, 0.34) for i in range(241)]
    solids.tube("rail-middle", points, 0.012, "brass", sides=8)
    for step in range(STEPS):
        foot, head = helix(EYE_RADIUS + 0.09, step, -0.03), helix(EYE_RADIUS + 0.09, step, RAIL_HEIGHT)
        solids.tube("baluster-%02d" % (step + 1), [foot, head], 0.011, "brass", sides=8)
    for step in (-0.5, STEPS - 0.5):
        x, y, z = helix(EYE_RADIUS + 0.09, step, 0.0)
        newel = [(0.0, -0.2), (0.05, -0.2), (0.05, RAIL_HEIGHT + 0.02), (0.075, RAIL_HEIGHT + 0.05),
                 (0.075, RAIL_HEIGHT + 0.09), (0.045, RAIL_HEIGHT + 0.13), (0.0, RAIL_HEIGHT + 0.145)]
        solids.lathe("newel-foot" if step < 0 else "newel-head", newel, "brass", 20, (x, y, z))


def add_well():
    top = BASE + STEPS * RISE + 1.3  # so high that the corners of a 12:5 view do not pass above it
    # Travelling downwards turns the lathe's outside inwards.
    solids.lathe("wall", [(WALL_RADIUS, top - i * (top / 8)) for i in range(9)], "plaster", 72, crease=60.0)
    solids.lathe("cornice", solids.rounded([(WALL_RADIUS + 0.02, top + 0.10), (WALL_RADIUS - 0.20, top + 0.10),
                                            (WALL_RADIUS - 0.20, top - 0.05), (WALL_RADIUS - 0.07, top - 0.16),
                                            (WALL_RADIUS + 0.02, top - 0.22)], 0.05), "plaster", 72)
    solids.lathe("skirting", solids.rounded([(WALL_RADIUS + 0.02, 0.26), (WALL_RADIUS - 0.06, 0.25),
                                             (WALL_RADIUS - 0.06, -0.02)], 0.03), "stone-dark", 72)


def add_floor():
    """A compass rose of two stones, and a shallow bowl of water-blue glass in its middle."""
    rings = [(0.0, 0.62, "stone-dark"), (0.62, 0.70, "brass"), (0.70, 2.05, None), (2.05, 2.13, "brass"),
             (2.13, WALL_RADIUS + 0.02, "stone-light")]
    for i, (inner, outer, material) in enumerate(rings):
        if material:
            profile = [(outer, 0.0), (inner, 0.0)]
            solids.lathe("floor-ring-%d" % (i + 1), profile, material, 72)
    add_rose(0.69, 2.06, 16)
    bowl = solids.rounded([(0.0, 0.0), (0.22, 0.0), (0.20, 0.10), (0.46, 0.30), (0.50, 0.33), (0.46, 0.335),
                           (0.20, 0.16), (0.0, 0.14)], 0.05)
    solids.lathe("bowl", bowl, "stone-light", 48, (0.0, 0.0, 0.0))
    solids.sphere("pearl", 0.17, "glow", (0.0, 0.0, 0.31), 40, 20)


def add_rose(inner, outer, points):
    """Its rims lie just under the brass rings, so that no gap is left where their corners do not meet."""
    for parity, material in enumerate(("stone-dark", "stone-light")):
        vertices, faces = [], []
        for i in range(points):
            def at(radius, turn):
                angle = math.tau * turn / points
                return (radius * math.cos(angle), radius * math.sin(angle), -0.001)
            if parity == 0:
                corners = [at(inner, i - 0.5), at(outer, i), at(inner, i + 0.5)]
            else:
                corners = [at(outer, i), at(outer, i + 0.25), at(outer, i + 0.5), at(outer, i + 0.75),
                           at(outer, i + 1), at(inner, i + 0.5)]
            faces.append(tuple(range(len(vertices), len(vertices) + len(corners))))
            vertices += corners
        solids.mesh_object("rose-%s" % material, vertices, faces, material)


def main():
    sample = Sample("spiral")
    sample.material("plaster", (0.80, 0.76, 0.72), (0.02, 0.02, 0.02), 6.0)
    sample.material("stone-dark", (0.16, 0.18, 0.25), (0.20, 0.20, 0.22), 40.0)
    sample.material("stone-light", (0.74, 0.71, 0.68), (0.12, 0.12, 0.12), 30.0)
    sample.material("brass", (0.70, 0.53, 0.24), (0.60, 0.48, 0.26), 36.0)
    sample.material("glow", (0.86, 0.92, 0.98), (0.2, 0.2, 0.2), 30.0, ambient=(1.0, 1.0, 1.0))
    add_treads(sample)
    add_rail()
    add_well()
    add_floor()
    sample.ambient("sky", (0.26, 0.25, 0.28))
    sample.spot("skylight", (0.9, -0.7, 13.6), (0.0, 0.0, 0.0), (0.66, 0.61, 0.53), 34.0, 52.0)
    sample.point("depths", (0.0, 0.0, 1.0), (0.16, 0.22, 0.36))
    sample.point("landing", (-0.6, 0.5, 11.5), (0.20, 0.16, 0.10))
    sample.camera((0.62, -0.95, 12.1), (-0.10, 0.16, 3.0), 62.0)
    sample.write(sys.argv[-1])


if __name__ == "__main__":
    main()

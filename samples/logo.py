"""The scene "logo": the mark that turns on the start screen, a Q of wedges in a ring around a cut gem.

It has no light map: its own three lights and their shadows draw it.
"""

import math
import os
import sys

sys.dont_write_bytecode = True
sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))

from kit import solids
from kit.palette import gradient
from kit.sample import Sample

WEDGES = 18
INNER, OUTER, DEPTH = 0.70, 1.08, 0.42
GAP = 0.10          # between two wedges, as a part of one wedge's angle
TAIL_ANGLE = -45.0  # degrees from the right, counter-clockwise


def wedge(first, last, inner, outer, depth, pieces=3):
    """Vertices and faces of a ring segment standing upright, its axis along y."""
    outline = [(inner, first + (last - first) * i / pieces) for i in range(pieces + 1)]
    outline += [(outer, first + (last - first) * (pieces - i) / pieces) for i in range(pieces + 1)]
    vertices = [(r * math.cos(a), y, r * math.sin(a)) for y in (-0.5 * depth, 0.5 * depth) for r, a in outline]
    count = len(outline)
    faces = [tuple(range(count))[::-1], tuple(range(count, 2 * count))]
    faces += [(i, (i + 1) % count, count + (i + 1) % count, count + i) for i in range(count)]
    return vertices, faces


def add_ring(sample):
    for i in range(WEDGES):
        # The gradient runs once around and meets itself under the tail.
        material = sample.material("wedge-%02d" % (i + 1), gradient(i / (WEDGES - 1)), (0.35, 0.35, 0.35), 34.0)
        turn = math.radians(TAIL_ANGLE) + math.tau * (i + 0.5 + 0.5 * GAP) / WEDGES
        width = math.tau * (1.0 - GAP) / WEDGES
        vertices, faces = wedge(turn - 0.5 * width, turn + 0.5 * width, INNER, OUTER, DEPTH)
        solids.bevel(solids.mesh_object("wedge-%02d" % (i + 1), vertices, faces, material), 0.03, 1)


def add_tail():
    angle = math.radians(TAIL_ANGLE)
    middle = 1.10
    tail = solids.box("tail", (0.66, 0.56, 0.17), "tail",
                      (middle * math.cos(angle), 0.0, middle * math.sin(angle)), (0.0, -TAIL_ANGLE, 0.0))
    solids.bevel(tail, 0.035, 1)


def add_gem():
    """A brilliant: table, crown, girdle, pavilion; its axis stands upright."""
    sides = 8

    def ring(radius, z, turn):
        return [(radius * math.cos(math.tau * (i + turn) / sides), radius * math.sin(math.tau * (i + turn) / sides), z)
                for i in range(sides)]

    vertices = ring(0.21, 0.27, 0.5) + ring(0.36, 0.15, 0.0) + ring(0.42, 0.03, 0.5) + ring(0.22, -0.22, 0.0)
    vertices.append((0.0, 0.0, -0.42))
    table, crown, girdle, pavilion = (list(range(k * sides, (k + 1) * sides)) for k in range(4))
    culet = 4 * sides
    faces = [tuple(table)]
    for i in range(sides):
        j = (i + 1) % sides
        faces += [(crown[i], crown[j], table[i]), (crown[j], table[j], table[i]),
                  (girdle[i], crown[j], crown[i]), (girdle[i], girdle[j], crown[j]),
                  (pavilion[j], girdle[j], girdle[i]), (pavilion[i], pavilion[j], girdle[i]),
                  (culet, pavilion[j], pavilion[i])]
    gem = solids.mesh_object("gem", vertices, faces, "gem")
    gem.data.use_auto_smooth = True
    gem.data.auto_smooth_angle = 0.0


def main():
    sample = Sample("logo")
    sample.material("tail", (0.95, 0.93, 0.88), (0.3, 0.3, 0.3), 34.0)
    sample.material("gem", (0.30, 0.74, 0.72), (0.75, 0.80, 0.80), 50.0)
    add_ring(sample)
    add_tail()
    add_gem()
    sample.ambient("room", (0.36, 0.35, 0.38))
    sample.spot("key", (-2.6, -3.6, 3.4), (0.0, 0.0, 0.0), (0.86, 0.82, 0.75), 36.0, 60.0)
    sample.point("fill", (4.0, -1.5, -1.0), (0.22, 0.27, 0.36))
    sample.point("rim", (1.0, 4.0, 2.5), (0.78, 0.75, 0.70))
    sample.camera((-0.35, -4.1, 0.75), (0.06, 0.0, -0.04), 38.0)
    sample.write(sys.argv[-1])


if __name__ == "__main__":
    main()

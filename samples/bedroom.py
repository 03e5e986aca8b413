"""An evening room: the lamp at the bed is lit, and the last cool light comes in through the window.

blender -b --factory-startup -noaudio --python-exit-code 1 -P samples/bedroom.py -- OUT.dae

Right is +x, the wall of the bed and the window is at +y. The walls, the ceiling and the floor face inwards
only, so that the room is open from outside, wherever one stands. On the left a wall runs outwards from the
back, like the wing of a stage: it closes the first view in windows up to 12:5.
"""

import math
import os
import sys

sys.dont_write_bytecode = True
sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))

import bedroom_furniture as furniture
import bedroom_textiles as textiles
from kit import solids
from kit.sample import Sample

LEFT, RIGHT, FRONT, BACK, HEIGHT = -4.1, 2.3, -3.4, 2.0, 2.62
BACK_LEFT, BEND = -2.8, -1.8  # where the slanting wall leaves the back, and where it meets the left one
# The room's corners, counter-clockwise from above; a side is named after the corner it starts at.
OUTLINE = [(LEFT, FRONT), (RIGHT, FRONT), (RIGHT, BACK), (BACK_LEFT, BACK), (LEFT, BEND)]
FRONT_SIDE, RIGHT_SIDE, BACK_SIDE, SLANT, LEFT_SIDE = range(5)
WINDOW = (-1.78, -0.74, 0.86, 2.12)  # left, right, sill, head
REVEAL = 0.16


def declare_materials(sample):
    cloth = dict(specular=(0.0, 0.0, 0.0), shininess=4)
    polish = dict(specular=(0.10, 0.09, 0.08), shininess=24)
    sample.material("plaster", (0.56, 0.62, 0.61), **cloth)
    sample.material("panelling", (0.34, 0.43, 0.44), specular=(0.03, 0.03, 0.03), shininess=12)
    sample.material("ceiling", (0.80, 0.79, 0.75), **cloth)
    sample.material("paint", (0.84, 0.82, 0.76), specular=(0.05, 0.05, 0.05), shininess=20)
    for index, shade in enumerate(((0.47, 0.32, 0.20), (0.52, 0.36, 0.23), (0.42, 0.28, 0.175),
                                   (0.50, 0.34, 0.20))):
        sample.material("plank-%d" % index, shade, specular=(0.05, 0.045, 0.04), shininess=18)
    sample.material("joint", (0.30, 0.195, 0.12), **cloth)
    sample.material("oak", (0.62, 0.43, 0.26), **polish)
    sample.material("walnut", (0.36, 0.22, 0.14), **polish)
    sample.material("linen", (0.86, 0.83, 0.76), **cloth)
    sample.material("sheet", (0.90, 0.88, 0.83), **cloth)
    sample.material("duvet", (0.72, 0.75, 0.73), **cloth)
    sample.material("blanket", (0.74, 0.47, 0.17), **cloth)
    sample.material("velvet", (0.20, 0.34, 0.36), specular=(0.05, 0.06, 0.06), shininess=8)
    sample.material("terracotta", (0.58, 0.28, 0.19), **cloth)
    sample.material("curtain", (0.68, 0.64, 0.55), **cloth)
    sample.material("brass", (0.64, 0.46, 0.20), specular=(0.45, 0.36, 0.2), shininess=40)
    sample.material("iron", (0.13, 0.13, 0.14), specular=(0.12, 0.12, 0.12), shininess=24)
    sample.material("glaze", (0.15, 0.33, 0.36), specular=(0.30, 0.32, 0.32), shininess=60)
    sample.material("porcelain", (0.84, 0.80, 0.73), specular=(0.25, 0.25, 0.25), shininess=50)
    sample.material("shade", (0.88, 0.74, 0.52), ambient=(1.0, 0.88, 0.62), **cloth)
    sample.material("page", (0.84, 0.78, 0.66), **cloth)
    sample.material("wool-cream", (0.80, 0.73, 0.60), **cloth)
    sample.material("wool-blue", (0.19, 0.30, 0.36), **cloth)
    sample.material("leaf", (0.23, 0.38, 0.20), specular=(0.04, 0.05, 0.04), shininess=16)
    sample.material("leaf-light", (0.36, 0.50, 0.25), specular=(0.04, 0.05, 0.04), shininess=16)
    sample.material("soil", (0.16, 0.11, 0.08), **cloth)
    for index, shade in enumerate(furniture.BOOK_COLOURS):
        sample.material("book-%d" % index, shade, specular=(0.06, 0.06, 0.06), shininess=16)
    for index, shade in enumerate(furniture.PAINTING_COLOURS):
        sample.material("painting-%d" % index, shade, **cloth)
    for index in range(SKY_BANDS):
        colour = sky_colour(index / (SKY_BANDS - 1))
        sample.material("sky-%02d" % index, tuple(0.35 * c for c in colour), ambient=colour, **cloth)
    sample.material("hill-far", (0.10, 0.13, 0.19), ambient=(0.26, 0.30, 0.44), **cloth)
    sample.material("hill-near", (0.05, 0.07, 0.10), ambient=(0.12, 0.15, 0.22), **cloth)
    sample.material("night", (0.05, 0.09, 0.20), ambient=(0.15, 0.24, 0.52), alpha=0.25, **cloth)
    sample.material("moon", (0.5, 0.5, 0.45), ambient=(1.0, 0.98, 0.88), **cloth)


# --- the room -----------------------------------------------------------------------------------------------

def build_floor():
    """Staggered boards of four tones, with the dark of their joints just above them."""
    boards, joints = [[] for _ in range(4)], []
    width, joint = (RIGHT - BACK_LEFT) / 24, 0.0016
    first = math.floor((LEFT - BACK_LEFT) / width)
    for row in range(first, 24):
        x0, x1 = BACK_LEFT + row * width, BACK_LEFT + (row + 1) * width
        ends = [FRONT, -2.20 + 0.83 * ((row * 5) % 7) / 7, BACK - 0.45 - 0.9 * ((row * 3) % 5) / 5, BACK]
        for part, (y0, y1) in enumerate(zip(ends, ends[1:])):
            boards[(row * 7 + part * 5 + row // 3) % 4].append((x0, x1, y0, y1))
        joints += [(x0 + joint, x1 - joint, y - joint, y + joint) for y in ends[1:-1]]
        if row > first:
            joints.append((x0 - joint, x0 + joint, FRONT, BACK))
    for tone, rectangles in enumerate(boards):
        lay("floor-%d" % tone, rectangles, 0.0, "plank-%d" % tone)
    lay("floor-joints", joints, 0.0004, "joint")


def lay(name, rectangles, z, material):
    """The parts of upward rectangles that lie in the room."""
    vertices, faces = [], []
    for x0, x1, y0, y1 in rectangles:
        part = [(x0, y0), (x1, y0), (x1, y1), (x0, y1)]
        for start, end in (OUTLINE[SLANT:], (OUTLINE[LEFT_SIDE], OUTLINE[FRONT_SIDE])):
            part = left_part(part, start, end)
        if part:
            faces.append(tuple(range(len(vertices), len(vertices) + len(part))))
            vertices += [(x, y, z) for x, y in part]
    solids.mesh_object(name, vertices, faces, material)


def left_part(polygon, start, end):
    """What of a convex polygon lies to the left of the line from `start` to `end`."""
    def beside(point):
        return (end[0] - start[0]) * (point[1] - start[1]) - (end[1] - start[1]) * (point[0] - start[0])

    result = []
    for a, b in zip(polygon, polygon[1:] + polygon[:1]):
        if beside(a) >= 0.0:
            result.append(a)
        if beside(a) * beside(b) < 0.0:
            t = beside(a) / (beside(a) - beside(b))
            result.append((a[0] + t * (b[0] - a[0]), a[1] + t * (b[1] - a[1])))
    return result if len(result) > 2 else []


def inset(depth):
    """The room's corners, moved inwards so that every side moves by `depth`."""
    def inward(a, b):
        length = math.dist(a, b)
        return (a[1] - b[1]) / length, (b[0] - a[0]) / length

    result = []
    for before, corner, after in zip(OUTLINE[-1:] + OUTLINE, OUTLINE, OUTLINE[1:] + OUTLINE[:1]):
        (ax, ay), (bx, by) = inward(before, corner), inward(corner, after)
        k = depth / (1.0 + ax * bx + ay * by)
        result.append((corner[0] + k * (ax + bx), corner[1] + k * (ay + by)))
    return result


def wall(name, start, end, material):
    """An upright wall from `start` to `end` (x, y), seen from its left. Where it meets the back wall it has the
    same points: nothing shines through between them."""
    def levels(corner):
        return (0.0, *WINDOW[2:], HEIGHT) if corner[1] == BACK else (0.0, HEIGHT)

    vertices = [(*start, z) for z in levels(start)] + [(*end, z) for z in reversed(levels(end))]
    return solids.mesh_object(name, vertices, [tuple(range(len(vertices)))], material)


def build_walls():
    left, right, sill, head = WINDOW
    xs, zs = (BACK_LEFT, left, right, RIGHT), (0.0, sill, head, HEIGHT)
    vertices = [(x, BACK, z) for z in zs for x in xs]
    faces = [(4 * j + i, 4 * j + i + 1, 4 * j + i + 5, 4 * j + i + 4)
             for j in range(3) for i in range(3) if (i, j) != (1, 1)]
    n, outer = len(vertices), BACK + REVEAL
    vertices += [(left, outer, sill), (right, outer, sill), (right, outer, head), (left, outer, head)]
    ring = (5, 6, 10, 9)
    faces += [(ring[i], ring[(i + 1) % 4], n + (i + 1) % 4, n + i) for i in range(4)]
    solids.mesh_object("wall-back", vertices, faces, "plaster")
    for name, side in (("right", RIGHT_SIDE), ("front", FRONT_SIDE), ("slant", SLANT), ("left", LEFT_SIDE)):
        wall("wall-" + name, OUTLINE[side], OUTLINE[(side + 1) % len(OUTLINE)], "plaster")
    solids.mesh_object("ceiling", [(x, y, HEIGHT) for x, y in reversed(inset(0.078))],
                       [tuple(range(len(OUTLINE)))], "ceiling")


def build_mouldings():
    """Skirting board and cornice are profiles with mitred corners. The wall towards the first view has no
    skirting board: its upper edge would be all that is seen of it."""
    run_around("skirting", (RIGHT_SIDE, BACK_SIDE, SLANT, LEFT_SIDE),
               [(0.0, 0.0), (0.018, 0.0), (0.018, 0.10), (0.012, 0.116), (0.004, 0.12), (0.0, 0.12)])
    top = HEIGHT
    run_around("cornice", range(len(OUTLINE)),
               [(0.0, top - 0.10), (0.012, top - 0.10), (0.016, top - 0.085), (0.03, top - 0.05),
                (0.06, top - 0.022), (0.075, top - 0.016), (0.08, top)])


def run_around(name, sides, profile):
    """The profile's points are depth and height."""
    vertices, faces, count = [], [], len(profile)
    rails = [inset(depth) for depth, _ in profile]
    for corner in range(len(OUTLINE)):
        vertices += [(*rail[corner], z) for rail, (_, z) in zip(rails, profile)]
    for side in sides:
        a, b = side * count, (side + 1) % len(OUTLINE) * count
        faces += [(b + i, a + i, a + i + 1, b + i + 1) for i in range(count - 1)]
    solids.mesh_object(name, vertices, faces, "paint")


# --- the window ---------------------------------------------------------------------------------------------

SKY_BANDS = 30


def sky_colour(t):
    """From the horizon (0) to the zenith (1) at dusk."""
    stops = ((0.0, (0.98, 0.66, 0.46)), (0.16, (0.88, 0.58, 0.56)), (0.34, (0.58, 0.52, 0.70)),
             (0.60, (0.33, 0.43, 0.72)), (1.0, (0.15, 0.24, 0.52)))
    for (t0, low), (t1, high) in zip(stops, stops[1:]):
        if t <= t1:
            k = (t - t0) / (t1 - t0)
            return tuple(a + k * (b - a) for a, b in zip(low, high))
    return stops[-1][1]


def build_window():
    left, right, sill, head = WINDOW
    middle, y = 0.5 * (left + right), BACK + 0.10
    frame = 0.045
    for name, x in (("left", left + 0.5 * frame - 0.004), ("right", right - 0.5 * frame + 0.004)):
        solids.box("window-stile-" + name, (frame, 0.06, head - sill), "paint", (x, y, 0.5 * (sill + head)),
                   edge=0.004)
    for name, z in (("bottom", sill + 0.5 * frame - 0.004), ("top", head - 0.5 * frame + 0.004)):
        solids.box("window-rail-" + name, (right - left, 0.056, frame), "paint", (middle, y, z), edge=0.004)
    solids.box("window-mullion", (0.05, 0.052, head - sill), "paint", (middle, y, 0.5 * (sill + head)),
               edge=0.006)
    for index, k in enumerate((1 / 3, 2 / 3)):
        solids.box("window-bar-%d" % index, (right - left, 0.03, 0.024), "paint",
                   (middle, y, sill + k * (head - sill)), edge=0.004)
    solids.box("window-sill", (right - left + 0.20, 0.20, 0.03), "paint", (middle, BACK - 0.03, sill - 0.01),
               edge=0.008)
    for name, x in (("left", left - 0.035), ("right", right + 0.035)):
        solids.box("window-casing-" + name, (0.07, 0.03, head - sill + 0.02), "paint",
                   (x, BACK - 0.011, 0.5 * (sill + head)), edge=0.006)
    solids.box("window-casing-top", (right - left + 0.17, 0.036, 0.085), "paint",
               (middle, BACK - 0.013, head + 0.04), edge=0.006)
    build_outside()


def build_outside():
    """The sky behind the window, and the surround that keeps its light from passing beside the opening."""
    left, right, sill, head = WINDOW
    rings = [(left - 0.5, right + 0.5, sill - 0.5, head + 0.56), (left, right, sill, head)]
    vertices = [(x, BACK + REVEAL, z) for a, b, c, d in rings for x, z in ((a, c), (b, c), (b, d), (a, d))]
    faces = [(i, i + 4, (i + 1) % 4 + 4, (i + 1) % 4) for i in range(4)]
    solids.mesh_object("window-surround", vertices, faces, "paint")

    path = [(-2.40, 2.36), (-2.15, 2.66), (-1.62, 2.92), (-0.7, 2.98), (0.1, 2.80), (0.5, 2.35)]
    low, high = 0.55, 2.75
    for band in range(SKY_BANDS):
        z0, z1 = (low + (high - low) * (band + k) / SKY_BANDS for k in (0, 1))
        points = path if band < 17 else path[2:]
        vertices = [(*point, z) for z in (z0, z1) for point in points]
        count = len(points)
        solids.smooth(solids.mesh_object("sky-%02d" % band, vertices,
                                         [(i, i + 1, count + i + 1, count + i) for i in range(count - 1)],
                                         "sky-%02d" % band), 80.0)
    # Night above the left part, where the moonlight comes in: it lets most of that light pass.
    vertices = [(*point, z) for z in (low + (high - low) * 17 / SKY_BANDS, high) for point in path[:3]]
    solids.smooth(solids.mesh_object("sky-night", vertices, [(0, 1, 4, 3), (1, 2, 5, 4)], "night"), 80.0)
    for name, material, inset, base, waves in (("far", "hill-far", 0.035, 0.98, (0.05, 2.1, 0.3, 0.03, 5.3)),
                                               ("near", "hill-near", 0.07, 0.84,
                                                (0.06, 1.3, 2.0, 0.02, 6.1))):
        vertices, faces = [], []
        columns = 40
        for i in range(columns + 1):
            x, y = along(path, i / columns)
            x, y = x + inset * (-1.0 - x) * 0.3, y - inset
            a, f, p, b, g = waves
            ridge = base + a * math.sin(f * 4.0 * x + p) + b * math.sin(g * 2.6 * x)
            vertices += [(x, y, low), (x, y, ridge)]
        faces = [(2 * i, 2 * i + 2, 2 * i + 3, 2 * i + 1) for i in range(columns)]
        solids.mesh_object("hill-" + name, vertices, faces, material)
    solids.mesh_object("moon", [(0.075 * math.cos(a), 0.0, 0.075 * math.sin(a))
                                for a in (math.tau * i / 32 for i in range(32))],
                       [tuple(range(32))], "moon", (-0.86, 2.90, 1.72))


def along(path, t):
    lengths = [math.dist(a, b) for a, b in zip(path, path[1:])]
    rest = t * sum(lengths)
    for (a, b), length in zip(zip(path, path[1:]), lengths):
        if rest <= length + 1e-9:
            k = min(rest / length, 1.0)
            return a[0] + k * (b[0] - a[0]), a[1] + k * (b[1] - a[1])
        rest -= length
    return path[-1]


# --- light and view -----------------------------------------------------------------------------------------

def light(sample):
    # The viewer draws the first three; the others are for the light map: the lit cloth of the shade, and
    # more of the evening and of the moon.
    moon, through = (-4.2, 5.7, 5.6), (-1.26, 2.05, 1.49)
    sample.ambient("dusk", (0.21, 0.22, 0.28))
    sample.spot("moonlight", moon, through, (0.46, 0.58, 0.86), 16, 21)
    sample.point("lamp", (*furniture.LAMP, furniture.BULB), (0.74, 0.55, 0.33))
    sample.point("evening", (-1.6, -1.8, 2.2), (0.15, 0.17, 0.22))
    for side, y in (("left", -0.27), ("right", 0.25)):
        sample.point("lamp-cloth-" + side, (furniture.LAMP[0] + y, furniture.LAMP[1] - 0.06,
                                            furniture.BULB + 0.02), (0.34, 0.26, 0.175))
    sample.point("evening-sky", (-2.2, -2.2, 2.1), (0.17, 0.235, 0.33))
    for number in (2, 3, 4, 5):
        sample.spot("moonlight-%d" % number, moon, through, (0.44, 0.65, 1.0), 16, 21)
    sample.camera((-3.1, -6.9, 1.90), (0.18, 0.60, 0.98), 26)


def main():
    sample = Sample("bedroom")
    declare_materials(sample)
    build_floor()
    build_walls()
    build_mouldings()
    build_window()
    textiles.build(WINDOW, BACK)
    furniture.build(BACK, RIGHT)
    light(sample)
    sample.write(sys.argv[-1])


main()

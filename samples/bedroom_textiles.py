"""What is woven in the bedroom: the bed with its linen and the folded blanket, curtains, and the rug."""

import math

from mathutils import Vector

import bedroom_cloth as cloth
from kit import solids

BED = (1.12, 1.52, 2.02)  # middle, width, length of the mattress
MATTRESS_TOP = 0.50


def build(window, back):
    build_bed(back)
    build_curtains(window, back)
    build_rug((-0.62, -0.42), (1.50, 2.10), 8.0)


# --- the bed ------------------------------------------------------------------------------------------------

def build_bed(back):
    middle, width, length = BED
    head = back - 0.13
    foot = head - length
    centre = 0.5 * (head + foot)
    solids.box("bed-frame", (width + 0.08, length + 0.05, 0.16), "walnut", (middle, centre, 0.20), edge=0.012)
    for name, x in (("left", middle - 0.5 * width + 0.02), ("right", middle + 0.5 * width - 0.02)):
        for place, y in (("head", head - 0.1), ("foot", foot + 0.06)):
            solids.lathe("bed-leg-%s-%s" % (name, place), [(0.0, 0.0), (0.02, 0.0), (0.032, 0.13)], "walnut",
                         16, (x, y, 0.0))
    mattress = solids.box("mattress", (width, length, 0.23), "sheet", (middle, centre, MATTRESS_TOP - 0.115),
                          edge=0.05, segments=4)
    build_headboard(middle, width + 0.14, back - 0.025)
    pillows = build_pillows(middle, head)
    duvet = build_duvet(mattress, middle, width, foot, centre)
    build_blanket(duvet, mattress, middle, foot)
    return pillows


def build_headboard(middle, width, back):
    """Upholstered in upright channels between two posts; open towards the wall, as the wall itself is."""
    low, high, channels, per = 0.22, 1.16, 9, 6
    points = []
    for i in range(9):
        z = low + (high - low) * (1.0 - (1.0 - i / 8) ** 1.6)
        line = []
        for j in range(channels * per + 1):
            bulge = abs(math.sin(math.pi * j / per)) ** 0.6
            top = math.sqrt(max(0.0, 1.0 - max(0.0, (i - 4.6) / 3.8) ** 2))
            line.append(Vector((middle + width * (j / (channels * per) - 0.5),
                                back - 0.045 - 0.028 * bulge * top, z)))
        points.append(line)
    cloth.sheet("headboard", points, 0.05, "velvet", hem=0.6, back=0)
    for name, side in (("left", -1), ("right", 1)):
        solids.box("headboard-post-" + name, (0.05, 0.06, 1.20), "walnut",
                   (middle + side * (0.5 * width + 0.03), back - 0.04, 0.60), edge=0.01)


def build_pillows(middle, head):
    result = []
    for name, x, turn in (("left", middle - 0.37, 4), ("right", middle + 0.37, -5)):
        result.append(cloth.pillow("pillow-back-" + name, (0.68, 0.48, 0.20), "sheet",
                                   (x, head - 0.15, MATTRESS_TOP + 0.25), (66, 0, turn)))
    result.append(cloth.pillow("pillow-front", (0.62, 0.42, 0.19), "linen",
                               (middle - 0.30, head - 0.36, MATTRESS_TOP + 0.19), (52, 3, 12)))
    result.append(cloth.pillow("cushion", (0.42, 0.42, 0.17), "terracotta",
                               (middle + 0.27, head - 0.35, MATTRESS_TOP + 0.20), (58, 12, -14)))
    return result


def build_duvet(mattress, middle, width, foot, centre):
    """Hangs down on both sides and at the foot; its upper end is turned down over itself."""
    side, low, end = 0.29, 0.33, centre + 0.44
    points = cloth.grid((middle - 0.5 * width - side, foot - low, MATTRESS_TOP + 0.05),
                        (width + 2.0 * side, 0, 0), (0, end - foot + low, 0), 40, 32)
    for i, line in enumerate(points):
        for j, point in enumerate(line):
            point.z += 0.012 * math.sin(1.1 * j + 0.4 * i) * math.sin(0.5 * i + 0.25 * j)
            # Rounded corners: a square one would hang down to the floor.
            out_x, out_y = max(0.0, abs(point.x - middle) - 0.5 * width), max(0.0, foot - point.y)
            shrink = 1.0 - 0.42 * (out_x / side) * (out_y / low)
            point.x += math.copysign(out_x * (shrink - 1.0), point.x - middle)
            point.y += out_y * (1.0 - shrink)
    rest = solids.box("duvet-rest", (width + 0.09, 2.09, 0.18), "walnut", (middle, centre, 0.20), edge=0.03)
    held = [(len(points) - 1, j) for j in range(9, 32)]
    points = cloth.drape(points, [mattress, rest], 0.03, frames=60, bending=2.0, pinned=held)
    rest.hide_render = True
    points = cloth.relax(points, 1)
    duvet = cloth.sheet("duvet", points, 0.036, "duvet", back=1)
    turned = [[p + 0.030 * n for p, n in zip(line, others)]
              for line, others in list(zip(points, cloth.normals(points)))[-8:]]
    top = [p + Vector((0, 0.020, -0.022)) for p in turned[-1]]
    cloth.sheet("duvet-turned", turned + [top], 0.034, "linen", back=1)
    return duvet


def build_blanket(duvet, mattress, middle, foot):
    """Folded in two lengthwise and laid across the foot of the bed."""
    length, depth = 2.02, 0.56
    points = cloth.grid((middle - 0.5 * length - 0.03, foot + 0.20, MATTRESS_TOP + 0.16), (length, 0.10, 0),
                        (-0.03, depth, 0), 40, 12)
    points = cloth.drape(points, [duvet, mattress], 0.036, frames=60, bending=3.0)
    points = cloth.relax(points, 2)
    cloth.sheet("blanket-lower", points, 0.020, "blanket", middle=-0.002, front=2, back=1)
    upper = [line[1:-1] for line in points[:-1]]
    cloth.sheet("blanket-upper", upper, 0.020, "blanket", middle=0.020, back=1)


# --- curtains and rug ---------------------------------------------------------------------------------------

def build_curtains(window, back):
    left, right, sill, head = window
    y, top = back - 0.115, head + 0.20
    for name, x0, x1, phase in (("left", left - 0.30, left + 0.02, 0.4),
                                ("right", right - 0.02, right + 0.30, 1.9)):
        points, folds = [], 5
        for i in range(7):
            t = i / 6
            z = 0.03 + t * (top - 0.05)
            spread = 1.0 + 0.16 * (1.0 - t) ** 2
            line = []
            for j in range(folds * 6 + 1):
                u = j / (folds * 6)
                wave = math.sin(math.tau * folds * u + phase + 0.5 * math.sin(3.0 * t + 5.0 * u))
                depth = (0.026 + 0.014 * (1.0 - t)) * wave
                side = 0.010 * math.sin(2.0 * math.tau * folds * u + phase)
                x = 0.5 * (x0 + x1) + (u - 0.5) * (x1 - x0) * spread + side
                line.append(Vector((x, y + depth, z)))
            points.append(line)
        cloth.sheet("curtain-" + name, points, 0.008, "curtain")
    rod = (left - 0.40, right + 0.40)
    solids.tube("curtain-rod", [(rod[0], y, top), (rod[1], y, top)], 0.012, "brass", 12)
    for name, x, turn in (("left", rod[0], -90), ("right", rod[1], 90)):
        solids.lathe("curtain-finial-" + name, [(0.0, -0.005), (0.016, -0.005), (0.016, 0.008),
                                                (0.012, 0.012), (0.022, 0.03), (0.024, 0.042), (0.016, 0.058),
                                                (0.0, 0.066)], "brass", 20, (x, y, top), (0, turn, 0))
    for name, x in (("left", left - 0.36), ("right", right + 0.36)):
        solids.box("curtain-bracket-" + name, (0.02, 0.115, 0.03), "brass", (x, back - 0.055, top - 0.022),
                   edge=0.004)


def build_rug(middle, size, turn):
    """A woven rug of coloured bands with a hem, a little thick, with fringes at its short ends."""
    width, length = size
    edges = (0.0, 0.05, 0.10, 0.125, 0.22)
    materials = ("terracotta", "wool-cream", "wool-blue", "wool-cream", "terracotta")
    cos, sin = math.cos(math.radians(turn)), math.sin(math.radians(turn))

    def ring(inset, z):
        x, y = 0.5 * width - inset, 0.5 * length - inset
        return [(a, b, z) for a, b in ((-x, -y), (x, -y), (x, y), (-x, y))]

    for index, inset in enumerate(edges):
        outer = ring(inset, 0.012)
        if index + 1 < len(edges):
            vertices = outer + ring(edges[index + 1], 0.012)
            faces = [(i, (i + 1) % 4, 4 + (i + 1) % 4, 4 + i) for i in range(4)]
        else:
            vertices, faces = outer, [(0, 1, 2, 3)]
        if index == 0:
            n = len(vertices)
            vertices = vertices + ring(-0.006, 0.001)
            faces += [(n + i, n + (i + 1) % 4, (i + 1) % 4, i) for i in range(4)]
        solids.mesh_object("rug-%d" % index, vertices, faces, materials[index], (*middle, 0.0), (0, 0, turn))
    build_rug_pattern(middle, size, turn, edges[-1])
    tassels = []
    for end in (-1, 1):
        for i in range(44):
            x = -0.5 * width + 0.02 + (width - 0.04) * i / 43
            y = end * (0.5 * length + 0.004)
            bend = 0.012 * math.sin(12.9898 * i + 4.1 * end)
            tassels.append([(x - 0.006, y), (x + 0.006, y), (x + bend + 0.003, y + end * 0.055),
                            (x + bend - 0.003, y + end * 0.055)])
    vertices, faces = [], []
    for points in tassels:
        n = len(vertices)
        vertices += [(x, y, 0.002) for x, y in points] + [(0.25 * sum(p[0] for p in points),
                                                           0.5 * (points[0][1] + points[2][1]), 0.009)]
        ring_order = (0, 1, 2, 3) if points[2][1] > points[0][1] else (3, 2, 1, 0)
        faces += [(n + ring_order[i], n + ring_order[(i + 1) % 4], n + 4) for i in range(4)]
    solids.mesh_object("rug-fringe", vertices, faces, "wool-cream", (*middle, 0.0), (0, 0, turn))


def build_rug_pattern(middle, size, turn, inset):
    """Stepped diamonds along the middle of the field."""
    length = size[1] - 2.0 * inset
    count = 5
    step = length / count
    for kind, material, scale, z in (("large", "wool-cream", 1.0, 0.0130),
                                     ("middle", "wool-blue", 0.66, 0.0140),
                                     ("small", "blanket", 0.30, 0.0150)):
        vertices, faces = [], []
        for i in range(count):
            y = -0.5 * length + (i + 0.5) * step
            n, a, b = len(vertices), 0.31 * scale, 0.47 * step * scale
            vertices += [(0, y - b, z), (a, y, z), (0, y + b, z), (-a, y, z)]
            faces.append((n, n + 1, n + 2, n + 3))
        solids.mesh_object("rug-diamonds-" + kind, vertices, faces, material, (*middle, 0.0), (0, 0, turn))

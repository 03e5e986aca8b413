"""The bedroom's side table with its lamp, bookcase, chair, pictures, and small things."""

import math
import random

from mathutils import Matrix, Vector

import bedroom_cloth as cloth
from kit import solids

LAMP, BULB = (-0.10, 1.64), 0.895  # where the lamp stands, and the height of its bulb
TABLE_TOP = 0.53

BOOK_COLOURS = ((0.55, 0.24, 0.17), (0.18, 0.30, 0.35), (0.70, 0.48, 0.20), (0.78, 0.72, 0.60),
                (0.30, 0.36, 0.26), (0.38, 0.20, 0.22), (0.24, 0.24, 0.28))
PAINTING_COLOURS = ((0.87, 0.76, 0.58), (0.86, 0.55, 0.33), (0.55, 0.50, 0.52), (0.33, 0.42, 0.47),
                    (0.19, 0.29, 0.34), (0.93, 0.85, 0.66))


def build(back, right):
    build_table()
    build_lamp()
    build_things_on_table()
    build_bookcase(right)
    build_chair((-1.62, 0.78), 128.0)
    build_picture(back)
    build_plant((-1.98, 1.55))


# --- side table ---------------------------------------------------------------------------------------------

def build_table():
    x, y = LAMP[0], LAMP[1] + 0.04
    width, depth = 0.46, 0.40
    solids.box("table-top", (width, depth, 0.028), "walnut", (x, y, TABLE_TOP - 0.014), edge=0.008)
    solids.box("table-body", (width - 0.05, depth - 0.04, 0.15), "walnut", (x, y, TABLE_TOP - 0.10),
               edge=0.004)
    solids.box("table-drawer", (width - 0.10, 0.02, 0.105), "walnut",
               (x, y - 0.5 * depth + 0.016, TABLE_TOP - 0.10),
               edge=0.006)
    solids.lathe("table-knob", [(0.007, 0.0), (0.007, 0.012), (0.013, 0.017), (0.015, 0.024), (0.010, 0.031),
                                (0.0, 0.033)], "brass", 20, (x, y - 0.5 * depth + 0.006, TABLE_TOP - 0.10),
                 (90, 0, 0))
    solids.box("table-shelf", (width - 0.07, depth - 0.07, 0.018), "walnut", (x, y, 0.15), edge=0.005)
    for i, (sx, sy) in enumerate(((-1, -1), (1, -1), (1, 1), (-1, 1))):
        solids.lathe("table-leg-%d" % i, [(0.0, 0.0), (0.011, 0.0), (0.020, 0.38)], "walnut", 14,
                     (x + sx * (0.5 * width - 0.05), y + sy * (0.5 * depth - 0.05), 0.0))


def build_lamp():
    x, y = LAMP
    z = TABLE_TOP
    body = [(0.0, 0.0), (0.062, 0.0), (0.066, 0.006), (0.066, 0.014), (0.058, 0.020), (0.050, 0.026),
            (0.064, 0.050), (0.078, 0.085), (0.080, 0.115), (0.070, 0.150), (0.048, 0.182), (0.028, 0.202),
            (0.020, 0.216), (0.022, 0.224), (0.0, 0.226)]
    solids.lathe("lamp-body", body, "glaze", 32, (x, y, z), crease=50.0)
    solids.lathe("lamp-neck", [(0.017, 0.218), (0.017, 0.228), (0.009, 0.234), (0.009, 0.285), (0.017, 0.290),
                               (0.017, 0.318), (0.0, 0.320)], "brass", 20, (x, y, z))
    solids.sphere("lamp-bulb", 0.026, "shade", (x, y, z + 0.338), 14, 7)
    low, high, r0, r1 = BULB - 0.095, BULB + 0.125, 0.165, 0.108
    count = 40
    vertices = [((r * math.cos(math.tau * i / count)), (r * math.sin(math.tau * i / count)), h)
                for r, h in ((r0, low), (0.5 * (r0 + r1) - 0.004, 0.5 * (low + high)),
                             (r1, high)) for i in range(count)]
    faces = [(k * count + i, k * count + (i + 1) % count, (k + 1) * count + (i + 1) % count,
              (k + 1) * count + i) for k in range(2) for i in range(count)]
    outside = solids.smooth(solids.mesh_object("lamp-shade", vertices, faces, "shade", (x, y, 0)), 180.0)
    shine_through(outside)
    solids.smooth(solids.mesh_object("lamp-shade-inside", vertices, [tuple(reversed(f)) for f in faces],
                                     "shade", (x, y, 0)), 180.0)
    for name, radius, height in (("low", r0, low), ("high", r1, high)):
        solids.tube("lamp-hoop-" + name, [(radius * math.cos(a), radius * math.sin(a), height)
                                          for a in (math.tau * i / 40 for i in range(40))],
                    0.004, "brass", 4, True, (x, y, 0))
    for i in range(3):
        a = math.tau * (i / 3 + 0.08)
        solids.tube("lamp-spoke-%d" % i, [(0.014 * math.cos(a), 0.014 * math.sin(a), z + 0.30),
                                          (0.107 * math.cos(a), 0.107 * math.sin(a),
                                           high - 0.025)], 0.0022, "brass", 6,
                    location=(x, y, 0))


def shine_through(obj):
    """Turns the normals inwards, to where the bulb is: the cloth is lit from behind."""
    data = obj.data
    data.use_auto_smooth = True
    data.normals_split_custom_set_from_vertices([-vertex.normal for vertex in data.vertices])


def build_things_on_table():
    x, y = LAMP
    z = TABLE_TOP
    book("table-book-0", (0.135, 0.205, 0.026), 1, Matrix.Translation((x - 0.145, y - 0.04, z + 0.013)) @
         Matrix.Rotation(math.radians(12), 4, "Z"))
    book("table-book-1", (0.12, 0.185, 0.020), 0, Matrix.Translation((x - 0.142, y - 0.045, z + 0.036)) @
         Matrix.Rotation(math.radians(-9), 4, "Z"))
    mug("table-mug", "porcelain", (x + 0.145, y - 0.075, z), -40)
    for i, (size, colour) in enumerate((((0.17, 0.24, 0.03), 4), ((0.16, 0.23, 0.024), 3),
                                        ((0.15, 0.21, 0.03), 5))):
        book("shelf-book-%d" % i, size, colour, Matrix.Translation((x - 0.04, y + 0.03, 0.174 + 0.0285 * i)) @
             Matrix.Rotation(math.radians(7 * i - 6), 4, "Z"))


def mug(name, material, location, turn):
    profile = [(0.0, 0.0), (0.030, 0.0), (0.034, 0.004), (0.040, 0.04), (0.042, 0.086), (0.041, 0.089),
               (0.038, 0.087), (0.036, 0.04), (0.030, 0.010), (0.0, 0.008)]
    solids.lathe(name, profile, material, 22, location, (0, 0, turn), crease=50.0)
    points = [(0.036 + 0.028 * math.sin(math.pi * t), 0.0, 0.020 + 0.050 * t + 0.006 * math.sin(math.tau * t))
              for t in (i / 8 for i in range(9))]
    handle = solids.tube(name + "-handle", points, 0.0055, material, 8, location=location)
    handle.rotation_euler[2] = math.radians(turn)


def book(name, size, colour, place):
    """A bound book lying on its back cover, its spine at -x: boards, rounded spine, and the pages."""
    width, height, thick = size
    board, overhang = 0.0028, 0.004
    half = 0.5 * thick
    outline = [(0.5 * width, -half)]
    outline += [(-0.5 * width + 0.10 * thick - 0.35 * thick * math.cos(a), -half * math.sin(a))
                for a in (math.radians(d) for d in (90, 35, -35, -90))]
    outline += [(0.5 * width, half), (0.5 * width, half - board), (-0.5 * width + 0.12 * thick, half - board),
                (-0.5 * width + 0.12 * thick, board - half), (0.5 * width, board - half)]
    outline = outline[::-1]
    count = len(outline)
    vertices = [place @ Vector((x, side * 0.5 * height, z)) for side in (-1, 1) for x, z in outline]
    faces = [(i, (i + 1) % count, count + (i + 1) % count, count + i) for i in range(count)]
    faces = [tuple(reversed(f)) for f in faces]
    faces += [tuple(reversed(range(count))), tuple(range(count, 2 * count))]
    faces[-2], faces[-1] = tuple(reversed(faces[-2])), tuple(reversed(faces[-1]))
    solids.mesh_object(name, vertices, faces, "book-%d" % colour)
    x0, x1 = -0.5 * width + 0.05 * thick, 0.5 * width - overhang
    y, z = 0.5 * height - overhang, half - 0.6 * board
    corners = [place @ Vector(c) for c in ((x0, -y, -z), (x1, -y, -z), (x1, y, -z), (x0, y, -z),
                                           (x0, -y, z), (x1, -y, z), (x1, y, z), (x0, y, z))]
    solids.mesh_object(name + "-pages", corners, [(0, 1, 5, 4), (1, 2, 6, 5), (2, 3, 7, 6)], "page")


# --- bookcase -----------------------------------------------------------------------------------------------

def build_bookcase(right):
    """Stands at the right wall and looks to -x. It is open towards the wall, as the wall itself is."""
    y0, y1, depth, height, board = -1.30, -0.10, 0.28, 1.92, 0.024
    x = right - 0.5 * depth - 0.02
    middle = 0.5 * (y0 + y1)
    for name, y in (("near", y0), ("far", y1)):
        solids.box("bookcase-side-" + name, (depth, board, height), "oak", (x, y, 0.5 * height), edge=0.004)
    solids.plane("bookcase-back", (height - 0.02, y1 - y0), "panelling",
                 (right - 0.034, middle, 0.5 * height), (0, -90, 0))
    levels = [0.07, 0.46, 0.83, 1.18, 1.51, height - 0.012]
    for i, z in enumerate(levels):
        solids.box("bookcase-board-%d" % i, (depth - 0.01, y1 - y0 - 0.01, board), "oak",
                   (x + 0.003, middle, z), edge=0.004)
    solids.box("bookcase-plinth", (depth - 0.04, y1 - y0 - 0.02, 0.07), "oak", (x + 0.01, middle, 0.032),
               edge=0.003)
    solids.box("bookcase-cornice", (depth + 0.03, y1 - y0 + 0.07, 0.03), "oak",
               (x - 0.005, middle, height + 0.010), edge=0.008)
    dice = random.Random(11)
    gaps = {0: [], 1: [(0.62, 0.86)], 2: [(0.08, 0.30)], 3: [(0.60, 0.90)], 4: [(0.30, 0.52)]}
    for shelf in range(5):
        fill_shelf(dice, shelf, (y0 + 0.03, y1 - 0.03), right, levels[shelf] + 0.5 * board,
                   levels[shelf + 1] - levels[shelf] - board, gaps[shelf])
    front = right - 0.17
    solids.lathe("vase", [(0.0, 0.0), (0.042, 0.0), (0.062, 0.030), (0.074, 0.068), (0.074, 0.100),
                          (0.062, 0.138), (0.040, 0.172), (0.027, 0.200), (0.025, 0.228), (0.035, 0.25),
                          (0.030, 0.25), (0.020, 0.228), (0.018, 0.19), (0.0, 0.185)], "terracotta", 26,
                 (front, -0.40, levels[1] + 0.012), crease=60.0)
    solids.sphere("globe", 0.085, "wool-blue", (front, -1.09, levels[2] + 0.125), 26, 13)
    solids.lathe("globe-foot", [(0.0, 0.0), (0.05, 0.0), (0.05, 0.008), (0.012, 0.016), (0.009, 0.045)],
                 "brass", 24, (front, -1.09, levels[2] + 0.012))
    points = [(0.095 * math.cos(a), 0.0,
               0.095 * math.sin(a)) for a in (math.radians(-85 + 10 * i) for i in range(18))]
    solids.tube("globe-arc", points, 0.004, "brass", 8, location=(front, -1.09,
        levels[2] + 0.125)).rotation_euler = \
        (math.radians(20), 0, math.radians(100))
    for i in range(3):
        solids.box("box-%d" % i, (0.17 - 0.02 * i, 0.23 - 0.03 * i, 0.06), ("book-3", "book-2", "book-0")[i],
                   (front + 0.01, -0.40, levels[3] + 0.043 + 0.061 * i), (0, 0, 5 - 7 * i), edge=0.004)
    solids.lathe("bowl", [(0.0, 0.0), (0.035, 0.0), (0.040, 0.010), (0.085, 0.060), (0.098, 0.085),
                          (0.093, 0.086), (0.078, 0.060), (0.030, 0.018), (0.0, 0.016)], "glaze", 28,
                 (front, -0.80, levels[4] + 0.012), crease=60.0)


def fill_shelf(dice, shelf, span, right, floor, room, gaps):
    """A row of books with their spines to -x; the gaps are parts of the span that stay free."""
    y0, y1 = span
    free = [(y0 + (y1 - y0) * a, y0 + (y1 - y0) * b) for a, b in gaps] + [(y1, y1 + 1.0)]
    y, number = y0, 0
    previous = -1
    while free:
        thick = dice.uniform(0.024, 0.054)
        height = min(room - 0.03, dice.uniform(0.20, 0.30))
        width = dice.uniform(0.14, 0.19)
        start, end = free[0]
        if y + thick > start:
            y = end
            free.pop(0)
            continue
        lean = 0.0
        if y + thick + 0.06 > start and end <= y1:
            lean = -9.0
            y += 0.02
        colour = dice.randrange(len(BOOK_COLOURS))
        if colour == previous:
            colour = (colour + 3) % len(BOOK_COLOURS)
        previous = colour
        lift = 0.5 * height + abs(math.sin(math.radians(lean))) * 0.5 * thick
        place = Matrix.Translation((right - 0.06 - 0.5 * width, y + 0.5 * thick, floor + lift))
        place = place @ Matrix.Rotation(math.radians(lean), 4, "X") @ Matrix.Rotation(math.radians(90), 4,
            "X")
        book("book-%d-%02d" % (shelf, number), (width, height, thick), colour, place)
        number += 1
        y += thick + 0.0015


# --- chair --------------------------------------------------------------------------------------------------

def build_chair(place, turn):
    """A spindle-back chair with turned legs and a cushion; it looks to +x before it is turned."""
    root = Matrix.Translation((*place, 0.0)) @ Matrix.Rotation(math.radians(turn - 180.0), 4, "Z")
    seat = 0.44

    def point(x, y, z):
        return root @ Vector((x, y, z))

    outline = []
    for i in range(40):
        a = math.tau * i / 40
        c, s = math.cos(a), math.sin(a)
        outline.append((0.215 * math.copysign(abs(c) ** 0.62, c),
                        (0.225 - 0.012 * c) * math.copysign(abs(s) ** 0.62, s)))
    vertices = [(x * k, y * k, z) for k, z in ((0.93, seat - 0.034), (1.0, seat - 0.020), (1.0, seat - 0.006),
                                               (0.975, seat)) for x, y in outline]
    faces = [(k * 40 + i, k * 40 + (i + 1) % 40, (k + 1) * 40 + (i + 1) % 40, (k + 1) * 40 + i)
             for k in range(3) for i in range(40)]
    faces += [tuple(reversed(range(40))), tuple(range(120, 160))]
    solids.smooth(solids.mesh_object("chair-seat", [root @ Vector(v) for v in vertices], faces, "oak"), 50.0)

    profile = ((0.0, 0.010), (0.12, 0.014), (0.30, 0.017), (0.34, 0.013), (0.38, 0.019), (0.60, 0.021),
               (0.64, 0.015), (0.68, 0.019), (0.88, 0.016), (1.0, 0.012))
    feet = {}
    for i, (sx, sy) in enumerate(((-1, -1), (1, -1), (1, 1), (-1, 1))):
        low, high = Vector((sx * 0.225, sy * 0.215, 0.0)), Vector((sx * 0.145, sy * 0.150, seat - 0.02))
        turned("chair-leg-%d" % i, root @ low, root @ high, profile, "oak")
        feet[sx, sy] = low.lerp(high, 0.42)
    for i, sy in enumerate((-1, 1)):
        turned("chair-stretcher-%d" % i, root @ feet[-1, sy], root @ feet[1, sy],
               ((0.0, 0.008), (0.5, 0.013), (1.0, 0.008)), "oak")
    turned("chair-stretcher-2", root @ feet[-1, -1].lerp(feet[1, -1], 0.5),
           root @ feet[-1, 1].lerp(feet[1, 1], 0.5),
           ((0.0, 0.008), (0.5, 0.013), (1.0, 0.008)), "oak")

    # The back: a bow of bent wood from seat to seat, with spindles.
    def bow(t):
        a = math.pi * t
        y = 0.205 * math.copysign(abs(math.cos(a)) ** 0.75, math.cos(a))
        z = math.sin(a) ** 0.62
        return Vector((-0.175 - 0.13 * z, y, seat - 0.012 + 0.50 * z))

    solids.tube("chair-bow", [root @ bow(i / 28) for i in range(29)], 0.0125, "oak", 8)
    for i in range(7):
        t = (i + 1) / 8
        top = bow(0.5 - math.asin(max(-1.0, min(1.0, (2 * t - 1)))) / math.pi * 0.80)
        low = Vector((-0.172, 0.150 * (2 * t - 1) * 1.25, seat - 0.012))
        turned("chair-spindle-%d" % i, root @ low, root @ top, ((0.0, 0.0055), (0.3, 0.0085), (1.0, 0.005)),
               "oak", 6)
    pad = cloth.pillow("chair-cushion", (0.36, 0.38, 0.085), "blanket", point(0.015, 0, seat + 0.036),
                       (0, 0, turn - 180.0), plump=1.6, rings=6)
    build_throw(root, seat, bow, pad)


def turned(name, low, high, profile, material, segments=10):
    """A turned stick between two points; the profile's pairs are the place along it and the radius."""
    axis = high - low
    obj = solids.lathe(name, [(0.0, 0.0)] + [(r, t * axis.length) for t, r in profile] + [(0.0, axis.length)],
                       material, segments, low)
    obj.rotation_euler = axis.to_track_quat("Z", "Y").to_euler()
    return obj


def build_throw(root, seat, bow, pad):
    """A scarf over the bow of the chair."""
    points = []
    top = bow(0.42)
    for i in range(15):
        t = i / 14 * 2.0 - 1.0
        t = math.copysign(abs(t) ** 1.5, t)
        line = []
        for j in range(8):
            u = j / 7 - 0.5
            y = top.y + 0.15 * u + 0.012 * math.sin(7.0 * u + 2.0 * t)
            fold = 0.008 * math.sin(14.0 * u + 1.0)
            length = 0.40 if t < 0 else 0.30
            a = min(1.0, abs(t) / 0.14)
            z = top.z + 0.020 - 0.022 * (1.0 - math.cos(0.5 * math.pi * a)) - max(0.0, abs(t) - 0.14) * length
            side = (1.0 if t > 0 else -1.0) * (0.020 * math.sin(0.5 * math.pi * a) + fold * a)
            lean = 0.26 * max(0.0, top.z - z) if t > 0 else 0.10 * max(0.0, top.z - z)
            line.append(root @ Vector((top.x + side + lean + 0.02 * (1 if t > 0 else -1) * a * (abs(t) - 0.1),
                                       y, z)))
        points.append(line)
    cloth.sheet("chair-scarf", points, 0.008, "terracotta")


# --- pictures and plant -------------------------------------------------------------------------------------

def build_picture(back):
    """A framed landscape over the bed: hills in the last light, in shallow layers behind a mount."""
    x, z, width, height = 1.12, 1.70, 0.94, 0.62
    y = back - 0.012
    moulding, depth = 0.035, 0.028
    rings = []
    for inset, out in ((0.0, 0.0), (0.0, depth), (0.008, depth + 0.004), (moulding - 0.006, depth - 0.004),
                       (moulding, 0.006)):
        w, h = 0.5 * width - inset, 0.5 * height - inset
        rings.append([(x + sx * w, back - 0.002 - out, z + sz * h) for sx,
                      sz in ((-1, -1), (1, -1), (1, 1), (-1, 1))])
    vertices = [v for ring in rings for v in ring]
    faces = [(4 * k + i, 4 * k + (i + 1) % 4, 4 * k + 4 + (i + 1) % 4,
              4 * k + 4 + i) for k in range(4) for i in range(4)]
    solids.mesh_object("picture-frame", vertices, faces, "oak")
    w, h, mount = 0.5 * width - moulding + 0.004, 0.5 * height - moulding + 0.004, 0.075
    rim = [(x + sx * a, y, z + sz * b) for a, b in ((w, h), (w - mount, h - mount)) for sx, sz in
           ((-1, -1), (1, -1), (1, 1), (-1, 1))]
    solids.mesh_object("picture-mount", rim, [(i, (i + 1) % 4, 4 + (i + 1) % 4, 4 + i) for i in range(4)],
                       "paint")
    a, b = w - mount + 0.003, h - mount + 0.003
    ridges = ((0, 1.0, 0.0, 0.0, 0.0), (2, 0.08, 0.10, 4.0, 0.4), (1, -0.12, 0.09, 5.5, 2.0),
              (3, -0.34, 0.12, 3.6, 4.1), (4, -0.62, 0.10, 5.0, 0.9))
    for layer, (colour, level, wave, often, phase) in enumerate(ridges):
        depth = y + 0.0045 - 0.0008 * layer
        columns = 1 if layer == 0 else 28
        vertices = []
        for i in range(columns + 1):
            u = i / columns
            ridge = level + wave * (math.sin(often * u * 2.0 + phase) +
                                    0.4 * math.sin(often * 4.3 * u + 2.0 * phase))
            vertices += [(x - a + 2.0 * a * u, depth, z - b), (x - a + 2.0 * a * u, depth,
                z + b * min(1.0, ridge))]
        faces = [(2 * i, 2 * i + 2, 2 * i + 3, 2 * i + 1) for i in range(columns)]
        solids.mesh_object("picture-layer-%d" % layer, vertices, faces, "painting-%d" % colour)
    sun = [(x + 0.13 + 0.050 * math.cos(t), y + 0.0041, z + 0.085 + 0.050 * math.sin(t))
           for t in (math.tau * i / 28 for i in range(28))]
    solids.mesh_object("picture-sun", sun, [tuple(range(28))], "painting-5")


def build_plant(place):
    """A rubber plant in a pot on the floor beside the window."""
    x, y = place
    solids.lathe("plant-pot", [(0.0, 0.0), (0.105, 0.0), (0.112, 0.008), (0.140, 0.232), (0.150, 0.238),
                               (0.150, 0.274), (0.138, 0.276), (0.132, 0.235)], "porcelain", 28, (x, y, 0),
                 crease=50.0)
    solids.lathe("plant-soil", [(0.131, 0.236), (0.06, 0.246), (0.0, 0.25)], "soil", 24, (x, y, 0))
    dice = random.Random(5)
    leaves = {"leaf": ([], []), "leaf-light": ([], [])}
    for stem in range(3):
        lean = math.tau * (stem / 3 + 0.08)
        height = (1.02, 0.80, 0.62)[stem]
        points = []
        for i in range(9):
            t = i / 8
            reach = 0.03 + 0.11 * t * t
            points.append(Vector((x + reach * math.cos(lean), y + reach * math.sin(lean), 0.24 + height * t)))
        solids.tube("plant-stem-%d" % stem, points, 0.007, "leaf", 8)
        count = 8 - stem
        for i in range(count):
            t = 0.30 + 0.70 * i / (count - 1)
            index = min(int(t * 8), 7)
            root = points[index].lerp(points[index + 1], t * 8 - index)
            heading = 2.4 * i + stem * 1.1 + dice.uniform(-0.2, 0.2)
            rise = math.radians(18 + 48 * t * t + dice.uniform(-8, 8))
            size = (0.25 - 0.07 * t) * dice.uniform(0.9, 1.1)
            add_leaf(leaves[("leaf", "leaf-light")[dice.random() < 0.35]], root, heading, rise, size)
    for material, (vertices, faces) in leaves.items():
        solids.smooth(solids.mesh_object("plant-" + material, vertices, faces, material), 60.0)


def add_leaf(into, root, heading, rise, length):
    """A pointed oval, folded along its middle and bent down, with a front and a back."""
    vertices, faces = into
    place = Matrix.Translation(root) @ Matrix.Rotation(heading, 4, "Z") @ Matrix.Rotation(-rise, 4, "Y")
    rows, thick = 6, 0.0025
    first = len(vertices)
    for side in (1, -1):
        for i in range(rows + 1):
            t = i / rows
            half = 0.30 * length * math.sin(math.pi * min(1.0,
                t * 1.02)) ** 0.8 * (1.0 - 0.35 * t) if 0 < t < 1 else 0.0
            half = max(half, 0.002)
            along, drop = 0.03 + length * t, -0.45 * length * t * t
            for k, up in ((-1.0, 0.22), (0.0, 0.0), (1.0, 0.22)):
                vertices.append(place @ Vector((along, k * half, drop + up * half + 0.5 * side * thick)))
    count = 3 * (rows + 1)
    for i in range(rows):
        for k in range(2):
            a = first + 3 * i + k
            front = (a, a + 3, a + 4, a + 1)
            faces += [front, tuple(count + v for v in reversed(front))]
    rim = [first + 3 * i for i in range(rows + 1)] + [first + 3 * rows + 1]
    rim += [first + 3 * i + 2 for i in range(rows, -1, -1)] + [first + 1]
    for a, b in zip(rim, rim[1:] + rim[:1]):
        faces.append((b, a, count + a, count + b))

"""The product's name in solid bevelled letters on a plinth, in a gallery after closing time.

Run as: blender -b --factory-startup -noaudio --python-exit-code 1 -P samples/quorvel.py -- OUT.dae
The letters are TeX Gyre Adventor Bold (Debian package fonts-texgyre, GUST Font License).
"""

import math
import os
import sys

sys.dont_write_bytecode = True
sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))

import bmesh
import bpy
from mathutils import Vector

from kit import solids
from kit.sample import Sample

FONT = "/usr/share/texmf/fonts/opentype/public/tex-gyre/texgyreadventor-bold.otf"

LEFT, RIGHT, FRONT, BACK, HEIGHT = -2.2, 2.2, -2.3, 1.0, 2.4
NICHE_RADIUS, NICHE_DEPTH, NICHE_HEIGHT = 1.12, 0.19, 0.96
MOON_RADIUS = 1.02
PLINTH = (2.72, 0.58, 0.48)
LETTERS_Y = 0.30
KERNING = (5, 3, 3, 7, 0, 3, 0)


# --- the name -----------------------------------------------------------------------------------------------

def letters(name, words, face, side, size, depth, edge, location):
    """Upright letters standing on `location`, their fronts and backs of one material, bevels and sides of the
    other. `size` is that of the font, somewhat more than the height of a tall letter."""
    outline = solids.text(name, words, side, size, depth, edge, FONT, resolution=8, edge_segments=2)
    outline.data.offset = 0.0
    for letter, kerning in zip(outline.data.body_format, KERNING):
        letter.kerning = kerning
    bpy.context.view_layer.update()
    data = bpy.data.meshes.new_from_object(outline.evaluated_get(bpy.context.evaluated_depsgraph_get()))
    bpy.data.objects.remove(outline)
    data.materials.clear()
    obj = solids.add_object(name, data, face, location)
    data.materials.append(bpy.data.materials[side])
    bm = bmesh.new()
    bm.from_mesh(data)
    bmesh.ops.remove_doubles(bm, verts=bm.verts, dist=1e-5)
    bm.normal_update()
    caps = [polygon for polygon in bm.faces if abs(polygon.normal.z) > 0.98]
    inner = [line for line in bm.edges if all(abs(polygon.normal.z) > 0.98 for polygon in line.link_faces)]
    bmesh.ops.beautify_fill(bm, faces=caps, edges=inner)
    base = min(vertex.co.y for vertex in bm.verts)
    for vertex in bm.verts:
        x, y, z = vertex.co
        vertex.co = (x, -z, y - base)
    bm.normal_update()
    for polygon in bm.faces:
        polygon.material_index = 0 if abs(polygon.normal.y) > 0.98 else 1
    for line in bm.edges:
        line.smooth = len({polygon.material_index for polygon in line.link_faces}) == 1
    bm.to_mesh(data)
    bm.free()
    return solids.smooth(obj, 50.0)


# --- the room -----------------------------------------------------------------------------------------------

def quads(name, corners, material):
    """Flat four-sided faces, each given by its corners counter-clockwise as seen from its front."""
    points = [point for quad in corners for point in quad]
    faces = [tuple(range(i, i + 4)) for i in range(0, len(points), 4)]
    return solids.mesh_object(name, points, faces, material)


def walls():
    """Walls and ceiling are seen from inside the room only. The back wall has a round niche."""
    # A disc hangs in the niche, in front of a ring of light that is seen only by its reflection.
    lip, centre = 0.02, (0.0, BACK, NICHE_HEIGHT)

    def back_wall(bm):
        loops = [[(x, BACK, NICHE_HEIGHT + z) for x, z in circle(96, NICHE_RADIUS + lip)],
                 [(LEFT, BACK, 0), (RIGHT, BACK, 0), (RIGHT, BACK, HEIGHT), (LEFT, BACK, HEIGHT)]]
        edges = []
        for loop in loops:
            vertices = [bm.verts.new(point) for point in loop]
            edges += [bm.edges.new(pair) for pair in zip(vertices, vertices[1:] + vertices[:1])]
        bmesh.ops.triangle_fill(bm, edges=edges, use_beauty=True, normal=(0.0, -1.0, 0.0))

    solids.joined_mesh("back-wall", "wall", back_wall)
    # Its first ring lies just behind the wall: the turned points do not fall on the hole's to the last bit.
    edge = [(NICHE_RADIUS + lip + 0.002, -0.0003)]
    edge += [(NICHE_RADIUS + lip * (1.0 - math.sin(a)), lip * (math.cos(a) - 1.0))
             for a in (math.pi * i / 8 for i in range(5))]
    solids.lathe("niche-reveal", [*edge, (NICHE_RADIUS, -NICHE_DEPTH)], "brass", 96, centre, (90, 0, 0))
    back = [(part * NICHE_RADIUS, -NICHE_DEPTH) for part in (1.0, 0.75, 0.0)]
    solids.lathe("niche-back", back, "cream", 96, centre, (90, 0, 0))
    moon = [(MOON_RADIUS, -0.105), (MOON_RADIUS - 0.008, -0.100), (0.75 * MOON_RADIUS, -0.100), (0.0, -0.100)]
    solids.lathe("moon", moon, "petrol", 96, centre, (90, 0, 0))
    strip = [(MOON_RADIUS - 0.04, -0.155), (MOON_RADIUS - 0.075, -0.12)]
    solids.lathe("cove-light", strip, "cove", 96, centre, (90, 0, 0))
    for name, quad in (
            ("left", [(LEFT, FRONT, 0), (LEFT, BACK, 0), (LEFT, BACK, HEIGHT), (LEFT, FRONT, HEIGHT)]),
            ("right", [(RIGHT, BACK, 0), (RIGHT, FRONT, 0), (RIGHT, FRONT, HEIGHT), (RIGHT, BACK, HEIGHT)]),
            ("front", [(RIGHT, FRONT, 0), (LEFT, FRONT, 0), (LEFT, FRONT, HEIGHT), (RIGHT, FRONT, HEIGHT)])):
        quads(name + "-wall", [quad], "wall")
    corners = ((LEFT, BACK), (RIGHT, BACK), (RIGHT, FRONT), (LEFT, FRONT))
    quads("ceiling", [[(x, y, HEIGHT) for x, y in corners]], "ceiling")
    border("skirting", [(RIGHT, BACK), (RIGHT, FRONT), (LEFT, FRONT), (LEFT, BACK)],
           [(0.006, 0.12), (0.006, 0.0)], "skirting")


def border(name, corners, profile, material):
    """Sweeps (distance from the wall, z) points, top to bottom, along walls that turn at right angles; the
    room lies to the right of the path, which is closed."""
    points = []
    for before, (x, y), after in zip(corners[-1:] + corners[:-1], corners, corners[1:] + corners[:1]):
        inward = Vector((0.0, 0.0))
        for (x0, y0), (x1, y1) in ((before, (x, y)), ((x, y), after)):
            along = Vector((x1 - x0, y1 - y0)).normalized()
            inward += Vector((along.y, -along.x))
        points += [(x + inward.x * out, y + inward.y * out, z) for out, z in profile]
    steps, count = len(profile), len(points)
    faces = [(at + i, at + i + 1, (at + steps + i + 1) % count, (at + steps + i) % count)
             for at in range(0, count, steps) for i in range(steps - 1)]
    return solids.mesh_object(name, points, faces, material)


def floor():
    """Boards in three tones, laid in a broken bond."""
    width, length = 0.215, 1.35
    boards = {tone: [] for tone in ("oak", "oak-light", "oak-dark")}
    tones = ("oak", "oak-light", "oak", "oak-dark", "oak", "oak-dark", "oak-light")
    rows = math.ceil((BACK - FRONT) / width)
    shifts = (0.0, 0.83, 0.37, 1.11, 0.55)
    # Boards are cut wherever one of any row ends, so that no corner meets the middle of an edge.
    ends = {round(LEFT - shift + length * i, 4) for shift in shifts for i in range(1, 5)}
    cuts = sorted({LEFT, RIGHT, *(x for x in ends if LEFT < x < RIGHT)})
    for row in range(rows):
        y0, y1 = FRONT + row * width, min(FRONT + (row + 1) * width, BACK)
        for x0, x1 in zip(cuts, cuts[1:]):
            piece = int((0.5 * (x0 + x1) - LEFT + shifts[row % len(shifts)]) / length)
            tone = tones[(3 * row + 2 * piece + row * row) % len(tones)]
            boards[tone].append([(x0, y0, 0), (x1, y0, 0), (x1, y1, 0), (x0, y1, 0)])
    for tone, corners in boards.items():
        quads("floor-" + tone, corners, tone)


def plinth():
    wide, deep, high = PLINTH
    solids.box("plinth-foot", (wide - 0.10, deep - 0.10, 0.07), "skirting", (0, LETTERS_Y, 0.032))
    solids.box("plinth", (wide, deep, high - 0.06), "plaster", (0, LETTERS_Y, 0.03 + 0.5 * high), edge=0.012,
               segments=3)
    solids.box("plate", (0.30, 0.016, 0.09), "brass", (0, LETTERS_Y - 0.5 * deep, 0.37), edge=0.004)


# --- furniture ----------------------------------------------------------------------------------------------

def rectangle(x, y, wide, high, depth):
    """Corners of an upright rectangle that faces -y."""
    return [(x + 0.5 * sx * wide, -depth, y + 0.5 * sy * high)
            for sx, sy in ((-1, -1), (1, -1), (1, 1), (-1, 1))]


def circle(count, radius):
    return [(radius * math.cos(math.tau * i / count), radius * math.sin(math.tau * i / count))
            for i in range(count)]


def picture(name, at, facing, size, field, shapes):
    """A framed painting centred on `at`, turned by `facing` degrees from facing -y, without a back: the walls
    are seen through from outside. `shapes` lie on the coloured field: (x, y, width, height, material); a disc
    has no height."""
    holder = bpy.data.objects.new(name, None)
    bpy.context.scene.collection.objects.link(holder)
    holder.location, holder.rotation_euler = at, (0.0, 0.0, math.radians(facing))
    wide, high = size
    loops = [rectangle(0.0, 0.0, wide + 2.0 * out, high + 2.0 * out, depth)
             for out, depth in ((-0.004, 0.010), (0.006, 0.014), (0.036, 0.014), (0.062, 0.003))]
    faces = [(4 * r + i, 4 * r + 4 + i, 4 * r + 4 + (i + 1) % 4, 4 * r + (i + 1) % 4)
             for r in range(len(loops) - 1) for i in range(4)]
    parts = [solids.mesh_object(name + "-frame", [point for loop in loops for point in loop], faces, "frame"),
             quads(name + "-canvas", [rectangle(0.0, 0.0, wide, high, 0.012)], field)]
    for i, (x, y, w, h, material) in enumerate(shapes):
        depth = 0.016 + 0.004 * i
        if h is None:
            outline = [(x + dx, -depth, y + dz) for dx, dz in circle(48, 0.5 * w)]
        else:
            outline = rectangle(x, y, w, h, depth)
        face = tuple(range(len(outline)))
        parts.append(solids.mesh_object("%s-shape-%d" % (name, i), outline, [face], material))
    for part in parts:
        part.parent = holder


def bench(x, y, turn):
    holder = bpy.data.objects.new("bench", None)
    bpy.context.scene.collection.objects.link(holder)
    holder.location, holder.rotation_euler = (x, y, 0.0), (0.0, 0.0, math.radians(turn))
    parts = [solids.box("bench-frame", (1.16, 0.36, 0.045), "oak-dark", (0, 0, 0.285), (0, 0, 0), 0.008, 2)]
    for i in (-1, 0, 1):
        parts.append(solids.box("bench-cushion-%d" % (i + 2), (0.376, 0.37, 0.085), "leather",
                                (0.384 * i, 0, 0.345), edge=0.030, segments=4))
    leg = [(0.0, 0.0), (0.013, 0.0), (0.021, 0.27), (0.0, 0.27)]
    for side, sx in (("left", -1), ("right", 1)):
        for end, sy in (("front", -1), ("back", 1)):
            parts.append(solids.lathe("bench-leg-%s-%s" % (end, side), leg, "oak-dark", 16,
                                      (0.48 * sx, 0.125 * sy, 0.0), (4 * sy, -4 * sx, 0)))
    for part in parts:
        part.parent = holder


def track_head(name, at, aim):
    """A spotlight can that hangs from the track and points to `aim`. Returns where its light comes out."""
    top = Vector((at[0], at[1], HEIGHT - 0.05))
    centre = top - Vector((0.0, 0.0, 0.15))
    direction = (Vector(aim) - centre).normalized()
    solids.tube(name + "-stem", [tuple(top), tuple(centre)], 0.010, "metal", 8)
    profile = [(0.0, -0.085), (0.035, -0.085), (0.048, -0.07), (0.052, 0.085), (0.046, 0.085), (0.040, 0.05),
               (0.0, 0.045)]
    can = solids.lathe(name + "-can", solids.rounded(profile, 0.008, 2), "metal", 28, tuple(centre))
    can.rotation_euler = direction.to_track_quat("Z", "Y").to_euler()
    lens = [(0.0, 0.048), (0.036, 0.050), (0.0, 0.062)]
    bulb = solids.lathe(name + "-lens", lens, "lens", 20, tuple(centre))
    bulb.rotation_euler = can.rotation_euler
    return tuple(round(x, 3) for x in centre + direction * 0.20)


def main():
    sample = Sample("quorvel")
    sample.material("wall", (0.74, 0.71, 0.66), (0.0, 0.0, 0.0))
    sample.material("cream", (0.92, 0.80, 0.58), (0.02, 0.02, 0.02))
    sample.material("ceiling", (0.80, 0.78, 0.74), (0.0, 0.0, 0.0))
    sample.material("skirting", (0.20, 0.19, 0.18))
    sample.material("oak", (0.60, 0.42, 0.27), (0.08, 0.07, 0.06), 20)
    sample.material("oak-light", (0.65, 0.47, 0.31), (0.08, 0.07, 0.06), 20)
    sample.material("oak-dark", (0.53, 0.36, 0.22), (0.08, 0.07, 0.06), 20)
    sample.material("plaster", (0.86, 0.84, 0.79), (0.05, 0.05, 0.05))
    sample.material("ivory", (0.95, 0.91, 0.82), (0.12, 0.12, 0.11), 30)
    sample.material("brass", (0.84, 0.60, 0.25), (0.30, 0.25, 0.14), 30)
    sample.material("frame", (0.16, 0.14, 0.13), (0.10, 0.10, 0.10), 24)
    sample.material("canvas", (0.88, 0.84, 0.76), (0.02, 0.02, 0.02))
    sample.material("vermilion", (0.80, 0.30, 0.19), (0.04, 0.04, 0.04))
    sample.material("petrol", (0.13, 0.33, 0.38), (0.04, 0.04, 0.04))
    sample.material("blush", (0.89, 0.68, 0.58), (0.04, 0.04, 0.04))
    sample.material("leather", (0.68, 0.36, 0.23), (0.14, 0.12, 0.11), 22)
    sample.material("metal", (0.14, 0.14, 0.15), (0.20, 0.20, 0.20), 30)
    sample.material("lens", (0.60, 0.56, 0.48), ambient=(1.0, 0.95, 0.82))
    sample.material("cove", (0.60, 0.50, 0.34), ambient=(1.0, 0.86, 0.62))

    walls()
    floor()
    plinth()
    letters("Quorvel", "Quorvel", "ivory", "brass", 0.93, 0.23, 0.011, (0.0, LETTERS_Y, PLINTH[2] - 0.002))
    picture("red-sun", (RIGHT, -0.75, 1.35), -90, (0.78, 1.02), "canvas",
            [(0.0, -0.36, 0.66, 0.18, "petrol"), (0.05, 0.12, 0.50, None, "vermilion"),
             (-0.16, -0.05, 0.10, 0.62, "frame")])
    picture("harbour", (LEFT, -0.75, 1.35), 90, (1.10, 0.80), "blush",
            [(0.0, -0.23, 0.98, 0.22, "petrol"), (0.22, 0.02, 0.34, 0.28, "canvas"),
             (-0.28, 0.15, 0.26, None, "brass")])
    picture("stack", (0.0, FRONT, 1.35), 180, (1.25, 0.85), "petrol",
            [(-0.34, -0.08, 0.30, 0.52, "blush"), (0.00, 0.02, 0.30, 0.62, "vermilion"),
             (0.34, -0.12, 0.30, 0.44, "canvas")])
    bench(-0.98, -1.00, 16)

    solids.box("track", (3.2, 0.035, 0.035), "metal", (0.0, -1.55, HEIGHT - 0.035))
    key_aim, side_aim, wash_aim = (0.0, LETTERS_Y, 0.75), (0.25, LETTERS_Y, 0.75), (0.0, BACK, 1.3)
    key = track_head("key", (-1.15, -1.55), key_aim)
    side = track_head("side", (1.30, -1.55), side_aim)
    wash = track_head("wash", (0.1, -1.55), wash_aim)
    sample.camera((0.95, -4.60, 1.42), (0.0, 0.2, 0.86), 28.5)
    sample.ambient("room-light", (0.31, 0.32, 0.36))
    sample.spot("key-spot", key, key_aim, (0.62, 0.56, 0.47), 40.0, 86.0)
    sample.spot("side-spot", side, side_aim, (0.22, 0.27, 0.34), 40.0, 86.0)
    sample.spot("wash", wash, wash_aim, (0.24, 0.22, 0.18), 46.0, 78.0, shadow=False)
    sample.write(sys.argv[-1])


main()

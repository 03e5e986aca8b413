"""A still life of solids on a draped round table, in a reeded room whose colours light them from the sides.

Run as: blender -b --factory-startup -noaudio --python-exit-code 1 -P samples/objects.py -- OUT.dae
"""

import math
import os
import sys

sys.dont_write_bytecode = True
sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))

import bmesh
import bpy
from mathutils import Matrix, Vector

from kit import solids
from kit.sample import Sample

TABLE_RADIUS, TABLE_TOP = 0.78, 0.46
# The room reaches further towards the first view than behind the table: so even at 12:5 that view passes
# inside of the flanks of the near reeds.
ROOM_CENTRE, ROOM_RADIUS, ROOM_HEIGHT = (0.0, -0.38), 2.0, 1.95
REEDS = 60

# The colours of the room, clockwise as the table sees it, in equal steps from behind the first view's back.
# The reeds run evenly from each to the next.
ROOM_COLOURS = [(0.80, 0.70, 0.56), (0.82, 0.52, 0.38), (0.78, 0.38, 0.27), (0.84, 0.64, 0.48),
                (0.80, 0.76, 0.66), (0.45, 0.62, 0.60), (0.20, 0.42, 0.47), (0.45, 0.58, 0.55)]


# --- resting on something -----------------------------------------------------------------------------------

def spin(obj, angle):
    turned = Matrix.Rotation(angle, 3, "Z") @ obj.rotation_euler.to_matrix()
    obj.rotation_euler = turned.to_euler()
    return obj


def rest(obj, x, y, z, turn=0.0, sink=0.002):
    """Moves the object so that its lowest point, after a turn about z, lies on the height z above (x, y)."""
    spin(obj, math.radians(turn))
    bpy.context.view_layer.update()
    mesh = obj.evaluated_get(bpy.context.evaluated_depsgraph_get()).to_mesh()
    turned = obj.rotation_euler.to_matrix()
    lowest = min((turned @ vertex.co).z for vertex in mesh.vertices)
    obj.location = (x, y, z - lowest - sink)
    return obj


def face_down(obj, direction):
    """Turns the object so that `direction`, in its own coordinates, points to the floor."""
    obj.rotation_euler = Vector(direction).rotation_difference(Vector((0.0, 0.0, -1.0))).to_euler()
    return obj


def heading(obj, direction):
    """Turns the object about z so that `direction`, in its own coordinates, points along +x on the map."""
    x, y, _ = obj.rotation_euler.to_matrix() @ Vector(direction)
    return spin(obj, -math.atan2(y, x))


# --- solids of this scene -----------------------------------------------------------------------------------

def circle(count, radius, start=0.0):
    return [(radius * math.cos(start + math.tau * i / count), radius * math.sin(start + math.tau * i / count))
            for i in range(count)]


def grid(name, rows, material, closed_rows=False, crease=180.0):
    """A surface through rows of points, each row closed; with open rows, both ends are capped."""
    sides = len(rows[0])
    faces = []
    for r in range(len(rows) if closed_rows else len(rows) - 1):
        low, high = r * sides, (r + 1) % len(rows) * sides
        faces += [(low + i, low + (i + 1) % sides, high + (i + 1) % sides, high + i) for i in range(sides)]
    if not closed_rows:
        last = (len(rows) - 1) * sides
        faces += [tuple(reversed(range(sides))), tuple(range(last, last + sides))]
    points = [point for row in rows for point in row]
    return solids.smooth(solids.mesh_object(name, points, faces, material), crease)


def ring(name, radius, thickness, material, steps=64, sides=22):
    rows = []
    for i in range(steps):
        a = math.tau * i / steps
        rows.append([((radius + thickness * math.cos(b)) * math.cos(a),
                      (radius + thickness * math.cos(b)) * math.sin(a), thickness * math.sin(b))
                     for b in (math.tau * -j / sides for j in range(sides))])
    return grid(name, rows, material, closed_rows=True)


def trefoil(name, size, thickness, material, steps=132, sides=18):
    """The knot that winds twice around a torus while it goes three times through its hole."""
    def centre(t):
        around = 1.0 + 0.46 * math.cos(3.0 * t)
        x, y, z = around * math.cos(2.0 * t), around * math.sin(2.0 * t), 0.46 * math.sin(3.0 * t)
        return size * Vector((x, y, z))

    rows = []
    for i in range(steps):
        t = math.tau * i / steps
        tangent = (centre(t + 1e-4) - centre(t - 1e-4)).normalized()
        core = Vector((math.cos(2.0 * t), math.sin(2.0 * t), 0.0)) * size
        side = centre(t) - core
        side = (side - tangent * side.dot(tangent)).normalized()
        other = tangent.cross(side)
        rows.append([tuple(centre(t) + thickness * (math.cos(b) * side + math.sin(b) * other))
                     for b in (math.tau * j / sides for j in range(sides))])
    return grid(name, rows, material, closed_rows=True)


def twisted_prism(name, sides, bottom, top, height, twist, material, levels=36):
    """A prism with rounded edges that turns by `twist` degrees and narrows on its way up."""
    def section(radius, z, angle):
        corners = circle(sides, radius, angle)
        loop = solids.rounded([corners[-1], *corners, corners[0]], 0.16 * radius, 3)[1:-1]
        return [(x, y, z) for x, y in loop]

    rows, edge = [], 0.006
    for i in range(levels + 1):
        t = i / levels
        radius, angle = bottom + (top - bottom) * t, math.radians(twist) * t
        if i == 0:
            rows.append(section(radius - edge, 0.0, angle))
        rows.append(section(radius, edge + (height - 2.0 * edge) * t, angle))
    rows.append(section(top - edge, height, math.radians(twist)))
    return grid(name, rows, material, crease=38.0)


def gear(name, teeth, radius, thickness, material):
    """Lies flat around its own centre: a rim with teeth, a thinner web with round windows, a bored hub."""
    per_tooth = 8
    depth, half, edge = 0.17 * radius, 0.5 * thickness, 0.05 * thickness

    def outline(i):
        phase = i % per_tooth
        return radius - (0.0, 0.0, 0.0, 0.22, 0.85, 1.0, 0.85, 0.22)[phase] * depth

    def angle(i):
        shift = (0.0, 0.0, 0.0, 0.1, 0.15, 0.0, -0.15, -0.1)[i % per_tooth]
        return math.tau * (i + shift) / (teeth * per_tooth)

    count = teeth * per_tooth
    rim, hub, bore, web = 0.70 * radius, 0.33 * radius, 0.17 * radius, 0.45 * half
    profile = [(bore, -half + edge), (bore + edge, -half), (hub - edge, -half), (hub, -half + edge),
               (hub + edge, -web), (rim - edge, -web), (rim, -half + edge), (rim + edge, -half),
               (None, -half), (0.0, -half + edge)]
    profile += [(r, -z) for r, z in reversed(profile)]
    rows = []
    for r, z in profile:
        radii = [outline(i) - (edge if r is None else 0.0) if not r else r for i in range(count)]
        rows.append([(radii[i] * math.cos(angle(i)), radii[i] * math.sin(angle(i)), z) for i in range(count)])
    webs = (profile.index((hub + edge, -web)), profile.index((rim - edge, web)))
    windows = [[(x + dx, y + dy) for dx, dy in circle(20, 0.125 * radius)]
               for x, y in circle(5, 0.515 * radius, math.tau / 10)]

    def build(bm):
        vertices = [[bm.verts.new(point) for point in row] for row in rows]
        for r, row in enumerate(vertices):
            above = vertices[(r + 1) % len(rows)]
            if r not in webs:
                bands(bm, row, above)
        holes = [[[bm.verts.new((x, y, z)) for x, y in window] for window in windows] for z in (-web, web)]
        for low, high in zip(*holes):
            bands(bm, high, low)
        for side, loops in zip((0, 1), holes):
            loops = loops + [vertices[webs[side]], vertices[webs[side] + 1]]
            edges = [bm.edges.get(pair) or bm.edges.new(pair)
                     for loop in loops for pair in zip(loop, loop[1:] + loop[:1])]
            bmesh.ops.triangle_fill(bm, edges=edges, use_beauty=True, normal=(0.0, 0.0, 2.0 * side - 1.0))
        bmesh.ops.recalc_face_normals(bm, faces=bm.faces)

    return solids.smooth(solids.joined_mesh(name, material, build), 30.0)


def bands(bm, low, high):
    for i, j in zip(range(len(low)), [*range(1, len(low)), 0]):
        bm.faces.new((low[i], low[j], high[j], high[i]))


def gem(name, radius, materials):
    """A brilliant: an eight-sided table, a crown of kites, a girdle of sixteen sides, a pointed pavilion.
    The facets take turns between the materials, for the sparkle."""
    def level(count, r, z, shift=0.0):
        return [(x, y, radius * z) for x, y in circle(count, radius * r, math.tau * shift / count)]

    points = [*level(8, 0.56, 0.36), *level(8, 0.815, 0.215, 0.5), *level(16, 1.0, 0.04),
              *level(16, 1.0, -0.04), *level(8, 0.42, -0.53, 0.5), (0.0, 0.0, -0.84 * radius)]

    def build(bm):
        vertices = [bm.verts.new(point) for point in points]
        bmesh.ops.convex_hull(bm, input=vertices)
        bmesh.ops.dissolve_limit(bm, angle_limit=math.radians(1.0), verts=bm.verts, edges=bm.edges)
        bmesh.ops.recalc_face_normals(bm, faces=bm.faces)

    obj = solids.joined_mesh(name, materials[0], build)
    for material in materials[1:]:
        obj.data.materials.append(bpy.data.materials[material])
    for face in obj.data.polygons:
        sector = round(math.atan2(face.center.y, face.center.x) / (math.tau / 16))
        level = round(6.0 * face.normal.z)
        face.material_index = (5 * sector + 2 * level) % len(materials) if abs(face.normal.z) < 0.99 else 0
    down = min(obj.data.polygons, key=lambda face: face.center.z).normal.copy()
    solids.smooth(solids.bevel(obj, 0.025 * radius, 1, 5.0), 2.0)
    return heading(face_down(obj, down), (0.0, 0.0, 1.0))


def icosahedron(name, radius, material):
    obj = solids.joined_mesh(name, material,
                             lambda bm: bmesh.ops.create_icosphere(bm, subdivisions=1, radius=radius))
    down = obj.data.polygons[0].normal.copy()
    return face_down(solids.bevel(obj, 0.035 * radius, 2, 20.0), down)


# --- the table and the room ---------------------------------------------------------------------------------

def tablecloth(name, material, around=168, drop=12):
    """A round cloth that lies flat on the table, bends over its edge and falls to the floor in folds."""
    def fold(a):
        wave = math.cos(17 * a + 0.9 * math.sin(2 * a + 0.4) + 0.6 * math.cos(5 * a))
        return (0.5 + 0.5 * wave) ** 2.2 * (0.78 + 0.22 * math.cos(3 * a + 1.0)) - 0.30

    bend = 0.035
    rows = [[(r * TABLE_RADIUS, TABLE_TOP)] * around for r in (0.5, 0.8)]
    rows += [[(TABLE_RADIUS - bend + bend * math.sin(b), TABLE_TOP - bend + bend * math.cos(b))] * around
             for b in (0.0, math.pi / 8, math.pi / 4, math.pi * 3 / 8)]
    fall = TABLE_TOP - bend + 0.006
    for i in range(drop + 1):
        t = i / drop
        z = TABLE_TOP - bend - fall * t
        swing = 0.15 * t ** 1.1 / (0.45 + 0.55 * t)
        mean = TABLE_RADIUS + 0.03 * t
        rows.append([(mean + swing * fold(math.tau * j / around), z) for j in range(around)])
    points, faces = [(0.0, 0.0, TABLE_TOP)], []
    for row in rows:
        points += [(r * math.cos(math.tau * j / around), r * math.sin(math.tau * j / around), z)
                   for j, (r, z) in enumerate(row)]
    faces += [(0, 1 + j, 1 + (j + 1) % around) for j in range(around)]
    for r in range(len(rows) - 1):
        low, high = 1 + r * around, 1 + (r + 1) * around
        faces += [(low + j, high + j, high + (j + 1) % around, low + (j + 1) % around) for j in range(around)]
    return solids.smooth(solids.mesh_object(name, points, faces, material), 180.0)


def room(sample):
    """A floor and a wall of upright half-round reeds, both seen from inside only, so that the room is open
    from wherever the camera stands."""
    sample.material("floor", (0.62, 0.57, 0.50))
    solids.lathe("floor", [(ROOM_RADIUS + 0.08, 0.0), (ROOM_RADIUS * 0.75, 0.0), (0.3, 0.0)], "floor", 64,
                 (*ROOM_CENTRE, 0.0))
    steps, depth = 6, 0.045
    for k in range(REEDS):
        middle = -math.pi / 2 - math.tau * k / REEDS
        x, y = (c + ROOM_RADIUS * f(middle) for c, f in zip(ROOM_CENTRE, (math.cos, math.sin)))
        place = (-0.25 - math.atan2(y, x) / math.tau) % 1.0 * len(ROOM_COLOURS)
        low, t = int(place) % len(ROOM_COLOURS), place % 1.0
        high = (low + 1) % len(ROOM_COLOURS)
        colour = [a + (b - a) * t for a, b in zip(ROOM_COLOURS[low], ROOM_COLOURS[high])]
        material = sample.material("reed-%02d" % k, tuple(round(c, 3) for c in colour), (0.02, 0.02, 0.02))
        start = middle - math.tau * 0.5 / REEDS
        points, faces = [], []
        for i in range(steps + 1):
            u = i / steps
            a = start + math.tau * u / REEDS
            r = ROOM_RADIUS + 0.02 - depth * math.sqrt(1.0 - (2.0 * u - 1.0) ** 2 * 0.98)
            points += [(r * math.cos(a), r * math.sin(a), z) for z in (-0.005, ROOM_HEIGHT)]
        faces = [(2 * i, 2 * i + 1, 2 * i + 3, 2 * i + 2) for i in range(steps)]
        reed = solids.mesh_object("reed-%02d" % k, points, faces, material, (*ROOM_CENTRE, 0.0))
        solids.smooth(reed, 180.0)


def still_life(sample):
    sample.material("linen", (0.86, 0.83, 0.77), (0.02, 0.02, 0.02))
    sample.material("ivory", (0.90, 0.87, 0.80), (0.10, 0.10, 0.10), 24)
    sample.material("plaster", (0.84, 0.80, 0.74), (0.05, 0.05, 0.05), 12)
    sample.material("terracotta", (0.76, 0.36, 0.24), (0.10, 0.08, 0.07), 20)
    sample.material("ochre", (0.87, 0.63, 0.25), (0.14, 0.12, 0.08), 28)
    sample.material("teal", (0.13, 0.42, 0.46), (0.14, 0.16, 0.16), 32)
    sample.material("sage", (0.56, 0.67, 0.58), (0.08, 0.08, 0.08), 20)
    sample.material("blush", (0.88, 0.66, 0.58), (0.10, 0.09, 0.09), 24)
    sample.material("ruby-bright", (0.86, 0.30, 0.32), (0.30, 0.26, 0.26), 48)
    sample.material("ruby", (0.70, 0.14, 0.18), (0.30, 0.26, 0.26), 48)
    sample.material("ruby-dark", (0.50, 0.07, 0.12), (0.30, 0.26, 0.26), 48)
    tablecloth("tablecloth", "linen")

    z = TABLE_TOP
    drum = solids.rounded([(0.0, 0.0), (0.20, 0.0), (0.20, 0.14), (0.0, 0.14)], 0.012, 3)
    solids.lathe("drum", drum, "plaster", 64, (0.19, 0.27, z - 0.002))
    knot = trefoil("trefoil-knot", 0.134, 0.049, "teal")
    knot.rotation_euler = (math.radians(84), 0.0, 0.0)
    rest(knot, 0.19, 0.27, z + 0.138, -12)

    rest(twisted_prism("twisted-prism", 4, 0.112, 0.082, 0.62, 150, "ivory"), -0.17, 0.33, z, 20)
    cone = solids.rounded([(0.0, 0.0), (0.150, 0.0), (0.0, 0.40)], 0.014, 4)
    rest(solids.lathe("cone", cone[:-1] + [(0.012, 0.370), (0.0, 0.376)], "ochre", 56), 0.54, 0.14, z)
    rest(solids.sphere("sphere", 0.170, "terracotta", segments=48, rings=24), -0.43, 0.04, z)
    rest(ring("torus", 0.130, 0.043, "blush"), 0.47, -0.22, z)
    rest(solids.sphere("marble", 0.066, "ivory", segments=36, rings=18), 0.47, -0.22, z, sink=0.001)
    rest(icosahedron("icosahedron", 0.135, "sage"), 0.18, -0.16, z, 20)
    rest(gem("gem", 0.100, ("ruby-bright", "ruby", "ruby-dark")), 0.03, -0.42, z, -158)
    rod = solids.rounded([(0.0, 0.0), (0.060, 0.0), (0.060, 0.30), (0.0, 0.30)], 0.010, 3)
    cylinder = solids.lathe("cylinder", rod, "plaster", 40)
    cylinder.rotation_euler = (math.radians(90), 0.0, 0.0)
    rest(cylinder, -0.36, -0.28, z, 64)
    rest(solids.box("cube", (0.10, 0.10, 0.10), "teal", edge=0.007, segments=3), 0.27, -0.47, z, 28)
    rest(solids.sphere("bead", 0.034, "ochre", segments=28, rings=14), -0.17, -0.52, z, sink=0.001)
    wheel = gear("gear", 16, 0.155, 0.055, "ochre")
    wheel.rotation_euler = (math.radians(74), 0.0, 0.0)
    rest(wheel, -0.14, 0.10, z, -10)


def main():
    sample = Sample("objects")
    sample.camera((0.30, -3.05, 1.42), (0.02, 0.0, 0.62), 28.0)
    sample.ambient("room-light", (0.30, 0.29, 0.29))
    sample.spot("window", (-1.20, -1.15, 2.20), (0.05, 0.02, 0.50), (0.80, 0.74, 0.64), 40.0, 74.0)
    sample.point("cool-side", (1.30, -0.50, 1.20), (0.10, 0.17, 0.20))
    sample.point("warm-side", (-1.25, 0.55, 1.00), (0.20, 0.11, 0.07))
    room(sample)
    still_life(sample)
    sample.write(sys.argv[-1])


main()

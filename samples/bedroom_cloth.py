"""Cloth for the bedroom: sheets with two sides and a rounded hem, and how they are draped over things.

The points of a cloth are rows of vectors; columns to the right and rows upwards show its front.
"""

import math

import bpy
from mathutils import Vector

from kit import solids


def grid(origin, along_columns, along_rows, columns, rows):
    """Points of a parallelogram, `columns` by `rows` cells."""
    origin, s, t = Vector(origin), Vector(along_columns), Vector(along_rows)
    return [[origin + s * (j / columns) + t * (i / rows) for j in range(columns + 1)]
            for i in range(rows + 1)]


def normals(points):
    def around(line, k):
        return line[min(k + 1, len(line) - 1)] - line[max(k - 1, 0)]

    turned = list(zip(*points))
    return [[around(points[i], j).cross(around(turned[j], i)).normalized() for j in range(len(points[0]))]
            for i in range(len(points))]


def sheet(name, points, thickness, material, hem=1.0, middle=0.0, front=None, back=None):
    """A solid around the points, or `middle` before them along the normals; the hem bulges by `hem` times
    half of the thickness. `front` and `back` are how many cells that side reaches from the hem, or None."""
    rows, columns = len(points), len(points[0])
    directions = normals(points)
    points = [[p + middle * n for p, n in zip(line, others)] for line, others in zip(points, directions)]
    sides = [[p + side * thickness * n for line, others in zip(points, directions) for p,
              n in zip(line, others)] for side in (0.5, -0.5)]
    vertices, faces, count = sides[0] + sides[1], [], rows * columns
    for i in range(rows - 1):
        for j in range(columns - 1):
            a = i * columns + j
            face = (a, a + 1, a + columns + 1, a + columns)
            inside = min(i, j, rows - 2 - i, columns - 2 - j)
            if front is None or inside < front:
                faces.append(face)
            if back is None or inside < back:
                faces.append(tuple(count + k for k in reversed(face)))
    rim = [(0, j) for j in range(columns)] + [(i, columns - 1) for i in range(1, rows)]
    rim += [(rows - 1, j) for j in range(columns - 2, -1, -1)] + [(i, 0) for i in range(rows - 2, 0, -1)]
    first = len(vertices)
    for i, j in rim:
        outward = points[i][j] - points[min(max(i, 1), rows - 2)][min(max(j, 1), columns - 2)]
        vertices.append(points[i][j] + outward.normalized() * (0.5 * thickness * hem))
    for k, (i, j) in enumerate(rim):
        n, (p, q) = (k + 1) % len(rim), rim[(k + 1) % len(rim)]
        a, b = i * columns + j, p * columns + q
        faces += [(first + k, first + n, b, a), (count + a, count + b, first + n, first + k)]
    used = sorted({k for face in faces for k in face})
    index = {k: n for n, k in enumerate(used)}
    faces = [tuple(index[k] for k in face) for face in faces]
    return solids.smooth(solids.mesh_object(name, [vertices[k] for k in used], faces, material), 180.0)


def drape(points, colliders, gap, frames=70, stiffness=8.0, bending=0.6, pinned=()):
    """Lets a cloth fall on solid objects until it rests about `gap` above them; returns its points. The
    points whose (row, column) are in `pinned` stay where they are."""
    rows, columns = len(points), len(points[0])
    faces = [(i * columns + j, i * columns + j + 1, (i + 1) * columns + j + 1, (i + 1) * columns + j)
             for i in range(rows - 1) for j in range(columns - 1)]
    data = bpy.data.meshes.new("draped")
    data.from_pydata([p for line in points for p in line], [], faces)
    cloth = bpy.data.objects.new("draped", data)
    scene = bpy.context.scene
    scene.collection.objects.link(cloth)
    for obj in colliders:
        if "collision" not in obj.modifiers:
            obj.modifiers.new("collision", "COLLISION")
        obj.collision.thickness_outer, obj.collision.cloth_friction = 0.5 * gap, 12.0
    modifier = cloth.modifiers.new("cloth", "CLOTH")
    settings, collision = modifier.settings, modifier.collision_settings
    settings.quality, settings.mass, settings.air_damping = 8, 0.4, 2.0
    settings.tension_stiffness = settings.compression_stiffness = settings.shear_stiffness = stiffness
    settings.bending_stiffness = bending
    collision.distance_min, collision.collision_quality, collision.use_self_collision = 0.5 * gap, 4, False
    if pinned:
        group = cloth.vertex_groups.new(name="pinned")
        group.add([i * columns + j for i, j in pinned], 1.0, "REPLACE")
        settings.vertex_group_mass = "pinned"
    modifier.point_cache.frame_start, modifier.point_cache.frame_end = 1, frames
    for frame in range(1, frames + 1):
        scene.frame_set(frame)
    evaluated = cloth.evaluated_get(bpy.context.evaluated_depsgraph_get())
    result = [vertex.co.copy() for vertex in evaluated.data.vertices]
    bpy.data.objects.remove(cloth)
    scene.frame_set(1)
    for obj in colliders:
        obj.modifiers.remove(obj.modifiers["collision"])
    return [result[i * columns:(i + 1) * columns] for i in range(rows)]


def relax(points, times=1):
    """Smooths a cloth; its border stays."""
    for _ in range(times):
        before, points = points, [list(line) for line in points]
        for i in range(1, len(points) - 1):
            for j in range(1, len(points[0]) - 1):
                around = before[i - 1][j] + before[i + 1][j] + before[i][j - 1] + before[i][j + 1]
                points[i][j] = 0.5 * before[i][j] + 0.125 * around
    return points


def pillow(name, size, material, location, rotation, plump=1.0, rings=8):
    """A stuffed square with drawn-in sides; `size` is width, height and thickness. It faces +z before it is
    turned."""
    width, height, depth = size
    front, back = [], []
    count = 2 * rings
    for i in range(count + 1):
        for j in range(count + 1):
            # Points lie closer together at the seam, where the surface bends.
            u, v = (math.sin(0.5 * math.pi * (2.0 * k / count - 1.0)) for k in (j, i))
            bulge = (max(0.0, 1.0 - u ** 4) * max(0.0, 1.0 - v ** 4)) ** (0.55 / plump)
            pull = 0.07
            x = 0.5 * width * u * (1.0 - pull * (1.0 - v * v))
            y = 0.5 * height * v * (1.0 - pull * (1.0 - u * u))
            crease = 0.02 * math.sin(5.0 * u + 2.0 * v) * math.sin(4.0 * v - 1.5 * u) * bulge
            front.append((x, y, 0.5 * depth * bulge + crease * depth))
            back.append((x, y, -0.5 * depth * bulge))
    side = count + 1
    border = {(i, j) for i in range(side) for j in range(side) if i in (0, count) or j in (0, count)}
    vertices, index_back = list(front), {}
    for i in range(side):
        for j in range(side):
            if (i, j) in border:
                index_back[i, j] = i * side + j
            else:
                index_back[i, j] = len(vertices)
                vertices.append(back[i * side + j])
    faces = []
    for i in range(count):
        for j in range(count):
            cell = [(i, j), (i, j + 1), (i + 1, j + 1), (i + 1, j)]
            # At a corner the diagonal runs inwards: the other one would belong to the front and to the back.
            turn = 1 if (i in (0, count - 1)) and (j in (0, count - 1)) and (i == 0) != (j == 0) else 0
            a, b, c, d = cell[turn:] + cell[:turn]
            for triangle in ((a, b, c), (a, c, d)):
                faces.append(tuple(p * side + q for p, q in triangle))
                faces.append(tuple(index_back[k] for k in reversed(triangle)))
    return solids.smooth(solids.mesh_object(name, vertices, faces, material, location, rotation), 180.0)

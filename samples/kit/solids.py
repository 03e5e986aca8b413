"""Solids to build scenes from. Each function adds an object to the open Blender file and returns it.

Lengths are metres, z is up, angles are degrees.
"""

import math

import bmesh
import bpy
from mathutils import Vector


# --- finishing ----------------------------------------------------------------------------------------------

def add_object(name, data, material, location=(0.0, 0.0, 0.0), rotation=(0.0, 0.0, 0.0)):
    obj = bpy.data.objects.new(name, data)
    bpy.context.scene.collection.objects.link(obj)
    data.materials.append(bpy.data.materials[material])
    obj.location = location
    obj.rotation_euler = [math.radians(angle) for angle in rotation]
    return obj


def smooth(obj, angle=40.0):
    """Smooth shading, with creases where faces meet at more than `angle`."""
    for polygon in obj.data.polygons:
        polygon.use_smooth = True
    obj.data.use_auto_smooth = True
    obj.data.auto_smooth_angle = math.radians(angle)
    return obj


def bevel(obj, width, segments=2, angle=30.0):
    """Rounds the edges sharper than `angle`; flat faces stay flat in the shading."""
    modifier = obj.modifiers.new("bevel", "BEVEL")
    modifier.width, modifier.segments = width, segments
    modifier.limit_method, modifier.angle_limit = "ANGLE", math.radians(angle)
    modifier.harden_normals = True
    return smooth(obj, 180.0 if segments > 1 else 30.0)


def subdivide(obj, levels=2):
    modifier = obj.modifiers.new("subdivision", "SUBSURF")
    modifier.levels = modifier.render_levels = levels
    return smooth(obj, 60.0)


def cut(obj, cutter):
    """Takes the solid `cutter` away from `obj`; the cutter itself is not part of the scene."""
    modifier = obj.modifiers.new("cut", "BOOLEAN")
    modifier.operation, modifier.object, modifier.solver = "DIFFERENCE", cutter, "EXACT"
    cutter.hide_render = True
    return obj


# --- solids -------------------------------------------------------------------------------------------------

def mesh_object(name, vertices, faces, material, location=(0.0, 0.0, 0.0), rotation=(0.0, 0.0, 0.0)):
    """`faces` are vertex indices, counter-clockwise seen from outside."""
    data = bpy.data.meshes.new(name)
    data.from_pydata([tuple(v) for v in vertices], [], faces)
    data.update()
    return add_object(name, data, material, location, rotation)


def box(name, size, material, location=(0.0, 0.0, 0.0), rotation=(0.0, 0.0, 0.0), edge=0.0, segments=2):
    """A box around `location`; its edges are rounded with radius `edge`."""
    x, y, z = (0.5 * side for side in size)
    vertices = [(sx * x, sy * y, sz * z) for sz in (-1, 1) for sy in (-1, 1) for sx in (-1, 1)]
    faces = [(0, 2, 3, 1), (4, 5, 7, 6), (0, 1, 5, 4), (2, 6, 7, 3), (0, 4, 6, 2), (1, 3, 7, 5)]
    obj = mesh_object(name, vertices, faces, material, location, rotation)
    return bevel(obj, edge, segments) if edge > 0.0 else obj


def plane(name, size, material, location=(0.0, 0.0, 0.0), rotation=(0.0, 0.0, 0.0)):
    """A rectangle facing +z before it is turned. Seen from behind it is not drawn."""
    x, y = 0.5 * size[0], 0.5 * size[1]
    return mesh_object(name, [(-x, -y, 0.0), (x, -y, 0.0), (x, y, 0.0), (-x, y, 0.0)], [(0, 1, 2, 3)], material,
                       location, rotation)


def lathe(name, profile, material, segments=48, location=(0.0, 0.0, 0.0), rotation=(0.0, 0.0, 0.0), crease=35.0):
    """Turns (radius, z) points, bottom to top along the outside, about the z axis. A profile that ends at radius 0 is closed
    there."""
    rings, vertices = [], []
    for radius, z in profile:
        if radius < 1e-6:
            rings.append([len(vertices)] * segments)
            vertices.append((0.0, 0.0, z))
        else:
            rings.append(list(range(len(vertices), len(vertices) + segments)))
            vertices += [(radius * math.cos(math.tau * i / segments), radius * math.sin(math.tau * i / segments), z)
                         for i in range(segments)]
    faces = []
    for low, high in zip(rings, rings[1:]):
        for i in range(segments):
            j = (i + 1) % segments
            face = list(dict.fromkeys((low[i], low[j], high[j], high[i])))
            if len(face) > 2:
                faces.append(face)
    return smooth(mesh_object(name, vertices, faces, material, location, rotation), crease)


def sphere(name, radius, material, location=(0.0, 0.0, 0.0), segments=48, rings=24):
    profile = [(radius * math.cos(angle), radius * math.sin(angle))
               for angle in (math.pi * (i / rings - 0.5) for i in range(rings + 1))]
    profile[0], profile[-1] = (0.0, -radius), (0.0, radius)
    return lathe(name, profile, material, segments, location, crease=180.0)


def tube(name, points, radius, material, sides=16, closed=False, location=(0.0, 0.0, 0.0)):
    """A round tube along a smooth curve through `points`; open ends are closed with flat caps."""
    curve = bpy.data.curves.new(name, "CURVE")
    curve.dimensions, curve.bevel_depth = "3D", radius
    curve.bevel_resolution, curve.resolution_u = max(sides // 4 - 1, 0), 1
    curve.use_fill_caps = not closed
    spline = curve.splines.new("POLY")
    spline.points.add(len(points) - 1)
    for point, position in zip(spline.points, points):
        point.co = (*position, 1.0)
    spline.use_cyclic_u = closed
    spline.use_smooth = True
    return add_object(name, curve, material, location)


def text(name, words, material, size, depth, edge, font=None, location=(0.0, 0.0, 0.0),
         rotation=(90.0, 0.0, 0.0), resolution=6, edge_segments=2):
    """Solid letters with bevelled edges, standing upright and facing -y; `font` is the path of a font file."""
    curve = bpy.data.curves.new(name, "FONT")
    curve.body, curve.size = words, size
    curve.extrude, curve.bevel_depth, curve.bevel_resolution = 0.5 * depth - edge, edge, edge_segments
    curve.offset = -edge
    curve.resolution_u = resolution
    curve.align_x = "CENTER"
    if font:
        curve.font = bpy.data.fonts.load(font)
    return add_object(name, curve, material, location, rotation)


def rounded(points, radius, steps=4):
    """A polyline (any dimension) with its inner corners rounded: for profiles and tubes."""
    result = [tuple(points[0])]
    for before, corner, after in zip(points, points[1:], points[2:]):
        corner_v, a, b = Vector(corner), Vector(before) - Vector(corner), Vector(after) - Vector(corner)
        reach = min(radius, 0.45 * a.length, 0.45 * b.length)
        start, end = corner_v + a.normalized() * reach, corner_v + b.normalized() * reach
        for i in range(steps + 1):
            t = i / steps
            result.append(tuple(start * (1 - t) ** 2 + corner_v * 2 * t * (1 - t) + end * t ** 2))
    result.append(tuple(points[-1]))
    return result


def joined_mesh(name, material, build):
    """An object whose faces `build(bm)` makes with Blender's bmesh operators."""
    data = bpy.data.meshes.new(name)
    bm = bmesh.new()
    build(bm)
    bm.to_mesh(data)
    bm.free()
    return add_object(name, data, material)

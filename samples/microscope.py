"""A brass microscope of the old kind on a round bench, with the things of its trade around it.

blender -b --factory-startup -noaudio --python-exit-code 1 -P samples/microscope.py -- OUT.dae

A unit is ten centimetres. The observer's side is +x, the optical axis stands on the origin before the body is
tilted. The round backdrop faces inwards only, so that the scene is open from wherever one stands.
"""

import math
import os
import sys

sys.dont_write_bytecode = True
sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))

from mathutils import Matrix, Vector

import microscope_bench as bench
from kit import solids
from kit.sample import Sample

PIVOT, TILT = Vector((0.64, 0.0, 1.22)), 11.0
STAGE_TOP, SLIDE = 1.315, 0.014


def declare_materials(sample):
    metal = dict(specular=(0.34, 0.28, 0.17), shininess=36)
    matt = dict(specular=(0.0, 0.0, 0.0), shininess=4)
    sample.material("enamel", (0.145, 0.155, 0.17), specular=(0.22, 0.22, 0.23), shininess=44)
    sample.material("vulcanite", (0.085, 0.085, 0.09), specular=(0.07, 0.07, 0.07), shininess=16)
    sample.material("brass", (0.67, 0.50, 0.25), **metal)
    sample.material("brass-light", (0.79, 0.66, 0.40), **metal)
    sample.material("brass-dark", (0.46, 0.33, 0.17), **metal)
    sample.material("steel", (0.60, 0.62, 0.63), specular=(0.30, 0.30, 0.31), shininess=40)
    sample.material("mirror", (0.80, 0.85, 0.88), specular=(0.4, 0.4, 0.4), shininess=60)
    sample.material("lens", (0.16, 0.24, 0.30), specular=(0.5, 0.5, 0.5), shininess=90)
    sample.material("slide", (0.72, 0.80, 0.78), specular=(0.3, 0.3, 0.3), shininess=60)
    sample.material("cover", (0.82, 0.86, 0.84), specular=(0.3, 0.3, 0.3), shininess=60)
    sample.material("specimen", (0.60, 0.26, 0.48), **matt)
    sample.material("paper", (0.86, 0.82, 0.71), **matt)
    sample.material("ink", (0.20, 0.17, 0.17), **matt)
    sample.material("walnut", (0.38, 0.235, 0.145), specular=(0.10, 0.08, 0.06), shininess=24)
    sample.material("mahogany", (0.44, 0.20, 0.12), specular=(0.10, 0.08, 0.06), shininess=24)
    sample.material("backdrop", (0.30, 0.405, 0.395), **matt)
    sample.material("leather", (0.13, 0.26, 0.23), specular=(0.04, 0.04, 0.04), shininess=10)
    sample.material("oxblood", (0.42, 0.11, 0.10), specular=(0.08, 0.07, 0.07), shininess=16)
    sample.material("amber", (0.46, 0.21, 0.06), specular=(0.40, 0.35, 0.3), shininess=70)
    sample.material("cobalt", (0.10, 0.20, 0.44), specular=(0.40, 0.40, 0.42), shininess=70)
    sample.material("cork", (0.64, 0.46, 0.30), **matt)
    sample.material("pencil", (0.78, 0.53, 0.13), specular=(0.1, 0.1, 0.1), shininess=30)
    sample.material("wood", (0.80, 0.62, 0.42), **matt)
    sample.material("felt", (0.36, 0.09, 0.12), **matt)


# --- shapes -------------------------------------------------------------------------------------------------

def sweep(name, path, width, thick, material, corner=0.35):
    """A bar with rounded corners along a path of (x, z, scale) in the plane y = 0, `width` wide along y."""
    section = []
    r = corner * 0.5 * min(thick, width)
    for quarter, (sx, sy) in enumerate(((1, 1), (-1, 1), (-1, -1), (1, -1))):
        for angle in (math.radians(90 * quarter + 30 * step) for step in range(4)):
            section.append((sx * (0.5 * thick - r) + r * math.cos(angle),
                            sy * (0.5 * width - r) + r * math.sin(angle)))
    count, vertices, faces = len(section), [], []
    for i, (x, z, scale) in enumerate(path):
        a, b = path[max(i - 1, 0)], path[min(i + 1, len(path) - 1)]
        along = Vector((b[0] - a[0], 0.0, b[1] - a[1])).normalized()
        across = Vector((along.z, 0.0, -along.x))
        vertices += [Vector((x, 0.0, z)) + across * (u * scale) + Vector((0.0, v, 0.0)) for u, v in section]
    for i in range(len(path) - 1):
        faces += [(i * count + k, i * count + (k + 1) % count, (i + 1) * count + (k + 1) % count,
                   (i + 1) * count + k) for k in range(count)]
    faces += [tuple(reversed(range(count))), tuple(range(len(vertices) - count, len(vertices)))]
    return solids.smooth(solids.mesh_object(name, vertices, faces, material), 50.0)


def spline(points, steps=6):
    """A smooth line through points of any dimension."""
    result = []
    for i in range(len(points) - 1):
        p = [points[max(i - 1, 0)], points[i], points[i + 1], points[min(i + 2, len(points) - 1)]]
        for k in range(steps):
            t = k / steps
            result.append(tuple(0.5 * (2 * b + (c - a) * t + (2 * a - 5 * b + 4 * c - d) * t * t +
                                       (3 * b - a - 3 * c + d) * t ** 3) for a, b, c, d in zip(*p)))
    return result + [tuple(points[-1])]


def knurled(name, profile, material, teeth, location, rotation, rim):
    """A turned part whose surface beyond the radius `rim` is cut into upright ridges."""
    obj = solids.lathe(name, profile, material, 2 * teeth, location, rotation, crease=20.0)
    for vertex in obj.data.vertices:
        radius = math.hypot(vertex.co.x, vertex.co.y)
        if radius > rim:
            step = round(math.atan2(vertex.co.y, vertex.co.x) / math.tau * 2 * teeth)
            if step % 2:
                vertex.co.x *= 1.0 - 0.055 * min(1.0, 0.2 / radius)
                vertex.co.y *= 1.0 - 0.055 * min(1.0, 0.2 / radius)
    return obj


def knob(name, radius, place, side, material="brass", cap="brass-light"):
    """A milled head on an axle along y; `side` is 1 or -1."""
    turn = (-90 * side, 0, 0)
    deep = 0.62 * radius
    profile = [(0.0, 0.0), (0.34 * radius, 0.0), (0.34 * radius, 0.30 * radius),
               (0.84 * radius, 0.34 * radius), (radius, 0.44 * radius), (radius, deep + 0.30 * radius),
               (0.90 * radius, deep + 0.40 * radius)]
    inside = [(0.90 * radius, deep + 0.40 * radius), (0.74 * radius, deep + 0.40 * radius),
              (0.70 * radius, deep + 0.34 * radius),
              (0.30 * radius, deep + 0.32 * radius), (0.26 * radius, deep + 0.40 * radius),
              (0.0, deep + 0.44 * radius)]
    return [knurled(name, profile, material, max(16, round(110 * radius)), place, turn, 0.95 * radius),
            solids.lathe(name + "-face", [(0.885 * radius, deep + 0.395 * radius)] + inside[1:], cap,
                         20 if radius < 0.1 else 32, place, turn)]


# --- the stand ----------------------------------------------------------------------------------------------

def build_foot():
    """A horseshoe, open towards the light, with the pillar on its bow."""
    outer, inner = [], []
    for i in range(25):
        a = math.radians(-90 + 180 * i / 24)
        outer.append((0.30 + 0.86 * math.cos(a), 0.88 * math.sin(a)))
        inner.append((0.26 + 0.36 * math.cos(a), 0.40 * math.sin(a)))
    toe = [(-0.98 - 0.11 * math.sin(t),
            0.64 + 0.24 * math.cos(t)) for t in (math.pi * k / 8 for k in range(9))]
    outline = outer + toe + list(reversed(inner)) + [(x, -y) for x, y in reversed(toe)]
    count = len(outline)
    vertices = [(x, y, z) for z in (0.0, 0.22) for x, y in outline]
    faces = [(i, (i + 1) % count, count + (i + 1) % count, count + i) for i in range(count)]
    faces += [tuple(reversed(range(count))), tuple(range(count, 2 * count))]
    foot = solids.mesh_object("foot", vertices, faces, "enamel")
    solids.bevel(foot, 0.035, 3, 50.0)
    for i, (x, y) in enumerate(((-0.92, 0.64), (-0.92, -0.64), (0.98, 0.0))):
        solids.lathe("foot-screw-%d" % i, [(0.075, 0.20), (0.075, 0.228), (0.062, 0.236), (0.0, 0.238)],
                     "brass", 24, (x, y, 0))
    pillar = [(0.30, 0.20), (0.30, 0.235), (0.27, 0.26), (0.225, 0.29), (0.19, 0.36), (0.165, 0.50),
              (0.155, 0.72), (0.17, 0.84), (0.21, 0.90), (0.21, 0.945), (0.18, 0.97), (0.15, 1.05)]
    solids.lathe("pillar", pillar, "enamel", 32, (PIVOT.x, 0, 0), crease=40.0)
    solids.lathe("pillar-ring", [(0.20, 0.893), (0.222, 0.900), (0.226, 0.922), (0.222, 0.944),
                                 (0.19, 0.952)], "brass", 32, (PIVOT.x, 0, 0))
    for side in (-1, 1):
        solids.lathe("joint-cheek-%d" % (side > 0), [(0.0, 0.155), (0.19, 0.155), (0.21, 0.170),
                                                     (0.21, 0.225), (0.19, 0.245), (0.0, 0.245)], "enamel",
                     32, tuple(PIVOT), (-90 * side, 0, 0))
        solids.lathe("joint-cap-%d" % (side > 0), [(0.125, 0.24), (0.125, 0.262), (0.11, 0.275),
                                                   (0.05, 0.282), (0.042, 0.30), (0.0, 0.305)], "brass", 24,
                     tuple(PIVOT), (-90 * side, 0, 0))
    solids.box("joint-fork", (0.27, 0.44, 0.26), "enamel", (PIVOT.x, 0, 1.06), edge=0.04, segments=3)


def build_limb():
    """The curved arm that carries the stage below and the tube above."""
    parts = []
    arm = spline([(0.64, 1.14, 0.95), (0.70, 1.42, 1.0), (0.83, 1.76, 1.0), (0.88, 2.16, 0.95),
                  (0.80, 2.52, 0.92), (0.60, 2.78, 0.98), (0.34, 2.86, 1.05)], 4)
    parts.append(sweep("limb", arm, 0.27, 0.27, "enamel", 0.55))
    parts.append(solids.lathe("joint-axle", [(0.0, -0.156), (0.18, -0.156), (0.18, 0.156), (0.0, 0.156)],
                              "enamel", 32, tuple(PIVOT), (90, 0, 0)))
    parts.append(solids.box("slideway", (0.17, 0.26, 0.98), "enamel", (0.335, 0, 2.72), edge=0.03,
                            segments=3))
    parts.append(solids.box("slideway-rail", (0.10, 0.17, 0.90), "brass", (0.232, 0, 2.76), edge=0.012))
    parts.append(solids.lathe("pinion-box", [(0.0, -0.19), (0.115, -0.19), (0.125, -0.18), (0.125, 0.18),
                                             (0.115, 0.19), (0.0, 0.19)], "enamel", 32, (0.40, 0, 2.60),
                              (90, 0, 0)))
    parts.append(solids.lathe("fine-drum", [(0.0, -0.165), (0.13, -0.165), (0.14, -0.155), (0.14, 0.155),
                                            (0.13, 0.165), (0.0, 0.165)], "enamel", 32, (0.875, 0, 2.08),
                              (90, 0, 0)))
    for side in (-1, 1):
        end = "left" if side < 0 else "right"
        parts += knob("coarse-" + end, 0.205, (0.40, side * 0.18, 2.60), side)
        parts += knob("fine-" + end, 0.125, (0.875, side * 0.15, 2.08), side)
    return parts


# --- optics -------------------------------------------------------------------------------------------------

def build_tube():
    body = [(0.10, 2.02), (0.15, 2.02), (0.155, 2.03), (0.155, 2.10), (0.185, 2.14), (0.215, 2.16),
            (0.222, 2.17), (0.222, 2.24), (0.212, 2.25), (0.195, 2.26), (0.190, 2.29)]
    collar = [(0.18, 3.25), (0.215, 3.25), (0.222, 3.258), (0.222, 3.31), (0.214, 3.32), (0.200, 3.325),
              (0.200, 3.40), (0.205, 3.405), (0.205, 3.425), (0.19, 3.435), (0.15, 3.44)]
    draw = [(0.152, 3.43), (0.152, 3.86)]
    eyepiece = [(0.14, 3.85), (0.185, 3.85), (0.192, 3.858), (0.192, 3.90), (0.184, 3.91), (0.160, 3.915),
                (0.158, 4.06), (0.166, 4.10), (0.190, 4.135), (0.203, 4.15), (0.203, 4.172), (0.194, 4.182),
                (0.12, 4.170), (0.105, 4.155)]
    parts = [solids.lathe("tube-nose", body, "brass", 36),
             solids.lathe("tube-collar", collar, "brass-light", 36),
             solids.lathe("draw-tube", draw, "brass-light", 36),
             solids.lathe("eyepiece", eyepiece, "vulcanite", 36),
             solids.lathe("eyepiece-ring", [(0.150, 3.96), (0.165, 3.965), (0.165, 4.0), (0.150, 4.005)],
                          "brass", 32), solids.lathe("eye-lens", [(0.108, 4.150), (0.07, 4.163),
                                                                  (0.0, 4.170)], "lens", 32)]
    for i in range(7):
        z = 3.52 + 0.045 * i
        parts.append(solids.lathe("draw-tube-mark-%d" % i, [(0.1505, z - 0.003), (0.1535, z - 0.0015),
                                                            (0.1535, z + 0.0015), (0.1505, z + 0.003)],
                                  "brass-dark", 20))
    bands = (2.45, 3.10)
    ends = (2.28, bands[0] - 0.04, bands[0] + 0.04, bands[1] - 0.04, bands[1] + 0.04, 3.26)
    for part, (low, high) in enumerate(zip(ends[::2], ends[1::2])):
        parts.append(solids.lathe("tube-%d" % part, [(0.186, low), (0.186, high)], "brass", 40))
    for part, z in enumerate(bands):
        band = [(0.186, z - 0.04), (0.198, z - 0.038), (0.2, z - 0.034), (0.2, z + 0.034), (0.198, z + 0.038),
                (0.186, z + 0.04)]
        parts.append(solids.lathe("tube-band-%d" % part, band, "brass-light", 40))
        parts.append(solids.box("tube-bracket-%d" % part, (0.14, 0.12, 0.07), "brass", (0.21, 0, z),
                                edge=0.01))
    return parts


def objective(name, length, rings, material):
    """A turned barrel, its mount at z = 0 and its front lens at z = -length."""
    profile = [(0.0, -length), (0.035, -length), (0.045, -length + 0.006), (0.062, -length + 0.07),
               (0.066, -length + 0.075), (0.090, -length + 0.085), (0.096, -length + 0.095), (0.096, -0.21),
               (0.104, -0.205), (0.112, -0.195), (0.112, -0.155), (0.104, -0.145), (0.098, -0.140),
               (0.098, -0.07), (0.110, -0.064), (0.116, -0.056), (0.116, -0.012), (0.106, 0.0), (0.0, 0.0)]
    parts = [knurled(name, profile, material, 15, (0, 0, 0), (0, 0, 0), 0.1105)]
    for i, ring in enumerate(rings):
        z = -0.255 - 0.03 * i
        if z > -length + 0.11:
            parts.append(solids.lathe("%s-ring-%d" % (name, i),
                                      [(0.093, z - 0.009), (0.099, z - 0.007), (0.099, z + 0.007),
                                                                 (0.093, z + 0.009)], ring, 28))
    return parts


def build_turret():
    """Three objectives on a cone, so that the one in use points straight down."""
    lean = 27.0
    centre = Vector((-0.115, 0.0, 2.035))
    axis_turn = Matrix.Rotation(math.radians(lean), 4, "Y")  # the turret's axis, from straight up
    cap = [(0.0, -0.155), (0.10, -0.152), (0.22, -0.125), (0.285, -0.085), (0.305, -0.045), (0.305, 0.0),
           (0.290, 0.014), (0.22, 0.040), (0.10, 0.062), (0.0, 0.066)]
    plate = solids.lathe("turret", cap, "brass", 40, crease=30.0)
    button = solids.lathe("turret-screw", [(0.05, -0.15), (0.05, -0.172), (0.04, -0.182), (0.0, -0.184)],
                          "steel", 24)
    place = Matrix.Translation(centre) @ axis_turn
    for obj in (plate, button):
        obj.matrix_basis = place
    parts = [plate, button]
    kinds = (("objective-middle", 0.575, ("oxblood",), "brass-light"),
             ("objective-high", 0.60, ("oxblood", "cobalt"), "steel"),
             ("objective-low", 0.42, (), "brass-light"))
    for i, (name, length, rings, material) in enumerate(kinds):
        # The cone's half angle is the lean of its axis: the objective at +x of the turned plate is upright.
        stand = Matrix.Rotation(math.tau * i / 3, 4, "Z") @ Matrix.Translation((0.175, 0, -0.065)) @ \
            Matrix.Rotation(math.radians(-lean), 4, "Y")
        for obj in objective(name, length, rings, material):
            obj.matrix_basis = place @ stand @ obj.matrix_basis
            parts.append(obj)
    axis = (place @ Matrix.Translation((0.175, 0, -0.065))).translation
    return parts, axis


def build_stage():
    parts = []
    top = STAGE_TOP
    parts.append(solids.box("stage", (1.02, 1.06, 0.075), "vulcanite", (0.03, 0, top - 0.0375), edge=0.02,
                            segments=3))
    parts.append(solids.box("stage-plate", (1.06, 1.10, 0.028), "brass", (0.03, 0, top - 0.058), edge=0.01))
    parts.append(solids.box("stage-bracket", (0.34, 0.22, 0.16), "enamel", (0.58, 0, top - 0.13), edge=0.03,
                            segments=3))
    parts.append(solids.lathe("stage-ring", [(0.145, top - 0.004), (0.145, top + 0.004), (0.125, top + 0.005),
                                             (0.11, top - 0.004)], "brass", 40, (-0.0, 0, 0)))
    z = top + 0.5 * SLIDE + 0.006
    parts.append(solids.box("slide", (0.26, 0.78, SLIDE), "slide", (0, 0, z), edge=0.002, segments=1))
    parts.append(solids.box("slide-label", (0.235, 0.17, 0.003), "paper", (0, -0.29, z + 0.5 * SLIDE),
                            edge=0.0))
    for i, (w, dy) in enumerate(((0.16, 0.045), (0.12, 0.01), (0.14, -0.025))):
        parts.append(solids.box("slide-writing-%d" % i, (w, 0.008, 0.002), "ink",
                                (0.0, -0.30 + dy, z + 0.5 * SLIDE + 0.0012)))
    parts.append(solids.box("cover-glass", (0.19, 0.19, 0.004), "cover", (0, 0.02, z + 0.5 * SLIDE + 0.001)))
    points = [(0.052 * (1 + 0.22 * math.sin(3 * a + 1) + 0.1 * math.sin(7 * a)) * math.cos(a),
               0.02 + 0.060 * (1 + 0.2 * math.sin(2 * a)) * math.sin(a), z + 0.5 * SLIDE + 0.0042)
              for a in (math.tau * i / 36 for i in range(36))]
    parts.append(solids.mesh_object("specimen", points, [tuple(range(36))], "specimen"))
    for side in (-1, 1):
        y = side * 0.30
        path = spline([(0.36, top + 0.06, 1.0), (0.22, top + 0.075, 1.0), (0.06, top + 0.055, 0.95),
                       (-0.05, top + 0.030, 0.9), (-0.12, top + 0.032, 0.8), (-0.17, top + 0.050, 0.7)], 2)
        clip = sweep("clip-%d" % (side > 0), path, 0.05, 0.010, "brass-light", 0.5)
        clip.matrix_basis = Matrix.Translation((0, y, 0))
        parts.append(clip)
        parts.append(solids.lathe("clip-post-%d" % (side > 0), [(0.022, top - 0.01), (0.022, top + 0.052),
                                                                (0.042, top + 0.054), (0.046, top + 0.062),
                                                                (0.046, top + 0.088), (0.038, top + 0.096),
                                                                (0.0, top + 0.098)], "brass", 24,
                                  (0.34, y, 0)))
    for side in (-1, 1):
        parts += knob("stage-screw-%d" % (side > 0), 0.075, (0.30, side * 0.50, top - 0.055), side)
    return parts


def build_condenser():
    top = STAGE_TOP
    parts = [solids.lathe("condenser", [(0.0, 0.80), (0.13, 0.80), (0.14, 0.81), (0.14, 0.90), (0.215, 0.93),
                                        (0.225, 0.94), (0.225, 1.03), (0.215, 1.04), (0.17, 1.05),
                                        (0.17, top - 0.06)], "brass", 34),
             solids.lathe("iris-ring", [(0.22, 0.965), (0.25, 0.968), (0.25, 1.002), (0.22, 1.005)],
                          "brass-dark", 34), solids.tube("iris-lever",
                                                         [(-0.24, 0, 0.985), (-0.34, 0, 0.985),
                                                          (-0.42, 0, 0.965)], 0.013, "steel", 8),
             solids.sphere("iris-knob", 0.032, "steel", (-0.43, 0, 0.962), 16, 8),
             solids.lathe("condenser-lens", [(0.0, 0.785), (0.06, 0.789), (0.115, 0.80)], "lens", 32),
             solids.box("condenser-arm", (0.44, 0.13, 0.07), "enamel", (0.38, 0, 0.985), edge=0.02),
             solids.tube("tail-rod", [(0.56, 0, 1.10), (0.55, 0, 0.70), (0.54, 0, 0.52)], 0.042, "brass", 16),
             solids.tube("mirror-arm", spline([(0.54, 0, 0.555), (0.42, 0, 0.54), (0.33, 0, 0.545)], 4),
                         0.030, "brass", 12)]
    fork = [(0.30 * math.cos(a), 0.30 * math.sin(a),
             0.0) for a in (math.radians(-90 + 180 * i / 20) for i in range(21))]
    parts.append(solids.tube("mirror-fork", fork, 0.021, "brass", 10, location=(0.03, 0, 0.545)))
    mirror = Matrix.Translation((0.03, 0, 0.545)) @ Matrix.Rotation(math.radians(-38), 4, "Y")
    rim = solids.lathe("mirror-frame", [(0.0, -0.045), (0.14, -0.040), (0.235, -0.028), (0.255, -0.015),
                                        (0.255, 0.022), (0.245, 0.030), (0.230, 0.028), (0.226, 0.012)],
                       "brass", 36)
    glass = solids.lathe("mirror", [(0.229, 0.016), (0.12, 0.009), (0.0, 0.006)], "mirror", 36)
    for obj in (rim, glass):
        obj.matrix_basis = mirror
        parts.append(obj)
    for side in (-1, 1):
        screw = solids.lathe("mirror-screw-%d" % (side > 0), [(0.016, 0.24), (0.016, 0.33), (0.04, 0.33),
                                                              (0.046, 0.336), (0.046, 0.37), (0.036, 0.378),
                                                              (0.0, 0.38)], "brass-light", 20,
                             (0.03, 0, 0.545), (-90 * side, 0, 0))
        parts.append(screw)
    return parts


def build_microscope():
    build_foot()
    turret, axis = build_turret()
    # The tube and the turret stand where the objective in use looks at the middle of the slide.
    for obj in turret:
        obj.matrix_basis = Matrix.Translation((-axis.x, 0, 0)) @ obj.matrix_basis
    parts = turret + build_limb() + build_tube() + build_stage() + build_condenser()
    tilt = Matrix.Translation(PIVOT) @ Matrix.Rotation(math.radians(TILT), 4,
        "Y") @ Matrix.Translation(-PIVOT)
    for obj in parts:
        obj.matrix_basis = tilt @ obj.matrix_basis


def light(sample):
    sample.ambient("room", (0.20, 0.21, 0.23))
    sample.spot("lamp", (-3.5, -3.2, 6.6), (0.25, 0.1, 1.3), (0.66, 0.60, 0.49), 40, 84)
    sample.point("window", (3.5, 2.3, 4.6), (0.22, 0.29, 0.38))
    sample.point("reflection", (-1.2, -4.5, 2.2), (0.13, 0.12, 0.11))
    # Not drawn by the viewer, which draws three: more of the window's light on the edges, for the light map.
    sample.spot("window-sky", (3.5, 2.3, 4.6), (0.0, 0.0, 1.3), (0.60, 0.70, 0.82), 36, 58)
    sample.camera((-5.1, -9.7, 5.4), (0.10, -0.05, 1.52), 29)


def main():
    sample = Sample("microscope")
    declare_materials(sample)
    build_microscope()
    bench.build()
    light(sample)
    sample.write(sys.argv[-1])


main()

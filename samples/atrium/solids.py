"""Triangle meshes of turned, boxed and spherical solids, and numbers as text.

Builders state normals only; Mesh.triangle derives the clockwise corner order from them.
"""

import math

TAU = 2.0 * math.pi


# --- vectors ------------------------------------------------------------------------------------------------

def add(a, b):
    return (a[0] + b[0], a[1] + b[1], a[2] + b[2])


def sub(a, b):
    return (a[0] - b[0], a[1] - b[1], a[2] - b[2])


def scaled(a, s):
    return (a[0] * s, a[1] * s, a[2] * s)


def dot(a, b):
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]


def cross(a, b):
    return (a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0])


def unit(a):
    return scaled(a, 1.0 / math.sqrt(dot(a, a)))


def polar(radius, angle, y):
    return (radius * math.cos(angle), y, radius * math.sin(angle))


# --- numbers as text ----------------------------------------------------------------------------------------

def number(value, digits):
    """Shortest fixed text with at most `digits` decimals; never "-0"."""
    text = "%.*f" % (digits, value)
    if "." in text:
        text = text.rstrip("0").rstrip(".")
    if text in ("-0", ""):
        return "0"
    return text


def numbers(values, digits):
    return " ".join(number(value, digits) for value in values)


# --- meshes -------------------------------------------------------------------------------------------------

class Mesh:
    """Triangles in groups by material, over shared lists of positions, normals and texture coordinates.

    Values are joined where their text in the file is equal, so neighbouring faces share their edge vertices.
    """

    def __init__(self):
        self.positions, self.normals, self.texcoords = {}, {}, {}
        self.groups = {}

    @staticmethod
    def _index(table, text):
        return table.setdefault(text, len(table))

    def triangle(self, material, corners):
        """Adds one triangle of three corners (position, normal, (s, t)); one that has no area is left out."""
        texts = [numbers(position, 4) for position, _, _ in corners]
        if len(set(texts)) < 3:
            return
        positions = [tuple(float(word) for word in text.split()) for text in texts]
        face = cross(sub(positions[1], positions[0]), sub(positions[2], positions[0]))
        if dot(face, face) < 1e-14:
            return
        facing = add(add(corners[0][1], corners[1][1]), corners[2][1])
        order = (0, 2, 1) if dot(face, facing) > 0.0 else (0, 1, 2)
        indices = self.groups.setdefault(material, [])
        for corner in order:
            _, normal, texcoord = corners[corner]
            indices.append(self._index(self.positions, texts[corner]))
            indices.append(self._index(self.normals, numbers(normal, 3)))
            indices.append(self._index(self.texcoords, numbers((texcoord[0], texcoord[1], 0.0), 2)))

    def quad(self, material, a, b, c, d):
        """Two triangles over the corners a b c d, in order around the edge."""
        self.triangle(material, (a, b, c))
        self.triangle(material, (a, c, d))

    def flat(self, material, points):
        """A convex flat polygon; `points` counter-clockwise seen from outside."""
        normal = unit(cross(sub(points[1], points[0]), sub(points[2], points[0])))
        corners = [(point, normal, (point[0] + point[1], point[2] + point[1])) for point in points]
        for i in range(1, len(corners) - 1):
            self.triangle(material, (corners[0], corners[i], corners[i + 1]))

    def triangle_count(self):
        return sum(len(indices) // 9 for indices in self.groups.values())


def run_normals(run):
    """Unit normals of an open (radius, y) polyline, to its right when it runs upwards; ends keep their
    segment's."""
    normals = []
    for i in range(len(run)):
        before, after = run[max(i - 1, 0)], run[min(i + 1, len(run) - 1)]
        length = math.hypot(after[0] - before[0], after[1] - before[1])
        normals.append(((after[1] - before[1]) / length, -(after[0] - before[0]) / length))
    return normals


def lathe(mesh, runs, segments, centre=(0.0, 0.0, 0.0), inwards=False, start=0.0, turn=TAU):
    """Turns (material, [(radius, y), ...]) runs about a vertical axis through `centre`.

    A run is smooth, two runs meet in a crease. Normals point to the right of the profile's direction of
    travel, or to its left with `inwards`.
    """
    sign = -1.0 if inwards else 1.0
    for material, run in runs:
        normals = run_normals(run)
        for i in range(segments):
            a0, a1 = start + turn * i / segments, start + turn * (i + 1) / segments

            def corner(j, angle, s):
                radius, y = run[j]
                nr, ny = normals[j]
                normal = (sign * nr * math.cos(angle), sign * ny, sign * nr * math.sin(angle))
                return (add(polar(radius, angle, y), centre), normal, (s, j / (len(run) - 1)))

            for j in range(len(run) - 1):
                s0, s1 = 4.0 * i / segments, 4.0 * (i + 1) / segments
                mesh.quad(material, corner(j, a0, s0), corner(j, a1, s1), corner(j + 1, a1, s1),
                          corner(j + 1, a0, s0))


def arc_run(centre, radii, first, last, steps):
    """Points of an elliptic arc in the profile plane, angles in degrees."""
    points = []
    for i in range(steps + 1):
        angle = math.radians(first + (last - first) * i / steps)
        points.append((max(centre[0] + radii[0] * math.cos(angle), 0.0),
                       centre[1] + radii[1] * math.sin(angle)))
    return points


def smooth_profile(points, steps):
    """Catmull-Rom curve through the points, `steps` pieces between each two."""
    result = [points[0]]
    for i in range(len(points) - 1):
        p0, p1 = points[max(i - 1, 0)], points[i]
        p2, p3 = points[i + 1], points[min(i + 2, len(points) - 1)]
        for k in range(1, steps + 1):
            t = k / steps
            result.append(tuple(
                0.5 * (2.0 * p1[c] + (p2[c] - p0[c]) * t
                       + (2.0 * p0[c] - 5.0 * p1[c] + 4.0 * p2[c] - p3[c]) * t * t
                       + (3.0 * p1[c] - p0[c] - 3.0 * p2[c] + p3[c]) * t * t * t) for c in (0, 1)))
    return result


def bevelled_box(mesh, material, low, high, bevel):
    """An axis-parallel box with flat chamfers along its edges and corners."""
    centre = scaled(add(low, high), 0.5)
    half = scaled(sub(high, low), 0.5)

    def point(signs, axis):
        """The corner of the face across `axis` next to the box corner `signs`."""
        return tuple(centre[c] + signs[c] * (half[c] - (0.0 if c == axis else bevel)) for c in range(3))

    def outward(points):
        middle = scaled(add(add(points[0], points[1]), points[2]), 1.0 / 3.0)
        face = cross(sub(points[1], points[0]), sub(points[2], points[0]))
        mesh.flat(material, points if dot(face, sub(middle, centre)) > 0.0 else points[::-1])

    def signs_of(pairs):
        signs = [0, 0, 0]
        for axis, value in pairs:
            signs[axis] = value
        return signs

    for axis in range(3):
        u, v = (axis + 1) % 3, (axis + 2) % 3
        for side in (-1, 1):
            outward([point(signs_of(((axis, side), (u, a), (v, b))), axis)
                     for a, b in ((-1, -1), (1, -1), (1, 1), (-1, 1))])
        for a in (-1, 1):
            for b in (-1, 1):
                ends = [signs_of(((u, a), (v, b), (axis, end))) for end in (-1, 1)]
                outward([point(ends[0], u), point(ends[1], u), point(ends[1], v), point(ends[0], v)])
    for x in (-1, 1):
        for y in (-1, 1):
            for z in (-1, 1):
                outward([point((x, y, z), axis) for axis in range(3)])


def sphere(mesh, material, centre, radius, slices, stacks):
    lathe(mesh, [(material, arc_run((0.0, 0.0), (radius, radius), -90.0, 90.0, stacks))], slices, centre)

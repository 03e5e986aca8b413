"""The parts of the hall, each a mesh in metres about the hall's axis, y up, floor of the court at y = 0."""

import math

from solids import (TAU, Mesh, add, arc_run, bevelled_box, cross, dot, lathe, polar, scaled, smooth_profile,
                    sphere,
                    sub, unit)

BAYS = 8                      # columns, wall bays and dome bays
FIRST_COLUMN = 15.0           # degrees from +x towards -z; the view stands between two columns
BAY_ANGLE = TAU / BAYS
OVERLAP = 0.0004              # radians by which a bay is wider, so that no gap opens between turned copies
SECTORS = 48                  # every ring of the floor, the steps, the wall mouldings and the architrave
GALLERY = 0.18                # height of the floor under the columns
COLUMN_RING = 5.7
COLUMN_TOP = 4.78
WALL_RADIUS = 9.6
WALL_BOTTOM, WALL_TOP = 1.0, 6.5
DOME_BOTTOM = 6.95


def fluted_shaft(mesh, material, bottom, top, radius_bottom, radius_top, flutes):
    """A tapering shaft; each flute is a smooth hollow, with a narrow flat fillet between two hollows."""
    width = TAU / flutes
    hollow, steps, rows, depth = width * 0.78, 3, 2, 0.11

    def radius_at(t):
        return radius_bottom + (radius_top - radius_bottom) * (0.35 * t + 0.65 * t * t)

    def section(flute):
        """(angle, radius factor, normal angle) of the flute's points, then of the fillet's two points."""
        middle = flute * width
        points = []
        for i in range(steps + 1):
            t = -1.0 + 2.0 * i / steps
            angle, factor = middle + 0.5 * hollow * t, 1.0 - depth * (1.0 - t * t)
            slope = depth * 2.0 * t / (0.5 * hollow)
            points.append((angle, factor, angle - math.atan2(slope, factor)))
        edge = middle + 0.5 * hollow
        fillet = [(edge, 1.0, edge), (edge + width - hollow, 1.0, edge + width - hollow)]
        return points, fillet

    for flute in range(flutes):
        for strip in section(flute):
            for (a0, f0, n0), (a1, f1, n1) in zip(strip, strip[1:]):
                for row in range(rows):
                    t0, t1 = row / rows, (row + 1) / rows
                    y0, y1 = bottom + (top - bottom) * t0, bottom + (top - bottom) * t1
                    r0, r1 = radius_at(t0), radius_at(t1)
                    normal0, normal1 = polar(1.0, n0, 0.0), polar(1.0, n1, 0.0)
                    mesh.quad(material, (polar(r0 * f0, a0, y0), normal0, (a0, t0)),
                              (polar(r0 * f1, a1, y0), normal1, (a1, t0)),
                              (polar(r1 * f1, a1, y1), normal1, (a1, t1)),
                              (polar(r1 * f0, a0, y1), normal0, (a0, t1)))


def column():
    """One column on the gallery floor, its axis at the origin."""
    mesh, stone = Mesh(), "limestone"
    foot = GALLERY
    bevelled_box(mesh, stone, (-0.52, foot, -0.52), (0.52, foot + 0.16, 0.52), 0.02)
    lathe(mesh, [(stone, arc_run((0.40, foot + 0.25), (0.10, 0.09), -90.0, 90.0, 4)),
                 (stone, [(0.40, foot + 0.34), (0.385, foot + 0.38)]),
                 (stone, arc_run((0.375, foot + 0.43), (0.05, 0.05), -80.0, 90.0, 2)),
                 (stone, [(0.375, foot + 0.48), (0.30, foot + 0.48)])], 16)
    fluted_shaft(mesh, stone, foot + 0.46, COLUMN_TOP - 0.50, 0.36, 0.295, 14)
    neck = COLUMN_TOP - 0.52
    lathe(mesh, [(stone, [(0.25, neck), (0.325, neck)]),
                 (stone, arc_run((0.305, neck + 0.045), (0.045, 0.045), -60.0, 70.0, 2)),
                 (stone, [(0.305, neck + 0.09), (0.315, neck + 0.17)]),
                 (stone, [(0.315, neck + 0.17), (0.40, neck + 0.23), (0.47, neck + 0.34)])], 16)
    bevelled_box(mesh, stone, (-0.52, COLUMN_TOP - 0.18, -0.52), (0.52, COLUMN_TOP, 0.52), 0.02)
    return mesh


def architrave():
    """The closed ring that the columns carry: two fasciae, a painted frieze and a cornice on either face."""
    mesh, stone = Mesh(), "limestone"
    inner, outer, y = COLUMN_RING - 0.40, COLUMN_RING + 0.40, COLUMN_TOP
    face = [(0.00, 0.00), (0.00, 0.20), (-0.04, 0.24), (-0.04, 0.40), (-0.04, 0.72), (-0.07, 0.76),
            (-0.16, 0.86),
            (-0.16, 0.98)]
    colours = [stone, stone, stone, "marble-red", stone, stone, stone]
    runs = [(stone, [(inner, y), (outer, y)])]
    runs += [(colour, [(outer - a[0], y + a[1]), (outer - b[0], y + b[1])])
             for colour, a, b in zip(colours, face, face[1:])]
    runs.append((stone, [(outer + 0.16, y + 0.98), (inner - 0.16, y + 0.98)]))
    runs += [(colour, [(inner + b[0], y + b[1]), (inner + a[0], y + a[1])])
             for colour, a, b in reversed(list(zip(colours, face, face[1:])))]
    lathe(mesh, runs, SECTORS)
    return mesh


def court_floor():
    """A stone rosette: rings of triangles in two marbles, each ring turned by half a sector, within plain
    bands."""
    mesh = Mesh()
    up, rings, inner, outer = (0.0, 1.0, 0.0), 8, 2.30, 4.55

    def corner(radius, angle):
        return (polar(radius, angle, 0.0), up, (radius * math.cos(angle), radius * math.sin(angle)))

    step = TAU / SECTORS
    for ring in range(rings):
        r0 = inner * (outer / inner) ** (ring / rings)
        r1 = inner * (outer / inner) ** ((ring + 1) / rings)
        shift0, shift1 = 0.5 * (ring % 2), 0.5 * ((ring + 1) % 2)
        for i in range(SECTORS):
            a0, b0 = (i + shift0) * step, (i + 1 + shift0) * step
            mesh.triangle("marble-green", (corner(r0, a0), corner(r0, b0), corner(r1, 0.5 * (a0 + b0))))
            a1, b1 = (i + shift1) * step, (i + 1 + shift1) * step
            mesh.triangle("marble-light", (corner(r1, a1), corner(r1, b1), corner(r0, 0.5 * (a1 + b1))))
    lathe(mesh, [("marble-red", [(4.80, 0.0), (outer, 0.0)]),
                 ("limestone", [(4.80, GALLERY - 0.03), (4.80, 0.0)]),
                 ("limestone", [(4.87, GALLERY), (4.80, GALLERY - 0.03)])], SECTORS)
    return mesh


def gallery_floor():
    """The raised floor under and behind the columns, in tiles of three marbles."""
    mesh = Mesh()
    radii = [4.87, 5.02, 6.38, 6.57, 7.30, 8.03, 8.76, WALL_RADIUS + 0.1]
    up, step = (0.0, 1.0, 0.0), TAU / SECTORS
    for ring, (r0, r1) in enumerate(zip(radii, radii[1:])):
        for i in range(SECTORS):
            if ring in (0, 2):
                material = "marble-red"
            elif ring == 1:
                material = "limestone"
            else:
                material = ("marble-light", "marble-green")[(i // 2 + ring) % 2]
            corners = [(polar(r, a, GALLERY), up, (r * math.cos(a), r * math.sin(a)))
                       for r, a in ((r0, i * step), (r1, i * step), (r1, (i + 1) * step),
                                    (r0, (i + 1) * step))]
            mesh.quad(material, *corners)
    return mesh


def dais():
    """Three round steps in the middle of the court."""
    mesh = Mesh()
    runs = []
    for radius, low, high in ((2.30, 0.0, 0.15), (1.95, 0.15, 0.30), (1.60, 0.30, 0.45)):
        runs += [("limestone", [(radius, low), (radius, high - 0.03)]),
                 ("limestone", [(radius, high - 0.03), (radius - 0.03, high)])]
        inner = radius - 0.35 if radius > 1.7 else 1.25
        runs.append(("marble-light", [(radius - 0.03, high), (inner, high)]))
    lathe(mesh, runs, SECTORS)
    lathe(mesh, [("marble-red", [(1.25, 0.45), (1.10, 0.45)]),
                 ("marble-green", [(1.10, 0.45), (0.30, 0.45)])],
          SECTORS)
    return mesh


def plinth():
    """The square pedestal of the vase, on the dais."""
    mesh, stone = Mesh(), "limestone"
    bevelled_box(mesh, stone, (-0.62, 0.45, -0.62), (0.62, 0.61, 0.62), 0.025)
    bevelled_box(mesh, stone, (-0.53, 0.61, -0.53), (0.53, 0.70, 0.53), 0.03)
    bevelled_box(mesh, "marble-red", (-0.46, 0.70, -0.46), (0.46, 1.34, 0.46), 0.02)
    bevelled_box(mesh, stone, (-0.53, 1.34, -0.53), (0.53, 1.42, 0.53), 0.03)
    bevelled_box(mesh, stone, (-0.60, 1.42, -0.60), (0.60, 1.54, 0.60), 0.025)
    return mesh


def vase():
    """A turned amphora without handles, its foot at y = 0; glazed, with gilded foot, bands and lip."""
    mesh = Mesh()
    body = smooth_profile([(0.155, 0.17), (0.30, 0.36), (0.47, 0.66), (0.55, 0.96), (0.50, 1.22)], 3)
    shoulder = smooth_profile([(0.495, 1.30), (0.39, 1.47), (0.22, 1.62), (0.165, 1.76), (0.175, 1.88)], 2)
    lathe(mesh, [("gold", [(0.0, 0.0), (0.29, 0.0)]),
                 ("gold", arc_run((0.29, 0.035), (0.035, 0.035), -90.0, 90.0, 3)),
                 ("gold", smooth_profile([(0.29, 0.07), (0.17, 0.11), (0.145, 0.17)], 2)),
                 ("gold", [(0.145, 0.17), (0.155, 0.17)]),
                 ("glaze-teal", body),
                 ("gold", [(0.50, 1.22), (0.515, 1.225), (0.515, 1.295), (0.495, 1.30)]),
                 ("glaze-teal", shoulder),
                 ("gold", smooth_profile([(0.175, 1.88), (0.21, 1.93), (0.28, 1.97), (0.285, 2.00),
                                          (0.26, 2.00),
                                          (0.17, 1.93)], 1)),
                 ("glaze-teal", [(0.17, 1.93), (0.13, 1.76), (0.10, 1.60)]),
                 ("glaze-teal", [(0.10, 1.60), (0.0, 1.60)])], 30)
    return mesh


def pedestal():
    """A low round pedestal on the court floor."""
    mesh = Mesh()
    lathe(mesh, [("limestone", [(0.46, 0.0), (0.46, 0.12)]), ("limestone", [(0.46, 0.12), (0.42, 0.15)]),
                 ("limestone", smooth_profile([(0.42, 0.15), (0.34, 0.22), (0.30, 0.34), (0.30, 0.56),
                                               (0.34, 0.68)],
                                              2)),
                 ("limestone", [(0.34, 0.68), (0.42, 0.74)]), ("limestone", [(0.42, 0.74), (0.42, 0.84)]),
                 ("limestone", [(0.42, 0.84), (0.40, 0.86)]), ("marble-green", [(0.40, 0.86), (0.0, 0.86)])],
          22)
    return mesh


def gem():
    """A brilliant cut, flat-faced, its point at y = 0."""
    mesh = Mesh()
    table, girdle = 0.21, 0.40

    def ring(radius, y, shift):
        return [polar(radius, (i + shift) * TAU / 8.0, y) for i in range(8)]

    top, star = ring(table, 0.62, 0.0), ring(0.33, 0.54, 0.5)
    upper = ring(girdle, 0.43, 0.0) + ring(girdle, 0.43, 0.5)
    around = [upper[i // 2 + 8 * (i % 2)] for i in range(16)]
    lower = [add(point, (0.0, -0.035, 0.0)) for point in around]
    culet = (0.0, 0.0, 0.0)
    pavilion = ring(0.20, 0.165, 0.0)
    faces = [top]
    for i in range(8):
        j = (i + 1) % 8
        faces.append([top[i], star[i], top[j]])
        faces.append([top[j], star[i], around[2 * j], star[j]])
        faces.append([star[i], around[2 * i], around[2 * i + 1]])
        faces.append([star[i], around[2 * i + 1], around[2 * j]])
        faces.append([lower[2 * i], pavilion[i], lower[2 * i + 1]])
        faces.append([lower[2 * i + 1], pavilion[i], pavilion[j]])
        faces.append([lower[2 * i + 1], pavilion[j], lower[2 * j]])
        faces.append([pavilion[i], culet, pavilion[j]])
    for i in range(16):
        j = (i + 1) % 16
        faces.append([around[i], around[j], lower[j], lower[i]])
    middle = (0.0, 0.38, 0.0)
    for face in faces:
        for i in range(1, len(face) - 1):
            corners = [face[0], face[i], face[i + 1]]
            normal = cross(sub(corners[1], corners[0]), sub(corners[2], corners[0]))
            outward = dot(normal, sub(corners[0], middle)) > 0.0
            mesh.flat("garnet", corners if outward else corners[::-1])
    return mesh


def bench():
    """A curved bench at its place in the ring, centred on the +x axis; wooden seat, two stone feet."""
    mesh = Mesh()
    inner, outer, low, high, edge = 3.92, 4.42, 0.40, 0.50, 0.03
    span, steps = math.radians(36.0), 12
    outline = [(inner + edge, low), (outer - edge, low), (outer, low + edge), (outer, high - edge),
               (outer - edge, high), (inner + edge, high), (inner, high - edge), (inner, low + edge)]
    closed = outline + outline[:1]
    lathe(mesh, [("walnut", [a, b]) for a, b in zip(closed, closed[1:])], steps, start=-0.5 * span, turn=span)
    for angle, back in ((-0.5 * span, False), (0.5 * span, True)):
        points = [polar(radius, angle, y) for radius, y in outline]
        mesh.flat("walnut", points if back else points[::-1])
    for angle in (-0.36 * span, 0.36 * span):
        foot = Mesh()
        bevelled_box(foot, "limestone", (inner + 0.06, 0.0, -0.13), (outer - 0.06, low, 0.13), 0.02)
        copy_turned(foot, mesh, angle)
    return mesh


def copy_turned(source, target, angle):
    """Adds the triangles of `source` to `target`, turned about the y axis from +x towards +z."""
    c, s = math.cos(angle), math.sin(angle)

    def turned(v):
        return (c * v[0] - s * v[2], v[1], s * v[0] + c * v[2])

    tables = [[tuple(float(word) for word in text.split()) for text in table]
              for table in (source.positions, source.normals, source.texcoords)]
    for material, indices in source.groups.items():
        corners = [(turned(tables[0][indices[i]]), turned(tables[1][indices[i + 1]]),
                    tables[2][indices[i + 2]][:2])
                   for i in range(0, len(indices), 3)]
        for i in range(0, len(corners), 3):
            target.triangle(material, corners[i:i + 3])


def bowl():
    """A gilded bowl with a foot, its underside at y = 0."""
    mesh = Mesh()
    outside = smooth_profile([(0.10, 0.05), (0.24, 0.08), (0.36, 0.17), (0.42, 0.29)], 2)
    inside = smooth_profile([(0.395, 0.29), (0.335, 0.185), (0.22, 0.11), (0.0, 0.085)], 2)
    lathe(mesh, [("gold", [(0.0, 0.0), (0.15, 0.0)]), ("gold", [(0.15, 0.0), (0.13, 0.03), (0.10, 0.05)]),
                 ("gold", outside), ("gold", [(0.42, 0.29), (0.41, 0.305), (0.395, 0.29)]),
                 ("gold", inside)], 24)
    return mesh


def ball(material, slices=22, stacks=12):
    mesh = Mesh()
    sphere(mesh, material, (0.0, 0.0, 0.0), 1.0, slices, stacks)
    return mesh


def wall_bay():
    """One bay of the round wall, centred on the +x axis: plaster around an arched, scooped niche with a stone
    rim."""
    mesh = Mesh()
    half, spring, sill, depth, proud = 1.75, 3.75, 1.55, 1.10, 0.10
    span = 0.5 * (BAY_ANGLE + OVERLAP) * WALL_RADIUS
    centre = (0.0, 3.05)

    def inside(s, y, grow):
        if y < spring:
            return abs(s) < half + grow and y > sill - grow
        return s * s + (y - spring) ** 2 < (half + grow) ** 2

    def reach(angle, test):
        """Distance from the niche's centre to the edge of the shape `test` along `angle`."""
        low, high = 0.0, 12.0
        for _ in range(60):
            middle = 0.5 * (low + high)
            if test(centre[0] + middle * math.cos(angle), centre[1] + middle * math.sin(angle)):
                low = middle
            else:
                high = middle
        return low

    def in_bay(s, y):
        return abs(s) < span and WALL_BOTTOM < y < WALL_TOP

    rim = 0.22
    quarter = [0.5 * math.pi * i / 7.0 for i in range(8)]
    arch = [(half * math.cos(angle), spring + half * math.sin(angle)) for angle in quarter]
    marks = [(span, WALL_TOP), (span, WALL_BOTTOM), (half, sill), (half, spring), (half + rim, sill - rim),
             (0.0, sill)] + arch
    angles = set()
    for s, y in marks:
        angles |= {round(math.atan2(y - centre[1], side * s) % TAU, 9) for side in (-1.0, 1.0)}
    angles = sorted(angles)

    def on_wall(s, y, inward):
        angle = s / WALL_RADIUS
        return polar(WALL_RADIUS - inward, angle, y)

    def towards_axis(s):
        return (-math.cos(s / WALL_RADIUS), 0.0, -math.sin(s / WALL_RADIUS))

    def at(angle, distance):
        return (centre[0] + distance * math.cos(angle), centre[1] + distance * math.sin(angle))

    def tangent_plane(s, ns, ny, nin):
        """A direction given along the wall, upwards and towards the axis, in model space."""
        a = s / WALL_RADIUS
        return unit((-math.sin(a) * ns - math.cos(a) * nin, ny, math.cos(a) * ns - math.sin(a) * nin))

    hole = [reach(a, lambda s, y: inside(s, y, 0.0)) for a in angles]
    frame = [reach(a, lambda s, y: inside(s, y, rim)) for a in angles]
    outer = [reach(a, in_bay) for a in angles]
    count = len(angles)
    for i in range(count):
        j = (i + 1) % count
        ai, aj = angles[i], angles[j]

        def wall(index, distances, inward):
            s, y = at(angles[index], distances[index])
            return (on_wall(s, y, inward), towards_axis(s), (0.25 * s, 0.25 * y))

        mesh.quad("plaster", wall(i, frame, 0.0), wall(j, frame, 0.0), wall(j, outer, 0.0),
                  wall(i, outer, 0.0))
        mesh.quad("limestone", wall(i, hole, proud), wall(j, hole, proud), wall(j, frame, proud),
                  wall(i, frame, proud))
        for distances, sign, back in ((frame, 1.0, 0.0), (hole, -1.0, 0.0)):
            p, q = at(ai, distances[i]), at(aj, distances[j])
            ns, ny = sign * (q[1] - p[1]), -sign * (q[0] - p[0])
            normal = tangent_plane(0.5 * (p[0] + q[0]), ns, ny, 0.0)
            mesh.quad("limestone", (on_wall(p[0], p[1], proud), normal, (0.0, 0.0)),
                      (on_wall(q[0], q[1], proud), normal, (0.2, 0.0)),
                      (on_wall(q[0], q[1], back), normal, (0.2, 0.1)),
                      (on_wall(p[0], p[1], back), normal, (0.0, 0.1)))

    def niche(around, lift, y):
        """A corner of the hollow: half an upright elliptic cylinder, vaulted by a quarter of an ellipsoid."""
        s, inward = half * math.cos(around) * math.cos(lift), -depth * math.sin(around) * math.cos(lift)
        normal = tangent_plane(s, -s / half ** 2, -math.sin(lift) / half, -inward / depth ** 2)
        return (on_wall(s, y, inward), normal, (0.25 * s, 0.25 * y))

    slices = 14
    for i in range(slices):
        a, b = math.pi * i / slices, math.pi * (i + 1) / slices
        mesh.quad("niche-blue", niche(a, 0.0, sill), niche(b, 0.0, sill), niche(b, 0.0, spring),
                  niche(a, 0.0, spring))
        for low, high in zip(quarter, quarter[1:]):
            y0, y1 = spring + half * math.sin(low), spring + half * math.sin(high)
            mesh.quad("niche-blue", niche(a, low, y0), niche(b, low, y0), niche(b, high, y1),
                      niche(a, high, y1))
        floor = [(on_wall(s, sill, inward), (0.0, 1.0, 0.0), (0.25 * s, 0.25 * inward))
                 for s, inward in ((0.0, 0.0), (half * math.cos(a), -depth * math.sin(a)),
                                   (half * math.cos(b), -depth * math.sin(b)))]
        mesh.triangle("limestone", floor)
    return mesh


def wall_mouldings():
    """Dado below and cornice above the wall bays; both overlap the bays' edges."""
    mesh, r = Mesh(), WALL_RADIUS
    lathe(mesh, [("marble-green", [(r - 0.16, GALLERY), (r - 0.16, GALLERY + 0.22)]),
                 ("marble-green", [(r - 0.16, GALLERY + 0.22), (r - 0.10, GALLERY + 0.27)]),
                 ("marble-red", [(r - 0.10, GALLERY + 0.27), (r - 0.10, 0.98)]),
                 ("limestone", [(r - 0.10, 0.98), (r - 0.17, 1.02)]),
                 ("limestone", [(r - 0.17, 1.02), (r - 0.17, 1.10)]),
                 ("limestone", [(r - 0.17, 1.10), (r + 0.05, 1.13)]),
                 ("limestone", [(r + 0.05, 6.42), (r - 0.08, 6.44)]),
                 ("limestone", [(r - 0.08, 6.44), (r - 0.08, 6.56)]),
                 ("limestone", smooth_profile([(r - 0.08, 6.56), (r - 0.15, 6.60), (r - 0.30, 6.70)], 2)),
                 ("limestone", [(r - 0.30, 6.70), (r - 0.30, 6.80)]),
                 ("limestone", smooth_profile([(r - 0.30, 6.80), (r - 0.38, 6.86), (r - 0.40, 6.95)], 2)),
                 ("limestone", [(r - 0.40, 6.95), (r + 0.05, 6.98)])], SECTORS, inwards=True)
    return mesh


def dome_bay():
    """One bay of the coffered dome, centred on the +x axis, with its share of the round opening's rim."""
    mesh = Mesh()
    base, rise, opening, rows, across = WALL_RADIUS - 0.12, 5.2, 3.2, 4, 3
    full = math.acos(opening / base)

    def surface(angle, lift, recess):
        """Point and inward normal of the dome; `lift` from 0 at the springing to 1 at the opening."""
        e = full * lift
        radius, y = base * math.cos(e), DOME_BOTTOM + rise * math.sin(e)
        nr, ny = math.cos(e) / base, math.sin(e) / rise
        length = math.hypot(nr, ny)
        nr, ny = nr / length, ny / length
        return polar(radius + recess * nr, angle, y + recess * ny), (-nr * math.cos(angle), -ny,
                                                                     -nr * math.sin(angle))

    width = (BAY_ANGLE + OVERLAP) / across
    lifts = [0.0, 0.30, 0.56, 0.78, 0.95]
    for column_number in range(across):
        a0 = -0.5 * (BAY_ANGLE + OVERLAP) + column_number * width
        for row in range(rows):
            l0, l1 = lifts[row], lifts[row + 1]
            edge_a, edge_l = 0.12 * width, 0.12 * (l1 - l0)
            around = [(a0, l0), (a0 + width, l0), (a0 + width, l1), (a0, l1)]
            rim = [(a0 + edge_a, l0 + edge_l), (a0 + width - edge_a, l0 + edge_l),
                   (a0 + width - edge_a, l1 - edge_l), (a0 + edge_a, l1 - edge_l)]
            inset_a, inset_l = 0.09 * width, 0.09 * (l1 - l0)
            floor = [(rim[0][0] + inset_a, rim[0][1] + inset_l), (rim[1][0] - inset_a, rim[1][1] + inset_l),
                     (rim[2][0] - inset_a, rim[2][1] - inset_l), (rim[3][0] + inset_a, rim[3][1] - inset_l)]

            def smooth_corner(place, recess):
                point, normal = surface(place[0], place[1], recess)
                return (point, normal, (place[0], place[1]))

            for i in range(4):
                j = (i + 1) % 4
                mesh.quad("limestone", smooth_corner(around[i], 0.0), smooth_corner(around[j], 0.0),
                          smooth_corner(rim[j], 0.0), smooth_corner(rim[i], 0.0))
                points = [surface(*rim[i], 0.0)[0], surface(*rim[j], 0.0)[0], surface(*floor[j], 0.22)[0],
                          surface(*floor[i], 0.22)[0]]
                normal = unit(cross(sub(points[1], points[0]), sub(points[3], points[0])))
                if dot(normal, surface(*rim[i], 0.0)[1]) < 0.0:
                    normal = scaled(normal, -1.0)
                mesh.quad("plaster", *((point, normal, (0.0, 0.0)) for point in points))
            mesh.quad("dome-blue", *(smooth_corner(place, 0.22) for place in floor))
    steps = 6
    for i in range(steps):
        a, b = (-0.5 + i / steps) * BAY_ANGLE, (-0.5 + (i + 1) / steps) * BAY_ANGLE
        corners = []
        for angle, lift in ((a, 0.95), (b, 0.95), (b, 1.0), (a, 1.0)):
            point, normal = surface(angle, lift, -0.05)
            corners.append((point, normal, (angle, lift)))
        mesh.quad("gold", *corners)
    return mesh

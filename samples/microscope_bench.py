"""The bench under the microscope and what lies on it: notebook, slide box, bottles, and spare optics."""

import math

from mathutils import Matrix, Vector

from kit import solids


def build():
    build_stand()
    build_notebook((-1.62, -1.18), -28.0)
    build_slide_box((1.42, -1.42), 24.0)
    build_bottles()
    build_spares()


def build_stand():
    """A round table with an inlay of leather, and the wall that goes all around it."""
    radius = 2.95
    edge = [(2.30, -0.001), (radius - 0.06, -0.001), (radius - 0.03, -0.006), (radius - 0.006, -0.02),
            (radius, -0.045), (radius - 0.008, -0.09), (radius - 0.04, -0.11), (radius - 0.045, -0.15),
            (radius - 0.11, -0.22), (radius - 0.25, -0.26)]
    solids.lathe("table", list(reversed(edge)), "walnut", 72, crease=32.0)
    solids.lathe("table-inlay", [(2.30, -0.001), (2.26, 0.0), (2.20, 0.0)], "brass-dark", 72)
    solids.lathe("table-leather", [(2.20, 0.0), (0.0, 0.0)], "leather", 72)
    # Wider towards the first view than behind the table, so that it fills that view at 12:5, too.
    wall = [(6.6, 6.6), (6.6, 4.8), (6.6, 3.0), (6.6, 1.0), (6.55, -0.8), (6.35, -2.0), (5.9, -2.8),
            (5.2, -3.25), (4.2, -3.4), (2.1, -3.4), (0.0, -3.4)]
    solids.lathe("backdrop", wall, "backdrop", 64, (-0.75, -1.41, 0.0), crease=180.0)
    leg = [(1.25, -3.41), (1.25, -3.30), (1.18, -3.22), (0.85, -3.05), (0.50, -2.95), (0.42, -2.88),
           (0.48, -2.80), (0.48, -2.72), (0.36, -2.62), (0.30, -2.40), (0.44, -1.75), (0.46, -1.50),
           (0.34, -1.15), (0.28, -0.95), (0.40, -0.88), (0.40, -0.78), (0.32, -0.70), (0.40, -0.52),
           (0.80, -0.38), (1.20, -0.34), (1.25, -0.25)]
    solids.lathe("table-leg", leg, "walnut", 32, crease=40.0)
    solids.lathe("table-underside", [(1.1, -0.255), (radius - 0.24, -0.255)], "walnut", 48)


def placed(objects, place, turn):
    matrix = Matrix.Translation((*place, 0.0)) @ Matrix.Rotation(math.radians(turn), 4, "Z")
    for obj in objects:
        obj.matrix_basis = matrix @ obj.matrix_basis


# --- notebook -----------------------------------------------------------------------------------------------

def page_height(u):
    """Height of the upper page over its distance from the fold, 0 to 1."""
    return 0.028 + 0.062 * math.sin(math.pi * min(1.0,
        u * 1.35 + 0.02)) ** 0.8 * (1.0 - u) + 0.030 * (1.0 - u) ** 0.5 * min(1.0, 14 * u)


def build_notebook(place, turn):
    """Open, with a round drawing of what was seen on the right page and notes on the left one."""
    parts = []
    width, height = 0.72, 1.02
    parts.append(solids.box("notebook-cover", (2 * width + 0.06, height + 0.06, 0.018), "oxblood",
                            (0, 0, 0.010), edge=0.006))
    columns = 14
    for name, side in (("left", -1), ("right", 1)):
        vertices, faces = [], []
        for i in range(columns + 1):
            u = (i / columns) ** 1.3
            x, z = side * (0.004 + (width - 0.01 * (1 - u)) * u), page_height(u)
            for y in (-0.5 * height, 0.5 * height):
                vertices += [(x, y, z), (x, y, 0.016)]
        for i in range(columns):
            a, b = (4 * i, 4 * i + 4) if side > 0 else (4 * i + 4, 4 * i)
            faces += [(a, b, b + 2, a + 2), (a + 1, b + 1, b, a), (a + 2, b + 2, b + 3, a + 3)]
        e = 4 * columns
        faces.append((e, e + 1, e + 3, e + 2) if side > 0 else (e + 2, e + 3, e + 1, e))
        parts.append(solids.smooth(solids.mesh_object("notebook-" + name, vertices, faces, "paper"), 40.0))

    def on_page(side, x, y, lift=0.0016):
        # x and y from -1 to 1 over the page.
        u = 0.5 * (x * side + 1.0)
        return (side * (0.004 + width * u), 0.5 * height * y, page_height(u) + lift)

    def stroke(name, side, points, half, material="ink"):
        vertices, faces = [], []
        for i, (x, y) in enumerate(points):
            a, b = points[max(i - 1, 0)], points[min(i + 1, len(points) - 1)]
            dx, dy = (b[0] - a[0]) * 0.5 * width, (b[1] - a[1]) * 0.5 * height
            length = math.hypot(dx, dy)
            nx, ny = -dy / length * half / (0.5 * width), dx / length * half / (0.5 * height)
            vertices += [on_page(side, x - nx, y - ny), on_page(side, x + nx, y + ny)]
        faces = [(2 * i, 2 * i + 2, 2 * i + 3, 2 * i + 1) for i in range(len(points) - 1)]
        parts.append(solids.mesh_object(name, vertices, faces, material))

    def ellipse(cx, cy, rx, ry, count=28, wobble=0.0):
        return [(cx + rx * (1 + wobble * math.sin(3 * a + cx)) * math.cos(a),
                 cy + ry * (1 + wobble * math.sin(2 * a)) * math.sin(a))
                for a in (math.tau * i / count for i in range(count + 1))]

    stroke("drawing-field", 1, ellipse(0.05, 0.22, 0.68, 0.48, 44), 0.006)
    cells = ((-0.18, 0.34, 0.20, 0.13), (0.22, 0.42, 0.19, 0.12), (0.14, 0.10, 0.24, 0.15),
             (-0.26, 0.02, 0.16, 0.11), (0.44, 0.20, 0.12, 0.09))
    for i, (x, y, rx, ry) in enumerate(cells):
        stroke("drawing-cell-%d" % i, 1, ellipse(x, y, rx, ry, 22, 0.08), 0.0045, "specimen")
        stroke("drawing-core-%d" % i, 1, ellipse(x + 0.03, y - 0.01, 0.3 * rx, 0.3 * ry, 10), 0.006,
               "specimen")
    for i, (x1, y) in enumerate(((0.45, -0.52), (0.60, -0.64), (0.20, -0.76))):
        stroke("caption-%d" % i, 1, [(-0.6 + (x1 + 0.6) * k / 8,
                                      y + 0.012 * math.sin(2.7 * k + i)) for k in range(9)], 0.0045)
    for i in range(11):
        y = 0.74 - 0.135 * i
        x1 = 0.70 if i % 4 != 3 else 0.05
        stroke("note-%d" % i, -1, [(-0.72 + (x1 + 0.72) * k / 10,
                                    y + 0.012 * math.sin(2.3 * k + 1.7 * i)) for k in range(11)], 0.0045)
    placed(parts, place, turn)
    build_pencil((place[0] + 0.30, place[1] - 0.30), turn + 62.0, 0.104)


def build_pencil(place, turn, height):
    radius, length = 0.034, 1.25
    wood = solids.lathe("pencil", [(0.0, 0.0), (radius, 0.0), (radius, length)], "pencil", 6, crease=20.0)
    cone = solids.lathe("pencil-cone", [(radius, length), (0.011, length + 0.13)], "wood", 12, crease=60.0)
    point = solids.lathe("pencil-point", [(0.011, length + 0.13), (0.0, length + 0.17)], "ink", 12,
                         crease=60.0)
    band = solids.lathe("pencil-band", [(0.0, -0.09), (0.037, -0.09), (0.037, 0.01), (0.0, 0.012)], "brass",
                        16)
    rubber = solids.lathe("pencil-rubber", [(0.0, -0.16), (0.026, -0.16), (0.034, -0.15), (0.034, -0.085)],
                          "oxblood", 16)
    lying = Matrix.Translation((*place, height + radius)) @ Matrix.Rotation(math.radians(turn), 4, "Z") @ \
        Matrix.Rotation(math.radians(90), 4, "Y") @ Matrix.Translation((0, 0, -0.6 * length))
    for obj in (wood, cone, point, band, rubber):
        obj.matrix_basis = lying


# --- slide box ----------------------------------------------------------------------------------------------

def build_slide_box(place, turn):
    """An open mahogany box; slides stand in its racks, one of them drawn up, another one lies before it."""
    parts = []
    width, depth, height, wall = 0.98, 0.92, 0.30, 0.045
    parts.append(solids.box("box-floor", (width, depth, 0.05), "mahogany", (0, 0, 0.026), edge=0.006))
    for name, size, at in (("left", (wall, depth, height), (-0.5 * width + 0.5 * wall, 0)),
                           ("right", (wall, depth, height), (0.5 * width - 0.5 * wall, 0)),
                           ("near", (width - 2 * wall + 0.01, wall, height - 0.006),
                            (0, -0.5 * depth + 0.5 * wall)), ("far", (width - 2 * wall + 0.01, wall,
                                                                      height - 0.006),
                                                              (0, 0.5 * depth - 0.5 * wall))):
        parts.append(solids.box("box-" + name, size, "mahogany", (*at, 0.5 * height + 0.004), edge=0.008))
    lid = solids.box("box-lid", (width, 0.06, 0.90), "mahogany", (0, 0, 0.45), edge=0.010)
    lining = solids.box("box-lid-lining", (width - 0.14, 0.02, 0.76), "felt", (0, -0.026, 0.45), edge=0.004)
    hinge = Matrix.Translation((0, 0.5 * depth + 0.02, height - 0.02)) @ Matrix.Rotation(math.radians(-18), 4,
        "X")
    for obj in (lid, lining):
        obj.matrix_basis = hinge @ obj.matrix_basis
        parts.append(obj)
    for i, x in enumerate((-0.28, 0.28)):
        parts.append(solids.tube("box-hinge-%d" % i, [(x - 0.07, 0.5 * depth + 0.005, height - 0.005),
            (x + 0.07, 0.5 * depth + 0.005, height - 0.005)],
                                 0.018, "brass", 10))
    parts.append(solids.box("box-latch", (0.10, 0.02, 0.09), "brass",
                            (0, -0.5 * depth - 0.004, height - 0.07), edge=0.006))
    parts.append(solids.box("box-felt", (width - 2 * wall, depth - 2 * wall, 0.02), "felt", (0, 0, 0.055)))
    for i in range(12):
        if i in (4, 9):
            continue
        y = -0.34 + 0.062 * i
        up = 0.10 if i == 6 else 0.0
        parts.append(solids.box("box-slide-%02d" % i, (0.78, 0.014, 0.26), "slide", (0, y, 0.19 + up),
                                (2 if i == 6 else 0, 0, 0)))
        parts.append(solids.box("box-label-%02d" % i, (0.18, 0.019, 0.235),
                                ("paper", "paper", "pencil", "paper", "paper", "felt")[i % 6],
                                (-0.285, y, 0.1905 + up), (2 if i == 6 else 0, 0, 0)))
    placed(parts, place, turn)
    loose = [solids.box("loose-slide", (0.78, 0.26, 0.014), "slide", (0, 0, 0.0075), edge=0.002, segments=1),
             solids.box("loose-label", (0.18, 0.24, 0.003), "paper", (-0.28, 0, 0.0150)),
             solids.box("loose-cover", (0.19, 0.19, 0.004), "cover", (0.08, 0, 0.0150)),
             solids.lathe("loose-specimen", [(0.06, 0.017), (0.05, 0.0182), (0.0, 0.0185)], "specimen", 24,
                          (0.08, 0, 0))]
    placed(loose, (0.22, -1.60), 12.0)


# --- bottles and spares -------------------------------------------------------------------------------------

def bottle(name, radius, height, material, place, turn, stopper):
    neck = 0.36 * radius
    shoulder = height - 0.42 * radius - 0.16
    profile = [(0.0, 0.0), (0.90 * radius, 0.0), (0.97 * radius, 0.012), (radius, 0.04), (radius, shoulder)]
    profile += [(neck + (radius - neck) * math.cos(a) ** 0.9, shoulder + 0.42 * radius * math.sin(a)) for a in
                (math.radians(d) for d in (18, 36, 54, 72))]
    profile += [(neck + 0.012, shoulder + 0.43 * radius), (neck, shoulder + 0.43 * radius + 0.02),
                (neck, height - 0.05), (neck + 0.035, height - 0.044), (neck + 0.045, height - 0.03),
                (neck + 0.035, height - 0.006), (neck, height), (0.0, height - 0.004)]
    parts = [solids.lathe(name, profile, material, 32, crease=50.0)]
    if stopper == "cork":
        parts.append(solids.lathe(name + "-cork", [(0.85 * neck, height - 0.02), (0.96 * neck, height + 0.09),
                                                   (0.88 * neck, height + 0.10), (0.0, height + 0.10)],
                                  "cork", 20))
    else:
        parts.append(solids.lathe(name + "-stopper", [(0.8 * neck, height - 0.02),
                                                      (0.9 * neck, height + 0.02),
                                                      (0.5 * neck, height + 0.04),
                                                      (0.55 * neck, height + 0.06),
                                                      (1.15 * neck, height + 0.10),
                                                      (1.25 * neck, height + 0.15),
                                                      (1.0 * neck, height + 0.20), (0.0, height + 0.215)],
                                  material, 22, crease=50.0))
    low, high, half = 0.28 * shoulder, 0.80 * shoulder, 42
    vertices, count = [], 14
    for i in range(count + 1):
        a = math.radians(-90 - half + 2 * half * i / count)
        for z in (low, high):
            vertices.append(((radius + 0.003) * math.cos(a), (radius + 0.003) * math.sin(a), z))
    parts.append(solids.smooth(solids.mesh_object(name + "-label", vertices,
        [(2 * i, 2 * i + 2, 2 * i + 3, 2 * i + 1) for i in range(count)],
                                                  "paper"), 180.0))
    for k, (start, end, t) in enumerate(((-0.7, 0.7, 0.70), (-0.5, 0.45, 0.46), (-0.6, 0.6, 0.26))):
        line = []
        for i in range(7):
            a = math.radians(-90 + half * (start + (end - start) * i / 6))
            for dz in (-0.012, 0.012):
                line.append(((radius + 0.005) * math.cos(a), (radius + 0.005) * math.sin(a),
                             low + (high - low) * t + dz * (1.6 if k == 0 else 0.7)))
        parts.append(solids.smooth(solids.mesh_object("%s-line-%d" % (name, k), line,
            [(2 * i, 2 * i + 2, 2 * i + 3, 2 * i + 1) for i in range(6)],
                                                      "ink"), 180.0))
    placed(parts, place, turn)


def build_bottles():
    bottle("bottle-amber", 0.34, 1.30, "amber", (-0.72, 1.78), -26, "cork")
    bottle("bottle-cobalt", 0.26, 0.98, "cobalt", (1.86, 0.98), -14, "glass")
    bottle("bottle-small", 0.19, 0.66, "amber", (-1.32, 1.56), -40, "cork")


def build_spares():
    """A second eyepiece, the brass case of an objective with its lid beside it, and a watch glass."""
    eyepiece = [(0.0, 0.0), (0.150, 0.0), (0.150, 0.30), (0.185, 0.31), (0.192, 0.318), (0.192, 0.36),
                (0.184, 0.37), (0.160, 0.375), (0.158, 0.48), (0.166, 0.52), (0.190, 0.555), (0.203, 0.57),
                (0.203, 0.592), (0.194, 0.602), (0.12, 0.590), (0.105, 0.575)]
    solids.lathe("spare-eyepiece", eyepiece, "vulcanite", 30, (-1.42, 0.78, 0))
    solids.lathe("spare-eyepiece-barrel", [(0.148, -0.001), (0.156, 0.004), (0.156, 0.296), (0.148, 0.302)],
                 "brass-light", 30, (-1.42, 0.78, 0))
    solids.lathe("spare-eye-lens", [(0.108, 0.570), (0.07, 0.583), (0.0, 0.590)], "lens", 32,
                 (-1.42, 0.78, 0))
    case = [(0.0, 0.0), (0.165, 0.0), (0.175, 0.008), (0.175, 0.05), (0.168, 0.056), (0.168, 0.40),
            (0.155, 0.405), (0.150, 0.40), (0.150, 0.30),
            (0.0, 0.30)]
    solids.lathe("case", case, "brass", 30, (-1.86, 0.30, 0))
    lid = solids.lathe("case-lid", [(0.0, 0.0), (0.14, 0.0), (0.165, 0.008), (0.178, 0.02), (0.178, 0.20),
                                    (0.170, 0.21), (0.160, 0.205), (0.160, 0.03), (0.0, 0.026)], "brass", 30)
    lid.matrix_basis = Matrix.Translation((-1.52, 0.02, 0.18)) @ Matrix.Rotation(math.radians(-38), 4,
        "Z") @ \
        Matrix.Rotation(math.radians(90), 4, "Y")
    dish = [(0.0, 0.0), (0.12, 0.0), (0.13, 0.010), (0.26, 0.075), (0.30, 0.110), (0.296, 0.118),
            (0.285, 0.112), (0.245, 0.082), (0.13, 0.030), (0.0, 0.018)]
    solids.lathe("watch-glass", dish, "cover", 32, (1.80, -0.28, 0), crease=50.0)

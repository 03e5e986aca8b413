#include "MeshSketch.h"

#include "ColladaText.h"

#include <array>
#include <cmath>
#include <functional>

namespace Quorvel::Test
{

namespace
{

constexpr double pi = 3.14159265358979323846;

/// A grid of quads over a surface given by a function of (0..1, 0..1), smoothly shaded.
MeshSketch surface(int across, int along, const std::function<Vec(double, double)> &at)
{
    MeshSketch mesh;
    constexpr double step = 1e-5;
    for (int j = 0; j <= along; ++j) {
        for (int i = 0; i <= across; ++i) {
            // What ends where it began has the very same positions there.
            const double u = double(i) / across;
            const double v = double(j) / along;
            const Vec du = at(u + step, v) - at(u - step, v);
            const Vec dv = at(u, v + step) - at(u, v - step);
            mesh.add(at(u, v), cross(du, dv));
        }
    }
    for (int j = 0; j < along; ++j) {
        for (int i = 0; i < across; ++i) {
            const int a = j * (across + 1) + i;
            mesh.quad("paint", a, a + 1, a + across + 2, a + across + 1);
        }
    }
    return mesh;
}

/// Rounds away the difference between the two ends of a full turn.
double turn(double part, double (*function)(double))
{
    return std::round(function(2.0 * pi * part) * 1e6) / 1e6;
}

template <typename T>
QByteArray joined(const std::vector<T> &values, const std::function<QByteArray(const T &)> &text)
{
    QByteArray result;
    for (const T &value : values)
        result += (result.isEmpty() ? "" : " ") + text(value);
    return result;
}

QByteArray numbers(const std::vector<Vec> &values)
{
    return joined<Vec>(values, [](const Vec &v) {
        return QByteArray::number(v.x, 'g', 7) + ' ' + QByteArray::number(v.y, 'g', 7) + ' ' +
               QByteArray::number(v.z, 'g', 7);
    });
}

} // namespace

Vec operator-(Vec a, Vec b)
{
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}

Vec cross(Vec a, Vec b)
{
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

double length(Vec a)
{
    return std::sqrt(a.x * a.x + a.y * a.y + a.z * a.z);
}

int MeshSketch::add(Vec position, Vec normal)
{
    positions.push_back(position);
    normals.push_back(normal);
    return int(positions.size()) - 1;
}

void MeshSketch::quad(const QByteArray &group, int a, int b, int c, int d)
{
    auto &list = groups[group];
    list.insert(list.end(), {a, b, c, a, c, d});
}

MeshSketch box(Vec low, Vec high)
{
    MeshSketch mesh;
    const std::array<Vec, 2> ends{low, high};
    const auto corner = [&](int x, int y, int z) {
        return Vec{ends[size_t(x)].x, ends[size_t(y)].y, ends[size_t(z)].z};
    };
    const auto side = [&mesh](Vec normal, Vec a, Vec b, Vec c, Vec d) {
        const int first = mesh.add(a, normal);
        mesh.add(b, normal);
        mesh.add(c, normal);
        mesh.add(d, normal);
        mesh.quad("paint", first, first + 1, first + 2, first + 3);
    };
    side({-1, 0, 0}, corner(0, 0, 0), corner(0, 0, 1), corner(0, 1, 1), corner(0, 1, 0));
    side({1, 0, 0}, corner(1, 0, 0), corner(1, 1, 0), corner(1, 1, 1), corner(1, 0, 1));
    side({0, -1, 0}, corner(0, 0, 0), corner(1, 0, 0), corner(1, 0, 1), corner(0, 0, 1));
    side({0, 1, 0}, corner(0, 1, 0), corner(0, 1, 1), corner(1, 1, 1), corner(1, 1, 0));
    side({0, 0, -1}, corner(0, 0, 0), corner(0, 1, 0), corner(1, 1, 0), corner(1, 0, 0));
    side({0, 0, 1}, corner(0, 0, 1), corner(1, 0, 1), corner(1, 1, 1), corner(0, 1, 1));
    return mesh;
}

MeshSketch cylinder()
{
    return surface(48, 4, [](double u, double v) {
        return Vec{turn(u, std::cos), turn(u, std::sin), 3.0 * v};
    });
}

MeshSketch sphere()
{
    return surface(48, 24, [](double u, double v) {
        const double ring = std::sin(pi * v);
        return Vec{ring * turn(u, std::cos), ring * turn(u, std::sin), -std::cos(pi * v)};
    });
}

MeshSketch torus()
{
    return surface(48, 24, [](double u, double v) {
        const double ring = 2.0 + turn(v, std::cos);
        return Vec{ring * turn(u, std::cos), ring * turn(u, std::sin), turn(v, std::sin)};
    });
}

MeshSketch ramp()
{
    return surface(96, 2, [](double u, double v) {
        return Vec{(1.0 + v) * std::cos(4.0 * pi * u), (1.0 + v) * std::sin(4.0 * pi * u), u};
    });
}

MeshSketch ring()
{
    return surface(96, 1, [](double u, double v) {
        return Vec{(9.0 + v) * std::cos(6.0 * u), (9.0 + v) * std::sin(6.0 * u), 0.0};
    });
}

MeshSketch hills()
{
    return surface(40, 40, [](double u, double v) {
        return Vec{4.0 * u, 4.0 * v, 0.6 * std::sin(9.0 * u + 2.0 * v) * std::cos(7.0 * v)};
    });
}

MeshSketch sheet()
{
    MeshSketch mesh = surface(12, 6, [](double u, double v) {
        return Vec{2.0 * u, v, 0.3 * std::sin(3.0 * u)};
    });
    std::vector<int> &list = mesh.groups["paint"];
    const std::vector<int> front = list;
    for (size_t i = 0; i < front.size(); i += 3)
        list.insert(list.end(), {front[i], front[i + 2], front[i + 1]});
    return mesh;
}

QByteArray geometry(const QByteArray &id, const MeshSketch &mesh)
{
    QByteArray text = "<geometry id=\"" + id + "\"><mesh>\n<source id=\"" + id + "-p\"><float_array>" +
                      numbers(mesh.positions) + "</float_array></source>\n<source id=\"" + id +
                      "-n\"><float_array>" + numbers(mesh.normals) +
                      "</float_array></source>\n<vertices id=\"" + id +
                      "-v\"><input semantic=\"POSITION\" source=\"#" + id + "-p\"/></vertices>\n";
    for (const auto &[group, indices] : mesh.groups) {
        text +=
            "<triangles material=\"" + group + "\" count=\"" + QByteArray::number(int(indices.size() / 3)) +
            "\">\n<input semantic=\"VERTEX\" source=\"#" + id + "-v\" offset=\"0\"/>\n" +
            "<input semantic=\"NORMAL\" source=\"#" + id + "-n\" offset=\"1\"/>\n<p>" +
            joined<int>(indices,
                        [](const int &i) { return QByteArray::number(i) + ' ' + QByteArray::number(i); }) +
            "</p>\n</triangles>\n";
    }
    return text + "</mesh></geometry>\n";
}

QByteArray scene(const QByteArray &geometries, const QByteArray &nodes)
{
    return ColladaText::document(ColladaText::camera("camera") + "<library_geometries>\n" + geometries +
                                     "</library_geometries>\n",
                                 ColladaText::cameraNode("view") + nodes);
}

QByteArray shownBy(const QByteArray &node, const QByteArray &geometryId, const QByteArray &transform)
{
    return "<node id=\"" + node + "\">" + transform + "<instance_geometry url=\"#" + geometryId +
           "\"/></node>\n";
}

QByteArray sceneOf(const MeshSketch &mesh)
{
    return scene(geometry("thing", mesh), shownBy("thing-node", "thing"));
}

QByteArray crowd()
{
    QByteArray geometries;
    QByteArray nodes;
    for (int i = 0; i < 30; ++i) {
        const QByteArray id = "box" + QByteArray::number(i);
        geometries +=
            geometry(id, box({0, 0, 0}, {0.1 + 0.05 * i, 0.02 + 0.11 * (i % 7), 3.0 / (1 + i % 5)}));
        nodes += shownBy(id + "-node", id, "<translate>" + QByteArray::number(4 * i) + " 0 0</translate>");
    }
    return scene(geometries, nodes);
}

const std::map<QByteArray, QByteArray> &scenes()
{
    static const std::map<QByteArray, QByteArray> all{
        {"box", sceneOf(box({0, 0, 0}, {1, 2, 3}))},
        {"cylinder", sceneOf(cylinder())},
        {"sphere", sceneOf(sphere())},
        {"torus", sceneOf(torus())},
        {"ramp", sceneOf(ramp())},
        {"ring", sceneOf(ring())},
        {"hills", sceneOf(hills())},
        {"sheet", sceneOf(sheet())},
        {"crowd", crowd()},
    };
    return all;
}

} // namespace Quorvel::Test

#pragma once

#include "RecordBytes.h"

namespace Quorvel
{

/// A small record with one of everything: geometry with two groups, light, camera, material, three nodes.
/// The light aims at a node that there is not; with "n1" as its target, the scene can be drawn.
inline RecordBytes completeRecord(const QString &lightTarget = QStringLiteral("t"))
{
    const QMatrix4x4 moved(1, 0, 0, 2, 0, 1, 0, 3, 0, 0, 1, 4, 0, 0, 0, 1);
    RecordBytes record;
    record.string(QStringLiteral("s"));
    record.vector(0, 1, 0);

    record.count(QStringLiteral("geometries"), 1);
    record.int32(0);
    record.string(QStringLiteral("g"));
    record.count(QStringLiteral("vertices"), 3);
    record.vector(0, 0, 0);
    record.vector(1, 0, 0);
    record.vector(0, 1, 0);
    record.count(QStringLiteral("normals"), 1);
    record.vector(0, 0, 1);
    record.count(QStringLiteral("texcoords"), 1);
    record.real(0.5);
    record.real(1);
    record.byte(1);
    record.count(QStringLiteral("extra vectors"), 1);
    record.vector(1, 2, 3);
    record.integers(QStringLiteral("first integers"), {0, 0, 0, 0, 0, 0});
    record.integers(QStringLiteral("second integers"), {0, 0, 0, 0, 0, 0});
    record.count(QStringLiteral("groups"), 2);
    for (const char *const symbol : {"a", "b"}) {
        record.string(QString::fromLatin1(symbol));
        record.integers(QStringLiteral("indices"), {0, 1, 2});
        record.integers(QStringLiteral("adjacency"), {-1, -1, -1});
        record.integers(QStringLiteral("invalid faces"), {0});
    }

    record.count(QStringLiteral("lights"), 1);
    record.int32(5);
    record.string(QStringLiteral("l"));
    record.rgb(0xffff, 0x8080, 0);
    record.real(1);
    record.real(50);
    record.real(40);
    record.string(lightTarget);
    record.vector(0, 0, 0);
    record.byte(1);

    record.count(QStringLiteral("cameras"), 1);
    record.int32(1);
    record.string(QStringLiteral("c"));
    record.real(45);
    record.real(1);
    record.real(100);
    record.nullString();

    record.count(QStringLiteral("materials"), 1);
    record.string(QStringLiteral("m"));
    for (const quint16 red : {quint16(0), quint16(0x1111), quint16(0x2222), quint16(0x3333), quint16(0x4444)})
        record.rgb(red, 0, 0);
    record.real(32);
    record.real(0.25);
    record.real(1);

    record.count(QStringLiteral("nodes"), 3);
    const auto beginNode = [&record](const QMatrix4x4 &transform, const QString &id, int parent, int kind) {
        record.matrix(transform);
        record.string(id);
        record.int32(parent);
        record.int32(kind);
    };
    beginNode(moved, QStringLiteral("n0"), -1, 0);
    record.int32(0);
    record.count(QStringLiteral("bindings"), 2);
    for (const char *const text : {"a", "m", "b", "m"})
        record.string(QString::fromLatin1(text));
    beginNode(QMatrix4x4(), QStringLiteral("n1"), 0, 1);
    record.int32(0);
    record.count(QStringLiteral("bindings"), 0);
    beginNode(QMatrix4x4(), QStringLiteral("n2"), 0, 5);
    record.int32(0);
    record.count(QStringLiteral("bindings"), 0);
    return record;
}

} // namespace Quorvel

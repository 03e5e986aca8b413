#pragma once

#include <QByteArray>
#include <QUrl>

namespace Quorvel
{

/// The program that rewrites a COLLADA document: the resource ":/xquery/collada.xq", whose one external
/// variable, xmlData, is the document.
namespace QueryProgram
{

/// The address that the program's messages name.
QUrl url();

/// The resource as it stands. A program that was linked without its resources is fatal.
QByteArray text();

/// The program for a document whose geometries are all known to be flat (GeometryShape): it gives the same,
/// but does not look at each to find that out.
QByteArray textForFlatGeometries();

} // namespace QueryProgram

} // namespace Quorvel

#pragma once

#include <QByteArray>
#include <QString>
#include <QStringRef>

#include <optional>
#include <string_view>
#include <vector>

namespace Quorvel
{

/// The long number lists of a COLLADA text, kept out of the way of the XML engine.
///
/// Of a file's bytes nearly all are coordinates and indices, which the engine would only carry from one
/// buffer to the next. In document() a short mark stands in place of each list; what the query makes of that
/// is the same as of the whole text, but for the marks, and whoever reads numbers asks here what a mark
/// stands for.
///
/// A list is the whole text between two pieces of markup, anywhere inside the document's geometry libraries:
/// text in there reaches nothing but a geometry's number lists, joined with other texts but never compared.
/// A text that could hide markup, a mark or another encoding of itself from a plain scan is left whole.
class NumberLists
{
public:
    /// A list that is shorter, in bytes, is not worth a mark.
    static constexpr int UsualShortest = 48;

    /// Keeps a share of the text, which has to be as the parser would see it.
    explicit NumberLists(const QByteArray &text, int shortest = UsualShortest);

    /// Nothing was taken out.
    bool isEmpty() const { return m_lists.empty(); }
    /// The text with marks in place of lists. Well-formed exactly if the text is; places in it differ.
    QByteArray document() const;

    /// Whether all geometries are known to be flat (see GeometryShape), in the text as in document().
    bool areGeometriesFlat() const { return m_areGeometriesFlat; }

    /// Whether marks stand in what the query made of a geometry's texts.
    bool isMarked(const QStringRef &text) const;
    /// The list, in ASCII, that a text of one mark and nothing else stands for.
    std::optional<std::string_view> list(const QStringRef &text) const;
    /// The text with all lists back in their places.
    QString expanded(const QStringRef &text) const;

private:
    void scan();
    /// Takes the text between two pieces of markup out if it is a list. False when nothing may be taken out.
    bool takeOut(std::string_view text);
    std::string_view listAt(int index) const { return m_lists.at(size_t(index)); }

    QByteArray m_text;
    int m_shortest;
    std::vector<std::string_view> m_lists;
    bool m_areGeometriesFlat = false;
};

} // namespace Quorvel

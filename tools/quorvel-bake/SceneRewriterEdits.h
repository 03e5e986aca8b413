#pragma once

#include <QByteArray>
#include <QVector>

namespace Quorvel
{

/// Replacements of parts of a text, which must not overlap. Given in any order; of two at one place, the one
/// given first comes first.
class SceneRewriterEdits
{
public:
    void replace(int begin, int end, const QByteArray &text) { m_edits.append({begin, end, text}); }
    void insert(int position, const QByteArray &text) { replace(position, position, text); }

    /// The part of the text from `begin` to `end` with everything replaced there.
    QByteArray applied(const QByteArray &text, int begin, int end) const;

private:
    struct Edit
    {
        int begin;
        int end;
        QByteArray text;
    };

    QVector<Edit> m_edits;
};

} // namespace Quorvel

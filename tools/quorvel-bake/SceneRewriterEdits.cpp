#include "SceneRewriterEdits.h"

#include <algorithm>

namespace Quorvel
{

QByteArray SceneRewriterEdits::applied(const QByteArray &text, int begin, int end) const
{
    QVector<Edit> sorted = m_edits;
    std::stable_sort(sorted.begin(), sorted.end(),
                     [](const Edit &a, const Edit &b) { return a.begin < b.begin; });
    QByteArray result;
    int position = begin;
    for (const Edit &edit : qAsConst(sorted)) {
        Q_ASSERT(edit.begin >= position && edit.end <= end);
        result.append(text.constData() + position, edit.begin - position);
        result.append(edit.text);
        position = edit.end;
    }
    result.append(text.constData() + position, end - position);
    return result;
}

} // namespace Quorvel

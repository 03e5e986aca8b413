#include "SceneRewriterOutline.h"

#include <cstring>

namespace Quorvel
{

namespace
{

bool isBlank(char c)
{
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

bool endsName(char c)
{
    return isBlank(c) || c == '=' || c == '>' || c == '/' || c == '<' || c == '"' || c == '\'';
}

} // namespace

SceneRewriterOutline::SceneRewriterOutline(const QByteArray &text) : m_text(text)
{
    m_valid = scan();
}

bool SceneRewriterOutline::is(int element, const char *localName) const
{
    const QByteArray &name = m_elements.at(element).name;
    const int colon = name.indexOf(':');
    return std::strcmp(name.constData() + colon + 1, localName) == 0;
}

QByteArray SceneRewriterOutline::prefix(int element) const
{
    const QByteArray &name = m_elements.at(element).name;
    return name.left(name.indexOf(':') + 1);
}

const SceneRewriterOutline::Attribute *SceneRewriterOutline::attribute(int element, const char *name) const
{
    for (const Attribute &attribute : m_elements.at(element).attributes) {
        if (attribute.name == name)
            return &attribute;
    }
    return nullptr;
}

QByteArray SceneRewriterOutline::value(int element, const char *name) const
{
    const Attribute *found = attribute(element, name);
    return found ? m_text.mid(found->begin, found->end - found->begin) : QByteArray();
}

QVector<int> SceneRewriterOutline::children(int element, const char *localName) const
{
    QVector<int> found;
    for (const int child : m_elements.at(element).children) {
        if (is(child, localName))
            found.append(child);
    }
    return found;
}

QVector<int> SceneRewriterOutline::below(int element, const char *localName) const
{
    QVector<int> found;
    const int end = m_elements.at(element).end;
    for (int i = element + 1; i < m_elements.size() && m_elements.at(i).begin < end; ++i) {
        if (is(i, localName))
            found.append(i);
    }
    return found;
}

QByteArray SceneRewriterOutline::plainText(int element) const
{
    QByteArray plain;
    const int end = m_elements.at(element).contentEnd;
    int position = m_elements.at(element).contentBegin;
    while (position < end) {
        int markup = m_text.indexOf('<', position);
        if (markup < 0 || markup > end)
            markup = end;
        plain += m_text.mid(position, markup - position);
        position = markup;
        if (position == end)
            break;
        const int start = position;
        if (startsWith("<![CDATA[", start)) {
            skipPast("]]>", &position);
            plain += m_text.mid(start + 9, position - start - 12);
        } else {
            skipPast(startsWith("<!--", start) ? "-->" : startsWith("<?", start) ? "?>" : ">", &position);
        }
    }
    return plain;
}

bool SceneRewriterOutline::scan()
{
    int position = 0;
    while ((position = m_text.indexOf('<', position)) >= 0) {
        if (!scanMarkup(&position))
            return false;
    }
    return m_open.isEmpty() && !m_elements.isEmpty();
}

bool SceneRewriterOutline::scanMarkup(int *position)
{
    if (startsWith("<!--", *position))
        return skipPast("-->", position);
    if (startsWith("<![CDATA[", *position))
        return skipPast("]]>", position);
    if (startsWith("<?", *position))
        return skipPast("?>", position);
    if (startsWith("<!", *position))
        return skipDocumentType(position);
    if (startsWith("</", *position))
        return scanEndTag(position);
    return scanStartTag(position);
}

bool SceneRewriterOutline::startsWith(const char *mark, int position) const
{
    return std::strncmp(m_text.constData() + position, mark, std::strlen(mark)) == 0;
}

bool SceneRewriterOutline::skipPast(const char *mark, int *position) const
{
    const int found = m_text.indexOf(mark, *position);
    *position = found + int(std::strlen(mark));
    return found >= 0;
}

bool SceneRewriterOutline::skipDocumentType(int *position) const
{
    int brackets = 0;
    while (*position < m_text.size()) {
        const char c = m_text.at(*position);
        if (startsWith("<!--", *position)) {
            if (!skipPast("-->", position))
                return false;
            continue;
        }
        if (c == '"' || c == '\'') {
            *position = m_text.indexOf(c, *position + 1);
            if (*position < 0)
                return false;
        } else if (c == '[') {
            ++brackets;
        } else if (c == ']') {
            --brackets;
        } else if (c == '>' && brackets == 0) {
            ++*position;
            return true;
        }
        ++*position;
    }
    return false;
}

bool SceneRewriterOutline::scanEndTag(int *position)
{
    if (m_open.isEmpty())
        return false;
    Element &element = m_elements[m_open.takeLast()];
    element.contentEnd = *position;
    *position += 2;
    if (readName(position) != element.name || !skipPast(">", position))
        return false;
    element.end = *position;
    return true;
}

QByteArray SceneRewriterOutline::readName(int *position) const
{
    const int begin = *position;
    while (*position < m_text.size() && !endsName(m_text.at(*position)))
        ++*position;
    return m_text.mid(begin, *position - begin);
}

void SceneRewriterOutline::skipBlanks(int *position) const
{
    while (*position < m_text.size() && isBlank(m_text.at(*position)))
        ++*position;
}

bool SceneRewriterOutline::scanStartTag(int *position)
{
    Element element;
    element.begin = *position;
    ++*position;
    element.name = readName(position);
    for (;;) {
        skipBlanks(position);
        if (startsWith("/>", *position) || startsWith(">", *position))
            break;
        Attribute attribute{readName(position), 0, 0};
        skipBlanks(position);
        if (attribute.name.isEmpty() || !startsWith("=", *position))
            return false;
        ++*position;
        skipBlanks(position);
        if (!startsWith("\"", *position) && !startsWith("'", *position))
            return false;
        attribute.begin = *position + 1;
        attribute.end = m_text.indexOf(m_text.at(*position), attribute.begin);
        if (attribute.end < 0)
            return false;
        *position = attribute.end + 1;
        element.attributes.append(attribute);
    }
    element.emptyTag = m_text.at(*position) == '/';
    *position += element.emptyTag ? 2 : 1;
    element.contentBegin = element.contentEnd = element.end = *position;
    element.parent = m_open.isEmpty() ? -1 : m_open.last();
    const int index = m_elements.size();
    if (element.parent >= 0)
        m_elements[element.parent].children.append(index);
    if (!element.emptyTag)
        m_open.append(index);
    m_elements.append(element);
    return true;
}

} // namespace Quorvel

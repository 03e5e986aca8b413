#pragma once

#include <QByteArray>
#include <QVector>

namespace Quorvel
{

/// The elements of a well-formed XML text and where they stand in it, so that parts of the text can be
/// replaced and all others stay as they are to the byte.
///
/// Elements that come out of entities of the document type are not seen.
class SceneRewriterOutline
{
public:
    struct Attribute
    {
        /// As written, with its prefix.
        QByteArray name;
        /// The value without its quotes.
        int begin;
        int end;
    };
    struct Element
    {
        /// As written, with its prefix.
        QByteArray name;
        QVector<Attribute> attributes;
        int parent = -1;
        QVector<int> children;
        int begin = 0;
        int end = 0;
        /// Between the tags; empty and at the end of the tag in an empty-element tag.
        int contentBegin = 0;
        int contentEnd = 0;
        bool emptyTag = false;
    };

    explicit SceneRewriterOutline(const QByteArray &text);

    /// False when the text is not well-formed; no other function may be called then.
    bool isValid() const { return m_valid; }
    const QByteArray &text() const { return m_text; }
    const Element &element(int index) const { return m_elements.at(index); }
    int elementCount() const { return m_elements.size(); }

    bool is(int element, const char *localName) const;
    /// With the colon; empty without one.
    QByteArray prefix(int element) const;
    /// Null when there is no such attribute. Only attributes without a prefix are found.
    const Attribute *attribute(int element, const char *name) const;
    /// As written, with its entities; empty when there is no such attribute.
    QByteArray value(int element, const char *name) const;
    QVector<int> children(int element, const char *localName) const;
    /// In document order, whatever lies between.
    QVector<int> below(int element, const char *localName) const;
    /// What stands between the tags as plain text, without tags, comments and processing instructions.
    QByteArray plainText(int element) const;

private:
    bool scan();
    bool scanMarkup(int *position);
    bool skipPast(const char *mark, int *position) const;
    bool skipDocumentType(int *position) const;
    bool scanEndTag(int *position);
    bool scanStartTag(int *position);
    bool startsWith(const char *mark, int position) const;
    QByteArray readName(int *position) const;
    void skipBlanks(int *position) const;

    QByteArray m_text;
    QVector<Element> m_elements;
    QVector<int> m_open;
    bool m_valid = false;
};

} // namespace Quorvel

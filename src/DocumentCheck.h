#pragma once

#include <QByteArray>
#include <QString>

namespace Quorvel
{

/// A look at a file's text before it is parsed: what kind of document it is and how deep its elements nest.
///
/// It reads tags, comments, CDATA sections, processing instructions and the document type just well enough to
/// count; it never judges well-formedness.
class DocumentCheck
{
public:
    /// Elements inside one another, the root included. The query engine counts levels in one byte: beyond
    /// this it takes in elements from 256 levels up, without a word.
    static constexpr int DepthLimit = 256;

    /// `text` is what the parser sees: the file's bytes up to the first NUL, each taken for a Latin-1
    /// character and written as UTF-8.
    explicit DocumentCheck(const QByteArray &text);

    /// The deepest nesting of elements; 0 without any.
    int depth() const { return m_depth; }
    bool isTooDeep() const { return m_depth > DepthLimit; }

    /// Local name of the outermost element; empty without one.
    QString rootElement() const { return m_rootElement; }

    /// What is wrong with a text that cannot be XML, as the end of a sentence about the file ("is a JPEG
    /// picture: ..."). Empty when nothing speaks against XML.
    QString foreignKind() const { return m_foreignKind; }

private:
    void scan(const QByteArray &text);

    int m_depth = 0;
    QString m_rootElement;
    QString m_foreignKind;
};

} // namespace Quorvel

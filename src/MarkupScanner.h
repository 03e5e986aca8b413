#pragma once

#include <string_view>

namespace Quorvel
{

/// Walks over the markup of an XML text, one tag, comment, CDATA section, processing instruction or document
/// type after the other, at the speed of searching for "<".
///
/// It never judges well-formedness; in a well-formed text its view is exact. Refers to the text, which has to
/// outlive it.
class MarkupScanner
{
public:
    enum class Kind { StartTag, EmptyTag, EndTag, Comment, Cdata, Instruction, DocumentType };

    explicit MarkupScanner(std::string_view text) : m_text(text) {}

    /// Moves to the next piece of markup. False when there is none.
    bool next();

    Kind kind() const { return m_kind; }
    /// Position of the "<".
    size_t begin() const { return m_begin; }
    /// Position after the ">", that of the end of the text where it is missing.
    size_t end() const { return m_end; }
    /// Name of the start or empty tag without its prefix.
    std::string_view localName() const;

private:
    std::string_view m_text;
    Kind m_kind = Kind::Comment;
    size_t m_begin = 0;
    size_t m_end = 0;
};

} // namespace Quorvel

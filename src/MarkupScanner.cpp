#include "MarkupScanner.h"

#include <algorithm>
#include <cctype>

namespace Quorvel
{

namespace
{

using Text = std::string_view;

constexpr size_t none = Text::npos;

/// Position after the next `mark` from `from` on, or `none`.
size_t after(Text text, Text mark, size_t from)
{
    const size_t found = text.find(mark, from);
    return found == none ? none : found + mark.size();
}

bool startsWith(Text text, size_t at, Text mark)
{
    return text.compare(at, mark.size(), mark) == 0;
}

/// Position after the '>' that closes the tag, quoted attribute values left aside, or `none`.
size_t afterTag(Text text, size_t from)
{
    for (size_t i = from; i < text.size(); ++i) {
        const char c = text[i];
        if (c == '>')
            return i + 1;
        if (c == '"' || c == '\'') {
            i = text.find(c, i + 1);
            if (i == none)
                return none;
        }
    }
    return none;
}

/// Position after a document type declaration with or without an internal subset, or `none`.
size_t afterDocumentType(Text text, size_t from)
{
    int brackets = 0;
    for (size_t i = from; i < text.size();) {
        const char c = text[i];
        if (startsWith(text, i, "<!--")) {
            i = after(text, "-->", i);
        } else if (startsWith(text, i, "<?")) {
            i = after(text, "?>", i);
        } else if (c == '"' || c == '\'') {
            i = after(text, Text(&c, 1), i + 1);
        } else if (c == '>' && brackets == 0) {
            return i + 1;
        } else {
            brackets += c == '[' ? 1 : c == ']' ? -1 : 0;
            ++i;
        }
    }
    return none;
}

} // namespace

bool MarkupScanner::next()
{
    m_begin = m_text.find('<', m_end);
    if (m_begin == none)
        return false;
    size_t end = none;
    if (startsWith(m_text, m_begin, "<!--")) {
        m_kind = Kind::Comment;
        end = after(m_text, "-->", m_begin + 4);
    } else if (startsWith(m_text, m_begin, "<![CDATA[")) {
        m_kind = Kind::Cdata;
        end = after(m_text, "]]>", m_begin);
    } else if (startsWith(m_text, m_begin, "<?")) {
        m_kind = Kind::Instruction;
        end = after(m_text, "?>", m_begin);
    } else if (startsWith(m_text, m_begin, "<!")) {
        m_kind = Kind::DocumentType;
        end = afterDocumentType(m_text, m_begin + 2);
    } else if (startsWith(m_text, m_begin, "</")) {
        m_kind = Kind::EndTag;
        end = after(m_text, ">", m_begin);
    } else {
        end = afterTag(m_text, m_begin + 1);
        m_kind = end != none && m_text[end - 2] == '/' ? Kind::EmptyTag : Kind::StartTag;
    }
    m_end = std::min(end, m_text.size());
    return true;
}

std::string_view MarkupScanner::localName() const
{
    const Text inside = m_text.substr(m_begin + 1, m_end - m_begin - 1);
    const auto isNameEnd = [](char c) {
        return std::isspace(static_cast<unsigned char>(c)) || c == '>' || c == '/';
    };
    const auto end = std::find_if(inside.begin(), inside.end(), isNameEnd);
    const Text name = inside.substr(0, size_t(end - inside.begin()));
    return name.substr(name.find(':') + 1);
}

} // namespace Quorvel

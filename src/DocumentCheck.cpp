#include "DocumentCheck.h"

#include <algorithm>
#include <cctype>
#include <string_view>

namespace Quorvel
{

namespace
{

using Text = std::string_view;

constexpr size_t end = Text::npos;

/// Position after the next `mark` from `from` on, or `end`.
size_t after(Text text, Text mark, size_t from)
{
    const size_t found = text.find(mark, from);
    return found == end ? end : found + mark.size();
}

bool startsWith(Text text, size_t at, Text mark)
{
    return text.compare(at, mark.size(), mark) == 0;
}

/// Position after the '>' that closes the tag, quoted attribute values left aside, or `end`.
size_t afterTag(Text text, size_t from)
{
    for (size_t i = from; i < text.size(); ++i) {
        const char c = text[i];
        if (c == '>')
            return i + 1;
        if (c == '"' || c == '\'') {
            i = text.find(c, i + 1);
            if (i == end)
                return end;
        }
    }
    return end;
}

/// Position after a document type declaration with or without an internal subset, or `end`.
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
    return end;
}

QString localName(Text text, size_t from)
{
    size_t to = from;
    while (to < text.size() && !std::isspace(static_cast<unsigned char>(text[to])) && text[to] != '>' &&
           text[to] != '/')
        ++to;
    const QString name = QString::fromUtf8(text.data() + from, int(to - from));
    return name.mid(name.indexOf(QLatin1Char(':')) + 1);
}

struct ForeignKind
{
    QLatin1String firstBytes;
    const char *sentence;
};

const ForeignKind foreignKinds[] = {
    {QLatin1String("\x1f\x8b"), "is compressed (gzip): unpack it and open what is inside"},
    {QLatin1String("PK\x03\x04"), "is compressed (a ZIP archive): unpack it and open the .dae file inside"},
    {QLatin1String("BZh"), "is compressed (bzip2): unpack it and open what is inside"},
    {QLatin1String("\xfd"
                   "7zXZ"),
     "is compressed (xz): unpack it and open what is inside"},
    {QLatin1String("7z\xbc\xaf"), "is compressed (7-Zip): unpack it and open what is inside"},
    {QLatin1String("\xff\xd8\xff"), "is a JPEG picture: open the COLLADA scene that it belongs to"},
    {QLatin1String("\x89PNG"), "is a PNG picture: open the COLLADA scene that it belongs to"},
    {QLatin1String("GIF8"), "is a GIF picture: open the COLLADA scene that it belongs to"},
    {QLatin1String("%PDF"), "is a PDF document: open a COLLADA scene"},
    {QLatin1String("BLENDER"), "is a Blender project: export it as COLLADA from Blender"},
    {QLatin1String("glTF"), "is a binary glTF scene: export it as COLLADA"},
    {QLatin1String("\xef\xbb\xbf"), "starts with a byte-order mark: save it as UTF-8 without one"},
    {QLatin1String("\xff\xfe"), "is UTF-16 text: save it as UTF-8 without a byte-order mark"},
    {QLatin1String("\xfe\xff"), "is UTF-16 text: save it as UTF-8 without a byte-order mark"},
};

bool isBinary(const QString &text)
{
    return std::any_of(text.begin(), text.end(), [](QChar c) { return c.unicode() < 0x20 && !c.isSpace(); });
}

QString kindOf(const QByteArray &text)
{
    if (text.isEmpty())
        return QStringLiteral("is empty: export the scene again");
    constexpr int looked = 256;
    const QString beginning = QString::fromUtf8(text.left(looked));
    for (const ForeignKind &kind : foreignKinds) {
        if (beginning.startsWith(kind.firstBytes))
            return QString::fromLatin1(kind.sentence);
    }
    if (isBinary(beginning))
        return QStringLiteral("is not text: open a COLLADA scene");
    return QString();
}

} // namespace

DocumentCheck::DocumentCheck(const QByteArray &text) : m_foreignKind(kindOf(text))
{
    scan(text);
}

void DocumentCheck::scan(const QByteArray &bytes)
{
    const Text text(bytes.constData(), size_t(bytes.size()));
    int depth = 0;
    for (size_t i = text.find('<'); i != end; i = i == end ? end : text.find('<', i)) {
        const size_t tag = i;
        if (startsWith(text, tag, "<!--")) {
            i = after(text, "-->", tag + 4);
        } else if (startsWith(text, tag, "<![CDATA[")) {
            i = after(text, "]]>", tag);
        } else if (startsWith(text, tag, "<?")) {
            i = after(text, "?>", tag);
        } else if (startsWith(text, tag, "<!")) {
            i = afterDocumentType(text, tag + 2);
        } else if (startsWith(text, tag, "</")) {
            i = after(text, ">", tag);
            --depth;
        } else {
            i = afterTag(text, tag + 1);
            if (m_depth == 0)
                m_rootElement = localName(text, tag + 1);
            m_depth = std::max(m_depth, depth + 1);
            if (i == end || text[i - 2] != '/')
                ++depth;
        }
    }
}

} // namespace Quorvel

#include "DocumentCheck.h"

#include "MarkupScanner.h"

#include <algorithm>
#include <string_view>

namespace Quorvel
{

namespace
{

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
    MarkupScanner markup(std::string_view(bytes.constData(), size_t(bytes.size())));
    int depth = 0;
    while (markup.next()) {
        if (markup.kind() == MarkupScanner::Kind::EndTag)
            --depth;
        if (markup.kind() != MarkupScanner::Kind::StartTag && markup.kind() != MarkupScanner::Kind::EmptyTag)
            continue;
        if (m_depth == 0) {
            const std::string_view name = markup.localName();
            m_rootElement = QString::fromUtf8(name.data(), int(name.size()));
        }
        m_depth = std::max(m_depth, depth + 1);
        if (markup.kind() == MarkupScanner::Kind::StartTag)
            ++depth;
    }
}

} // namespace Quorvel

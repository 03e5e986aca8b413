#include "NumberLists.h"

#include "GeometryShape.h"
#include "MarkupScanner.h"

#include <QVector>

#include <algorithm>

namespace Quorvel
{

namespace
{

/// A mark is the number of a list between two of these.
constexpr char MarkSign = '@';

/// All of it printable ASCII or white space that means nothing to an XML parser, and no mark. Written without
/// an early exit, for the compiler to take many characters at a time.
bool isPlain(std::string_view text)
{
    constexpr size_t blockSize = 4096;
    for (size_t begin = 0; begin < text.size(); begin += blockSize) {
        unsigned char strange = 0;
        for (const char character : text.substr(begin, blockSize)) {
            const auto c = static_cast<unsigned char>(character);
            const bool isPrintable = c >= 0x20 && c < 0x7f;
            const bool isLineSpace = c == '\n' || c == '\t' || c == '\r';
            const bool isSpecial = c == '&' || c == '>' || c == ']' || c == MarkSign;
            strange |= static_cast<unsigned char>((!isPrintable & !isLineSpace) | isSpecial);
        }
        if (strange)
            return false;
    }
    return true;
}

/// The text of the element that begins or ends a list must not change what stands beside it: blanks stay.
std::string_view trimmed(std::string_view text)
{
    constexpr std::string_view blanks = " \t\r\n";
    const size_t begin = text.find_first_not_of(blanks);
    return begin == std::string_view::npos ? std::string_view()
                                           : text.substr(begin, text.find_last_not_of(blanks) + 1 - begin);
}

/// Whether ASCII characters stand for themselves, wherever they are, in the encoding that an XML declaration
/// names.
bool keepsAscii(std::string_view declaration)
{
    const QString text = QString::fromLatin1(declaration.data(), int(declaration.size()));
    const int name = text.indexOf(QLatin1String("encoding"));
    if (name < 0)
        return true;
    const QString quoted = text.mid(text.indexOf(QLatin1Char('='), name) + 1).trimmed();
    if (quoted.isEmpty())
        return false;
    const QString encoding = quoted.mid(1, quoted.indexOf(quoted.at(0), 1) - 1).toLower();
    return encoding == QLatin1String("utf-8") || encoding == QLatin1String("iso-8859-1") ||
           encoding == QLatin1String("us-ascii");
}

} // namespace

NumberLists::NumberLists(const QByteArray &text, int shortest) : m_text(text), m_shortest(shortest)
{
    scan();
}

void NumberLists::scan()
{
    using Kind = MarkupScanner::Kind;
    const std::string_view text(m_text.constData(), size_t(m_text.size()));
    MarkupScanner markup(text);
    int depth = 0;
    bool inGeometries = false;
    bool isSafe = true;
    GeometryShape shape;
    for (size_t textBegin = 0; isSafe && markup.next(); textBegin = markup.end()) {
        if (inGeometries)
            isSafe =
                markup.kind() != Kind::Cdata && takeOut(text.substr(textBegin, markup.begin() - textBegin));
        switch (markup.kind()) {
        case Kind::StartTag:
            if (inGeometries)
                shape.startTag(depth, markup.localName());
            inGeometries = inGeometries || (depth == 1 && markup.localName() == "library_geometries");
            ++depth;
            break;
        case Kind::EndTag:
            --depth;
            inGeometries = inGeometries && depth > 1;
            break;
        case Kind::Instruction:
            isSafe = isSafe && (markup.begin() > 0 || keepsAscii(text.substr(0, markup.end())));
            break;
        case Kind::DocumentType:
            isSafe = false;
            break;
        case Kind::EmptyTag:
            if (inGeometries)
                shape.emptyTag(depth, markup.localName());
            break;
        case Kind::Comment:
        case Kind::Cdata:
            break;
        }
    }
    m_areGeometriesFlat = isSafe && shape.isFlat();
    if (!isSafe)
        m_lists.clear();
}

bool NumberLists::takeOut(std::string_view text)
{
    const std::string_view list = trimmed(text);
    if (!list.empty() && int(list.size()) >= m_shortest && isPlain(list))
        m_lists.push_back(list);
    else
        return list.find_first_of("@&") == std::string_view::npos;
    return true;
}

QByteArray NumberLists::document() const
{
    size_t size = size_t(m_text.size());
    for (const std::string_view list : m_lists)
        size -= list.size();
    QByteArray document;
    constexpr size_t longestMark = 12;
    document.reserve(int(size + longestMark * m_lists.size()));
    const char *copied = m_text.constData();
    int index = 0;
    for (const std::string_view list : m_lists) {
        document.append(copied, int(list.data() - copied));
        document.append(MarkSign).append(QByteArray::number(index++)).append(MarkSign);
        copied = list.data() + list.size();
    }
    document.append(copied, int(m_text.constEnd() - copied));
    return document;
}

bool NumberLists::isMarked(const QStringRef &text) const
{
    return !isEmpty() && text.contains(QLatin1Char(MarkSign));
}

std::optional<std::string_view> NumberLists::list(const QStringRef &text) const
{
    const QStringRef mark = text.trimmed();
    const bool isOneMark = mark.startsWith(QLatin1Char(MarkSign)) && mark.endsWith(QLatin1Char(MarkSign)) &&
                           mark.count(QLatin1Char(MarkSign)) == 2;
    if (!isOneMark)
        return std::nullopt;
    return listAt(mark.mid(1, mark.size() - 2).toInt());
}

QString NumberLists::expanded(const QStringRef &text) const
{
    QString result;
    const QVector<QStringRef> parts = text.split(QLatin1Char(MarkSign));
    for (int i = 0; i < parts.size(); ++i) {
        if (i % 2 == 0) {
            result += parts.at(i);
        } else {
            const std::string_view list = listAt(parts.at(i).toInt());
            result += QLatin1String(list.data(), int(list.size()));
        }
    }
    return result;
}

} // namespace Quorvel

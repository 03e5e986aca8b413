#include "SourceText.h"

#include <QCryptographicHash>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <cstring>
#include <future>
#include <optional>
#include <utility>

namespace Quorvel
{

namespace
{

bool isAscii(char byte)
{
    return static_cast<uchar>(byte) < 0x80;
}

/// ASCII without a NUL is the same in Latin-1 and in UTF-8.
bool isPlain(const char *bytes, int count)
{
    // Eight bytes at a time: the top bit of one of them is set where the byte is no ASCII, and the
    // difference's where one is 0.
    constexpr quint64 ones = 0x0101010101010101u;
    quint64 strange = 0;
    int i = 0;
    for (; i + int(sizeof(quint64)) <= count; i += int(sizeof(quint64))) {
        quint64 word;
        std::memcpy(&word, bytes + i, sizeof word);
        strange |= word | (word - ones);
    }
    bool plain = (strange & (ones << 7)) == 0;
    for (; i < count; ++i)
        plain = plain && isAscii(bytes[i]) && bytes[i] != 0;
    return plain;
}

/// Takes the bytes for Latin-1 and writes them as UTF-8, up to the first NUL. Without a string of wide
/// characters in between: one umlaut would make that of the whole file. Nothing where that would be more than
/// the limit.
std::optional<QByteArray> latin1ToUtf8(QByteArray bytes, qint64 limit)
{
    const int nul = bytes.indexOf('\0');
    if (nul >= 0)
        bytes.truncate(nul);
    const auto wide = bytes.size() - int(std::count_if(bytes.cbegin(), bytes.cend(), isAscii));
    if (wide == 0)
        return bytes;
    if (qint64(bytes.size()) + wide > limit)
        return std::nullopt;
    QByteArray text;
    text.reserve(bytes.size() + wide);
    for (const char byte : qAsConst(bytes)) {
        if (isAscii(byte)) {
            text.append(byte);
        } else {
            text.append(char(0xc0 | (uchar(byte) >> 6)));
            text.append(char(0x80 | (uchar(byte) & 0x3f)));
        }
    }
    return text;
}

/// The MD5 of bytes that lie still until the next call of a member.
class Checksum
{
public:
    void add(const char *bytes, int count)
    {
        wait();
        m_pending = std::async(std::launch::async, [this, bytes, count] { m_hash.addData(bytes, count); });
    }
    void wait()
    {
        if (m_pending.valid())
            m_pending.get();
    }
    QByteArray result()
    {
        wait();
        return m_hash.result();
    }

private:
    QCryptographicHash m_hash{QCryptographicHash::Md5};
    std::future<void> m_pending;
};

struct FileBytes
{
    /// Where the file has more than the limit, not all of them.
    QByteArray bytes;
    /// Whether they are their own text; `digest` is theirs then.
    bool isPlain = true;
    QByteArray digest;
    QString error;
    bool isTooLarge = false;
};

FileBytes readBytes(const QString &path, qint64 limit)
{
    FileBytes result;
    QByteArray &bytes = result.bytes;
    QFile file(path);
    Checksum checksum;
    constexpr int partSize = SourceText::PartSize;
    const bool isOpen = file.open(QIODevice::ReadOnly | QIODevice::Unbuffered);
    result.isTooLarge = isOpen && file.size() > limit;
    if (isOpen && !result.isTooLarge) {
        bytes.reserve(int(file.size()) + partSize);
        for (int count = 1; count > 0 && !result.isTooLarge;) {
            const int begin = bytes.size();
            if (begin + partSize > bytes.capacity())
                checksum.wait();
            bytes.resize(begin + partSize);
            count = std::max(0, int(file.read(bytes.data() + begin, partSize)));
            bytes.resize(begin + count);
            result.isPlain = result.isPlain && isPlain(bytes.constData() + begin, count);
            if (result.isPlain && count > 0)
                checksum.add(bytes.constData() + begin, count);
            // A pipe has no size, and a file may grow.
            result.isTooLarge = bytes.size() > limit;
        }
    }
    result.digest = checksum.result();
    if (file.error() != QFileDevice::NoError)
        result.error = file.errorString();
    return result;
}

} // namespace

SourceText readSourceText(const QString &path, qint64 limit)
{
    SourceText source;
    FileBytes file = readBytes(path, limit);
    // Quirk(double-encoding): the bytes of a UTF-8 file are taken for Latin-1 and encoded once more;
    // kept because the keys and the ids of all stored scenes are made from that text.
    std::optional<QByteArray> text;
    if (!file.isTooLarge)
        text = file.isPlain ? file.bytes : latin1ToUtf8(std::move(file.bytes), limit);
    source.text = text.value_or(QByteArray());
    const bool isBytes = text && file.isPlain;
    const QByteArray digest =
        isBytes ? file.digest : QCryptographicHash::hash(source.text, QCryptographicHash::Md5);
    source.key = QString::fromLatin1(digest.toHex());
    if (!file.error.isEmpty()) {
        source.error = file.error;
        source.advice = QStringLiteral("check that it is a file, and readable for you");
    } else if (!text) {
        source.error = QStringLiteral("it takes more than %1 bytes, the most that can be read").arg(limit);
        source.advice = QStringLiteral("export the scene in parts, or with less detail");
    }
    return source;
}

std::future<SourceText> startReading(const QString &path)
{
    const bool isFile = QFileInfo(path).isFile();
    return std::async(isFile ? std::launch::async : std::launch::deferred,
                      [path] { return readSourceText(path); });
}

} // namespace Quorvel

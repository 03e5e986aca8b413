#include "WireFrame.h"

#include <QtEndian>

namespace Quorvel
{

namespace
{

constexpr quint32 Absent = 0xffffffff;
constexpr int CountSize = 4;

QString utf16(const char *bytes, int size)
{
    QString text(size / 2, Qt::Uninitialized);
    qFromBigEndian<quint16>(bytes, size / 2, text.data());
    return text;
}

/// The size of the field whose byte count stands at `position`, or -1 when it does not end inside the bytes.
int sizeOfField(const QByteArray &bytes, int position)
{
    const int left = bytes.size() - position - CountSize;
    if (left < 0)
        return -1;
    const quint32 count = qFromBigEndian<quint32>(bytes.constData() + position);
    if (count == Absent)
        return 0;
    return count <= quint32(left) ? int(count) : -1;
}

} // namespace

WireFrame::WireFrame(const QByteArray &bytes) : m_bytes(bytes)
{
    int position = LengthSize + 1;
    for (Field *field : {&m_clientId, &m_userName, &m_data}) {
        const int size = sizeOfField(m_bytes, position);
        if (size < 0)
            return;
        *field = {position + CountSize, size};
        position += CountSize + size;
    }
    m_wellFormed = position == m_bytes.size() && m_clientId.size % 2 == 0 && m_userName.size % 2 == 0;
}

quint8 WireFrame::kind() const
{
    return quint8(m_bytes.at(LengthSize));
}

QString WireFrame::clientId() const
{
    return text(m_clientId);
}

QString WireFrame::userName() const
{
    return text(m_userName);
}

QByteArray WireFrame::data() const
{
    return m_bytes.mid(m_data.start, m_data.size);
}

QString WireFrame::textOf(const QByteArray &payload, bool *ok)
{
    const int size = sizeOfField(payload, 0);
    *ok = size >= 0 && size % 2 == 0;
    return *ok ? utf16(payload.constData() + CountSize, size) : QString();
}

QString WireFrame::text(const Field &field) const
{
    return utf16(m_bytes.constData() + field.start, field.size);
}

} // namespace Quorvel

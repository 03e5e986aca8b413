#pragma once

#include <QByteArray>
#include <QString>

namespace Quorvel
{

/// One whole frame as it came off the wire, its length in front (docs/formats.md), so that it can be passed
/// on without being written again. Copies share the bytes.
class WireFrame
{
public:
    /// Bytes of the length that opens a frame.
    static constexpr int LengthSize = 4;
    /// The smallest length: a kind and three empty fields.
    static constexpr quint32 SmallestLength = 13;

    WireFrame() = default;
    explicit WireFrame(const QByteArray &bytes);

    /// Whether the three fields fill the frame exactly. A reader that goes by the fields would lose its place
    /// in the stream over any other frame, so none is passed on. All else here needs a well-formed frame.
    bool isWellFormed() const { return m_wellFormed; }
    bool isEmpty() const { return m_bytes.isEmpty(); }
    const QByteArray &bytes() const { return m_bytes; }

    quint8 kind() const;
    QString clientId() const;
    QString userName() const;
    /// Shares nothing with the frame: meant for small payloads.
    QByteArray data() const;

    /// The text that opens a payload (byte count, UTF-16, big-endian). Null with `ok` false when none does.
    static QString textOf(const QByteArray &payload, bool *ok);

private:
    struct Field
    {
        int start = 0;
        int size = 0;
    };

    QString text(const Field &field) const;

    QByteArray m_bytes;
    Field m_clientId;
    Field m_userName;
    Field m_data;
    bool m_wellFormed = false;
};

} // namespace Quorvel

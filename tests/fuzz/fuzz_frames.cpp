#include "CameraPayload.h"
#include "MessageReader.h"
#include "NetworkMessage.h"
#include "ScenePayload.h"

#include <QIODevice>
#include <QVector>

#include <cmath>
#include <cstring>

using namespace Quorvel;

namespace
{

/// Bytes that arrive in pieces.
class Wire : public QIODevice
{
public:
    Wire() { open(QIODevice::ReadOnly | QIODevice::Unbuffered); }

    void deliver(const QByteArray &bytes) { m_bytes += bytes; }

    bool isSequential() const override { return true; }
    qint64 bytesAvailable() const override { return m_bytes.size() + QIODevice::bytesAvailable(); }

protected:
    qint64 readData(char *data, qint64 size) override
    {
        const int taken = int(qMin<qint64>(size, m_bytes.size()));
        std::memcpy(data, m_bytes.constData(), size_t(taken));
        m_bytes.remove(0, taken);
        return taken;
    }
    qint64 writeData(const char *, qint64) override { return -1; }

private:
    QByteArray m_bytes;
};

/// What a reader made of a stream: results and messages, in order.
struct Transcript
{
    QVector<MessageReader::Result> results;
    QVector<NetworkMessage> messages;

    bool operator==(const Transcript &other) const
    {
        if (results != other.results || messages.size() != other.messages.size())
            return false;
        for (int i = 0; i < messages.size(); ++i) {
            // As frames: null and empty fields differ.
            if (toFrame(messages[i]) != toFrame(other.messages[i]))
                return false;
        }
        return true;
    }
};

/// Reads `bytes` as they arrive in pieces of that size.
Transcript read(const QByteArray &bytes, int piece)
{
    Wire wire;
    MessageReader reader(&wire);
    Transcript transcript;
    for (int at = 0; at < bytes.size(); at += piece) {
        wire.deliver(bytes.mid(at, piece));
        while (wire.bytesAvailable() > 0) {
            NetworkMessage message;
            const MessageReader::Result result = reader.next(&message);
            if (result == MessageReader::Result::Incomplete)
                break;
            transcript.results.append(result);
            if (result == MessageReader::Result::TooLarge)
                return transcript;
            if (result == MessageReader::Result::Message)
                transcript.messages.append(message);
        }
    }
    return transcript;
}

void usePayload(const NetworkMessage &message)
{
    QString fault;
    if (const auto camera = CameraPayload::decode(message.data)) {
        for (int i = 0; i < 16; ++i)
            Q_ASSERT(std::isfinite(camera->constData()[i]));
    }
    fromTextPayload(message.data);
    const bool accepted = ScenePayload::decode(message.data, &fault).has_value();
    Q_ASSERT(accepted == fault.isEmpty());
}

} // namespace

/// The first byte is the size of the pieces; the rest is what a server sends.
extern "C" int LLVMFuzzerTestOneInput(const unsigned char *data, size_t size)
{
    if (size < 2)
        return 0;
    const QByteArray bytes(reinterpret_cast<const char *>(data) + 1, int(size) - 1);
    const Transcript whole = read(bytes, bytes.size());
    Q_ASSERT(whole == read(bytes, 1 + data[0]));
    for (const NetworkMessage &message : whole.messages) {
        usePayload(message);
        // A message that was read can be sent, and is read again as the same.
        const QByteArray frame = toFrame(message);
        const Transcript again = read(frame, frame.size());
        Q_ASSERT(again.messages.size() == 1 && toFrame(again.messages.first()) == frame);
    }
    return 0;
}

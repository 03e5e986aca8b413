#include "FrameSplitter.h"
#include "NetworkMessage.h"

#include <QDataStream>
#include <QVector>
#include <QtEndian>

#include <algorithm>

using namespace Quorvel;

namespace
{

/// Small enough for a few bytes to pass them; the second holds once a client is let in.
constexpr FrameSplitter::Limits LimitsAtFirst = {100, 100};
constexpr FrameSplitter::Limits LimitsLater = {400, 100};

/// What was made of a stream: frames, and how it ended.
struct Transcript
{
    QVector<QByteArray> frames;
    FrameSplitter::Fault fault = FrameSplitter::Fault::None;
    bool insideFrame = false;
    int frameSize = 0;

    bool operator==(const Transcript &other) const
    {
        return frames == other.frames && fault == other.fault && insideFrame == other.insideFrame &&
               frameSize == other.frameSize;
    }
};

bool holdsMessage(const QByteArray &frame, NetworkMessage *message)
{
    QDataStream stream(frame);
    stream.setVersion(QDataStream::Qt_4_0);
    stream.skipRawData(WireFrame::LengthSize);
    stream >> *message;
    return stream.status() == QDataStream::Ok && stream.atEnd();
}

/// What is passed on is what viewers read: a message of the same fields, to the frame's last byte.
void checkFrame(const WireFrame &frame)
{
    NetworkMessage message;
    Q_ASSERT(frame.isWellFormed());
    Q_ASSERT(holdsMessage(frame.bytes(), &message));
    Q_ASSERT(message.kind == frame.kind());
    Q_ASSERT(message.clientId == frame.clientId());
    Q_ASSERT(message.userName == frame.userName());
    Q_ASSERT(message.data == frame.data());
    bool ok = false;
    const QString text = WireFrame::textOf(frame.data(), &ok);
    Q_ASSERT(ok || text.isNull());
    Q_ASSERT(!ok || text == fromTextPayload(message.data));
}

/// Splits `bytes` as they arrive in pieces of that size, and lets the client in after some frames.
Transcript split(const QByteArray &bytes, int piece, int framesAtFirst)
{
    FrameSplitter splitter(framesAtFirst > 0 ? LimitsAtFirst : LimitsLater);
    Transcript transcript;
    for (int begin = 0; begin < bytes.size(); begin += piece) {
        const int end = std::min(begin + piece, bytes.size());
        for (int at = begin; at < end;) {
            WireFrame frame;
            const int taken = splitter.take(bytes.constData() + at, end - at, &frame);
            Q_ASSERT(taken > 0 && taken <= end - at);
            at += taken;
            if (frame.isEmpty())
                continue;
            checkFrame(frame);
            transcript.frames.append(frame.bytes());
            if (transcript.frames.size() == framesAtFirst)
                splitter.setLimits(LimitsLater);
        }
    }
    transcript.fault = splitter.fault();
    if (transcript.fault == FrameSplitter::Fault::None) {
        transcript.insideFrame = splitter.isInsideFrame();
        transcript.frameSize = splitter.frameSize();
    }
    return transcript;
}

/// The same from the layout alone, with all bytes at hand.
Transcript expected(const QByteArray &bytes, int framesAtFirst)
{
    Transcript transcript;
    for (int at = 0; at < bytes.size();) {
        const FrameSplitter::Limits limits =
            transcript.frames.size() < framesAtFirst ? LimitsAtFirst : LimitsLater;
        const int left = bytes.size() - at;
        transcript.insideFrame = left > 0;
        if (left < WireFrame::LengthSize)
            return transcript;
        const quint32 length = qFromBigEndian<quint32>(bytes.constData() + at);
        const bool kindKnown = left > WireFrame::LengthSize;
        const bool scene = kindKnown && bytes[at + WireFrame::LengthSize] == NetworkMessage::SceneRecord;
        const quint32 longest = scene || !kindKnown ? limits.scene : limits.other;
        if (length < WireFrame::SmallestLength || length > longest) {
            const bool tooShort = length < WireFrame::SmallestLength;
            transcript.fault = tooShort ? FrameSplitter::Fault::Malformed : FrameSplitter::Fault::TooLong;
            transcript.insideFrame = false;
            return transcript;
        }
        const int size = WireFrame::LengthSize + int(length);
        if (left < size) {
            transcript.frameSize = size;
            return transcript;
        }
        transcript.insideFrame = false;
        NetworkMessage message;
        const QByteArray frame = bytes.mid(at, size);
        if (!holdsMessage(frame, &message)) {
            transcript.fault = FrameSplitter::Fault::Malformed;
            return transcript;
        }
        transcript.frames.append(frame);
        at += size;
    }
    return transcript;
}

} // namespace

/// The first byte is the size of the pieces, the second how many frames a client sends before it is let in;
/// the rest is what it sends to the relay.
extern "C" int LLVMFuzzerTestOneInput(const unsigned char *data, size_t size)
{
    if (size < 3)
        return 0;
    const int framesAtFirst = data[1] % 8;
    const QByteArray bytes(reinterpret_cast<const char *>(data) + 2, int(size) - 2);
    const Transcript whole = split(bytes, bytes.size(), framesAtFirst);
    Q_ASSERT(whole == expected(bytes, framesAtFirst));
    Q_ASSERT(whole == split(bytes, 1 + data[0], framesAtFirst));
    Q_ASSERT(whole == split(bytes, 1, framesAtFirst));
    return 0;
}

#pragma once

#include <QCommandLineParser>

namespace Quorvel
{

/// The whole numbers that an option accepts, both ends included.
struct WholeNumber
{
    int least;
    int most;

    bool operator()(const QString &text, int *number) const
    {
        bool ok = false;
        *number = text.toInt(&ok);
        return ok && *number >= least && *number <= most;
    }
    QString description() const
    {
        return QStringLiteral("a whole number from %1 to %2").arg(least).arg(most);
    }
};

/// Reads the values of the options of a parsed command line. Where one makes no sense, it leaves a sentence
/// that names what is allowed. Refers to both arguments of its constructor.
class OptionReader
{
public:
    OptionReader(const QCommandLineParser &parser, QString *error) : m_parser(parser), m_error(error) {}

    /// False where the option is given and parse(text, value) refuses it. An option that is not given leaves
    /// `value` as it is. `allowed` ends the sentence "expected ...".
    template <typename Parse, typename Value>
    bool read(const QCommandLineOption &option, Parse parse, const QString &allowed, Value *value) const
    {
        if (!m_parser.isSet(option) || parse(m_parser.value(option), value))
            return true;
        *m_error = QStringLiteral("--%1 %2: expected %3")
                       .arg(option.names().constLast(), m_parser.value(option), allowed);
        return false;
    }
    bool read(const QCommandLineOption &option, const WholeNumber &range, int *value) const
    {
        return read(option, range, range.description(), value);
    }

private:
    const QCommandLineParser &m_parser;
    QString *m_error;
};

} // namespace Quorvel

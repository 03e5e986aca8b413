#pragma once

#include "GlLane.h"

#include <QObject>

namespace Quorvel::Test
{

/// A test object for GlLane: each of its functions begins with the context current and must leave no GL
/// error.
///
/// Name this file among the sources of a test that derives from it.
class GlTest : public QObject
{
    Q_OBJECT

public:
    explicit GlTest(OffscreenContext &context) : m_context(context) {}

protected:
    OffscreenContext &m_context;

private slots:
    void init() { m_context.makeCurrent(); }
    void cleanup() { QCOMPARE(glErrors(), QStringList()); }
};

} // namespace Quorvel::Test

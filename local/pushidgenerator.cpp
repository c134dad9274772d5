#include "local/pushidgenerator.h"

#include <QDateTime>
#include <QRandomGenerator>

namespace {
const char kAlphabet[] = "-0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ_abcdefghijklmnopqrstuvwxyz";
}

QString PushIdGenerator::next()
{
    return next(QDateTime::currentMSecsSinceEpoch());
}

QString PushIdGenerator::next(qint64 nowMs)
{
    // A clock that steps back must not break the order of names already handed out.
    const qint64 time = qMax(nowMs, m_lastTime);
    const bool sameTime = time == m_lastTime;
    m_lastTime = time;

    char id[20];
    qint64 rest = time;
    for (int i = 7; i >= 0; --i) {
        id[i] = kAlphabet[rest % 64];
        rest /= 64;
    }
    if (!sameTime) {
        for (int &digit : m_lastRandom)
            digit = int(QRandomGenerator::global()->bounded(64));
    } else {
        int i = 11;
        for (; i >= 0 && m_lastRandom[i] == 63; --i)
            m_lastRandom[i] = 0;
        if (i < 0)
            return next(time + 1); // 64^12 names in one millisecond: borrow the next one
        ++m_lastRandom[i];
    }
    for (int i = 0; i < 12; ++i)
        id[8 + i] = kAlphabet[m_lastRandom[i]];
    return QString::fromLatin1(id, 20);
}

#pragma once

#include <QString>

#include <array>

// Child names for POST: 8 characters of the time in ms, then 12 random ones; within one
// millisecond the random part counts up, so names sort in creation order and never repeat.
class PushIdGenerator
{
public:
    QString next();
    QString next(qint64 nowMs);

private:
    qint64 m_lastTime = -1;
    std::array<int, 12> m_lastRandom{};
};

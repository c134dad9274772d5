#pragma once

#include <QString>

// Background updates through the Sparkle framework: downloads silently and installs on quit.
// Built only on macOS when the framework is found; otherwise a no-op.
class SparkleAutoUpdater
{
public:
    explicit SparkleAutoUpdater(const QString &feedUrl);
    ~SparkleAutoUpdater();

    void checkForUpdates();

    SparkleAutoUpdater(const SparkleAutoUpdater &) = delete;
    SparkleAutoUpdater &operator=(const SparkleAutoUpdater &) = delete;

private:
#ifdef TALLYRA_HAVE_SPARKLE
    class Private;
    Private *d;
#endif
};

#ifndef TALLYRA_HAVE_SPARKLE
inline SparkleAutoUpdater::SparkleAutoUpdater(const QString &) {}
inline SparkleAutoUpdater::~SparkleAutoUpdater() = default;
inline void SparkleAutoUpdater::checkForUpdates() {}
#endif

#pragma once

#include <QtGlobal>

// Loads Cocoa's application support and keeps an autorelease pool for the lifetime of the
// object. Only macOS needs it; elsewhere it does nothing.
class CocoaInitializer
{
public:
    CocoaInitializer();
    ~CocoaInitializer();

    CocoaInitializer(const CocoaInitializer &) = delete;
    CocoaInitializer &operator=(const CocoaInitializer &) = delete;

private:
#ifdef Q_OS_MACOS
    class Private;
    Private *d;
#endif
};

#ifndef Q_OS_MACOS
inline CocoaInitializer::CocoaInitializer() = default;
inline CocoaInitializer::~CocoaInitializer() = default;
#endif

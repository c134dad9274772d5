#include "app/sparkleautoupdater.h"

#include <Cocoa/Cocoa.h>
#include <Sparkle/Sparkle.h>

class SparkleAutoUpdater::Private
{
public:
    SUUpdater *updater;
};

SparkleAutoUpdater::SparkleAutoUpdater(const QString &feedUrl)
    : d(new Private)
{
    d->updater = [SUUpdater sharedUpdater];
    [d->updater retain];
    NSURL *url = [NSURL URLWithString:[NSString stringWithUTF8String:feedUrl.toUtf8().constData()]];
    [d->updater setFeedURL:url];
}

SparkleAutoUpdater::~SparkleAutoUpdater()
{
    [d->updater release];
    delete d;
}

void SparkleAutoUpdater::checkForUpdates()
{
    [d->updater installUpdatesIfAvailable];
}

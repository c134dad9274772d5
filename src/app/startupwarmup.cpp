#include "app/startupwarmup.h"

#include "util/util.h"

#ifdef TALLYRA_HAVE_FONTCONFIG
#include <fontconfig/fontconfig.h>
#endif

StartupWarmUp::StartupWarmUp()
{
#ifdef TALLYRA_HAVE_FONTCONFIG
    // Qt's font database calls FcInit() too; made here, the configuration is loaded by then.
    m_fontConfiguration = std::async(std::launch::async, [] { FcInit(); });
#endif
}

StartupWarmUp::~StartupWarmUp()
{
    waitForFontConfiguration();
    if (m_icon.valid())
        m_icon.wait();
}

void StartupWarmUp::startIconDecoding()
{
    // The icon is kept in a function-local static: the window's call waits for this one to end.
    m_icon = std::async(std::launch::async, [] { Util::appIcon(); });
}

void StartupWarmUp::waitForFontConfiguration()
{
    if (m_fontConfiguration.valid())
        m_fontConfiguration.wait();
}

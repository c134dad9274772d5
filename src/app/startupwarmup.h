#pragma once

#include <future>

// Start-up work that another core can do while the main thread makes the application object and
// its fonts: parsing the system's font configuration (a couple of milliseconds, once per process,
// needed by the first font) and decoding the application icon (needed by the main window).
class StartupWarmUp
{
public:
    // First thing in main(): starts loading the font configuration.
    StartupWarmUp();
    // Waits for whatever is still running.
    ~StartupWarmUp();

    // Once the application object exists (Qt's image readers need its library paths).
    void startIconDecoding();
    // Before the first font is added or used.
    void waitForFontConfiguration();

private:
    std::future<void> m_fontConfiguration;
    std::future<void> m_icon;
};

#pragma once

#include <QStringList>

// The console's fonts. Its style names the "Museo Sans Cyrl" families, which are not shipped;
// the open Inter family stands in for them through font substitutions.
class AppFonts
{
public:
    // Adds every file under ":/resources/fonts" as an application font; failures are ignored.
    // Answers the families that were added.
    static QStringList addResourceFonts();
    // Maps each "Museo Sans Cyrl <weight>" family to the Inter face of the same weight.
    static void installSubstitutions();
};

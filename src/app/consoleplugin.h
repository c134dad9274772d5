#pragma once

#include <QString>

class QObject;

// The console's plug-ins: libraries it loads when it first needs them rather than at start,
// because of the system libraries they pull in (the sound player, the keychain access). They are
// looked for beside the program, in a macOS bundle's plug-ins and in the build tree.
namespace ConsolePlugin {

// The plug-in's root object, or null with a warning that names the plug-in and why.
QObject *load(const QString &name);

} // namespace ConsolePlugin

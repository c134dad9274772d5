#pragma once

#include <QDebug>
#include <QObject>

// Connects a signal that a view's widget declares to a slot of the controller. Views are
// interfaces beside QWidget, so the widget is reached as an object and its signals by name;
// a view without the signal is a programming error, said once in the log.
template<typename View>
QObject *viewObject(View *view)
{
    return dynamic_cast<QObject *>(view);
}

inline void connectView(QObject *view, const char *signal, QObject *receiver, const char *slot)
{
    if (!view || !QObject::connect(view, signal, receiver, slot))
        qWarning() << "VIEW SIGNAL NOT CONNECTED" << signal + 1; // past the macro's code digit
}

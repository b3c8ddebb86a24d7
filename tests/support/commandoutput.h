#pragma once
// What another program has to say. Any thread.

#include <QStringList>

/// What the command prints on its standard output, without white space at the ends; nothing where
/// it fails or takes longer than half a minute.
QString outputOf(const QString &program, const QStringList &arguments);

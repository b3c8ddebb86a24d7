#pragma once
// The backend without windows: no window is ever told, no id is known. It stands in where no
// protocol tells of windows, and on X11, where the program asks KWindowSystem and has no use for
// this service. Owned by tdk::WindowManager; main thread.

#include "windowmanager/windowbackend.h"

class NullWindowBackend : public WindowBackend
{
    Q_OBJECT

public:
    explicit NullWindowBackend(const QString &name) : m_name(name) {}

    QString name() const override { return m_name; }
    QString title(const QVariant & /*id*/) const override { return {}; }
    int processId(const QVariant & /*id*/) const override { return 0; }
    void activate(const QVariant & /*id*/) override {}
    void minimize(const QVariant & /*id*/) override {}

private:
    QString m_name;
};

#pragma once
// Stands in for the backend of a compositor that was too slow to answer, as one may be while a
// session starts: asks again for a while, and from then on passes everything to the real one.
// Owner: tdk::WindowManager; main thread.

#include "windowmanager/windowbackend.h"

#include <QTimer>

#include <functional>
#include <memory>

class LateWindowBackend : public WindowBackend
{
    Q_OBJECT

public:
    /// Null where there is no answer yet.
    using Maker = std::function<std::unique_ptr<WindowBackend>()>;

    /// Calls @p maker from the event loop, every @p interval milliseconds, @p tries times at most.
    explicit LateWindowBackend(const Maker &maker, int interval = 3000, int tries = 20);

    QString name() const override;
    QString title(const QVariant &id) const override;
    int processId(const QVariant &id) const override;
    void activate(const QVariant &id) override;
    void minimize(const QVariant &id) override;

private:
    void tryAgain();

    Maker m_maker;
    int m_tries;
    QTimer m_timer;
    std::unique_ptr<WindowBackend> m_real; ///< null until the compositor has answered
};
